/// The records that cross the boundary between a host and the engine.
///
/// All integers are little-endian, fields have natural alignment, and the sizes and offsets are a binary contract.
/// A record whose first field is `ulSize` carries its own size in bytes there; whoever hands the record over for
/// filling sets that field first.
#pragma once

#include <zta/export.h>

#include <cstddef>
#include <cstdint>

/// How a sample word is to be read.
enum EZtAudioDataType : std::uint32_t {
    keZtAudioDataTypePcm = 1,         ///< integer PCM
    keZtAudioDataTypeFloat = 2,       ///< IEEE single precision
    keZtAudioDataTypeMultiFormat = 3, ///< a 32-bit word that holds a 16-bit or 24-bit sample in its bits 27 to 4
    keZtAudioDataTypeOpaque = 4,      ///< words that may be moved but not transformed
};

/// The format of a buffer. Two formats are equal when their 24 bytes are.
///
/// Bytes per sample frame are (`ulBitsPerSample` >> 3) * `ulChannels`.
struct ZTA_API SZtaWaveFormatInfo {
    std::uint32_t ulSize;               ///< 24
    std::uint32_t ulChannels;           ///< channels in one sample frame: 1 mono, 2 stereo, more is a mux buffer
    EZtAudioDataType eDataType;         ///< how a sample word is to be read
    std::uint32_t ulSamplesPerSec;      ///< sampling rate in hertz
    std::uint32_t ulBitsPerSample;      ///< width of one sample's container, in bits
    std::uint32_t ulValidBitsPerSample; ///< meaningful bits within the container
};

/// The state of one buffer, as the host reports it.
struct ZTA_API SZtAudioSamplesDescription {
    std::uint32_t ulSize;           ///< 40
    std::uint32_t ePolarity;        ///< an enumerator of the host's, passed on and never interpreted
    std::uint32_t ulHostAttribute;  ///< a value of the host's, neither read nor passed on
    bool bFadeIn;                   ///< the buffer asks for a fade at its start
    bool bFadeOut;                  ///< the buffer asks for a fade at its end
    SZtaWaveFormatInfo sWaveFormat; ///< the buffer's format
};

/// What the engine asks for when it has the host create a buffer.
struct ZTA_API SZtCreateAudioSamplesDescription {
    std::uint32_t ulSize;           ///< 56
    std::uint64_t ui64BufferSize;   ///< capacity in bytes
    std::uint32_t ePolarity;        ///< as in the description
    std::uint32_t ulHostAttribute;  ///< as in the description
    bool bFadeIn;                   ///< as in the description
    bool bFadeOut;                  ///< as in the description
    SZtaWaveFormatInfo sWaveFormat; ///< the format that the buffer starts with
};

/// The gain ramp of one channel across one buffer. Gains are linear, 1.0 is unity, 0.0 to 8.0 inclusive.
struct ZTA_API SZtAudioMonoVolumeInfo {
    std::uint32_t ulChannelRef; ///< carried along with the record, never used
    float fStartVolume;         ///< gain at the first sample frame of the buffer
    float fEndVolume;           ///< gain that the ramp runs towards; see the host's guide for the last frame
};

/// Whether a resampler goes on with its stream. Only the value 2 is told apart from the others.
enum EZtAudioResamplerMode : std::uint32_t {
    keZtAudioResamplerModeContinue = 1, ///< this buffer follows the one before it
    keZtAudioResamplerModeRestart = 2,  ///< this buffer begins a stream
};

static_assert(sizeof(SZtaWaveFormatInfo) == 24);
static_assert(sizeof(SZtAudioSamplesDescription) == 40 && offsetof(SZtAudioSamplesDescription, sWaveFormat) == 16);
static_assert(sizeof(SZtCreateAudioSamplesDescription) == 56 &&
              offsetof(SZtCreateAudioSamplesDescription, ui64BufferSize) == 8 &&
              offsetof(SZtCreateAudioSamplesDescription, sWaveFormat) == 28);
static_assert(sizeof(SZtAudioMonoVolumeInfo) == 12);
