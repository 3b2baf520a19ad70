#include "engine/one_to_one_entry.h"

#include <zta/status.h>

#include <cstring>

namespace {

/// One format, or two kinds of opaque words, whose width is nobody's business here.
bool CanDuplicate(const SZtaWaveFormatInfo& rsSource, const SZtaWaveFormatInfo& rsDestination)
{
    return IsSameFormat(rsSource, rsDestination) ||
           (rsSource.eDataType == keZtAudioDataTypeOpaque && rsDestination.eDataType == keZtAudioDataTypeOpaque &&
            rsSource.ulChannels == rsDestination.ulChannels &&
            rsSource.ulSamplesPerSec == rsDestination.ulSamplesPerSec);
}

/// True if a run of `ulLength` bytes from `ulOffset` on lies within `ulEnd` bytes. An offset at the end is outside,
/// also for an empty run. No sum is formed, so nothing wraps.
bool IsRunInside(unsigned long ulOffset, unsigned long ulLength, unsigned long ulEnd)
{
    return ulOffset < ulEnd && ulEnd - ulOffset >= ulLength;
}

} // namespace

int CZtaAudioSamplesEngine::DuplicateAudioSamples(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                                  IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                                  unsigned long ulLength)
{
    return EnterOneToOne(
        EEntryDescriptions::RelabelTwentyBits, ZT_NOERROR, pSource, pDestination,
        [](const SZtaWaveFormatInfo& rsSource, const SZtaWaveFormatInfo& rsDestination) {
            return CanDuplicate(rsSource, rsDestination) ? ZT_NOERROR : ZT_E_AUDIO_FORMAT_MISMATCH;
        },
        [&] { SaveInfoDuplicate(pSource, ulSourceOffset, pDestination, ulDestinationOffset, ulLength); },
        &CZtaAudioSamplesEngine::ProcessDuplicate);
}

int CZtaAudioSamplesEngine::SaveInfoDuplicate(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                              IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                              unsigned long ulLength)
{
    const int iStatus = SaveOperands({{&m_pSavedInput, pSource}, {&m_pSavedOutput, pDestination}});
    m_ui64SavedSourceOffset = ulSourceOffset;
    m_ui64SavedDestinationOffset = ulDestinationOffset;
    m_ui64SavedLength = ulLength;
    return iStatus;
}

int CZtaAudioSamplesEngine::GetInfoDuplicate(IZtAudioSamples** ppSource, unsigned long* pulSourceOffset,
                                             IZtAudioSamples** ppDestination, unsigned long* pulDestinationOffset,
                                             unsigned long* pulLength)
{
    *ppSource = m_pSavedInput;
    *pulSourceOffset = m_ui64SavedSourceOffset;
    *ppDestination = m_pSavedOutput;
    *pulDestinationOffset = m_ui64SavedDestinationOffset;
    *pulLength = m_ui64SavedLength;
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::ProcessDuplicate()
{
    IZtAudioSamples* pSource = nullptr;
    IZtAudioSamples* pDestination = nullptr;
    unsigned long ulSourceOffset = 0;
    unsigned long ulDestinationOffset = 0;
    unsigned long ulLength = 0;
    GetInfoDuplicate(&pSource, &ulSourceOffset, &pDestination, &ulDestinationOffset, &ulLength);
    CSamplesPtr oSource;
    CSamplesPtr oDestination;
    oSource = pSource;
    oDestination = pDestination;

    SZtAudioSamplesDescription sSource = kEmptyDescription;
    SZtAudioSamplesDescription sDestination = kEmptyDescription;
    int iStatus = oSource->GetAudioSamplesDescription(&sSource);
    if (iStatus >= 0) {
        iStatus = oDestination->GetAudioSamplesDescription(&sDestination);
    }
    if (iStatus >= 0) {
        iStatus = ReadErrorCode(oSource, iStatus);
    }
    if (iStatus >= 0) {
        oDestination->SetPolarity(sSource.ePolarity);
        oDestination->SetFadeIn(sSource.bFadeIn);
        oDestination->SetFadeOut(sSource.bFadeOut);
        iStatus = BufferDuplicateWithOffset(pSource, ulSourceOffset, pDestination, ulDestinationOffset, ulLength);
    }
    if (iStatus < 0) {
        oDestination->SetErrorCode(iStatus);
    }
    EndWork();
    oSource->SignalReadCompletion();
    oDestination->MarkWriteStopTime();
    // The caller gets the outcome of the signal: that of the work stands on the destination alone.
    return oDestination->SignalWriteCompletion();
}

int CZtaAudioSamplesEngine::BufferDuplicateWithOffset(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                                      IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                                      unsigned long ulLength)
{
    const SByteRun sRun = LookAtBytes(pSource, pDestination);
    if (!IsRunInside(ulSourceOffset, ulLength, sRun.ulLength)) {
        return ZT_E_SOURCE_BUFFER_TOO_SMALL;
    }
    if (!IsRunInside(ulDestinationOffset, ulLength, sRun.ulCapacity)) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    if (ulLength != 0) {
        std::memmove(sRun.pbyOut + ulDestinationOffset, sRun.pbyIn + ulSourceOffset, ulLength);
    }
    return ZT_NOERROR;
}
