#pragma once

#include "component/unknown.h"

#include <zta/unknown.h>

#include <atomic>

/// One row of the module's class table.
struct ZTA_API CZtFactoryTemplate {
    const wchar_t* m_pwszName; ///< the class's display name
    const _GUID* m_pClsid;     ///< the class identifier

    /// Makes an object, without a reference or with the creator's; a negative `*phr` condemns it.
    INonDelegatingUnknown* (*m_pfnCreateInstance)(IUnknown* pOuterUnknown, int* phr);

    void (*m_pfnInitClass)(bool bLoading, const _GUID* pClsid); ///< called at load and unload; may be null
    int (*m_pfnRegister)(bool bRegister, const _GUID* pClsid);  ///< called around registration; may be null
};

/// The class table. The engine defines it: it is the one place where the frame learns of this module's classes.
extern ZTA_API const CZtFactoryTemplate g_aoTemplates[];
extern ZTA_API const int g_iTemplates;

/// The class factory that hosts get. It belongs to one thread: its references are counted without atomics.
class ZTA_API CZtClassFactory : public IClassFactory {
public:
    explicit CZtClassFactory(const CZtFactoryTemplate* pTemplate);
    CZtClassFactory(const CZtClassFactory&) = delete;
    CZtClassFactory& operator=(const CZtClassFactory&) = delete;

    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;
    ~CZtClassFactory() override;
    int CreateInstance(IUnknown* pOuterUnknown, const _GUID& riid, void** ppv) override;
    int LockServer(int bLock) override;

    /// Locks of the whole module, see DllCanUnloadNow.
    static std::atomic<int> ms_i32LockedCount;

private:
    const CZtFactoryTemplate* m_pTemplate;
    long m_lRefCount;

    friend struct SZtLayoutProbe;
};
