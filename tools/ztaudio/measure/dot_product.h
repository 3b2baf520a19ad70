/// Sums of products of blocks.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>

/// The dot product of two blocks, in an order of additions that suits SIMD instructions.
template <std::size_t Length>
double DotProduct(const std::array<double, Length>& first, const std::array<double, Length>& second)
{
    constexpr std::size_t kLanes = 2;
    constexpr std::size_t kVectors = 4; // that are computed in parallel
    static_assert(Length % (kVectors * kLanes) == 0);
    using Vector [[gnu::vector_size(8 * kLanes)]] = double;
    std::array<Vector, kVectors> sums{};
    for (std::size_t i = 0; i < Length; i += kVectors * kLanes) {
        for (std::size_t v = 0; v < kVectors; ++v) {
            Vector a;
            Vector b;
            std::memcpy(&a, &first[i + v * kLanes], sizeof a);
            std::memcpy(&b, &second[i + v * kLanes], sizeof b);
            sums[v] += a * b;
        }
    }
    const Vector sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    return sum[0] + sum[1];
}
