#include "engine/one_to_one_entry_point.h"
#include "engine/staging.h"

#include <zta/status.h>

#include <cstring>

namespace {

/// Returns true for equal formats, and for opaque data of equal rate and channel count.
bool CanDuplicate(const SZtaWaveFormatInfo& rsSource, const SZtaWaveFormatInfo& rsDestination)
{
    return IsSameFormat(rsSource, rsDestination) ||
           (rsSource.eDataType == keZtAudioDataTypeOpaque && rsDestination.eDataType == keZtAudioDataTypeOpaque &&
            rsSource.ulChannels == rsDestination.ulChannels &&
            rsSource.ulSamplesPerSec == rsDestination.ulSamplesPerSec);
}

/// Returns true if `ulLength` bytes from `ulOffset` on lie within `ulEnd` bytes. An offset at the end is outside, also
/// for a length of 0. Forms no sum, so nothing wraps.
bool IsRangeInside(unsigned long ulOffset, unsigned long ulLength, unsigned long ulEnd)
{
    return ulOffset < ulEnd && ulEnd - ulOffset >= ulLength;
}

} // namespace

int CZtaAudioSamplesEngine::DuplicateAudioSamples(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                                  IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                                  unsigned long ulLength)
{
    return BeginOneToOne(
        EDescriptionPolicy::Relabel20Bits, ZT_NOERROR, pSource, pDestination,
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
    const int iStatus = SaveInputAndOutput(pSource, pDestination);
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
    CScopedEndOperation oOperation(*this);
    IZtAudioSamples* pSource = nullptr;
    IZtAudioSamples* pDestination = nullptr;
    unsigned long ulSourceOffset = 0;
    unsigned long ulDestinationOffset = 0;
    unsigned long ulLength = 0;
    GetInfoDuplicate(&pSource, &ulSourceOffset, &pDestination, &ulDestinationOffset, &ulLength);
    const CBufferHolder oSource(pSource);
    const CBufferHolder oDestination(pDestination);
    const int iStatus = DuplicateOperand(oSource, ulSourceOffset, oDestination, ulDestinationOffset, ulLength);
    // Returns the status of the signal. The status of the work is recorded on the destination only.
    return EndOneToOne<EOneToOneEnding::SignalBuffers>(oOperation, oSource, oDestination, iStatus);
}

/// The work of a duplicate. The destination gets the polarity and the fade flags of the source.
inline int CZtaAudioSamplesEngine::DuplicateOperand(const CBufferHolder& rSource, unsigned long ulSourceOffset,
                                                    const CBufferHolder& rDestination,
                                                    unsigned long ulDestinationOffset, unsigned long ulLength)
{
    SZtAudioSamplesDescription sSource = kEmptyDescription;
    SZtAudioSamplesDescription sDestination = kEmptyDescription;
    int iStatus = RequestDescriptions(rSource, sSource, rDestination, sDestination);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = ReadErrorCode(rSource, iStatus);
    if (iStatus < 0) {
        return iStatus;
    }
    rDestination->SetPolarity(sSource.ePolarity);
    SetFades(rDestination.Get(), sSource.bFadeIn, sSource.bFadeOut);
    return BufferDuplicateWithOffset(rSource.Get(), ulSourceOffset, rDestination.Get(), ulDestinationOffset, ulLength);
}

int CZtaAudioSamplesEngine::BufferDuplicateWithOffset(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                                      IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                                      unsigned long ulLength)
{
    const SByteSpans sSpans = GetByteSpans(pSource, pDestination);
    if (!IsRangeInside(ulSourceOffset, ulLength, sSpans.ulLength)) {
        return ZT_E_SOURCE_BUFFER_TOO_SMALL;
    }
    if (!IsRangeInside(ulDestinationOffset, ulLength, sSpans.ulCapacity)) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    if (ulLength == 0) {
        return ZT_NOERROR;
    }
    // A buffer without an address holds no byte.
    if (sSpans.pbyIn == nullptr) {
        return ZT_E_SOURCE_BUFFER_TOO_SMALL;
    }
    if (sSpans.pbyOut == nullptr) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    std::memmove(sSpans.pbyOut + ulDestinationOffset, sSpans.pbyIn + ulSourceOffset, ulLength);
    return ZT_NOERROR;
}
