#include "bench/peers/peer.h"

#include <stdexcept>

#include <speex/speex_resampler.h>

namespace bench {

namespace {

StreamMaker Resampler(int quality)
{
    return {"speexdsp, quality " + std::to_string(quality), [quality](const Rates& rates, std::size_t) -> Stream {
                int error = 0;
                const std::shared_ptr<SpeexResamplerState> state(
                    speex_resampler_init(rates.channels, rates.from, rates.to, quality, &error),
                    speex_resampler_destroy);
                if (error != RESAMPLER_ERR_SUCCESS) {
                    throw std::runtime_error("speexdsp does not start");
                }
                return [state](const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t capacity) {
                    auto used = static_cast<spx_uint32_t>(frames);
                    auto made = static_cast<spx_uint32_t>(capacity);
                    speex_resampler_process_interleaved_int(state.get(), in, &used, out, &made);
                    return std::size_t{made};
                };
            }};
}

class Speex : public Peer {
public:
    std::string Name() const override { return "speexdsp"; }
    std::string Version() const override { return "libspeexdsp " ZTA_SPEEX_VERSION; }
    std::vector<StreamMaker> Resamplers() const override { return {Resampler(3), Resampler(5), Resampler(10)}; }
};

} // namespace

std::unique_ptr<Peer> MakeSpeex()
{
    return std::make_unique<Speex>();
}

} // namespace bench
