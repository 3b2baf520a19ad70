#include "engine/staging.h"

#include <zta/status.h>

#include <algorithm>
#include <memory>

namespace {

/// The number of channels in one buffer of the array of a mux operation.
enum EChannelsPerBuffer : unsigned long {
    kMonoChannels = 1,
    kStereoChannels = 2,
};

/// The supported counts of buffers. The entry point accepts two mono buffers, although no kernel supports a mux of two
/// channels; the worker rejects them.
constexpr unsigned long kBufferCounts[] = {2, 4, 8, 16, 32, 64};

bool IsSupportedBufferCount(unsigned long ulCount, unsigned long ulMin, unsigned long ulMax)
{
    return ulCount >= ulMin && ulCount <= ulMax &&
           std::find(std::begin(kBufferCounts), std::end(kBufferCounts), ulCount) != std::end(kBufferCounts);
}

/// Checks the volume arguments. `bCountsAgree` is true if the counts of volumes and buffers fit each other.
int CheckVolumes(const SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount, unsigned long ulBufferCount,
                 bool bCountsAgree)
{
    if (ulVolumeCount == 0) {
        return ZT_NOERROR;
    }
    if (psVolumes == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    return bCountsAgree && ulBufferCount >= 2 ? ZT_NOERROR : ZT_E_INVALID_PARAMETER;
}

/// Signals one buffer of the array in a failure ending if the host returns a pointer to its content. The status of the
/// query does not matter: the access to each buffer of the array is announced and has to end.
template <class Signal>
void SignalBuffer(IZtAudioSamples* pBuffer, Signal rSignal)
{
    if (pBuffer != nullptr) {
        CContentHolder oContent;
        oContent.QueryPointer(pBuffer);
        if (oContent.Get() != nullptr) {
            rSignal(oContent.Get());
        }
    }
}

/// The contents of an array of buffers. Constructs only as many holders as the array has buffers.
class CContentArray {
public:
    CContentArray() {}
    CContentArray(const CContentArray&) = delete;
    CContentArray& operator=(const CContentArray&) = delete;

    ~CContentArray()
    {
        while (m_ulCount != 0) {
            std::destroy_at(m_aoContents + --m_ulCount);
        }
    }

    CContentHolder& Add() { return *std::construct_at(m_aoContents + m_ulCount++); }
    CContentHolder& operator[](unsigned long ulIndex) { return m_aoContents[ulIndex]; }

private:
    union {
        CContentHolder m_aoContents[kMaxBuffers];
    };
    unsigned long m_ulCount = 0;
};

} // namespace

// ---- Operands ----

int CZtaAudioSamplesEngine::SaveInfoMux(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, IZtAudioSamples** ppBuffers,
                                        unsigned long ulCount, SZtAudioMonoVolumeInfo* psVolumes,
                                        unsigned long ulVolumeCount)
{
    m_ui64SavedBufferCount = ulCount;
    m_ui64SavedVolumeCount = ulVolumeCount;
    const unsigned long ulSlots = std::min(ulCount, kMaxBuffers);
    const unsigned long ulUsed = m_ui16UsedSlots;
    for (unsigned long i = 0; i < ulSlots; ++i) {
        if (i < ulUsed) {
            ReleaseBufferSlots(i, i + 1);
        }
        if (FillBufferSlot(i, ppBuffers[i]) < 0) {
            SaveVolumes(i + 1, psVolumes);
            return ZT_E_INVALID_PARAMETER;
        }
    }
    if (ulSlots < ulUsed) {
        ReleaseBufferSlots(ulSlots, ulUsed);
    }
    SaveVolumes(kMaxBuffers, psVolumes);
    // One of the two is null in every operation, so the status does not matter.
    SaveInputAndOutput(pInput, pOutput);
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::GetInfoMux(IZtAudioSamples** ppInput, IZtAudioSamples** ppOutput,
                                       IZtAudioSamples** ppBuffers, unsigned long* pulCount,
                                       SZtAudioMonoVolumeInfo* psVolumes, unsigned long* pulVolumeCount)
{
    if (pulCount == nullptr || pulVolumeCount == nullptr) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (m_ui64SavedBufferCount > *pulCount || m_ui64SavedVolumeCount > *pulVolumeCount) {
        return ZT_E_ARRAY_TOO_SMALL;
    }
    *pulCount = m_ui64SavedBufferCount;
    *pulVolumeCount = m_ui64SavedVolumeCount;
    // SaveInfoMux keeps every count, but no more than kMaxBuffers buffers and volumes.
    std::copy_n(m_apSavedBuffers, std::min<unsigned long>(m_ui64SavedBufferCount, kMaxBuffers), ppBuffers);
    std::copy_n(m_asSavedVolumes, std::min<unsigned long>(m_ui64SavedVolumeCount, kMaxBuffers), psVolumes);
    *ppInput = m_pSavedInput;
    *ppOutput = m_pSavedOutput;
    return ZT_NOERROR;
}

void CZtaAudioSamplesEngine::SaveVolumes(unsigned long ulSlots, const SZtAudioMonoVolumeInfo* psVolumes)
{
    const unsigned long ulRecords = std::min<unsigned long>(m_ui64SavedVolumeCount, ulSlots);
    std::copy_n(psVolumes, ulRecords, m_asSavedVolumes);
    const unsigned long ulUsed = std::min<unsigned long>(m_ui16UsedVolumes, ulSlots);
    for (unsigned long i = ulRecords; i < ulUsed; ++i) {
        m_asSavedVolumes[i].fStartVolume = 0.0F;
        m_asSavedVolumes[i].fEndVolume = 0.0F;
    }
    if (ulUsed == m_ui16UsedVolumes) {
        m_ui16UsedVolumes = static_cast<std::uint16_t>(ulRecords);
    }
}

int CZtaAudioSamplesEngine::LoadMuxOperands(SMuxOperands& rsOperands)
{
    rsOperands.ulCount = kMaxBuffers;
    rsOperands.ulVolumeCount = kMaxBuffers;
    int iStatus = GetInfoMux(&rsOperands.pInput, &rsOperands.pOutput, rsOperands.apBuffers, &rsOperands.ulCount,
                             rsOperands.asVolumes, &rsOperands.ulVolumeCount);
    if (iStatus < 0) {
        // Too many volumes or buffers. Nothing is processed; the saved buffers still get their signals.
        rsOperands.pInput = m_pSavedInput;
        rsOperands.pOutput = m_pSavedOutput;
        rsOperands.ulCount = std::min<unsigned long>(m_ui64SavedBufferCount, kMaxBuffers);
        std::copy_n(m_apSavedBuffers, rsOperands.ulCount, rsOperands.apBuffers);
    }
    IZtAudioSamples** const ppEnd = rsOperands.apBuffers + rsOperands.ulCount;
    if (std::find(rsOperands.apBuffers, ppEnd, nullptr) != ppEnd) {
        // SaveInfoMux ended at a null pointer.
        rsOperands.ulCount =
            static_cast<unsigned long>(std::remove(rsOperands.apBuffers, ppEnd, nullptr) - rsOperands.apBuffers);
        iStatus = FirstFailure(iStatus, ZT_E_INVALID_POINTER);
    }
    return iStatus;
}

// ---- Interleave ----

int CZtaAudioSamplesEngine::CopyAudioSamplesMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                                      IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                                      unsigned long ulVolumeCount)
{
    return BeginInterleave(kMonoChannels, ppMono, ulMonoCount, pMux, psVolumes, ulVolumeCount,
                           &CZtaAudioSamplesEngine::ProcessMonoToMux);
}

int CZtaAudioSamplesEngine::CopyAudioSamplesStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                                        IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                                        unsigned long ulVolumeCount)
{
    return BeginInterleave(kStereoChannels, ppStereo, ulStereoCount, pMux, psVolumes, ulVolumeCount,
                           &CZtaAudioSamplesEngine::ProcessStereoToMux);
}

