#include "kernels/fade.h"

#include "kernels/kernel_call.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

#include <algorithm>

namespace {

/// The loop, the element size and the fade curve of each op.
#define ZTA_FADE_ENTRY(op, bytes, gains)                                                                               \
    struct op {                                                                                                        \
        static constexpr unsigned long kBytes = bytes;                                                                 \
        static constexpr auto& kGains = gains;                                                                         \
        static constexpr auto pfnFade = &SZtaSampleLoops::pfnFade##op;                                                 \
    };
ZTA_FADE_LOOP_LIST(ZTA_FADE_ENTRY)
#undef ZTA_FADE_ENTRY

enum class EFadeDirection { In, Out };

/// The policy for a buffer shorter than the fade.
enum class EShortBufferPolicy {
    Fade,   ///< fades all frames: in with the first gains of the curve, out with the last
    Reject, ///< changes nothing and returns an error code
};

template <EFadeDirection eDirection, class Op, unsigned long ulElements, EShortBufferPolicy ePolicy>
int Fade(unsigned long ulFadeFrames, unsigned long ulFrames, void* pvBuffer)
{
    if (ePolicy == EShortBufferPolicy::Reject && ulFrames < ulFadeFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    const unsigned long ulLength = std::min(ulFadeFrames, ulFrames);
    if constexpr (eDirection == EFadeDirection::In) {
        (ZtaActiveLoops().*Op::pfnFade)(pvBuffer, ulElements, ulLength, &Op::kGains[0], 1);
    } else {
        const unsigned long ulSkipped = (ulFrames - ulLength) * ulElements * Op::kBytes;
        auto* const pbStart = static_cast<unsigned char*>(pvBuffer) + ulSkipped;
        (ZtaActiveLoops().*Op::pfnFade)(pbStart, ulElements, ulLength, &Op::kGains[ulFadeFrames - 1], -1);
    }
    return ZT_NOERROR;
}

} // namespace

static_assert(ZtaPairsAreUnique({ZTA_FADE_LIST(ZTA_SAME_FORMAT_PAIR)}));

#define ZTA_FADE_OUT(layout, fadeIn, fadeOut, ...) &CZtaApplyFade::fadeOut,
CZtaApplyFade::CZtaApplyFade()
    : m_ulFadeFrames(kFadeFrames),
      m_oFadeIn({ZTA_FADE_LIST(ZTA_SAME_FORMAT_TABLE_ENTRY)}), m_apfnFadeOut{ZTA_FADE_LIST(ZTA_FADE_OUT)}
{
    m_psProcessingFormats = m_oFadeIn.List();
}
#undef ZTA_FADE_OUT

CZtaApplyFade::~CZtaApplyFade() = default;

int CZtaApplyFade::ApplyFade(IZtAudioSamples* pSamples)
{
    SZtAudioBufferInformations sBuffer{};
    int iStatus = ZtaQueryBuffers(*this, {{pSamples, sBuffer}});
    if (iStatus < 0) {
        return iStatus;
    }

    int iFunctionIndex;
    iStatus = ValidateProcessingFormatAndGetFunctionIndex(sBuffer.eFormat, sBuffer.eFormat, m_psProcessingFormats,
                                                          &iFunctionIndex);
    if (iStatus < 0 || sBuffer.ulValidFrames == 0) {
        return iStatus;
    }

    // A failed fade-in does not prevent the fade-out. The last status is returned.
    if (sBuffer.sDescription.bFadeIn) {
        iStatus = (this->*m_oFadeIn[iFunctionIndex])(sBuffer.ulValidFrames, sBuffer.pvBuffer);
    }
    if (sBuffer.sDescription.bFadeOut) {
        iStatus = (this->*m_apfnFadeOut[iFunctionIndex])(sBuffer.ulValidFrames, sBuffer.pvBuffer);
    }
    return iStatus;
}

int CZtaApplyFade::SuggestFormat(SZtaWaveFormatInfo* psFormat, SZtaWaveFormatInfo* psSuggested)
{
    return SuggestFormatSingleBuffer(psFormat, psSuggested);
}

int CZtaApplyFade::QueryFormatSupported(SZtaWaveFormatInfo* psFormat, bool* pbSupported)
{
    return QueryFormatSupportedSingleBuffer(psFormat, pbSupported);
}

#define ZTA_FADE_ENTRY(layout, fadeIn, fadeOut, op, elements, shortBuffer)                                             \
    int CZtaApplyFade::fadeIn(unsigned long ulFrames, void* pvBuffer)                                                  \
    {                                                                                                                  \
        return Fade<EFadeDirection::In, op, elements, EShortBufferPolicy::shortBuffer>(m_ulFadeFrames, ulFrames,       \
                                                                                       pvBuffer);                      \
    }                                                                                                                  \
    int CZtaApplyFade::fadeOut(unsigned long ulFrames, void* pvBuffer)                                                 \
    {                                                                                                                  \
        return Fade<EFadeDirection::Out, op, elements, EShortBufferPolicy::shortBuffer>(m_ulFadeFrames, ulFrames,      \
                                                                                        pvBuffer);                     \
    }
ZTA_FADE_LIST(ZTA_FADE_ENTRY)
#undef ZTA_FADE_ENTRY

void CZtaApplyFade::ApplyFade24BitIn32Mux4(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains,
                                           bool bForward)
{
    ZtaActiveLoops().pfnFadeMuxInt24In32(pvBuffer, 4, ulFrames, pulGains, bForward ? 1 : -1);
}

void CZtaApplyFade::ApplyFade24BitIn32Mux8(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains,
                                           bool bForward)
{
    ZtaActiveLoops().pfnFadeMuxInt24In32(pvBuffer, 8, ulFrames, pulGains, bForward ? 1 : -1);
}

void CZtaApplyFade::ApplyFade24BitIn32Mux16(void* pvBuffer, unsigned long ulFrames, const unsigned int* pulGains,
                                            bool bForward)
{
    ZtaActiveLoops().pfnFadeMuxInt24In32(pvBuffer, 16, ulFrames, pulGains, bForward ? 1 : -1);
}

void CZtaApplyFade::ApplyFade16BitIn16Mux4(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains,
                                           bool bForward)
{
    _Fade16BitIn16MuxBuffer(pvBuffer, 4, ulFrames, pusGains, bForward ? 1 : -1);
}

void CZtaApplyFade::ApplyFade16BitIn16Mux8(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains,
                                           bool bForward)
{
    _Fade16BitIn16MuxBuffer(pvBuffer, 8, ulFrames, pusGains, bForward ? 1 : -1);
}

void CZtaApplyFade::ApplyFade16BitIn16Mux16(void* pvBuffer, unsigned long ulFrames, const unsigned short* pusGains,
                                            bool bForward)
{
    _Fade16BitIn16MuxBuffer(pvBuffer, 16, ulFrames, pusGains, bForward ? 1 : -1);
}

void CZtaApplyFade::_Fade16BitIn16MuxBuffer(void* pvBuffer, unsigned short usChannels, unsigned long ulFrames,
                                            const unsigned short* pusGains, short sStep)
{
    ZtaActiveLoops().pfnFadeInt16(pvBuffer, usChannels, ulFrames, pusGains, sStep);
}
