#include "bench/peers/peer.h"

#include <stdexcept>

#include <soxr.h>

namespace bench {

namespace {

StreamMaker Resampler(const char* name, unsigned long recipe)
{
    return {std::string("soxr, ").append(name), [recipe](const Rates& rates, std::size_t) -> Stream {
                soxr_error_t error = nullptr;
                soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
                io.flags |= SOXR_NO_DITHER;
                const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
                const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
                const std::shared_ptr<soxr> context(
                    soxr_create(rates.from, rates.to, rates.channels, &error, &io, &quality, &runtime), soxr_delete);
                if (error != nullptr) {
                    throw std::runtime_error(std::string("soxr does not start: ") + error);
                }
                return [context](const std::int16_t* in, std::size_t frames, std::int16_t* out, std::size_t capacity) {
                    std::size_t used = 0;
                    std::size_t made = 0;
                    soxr_process(context.get(), in, frames, &used, out, capacity, &made);
                    return made;
                };
            }};
}

class Soxr : public Peer {
public:
    std::string Name() const override { return "soxr"; }
    std::string Version() const override { return soxr_version(); }
    std::vector<StreamMaker> Resamplers() const override
    {
        return {Resampler("quick", SOXR_QQ), Resampler("low", SOXR_LQ), Resampler("high", SOXR_HQ)};
    }
};

} // namespace

std::unique_ptr<Peer> MakeSoxr()
{
    return std::make_unique<Soxr>();
}

} // namespace bench
