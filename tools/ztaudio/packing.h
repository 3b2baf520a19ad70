/// 24-bit samples with and without the byte that 24-in-32 adds.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

/// The bytes of a packed sample.
inline constexpr std::size_t kPackedBytes = 3;

/// Writes the upper 24 bits of each sample, little-endian.
void Pack24Bits(std::span<const std::int32_t> samples, std::byte* packed);

/// Reads packed samples of this byte order into the upper 24 bits. The low byte of each sample becomes 0.
void Unpack24Bits(const std::byte* packed, std::endian order, std::span<std::int32_t> samples);

/// Reverses the bytes of each sample of 2, 3 or 4 bytes.
void SwapBytes(std::span<std::byte> samples, std::size_t sampleBytes);
