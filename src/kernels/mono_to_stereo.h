#pragma once

#include "kernels/kernel_table.h"

/// Interleaves two mono buffers into one stereo buffer, bit for bit.
///
/// Kernels have no state: one object serves several threads on different buffers. [any thread] [no allocation] [no
/// lock]
class ZTA_API CZtaConvertMonoToStereo : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMonoToStereo();
    ~CZtaConvertMonoToStereo() override;

    /// Interleaves the valid frames of the inputs and sets the output's valid length to them.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           left and right have different layouts or rates
    ///         ZT_E_BUFFER_SIZE_MISMATCH             left and right have different counts of valid frames
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the output's capacity is below them
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no row for the pair
    ///         any other code                        from the buffers
    int ConvertMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight, IZtAudioSamples* pStereo);

    int SuggestFormat(SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psSuggestedMono,
                      SZtaWaveFormatInfo* psSuggestedStereo);
    int QueryFormatSupported(SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psStereo, bool* pbSupported);

    // The kernels of the table. A null input reads as silence. An input may lie in the second half of the output; other
    // overlaps are not supported.
    int ConvertMonoToStereo16(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);
    int ConvertMonoToStereo24in32(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);

    /// Unlike its siblings it refuses to do nothing.
    /// Errors  ZT_E_INVALID_PARAMETER  no frames
    ///         ZT_E_INVALID_POINTER    no output
    int ConvertMonoToStereo24in24(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo);

private:
    using Function = int (CZtaConvertMonoToStereo::*)(unsigned long ulFrames, void* pvLeft, void* pvRight,
                                                      void* pvStereo);

    TZtaKernelTable<Function, 4> m_oTable;

    friend struct SZtLayoutProbe;
};
