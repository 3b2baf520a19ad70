#include "engine/audio_samples_engine.h"

#include <zta/status.h>

// Operations that this release does not have. They say so and touch nothing.

int CZtaAudioSamplesEngine::CreateAudioResampler(SZtaWaveFormatInfo*, SZtaWaveFormatInfo*, IUnknown**)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::ProcessAudioResampler(IZtAudioSamples*, IZtAudioSamples*, EZtAudioResamplerMode, IUnknown*)
{
    return ZT_E_NOT_IMPLEMENTED;
}
