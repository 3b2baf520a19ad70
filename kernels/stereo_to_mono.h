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
    /// Capacity is refused only where both outputs are too small: a caller must see to it that each has room.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           left and right have different layouts or rates
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the capacities of both are below the input's valid frames
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no row for the pair
    ///         any other code                        from the buffers
    int ConvertStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft, IZtAudioSamples* pRight);

    int SuggestFormat(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psSuggestedStereo,
                      SZtaWaveFormatInfo* psSuggestedMono);
    int QueryFormatSupported(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono, bool* pbSupported);

    // The kernels of the table. A null output is dropped; without an input nothing is written.
    int ConvertStereoToMono16(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);
    int ConvertStereoToMono24in32(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    /// Unlike its siblings it refuses to do nothing, and a null input reads as silence.
    /// Errors  ZT_E_INVALID_PARAMETER  no frames
    ///         ZT_E_INVALID_POINTER    no output at all
    int ConvertStereoToMono24in24(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    /// The same for outputs of which one is a stage buffer of the engine's: each must have room, or the call is
    /// refused.
    ZTA_INTERNAL int ConvertStereoToMonoStaged(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                               IZtAudioSamples* pRight);

private:
    enum class EOutputsChecked { Together, Each };

    ZTA_INTERNAL int Convert(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                             EOutputsChecked eChecked);

    using Function = int (CZtaConvertStereoToMono::*)(unsigned long ulFrames, void* pvStereo, void* pvLeft,
                                                      void* pvRight);

    TZtaKernelTable<Function, 4> m_oTable;

    friend struct SZtLayoutProbe;
};
