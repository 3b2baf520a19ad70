/// The binary contract for C99 and for languages that call C functions.
///
/// An object begins with a pointer to a table of functions, one function for each slot. A table is declared here as a
/// struct of function pointers in the order of the slots, and called through an inline function:
///
///     IZtaAudioSamplesEngine_CopyAudioSamples(pEngine, pSource, pDestination)
///
/// A host implements a buffer as a struct whose first field is `const IZtAudioSamplesVtbl* lpVtbl`.
///
/// The names are those of the C++ headers, which also document the operations: <zta/engine_interfaces.h> those of the
/// engine, <zta/host_interfaces.h> those of the host, <zta/module.h> the functions of the module. A derived interface
/// begins with the slots of its base: cast the pointer to the base. In C++ everything here is in namespace `zta::c`, so
/// that both forms can be compared. The signal functions (<zta/ipp.h>) are not declared here.
#ifndef ZTA_C_ZTA_H
#define ZTA_C_ZTA_H

#include <zta/export.h>

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
namespace zta {
namespace c {
#endif

// Identifiers.

/// A 128-bit identifier. Two identifiers are equal if their 16 bytes are.
typedef struct _GUID {
    uint32_t Data1;   ///< first group of the text form
    uint16_t Data2;   ///< second group
    uint16_t Data3;   ///< third group
    uint8_t Data4[8]; ///< the remaining groups, byte by byte
} _GUID;

/// Returns true if both identifiers are equal.
static inline bool ZtIsEqualGuid(const _GUID* pFirst, const _GUID* pSecond)
{
    return memcmp(pFirst, pSecond, sizeof(_GUID)) == 0;
}

/// {00000000-0000-0000-C000-000000000046}
static const _GUID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// {00000001-0000-0000-C000-000000000046}
static const _GUID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// {45F20097-F519-4DCF-80D8-CC0D06CBF259}
static const _GUID CLSID_ZtaAudioSamplesEngine = {
    0x45F20097, 0xF519, 0x4DCF, {0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x59}};
/// {1E3A4C45-A1AD-4385-A650-1C3DB428F3CB}
static const _GUID IID_IZtaAudioSamplesEngine = {
    0x1E3A4C45, 0xA1AD, 0x4385, {0xA6, 0x50, 0x1C, 0x3D, 0xB4, 0x28, 0xF3, 0xCB}};
/// {8593F6A8-4042-42B9-86D0-7160A75F5F87}
static const _GUID IID_IZtaAudioSamplesEngineFactory = {
    0x8593F6A8, 0x4042, 0x42B9, {0x86, 0xD0, 0x71, 0x60, 0xA7, 0x5F, 0x5F, 0x87}};
/// {E7906166-30F4-4F30-AE1E-2FCFAE969330}
static const _GUID IID_IZtAVContent = {0xE7906166, 0x30F4, 0x4F30, {0xAE, 0x1E, 0x2F, 0xCF, 0xAE, 0x96, 0x93, 0x30}};
/// {20B1F28E-A524-4997-A768-F4FF6342363E}
static const _GUID IID_IZtAudioSamples = {0x20B1F28E, 0xA524, 0x4997, {0xA7, 0x68, 0xF4, 0xFF, 0x63, 0x42, 0x36, 0x3E}};
/// {1E271296-1E50-40C9-8BB5-FB13F8133B96}
static const _GUID IID_IZtQuonEnginePrivate = {
    0x1E271296, 0x1E50, 0x40C9, {0x8B, 0xB5, 0xFB, 0x13, 0xF8, 0x13, 0x3B, 0x96}};

// Status codes: signed 32-bit integers, negative for failure.

#define ZTA_STATUS_ENTRY(code, name, sentence) name = (int)code,
enum {
#include <zta/status_codes.def>
    // Status codes of the component model; they have no text.
    E_NOINTERFACE = (int)0x80004002,
    E_POINTER = (int)0x80004003,
    E_FAIL = (int)0x80004005,
    E_OUTOFMEMORY = (int)0x8007000E,
    CLASS_E_NOAGGREGATION = (int)0x80040110
};

// Records. The fields are documented in <zta/audio_records.h>.

/// How a sample is encoded.
typedef uint32_t EZtAudioDataType;
enum {
    keZtAudioDataTypePcm = 1,
    keZtAudioDataTypeFloat = 2,
    keZtAudioDataTypeMultiFormat = 3,
    keZtAudioDataTypeOpaque = 4
};

/// Whether a resampler continues its stream.
typedef uint32_t EZtAudioResamplerMode;
enum { keZtAudioResamplerModeContinue = 1, keZtAudioResamplerModeRestart = 2 };

/// A wave format, 24 bytes.
typedef struct SZtaWaveFormatInfo {
    uint32_t ulSize; ///< 24
    uint32_t ulChannels;
    EZtAudioDataType eDataType;
    uint32_t ulSamplesPerSec;
    uint32_t ulBitsPerSample;
    uint32_t ulValidBitsPerSample;
} SZtaWaveFormatInfo;

/// The properties of a buffer, 40 bytes.
typedef struct SZtAudioSamplesDescription {
    uint32_t ulSize; ///< 40
    uint32_t ePolarity;
    uint32_t ulHostAttribute;
    bool bFadeIn;
    bool bFadeOut;
    SZtaWaveFormatInfo sWaveFormat;
} SZtAudioSamplesDescription;

/// A request for a buffer, 56 bytes.
typedef struct SZtCreateAudioSamplesDescription {
    uint32_t ulSize;         ///< 56
    uint64_t ui64BufferSize; ///< capacity in bytes
    uint32_t ePolarity;
    uint32_t ulHostAttribute;
    bool bFadeIn;
    bool bFadeOut;
    SZtaWaveFormatInfo sWaveFormat;
} SZtCreateAudioSamplesDescription;

/// The gain ramp of one channel, 12 bytes.
typedef struct SZtAudioMonoVolumeInfo {
    uint32_t ulChannelRef;
    float fStartVolume;
    float fEndVolume;
} SZtAudioMonoVolumeInfo;

/// The version record of a module, 181 bytes.
typedef struct SZtVersionInfo {
    char achRevision[40];
    char achRelease[128];
    char achBuild[13];
} SZtVersionInfo;

// Tables of functions. The number of each slot is its index in the table.

/// Slots 0 to 2 of every table.
#define ZTA_C_UNKNOWN_SLOTS(Interface)                                                                                 \
    int (*QueryInterface)(Interface * pThis, const _GUID* pIid, void** ppv);                                           \
    unsigned long (*AddRef)(Interface * pThis);                                                                        \
    unsigned long (*Release)(Interface * pThis);

/// Slots 3 and 4 of the module's tables: the two destructors of a C++ object. Do not call them, call Release.
#define ZTA_C_DESTRUCTOR_SLOTS(Interface)                                                                              \
    void (*CompleteDestructor)(Interface * pThis);                                                                     \
    void (*DeletingDestructor)(Interface * pThis);

/// The calls of slots 0 to 2 for one interface.
#define ZTA_C_UNKNOWN_CALLS(Interface)                                                                                 \
    static inline int Interface##_QueryInterface(Interface* pThis, const _GUID* pIid, void** ppv)                      \
    {                                                                                                                  \
        return pThis->lpVtbl->QueryInterface(pThis, pIid, ppv);                                                        \
    }                                                                                                                  \
    static inline unsigned long Interface##_AddRef(Interface* pThis)                                                   \
    {                                                                                                                  \
        return pThis->lpVtbl->AddRef(pThis);                                                                           \
    }                                                                                                                  \
    static inline unsigned long Interface##_Release(Interface* pThis)                                                  \
    {                                                                                                                  \
        return pThis->lpVtbl->Release(pThis);                                                                          \
    }

// Declared as structs first: in C++ this makes them names of this namespace.
struct IUnknown;
struct IClassFactory;
struct IZtAVContent;
struct IZtAudioSamples;
struct IZtQuonEnginePrivate;
struct IZtaAudioSamplesEngine;
struct IZtaAudioSamplesEngineFactory;
typedef struct IUnknown IUnknown;
typedef struct IClassFactory IClassFactory;
typedef struct IZtAVContent IZtAVContent;
typedef struct IZtAudioSamples IZtAudioSamples;
typedef struct IZtQuonEnginePrivate IZtQuonEnginePrivate;
typedef struct IZtaAudioSamplesEngine IZtaAudioSamplesEngine;
typedef struct IZtaAudioSamplesEngineFactory IZtaAudioSamplesEngineFactory;

/// The table of IUnknown, 3 slots.
typedef struct IUnknownVtbl {
    ZTA_C_UNKNOWN_SLOTS(IUnknown)
} IUnknownVtbl;

/// The table of the class factory, 7 slots.
typedef struct IClassFactoryVtbl {
    ZTA_C_UNKNOWN_SLOTS(IClassFactory)
    ZTA_C_DESTRUCTOR_SLOTS(IClassFactory)
    int (*CreateInstance)(IClassFactory* pThis, IUnknown* pOuterUnknown, const _GUID* pIid, void** ppv);
    int (*LockServer)(IClassFactory* pThis, int bLock);
} IClassFactoryVtbl;

/// Slots 3 to 8 of a buffer.
#define ZTA_C_CONTENT_SLOTS(Interface)                                                                                 \
    int (*MarkWriteStartTime)(Interface * pThis);                                                                      \
    int (*MarkWriteStopTime)(Interface * pThis);                                                                       \
    int (*SignalReadCompletion)(Interface * pThis);                                                                    \
    int (*SignalWriteCompletion)(Interface * pThis);                                                                   \
    int (*SetErrorCode)(Interface * pThis, int iCode);                                                                 \
    int (*GetErrorCode)(Interface * pThis, int* piCode);

/// The table of a buffer's completion and error interface, 9 slots.
typedef struct IZtAVContentVtbl {
    ZTA_C_UNKNOWN_SLOTS(IZtAVContent)
    ZTA_C_CONTENT_SLOTS(IZtAVContent)
} IZtAVContentVtbl;

/// The table of a buffer, 18 slots. A host implements it.
typedef struct IZtAudioSamplesVtbl {
    ZTA_C_UNKNOWN_SLOTS(IZtAudioSamples)
    ZTA_C_CONTENT_SLOTS(IZtAudioSamples)
    int (*SetPolarity)(IZtAudioSamples* pThis, uint32_t ePolarity);
    int (*SetWaveFormat)(IZtAudioSamples* pThis, SZtaWaveFormatInfo* psFormat);
    int (*GetAudioSamplesDescription)(IZtAudioSamples* pThis, SZtAudioSamplesDescription* psDescription);
    int (*GetBufferAndLength)(IZtAudioSamples* pThis, void** ppvBuffer, unsigned long* pulLength);
    int (*GetBufferCapacity)(IZtAudioSamples* pThis, unsigned long* pulCapacity);
    int (*GetLengthInSampleFrames)(IZtAudioSamples* pThis, unsigned long* pulFrames);
    int (*SetFadeIn)(IZtAudioSamples* pThis, bool bFadeIn);
    int (*SetFadeOut)(IZtAudioSamples* pThis, bool bFadeOut);
    int (*SetLength)(IZtAudioSamples* pThis, unsigned long ulLength);
} IZtAudioSamplesVtbl;

/// The table of the host's engine object, 4 slots. A host implements it.
typedef struct IZtQuonEnginePrivateVtbl {
    ZTA_C_UNKNOWN_SLOTS(IZtQuonEnginePrivate)
    int (*CreateAudioSamples)(IZtQuonEnginePrivate* pThis, SZtCreateAudioSamplesDescription* psDescription,
                              IZtAudioSamples** ppSamples);
} IZtQuonEnginePrivateVtbl;

/// The table of the engine, 16 slots.
typedef struct IZtaAudioSamplesEngineVtbl {
    ZTA_C_UNKNOWN_SLOTS(IZtaAudioSamplesEngine)
    ZTA_C_DESTRUCTOR_SLOTS(IZtaAudioSamplesEngine)
    int (*CopyAudioSamples)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pSource, IZtAudioSamples* pDestination);
    int (*CopyAudioSamplesMonoToStereo)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                        IZtAudioSamples* pStereo);
    int (*CopyAudioSamplesStereoToMono)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                        IZtAudioSamples* pRight);
    int (*DuplicateAudioSamples)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                 IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                 unsigned long ulLength);
    int (*CopyAudioSamplesMonoToMux)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                     IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                     unsigned long ulVolumeCount);
    int (*CopyAudioSamplesStereoToMux)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples** ppStereo,
                                       unsigned long ulStereoCount, IZtAudioSamples* pMux,
                                       SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);
    int (*CopyAudioSamplesMuxToMono)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pMux, IZtAudioSamples** ppMono,
                                     unsigned long ulMonoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                     unsigned long ulVolumeCount);
    int (*CopyAudioSamplesMuxToStereo)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                       unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                       unsigned long ulVolumeCount);
    int (*ApplyVolume)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                       SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);
    int (*CreateAudioResampler)(IZtaAudioSamplesEngine* pThis, SZtaWaveFormatInfo* psInputFormat,
                                SZtaWaveFormatInfo* psOutputFormat, IUnknown** ppResampler);
    int (*ProcessAudioResampler)(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pInput, IZtAudioSamples* pOutput,
                                 EZtAudioResamplerMode eMode, IUnknown* pResampler);
} IZtaAudioSamplesEngineVtbl;

