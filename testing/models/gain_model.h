#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Reference model of a gain ramp on 24-in-32 samples, in wide integers and without shifts.
namespace models {

inline std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t quotient = value / divisor;
    return value % divisor < 0 ? quotient - 1 : quotient;
}

/// Applies a gain with 12 fraction bits to a sample, clamped to 24 bits.
inline std::uint32_t Scaled(std::uint32_t word, std::int64_t gain)
{
    const std::int64_t value = FloorDivide(static_cast<std::int32_t>(word), 16);
    const std::int64_t high = FloorDivide(value, 65536);
    const std::int64_t low = value - high * 65536;
    std::int64_t product = high * gain + low / 2 * gain / 32768;
    product = product > 8388607 ? 8388607 : product;
    product = product < -8388608 ? -8388608 : product;
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(product) * 256);
}

/// The replacement of a gain of 8.0: the largest gain that fits the multiplier.
inline float LargestGainBelow8(float gain)
{
    float replacement;
    const std::uint32_t bits = 0x40FFFF2E;
    std::memcpy(&replacement, &bits, sizeof replacement);
    return gain == 8.0f ? replacement : gain;
}

/// Returns the multiplier of a frame. Every operation rounds to single precision.
inline std::int64_t RampGain(const SZtAudioMonoVolumeInfo& record, std::size_t frame, std::size_t frames)
{
    const volatile float start = LargestGainBelow8(record.fStartVolume);
    const volatile float rise = LargestGainBelow8(record.fEndVolume) - start;
    const volatile float perFrame = rise / static_cast<float>(frames);
    const volatile float gain = start * 4096.0f;
    const volatile float step = perFrame * 4096.0f;
    return static_cast<std::int64_t>(gain) + static_cast<std::int64_t>(frame) * static_cast<std::int64_t>(step);
}

} // namespace models
