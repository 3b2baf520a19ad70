/// Wave formats for use with the engine.
#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace zta::host {

/// Default sampling rate in hertz.
inline constexpr std::uint32_t kDefaultRate = 48000;

/// Returns a complete format record. `rate` is in hertz; `containerBits` and `validBits` are those of one sample.
constexpr SZtaWaveFormatInfo MakeFormat(std::uint32_t channels, EZtAudioDataType type, std::uint32_t rate,
                                        std::uint32_t containerBits, std::uint32_t validBits)
{
    return {sizeof(SZtaWaveFormatInfo), channels, type, rate, containerBits, validBits};
}

/// 16-in-16: signed 16-bit samples in two bytes.
constexpr SZtaWaveFormatInfo Pcm16(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 16, 16);
}

/// 24-in-32: signed 24-bit samples, MSB-aligned in 32 bits.
constexpr SZtaWaveFormatInfo Pcm24In32(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 32, 24);
}

/// 20-in-32: signed 20-bit samples, MSB-aligned in 32 bits. The engine changes the format of such a buffer to 24-in-32.
constexpr SZtaWaveFormatInfo Pcm20In32(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 32, 20);
}

/// 24-in-24: signed 24-bit samples, packed in three bytes.
constexpr SZtaWaveFormatInfo Pcm24In24(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 24, 24);
}

/// IEEE single precision with full scale at -1.0 and 1.0.
constexpr SZtaWaveFormatInfo Float32(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeFloat, rate, 32, 32);
}

/// Multi-format words with a 16-bit sample in bits 27 to 12.
constexpr SZtaWaveFormatInfo Multi16(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeMultiFormat, rate, 32, 16);
}

/// Multi-format words with a 24-bit sample in bits 27 to 4.
constexpr SZtaWaveFormatInfo Multi24(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeMultiFormat, rate, 32, 24);
}

/// Opaque data, which is copied but not processed.
constexpr SZtaWaveFormatInfo Opaque(std::uint32_t channels, std::uint32_t containerBits = 32,
                                    std::uint32_t validBits = 32, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeOpaque, rate, containerBits, validBits);
}

/// Returns the bytes of one sample frame.
constexpr std::size_t BytesPerFrame(const SZtaWaveFormatInfo& format)
{
    return std::size_t{format.ulBitsPerSample >> 3} * format.ulChannels;
}

/// Returns a short name for messages, such as "24-in-32 stereo, 48000 Hz" or "float 32 8 channels, 44100 Hz".
std::string FormatName(const SZtaWaveFormatInfo& format);

} // namespace zta::host