/// The table of the engine factory, 6 slots.
typedef struct IZtaAudioSamplesEngineFactoryVtbl {
    ZTA_C_UNKNOWN_SLOTS(IZtaAudioSamplesEngineFactory)
    ZTA_C_DESTRUCTOR_SLOTS(IZtaAudioSamplesEngineFactory)
    int (*CreateAudioSamplesEngine)(IZtaAudioSamplesEngineFactory* pThis, IZtQuonEnginePrivate* pEngine,
                                    unsigned long ulReserved, IZtaAudioSamplesEngine** ppEngine);
} IZtaAudioSamplesEngineFactoryVtbl;

// Objects: nothing but the pointer to the table is known of them.

struct IUnknown {
    const IUnknownVtbl* lpVtbl;
};
struct IClassFactory {
    const IClassFactoryVtbl* lpVtbl;
};
struct IZtAVContent {
    const IZtAVContentVtbl* lpVtbl;
};
struct IZtAudioSamples {
    const IZtAudioSamplesVtbl* lpVtbl;
};
struct IZtQuonEnginePrivate {
    const IZtQuonEnginePrivateVtbl* lpVtbl;
};
struct IZtaAudioSamplesEngine {
    const IZtaAudioSamplesEngineVtbl* lpVtbl;
};
struct IZtaAudioSamplesEngineFactory {
    const IZtaAudioSamplesEngineFactoryVtbl* lpVtbl;
};

