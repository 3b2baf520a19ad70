/// The base classes of the reference-counted objects of the module.
///
/// An object has two such interfaces. `INonDelegatingUnknown` always refers to the object itself. The `IUnknown` of a
/// derived class forwards to the owning unknown: the outer object if there is one, otherwise the object.
#pragma once

#include <zta/unknown.h>

#include <atomic>

/// The unknown of the object itself. Slots 0 to 2 are the operations, 3 and 4 the destructor.
class ZTA_API INonDelegatingUnknown {
public:
    virtual int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) = 0;
    virtual unsigned long NonDelegatingAddRef() = 0;
    virtual unsigned long NonDelegatingRelease() = 0;

    /// Declared after the operations. An object without references is deleted through its slot.
    virtual ~INonDelegatingUnknown() = default;
};

/// The number of live CZtLightUnknown, CZtUnknown and CZtClassFactory objects. See DllCanUnloadNow.
extern ZTA_API std::atomic<int> g_i32Objects;

/// Writes `pUnknown` to `*ppv` and acquires it. Returns 0. Neither argument may be null.
extern "C" ZTA_API int ZtGetInterface(INonDelegatingUnknown* pUnknown, void** ppv);

/// ZtGetInterface for an interface whose `IUnknown` forwards to the owning unknown, which then counts the reference.
/// The first three slots of INonDelegatingUnknown and of IUnknown have the same order and arguments.
inline int ZtGetDelegatingInterface(IUnknown* pInterface, void** ppv)
{
    return ZtGetInterface(reinterpret_cast<INonDelegatingUnknown*>(pInterface), ppv);
}

/// Defines the `IUnknown` of a class that derives from CZtLightUnknown or CZtUnknown. It forwards to the owning
/// unknown.
#define ZTA_DELEGATE_IUNKNOWN()                                                                                        \
    int QueryInterface(const _GUID& riid, void** ppv) override                                                         \
    {                                                                                                                  \
        return m_pOuterUnknown->QueryInterface(riid, ppv);                                                             \
    }                                                                                                                  \
    unsigned long AddRef() override                                                                                    \
    {                                                                                                                  \
        return m_pOuterUnknown->AddRef();                                                                              \
    }                                                                                                                  \
    unsigned long Release() override                                                                                   \
    {                                                                                                                  \
        return m_pOuterUnknown->Release();                                                                             \
    }

/// A reference-counted object that starts with one reference, its creator's.
class ZTA_API CZtLightUnknown : public INonDelegatingUnknown {
public:
    /// pwszName       for diagnosis; not kept
    /// pOuterUnknown  the object that aggregates this one, or null
    /// phr            receives 0
    CZtLightUnknown(const wchar_t* pwszName, IUnknown* pOuterUnknown, int* phr);
    CZtLightUnknown(const wchar_t* pwszName, IUnknown* pOuterUnknown);
    CZtLightUnknown(const CZtLightUnknown&) = delete;
    CZtLightUnknown& operator=(const CZtLightUnknown&) = delete;

    int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long NonDelegatingAddRef() override;
    unsigned long NonDelegatingRelease() override;
    ~CZtLightUnknown() override;

protected:
    IUnknown* m_pOuterUnknown;
    std::atomic<unsigned int> m_ulRefCount;

    friend struct SZtLayoutProbe; ///< the tests' view of the fields whose order the contract fixes
};

/// A reference-counted object that starts without a reference: it has no owner until the first AddRef.
class ZTA_API CZtUnknown : public INonDelegatingUnknown {
public:
    /// As for CZtLightUnknown; `bFlag` has no effect.
    CZtUnknown(bool bFlag, const wchar_t* pwszName, IUnknown* pOuterUnknown, int* phr);
    CZtUnknown(const wchar_t* pwszName, IUnknown* pOuterUnknown, int* phr);
    CZtUnknown(const wchar_t* pwszName, IUnknown* pOuterUnknown);
    CZtUnknown(const CZtUnknown&) = delete;
    CZtUnknown& operator=(const CZtUnknown&) = delete;

    int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long NonDelegatingAddRef() override;
    unsigned long NonDelegatingRelease() override;
    ~CZtUnknown() override;

protected:
    IUnknown* m_pOuterUnknown;
    std::atomic<unsigned int> m_ulRefCount;
    void* m_pReserved = nullptr; ///< unused; keeps the size of the object

    friend struct SZtLayoutProbe; ///< the tests' view of the fields whose order the contract fixes
};
