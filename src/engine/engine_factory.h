#pragma once

#include "component/unknown.h"

#include <zta/engine_interfaces.h>

/// The factory of engines: the class that the module registers.
class ZTA_API CZtaAudioSamplesEngineFactory : public CZtUnknown, public IZtaAudioSamplesEngineFactory {
public:
    /// Called through the class table. `*pStatus` receives 0, or E_OUTOFMEMORY with a null result.
    static INonDelegatingUnknown* CreateInstance(IUnknown* pOuter, int* pStatus);

    CZtaAudioSamplesEngineFactory(IUnknown* pOuter, int* pStatus);
    ~CZtaAudioSamplesEngineFactory() override;

    ZTA_DELEGATE_IUNKNOWN()
    int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) override;

    int CreateAudioSamplesEngine(IZtQuonEnginePrivate* pEngine, unsigned long ulReserved,
                                 IZtaAudioSamplesEngine** ppEngine) override;
};
