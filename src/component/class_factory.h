#pragma once

#include "component/unknown.h"

#include <zta/unknown.h>

#include <atomic>

/// One entry of the module's class table.
struct ZTA_API CZtFactoryTemplate {
    const wchar_t* m_pwszName; ///< the class's display name
    const _GUID* m_pClsid;     ///< the class identifier

    /// Creates an object with no reference or with the caller's; the caller deletes it if `*phr` is negative.
    INonDelegatingUnknown* (*m_pfnCreateInstance)(IUnknown* pOuterUnknown, int* phr);

    void (*m_pfnInitClass)(bool bLoading, const _GUID* pClsid); ///< called at load and unload; may be null
    int (*m_pfnRegister)(bool bRegister, const _GUID* pClsid);  ///< called around registration; may be null
};

/// The class table. The engine defines it, so that this layer does not depend on the classes.
extern ZTA_API const CZtFactoryTemplate g_aoTemplates[];
extern ZTA_API const int g_iTemplates;

/// The class factory that hosts receive. For one thread: its reference count is not atomic.
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

    /// Counts the locks of the whole module; see DllCanUnloadNow.
    static std::atomic<int> ms_i32LockedCount;

private:
    const CZtFactoryTemplate* m_pTemplate;
    long m_lRefCount;

    friend struct SZtLayoutProbe;
};
