// <zta/c/zta.h> against the C++ headers: sizes, offsets, types and values at compile time, slots at run time.

#include "tests/contract/c_header.h"
#include "tests/contract/slot_spies.h"

#include <zta/c/zta.h>
#include <zta/zta.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

namespace {

namespace c = zta::c;
using zta::test::ExpectedStatuses;
using zta::test::Statuses;

// Types: Cpp<T> is the C++ type that has the name of the C type T.

template <class T>
struct CppType {
    using Type = T;
};
template <class T>
using Cpp = typename CppType<T>::Type;
template <class T>
struct CppType<T*> {
    using Type = Cpp<T>*;
};
template <class T>
struct CppType<const T> {
    using Type = const Cpp<T>;
};

#define ZTA_SAME_NAME(Name)                                                                                            \
    template <>                                                                                                        \
    struct CppType<c::Name> {                                                                                          \
        using Type = ::Name;                                                                                           \
    };
ZTA_SAME_NAME(_GUID)
ZTA_SAME_NAME(SZtaWaveFormatInfo)
ZTA_SAME_NAME(SZtAudioSamplesDescription)
ZTA_SAME_NAME(SZtCreateAudioSamplesDescription)
ZTA_SAME_NAME(SZtAudioMonoVolumeInfo)
ZTA_SAME_NAME(IUnknown)
ZTA_SAME_NAME(IClassFactory)
ZTA_SAME_NAME(IZtAVContent)
ZTA_SAME_NAME(IZtAudioSamples)
ZTA_SAME_NAME(IZtQuonEnginePrivate)
ZTA_SAME_NAME(IZtaAudioSamplesEngine)
ZTA_SAME_NAME(IZtaAudioSamplesEngineFactory)

/// The type of an argument or result in C++ as C passes it: a reference is a pointer, an enumeration its integer.
template <class T>
struct AsPassed {
    using Type = T;
};
template <class T>
struct AsPassed<T&> {
    using Type = T*;
};
template <class T>
requires std::is_enum_v<T>
struct AsPassed<T> {
    using Type = std::underlying_type_t<T>;
};
template <class T>
using Passed = typename AsPassed<T>::Type;

/// Whether a function pointer of a C table fits a member function.
template <class Function, class Member>
struct FitsMember : std::false_type {
};
template <class Result, class This, class... Arguments, class CppResult, class Interface, class... CppArguments>
requires(sizeof...(Arguments) == sizeof...(CppArguments)) struct FitsMember<Result (*)(This*, Arguments...),
                                                                            CppResult (Interface::*)(CppArguments...)>
    : std::bool_constant<std::is_same_v<Result, CppResult> &&
                         (std::is_same_v<Cpp<Arguments>, Passed<CppArguments>> && ...)> {
};

/// Whether a C function type fits a C++ function.
template <class Function, class CppFunction>
struct FitsFunction : std::false_type {
};
template <class Result, class... Arguments, class CppResult, class... CppArguments>
requires(sizeof...(Arguments) ==
         sizeof...(CppArguments)) struct FitsFunction<Result(Arguments...), CppResult(CppArguments...)>
    : std::bool_constant<std::is_same_v<Result, CppResult> &&
                         (std::is_same_v<Cpp<Arguments>, Passed<CppArguments>> && ...)> {
};

static_assert(FitsFunction<c::DllEntryPointFn, decltype(::DllEntryPoint)>::value);
static_assert(FitsFunction<c::DllCanUnloadNowFn, decltype(::DllCanUnloadNow)>::value);
static_assert(FitsFunction<c::DllGetClassObjectFn, decltype(::DllGetClassObject)>::value);
static_assert(FitsFunction<c::DllRegisterServerFn, decltype(::DllRegisterServer)>::value);
static_assert(FitsFunction<c::DllUnregisterServerFn, decltype(::DllUnregisterServer)>::value);
static_assert(FitsFunction<c::ztErrorToStringFn, decltype(::ztErrorToString)>::value);
static_assert(FitsFunction<c::ztGetSampleLoopsFn, decltype(::ztGetSampleLoops)>::value);
static_assert(FitsFunction<c::ztSelectSampleLoopsFn, decltype(::ztSelectSampleLoops)>::value);
static_assert(FitsFunction<c::ZtaHostCreateAudioSamplesFn, decltype(::ZtaHostCreateAudioSamples)>::value);
static_assert(FitsFunction<c::ZtaHostAnnounceReadFn, decltype(::ZtaHostAnnounceRead)>::value);
static_assert(FitsFunction<c::ZtaHostAnnounceWriteFn, decltype(::ZtaHostAnnounceWrite)>::value);
static_assert(FitsFunction<c::ZtaHostGetOpenAccessesFn, decltype(::ZtaHostGetOpenAccesses)>::value);
static_assert(std::is_same_v<c::ZtLoggerFn, void(std::uint32_t, int, std::uint32_t, const char*, ...)>);
static_assert(sizeof(EZtLogPackage) == 4 && sizeof(EZtLogLevel) == 4);

// Values.

#define ZTA_STATUS_ENTRY(code, name, sentence) static_assert(static_cast<int>(c::name) == ::name);
#include <zta/status_codes.def>
static_assert(static_cast<int>(c::E_NOINTERFACE) == ::E_NOINTERFACE);
static_assert(static_cast<int>(c::E_POINTER) == ::E_POINTER);
static_assert(static_cast<int>(c::E_FAIL) == ::E_FAIL);
static_assert(static_cast<int>(c::E_OUTOFMEMORY) == ::E_OUTOFMEMORY);
static_assert(static_cast<int>(c::CLASS_E_NOAGGREGATION) == ::CLASS_E_NOAGGREGATION);

#define ZTA_SAME_VALUE(name) static_assert(static_cast<unsigned long>(c::name) == static_cast<unsigned long>(::name))
ZTA_SAME_VALUE(keZtAudioDataTypePcm);
ZTA_SAME_VALUE(keZtAudioDataTypeFloat);
ZTA_SAME_VALUE(keZtAudioDataTypeMultiFormat);
ZTA_SAME_VALUE(keZtAudioDataTypeOpaque);
ZTA_SAME_VALUE(keZtAudioResamplerModeContinue);
ZTA_SAME_VALUE(keZtAudioResamplerModeRestart);
ZTA_SAME_VALUE(keZtLogPackageComponent);
ZTA_SAME_VALUE(keZtLogLevelError);
ZTA_SAME_VALUE(kZtModuleUnload);
ZTA_SAME_VALUE(kZtModuleLoad);

// Records.

#define ZTA_SAME_RECORD(Record)                                                                                        \
    static_assert(sizeof(c::Record) == sizeof(::Record) && alignof(c::Record) == alignof(::Record))
#define ZTA_SAME_FIELD(Record, field)                                                                                  \
    static_assert(offsetof(c::Record, field) == offsetof(::Record, field) &&                                           \
                  sizeof(c::Record::field) == sizeof(::Record::field))

ZTA_SAME_RECORD(_GUID);
ZTA_SAME_FIELD(_GUID, Data1);
ZTA_SAME_FIELD(_GUID, Data2);
ZTA_SAME_FIELD(_GUID, Data3);
ZTA_SAME_FIELD(_GUID, Data4);
ZTA_SAME_RECORD(SZtaWaveFormatInfo);
ZTA_SAME_FIELD(SZtaWaveFormatInfo, ulSize);
ZTA_SAME_FIELD(SZtaWaveFormatInfo, ulChannels);
ZTA_SAME_FIELD(SZtaWaveFormatInfo, eDataType);
ZTA_SAME_FIELD(SZtaWaveFormatInfo, ulSamplesPerSec);
ZTA_SAME_FIELD(SZtaWaveFormatInfo, ulBitsPerSample);
ZTA_SAME_FIELD(SZtaWaveFormatInfo, ulValidBitsPerSample);
ZTA_SAME_RECORD(SZtAudioSamplesDescription);
ZTA_SAME_FIELD(SZtAudioSamplesDescription, ulSize);
ZTA_SAME_FIELD(SZtAudioSamplesDescription, ePolarity);
ZTA_SAME_FIELD(SZtAudioSamplesDescription, ulHostAttribute);
ZTA_SAME_FIELD(SZtAudioSamplesDescription, bFadeIn);
ZTA_SAME_FIELD(SZtAudioSamplesDescription, bFadeOut);
ZTA_SAME_FIELD(SZtAudioSamplesDescription, sWaveFormat);
ZTA_SAME_RECORD(SZtCreateAudioSamplesDescription);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, ulSize);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, ui64BufferSize);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, ePolarity);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, ulHostAttribute);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, bFadeIn);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, bFadeOut);
ZTA_SAME_FIELD(SZtCreateAudioSamplesDescription, sWaveFormat);
ZTA_SAME_RECORD(SZtAudioMonoVolumeInfo);
ZTA_SAME_FIELD(SZtAudioMonoVolumeInfo, ulChannelRef);
ZTA_SAME_FIELD(SZtAudioMonoVolumeInfo, fStartVolume);
ZTA_SAME_FIELD(SZtAudioMonoVolumeInfo, fEndVolume);
ZTA_SAME_RECORD(SZtVersionInfo);
ZTA_SAME_FIELD(SZtVersionInfo, achRevision);
ZTA_SAME_FIELD(SZtVersionInfo, achRelease);
ZTA_SAME_FIELD(SZtVersionInfo, achBuild);

