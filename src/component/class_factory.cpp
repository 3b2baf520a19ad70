#include "component/class_factory.h"

#include "component/guid.h"

#include <zta/status.h>

std::atomic<int> CZtClassFactory::ms_i32LockedCount{0};

CZtClassFactory::CZtClassFactory(const CZtFactoryTemplate* pTemplate) : m_pTemplate(pTemplate), m_lRefCount(0)
{
    ++g_i32Objects;
}

CZtClassFactory::~CZtClassFactory()
{
    --g_i32Objects;
}

int CZtClassFactory::QueryInterface(const _GUID& riid, void** ppv)
{
    if (!ZtIsSameGuid(riid, IID_IUnknown) && !ZtIsSameGuid(riid, IID_IClassFactory)) {
        return E_NOINTERFACE;
    }
    *ppv = static_cast<IClassFactory*>(this);
    AddRef();
    return ZT_NOERROR;
}

unsigned long CZtClassFactory::AddRef()
{
    return static_cast<unsigned long>(++m_lRefCount);
}

unsigned long CZtClassFactory::Release()
{
    const long lLeft = --m_lRefCount;
    if (lLeft == 0) {
        delete this;
    }
    return static_cast<unsigned long>(lLeft);
}

int CZtClassFactory::CreateInstance(IUnknown* pOuterUnknown, const _GUID& riid, void** ppv)
{
    // An outer object needs the non-delegating interface, which only IID_IUnknown returns.
    if (pOuterUnknown != nullptr && !ZtIsSameGuid(riid, IID_IUnknown)) {
        return E_NOINTERFACE;
    }
    int hr = ZT_NOERROR;
    INonDelegatingUnknown* pObject = m_pTemplate->m_pfnCreateInstance(pOuterUnknown, &hr);
    if (pObject == nullptr) {
        return hr < 0 ? hr : E_OUTOFMEMORY;
    }
    if (hr < 0) {
        delete pObject; // through its slot: the object can be of any class, and it has no reference yet
        return hr;
    }
    // The reference around the query works for objects that start with one reference and for objects that start with
    // none: a failed query deletes the latter.
    pObject->NonDelegatingAddRef();
    hr = pObject->NonDelegatingQueryInterface(riid, ppv);
    pObject->NonDelegatingRelease();
    return hr;
}

int CZtClassFactory::LockServer(int bLock)
{
    if (bLock != 0) {
        ++ms_i32LockedCount;
    } else {
        --ms_i32LockedCount;
    }
    return ZT_NOERROR;
}