// Calls.

ZTA_C_UNKNOWN_CALLS(IUnknown)
ZTA_C_UNKNOWN_CALLS(IClassFactory)
ZTA_C_UNKNOWN_CALLS(IZtAVContent)
ZTA_C_UNKNOWN_CALLS(IZtAudioSamples)
ZTA_C_UNKNOWN_CALLS(IZtQuonEnginePrivate)
ZTA_C_UNKNOWN_CALLS(IZtaAudioSamplesEngine)
ZTA_C_UNKNOWN_CALLS(IZtaAudioSamplesEngineFactory)

static inline int IClassFactory_CreateInstance(IClassFactory* pThis, IUnknown* pOuterUnknown, const _GUID* pIid,
                                               void** ppv)
{
    return pThis->lpVtbl->CreateInstance(pThis, pOuterUnknown, pIid, ppv);
}

static inline int IClassFactory_LockServer(IClassFactory* pThis, int bLock)
{
    return pThis->lpVtbl->LockServer(pThis, bLock);
}

static inline int IZtaAudioSamplesEngineFactory_CreateAudioSamplesEngine(IZtaAudioSamplesEngineFactory* pThis,
                                                                         IZtQuonEnginePrivate* pEngine,
                                                                         unsigned long ulReserved,
                                                                         IZtaAudioSamplesEngine** ppEngine)
{
    return pThis->lpVtbl->CreateAudioSamplesEngine(pThis, pEngine, ulReserved, ppEngine);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamples(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pSource,
                                                          IZtAudioSamples* pDestination)
{
    return pThis->lpVtbl->CopyAudioSamples(pThis, pSource, pDestination);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamplesMonoToStereo(IZtaAudioSamplesEngine* pThis,
                                                                      IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                                                      IZtAudioSamples* pStereo)
{
    return pThis->lpVtbl->CopyAudioSamplesMonoToStereo(pThis, pLeft, pRight, pStereo);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamplesStereoToMono(IZtaAudioSamplesEngine* pThis,
                                                                      IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                                                      IZtAudioSamples* pRight)
{
    return pThis->lpVtbl->CopyAudioSamplesStereoToMono(pThis, pStereo, pLeft, pRight);
}

static inline int IZtaAudioSamplesEngine_DuplicateAudioSamples(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pSource,
                                                               unsigned long ulSourceOffset,
                                                               IZtAudioSamples* pDestination,
                                                               unsigned long ulDestinationOffset,
                                                               unsigned long ulLength)
{
    return pThis->lpVtbl->DuplicateAudioSamples(pThis, pSource, ulSourceOffset, pDestination, ulDestinationOffset,
                                                ulLength);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamplesMonoToMux(IZtaAudioSamplesEngine* pThis,
                                                                   IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                                                   IZtAudioSamples* pMux,
                                                                   SZtAudioMonoVolumeInfo* psVolumes,
                                                                   unsigned long ulVolumeCount)
{
    return pThis->lpVtbl->CopyAudioSamplesMonoToMux(pThis, ppMono, ulMonoCount, pMux, psVolumes, ulVolumeCount);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamplesStereoToMux(IZtaAudioSamplesEngine* pThis,
                                                                     IZtAudioSamples** ppStereo,
                                                                     unsigned long ulStereoCount, IZtAudioSamples* pMux,
                                                                     SZtAudioMonoVolumeInfo* psVolumes,
                                                                     unsigned long ulVolumeCount)
{
    return pThis->lpVtbl->CopyAudioSamplesStereoToMux(pThis, ppStereo, ulStereoCount, pMux, psVolumes, ulVolumeCount);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamplesMuxToMono(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pMux,
                                                                   IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                                                   SZtAudioMonoVolumeInfo* psVolumes,
                                                                   unsigned long ulVolumeCount)
{
    return pThis->lpVtbl->CopyAudioSamplesMuxToMono(pThis, pMux, ppMono, ulMonoCount, psVolumes, ulVolumeCount);
}

static inline int IZtaAudioSamplesEngine_CopyAudioSamplesMuxToStereo(IZtaAudioSamplesEngine* pThis,
                                                                     IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                                                     unsigned long ulStereoCount,
                                                                     SZtAudioMonoVolumeInfo* psVolumes,
                                                                     unsigned long ulVolumeCount)
{
    return pThis->lpVtbl->CopyAudioSamplesMuxToStereo(pThis, pMux, ppStereo, ulStereoCount, psVolumes, ulVolumeCount);
}

static inline int IZtaAudioSamplesEngine_ApplyVolume(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pInput,
                                                     IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                                                     unsigned long ulVolumeCount)
{
    return pThis->lpVtbl->ApplyVolume(pThis, pInput, pOutput, psVolumes, ulVolumeCount);
}

static inline int IZtaAudioSamplesEngine_CreateAudioResampler(IZtaAudioSamplesEngine* pThis,
                                                              SZtaWaveFormatInfo* psInputFormat,
                                                              SZtaWaveFormatInfo* psOutputFormat,
                                                              IUnknown** ppResampler)
{
    return pThis->lpVtbl->CreateAudioResampler(pThis, psInputFormat, psOutputFormat, ppResampler);
}

static inline int IZtaAudioSamplesEngine_ProcessAudioResampler(IZtaAudioSamplesEngine* pThis, IZtAudioSamples* pInput,
                                                               IZtAudioSamples* pOutput, EZtAudioResamplerMode eMode,
                                                               IUnknown* pResampler)
{
    return pThis->lpVtbl->ProcessAudioResampler(pThis, pInput, pOutput, eMode, pResampler);
}

// Functions of the module, as types: for dlsym, `DllEntryPointFn*` is the pointer to a function.

/// The reasons of DllEntryPoint, passed as the value of its pointer argument.
enum { kZtModuleUnload = 0, kZtModuleLoad = 1 };

typedef int DllEntryPointFn(unsigned int hInst, void* pReason);
typedef int DllCanUnloadNowFn(void);
typedef int DllGetClassObjectFn(const _GUID* pClsid, const _GUID* pIid, void** ppv);
typedef int DllRegisterServerFn(const wchar_t* pwszModulePath);
typedef int DllUnregisterServerFn(void);
typedef const wchar_t* ztErrorToStringFn(int iCode);
typedef const char* ztGetSampleLoopsFn(void);
typedef int ztSelectSampleLoopsFn(const char* pszName);

/// The arguments of the log function of the host, see <zta/logger.h>.
enum { keZtLogPackageComponent = 21004, keZtLogLevelError = 4 };

typedef void ZtLoggerFn(uint32_t ePackage, int iLine, uint32_t eLevel, const char* pszFormat, ...);

// Functions of a plugin for `ztvalidate --host`, see <zta/host_plugin.h>.

typedef int ZtaHostCreateAudioSamplesFn(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples);
typedef int ZtaHostAnnounceReadFn(IZtAudioSamples* pSamples);
typedef int ZtaHostAnnounceWriteFn(IZtAudioSamples* pSamples);
typedef int ZtaHostGetOpenAccessesFn(IZtAudioSamples* pSamples, unsigned long* pulReads, unsigned long* pulWrites);

#ifdef __cplusplus
} // namespace c
} // namespace zta
#else

// The functions themselves, for programs that are linked against the module, and those that a host defines.

ZTA_API DllEntryPointFn DllEntryPoint;
ZTA_API DllCanUnloadNowFn DllCanUnloadNow;
ZTA_API DllGetClassObjectFn DllGetClassObject;
ZTA_API DllRegisterServerFn DllRegisterServer;
ZTA_API DllUnregisterServerFn DllUnregisterServer;
ZTA_API ztErrorToStringFn ztErrorToString;
ZTA_API ztGetSampleLoopsFn ztGetSampleLoops;
ZTA_API ztSelectSampleLoopsFn ztSelectSampleLoops;
extern ZTA_API const SZtVersionInfo g_achVersionInfo;

ZTA_API ZtLoggerFn ZtLogger;
ZTA_API ZtaHostCreateAudioSamplesFn ZtaHostCreateAudioSamples;
ZTA_API ZtaHostAnnounceReadFn ZtaHostAnnounceRead;
ZTA_API ZtaHostAnnounceWriteFn ZtaHostAnnounceWrite;
ZTA_API ZtaHostGetOpenAccessesFn ZtaHostGetOpenAccesses;

#endif

#endif
