#include "engine/one_to_one_entry_point.h"
#include "engine/staging.h"

#include <zta/status.h>

int CZtaAudioSamplesEngine::CopyAudioSamples(IZtAudioSamples* pSource, IZtAudioSamples* pDestination)
{
    return BeginOneToOne(
        EDescriptionPolicy::Relabel20Bits, ZT_NOERROR, pSource, pDestination,
        [](const SZtaWaveFormatInfo& rsSource, const SZtaWaveFormatInfo& rsDestination) {
            return rsSource.ulChannels == rsDestination.ulChannels ? ZT_NOERROR
                                                                   : ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH;
        },
        [&] { SaveInfoCopyConv(pSource, pDestination); }, &CZtaAudioSamplesEngine::ProcessCopyConv);
}

int CZtaAudioSamplesEngine::SaveInfoCopyConv(IZtAudioSamples* pSource, IZtAudioSamples* pDestination)
{
    return SaveInputAndOutput(pSource, pDestination);
}

int CZtaAudioSamplesEngine::GetInfoCopyConv(IZtAudioSamples** ppSource, IZtAudioSamples** ppDestination)
{
    *ppSource = m_pSavedInput;
    *ppDestination = m_pSavedOutput;
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::ProcessCopyConv()
{
    CScopedEndOperation oOperation(*this);
    IZtAudioSamples* pSource = nullptr;
    IZtAudioSamples* pDestination = nullptr;
    GetInfoCopyConv(&pSource, &pDestination);
    const CBufferHolder oSource(pSource);
    const CBufferHolder oDestination(pDestination);
    const int iStatus = CopyOperand(oSource, oDestination);
    EndOneToOne<EOneToOneEnding::SignalBuffers>(oOperation, oSource, oDestination, iStatus);
    return iStatus;
}

/// The work of a copy. Logs each failure when it occurs, except an error code of the source.
inline int CZtaAudioSamplesEngine::CopyOperand(const CBufferHolder& rSource, const CBufferHolder& rDestination)
{
    SZtAudioSamplesDescription sSource = kEmptyDescription;
    SZtAudioSamplesDescription sDestination = kEmptyDescription;
    int iStatus = LogIfFailed(RequestDescriptions(rSource, sSource, rDestination, sDestination));
    if (iStatus < 0) {
        return iStatus;
    }
    // Read once more: the producer may have failed after the entry point read the code.
    iStatus = ReadErrorCode(rSource, iStatus);
    if (iStatus < 0) {
        return iStatus;
    }
    if (HasFade(sSource)) {
        return CopyFaded(rSource.Get(), sSource, rDestination.Get(), sDestination);
    }
    return LogIfFailed(BufferCopy(rSource.Get(), &sSource, rDestination.Get(), &sDestination));
}

/// Copies and applies a fade. The fade runs on the destination if its format has a fade kernel, otherwise on a scratch
/// buffer that is then converted to the destination's format. The fade flags are clear afterwards.
int CZtaAudioSamplesEngine::CopyFaded(IZtAudioSamples* pSource, SZtAudioSamplesDescription& rsSource,
                                      IZtAudioSamples* pDestination, SZtAudioSamplesDescription& rsDestination)
{
    SZtAudioSamplesDescription sFaded = rsSource;
    int iStatus = LogIfFailed(m_oApplyFade.SuggestFormat(&rsDestination.sWaveFormat, &sFaded.sWaveFormat));
    if (iStatus < 0) {
        return iStatus;
    }

    if (IsSameFormat(rsDestination.sWaveFormat, sFaded.sWaveFormat)) {
        iStatus = LogIfFailed(BufferCopy(pSource, &rsSource, pDestination, &rsDestination));
        if (iStatus < 0) {
            return iStatus;
        }
        SetFades(pDestination, rsSource.bFadeIn, rsSource.bFadeOut);
        iStatus = LogIfFailed(m_oApplyFade.ApplyFade(pDestination));
        SetFades(pDestination, false, false);
        return iStatus;
    }

    if (m_pScratch0 == nullptr) {
        return LogIfFailed(kMissingScratchStatus);
    }
    // The status has no effect: hosts observe the copy also after a failure.
    m_pScratch0->SetWaveFormat(&sFaded.sWaveFormat);
    iStatus = LogIfFailed(BufferCopy(pSource, &rsSource, m_pScratch0, &sFaded));
    SetFades(m_pScratch0, rsSource.bFadeIn, rsSource.bFadeOut);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = LogIfFailed(m_oApplyFade.ApplyFade(m_pScratch0));
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = LogIfFailed(BufferCopy(m_pScratch0, &sFaded, pDestination, &rsDestination));
    if (iStatus < 0) {
        return iStatus;
    }
    SetFades(pDestination, false, false);
    return iStatus;
}

int CZtaAudioSamplesEngine::BufferCopy(IZtAudioSamples* pIn, SZtAudioSamplesDescription* pInDescription,
                                       IZtAudioSamples* pOut, SZtAudioSamplesDescription* pOutDescription)
{
    const SZtaWaveFormatInfo& rsIn = pInDescription->sWaveFormat;
    const SZtaWaveFormatInfo& rsOut = pOutDescription->sWaveFormat;
    const bool bSameRateAndContainer =
        rsIn.ulSamplesPerSec == rsOut.ulSamplesPerSec && rsIn.ulBitsPerSample == rsOut.ulBitsPerSample;
    const bool bSameValidBits = rsIn.ulValidBitsPerSample == rsOut.ulValidBitsPerSample;

    if (rsIn.eDataType == rsOut.eDataType && bSameRateAndContainer &&
        (bSameValidBits || rsIn.eDataType == keZtAudioDataTypeOpaque)) {
        return ByteCopy(pIn, pOut);
    }
    if (is16In32MultiFormatTo16In16Pcm(rsIn, rsOut)) {
        return m_oConvertDataType.ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(pIn, pInDescription, pOut);
    }
    if (rsIn.eDataType == keZtAudioDataTypeMultiFormat && rsOut.eDataType == keZtAudioDataTypePcm &&
        bSameRateAndContainer && bSameValidBits) {
        return m_oConvertDataType.ConvertDataType(pIn, pOut);
    }
    return m_oConvertBitDepth.ConvertBitDepth(pIn, pOut);
}

bool CZtaAudioSamplesEngine::is16In32MultiFormatTo16In16Pcm(const SZtaWaveFormatInfo& sIn,
                                                            const SZtaWaveFormatInfo& sOut)
{
    return sIn.eDataType == keZtAudioDataTypeMultiFormat && sOut.eDataType == keZtAudioDataTypePcm &&
           sIn.ulSamplesPerSec == sOut.ulSamplesPerSec && sIn.ulBitsPerSample == 32 && sOut.ulBitsPerSample == 16 &&
           sIn.ulValidBitsPerSample == sOut.ulValidBitsPerSample && sIn.ulChannels == sOut.ulChannels;
}
