#pragma once

#include "kernels/kernel_table.h"

#include <cstdint>

// clang-format off

/// The kernel table of CZtaApplyVolume:
///   X(layout of input and output, kernel)
#define ZTA_VOLUME_LIST(X) \
    X(24In32Mono,   ApplyVolume24bitIn32Mux4_2_1) \
    X(24In32Stereo, ApplyVolume24bitIn32Mux4_2_1) \
    X(24In32Mux4,   ApplyVolume24bitIn32Mux4_2_1) \
    X(24In32Mux8,   ApplyVolume24bitIn32Mux8) \
    X(24In32Mux16,  ApplyVolume24bitIn32Mux64_32_16) \
    X(24In32Mux32,  ApplyVolume24bitIn32Mux64_32_16) \
    X(24In32Mux64,  ApplyVolume24bitIn32Mux64_32_16)

// clang-format on

/// Applies a gain ramp per channel to 24-in-32 samples, and saturates to 24 bits.
///
/// Gains have 12 fraction bits. With G the start gain and D the step per frame, both truncated to multiples of 1/4096,
/// frame n has the gain G + n * D. A step below 1/4096 becomes 0, and no frame has the end gain.
/// The settings block belongs to the object: one call at a time. [one thread] [real-time], except the constructor:
/// [allocates]
class ZTA_API CZtaApplyVolume : public CZtaAudioProcessingUtil {
public:
    CZtaApplyVolume();
    ~CZtaApplyVolume() override;

    /// Scales the valid frames of the input; input and output may be the same. On entry, the valid length of the output
    /// must equal that of the input, in frames; it is then set to whole frames. A gain of exactly 8.0 is replaced in
    /// psVolumes by the largest possible gain, just below 8.0, even if a later record fails.
    /// psVolumes   one record for each channel, in channel order
    /// ulChannels  the channel count of the input
    /// Errors  ZT_E_INVALID_PARAMETER                another channel count, a buffer that cannot be queried, or a gain
    ///                                               outside 0.0 to 8.0
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED      the output has a layout without a table entry
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED       the input has such a layout
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           the layouts differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the output has fewer valid frames
    ///         ZT_E_BUFFER_SIZE_MISMATCH             the output has more
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  24-in-24
    ///         ZT_E_INVALID_POINTER                  null samples or records, unless there are no frames
    ///         any other code                        from setting the output's length
    int ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                    unsigned long ulChannels);

    /// Fills the settings block for a gain ramp over ulFrames frames. Writes to psVolumes as ApplyVolume does.
    /// Errors  ZT_E_INVALID_POINTER    null records
    ///         ZT_E_ARRAY_TOO_SMALL    no channels
    ///         ZT_E_INVALID_PARAMETER  a gain outside 0.0 to 8.0 (NaN is accepted); or, after all records have been
    ///                                 read, a channel count that is not a power of two up to 64
    ///         E_OUTOFMEMORY           the constructor could not allocate the block
    int SetVolumeSettings(SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulChannels, unsigned long ulFrames);

    // The kernels of the table, for the channel counts in their names. ulFrames counts sample frames. If it is 0, they
    // return 0 and validate no argument.
    // Errors  ZT_E_INVALID_PARAMETER  another channel count
    //         ZT_E_INVALID_POINTER    null samples
    //         any other code          from SetVolumeSettings

    /// If the number of groups of four samples is 0, or a multiple of 65536, no sample is processed.
    int ApplyVolume24bitIn32Mux4_2_1(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                     unsigned long ulChannels, unsigned long ulFrames);
    int ApplyVolume24bitIn32Mux8(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                 unsigned long ulChannels, unsigned long ulFrames);
    int ApplyVolume24bitIn32Mux64_32_16(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                        unsigned long ulChannels, unsigned long ulFrames);

private:
    using Self = CZtaApplyVolume;
    using Function = int (Self::*)(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                   unsigned long ulChannels, unsigned long ulFrames);

    ZTA_INTERNAL int Scale(bool bChannelsFit, bool bScales, const void* pvInput, void* pvOutput,
                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulChannels, unsigned long ulFrames);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_VOLUME_LIST)> m_oTable;

    /// The settings block of 1024 bytes. For each group of four interleaved samples: four gains, then four increments
    /// from one group of the same channels to the next. Several frames of less than four samples share a group.
    std::int32_t* m_plVolumeSettings;

    // The clamp range of the four lanes of a group.
    alignas(16) static const std::int32_t ms_alPosSaturation[4];
    alignas(16) static const std::int32_t ms_alNegSaturation[4];

    friend struct SZtLayoutProbe;
};
