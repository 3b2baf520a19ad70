#include "kernels/stereo_to_mono.h"

#include "kernels/kernel_call.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

static_assert(ZtaPairsAreUnique({ZTA_STEREO_TO_MONO_LIST(ZTA_FORMAT_PAIR)}));

CZtaConvertStereoToMono::CZtaConvertStereoToMono() : m_oTable({ZTA_STEREO_TO_MONO_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertStereoToMono::~CZtaConvertStereoToMono() = default;

int CZtaConvertStereoToMono::ConvertStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                 IZtAudioSamples* pRight)
{
    return ConvertStereoToMonoChecked(pStereo, pLeft, pRight, false, false);
}

int CZtaConvertStereoToMono::ConvertStereoToMonoChecked(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                        IZtAudioSamples* pRight, bool bLeftMustFit, bool bRightMustFit)
{
    SZtAudioBufferInformations sStereo{};
    SZtAudioBufferInformations sLeft{};
    SZtAudioBufferInformations sRight{};
    int iStatus = ZtaQueryBuffers(*this, {{pStereo, sStereo}, {pLeft, sLeft}, {pRight, sRight}});
    if (iStatus < 0) {
        return iStatus;
    }
    if (sLeft.eFormat != sRight.eFormat) {
        return ZT_E_BUFFER_FORMAT_MISMATCH;
    }
    // Required behavior: one output of the caller that is large enough is sufficient. Hosts rely on it.
    const unsigned long ulFrames = sStereo.ulValidFrames;
    const bool bLeftTooSmall = ulFrames > sLeft.ulCapacityFrames;
    const bool bRightTooSmall = ulFrames > sRight.ulCapacityFrames;
    if ((bLeftTooSmall && (bLeftMustFit || bRightTooSmall)) || (bRightTooSmall && bRightMustFit)) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    iStatus = ZtaDispatchKernel(*this, m_oTable, sStereo.eFormat, sLeft.eFormat, ulFrames, [&](Function pfnKernel) {
        return (this->*pfnKernel)(ulFrames, sStereo.pvBuffer, sLeft.pvBuffer, sRight.pvBuffer);
    });
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = ZtaSetValidFrames(pLeft, sLeft, ulFrames);
    return iStatus < 0 ? iStatus : ZtaSetValidFrames(pRight, sRight, ulFrames);
}

int CZtaConvertStereoToMono::SuggestFormat(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono,
                                           SZtaWaveFormatInfo* psSuggestedStereo, SZtaWaveFormatInfo* psSuggestedMono)
{
    return SuggestFormatInOutBuffers(psStereo, psMono, psSuggestedStereo, psSuggestedMono);
}

int CZtaConvertStereoToMono::QueryFormatSupported(SZtaWaveFormatInfo* psStereo, SZtaWaveFormatInfo* psMono,
                                                  bool* pbSupported)
{
    return QueryFormatSupportedInOutBuffers(psStereo, psMono, pbSupported);
}

int CZtaConvertStereoToMono::ConvertStereoToMono16(unsigned long ulFrames, void* pvStereo, void* pvLeft, void* pvRight)
{
    if (pvStereo != nullptr && (pvLeft != nullptr || pvRight != nullptr)) {
        ZtaActiveLoops().pfnDeinterleaveStereo2(pvStereo, pvLeft, pvRight, ulFrames);
    }
    return ZT_NOERROR;
}

int CZtaConvertStereoToMono::ConvertStereoToMono24in32(unsigned long ulFrames, void* pvStereo, void* pvLeft,
                                                       void* pvRight)
{
    if (pvStereo != nullptr && (pvLeft != nullptr || pvRight != nullptr)) {
        ZtaActiveLoops().pfnDeinterleaveStereo4(pvStereo, pvLeft, pvRight, ulFrames);
    }
    return ZT_NOERROR;
}

int CZtaConvertStereoToMono::ConvertStereoToMono24in24(unsigned long ulFrames, void* pvStereo, void* pvLeft,
                                                       void* pvRight)
{
    if (ulFrames == 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (pvLeft == nullptr && pvRight == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    ZtaActiveLoops().pfnDeinterleaveStereo3(pvStereo, pvLeft, pvRight, ulFrames);
    return ZT_NOERROR;
}
