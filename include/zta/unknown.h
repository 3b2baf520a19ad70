/// The component model: identifiers, `IUnknown` and `IClassFactory`.
///
/// No runtime is involved. Operations that return `int` return a 32-bit status code (<zta/status.h>).
#pragma once

#include <zta/export.h>

#include <cstdint>

/// A 128-bit identifier. Two identifiers are equal if their 16 bytes are.
struct ZTA_API _GUID {
    std::uint32_t Data1;   ///< first group of the text form
    std::uint16_t Data2;   ///< second group
    std::uint16_t Data3;   ///< third group
    std::uint8_t Data4[8]; ///< the remaining groups, byte by byte
};

static_assert(sizeof(_GUID) == 16, "identifiers are compared as 16 bytes");

/// {00000000-0000-0000-C000-000000000046}
inline constexpr _GUID IID_IUnknown ZTA_API = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// {00000001-0000-0000-C000-000000000046}
inline constexpr _GUID IID_IClassFactory ZTA_API = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// The base of every interface: slots 0 to 2 of every vtable.
///
/// The reference counts of the module's objects are atomic, except those of class factories. The module calls a host's
/// objects on the thread of the operation only.
class ZTA_API IUnknown {
public:
    /// Returns another interface of the object. [any thread] [real-time]
    /// riid    identifier of the interface
    /// ppv     receives the interface with a reference that the caller owns. On failure, class factories leave it
    ///         unchanged, and other objects store null
    /// Errors  E_NOINTERFACE  the object lacks this interface
    virtual int QueryInterface(const _GUID& riid, void** ppv) = 0;

    /// Acquires a reference. Returns the new reference count, for diagnosis only. [any thread] [real-time]
    virtual unsigned long AddRef() = 0;

    /// Releases a reference; releasing the last one destroys the object. Returns the new reference count, for diagnosis
    /// only. [any thread] [real-time], except for the last reference: [allocates]
    virtual unsigned long Release() = 0;
};

/// Creates objects of one class. Slots 3 and 4 are the destructor, slots 5 and 6 these operations. [one thread]
/// [allocates]
class ZTA_API IClassFactory : public IUnknown {
public:
    virtual ~IClassFactory() = default;

    /// Creates an object and queries an interface of it.
    /// pOuterUnknown  null, or the object that aggregates the new one; then `riid` must be IID_IUnknown
    /// riid           identifier of the interface
    /// ppv            receives the interface with a reference that the caller owns
    /// Errors         E_NOINTERFACE  the class lacks this interface, or another `riid` with `pOuterUnknown`
    ///                E_OUTOFMEMORY  an allocation failed
    virtual int CreateInstance(IUnknown* pOuterUnknown, const _GUID& riid, void** ppv) = 0;

    /// Adds a lock that keeps the module loaded (nonzero), or removes one (zero): see DllCanUnloadNow. Returns 0.
    virtual int LockServer(int bLock) = 0;
};