// Tables: the type of each function and the number of slots at compile time, the offset of each slot at run time.

/// The offset of a virtual member function in its table. The first word of a pointer to a virtual member function is
/// that offset plus 1.
template <class Member>
std::size_t SlotOffset(Member member)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof(member) == sizeof(words));
    std::memcpy(words, &member, sizeof(words));
    EXPECT_EQ(words[0] % 8, 1) << "not virtual";
    return static_cast<std::size_t>(words[0] - 1);
}

#define ZTA_SAME_SLOT(Interface, Method)                                                                               \
    do {                                                                                                               \
        static_assert(FitsMember<decltype(c::Interface##Vtbl::Method), decltype(&::Interface::Method)>::value,         \
                      #Interface "::" #Method);                                                                        \
        EXPECT_EQ(offsetof(c::Interface##Vtbl, Method), SlotOffset(&::Interface::Method)) << #Method;                  \
    } while (0)

#define ZTA_SAME_UNKNOWN_SLOTS(Interface)                                                                              \
    do {                                                                                                               \
        static_assert(sizeof(c::Interface) == sizeof(::Interface) && sizeof(c::Interface) == sizeof(void*));           \
        ZTA_SAME_SLOT(Interface, QueryInterface);                                                                      \
        ZTA_SAME_SLOT(Interface, AddRef);                                                                              \
        ZTA_SAME_SLOT(Interface, Release);                                                                             \
    } while (0)

static_assert(sizeof(c::IUnknownVtbl) == 3 * sizeof(void*));
static_assert(sizeof(c::IClassFactoryVtbl) == 7 * sizeof(void*));
static_assert(sizeof(c::IZtAVContentVtbl) == 9 * sizeof(void*));
static_assert(sizeof(c::IZtAudioSamplesVtbl) == 18 * sizeof(void*));
static_assert(sizeof(c::IZtQuonEnginePrivateVtbl) == 4 * sizeof(void*));
static_assert(sizeof(c::IZtaAudioSamplesEngineVtbl) == 16 * sizeof(void*));
static_assert(sizeof(c::IZtaAudioSamplesEngineFactoryVtbl) == 6 * sizeof(void*));

TEST(CHeader, HasTheSlotsOfTheComponentInterfaces)
{
    ZTA_SAME_UNKNOWN_SLOTS(IUnknown);
    ZTA_SAME_UNKNOWN_SLOTS(IClassFactory);
    ZTA_SAME_SLOT(IClassFactory, CreateInstance);
    ZTA_SAME_SLOT(IClassFactory, LockServer);
}

TEST(CHeader, HasTheSlotsOfTheHostInterfaces)
{
    ZTA_SAME_UNKNOWN_SLOTS(IZtAVContent);
    ZTA_SAME_SLOT(IZtAVContent, MarkWriteStartTime);
    ZTA_SAME_SLOT(IZtAVContent, MarkWriteStopTime);
    ZTA_SAME_SLOT(IZtAVContent, SignalReadCompletion);
    ZTA_SAME_SLOT(IZtAVContent, SignalWriteCompletion);
    ZTA_SAME_SLOT(IZtAVContent, SetErrorCode);
    ZTA_SAME_SLOT(IZtAVContent, GetErrorCode);
    ZTA_SAME_UNKNOWN_SLOTS(IZtAudioSamples);
    ZTA_SAME_SLOT(IZtAudioSamples, MarkWriteStartTime);
    ZTA_SAME_SLOT(IZtAudioSamples, MarkWriteStopTime);
    ZTA_SAME_SLOT(IZtAudioSamples, SignalReadCompletion);
    ZTA_SAME_SLOT(IZtAudioSamples, SignalWriteCompletion);
    ZTA_SAME_SLOT(IZtAudioSamples, SetErrorCode);
    ZTA_SAME_SLOT(IZtAudioSamples, GetErrorCode);
    ZTA_SAME_SLOT(IZtAudioSamples, SetPolarity);
    ZTA_SAME_SLOT(IZtAudioSamples, SetWaveFormat);
    ZTA_SAME_SLOT(IZtAudioSamples, GetAudioSamplesDescription);
    ZTA_SAME_SLOT(IZtAudioSamples, GetBufferAndLength);
    ZTA_SAME_SLOT(IZtAudioSamples, GetBufferCapacity);
    ZTA_SAME_SLOT(IZtAudioSamples, GetLengthInSampleFrames);
    ZTA_SAME_SLOT(IZtAudioSamples, SetFadeIn);
    ZTA_SAME_SLOT(IZtAudioSamples, SetFadeOut);
    ZTA_SAME_SLOT(IZtAudioSamples, SetLength);
    ZTA_SAME_UNKNOWN_SLOTS(IZtQuonEnginePrivate);
    ZTA_SAME_SLOT(IZtQuonEnginePrivate, CreateAudioSamples);
}

TEST(CHeader, HasTheSlotsOfTheEngineInterfaces)
{
    ZTA_SAME_UNKNOWN_SLOTS(IZtaAudioSamplesEngineFactory);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngineFactory, CreateAudioSamplesEngine);
    ZTA_SAME_UNKNOWN_SLOTS(IZtaAudioSamplesEngine);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamples);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamplesMonoToStereo);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamplesStereoToMono);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, DuplicateAudioSamples);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamplesMonoToMux);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamplesStereoToMux);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamplesMuxToMono);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CopyAudioSamplesMuxToStereo);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, ApplyVolume);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, CreateAudioResampler);
    ZTA_SAME_SLOT(IZtaAudioSamplesEngine, ProcessAudioResampler);
}

