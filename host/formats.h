/// The sample formats that hosts use with the engine.
#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace zta::host {

/// The rate, in hertz, of every format that is not told another.
inline constexpr std::uint32_t kDefaultRate = 48000;

/// A complete format record. `containerBits` is the width of one sample's container, `validBits` what of it carries
/// meaning, `rate` is in hertz.
constexpr SZtaWaveFormatInfo MakeFormat(std::uint32_t channels, EZtAudioDataType type, std::uint32_t rate,
                                        std::uint32_t containerBits, std::uint32_t validBits)
{
    return {sizeof(SZtaWaveFormatInfo), channels, type, rate, containerBits, validBits};
}

/// Signed 16-bit samples in two bytes.
constexpr SZtaWaveFormatInfo Pcm16(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 16, 16);
}

/// Signed 24-bit samples in the top three bytes of a 32-bit word.
constexpr SZtaWaveFormatInfo Pcm24In32(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 32, 24);
}

/// Signed 20-bit samples in a 32-bit word. The engine relabels such a buffer as 24-in-32, on the host's object too.
constexpr SZtaWaveFormatInfo Pcm20In32(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 32, 20);
}

/// Signed 24-bit samples in three bytes.
constexpr SZtaWaveFormatInfo Pcm24In24(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypePcm, rate, 24, 24);
}

/// IEEE single precision, full scale at -1.0 and 1.0.
constexpr SZtaWaveFormatInfo Float32(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeFloat, rate, 32, 32);
}

/// 32-bit words with a 16-bit sample in bits 27 to 12.
constexpr SZtaWaveFormatInfo Multi16(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeMultiFormat, rate, 32, 16);
}

/// 32-bit words with a 24-bit sample in bits 27 to 4.
constexpr SZtaWaveFormatInfo Multi24(std::uint32_t channels, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeMultiFormat, rate, 32, 24);
}

/// Words that may be moved but not transformed.
constexpr SZtaWaveFormatInfo Opaque(std::uint32_t channels, std::uint32_t containerBits = 32,
                                    std::uint32_t validBits = 32, std::uint32_t rate = kDefaultRate)
{
    return MakeFormat(channels, keZtAudioDataTypeOpaque, rate, containerBits, validBits);
}

/// Bytes of one sample frame, that is of one sample of every channel.
constexpr std::size_t BytesPerFrame(const SZtaWaveFormatInfo& format)
{
    return std::size_t{format.ulBitsPerSample >> 3} * format.ulChannels;
}

/// A short name for people, such as "24-in-32 stereo, 48000 Hz" or "float 32 8 channels, 44100 Hz".
std::string FormatName(const SZtaWaveFormatInfo& format);

} // namespace zta::host
