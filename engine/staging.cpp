#include "engine/audio_samples_engine.h"
#include "engine/operation.h"

#include <zta/status.h>

int CZtaAudioSamplesEngine::ConvertToStage(IZtAudioSamples* pIn, IZtAudioSamples* pStage,
                                           SZtaWaveFormatInfo& rsStageFormat)
{
    const int iStatus = pStage->SetWaveFormat(&rsStageFormat);
    return iStatus < 0 ? iStatus : m_oConvertBitDepth.ConvertBitDepth(pIn, pStage);
}

int CZtaAudioSamplesEngine::CopyToStage(IZtAudioSamples* pIn, IZtAudioSamples* pStage,
                                        SZtAudioSamplesDescription& rsDescription)
{
    void* pvIn = nullptr;
    unsigned long ulLength = 0;
    int iStatus = pIn->GetBufferAndLength(&pvIn, &ulLength);
    if (iStatus >= 0) {
        iStatus = pStage->SetWaveFormat(&rsDescription.sWaveFormat);
    }
    if (iStatus < 0) {
        return iStatus;
    }
    // A host may refuse a length beyond the stage's capacity; that it does not fit is for the copy to tell.
    const int iLengthStatus = pStage->SetLength(ulLength);
    return FirstFailure(BufferCopy(pIn, &rsDescription, pStage, &rsDescription), iLengthStatus);
}

int CZtaAudioSamplesEngine::FadeInPlace(IZtAudioSamples* pBuffer, const SZtAudioSamplesDescription& rsRequest)
{
    SetFades(pBuffer, rsRequest.bFadeIn, rsRequest.bFadeOut);
    if (!rsRequest.bFadeIn && !rsRequest.bFadeOut) {
        return ZT_NOERROR;
    }
    const int iStatus = m_oApplyFade.ApplyFade(pBuffer);
    SetFades(pBuffer, false, false);
    return iStatus;
}
