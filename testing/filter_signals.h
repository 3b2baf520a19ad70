/// Filters and signals of the tests of the resampling function.
#pragma once

#include "testing/models/resampler_model.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace zta::test {

inline constexpr models::FilterPlan kUp{44100, 48000, 32, models::TapKind::Int16};
inline constexpr models::FilterPlan kDown{48000, 44100, 32, models::TapKind::Int16};

inline std::vector<std::int16_t> Noise(std::size_t count, unsigned seed)
{
    std::minstd_rand random(seed);
    std::uniform_int_distribution<int> values(-32768, 32767);
    std::vector<std::int16_t> noise(count);
    for (std::int16_t& value : noise) {
        value = static_cast<std::int16_t>(values(random));
    }
    return noise;
}

} // namespace zta::test
