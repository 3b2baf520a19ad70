#include "engine/engine_factory.h"

#include "component/guid.h"
#include "engine/audio_samples_engine.h"

#include <zta/status.h>

#include <new>

INonDelegatingUnknown* CZtaAudioSamplesEngineFactory::CreateInstance(IUnknown* pOuter, int* pStatus)
{
    *pStatus = ZT_NOERROR;
    auto* pFactory = new (std::nothrow) CZtaAudioSamplesEngineFactory(pOuter, pStatus);
    if (pFactory == nullptr) {
        *pStatus = E_OUTOFMEMORY;
    }
    return pFactory;
}

CZtaAudioSamplesEngineFactory::CZtaAudioSamplesEngineFactory(IUnknown* pOuter, int* pStatus)
    : CZtUnknown(L"CZtaAudioSamplesEngineFactory", pOuter, pStatus)
{
}

CZtaAudioSamplesEngineFactory::~CZtaAudioSamplesEngineFactory() = default;

int CZtaAudioSamplesEngineFactory::NonDelegatingQueryInterface(const _GUID& riid, void** ppv)
{
    if (ZtIsSameGuid(riid, IID_IZtaAudioSamplesEngineFactory)) {
        return ZtGetDelegatingInterface(static_cast<IZtaAudioSamplesEngineFactory*>(this), ppv);
    }
    return CZtUnknown::NonDelegatingQueryInterface(riid, ppv);
}

int CZtaAudioSamplesEngineFactory::CreateAudioSamplesEngine(IZtQuonEnginePrivate* pEngine, unsigned long ulReserved,
                                                            IZtaAudioSamplesEngine** ppEngine)
{
    int iStatus = ZT_NOERROR;
    auto* pNewEngine = new (std::nothrow) CZtaAudioSamplesEngine(pEngine, ulReserved, &iStatus);
    if (pNewEngine == nullptr) {
        return E_OUTOFMEMORY;
    }
    // The caller owns the initial reference of the engine, also if the host failed to create a buffer.
    *ppEngine = pNewEngine;
    return iStatus;
}
