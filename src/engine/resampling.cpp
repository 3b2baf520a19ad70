#include "engine/one_to_one_entry_point.h"
#include "engine/staging.h"

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
int CheckFormatPair(const SZtaWaveFormatInfo& rsIn, const SZtaWaveFormatInfo& rsOut, Checks... pfnChecks)
{
    int iStatus = ZT_NOERROR;
    const bool bPassed = (((iStatus = pfnChecks(rsIn, rsOut)) >= 0) && ...);
    return bPassed ? ZT_NOERROR : iStatus;
}

} // namespace

int CZtaAudioSamplesEngine::CreateAudioResampler(SZtaWaveFormatInfo* psInputFormat, SZtaWaveFormatInfo* psOutputFormat,
                                                 IUnknown** ppResampler)
{
    if (psInputFormat == nullptr || psOutputFormat == nullptr || ppResampler == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    int iStatus =
        CheckFormatPair(*psInputFormat, *psOutputFormat, CheckChannels, CheckContainers, CheckDataTypes, CheckRates);
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
            return CheckFormatPair(rsInput, rsOutput, CheckChannels, CheckRates, CheckContainers, CheckDataTypes);
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
    const CBufferHolder oInput(pInput);
    const CBufferHolder oOutput(pOutput);
    const int iStatus = ResampleOperand(oInput, oOutput, eMode, pResampler);
    EndOneToOne<EOneToOneEnding::SignalBuffers>(oOperation, oInput, oOutput, iStatus);
    return iStatus;
}

/// The work of the resampling operation.
inline int CZtaAudioSamplesEngine::ResampleOperand(const CBufferHolder& rInput, const CBufferHolder& rOutput,
                                                   EZtAudioResamplerMode eMode, IUnknown* pResampler)
{
    // The status of each of these requests is dropped: hosts receive the status of the format check. The format of a failed
    // request is empty and cannot be classified.
    SZtAudioSamplesDescription sInput = kEmptyDescription;
    SZtAudioSamplesDescription sOutput = kEmptyDescription;
    const int iDescribed = RequestDescriptions(rInput, sInput, rOutput, sOutput);
    if (iDescribed >= 0) {
        ReadErrorCode(rInput, iDescribed);
    }
    SZtaWaveFormatInfo sMonoInput = {};
    SZtaWaveFormatInfo sMonoOutput = {};
    const int iStatus =
        m_oResampleAudio.SuggestFormat(&sInput.sWaveFormat, &sOutput.sWaveFormat, &sMonoInput, &sMonoOutput);
    if (iStatus < 0) {
        return iStatus;
    }
    if (sInput.sWaveFormat.ulChannels == 1) {
        return m_oResampleAudio.ResampleAudio(rInput.Get(), rOutput.Get(), eMode, 0, pResampler);
    }
    return ResampleStereo(rInput.Get(), rOutput.Get(), eMode, pResampler, sMonoInput, sMonoOutput);
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

    const auto ResampleLeft = [&] {
        int iStatus = SetScratchFormat(pLeftIn, rsInputFormat);
        iStatus = FirstFailure(iStatus, SetScratchFormat(pRightIn, rsInputFormat));
        iStatus = FirstFailure(iStatus, SetScratchFormat(pLeftOut, rsOutputFormat));
        if (iStatus < 0) {
            return iStatus;
        }
        // The host may have given the scratch buffers different capacities.
        iStatus = m_oConvertStereoToMono.ConvertStereoToMonoChecked(pInput, pLeftIn, pRightIn, true, true);
        if (iStatus < 0) {
            return iStatus;
        }
        return m_oResampleAudio.ResampleAudio(pLeftIn, pLeftOut, eMode, 0, pResampler);
    };
    int iStatus = ResampleLeft();
    // Hosts observe this request also after a failure.
    iStatus = FirstFailure(iStatus, SetScratchFormat(pRightOut, rsOutputFormat));
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = m_oResampleAudio.ResampleAudio(pRightIn, pRightOut, eMode, 1, pResampler);
    return iStatus < 0 ? iStatus : m_oConvertMonoToStereo.ConvertMonoToStereo(pLeftOut, pRightOut, pOutput);
}
