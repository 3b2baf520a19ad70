#include "engine/one_to_one_entry_point.h"

#include <zta/status.h>

namespace {

bool IsSupportedRatePair(std::uint32_t ulIn, std::uint32_t ulOut)
{
    return (ulIn == 44100 && ulOut == 48000) || (ulIn == 48000 && ulOut == 44100);
}

int CheckChannels(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut)
{
    const bool bMonoOrStereo = rsIn.ulChannels == 1 || rsIn.ulChannels == 2;
    return bMonoOrStereo && rsOut.ulChannels == rsIn.ulChannels ? ZT_NOERROR : ZT_E_INVALID_AUDIO_CHANNEL_TYPE;
}

int CheckRates(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut)
{
    return IsSupportedRatePair(rsIn.ulSamplesPerSec, rsOut.ulSamplesPerSec) ? ZT_NOERROR
                                                                            : ZT_E_INVALID_AUDIO_SAMPLING_RATE;
}

int CheckContainers(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut)
{
    return rsIn.ulBitsPerSample == 16 && rsOut.ulBitsPerSample == 16 ? ZT_NOERROR : ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE;
}

int CheckDataTypes(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut)
{
    return rsIn.eDataType == keZtAudioDataTypePcm && rsOut.eDataType == keZtAudioDataTypePcm
               ? ZT_NOERROR
               : ZT_E_INVALID_AUDIO_DATA_TYPE;
}

/// Returns the first failure of the checks. The two operations run them in different orders.
template <class... Checks>
int CheckPair(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut, Checks... pfnChecks)
{
    int iStatus = ZT_NOERROR;
    static_cast<void>((((iStatus = pfnChecks(rsIn, rsOut)) >= 0) && ...));
    return iStatus;
}

} // namespace

int CZtaAudioSamplesEngine::CreateAudioResampler(SZtaWaveFormatInfo* psInputFormat, SZtaWaveFormatInfo* psOutputFormat,
                                                 IUnknown** ppResampler)
{
    if (psInputFormat == nullptr || psOutputFormat == nullptr || ppResampler == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    int iStatus =
        CheckPair(*psInputFormat, *psOutputFormat, CheckChannels, CheckContainers, CheckDataTypes, CheckRates);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = m_oResampleAudio.CreateAudioResampler(psInputFormat, psOutputFormat, ppResampler);
    return iStatus < 0 ? ZT_E_INCONSISTENCY_DETECTED : iStatus;
}

int CZtaAudioSamplesEngine::ProcessAudioResampler(IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                                                  EZtAudioResamplerMode eMode, IUnknown* pResampler)
{
    return BeginOneToOne(
        EDescriptionPolicy::KeepFormat, ZT_NOERROR, pInput, pOutput,
        [](const SZtaWaveFormatInfo& rsInput, const SZtaWaveFormatInfo& rsOutput) {
            return CheckPair(rsInput, rsOutput, CheckChannels, CheckRates, CheckContainers, CheckDataTypes);
        },
        [&] { SaveInfoResampler(pInput, pOutput, eMode, pResampler); }, &CZtaAudioSamplesEngine::ProcessResampling);
}

int CZtaAudioSamplesEngine::SaveInfoResampler(IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                                              EZtAudioResamplerMode eMode, IUnknown* pResampler)
{
    const int iStatus = SaveInputAndOutput(pInput, pOutput);
    m_eSavedResamplerMode = eMode;
    m_pSavedResamplerState = pResampler;
    return iStatus;
}

int CZtaAudioSamplesEngine::GetInfoResampler(IZtAudioSamples** ppInput, IZtAudioSamples** ppOutput,
                                             EZtAudioResamplerMode* peMode, IUnknown** ppResampler)
{
    *ppInput = m_pSavedInput;
    *ppOutput = m_pSavedOutput;
    *peMode = m_eSavedResamplerMode;
    *ppResampler = m_pSavedResamplerState;
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::ProcessResampling()
{
    CScopedEndOperation oOperation(*this);
    IZtAudioSamples* pInput = nullptr;
    IZtAudioSamples* pOutput = nullptr;
    EZtAudioResamplerMode eMode = EZtAudioResamplerMode();
    IUnknown* pResampler = nullptr;
    GetInfoResampler(&pInput, &pOutput, &eMode, &pResampler);
    CSamplesPtr oInput;
    CSamplesPtr oOutput;
    oInput = pInput;
    oOutput = pOutput;

    SZtAudioSamplesDescription sInput = kEmptyDescription;
    SZtAudioSamplesDescription sOutput = kEmptyDescription;
    int iStatus = oInput->GetAudioSamplesDescription(&sInput);
    if (iStatus >= 0) {
        iStatus = oOutput->GetAudioSamplesDescription(&sOutput);
    }
    if (iStatus >= 0) {
        oInput->GetErrorCode(&iStatus);
    }
    // The status so far is dropped here: hosts receive the status of the format check. The format of a failed request
    // is empty and cannot be classified.
    SZtaWaveFormatInfo sInputFormat = {};
    SZtaWaveFormatInfo sOutputFormat = {};
    iStatus = m_oResampleAudio.SuggestFormat(&sInput.sWaveFormat, &sOutput.sWaveFormat, &sInputFormat, &sOutputFormat);
    if (iStatus >= 0) {
        iStatus = sInput.sWaveFormat.ulChannels == 1
                      ? m_oResampleAudio.ResampleAudio(pInput, pOutput, eMode, 0, pResampler)
                      : ResampleStereo(pInput, pOutput, eMode, pResampler, sInputFormat, sOutputFormat);
    }
    EndOneToOne<EOneToOneEnding::SignalBuffers>(oOperation, pInput, pOutput, iStatus);
    return iStatus;
}

/// Deinterleaves, resamples each channel and interleaves. The formats are the mono formats of the two channels.
int CZtaAudioSamplesEngine::ResampleStereo(IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                                           EZtAudioResamplerMode eMode, IUnknown* pResampler,
                                           SZtaWaveFormatInfo& rsInputFormat, SZtaWaveFormatInfo& rsOutputFormat)
{
    IZtAudioSamples* const pRightIn = m_pScratch1;
    IZtAudioSamples* const pLeftOut = m_pScratch2;
    // One scratch buffer is used twice: for the left input, then for the right output.
    IZtAudioSamples* const pLeftIn = m_pScratch0;
    IZtAudioSamples* const pRightOut = m_pScratch0;

    int iStatus = pLeftIn->SetWaveFormat(&rsInputFormat);
    iStatus = FirstFailure(iStatus, pRightIn->SetWaveFormat(&rsInputFormat));
    iStatus = FirstFailure(iStatus, pLeftOut->SetWaveFormat(&rsOutputFormat));
    if (iStatus >= 0) {
        // The host may have given the scratch buffers different capacities.
        iStatus = m_oConvertStereoToMono.ConvertStereoToMonoChecked(pInput, pLeftIn, pRightIn, true, true);
    }
    if (iStatus >= 0) {
        iStatus = m_oResampleAudio.ResampleAudio(pLeftIn, pLeftOut, eMode, 0, pResampler);
    }
    iStatus = FirstFailure(iStatus, pRightOut->SetWaveFormat(&rsOutputFormat));
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = m_oResampleAudio.ResampleAudio(pRightIn, pRightOut, eMode, 1, pResampler);
    return iStatus < 0 ? iStatus : m_oConvertMonoToStereo.ConvertMonoToStereo(pLeftOut, pRightOut, pOutput);
}
