/// 24-bit samples without the byte that 24-in-32 adds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// The bytes of a packed sample.
inline constexpr std::size_t kPackedBytes = 3;

/// Writes the upper 24 bits of each sample, little-endian.
void Pack24Bits(std::span<const std::int32_t> samples, std::byte* packed);
