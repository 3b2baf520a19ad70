/// The component model's published names: identifiers, `IUnknown` and `IClassFactory`.
///
/// There is no runtime behind them. Every operation that returns `int` returns a 32-bit status (see status.h): 0 or
/// above is success, below 0 is failure.
#pragma once

#include <zta/export.h>

#include <cstdint>

/// A 128-bit identifier, compared as 16 bytes.
struct ZTA_API _GUID {
    std::uint32_t Data1;   ///< the first group of the text form
    std::uint16_t Data2;   ///< the second group
    std::uint16_t Data3;   ///< the third group
    std::uint8_t Data4[8]; ///< the rest, byte by byte
};

static_assert(sizeof(_GUID) == 16, "identifiers are compared as 16 bytes");

/// {00000000-0000-0000-C000-000000000046}
inline constexpr _GUID IID_IUnknown ZTA_API = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// {00000001-0000-0000-C000-000000000046}
inline constexpr _GUID IID_IClassFactory ZTA_API = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// The base of every interface. Slots 0 to 2 of every operation table.
///
/// The module's own objects count with atomics: [any thread], class factories apart. The module calls those of a host
/// on the thread of the operation only.
class ZTA_API IUnknown {
public:
    /// Asks the object for another of its interfaces.
    /// riid    the interface's identifier
    /// ppv     receives the interface with a reference that the caller owns, or null on failure
    /// Errors  E_NOINTERFACE: the object does not have the interface
    virtual int QueryInterface(const _GUID& riid, void** ppv) = 0;

    /// Adds one reference. Returns the new count, for diagnosis only. [any thread] [no allocation] [no lock]
    virtual unsigned long AddRef() = 0;

    /// Gives one reference back; the object is gone when the last one is. Returns the new count, for diagnosis only.
    /// [any thread] [no allocation] [no lock], unless it is the last one, which frees memory.
    virtual unsigned long Release() = 0;
};

/// Makes objects of one class. Slots 3 and 4 are the destructor, 5 and 6 the two operations. [one thread] [allocates]
class ZTA_API IClassFactory : public IUnknown {
public:
    virtual ~IClassFactory() = default;

    /// Creates one object and asks it for `riid`.
    /// pOuterUnknown  the object that aggregates the new one, or null; not null demands riid == IID_IUnknown
    /// ppv            receives the interface with a reference that the caller owns
    /// Errors         E_NOINTERFACE, E_OUTOFMEMORY, or what the class reports
    virtual int CreateInstance(IUnknown* pOuterUnknown, const _GUID& riid, void** ppv) = 0;

    /// Nonzero keeps the module loaded (see DllCanUnloadNow), zero takes one such lock back. Returns 0.
    virtual int LockServer(int bLock) = 0;
};