/// The checks of an interleave operation after those of the output. Success sets the busy flag.
inline int CZtaAudioSamplesEngine::CheckInterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples** ppBuffers,
                                                   unsigned long ulCount, IZtAudioSamples* pMux,
                                                   const SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount)
{
    // Half of an odd volume count agrees with the stereo buffers; the volume step rejects the odd one later.
    int iStatus = CheckVolumes(psVolumes, ulVolumeCount, ulCount, ulVolumeCount / ulChannelsPerBuffer == ulCount);
    if (iStatus < 0) {
        return iStatus;
    }
    if (ppBuffers == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    for (unsigned long i = 0; i < ulCount; ++i) {
        iStatus = CheckInterleaveInput(ulChannelsPerBuffer, ppBuffers[i]);
        if (iStatus < 0) {
            return iStatus;
        }
    }
    SZtAudioSamplesDescription sMux = kEmptyDescription;
    iStatus = QueryDescription(pMux, sMux);
    if (iStatus < 0) {
        return iStatus;
    }
    if (!IsSupportedBufferCount(ulCount, 2, kMaxBuffers / ulChannelsPerBuffer)) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (sMux.sWaveFormat.ulChannels != ulCount * ulChannelsPerBuffer) {
        return ZT_E_BUFFER_FORMAT_MISMATCH;
    }
    if (sMux.sWaveFormat.eDataType == keZtAudioDataTypeOpaque) {
        return ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE;
    }
    return TrySetBusy();
}

int CZtaAudioSamplesEngine::BeginInterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples** ppBuffers,
                                            unsigned long ulCount, IZtAudioSamples* pMux,
                                            SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount,
                                            int (CZtaAudioSamplesEngine::*pfnProcess)())
{
    CContentHolder oMux;
    int iStatus = AcquireOutput(pMux, oMux);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = CheckInterleave(ulChannelsPerBuffer, ppBuffers, ulCount, pMux, psVolumes, ulVolumeCount);
    if (iStatus < 0) {
        return RejectCall(iStatus, {}, {oMux.Get()}, [&] {
            // Signal every buffer of the array, including those that were not validated.
            for (unsigned long i = 0; ppBuffers != nullptr && i < ulCount; ++i) {
                SignalBuffer(ppBuffers[i], [](IZtAVContent* pContent) { pContent->SignalReadCompletion(); });
            }
        });
    }
    return RunWorker(
        [&] {
            SaveInfoMux(nullptr, pMux, ppBuffers, ulCount, psVolumes, ulVolumeCount);
            oMux->MarkWriteStartTime();
        },
        pfnProcess);
}

