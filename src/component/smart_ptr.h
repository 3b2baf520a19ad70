#pragma once

#include "component/exceptions.h"

// Not merely declared: an instantiation is no more visible than its argument.
#include <zta/host_interfaces.h>

/// A pointer to an interface that holds one reference while it is not null. Misuse raises CZtSmartPointerException
/// instead of crashing. For one thread.
///
/// The order of the virtual operations is a binary contract. The module instantiates it for IZtAudioSamples and
/// IZtAVContent.
template <class T>
class ZTA_API TZtSmartPtr {
public:
    TZtSmartPtr() : m_pInterface(nullptr) {}
    TZtSmartPtr(const TZtSmartPtr&) = delete;
    TZtSmartPtr& operator=(const TZtSmartPtr&) = delete;

    /// Gives the reference back and leaves null in the field, also for who looks at the memory afterwards. An exception
    /// that escapes Release ends the process.
    virtual ~TZtSmartPtr()
    {
        if (m_pInterface != nullptr) {
            m_pInterface->Release();
            // The object ends here, so that the compiler would drop an ordinary store.
            *const_cast<T* volatile*>(&m_pInterface) = nullptr;
        }
    }

    /// The pointer, null included.
    virtual operator T*() const { return m_pInterface; }

    /// The pointer, which must not be null.
    virtual T* operator*()
    {
        if (m_pInterface == nullptr) {
            throw CZtSmartPointerException("TZtSmartPtr::operator* -> Internal pointer is NULL!");
        }
        return m_pInterface;
    }

    /// Where an output argument is written. The pointer must be null, or its reference would be lost.
    virtual T** operator&()
    {
        if (m_pInterface != nullptr) {
            throw CZtSmartPointerException("TZtSmartPtr::operator& -> Internal pointer will be overriden!");
        }
        return &m_pInterface;
    }

    virtual T* operator->() const
    {
        if (m_pInterface == nullptr) {
            throw CZtSmartPointerException("TZtSmartPtr::operator-> -> Internal pointer is NULL!");
        }
        return m_pInterface;
    }

    /// Takes a reference on `p`, then gives the old one back: assigning a pointer to itself is safe.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): the slot's type is the contract's
    virtual T* operator=(T* p)
    {
        if (p != nullptr) {
            p->AddRef();
        }
        if (m_pInterface != nullptr) {
            m_pInterface->Release();
        }
        m_pInterface = p;
        return p;
    }

    virtual bool operator!() { return m_pInterface == nullptr; }

    virtual bool operator==(T* p) { return m_pInterface == p; }

private:
    T* m_pInterface;

    friend struct SZtLayoutProbe;
};

extern template class TZtSmartPtr<IZtAudioSamples>;
extern template class TZtSmartPtr<IZtAVContent>;
