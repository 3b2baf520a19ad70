#include "kernels/mono_to_stereo.h"

#include "kernels/kernel_call.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

static_assert(ZtaPairsAreUnique({ZTA_MONO_TO_STEREO_LIST(ZTA_FORMAT_PAIR)}));

CZtaConvertMonoToStereo::CZtaConvertMonoToStereo() : m_oTable({ZTA_MONO_TO_STEREO_LIST(ZTA_TABLE_ENTRY)})
{
    m_psProcessingFormats = m_oTable.List();
}

CZtaConvertMonoToStereo::~CZtaConvertMonoToStereo() = default;

int CZtaConvertMonoToStereo::ConvertMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                                 IZtAudioSamples* pStereo)
{
    SZtAudioBufferInformations sLeft{};
    SZtAudioBufferInformations sRight{};
    SZtAudioBufferInformations sStereo{};
    int iStatus = ZtaQueryBuffers(*this, {{pLeft, sLeft}, {pRight, sRight}});
    if (iStatus < 0) {
        return iStatus;
    }
    if (sLeft.eFormat != sRight.eFormat) {
        return ZT_E_BUFFER_FORMAT_MISMATCH;
    }
    const unsigned long ulFrames = sLeft.ulValidFrames;
    if (ulFrames != sRight.ulValidFrames) {
        return ZT_E_BUFFER_SIZE_MISMATCH;
    }
    iStatus = ZtaQueryBuffers(*this, {{pStereo, sStereo}});
    if (iStatus < 0) {
        return iStatus;
    }
    if (sStereo.ulCapacityFrames < ulFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    iStatus = ZtaDispatchKernel(*this, m_oTable, sLeft.eFormat, sStereo.eFormat, ulFrames, [&](Function pfnKernel) {
        return (this->*pfnKernel)(ulFrames, sLeft.pvBuffer, sRight.pvBuffer, sStereo.pvBuffer);
    });
    return iStatus < 0 ? iStatus : ZtaSetValidFrames(pStereo, sStereo, ulFrames);
}

int CZtaConvertMonoToStereo::SuggestFormat(SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psStereo,
                                           SZtaWaveFormatInfo* psSuggestedMono, SZtaWaveFormatInfo* psSuggestedStereo)
{
    return SuggestFormatInOutBuffers(psMono, psStereo, psSuggestedMono, psSuggestedStereo);
}

int CZtaConvertMonoToStereo::QueryFormatSupported(SZtaWaveFormatInfo* psMono, SZtaWaveFormatInfo* psStereo,
                                                  bool* pbSupported)
{
    return QueryFormatSupportedInOutBuffers(psMono, psStereo, pbSupported);
}

int CZtaConvertMonoToStereo::ConvertMonoToStereo16(unsigned long ulFrames, void* pvLeft, void* pvRight, void* pvStereo)
{
    ZtaActiveLoops().pfnInterleaveStereo2(pvLeft, pvRight, pvStereo, ulFrames);
    return ZT_NOERROR;
}

int CZtaConvertMonoToStereo::ConvertMonoToStereo24in32(unsigned long ulFrames, void* pvLeft, void* pvRight,
                                                       void* pvStereo)
{
    ZtaActiveLoops().pfnInterleaveStereo4(pvLeft, pvRight, pvStereo, ulFrames);
    return ZT_NOERROR;
}

int CZtaConvertMonoToStereo::ConvertMonoToStereo24in24(unsigned long ulFrames, void* pvLeft, void* pvRight,
                                                       void* pvStereo)
{
    if (ulFrames == 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (pvStereo == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    ZtaActiveLoops().pfnInterleaveStereo3(pvLeft, pvRight, pvStereo, ulFrames);
    return ZT_NOERROR;
}
