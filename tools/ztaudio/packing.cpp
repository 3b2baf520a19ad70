#include "tools/ztaudio/packing.h"

#include <algorithm>
#include <cstring>

namespace {

template <std::endian Order>
void Unpack(const std::byte* packed, std::span<std::int32_t> samples)
{
    const auto unpack = [](const std::byte* from, std::size_t bytes) {
        std::uint32_t word = 0;
        std::memcpy(&word, from, bytes);
        return static_cast<std::int32_t>(Order == std::endian::little ? word << 8 : __builtin_bswap32(word) & ~0xFFU);
    };
    // Each load has the first byte of the next sample too, which is not used; the last one must not read it.
    const std::size_t last = samples.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
        samples[i] = unpack(packed + i * kPackedBytes, sizeof(std::uint32_t));
    }
    samples[last] = unpack(packed + last * kPackedBytes, kPackedBytes);
}

template <std::size_t SampleBytes>
void Swap(std::span<std::byte> samples)
{
    for (std::size_t i = 0; i < samples.size(); i += SampleBytes) {
        std::reverse(samples.data() + i, samples.data() + i + SampleBytes);
    }
}

} // namespace

void Pack24Bits(std::span<const std::int32_t> samples, std::byte* packed)
{
    constexpr std::size_t kGroup = 4; // samples that become twelve bytes
    const auto bits = [data = samples.data()](std::size_t i) { return static_cast<std::uint32_t>(data[i]) >> 8; };
    const std::size_t count = samples.size();
    std::size_t i = 0;
    for (; i + kGroup <= count; i += kGroup) {
        const std::uint64_t first =
            bits(i) | std::uint64_t{bits(i + 1)} << 24 | std::uint64_t{bits(i + 2)} << 48; // and a part of the third
        const std::uint32_t last = bits(i + 2) >> 16 | bits(i + 3) << 8;
        std::memcpy(packed, &first, sizeof first);
        std::memcpy(packed + sizeof first, &last, sizeof last);
        packed += kGroup * kPackedBytes;
    }
    for (; i < count; ++i) {
        const std::uint32_t last = bits(i);
        std::memcpy(packed, &last, kPackedBytes);
        packed += kPackedBytes;
    }
}

void Unpack24Bits(const std::byte* packed, std::endian order, std::span<std::int32_t> samples)
{
    if (samples.empty()) {
        return;
    }
    if (order == std::endian::little) {
        Unpack<std::endian::little>(packed, samples);
    } else {
        Unpack<std::endian::big>(packed, samples);
    }
}

void SwapBytes(std::span<std::byte> samples, std::size_t sampleBytes)
{
    if (sampleBytes == 2) {
        Swap<2>(samples);
    } else if (sampleBytes == 3) {
        Swap<3>(samples);
    } else {
        Swap<4>(samples);
    }
}
