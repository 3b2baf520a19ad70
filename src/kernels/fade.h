#pragma once

#include "kernels/kernel_table.h"

// clang-format off

/// The kernel table of CZtaApplyFade:
///   X(layout, fade-in, fade-out, op, elements per frame, policy for a buffer shorter than the fade)
#define ZTA_FADE_LIST(X) \
    X(16In16Mono,   ApplyFadeIn16Mono,         ApplyFadeOut16Mono,         Int16,        1, Fade) \
    X(16In16Stereo, ApplyFadeIn16Stereo,       ApplyFadeOut16Stereo,       StereoInt16,  1, Fade) \
    X(24In32Mono,   ApplyFadeIn24Mono,         ApplyFadeOut24Mono,         Int24In32,    1, Fade) \
    X(24In32Stereo, ApplyFadeIn24Stereo,       ApplyFadeOut24Stereo,       Int24In32,    2, Fade) \
    X(24In32Mux4,   ApplyFadeIn24BitIn32Mux4,  ApplyFadeOut24BitIn32Mux4,  MuxInt24In32,  4, Reject) \
    X(24In32Mux8,   ApplyFadeIn24BitIn32Mux8,  ApplyFadeOut24BitIn32Mux8,  MuxInt24In32,  8, Reject) \
    X(24In32Mux16,  ApplyFadeIn24BitIn32Mux16, ApplyFadeOut24BitIn32Mux16, MuxInt24In32, 16, Reject) \
    X(16In16Mux4,   ApplyFadeIn16BitIn16Mux4,  ApplyFadeOut16BitIn16Mux4,  Int16,        4, Reject) \
    X(16In16Mux8,   ApplyFadeIn16BitIn16Mux8,  ApplyFadeOut16BitIn16Mux8,  Int16,        8, Reject) \
    X(16In16Mux16,  ApplyFadeIn16BitIn16Mux16, ApplyFadeOut16BitIn16Mux16, Int16,       16, Reject)

// clang-format on

/// Fades the start, the end or both ends of a buffer in place, as requested by the flags of its description.
///
/// The fade curve is 1 - (1 - t)^2 over 200 frames. Several threads may use one object on different buffers.
/// [any thread] [real-time]
class ZTA_API CZtaApplyFade : public CZtaAudioProcessingUtil {
public:
    CZtaApplyFade();
    ~CZtaApplyFade() override;

    /// Fades a buffer. If both flags are set, returns the status of the fade-out.
    /// Errors  ZT_E_FORMAT_NOT_SUPPORTED             a format that cannot be classified
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the layout, whether or not a flag is set
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     a mux buffer of less than 200 frames, which is not changed
    ///         any other code                        from the buffer
    int ApplyFade(IZtAudioSamples* pSamples);

    /// Suggests a format near the given one that a table entry processes.
    int SuggestFormat(SZtaWaveFormatInfo* psFormat, SZtaWaveFormatInfo* psSuggested);
    int QueryFormatSupported(SZtaWaveFormatInfo* psFormat, bool* pbSupported);

    // The kernels of the table. They fade the first or the last frames of a buffer of ulFrames frames.
#define ZTA_FADE_ENTRY(layout, fadeIn, fadeOut, op, elements, shortBuffer)                                             \
    int fadeIn(unsigned long ulFrames, void* pvBuffer);                                                                \
    int fadeOut(unsigned long ulFrames, void* pvBuffer);
    ZTA_FADE_LIST(ZTA_FADE_ENTRY)
#undef ZTA_FADE_ENTRY

    // Fades of mux buffers over ulFrames frames, with one gain for each frame. pulGains and pusGains point to the gain
    // of the first frame. The gains of the next frames follow in ascending order of memory if bForward is true,
    // otherwise in descending order. sStep is the distance from one gain to the next.
    void ApplyFade24BitIn32Mux4(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains, bool bForward);
    void ApplyFade24BitIn32Mux8(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains, bool bForward);
    void ApplyFade24BitIn32Mux16(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains, bool bForward);
    void ApplyFade16BitIn16Mux4(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains, bool bForward);
    void ApplyFade16BitIn16Mux8(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains, bool bForward);
    void ApplyFade16BitIn16Mux16(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains, bool bForward);
    void _Fade16BitIn16MuxBuffer(void* pvBuffer, unsigned short usChannels, unsigned long ulFrames,
                                 const unsigned short* pusGains, short sStep);

private:
    using Self = CZtaApplyFade;
    using Function = int (Self::*)(unsigned long ulFrames, void* pvBuffer);

    unsigned long m_ulFadeFrames;
    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_FADE_LIST)> m_oFadeIn;
    Function m_apfnFadeOut[ZTA_ENTRY_COUNT(ZTA_FADE_LIST)];

    friend struct SZtLayoutProbe;
};
