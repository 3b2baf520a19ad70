#include "engine/audio_samples_engine.h"

#include <zta/status.h>

int CZtaAudioSamplesEngine::ConvertToScratch(IZtAudioSamples* pIn, IZtAudioSamples* pStage,
                                             SZtaWaveFormatInfo& rsStageFormat)
{
    const int iStatus = pStage->SetWaveFormat(&rsStageFormat);
    return iStatus < 0 ? iStatus : m_oConvertBitDepth.ConvertBitDepth(pIn, pStage);
}
