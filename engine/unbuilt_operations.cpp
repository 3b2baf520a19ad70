#include "engine/audio_samples_engine.h"

#include <zta/status.h>

// Operations that this release does not have. They say so and touch nothing.

int CZtaAudioSamplesEngine::CopyAudioSamplesMonoToStereo(IZtAudioSamples*, IZtAudioSamples*, IZtAudioSamples*)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::CopyAudioSamplesStereoToMono(IZtAudioSamples*, IZtAudioSamples*, IZtAudioSamples*)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::CopyAudioSamplesMonoToMux(IZtAudioSamples**, unsigned long, IZtAudioSamples*,
                                                      SZtAudioMonoVolumeInfo*, unsigned long)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::CopyAudioSamplesStereoToMux(IZtAudioSamples**, unsigned long, IZtAudioSamples*,
                                                        SZtAudioMonoVolumeInfo*, unsigned long)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::CopyAudioSamplesMuxToMono(IZtAudioSamples*, IZtAudioSamples**, unsigned long,
                                                      SZtAudioMonoVolumeInfo*, unsigned long)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::CopyAudioSamplesMuxToStereo(IZtAudioSamples*, IZtAudioSamples**, unsigned long,
                                                        SZtAudioMonoVolumeInfo*, unsigned long)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::ApplyVolume(IZtAudioSamples*, IZtAudioSamples*, SZtAudioMonoVolumeInfo*, unsigned long)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::CreateAudioResampler(SZtaWaveFormatInfo*, SZtaWaveFormatInfo*, IUnknown**)
{
    return ZT_E_NOT_IMPLEMENTED;
}

int CZtaAudioSamplesEngine::ProcessAudioResampler(IZtAudioSamples*, IZtAudioSamples*, EZtAudioResamplerMode, IUnknown*)
{
    return ZT_E_NOT_IMPLEMENTED;
}