/// Checks one input. The host observes the request for the description and the relabeled format, but their status is
/// overwritten by the error code of the buffer. An input with a wrong channel count or with opaque data is rejected
/// later, by the worker, with another code.
int CZtaAudioSamplesEngine::CheckInterleaveInput(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pBuffer)
{
    if (pBuffer == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    SZtAudioSamplesDescription sBuffer = kEmptyDescription;
    const bool bDescribed = RequestDescription(pBuffer, sBuffer) >= 0;
    const bool bKeepsFormat =
        ulChannelsPerBuffer == kStereoChannels &&
        (sBuffer.sWaveFormat.ulChannels != kStereoChannels || sBuffer.sWaveFormat.eDataType == keZtAudioDataTypeOpaque);
    if (bDescribed && !bKeepsFormat) {
        RelabelFormat(pBuffer, sBuffer);
    }
    CContentHolder oContent;
    const int iStatus = oContent.Query(pBuffer);
    return iStatus < 0 ? ZT_E_INVALID_PARAMETER : ReadErrorCode(oContent, iStatus);
}

int CZtaAudioSamplesEngine::ProcessMonoToMux()
{
    return ProcessInterleave(m_oConvertMonoToMux, &CZtaConvertMonoToMux::ConvertMonoToMux, kMonoChannels);
}

int CZtaAudioSamplesEngine::ProcessStereoToMux()
{
    return ProcessInterleave(m_oConvertStereoToMux, &CZtaConvertStereoToMux::ConvertStereoToMux, kStereoChannels);
}

template <class Kernel, class Convert>
int CZtaAudioSamplesEngine::ProcessInterleave(Kernel& rKernel, Convert pfnConvert, unsigned long ulChannelsPerBuffer)
{
    CScopedEndOperation oOperation(*this);
    SMuxOperands sOperands;
    const int iLoaded = LoadMuxOperands(sOperands);
    const CBufferHolder oMux(sOperands.pOutput);
    const int iStatus =
        iLoaded < 0 ? iLoaded : InterleaveMux(rKernel, pfnConvert, ulChannelsPerBuffer, sOperands, oMux);
    oOperation.End();
    for (unsigned long i = 0; i < sOperands.ulCount; ++i) {
        sOperands.apBuffers[i]->SignalReadCompletion();
    }
    if (iStatus < 0) {
        oMux->SetErrorCode(iStatus);
    }
    oMux->MarkWriteStopTime();
    oMux->SignalWriteCompletion();
    return iStatus;
}

/// The work of MonoToMux and StereoToMux: stages each input, and interleaves the staged inputs.
template <class Kernel, class Convert>
inline int CZtaAudioSamplesEngine::InterleaveMux(Kernel& rKernel, Convert pfnConvert, unsigned long ulChannelsPerBuffer,
                                                 SMuxOperands& rsOperands, const CBufferHolder& rMux)
{
    SZtAudioSamplesDescription sMux = kEmptyDescription;
    int iStatus = RequestDescriptions(rMux, sMux);
    if (iStatus < 0) {
        return iStatus;
    }
    IZtAudioSamples* apKernelInputs[kMaxBuffers];
    SZtAudioSamplesDescription sInput = kEmptyDescription;
    SScratchFormat sScratch;
    for (unsigned long i = 0; i < rsOperands.ulCount; ++i) {
        const int iDescribed = RequestDescription(rsOperands.apBuffers[i], sInput);
        // If the request for a stereo input fails, the description of the input before it stays in use.
        if (iDescribed < 0 && ulChannelsPerBuffer == kMonoChannels) {
            return iDescribed;
        }
        iStatus = StageInput(rKernel, rsOperands.apBuffers[i], sInput, sMux, i, sScratch, apKernelInputs[i]);
        if (iStatus < 0) {
            return iStatus;
        }
    }
    // The polarity and the fade flags of the last input apply to the mux. The fades are done already; only the stereo
    // operation propagates the flags nevertheless.
    const bool bPropagatesFades = ulChannelsPerBuffer == kStereoChannels;
    rMux->SetPolarity(sInput.ePolarity);
    SetFades(rMux.Get(), bPropagatesFades && sInput.bFadeIn, bPropagatesFades && sInput.bFadeOut);
    return (rKernel.*pfnConvert)(apKernelInputs, rsOperands.ulCount, rMux.Get(), rsOperands.asVolumes,
                                 rsOperands.ulVolumeCount);
}

// ---- Deinterleave ----

int CZtaAudioSamplesEngine::CopyAudioSamplesMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono,
                                                      unsigned long ulMonoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                                      unsigned long ulVolumeCount)
{
    return BeginDeinterleave(kMonoChannels, pMux, ppMono, ulMonoCount, psVolumes, ulVolumeCount,
                             &CZtaAudioSamplesEngine::ProcessMuxToMono);
}

