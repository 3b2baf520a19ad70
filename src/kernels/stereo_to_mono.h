#pragma once

#include "kernels/kernel_table.h"

// clang-format off

/// The kernel table of CZtaConvertStereoToMono:
///   X(input layout, output layout, kernel)
#define ZTA_STEREO_TO_MONO_LIST(X) \
    X(16In16Stereo,    16In16Mono,    ConvertStereoToMono16) \
    X(16In16Stereo44k, 16In16Mono44k, ConvertStereoToMono16) \
    X(24In32Stereo,    24In32Mono,    ConvertStereoToMono24in32) \
    X(24In24Stereo,    24In24Mono,    ConvertStereoToMono24in24)

// clang-format on

/// Deinterleaves one stereo buffer into two mono buffers, bit-exact.
///
/// Kernels have no state: several threads may use one object on different buffers. [any thread] [real-time]
class ZTA_API CZtaConvertStereoToMono : public CZtaAudioProcessingUtil {
public:
    CZtaConvertStereoToMono();
    ~CZtaConvertStereoToMono() override;

    /// Deinterleaves the valid frames of the input and sets the valid length of both outputs to them, left first.
    ///
    /// Rejects the call only if both outputs are too small: the caller ensures that each output is large enough.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_BUFFER_FORMAT_MISMATCH           left and right have different layouts or rates
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the capacities of both are below the input's valid frames
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the pair
    ///         any other code                        from the buffers
    int ConvertStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft, IZtAudioSamples* pRight);

    int SuggestFormat(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psSuggestedStereo,
                      SZtaWaveFormatInfo* psSuggestedMono);
    int QueryFormatSupported(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono, bool* pbSupported);

    // The kernels of the table. ulFrames counts sample frames. A null output is dropped; without an input nothing is
    // written. One output may begin at the input's address; other overlaps are not supported.
    int ConvertStereoToMono16(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);
    int ConvertStereoToMono24in32(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    /// Unlike the others, rejects calls that have no effect, and reads a null input as silence.
    /// Errors  ZT_E_INVALID_PARAMETER  no frames
    ///         ZT_E_INVALID_POINTER    both outputs are null
    int ConvertStereoToMono24in24(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    /// ConvertStereoToMono for outputs of which some are scratch buffers: also rejects the call if an output that must
    /// fit is too small.
    ZTA_INTERNAL int ConvertStereoToMonoChecked(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                IZtAudioSamples* pRight, bool bLeftMustFit, bool bRightMustFit);

private:
    using Self = CZtaConvertStereoToMono;
    using Function = int (Self::*)(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_STEREO_TO_MONO_LIST)> m_oTable;

    friend struct SZtLayoutProbe;
};
