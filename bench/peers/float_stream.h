/// Adapts a resampler of floats to 16-bit streams. The conversions before and after it are simple loops that the
/// compiler vectorizes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace bench {

struct FloatEnds {
    std::vector<float> in;
    std::vector<float> out;

    FloatEnds(std::size_t inSamples, std::size_t outSamples) : in(inSamples), out(outSamples) {}

    void Allocate(const std::int16_t* samples, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            in[i] = static_cast<float>(samples[i]) * 0x1p-15F;
        }
    }

    void Give(std::int16_t* samples, std::size_t count) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            const float scaled = std::min(std::max(out[i] * 0x1p15F, -32768.0F), 32767.0F);
            samples[i] = static_cast<std::int16_t>(static_cast<int>(scaled + std::copysign(0.5F, scaled)));
        }
    }
};

} // namespace bench
