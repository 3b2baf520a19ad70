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
    // Whoever aggregates an object must get its non-delegating side, and only IID_IUnknown yields that.
    if (pOuterUnknown != nullptr && !ZtIsSameGuid(riid, IID_IUnknown)) {
        return E_NOINTERFACE;
    }
    int hr = ZT_NOERROR;
    INonDelegatingUnknown* pObject = m_pTemplate->m_pfnCreateInstance(pOuterUnknown, &hr);
    if (pObject == nullptr) {
        return hr < 0 ? hr : E_OUTOFMEMORY;
    }
    if (hr < 0) {
        delete pObject; // by its slot: the object may be of any class, and no reference has been taken
        return hr;
    }
    // The reference around the query suits objects that are born with one and objects that are born with none; of the
    // latter a failed query leaves nothing behind.
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
