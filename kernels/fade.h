#pragma once

#include "kernels/kernel_table.h"

// clang-format off

/// What CZtaApplyFade does, one row each:
///   ROW(layout, fade in, fade out)
#define ZTA_FADE_LIST(ROW) \
    ROW(16In16Mono,   ApplyFadeIn16Mono,          ApplyFadeOut16Mono) \
    ROW(16In16Stereo, ApplyFadeIn16Stereo,        ApplyFadeOut16Stereo) \
    ROW(24In32Mono,   ApplyFadeIn24Mono,          ApplyFadeOut24Mono) \
    ROW(24In32Stereo, ApplyFadeIn24Stereo,        ApplyFadeOut24Stereo) \
    ROW(24In32Mux4,   ApplyFadeIn24BitIn32Mux4,   ApplyFadeOut24BitIn32Mux4) \
    ROW(24In32Mux8,   ApplyFadeIn24BitIn32Mux8,   ApplyFadeOut24BitIn32Mux8) \
    ROW(24In32Mux16,  ApplyFadeIn24BitIn32Mux16,  ApplyFadeOut24BitIn32Mux16) \
    ROW(16In16Mux4,   ApplyFadeIn16BitIn16Mux4,   ApplyFadeOut16BitIn16Mux4) \
    ROW(16In16Mux8,   ApplyFadeIn16BitIn16Mux8,   ApplyFadeOut16BitIn16Mux8) \
    ROW(16In16Mux16,  ApplyFadeIn16BitIn16Mux16,  ApplyFadeOut16BitIn16Mux16)

// clang-format on

/// The length of a fade, in sample frames.
inline constexpr unsigned long kFadeFrames = 200;

/// Fades the start, the end or both ends of a buffer in place, as its description's flags ask.
///
/// The gain rises as 1 - (1 - t)^2 over 200 frames: fast at first, softly at the end. [any thread] [no allocation]
class ZTA_API CZtaApplyFade : public CZtaAudioProcessingUtil {
public:
    CZtaApplyFade();
    ~CZtaApplyFade() override;

    /// Fades a buffer. With both flags set the status is that of the fade-out alone.
    /// Errors  ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no fade for the layout, whether or not a flag is set
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     a mux buffer of less than 200 frames; it is left as it was
    ///         any other code                        from the digest of the buffer
    int ApplyFade(IZtAudioSamples* pSamples);

    /// Suggests a format near the given one that can be faded.
    int SuggestFormat(SZtaWaveFormatInfo* psFormat, SZtaWaveFormatInfo* psSuggested);
    int QueryFormatSupported(SZtaWaveFormatInfo* psFormat, bool* pbSupported);

    // The kernels of the table.
#define ZTA_FADE_ROW(layout, fadeIn, fadeOut)                                                                          \
    int fadeIn(unsigned long ulFrames, void* pvBuffer);                                                                \
    int fadeOut(unsigned long ulFrames, void* pvBuffer);
    ZTA_FADE_LIST(ZTA_FADE_ROW)
#undef ZTA_FADE_ROW

    // The ramps of the mux kernels over ulFrames frames from pvBuffer on, one gain for each frame; bForward walks the
    // gains upwards from pulGains, else downwards.
    void ApplyFade24BitIn32Mux4(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains, bool bForward);
    void ApplyFade24BitIn32Mux8(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains, bool bForward);
    void ApplyFade24BitIn32Mux16(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains, bool bForward);
    void ApplyFade16BitIn16Mux4(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains, bool bForward);
    void ApplyFade16BitIn16Mux8(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains, bool bForward);
    void ApplyFade16BitIn16Mux16(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains, bool bForward);
    void _Fade16BitIn16MuxBuffer(void* pvBuffer, unsigned short usChannels, unsigned long ulFrames,
                                 const unsigned short* pusGains, short sStep);

private:
    using Function = int (CZtaApplyFade::*)(unsigned long ulFrames, void* pvBuffer);

    unsigned long m_ulFadeFrames;
    TZtaKernelTable<Function, 10> m_oFadeIn;
    Function m_apfnFadeOut[10];

    friend struct SZtLayoutProbe;
};