int CZtaAudioSamplesEngine::CopyAudioSamplesMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                                        unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                                        unsigned long ulVolumeCount)
{
    return BeginDeinterleave(kStereoChannels, pMux, ppStereo, ulStereoCount, psVolumes, ulVolumeCount,
                             &CZtaAudioSamplesEngine::ProcessMuxToStereo);
}

/// The checks of one output of a deinterleave operation.
inline int CZtaAudioSamplesEngine::CheckDeinterleaveOutput(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pBuffer,
                                                           CContentHolder& rContent)
{
    SZtAudioSamplesDescription sBuffer = kEmptyDescription;
    if (pBuffer == nullptr || rContent.Query(pBuffer) < 0 || RequestDescription(pBuffer, sBuffer) < 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (sBuffer.sWaveFormat.eDataType == keZtAudioDataTypeOpaque) {
        return ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE;
    }
    if (sBuffer.sWaveFormat.ulChannels != ulChannelsPerBuffer) {
        return ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED;
    }
    return RelabelFormat(pBuffer, sBuffer);
}

/// The checks of a deinterleave operation. They obtain the contents of all buffers. Success sets the busy flag.
template <class Contents>
int CZtaAudioSamplesEngine::CheckDeinterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pMux,
                                              IZtAudioSamples** ppBuffers, unsigned long ulCount,
                                              const SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount,
                                              CContentHolder& rMux, Contents& rOutputs)
{
    int iStatus = AcquireInput(pMux, rMux);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = CheckVolumes(psVolumes, ulVolumeCount, ulCount, ulVolumeCount == ulCount * ulChannelsPerBuffer);
    if (iStatus < 0) {
        return iStatus;
    }
    SZtAudioSamplesDescription sMux = kEmptyDescription;
    iStatus = QueryDescription(pMux, sMux);
    if (iStatus < 0) {
        return iStatus;
    }
    if (!IsSupportedBufferCount(ulCount, 4 / ulChannelsPerBuffer, kMaxBuffers / ulChannelsPerBuffer) ||
        sMux.sWaveFormat.ulChannels != ulCount * ulChannelsPerBuffer) {
        return ZT_E_INVALID_PARAMETER;
    }
    if (sMux.sWaveFormat.eDataType == keZtAudioDataTypeOpaque) {
        return ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE;
    }
    for (unsigned long i = 0; i < ulCount; ++i) {
        iStatus = CheckDeinterleaveOutput(ulChannelsPerBuffer, ppBuffers[i], rOutputs.Add());
        if (iStatus < 0) {
            return iStatus;
        }
    }
    return TrySetBusy();
}

