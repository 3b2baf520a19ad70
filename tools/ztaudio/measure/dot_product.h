/// Sums of products of blocks.
#pragma once

#include "tools/common/vector_loops.h"

#include <array>

/// The dot product of two blocks, in an order of additions that suits SIMD instructions.
template <std::size_t Length>
ZTA_INLINE inline double DotProduct(const std::array<double, Length>& first, const std::array<double, Length>& second)
{
    constexpr std::size_t kVectors = 4; // that are computed in parallel
    static_assert(Length % (kVectors * kDoubles) == 0);
    std::array<Doubles, kVectors> sums{};
    for (std::size_t i = 0; i < Length; i += kVectors * kDoubles) {
        for (std::size_t v = 0; v < kVectors; ++v) {
            Doubles a;
            Doubles b;
            Load(a, &first[i + v * kDoubles]);
            Load(b, &second[i + v * kDoubles]);
            sums[v] += a * b;
        }
    }
    const Doubles sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    return (sum[0] + sum[1]) + (sum[2] + sum[3]);
}
