/// Objects for the tests of the base classes and of the class factory.
#pragma once

#include "component/guid.h"
#include "component/unknown.h"

#include <zta/status.h>

#include <functional>
#include <utility>

namespace zta::test {

inline constexpr _GUID kIidOfObject = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr _GUID kIidOfNothing = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 9}};
inline constexpr int kObjectFound = 3; ///< the status of a query for kIidOfObject: a success that callers must return

/// An object of either base class that reports its destruction.
template <class Base>
class Object : public Base, public IUnknown {
public:
    template <class... Arguments>
    explicit Object(std::function<void(Object&)> at_end, Arguments... arguments)
        : Base(arguments...), at_end_(std::move(at_end))
    {
    }
    ~Object() override
    {
        if (at_end_) {
            at_end_(*this);
        }
    }

    using Base::m_pOuterUnknown;
    using Base::m_ulRefCount;

    ZTA_DELEGATE_IUNKNOWN()

    int NonDelegatingQueryInterface(const _GUID& riid, void** ppv) override
    {
        count_at_query = m_ulRefCount;
        if (ZtIsSameGuid(riid, kIidOfObject)) {
            *ppv = static_cast<IUnknown*>(this);
            AddRef();
            return kObjectFound;
        }
        return Base::NonDelegatingQueryInterface(riid, ppv);
    }

    unsigned count_at_query = 0;

private:
    std::function<void(Object&)> at_end_;
};

/// An outer object that counts the delegated calls.
class Outer : public IUnknown {
public:
    int QueryInterface(const _GUID&, void** ppv) override
    {
        ++queries;
        *ppv = this;
        return 5;
    }
    unsigned long AddRef() override { return ++references; }
    unsigned long Release() override { return --references; }

    int queries = 0;
    unsigned long references = 100;
};

} // namespace zta::test
