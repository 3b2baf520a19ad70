#include "bench/peers/float_stream.h"
#include "bench/peers/peer.h"

#include <stdexcept>

#include <zita-resampler/resampler.h>

namespace bench {

namespace {

StreamMaker MakeResampler(unsigned int halfLength)
{
    return {"zita, half length " + std::to_string(halfLength),
            [halfLength](const Rates& rates, std::size_t most) -> Stream {
                const auto resampler = std::make_shared<Resampler>();
                const auto channels = rates.channels;
                if (resampler->setup(rates.from, rates.to, channels, halfLength) != 0) {
                    throw std::runtime_error("zita-resampler does not start");
                }
                const auto ends = std::make_shared<FloatEnds>(most * channels, (2 * most + 2) * channels);
                return [=](const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t capacity) {
                    const std::size_t outputCapacity = std::min(capacity, 2 * most + 2);
                    ends->Allocate(in, frames * channels);
                    resampler->inp_count = static_cast<unsigned int>(frames);
                    resampler->inp_data = ends->in.data();
                    resampler->out_count = static_cast<unsigned int>(outputCapacity);
                    resampler->out_data = ends->out.data();
                    resampler->process();
                    const std::size_t made = outputCapacity - resampler->out_count;
                    ends->Give(out, made * channels);
                    return made;
                };
            }};
}

class Zita : public Peer {
public:
    std::string Name() const override { return "zita"; }
    std::string Version() const override
    {
        return "zita-resampler " + std::to_string(ZITA_RESAMPLER_MAJOR_VERSION) + "." +
               std::to_string(ZITA_RESAMPLER_MINOR_VERSION);
    }
    std::vector<StreamMaker> Resamplers() const override { return {MakeResampler(16), MakeResampler(32)}; }
};

} // namespace

std::unique_ptr<Peer> MakeZita()
{
    return std::make_unique<Zita>();
}

} // namespace bench
