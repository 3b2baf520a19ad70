#include "engine/audio_samples_engine.h"

#include "component/guid.h"

#include <zta/status.h>

#include <cstring>

namespace {

/// The request for each buffer of the pool. Only the capacity matters: each use sets the format first. The record is
/// zeroed as a whole, because the host also receives the padding between its fields.
SZtCreateAudioSamplesDescription PoolBufferRequest()
{
    SZtCreateAudioSamplesDescription sRequest;
    std::memset(&sRequest, 0, sizeof(sRequest));
    sRequest.ulSize = sizeof(sRequest);
    sRequest.ui64BufferSize = kScratchBytes;
    sRequest.ulHostAttribute = 1;
    sRequest.sWaveFormat = {sizeof(SZtaWaveFormatInfo), 2, keZtAudioDataTypePcm, 48000, 32, 32};
    return sRequest;
}

} // namespace

template <class Visit>
void CZtaAudioSamplesEngine::ForEachPoolSlot(Visit rVisit)
{
    for (IZtAudioSamples** ppSlot : {&m_pScratch0, &m_pScratch1, &m_pScratch2}) {
        if (!rVisit(*ppSlot)) {
            return;
        }
    }
    for (unsigned long i = 0; i < kMaxBuffers; ++i) {
        if (!rVisit(m_apFadeScratch[i]) || !rVisit(m_apConvertScratch[i])) {
            return;
        }
    }
}

CZtaAudioSamplesEngine::CZtaAudioSamplesEngine(IZtQuonEnginePrivate* pEngine, unsigned long /*ulReserved*/,
                                               int* pStatus)
    : CZtLightUnknown(L"CZtaAudioSamplesEngine", nullptr), m_pHostEngine(pEngine), m_pSavedInput(nullptr),
      m_pSavedOutput(nullptr), m_apSavedBuffers(), m_ui64SavedBufferCount(0), m_asSavedVolumes(),
      m_ui64SavedVolumeCount(0), m_ui64SavedSourceOffset(0), m_ui64SavedDestinationOffset(0), m_ui64SavedLength(0),
      m_pScratch0(nullptr), m_pScratch1(nullptr), m_pScratch2(nullptr), m_apFadeScratch(), m_apConvertScratch(),
      m_pSavedResamplerState(nullptr), m_eSavedResamplerMode(), m_ui32Busy(0), m_ui16UsedSlots(0), m_ui16UsedVolumes(0)
{
    *pStatus = ZT_NOERROR;
    SZtCreateAudioSamplesDescription sRequest = PoolBufferRequest();
    ForEachPoolSlot([&](IZtAudioSamples*& rpSlot) {
        *pStatus = m_pHostEngine->CreateAudioSamples(&sRequest, &rpSlot);
        return *pStatus >= 0;
    });
}

CZtaAudioSamplesEngine::~CZtaAudioSamplesEngine()
{
    ForEachPoolSlot([](IZtAudioSamples*& rpSlot) {
        ReleaseSlot(rpSlot);
        return true;
    });
    ReleaseAllSavedInfo();
}

int CZtaAudioSamplesEngine::NonDelegatingQueryInterface(const _GUID& riid, void** ppv)
{
    if (ZtIsSameGuid(riid, IID_IZtaAudioSamplesEngine)) {
        return ZtGetDelegatingInterface(static_cast<IZtaAudioSamplesEngine*>(this), ppv);
    }
    return CZtLightUnknown::NonDelegatingQueryInterface(riid, ppv);
}

int CZtaAudioSamplesEngine::ReleaseAllSavedInfo()
{
    ReleaseSlot(m_pSavedInput);
    ReleaseSlot(m_pSavedOutput);
    ReleaseBufferSlots(0, m_ui16UsedSlots);
    m_ui64SavedSourceOffset = 0;
    m_ui64SavedDestinationOffset = 0;
    m_ui64SavedLength = 0;
    m_ui64SavedVolumeCount = 0;
    m_eSavedResamplerMode = EZtAudioResamplerMode();
    m_pSavedResamplerState = nullptr;
    return ZT_NOERROR;
}

int CZtaAudioSamplesEngine::Convert32BitAudioSampleFrom20To24(IZtAudioSamples* pBuffer,
                                                              SZtAudioSamplesDescription* pDescription)
{
    SZtaWaveFormatInfo& rsFormat = pDescription->sWaveFormat;
    if (pBuffer == nullptr || rsFormat.ulBitsPerSample != 32 || rsFormat.ulValidBitsPerSample != 20) {
        return ZT_NOERROR;
    }
    rsFormat.ulValidBitsPerSample = 24;
    return pBuffer->SetWaveFormat(&rsFormat);
}

void CZtaAudioSamplesEngine::SignalFailure(int iStatus, std::initializer_list<IZtAVContent*> oInputs,
                                           std::initializer_list<IZtAVContent*> oOutputs)
{
    for (IZtAVContent* pInput : oInputs) {
        if (pInput != nullptr) {
            pInput->SignalReadCompletion();
        }
    }
    for (IZtAVContent* pOutput : oOutputs) {
        if (pOutput != nullptr) {
            pOutput->SetErrorCode(iStatus);
            pOutput->SignalWriteCompletion();
        }
    }
}
