/// The functions of the module, with C linkage for `dlsym`, and its version record.
///
/// Order of use: dlopen, DllEntryPoint(h, 1), DllGetClassObject, operations, DllCanUnloadNow() == 0,
/// DllEntryPoint(h, 0), dlclose. No code runs at load.
#pragma once

#include <zta/export.h>
#include <zta/unknown.h>

// Reasons of DllEntryPoint, passed as the value of its pointer argument.
inline constexpr unsigned long kZtModuleUnload = 0; ///< the host will unload the module
inline constexpr unsigned long kZtModuleLoad = 1;   ///< the host has loaded the module

extern "C" {

/// Notifies the module that it was loaded (reason 1) or will be unloaded (reason 0). Returns 1. [one thread]
/// hInst    any number; stored in g_hInst and not used
/// pReason  the reason as a pointer value
ZTA_API int DllEntryPoint(unsigned int hInst, void* pReason);

/// Returns 0 if no object of the module is alive and no lock is set, otherwise 1. [any thread] [real-time]
ZTA_API int DllCanUnloadNow();

/// Creates the class factory of a class. Throws std::bad_alloc if the allocation fails. [any thread] [allocates]
/// rclsid  CLSID_ZtaAudioSamplesEngine
/// riid    IID_IClassFactory or IID_IUnknown
/// ppv     receives the factory with a reference that the caller owns; unchanged on failure
/// Errors  E_NOINTERFACE          another riid
///         CLASS_E_NOAGGREGATION  the module lacks this class
ZTA_API int DllGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv);

/// Adds the classes of the module to the file `CLSIDs` in the directory that the environment variable ORBUTILS names,
/// and prints a line for each class. Returns 0 even if the file cannot be opened for writing; the only report of that
/// is a message on standard output, so read the file afterwards. The file is not locked: serialize the calls, across
/// processes too. [one thread] [allocates]
/// pwszModulePath  path of the module as text
/// Errors          E_FAIL  ORBUTILS is not set
ZTA_API int DllRegisterServer(const wchar_t* pwszModulePath);

/// Removes the classes of the module from the file `CLSIDs`. Errors as for DllRegisterServer. [one thread] [allocates]
ZTA_API int DllUnregisterServer();

/// Same as DllGetClassObject.
ZTA_API int ZtInternalGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv);

/// Adds one class to the file `CLSIDs`. The name is not used. Errors as for DllRegisterServer.
ZTA_API int ZtInternalRegisterServer(_GUID clsid, const wchar_t* pwszName, const wchar_t* pwszModulePath);

/// Removes one class. Errors as for DllRegisterServer.
ZTA_API int ZtInternalUnregisterServer(_GUID clsid);

/// Same as DllRegisterServer.
ZTA_API int ZtInternalRegisterAllServers(const wchar_t* pwszModulePath);

/// Same as DllUnregisterServer.
ZTA_API int ZtInternalUnregisterAllServers();

} // extern "C"

/// Does nothing. Hosts call it before they start their tracing. [any thread] [real-time]
ZTA_API void _ztStartWPP();

/// Does nothing. Hosts call it after they stop their tracing. [any thread] [real-time]
ZTA_API void _ztStopWPP();

/// The version record of a module. Tools read it from the section ".kelvarvideo" of the file. Texts are padded with
/// NUL.
struct ZTA_API SZtVersionInfo {
    char achRevision[40]; ///< source revision, 40 hexadecimal digits
    char achRelease[128]; ///< release
    char achBuild[13];    ///< build number in decimal
};

static_assert(sizeof(SZtVersionInfo) == 181);

/// The version record of this module.
extern ZTA_API const SZtVersionInfo g_achVersionInfo;