TEST(CHeader, HasTheIdentifiers)
{
#define ZTA_SAME_IDENTIFIER(name)                                                                                      \
    do {                                                                                                               \
        const void* id = c_header_identifier(#name);                                                                   \
        ASSERT_NE(id, nullptr) << #name;                                                                               \
        EXPECT_EQ(std::memcmp(id, &::name, sizeof(_GUID)), 0) << #name;                                                \
        EXPECT_TRUE(c::ZtIsEqualGuid(&c::name, static_cast<const c::_GUID*>(id))) << #name;                            \
    } while (0)
    ZTA_SAME_IDENTIFIER(IID_IUnknown);
    ZTA_SAME_IDENTIFIER(IID_IClassFactory);
    ZTA_SAME_IDENTIFIER(CLSID_ZtaAudioSamplesEngine);
    ZTA_SAME_IDENTIFIER(IID_IZtaAudioSamplesEngine);
    ZTA_SAME_IDENTIFIER(IID_IZtaAudioSamplesEngineFactory);
    ZTA_SAME_IDENTIFIER(IID_IZtAVContent);
    ZTA_SAME_IDENTIFIER(IID_IZtAudioSamples);
    ZTA_SAME_IDENTIFIER(IID_IZtQuonEnginePrivate);
    EXPECT_FALSE(c::ZtIsEqualGuid(&c::IID_IUnknown, &c::IID_IClassFactory));
}

// Calls from C.

TEST(CHeader, CallsIUnknown)
{
    zta::test::SlotSpy<IUnknown> object;
    Statuses statuses{};
    c_header_call_unknown(static_cast<IUnknown*>(&object), statuses.data());
    EXPECT_EQ(statuses, ExpectedStatuses(0, 0));
}

TEST(CHeader, CallsTheClassFactory)
{
    zta::test::ClassFactorySpy object;
    Statuses statuses{};
    c_header_call_class_factory(static_cast<IClassFactory*>(&object), statuses.data());
    EXPECT_EQ(statuses, ExpectedStatuses(5, 6));
}

TEST(CHeader, CallsTheEngineFactory)
{
    zta::test::EngineFactorySpy object;
    Statuses statuses{};
    c_header_call_engine_factory(static_cast<IZtaAudioSamplesEngineFactory*>(&object), statuses.data());
    EXPECT_EQ(statuses, ExpectedStatuses(5, 5));
}

TEST(CHeader, CallsTheEngine)
{
    zta::test::EngineSpy object;
    Statuses statuses{};
    c_header_call_engine(static_cast<IZtaAudioSamplesEngine*>(&object), statuses.data());
    EXPECT_EQ(statuses, ExpectedStatuses(5, 15));
}

/// Counts destructions and deallocations.
struct DestructionSpy : zta::test::EngineSpy {
    ~DestructionSpy() override { ++destroyed; }
    static void* operator new(std::size_t, void* memory) { return memory; }
    static void operator delete(void*, void*) {}
    static void operator delete(void*) { ++freed; }

    static inline int destroyed = 0;
    static inline int freed = 0;
};

TEST(CHeader, NamesBothDestructors)
{
    alignas(DestructionSpy) unsigned char memory[sizeof(DestructionSpy)];
    c_header_destroy_engine(static_cast<IZtaAudioSamplesEngine*>(new (memory) DestructionSpy), 0);
    EXPECT_EQ(DestructionSpy::destroyed, 1);
    EXPECT_EQ(DestructionSpy::freed, 0);
    c_header_destroy_engine(static_cast<IZtaAudioSamplesEngine*>(new (memory) DestructionSpy), 1);
    EXPECT_EQ(DestructionSpy::destroyed, 2);
    EXPECT_EQ(DestructionSpy::freed, 1);
}

// Calls from C++ to objects in C.

/// The pointer with the value slot * 10 + n.
template <class T>
T* Argument(int slot, int n)
{
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(slot * 10 + n));
}

