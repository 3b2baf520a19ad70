#include "engine/staging.h"

int CZtaAudioSamplesEngine::ConvertToScratch(IZtAudioSamples* pIn, IZtAudioSamples* pScratch,
                                             SZtaWaveFormatInfo& rsFormat)
{
    const int iStatus = pScratch->SetWaveFormat(&rsFormat);
    return iStatus < 0 ? iStatus : m_oConvertBitDepth.ConvertBitDepth(pIn, pScratch);
}
