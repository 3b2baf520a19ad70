#include "engine/one_to_one_entry_point.h"

#include <zta/status.h>

namespace {

int CheckVolumeFormats(const SZtaWaveFormatInfo& rsInput, const SZtaWaveFormatInfo& rsOutput,
                       unsigned long ulVolumeCount)
{
    if (rsInput.ulChannels != rsOutput.ulChannels) {
        return ZT_E_BUFFER_FORMAT_MISMATCH;
    }
    if (rsInput.ulChannels != ulVolumeCount) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (rsInput.eDataType == keZtAudioDataTypeMultiFormat || rsInput.eDataType == keZtAudioDataTypeOpaque) {
        return ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE;
    }
    // No supported format has more channels, and the engine cannot save more volumes.
    return ulVolumeCount > kMaxBuffers ? ZT_E_PARAMETER_ARRAY_TOO_BIG : ZT_NOERROR;
}

} // namespace

int CZtaAudioSamplesEngine::ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                                        SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    return BeginOneToOne(
        EDescriptionPolicy::KeepFormatAndStatus,
        psVolumes == nullptr || ulVolumeCount == 0 ? ZT_E_INVALID_PARAMETER : ZT_NOERROR, pInput, pOutput,
        [&](const SZtaWaveFormatInfo& rsInput, const SZtaWaveFormatInfo& rsOutput) {
            return CheckVolumeFormats(rsInput, rsOutput, ulVolumeCount);
        },
        [&] { SaveInfoApplyVolume(pInput, pOutput, psVolumes, ulVolumeCount); },
        &CZtaAudioSamplesEngine::ProcessApplyVolume);
}

int CZtaAudioSamplesEngine::SaveInfoApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                                                SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    // Before the check, so that a rejected call leaves no buffer saved.
    ReleaseSlot(m_pSavedInput);
    ReleaseSlot(m_pSavedOutput);
    if (ulVolumeCount > kMaxBuffers) {
        return ZT_E_PARAMETER_ARRAY_TOO_BIG;
    }
    m_ui64SavedVolumeCount = ulVolumeCount;
    SaveVolumes(kMaxBuffers, psVolumes);
    return SaveInputAndOutput(pInput, pOutput) < 0 ? ZT_E_INVALID_POINTER : ZT_NOERROR;
}

int CZtaAudioSamplesEngine::GetInfoApplyVolume(IZtAudioSamples** ppInput, IZtAudioSamples** ppOutput,
                                               SZtAudioMonoVolumeInfo* psVolumes, unsigned long* pulVolumeCount)
{
    *ppInput = m_pSavedInput;
    *ppOutput = m_pSavedOutput;
    if (m_ui64SavedVolumeCount > *pulVolumeCount) {
        return ZT_E_ARRAY_TOO_SMALL;
    }
    *pulVolumeCount = m_ui64SavedVolumeCount;
    std::copy_n(m_asSavedVolumes, std::min<unsigned long>(m_ui64SavedVolumeCount, kMaxBuffers), psVolumes);
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::ProcessApplyVolume()
{
    CScopedEndOperation oOperation(*this);
    IZtAudioSamples* pInput = nullptr;
    IZtAudioSamples* pOutput = nullptr;
    SZtAudioMonoVolumeInfo asVolumes[kMaxBuffers];
    unsigned long ulVolumeCount = kMaxBuffers;
    GetInfoApplyVolume(&pInput, &pOutput, asVolumes, &ulVolumeCount);
    const CBufferHolder oInput(pInput);
    const CBufferHolder oOutput(pOutput);
    const int iStatus = ScaleAndFade(oInput, oOutput, asVolumes, ulVolumeCount);
    EndOneToOne<EOneToOneEnding::SignalContents>(oOperation, oInput, oOutput, iStatus);
    return iStatus;
}

/// The work of the volume operation. Hosts observe that the output gets the polarity and the fade flags of the input
/// twice, before and after the gain. A fade sets the flags once more and clears them in the end.
inline int CZtaAudioSamplesEngine::ScaleAndFade(const CBufferHolder& rInput, const CBufferHolder& rOutput,
                                                SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    SZtAudioSamplesDescription sInput = kEmptyDescription;
    int iStatus = RequestDescriptions(rInput, sInput);
    if (iStatus < 0) {
        return iStatus;
    }
    const auto Propagate = [&] {
        rOutput->SetPolarity(sInput.ePolarity);
        SetFades(rOutput.Get(), sInput.bFadeIn, sInput.bFadeOut);
    };
    Propagate();
    iStatus = m_oApplyVolume.ApplyVolume(rInput.Get(), rOutput.Get(), psVolumes, ulVolumeCount);
    Propagate();
    if (iStatus < 0 || !HasFade(sInput)) {
        return iStatus;
    }
    return ApplyRequestedFades(m_oApplyFade, rOutput.Get(), sInput, iStatus);
}
