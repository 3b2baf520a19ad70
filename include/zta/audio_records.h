/// The records that a host and the engine exchange.
///
/// Integers are little-endian and fields are naturally aligned. Sizes and offsets are part of the binary interface. If
/// the first field of a record is `ulSize`, it holds the size of the record in bytes: the caller sets it before it
/// passes the record.
#pragma once

#include <zta/export.h>

#include <cstddef>
#include <cstdint>

/// How a sample is encoded.
enum EZtAudioDataType : std::uint32_t {
    keZtAudioDataTypePcm = 1,         ///< signed integer PCM
    keZtAudioDataTypeFloat = 2,       ///< IEEE single precision
    keZtAudioDataTypeMultiFormat = 3, ///< multi-format word: 32 bits with a 16-bit or 24-bit sample in bits 27 to 4
    keZtAudioDataTypeOpaque = 4,      ///< data that is copied but not processed
};

/// A wave format. Two formats are equal if their 24 bytes are.
///
/// A sample frame has (`ulBitsPerSample` >> 3) * `ulChannels` bytes.
struct ZTA_API SZtaWaveFormatInfo {
    std::uint32_t ulSize;               ///< 24
    std::uint32_t ulChannels;           ///< channels of a sample frame: 1 mono, 2 stereo, 4 to 64 mux
    EZtAudioDataType eDataType;         ///< encoding of a sample
    std::uint32_t ulSamplesPerSec;      ///< sampling rate in hertz
    std::uint32_t ulBitsPerSample;      ///< size of the container of a sample in bits
    std::uint32_t ulValidBitsPerSample; ///< valid bits of the container
};

/// The properties of a buffer, reported by the host.
struct ZTA_API SZtAudioSamplesDescription {
    std::uint32_t ulSize;           ///< 40
    std::uint32_t ePolarity;        ///< enumerator of the host; propagated, not interpreted
    std::uint32_t ulHostAttribute;  ///< value of the host; neither read nor propagated
    bool bFadeIn;                   ///< a fade-in is requested
    bool bFadeOut;                  ///< a fade-out is requested
    SZtaWaveFormatInfo sWaveFormat; ///< format of the buffer
};

/// The properties of a buffer that the engine requests from the host.
struct ZTA_API SZtCreateAudioSamplesDescription {
    std::uint32_t ulSize;           ///< 56
    std::uint64_t ui64BufferSize;   ///< capacity in bytes
    std::uint32_t ePolarity;        ///< as in SZtAudioSamplesDescription
    std::uint32_t ulHostAttribute;  ///< as in SZtAudioSamplesDescription
    bool bFadeIn;                   ///< as in SZtAudioSamplesDescription
    bool bFadeOut;                  ///< as in SZtAudioSamplesDescription
    SZtaWaveFormatInfo sWaveFormat; ///< initial format of the buffer
};

/// The gain ramp of one channel over one buffer. Gains are linear factors from 0.0 to 8.0, 1.0 is unity.
struct ZTA_API SZtAudioMonoVolumeInfo {
    std::uint32_t ulChannelRef; ///< not used
    float fStartVolume;         ///< gain of the first sample frame
    float fEndVolume;           ///< gain that the ramp approaches; no frame reaches it (see the host's guide)
};

/// Whether a resampler continues its stream. Values other than 2 mean "continue".
enum EZtAudioResamplerMode : std::uint32_t {
    keZtAudioResamplerModeContinue = 1, ///< the buffer continues the stream
    keZtAudioResamplerModeRestart = 2,  ///< the buffer begins a stream
};

static_assert(sizeof(SZtaWaveFormatInfo) == 24);
static_assert(sizeof(SZtAudioSamplesDescription) == 40 && offsetof(SZtAudioSamplesDescription, sWaveFormat) == 16);
static_assert(sizeof(SZtCreateAudioSamplesDescription) == 56 &&
              offsetof(SZtCreateAudioSamplesDescription, ui64BufferSize) == 8 &&
              offsetof(SZtCreateAudioSamplesDescription, sWaveFormat) == 28);
static_assert(sizeof(SZtAudioMonoVolumeInfo) == 12);
