/// The functions of the module, without name mangling for a host that looks them up after `dlopen`, and its version.
///
/// Life of the module: dlopen, DllEntryPoint(h, 1), DllGetClassObject, use, DllCanUnloadNow() == 0,
/// DllEntryPoint(h, 0), dlclose. Nothing runs at load by itself.
#pragma once

#include <zta/export.h>
#include <zta/unknown.h>

// The reasons of DllEntryPoint, carried in its pointer argument.
inline constexpr unsigned long kZtModuleUnload = 0; ///< about to be unloaded
inline constexpr unsigned long kZtModuleLoad = 1;   ///< loaded

extern "C" {

/// Tells the module that it has been loaded (reason 1) or is about to be unloaded (reason 0). Returns 1. [one thread]
/// hInst    any number; kept in g_hInst
/// pReason  the reason, as a pointer value
ZTA_API int DllEntryPoint(unsigned int hInst, void* pReason);

/// 0 when no object of the module is alive and no lock is in force, else 1. [any thread]
ZTA_API int DllCanUnloadNow();

/// Gives the class factory of a class. [any thread] [allocates]
/// riid    IID_IClassFactory or IID_IUnknown
/// ppv     receives the factory with a reference that the caller owns; left alone on failure
/// Errors  E_NOINTERFACE: another riid; CLASS_E_NOAGGREGATION: no such class
ZTA_API int DllGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv);

/// Records the module's classes in the CLSIDs file, in the directory that the environment variable ORBUTILS names, and
/// prints a line for each. A file that cannot be written is told on standard output only. Nothing locks the file: one
/// call at a time, over all processes. [one thread] [allocates]
/// pwszModulePath  the text to record as the module's path
/// Errors          E_FAIL: ORBUTILS is not set
ZTA_API int DllRegisterServer(const wchar_t* pwszModulePath);

/// Takes the module's classes out of the CLSIDs file. Errors as above. [one thread] [allocates]
ZTA_API int DllUnregisterServer();

/// What DllGetClassObject does.
ZTA_API int ZtInternalGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv);

/// Records one class. The name is not used. Errors as for DllRegisterServer.
ZTA_API int ZtInternalRegisterServer(_GUID clsid, const wchar_t* pwszName, const wchar_t* pwszModulePath);

/// Takes one class out. Errors as for DllRegisterServer.
ZTA_API int ZtInternalUnregisterServer(_GUID clsid);

/// What DllRegisterServer does.
ZTA_API int ZtInternalRegisterAllServers(const wchar_t* pwszModulePath);

/// What DllUnregisterServer does.
ZTA_API int ZtInternalUnregisterAllServers();

} // extern "C"

/// Belongs to the contract with hosts that call it before their tracing; it does nothing.
ZTA_API void _ztStartWPP();

/// The same, for the end of their tracing.
ZTA_API void _ztStopWPP();

/// The record that tools read from a module's file, in the section ".kelvarvideo". Texts are padded with NUL.
struct ZTA_API SZtVersionInfo {
    char achRevision[40]; ///< the source revision as 40 hexadecimal digits
    char achRelease[128]; ///< the release
    char achBuild[13];    ///< the build number in decimal
};

static_assert(sizeof(SZtVersionInfo) == 181);

/// This module's.
extern ZTA_API const SZtVersionInfo g_achVersionInfo;
