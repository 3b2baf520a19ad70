#pragma once

#include "kernels/kernel_table.h"

/// Splits one stereo buffer into two mono buffers, bit for bit.
///
/// Kernels have no state: one object serves several threads on different buffers. [any thread] [no allocation] [no
/// lock]
class ZTA_API CZtaConvertStereoToMono : public CZtaAudioProcessingUtil {
public:
    CZtaConvertStereoToMono();
    ~CZtaConvertStereoToMono() override;

    /// Splits the input's valid frames and sets the valid length of both outputs to them, left first.
    ///
    /// Rejects the call only if both outputs are too small: the caller ensures that each output is large enough.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           left and right have different layouts or rates
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the capacities of both are below the input's valid frames
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no row for the pair
    ///         any other code                        from the buffers
    int ConvertStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft, IZtAudioSamples* pRight);

    int SuggestFormat(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psSuggestedStereo,
                      SZtaWaveFormatInfo* psSuggestedMono);
    int QueryFormatSupported(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono, bool* pbSupported);

    // The kernels of the table. A null output is dropped; without an input nothing is written. One output may begin at
    // the input's address; other overlaps are not supported.
    int ConvertStereoToMono16(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);
    int ConvertStereoToMono24in32(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    /// Unlike its siblings it refuses to do nothing, and a null input reads as silence.
    /// Errors  ZT_E_INVALID_PARAMETER  no frames
    ///         ZT_E_INVALID_POINTER    no output at all
    int ConvertStereoToMono24in24(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    /// ConvertStereoToMono for outputs of which some are scratch buffers: also rejects the call if an output that must
    /// fit is too small.
    ZTA_INTERNAL int ConvertStereoToMonoChecked(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                IZtAudioSamples* pRight, bool bLeftMustFit, bool bRightMustFit);

private:
    using Function = int (CZtaConvertStereoToMono::*)(unsigned long ulFrames, void* pvStereo, void* pvLeft,
                                                      void* pvRight);

    TZtaKernelTable<Function, 4> m_oTable;

    friend struct SZtLayoutProbe;
};
