/// Samples as numbers, full scale being 1.
#pragma once

#include "tools/ztaudio/packing.h"
#include "tools/ztaudio/sample_format.h"

#include <cstddef>
#include <cstdint>

inline double SampleAt(const std::byte* samples, std::size_t i, SampleFormat format)
{
    switch (format) {
    case SampleFormat::Pcm16:
        return reinterpret_cast<const std::int16_t*>(samples)[i] * 0x1p-15;
    case SampleFormat::Pcm24In32:
        return reinterpret_cast<const std::int32_t*>(samples)[i] * 0x1p-31;
    case SampleFormat::Float32:
        return static_cast<double>(reinterpret_cast<const float*>(samples)[i]);
    case SampleFormat::Pcm24In24:
        break;
    }
    std::int32_t sample = 0;
    Unpack24Bits(samples + i * kPackedBytes, std::endian::little, {&sample, 1});
    return sample * 0x1p-31;
}
