#pragma once

#include "kernels/kernel_table.h"

#include <cstdint>

// clang-format off

/// What CZtaApplyVolume does, one row each:
///   X(layout on both sides, function)
#define ZTA_VOLUME_LIST(X) \
    X(24In32Mono,   ApplyVolume24bitIn32Mux4_2_1) \
    X(24In32Stereo, ApplyVolume24bitIn32Mux4_2_1) \
    X(24In32Mux4,   ApplyVolume24bitIn32Mux4_2_1) \
    X(24In32Mux8,   ApplyVolume24bitIn32Mux8) \
    X(24In32Mux16,  ApplyVolume24bitIn32Mux64_32_16) \
    X(24In32Mux32,  ApplyVolume24bitIn32Mux64_32_16) \
    X(24In32Mux64,  ApplyVolume24bitIn32Mux64_32_16)

// clang-format on

/// Scales 24-in-32 samples by a gain per channel that moves linearly across the buffer, and limits them to 24 bits.
///
/// Gains have 12 fraction bits. With G the start gain and D the step per frame, both cut off to whole parts of 4096,
/// frame n has the gain G + n * D: a step below one part vanishes, and no frame has the end gain.
/// The settings block belongs to the object: one call at a time. [no allocation in a call] [no lock]
class ZTA_API CZtaApplyVolume : public CZtaAudioProcessingUtil {
public:
    CZtaApplyVolume();
    ~CZtaApplyVolume() override;

    /// Scales the input's valid frames; input and output may be the same. The output's valid length must already be the
    /// input's, in frames; it is set to whole frames of it. A gain of exactly 8.0 is replaced in psVolumes by the
    /// largest one that there is, just below it, also if a later record fails.
    /// psVolumes   one record for each channel, in their order
    /// ulChannels  that of the input
    /// Errors  ZT_E_INVALID_PARAMETER                another channel count, a buffer that cannot be digested, or a gain
    ///                                               outside 0.0 to 8.0
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED      a layout that no volume is for
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED       the same
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           the layouts differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the output has fewer valid frames
    ///         ZT_E_BUFFER_SIZE_MISMATCH             the output has more
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  24-in-24
    ///         ZT_E_INVALID_POINTER                  no samples or no records, unless there are no frames
    ///         any other code                        from setting the output's length
    int ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                    unsigned long ulChannels);

    /// Fills the settings block for a ramp over ulFrames frames; writes to psVolumes as ApplyVolume does.
    /// Errors  ZT_E_INVALID_POINTER    no records
    ///         ZT_E_ARRAY_TOO_SMALL    no channels
    ///         ZT_E_INVALID_PARAMETER  a gain outside 0.0 to 8.0, which a NaN is not; or, after all records have been
    ///                                 read, a channel count that is not a power of two up to 64
    ///         E_OUTOFMEMORY           no memory was left for the block when the object was made
    int SetVolumeSettings(SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulChannels, unsigned long ulFrames);

    // The kernels of the table, for the channel counts in their names. Without frames they return 0 and look at
    // nothing. Errors  ZT_E_INVALID_PARAMETER  another channel count
    //         ZT_E_INVALID_POINTER    no samples
    //         any other code          from SetVolumeSettings

    /// Works by steps of four samples. A whole multiple of 65536 steps, none included, leaves the buffer unprocessed.
    int ApplyVolume24bitIn32Mux4_2_1(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                     unsigned long ulChannels, unsigned long ulFrames);
    int ApplyVolume24bitIn32Mux8(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                 unsigned long ulChannels, unsigned long ulFrames);
    int ApplyVolume24bitIn32Mux64_32_16(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                        unsigned long ulChannels, unsigned long ulFrames);

private:
    using Function = int (CZtaApplyVolume::*)(void* pvInput, void* pvOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                              unsigned long ulChannels, unsigned long ulFrames);

    ZTA_INTERNAL int Scale(bool bChannelsFit, bool bScales, const void* pvInput, void* pvOutput,
                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulChannels, unsigned long ulFrames);

    TZtaKernelTable<Function, 7> m_oTable;

    /// 1024 bytes: for each group of four samples of the interleaved stream four gains, then four increments from one
    /// group of the same lanes to the next. A frame of less than four samples fills a group with the frames that
    /// follow.
    std::int32_t* m_plVolumeSettings;

    // The limits of the four lanes of a group.
    alignas(16) static const std::int32_t ms_alPosSaturation[4];
    alignas(16) static const std::int32_t ms_alNegSaturation[4];

    friend struct SZtLayoutProbe;
};
