#include "tools/ztaudio/packing.h"

#include <cstring>

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
