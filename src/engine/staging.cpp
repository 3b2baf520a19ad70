#include "engine/staging.h"

int CZtaAudioSamplesEngine::ConvertToScratch(IZtAudioSamples* pIn, IZtAudioSamples* pScratch,
                                             SZtaWaveFormatInfo& rsFormat)
{
    const int iStatus = SetScratchFormat(pScratch, rsFormat);
    return iStatus < 0 ? iStatus : m_oConvertBitDepth.ConvertBitDepth(pIn, pScratch);
}
