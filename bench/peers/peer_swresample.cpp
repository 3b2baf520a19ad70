#include "bench/peers/peer.h"

#include <stdexcept>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

namespace bench {

namespace {

using Context = std::shared_ptr<SwrContext>;

/// Returns the sample format, or AV_SAMPLE_FMT_NONE. 24-in-32 is a 32-bit sample there.
AVSampleFormat FormatFor(const BufferLayout& layout)
{
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    switch (layout.sample) {
    case Sample::Int16:
        format = AV_SAMPLE_FMT_S16;
        break;
    case Sample::Int24In32:
        format = AV_SAMPLE_FMT_S32;
        break;
    case Sample::Float:
        format = AV_SAMPLE_FMT_FLT;
        break;
    case Sample::Word64:
        format = AV_SAMPLE_FMT_DBL;
        break;
    default:
        return format;
    }
    return layout.planes.size() > 1 ? av_get_planar_sample_fmt(format) : format;
}

struct End {
    AVSampleFormat format;
    std::uint32_t rate;
};

Context Open(const End& in, const End& out, std::uint32_t channels, int taps)
{
    AVChannelLayout layout{};
    layout.order = AV_CHANNEL_ORDER_UNSPEC;
    layout.nb_channels = static_cast<int>(channels);
    SwrContext* made = nullptr;
    swr_alloc_set_opts2(&made, &layout, out.format, static_cast<int>(out.rate), &layout, in.format,
                        static_cast<int>(in.rate), 0, nullptr);
    Context context(made, [](SwrContext* old) { swr_free(&old); });
    if (taps != 0) {
        av_opt_set_int(made, "filter_size", taps, 0);
    }
    if (made == nullptr || swr_init(made) < 0) {
        throw std::runtime_error("swresample does not start");
    }
    return context;
}

StreamMaker Resampler(int taps)
{
    return {"swresample, " + std::to_string(taps) + " taps", [taps](const Rates& rates, std::size_t) -> Stream {
                const Context context =
                    Open({AV_SAMPLE_FMT_S16, rates.from}, {AV_SAMPLE_FMT_S16, rates.to}, rates.channels, taps);
                return [context](const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t capacity) {
                    const auto* from = reinterpret_cast<const std::uint8_t*>(in);
                    auto* to = reinterpret_cast<std::uint8_t*>(out);
                    return static_cast<std::size_t>(
                        swr_convert(context.get(), &to, static_cast<int>(capacity), &from, static_cast<int>(frames)));
                };
            }};
}

class Swresample : public Peer {
public:
    std::string Name() const override { return "swresample"; }
    std::string Version() const override { return std::string("libswresample ") + av_version_info(); }

    Job Convert(const BufferLayout& in, const BufferLayout& out) const override
    {
        const AVSampleFormat from = FormatFor(in);
        const AVSampleFormat to = FormatFor(out);
        if (from == AV_SAMPLE_FMT_NONE || to == AV_SAMPLE_FMT_NONE) {
            return {};
        }
        const Context context = Open({from, 48000}, {to, 48000}, in.Channels(), 0);
        std::vector<const std::uint8_t*> sources;
        std::vector<std::uint8_t*> targets;
        for (const std::byte* plane : in.planes) {
            sources.push_back(reinterpret_cast<const std::uint8_t*>(plane));
        }
        for (std::byte* plane : out.planes) {
            targets.push_back(reinterpret_cast<std::uint8_t*>(plane));
        }
        return [context, sources, targets, frames = static_cast<int>(in.frames)]() mutable {
            swr_convert(context.get(), targets.data(), frames, sources.data(), frames);
        };
    }

    std::vector<StreamMaker> Resamplers() const override { return {Resampler(32), Resampler(16)}; }
};

} // namespace

std::unique_ptr<Peer> MakeSwresample()
{
    return std::make_unique<Swresample>();
}

} // namespace bench