TEST(CHeader, ImplementsABuffer)
{
    auto* object = static_cast<IZtAudioSamples*>(c_header_buffer());
    EXPECT_EQ(object->QueryInterface(*Argument<const _GUID>(0, 1), Argument<void*>(0, 2)), -100);
    EXPECT_EQ(object->AddRef(), 101U);
    EXPECT_EQ(object->Release(), 102U);
    EXPECT_EQ(object->MarkWriteStartTime(), -103);
    EXPECT_EQ(object->MarkWriteStopTime(), -104);
    EXPECT_EQ(object->SignalReadCompletion(), -105);
    EXPECT_EQ(object->SignalWriteCompletion(), -106);
    EXPECT_EQ(object->SetErrorCode(71), -107);
    EXPECT_EQ(object->GetErrorCode(Argument<int>(8, 1)), -108);
    EXPECT_EQ(object->SetPolarity(91), -109);
    EXPECT_EQ(object->SetWaveFormat(Argument<SZtaWaveFormatInfo>(10, 1)), -110);
    EXPECT_EQ(object->GetAudioSamplesDescription(Argument<SZtAudioSamplesDescription>(11, 1)), -111);
    EXPECT_EQ(object->GetBufferAndLength(Argument<void*>(12, 1), Argument<unsigned long>(12, 2)), -112);
    EXPECT_EQ(object->GetBufferCapacity(Argument<unsigned long>(13, 1)), -113);
    EXPECT_EQ(object->GetLengthInSampleFrames(Argument<unsigned long>(14, 1)), -114);
    EXPECT_EQ(object->SetFadeIn(true), -115);
    EXPECT_EQ(object->SetFadeOut(true), -116);
    EXPECT_EQ(object->SetLength(171), -117);
}

TEST(CHeader, ImplementsAHostEngine)
{
    auto* object = static_cast<IZtQuonEnginePrivate*>(c_header_host_engine());
    EXPECT_EQ(object->QueryInterface(*Argument<const _GUID>(0, 1), Argument<void*>(0, 2)), -100);
    EXPECT_EQ(object->AddRef(), 101U);
    EXPECT_EQ(object->Release(), 102U);
    EXPECT_EQ(
        object->CreateAudioSamples(Argument<SZtCreateAudioSamplesDescription>(3, 1), Argument<IZtAudioSamples*>(3, 2)),
        -103);
}

} // namespace