int CZtaAudioSamplesEngine::BeginDeinterleave(unsigned long ulChannelsPerBuffer, IZtAudioSamples* pMux,
                                              IZtAudioSamples** ppBuffers, unsigned long ulCount,
                                              SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount,
                                              int (CZtaAudioSamplesEngine::*pfnProcess)())
{
    if (ppBuffers == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    CContentHolder oMux;
    CContentArray oOutputs;
    const int iStatus =
        CheckDeinterleave(ulChannelsPerBuffer, pMux, ppBuffers, ulCount, psVolumes, ulVolumeCount, oMux, oOutputs);
    if (iStatus < 0) {
        return RejectCall(iStatus, {oMux.Get()}, {}, [&] {
            for (unsigned long i = 0; i < ulCount; ++i) {
                SignalBuffer(ppBuffers[i], [iStatus](IZtAVContent* pContent) {
                    pContent->SetErrorCode(iStatus);
                    pContent->SignalWriteCompletion();
                });
            }
        });
    }
    return RunWorker(
        [&] {
            SaveInfoMux(pMux, nullptr, ppBuffers, ulCount, psVolumes, ulVolumeCount);
            for (unsigned long i = 0; i < ulCount; ++i) {
                oOutputs[i]->MarkWriteStartTime();
            }
        },
        pfnProcess);
}

int CZtaAudioSamplesEngine::ProcessMuxToMono()
{
    return ProcessDeinterleave(m_oConvertMuxToMono, &CZtaConvertMuxToMono::ConvertMuxToMono);
}

int CZtaAudioSamplesEngine::ProcessMuxToStereo()
{
    return ProcessDeinterleave(m_oConvertMuxToStereo, &CZtaConvertMuxToStereo::ConvertMuxToStereo);
}

template <class Kernel, class Convert>
int CZtaAudioSamplesEngine::ProcessDeinterleave(Kernel& rKernel, Convert pfnConvert)
{
    CScopedEndOperation oOperation(*this);
    SMuxOperands sOperands;
    const int iLoaded = LoadMuxOperands(sOperands);
    const CBufferHolder oMux(sOperands.pInput);
    const int iStatus = iLoaded < 0 ? iLoaded : DeinterleaveMux(rKernel, pfnConvert, oMux, sOperands);
    oOperation.End();
    oMux->SignalReadCompletion();
    for (unsigned long i = 0; i < sOperands.ulCount; ++i) {
        if (iStatus < 0) {
            sOperands.apBuffers[i]->SetErrorCode(iStatus);
        }
        sOperands.apBuffers[i]->MarkWriteStopTime();
        sOperands.apBuffers[i]->SignalWriteCompletion();
    }
    return iStatus;
}

/// The work of MuxToMono and MuxToStereo: deinterleaves the mux, and applies the fades that it requests to each output.
template <class Kernel, class Convert>
inline int CZtaAudioSamplesEngine::DeinterleaveMux(Kernel& rKernel, Convert pfnConvert, const CBufferHolder& rMux,
                                                   SMuxOperands& rsOperands)
{
    SZtAudioSamplesDescription sMux = kEmptyDescription;
    int iStatus = RequestDescriptions(rMux, sMux);
    if (iStatus < 0) {
        return iStatus;
    }
    if (rsOperands.ulCount == 0) {
        return ZT_E_INVALID_PARAMETER;
    }
    SZtAudioSamplesDescription sFirst = kEmptyDescription;
    iStatus = RequestDescription(rsOperands.apBuffers[0], sFirst);
    if (iStatus < 0) {
        return iStatus;
    }
    SZtaWaveFormatInfo sMuxFormat = {};
    SZtaWaveFormatInfo sOutputFormat = {}; // not used: outputs are never converted
    iStatus = rKernel.SuggestFormat(&sMux.sWaveFormat, &sFirst.sWaveFormat, &sMuxFormat, &sOutputFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    IZtAudioSamples* pSource = rMux.Get();
    iStatus = StageIfFormatDiffers(pSource, sMux.sWaveFormat, m_pScratch0, sMuxFormat);
    if (iStatus < 0) {
        return iStatus;
    }
    iStatus = (rKernel.*pfnConvert)(pSource, rsOperands.apBuffers, rsOperands.ulCount, rsOperands.asVolumes,
                                    rsOperands.ulVolumeCount);
    if (iStatus < 0) {
        return iStatus;
    }
    for (unsigned long i = 0; i < rsOperands.ulCount; ++i) {
        rsOperands.apBuffers[i]->SetPolarity(sMux.ePolarity);
        if (iStatus >= 0) {
            iStatus = ApplyRequestedFades(m_oApplyFade, rsOperands.apBuffers[i], sMux, iStatus);
        } else {
            // After a failing fade the later outputs still get their polarity and flags, but no fade.
            SetFades(rsOperands.apBuffers[i], sMux.bFadeIn, sMux.bFadeOut);
        }
    }
    return iStatus;
}
