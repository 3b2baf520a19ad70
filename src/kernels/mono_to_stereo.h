#pragma once

#include "kernels/kernel_table.h"

// clang-format off

/// The kernel table of CZtaConvertMonoToStereo:
///   X(input layout, output layout, kernel)
#define ZTA_MONO_TO_STEREO_LIST(X) \
    X(16In16Mono,    16In16Stereo,    ConvertMonoToStereo16) \
    X(16In16Mono44k, 16In16Stereo44k, ConvertMonoToStereo16) \
    X(24In32Mono,    24In32Stereo,    ConvertMonoToStereo24in32) \
    X(24In24Mono,    24In24Stereo,    ConvertMonoToStereo24in24)

// clang-format on

/// Interleaves two mono buffers into one stereo buffer, bit-exact.
///
/// Kernels have no state: several threads may use one object on different buffers. [any thread] [real-time]
class ZTA_API CZtaConvertMonoToStereo : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMonoToStereo();
    ~CZtaConvertMonoToStereo() override;

    /// Interleaves the valid frames of the inputs and sets the output's valid length to them.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           left and right have different layouts or rates
    ///         ZT_E_BUFFER_SIZE_MISMATCH             left and right have different counts of valid frames
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the output's capacity is below them
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the pair
    ///         any other code                        from the buffers
    int ConvertMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight, IZtAudioSamples* pStereo);

    int SuggestFormat(SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psSuggestedMono,
                      SZtaWaveFormatInfo* psSuggestedStereo);
    int QueryFormatSupported(SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psStereo, bool* pbSupported);

    // The kernels of the table. ulFrames counts sample frames. A null input reads as silence. An input may lie in the
    // second half of the output; other overlaps are not supported.
    int ConvertMonoToStereo16(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);
    int ConvertMonoToStereo24in32(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);

    /// Unlike the others, rejects calls that have no effect.
    /// Errors  ZT_E_INVALID_PARAMETER  no frames
    ///         ZT_E_INVALID_POINTER    null output
    int ConvertMonoToStereo24in24(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);

private:
    using Self = CZtaConvertMonoToStereo;
    using Function = int (Self::*)(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_MONO_TO_STEREO_LIST)> m_oTable;

    friend struct SZtLayoutProbe;
};
