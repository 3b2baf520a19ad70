/// Checks of QueryInterface that hold for each object of a module and of a host.
#pragma once

#include "tools/ztvalidate/check.h"

#include <zta/unknown.h>

#include <initializer_list>
#include <string>

namespace zta::validate {

/// An identifier of no interface.
constexpr _GUID kUnknownId = {0x5A544156, 0x0000, 0x0000, {1, 2, 3, 4, 5, 6, 7, 8}};

/// The content of an output before a call that must not change it.
inline void* const kUntouched = reinterpret_cast<void*>(std::uintptr_t{0x5A5A5A5A});

/// Requires that a query for each interface returns 0 and a pointer with one more reference, which is released.
/// countsReferences  Release returns the count of references, of which there is one
void RequireInterfaces(IUnknown& object, std::initializer_list<_GUID> ids, const std::string& what,
                       bool countsReferences);

/// The output of a failed query: null, or unspecified.
enum class RejectedOutput { Cleared, Free };

/// Requires that a query for an unknown interface returns E_NOINTERFACE.
void RequireNoOtherInterface(IUnknown& object, const std::string& what, RejectedOutput output);

/// Requires that an object holds one reference, and that AddRef and Release return the counts.
void RequireOneReference(IUnknown& object, const std::string& what);

/// Throws CheckFailure unless `object` is not null.
void RequireObject(const void* object, const std::string& what);

} // namespace zta::validate
