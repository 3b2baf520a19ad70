#pragma once

#include "testing/models/gain_model.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Reference model of a fade: curve and arithmetic, sample by sample, in wide integers and without shifts.
namespace models {

inline std::int64_t FadeGain(std::int64_t fullScale, std::size_t entry)
{
    const long double t = static_cast<long double>(entry + 1) / 200;
    const long double gain = 1 - (1 - t) * (1 - t);
    return std::llround(static_cast<long double>(fullScale) * gain);
}

inline std::int64_t Low32(std::int64_t value)
{
    return value - FloorDivide(value, std::int64_t{1} << 32) * (std::int64_t{1} << 32);
}

enum class FadeOp { Int16, Stereo16, Int24In32, Mux24 };

inline std::int16_t FadedSample16(std::int16_t sample, std::int64_t gain)
{
    return static_cast<std::int16_t>(FloorDivide(sample * gain, 32768));
}

inline std::uint32_t FadedWord24(std::uint32_t word, std::int64_t gain)
{
    const std::int64_t product = static_cast<std::int32_t>(word) * gain;
    return static_cast<std::uint32_t>(Low32(FloorDivide(product, std::int64_t{1} << 32) * 2));
}

inline std::uint32_t FadedMuxWord24(std::uint32_t word, std::int64_t gain)
{
    const std::int64_t value = static_cast<std::int32_t>(word);
    const std::int64_t high = FloorDivide(value, 65536);
    const std::int64_t low = value - high * 65536;
    return static_cast<std::uint32_t>(Low32((high * gain + FloorDivide((low / 2) * gain, 32768)) * 2));
}

template <class T>
T Read(const std::uint8_t* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <class T>
void Write(std::uint8_t* bytes, T value)
{
    std::memcpy(bytes, &value, sizeof value);
}

/// One frame of `channels` samples, with the gain of one table entry.
inline void FadeFrame(FadeOp op, std::size_t channels, std::uint8_t* frame, std::size_t entry)
{
    const std::int64_t gain = FadeGain(op == FadeOp::Int24In32 ? 2147483647 : 32767, entry);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        std::uint8_t* const at = frame + channel * (op == FadeOp::Int16 || op == FadeOp::Stereo16 ? 2 : 4);
        switch (op) {
        case FadeOp::Int16:
            Write(at, FadedSample16(Read<std::int16_t>(at), gain));
            break;
        case FadeOp::Stereo16: {
            // Right before left, because a right sample depends on the unchanged left one.
            if (channel == 0) {
                const auto left = Read<std::int16_t>(at);
                const auto right = static_cast<std::uint16_t>(FadedSample16(Read<std::int16_t>(at + 2), gain));
                Write(at, FadedSample16(left, gain));
                Write(at + 2, static_cast<std::uint16_t>(left * gain < 0 ? right | 1 : right));
            }
            break;
        }
        case FadeOp::Int24In32:
            Write(at, FadedWord24(Read<std::uint32_t>(at), gain));
            break;
        case FadeOp::Mux24:
            Write(at, FadedMuxWord24(Read<std::uint32_t>(at), gain));
            break;
        }
    }
}

} // namespace models
