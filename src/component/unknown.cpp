#include "component/unknown.h"

#include "component/guid.h"

#include <zta/status.h>

std::atomic<int> g_i32Objects{0};

namespace {

/// An object without an outer object owns itself. The first three slots of INonDelegatingUnknown and of IUnknown take
/// the same arguments, so a caller reaches the non-delegating interface through an IUnknown pointer.
IUnknown* SelectOwner(INonDelegatingUnknown* pThis, IUnknown* pOuterUnknown)
{
    return pOuterUnknown != nullptr ? pOuterUnknown : reinterpret_cast<IUnknown*>(pThis);
}

int QueryIUnknown(INonDelegatingUnknown* pThis, const _GUID& riid, void** ppv)
{
    if (ZtIsSameGuid(riid, IID_IUnknown)) {
        return ZtGetInterface(pThis, ppv);
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

unsigned long AddReference(std::atomic<unsigned int>& rCount)
{
    ++rCount;
    // A second read: the result is for diagnosis only.
    const unsigned int uiCount = rCount.load();
    return uiCount == 0 ? 1 : uiCount;
}

/// Releases one reference. After the last one the count becomes 1 again, so that a pair of AddRef and Release in the
/// destructor does not delete the object a second time. Returns the remaining count, 0 after the last reference.
unsigned long ReleaseReference(std::atomic<unsigned int>& rCount)
{
    const unsigned int uiLeft = --rCount;
    if (uiLeft == 0) {
        ++rCount;
    }
    return uiLeft;
}

} // namespace

extern "C" int ZtGetInterface(INonDelegatingUnknown* pUnknown, void** ppv)
{
    *ppv = pUnknown;
    pUnknown->NonDelegatingAddRef();
    return ZT_NOERROR;
}

CZtLightUnknown::CZtLightUnknown(const wchar_t* pwszName, IUnknown* pOuterUnknown, int* phr)
    : CZtLightUnknown(pwszName, pOuterUnknown)
{
    *phr = ZT_NOERROR;
}

CZtLightUnknown::CZtLightUnknown(const wchar_t* /*pwszName*/, IUnknown* pOuterUnknown)
    : m_pOuterUnknown(SelectOwner(this, pOuterUnknown)), m_ulRefCount(1)
{
    ++g_i32Objects;
}

CZtLightUnknown::~CZtLightUnknown()
{
    --g_i32Objects;
}

int CZtLightUnknown::NonDelegatingQueryInterface(const _GUID& riid, void** ppv)
{
    return QueryIUnknown(this, riid, ppv);
}

unsigned long CZtLightUnknown::NonDelegatingAddRef()
{
    return AddReference(m_ulRefCount);
}

unsigned long CZtLightUnknown::NonDelegatingRelease()
{
    const unsigned long ulLeft = ReleaseReference(m_ulRefCount);
    if (ulLeft == 0) {
        delete this;
    }
    return ulLeft;
}

CZtUnknown::CZtUnknown(bool /*bFlag*/, const wchar_t* pwszName, IUnknown* pOuterUnknown, int* phr)
    : CZtUnknown(pwszName, pOuterUnknown, phr)
{
}

CZtUnknown::CZtUnknown(const wchar_t* pwszName, IUnknown* pOuterUnknown, int* phr) : CZtUnknown(pwszName, pOuterUnknown)
{
    *phr = ZT_NOERROR;
}

CZtUnknown::CZtUnknown(const wchar_t* /*pwszName*/, IUnknown* pOuterUnknown)
    : m_pOuterUnknown(SelectOwner(this, pOuterUnknown)), m_ulRefCount(0)
{
    ++g_i32Objects;
}

CZtUnknown::~CZtUnknown()
{
    --g_i32Objects;
}

int CZtUnknown::NonDelegatingQueryInterface(const _GUID& riid, void** ppv)
{
    return QueryIUnknown(this, riid, ppv);
}

unsigned long CZtUnknown::NonDelegatingAddRef()
{
    return AddReference(m_ulRefCount);
}

unsigned long CZtUnknown::NonDelegatingRelease()
{
    const unsigned long ulLeft = ReleaseReference(m_ulRefCount);
    if (ulLeft == 0) {
        delete this;
    }
    return ulLeft;
}
