#include "bench/peers/float_stream.h"
#include "bench/peers/peer.h"

#include <stdexcept>

#include <samplerate.h>

namespace bench {

namespace {

StreamMaker Resampler(const char* name, int converter)
{
    return {std::string("samplerate, ").append(name), [converter](const Rates& rates, std::size_t most) -> Stream {
                int error = 0;
                const auto channels = rates.channels;
                const std::shared_ptr<SRC_STATE> state(src_new(converter, static_cast<int>(channels), &error),
                                                       src_delete);
                if (state == nullptr) {
                    throw std::runtime_error(std::string("samplerate does not start: ") + src_strerror(error));
                }
                const auto ends = std::make_shared<FloatEnds>(most * channels, (2 * most + 2) * channels);
                const double ratio = static_cast<double>(rates.to) / rates.from;
                return [=](const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t capacity) {
                    src_short_to_float_array(in, ends->in.data(), static_cast<int>(frames * channels));
                    SRC_DATA data{};
                    data.data_in = ends->in.data();
                    data.data_out = ends->out.data();
                    data.input_frames = static_cast<long>(frames);
                    data.output_frames = static_cast<long>(std::min(capacity, 2 * most + 2));
                    data.src_ratio = ratio;
                    src_process(state.get(), &data);
                    const auto made = static_cast<std::size_t>(data.output_frames_gen);
                    src_float_to_short_array(ends->out.data(), out, static_cast<int>(made * channels));
                    return made;
                };
            }};
}

class Samplerate : public Peer {
public:
    std::string Name() const override { return "samplerate"; }
    std::string Version() const override { return src_get_version(); }

    Job Convert(const BufferLayout& in, const BufferLayout& out) const override
    {
        if (in.planes.size() != 1 || out.planes.size() != 1) {
            return {};
        }
        const auto count = static_cast<int>(in.frames * in.Channels());
        void* const from = in.planes.front();
        void* const to = out.planes.front();
        if (in.sample == Sample::Int16 && out.sample == Sample::Float) {
            return [=] { src_short_to_float_array(static_cast<short*>(from), static_cast<float*>(to), count); };
        }
        if (in.sample == Sample::Float && out.sample == Sample::Int16) {
            return [=] { src_float_to_short_array(static_cast<float*>(from), static_cast<short*>(to), count); };
        }
        if (in.sample == Sample::Int24In32 && out.sample == Sample::Float) {
            return [=] { src_int_to_float_array(static_cast<int*>(from), static_cast<float*>(to), count); };
        }
        if (in.sample == Sample::Float && out.sample == Sample::Int24In32) {
            return [=] { src_float_to_int_array(static_cast<float*>(from), static_cast<int*>(to), count); };
        }
        return {};
    }

    std::vector<StreamMaker> Resamplers() const override
    {
        return {Resampler("sinc fastest", SRC_SINC_FASTEST), Resampler("linear", SRC_LINEAR)};
    }
};

} // namespace

std::unique_ptr<Peer> MakeSamplerate()
{
    return std::make_unique<Samplerate>();
}

} // namespace bench
