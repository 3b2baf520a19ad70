#pragma once

#include "component/exceptions.h"

// Included, not forward-declared: an instantiation has at most the visibility of its argument.
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

    /// Releases the reference and sets the field to null, which is visible in the memory afterwards. An exception of
    /// Release ends the process.
    virtual ~TZtSmartPtr()
    {
        if (m_pInterface != nullptr) {
            m_pInterface->Release();
            // The compiler would remove an ordinary store as dead.
            *const_cast<T* volatile*>(&m_pInterface) = nullptr;
        }
    }

    /// Returns the pointer, which can be null.
    virtual operator T*() const { return m_pInterface; }

    /// Returns the pointer, which must not be null.
    virtual T* operator*()
    {
        if (m_pInterface == nullptr) {
            throw CZtSmartPointerException("TZtSmartPtr::operator* -> Internal pointer is NULL!");
        }
        return m_pInterface;
    }

    /// Returns the address of the field, for output arguments. The pointer must be null, or its reference would be
    /// lost.
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

    /// Acquires `p`, then releases the old pointer, so that self-assignment is safe.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): the binary contract fixes the type
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
