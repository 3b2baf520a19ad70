// <zta/c/zta.h> against the C++ headers: sizes, offsets, types and values at compile time, slots at run time.

#include "tests/contract/c_header.h"
#include "tests/contract/for_each.h"
#include "tests/contract/slot_spies.h"

#include <zta/c/zta.h>
#include <zta/zta.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace zta::test {
namespace {

namespace c = zta::c;

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

#define ZTA_SAME_NAME(_, Name)                                                                                         \
    template <>                                                                                                        \
    struct CppType<c::Name> {                                                                                          \
        using Type = ::Name;                                                                                           \
    };
ZTA_FOR_EACH(ZTA_SAME_NAME, , _GUID, SZtaWaveFormatInfo, SZtAudioSamplesDescription, SZtCreateAudioSamplesDescription,
             SZtAudioMonoVolumeInfo, IUnknown, IClassFactory, IZtAVContent, IZtAudioSamples, IZtQuonEnginePrivate,
             IZtaAudioSamplesEngine, IZtaAudioSamplesEngineFactory)

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

#define ZTA_SAME_FUNCTION(_, name) static_assert(FitsFunction<c::name##Fn, decltype(::name)>::value);
ZTA_FOR_EACH(ZTA_SAME_FUNCTION, , DllEntryPoint, DllCanUnloadNow, DllGetClassObject, DllRegisterServer,
             DllUnregisterServer, ztErrorToString, ztGetSampleLoops, ztSelectSampleLoops, ZtaHostCreateAudioSamples,
             ZtaHostAnnounceRead, ZtaHostAnnounceWrite, ZtaHostGetOpenAccesses)
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

#define ZTA_SAME_VALUE(_, name)                                                                                        \
    static_assert(static_cast<unsigned long>(c::name) == static_cast<unsigned long>(::name));
ZTA_FOR_EACH(ZTA_SAME_VALUE, , keZtAudioDataTypePcm, keZtAudioDataTypeFloat, keZtAudioDataTypeMultiFormat,
             keZtAudioDataTypeOpaque, keZtAudioResamplerModeContinue, keZtAudioResamplerModeRestart,
             keZtLogPackageComponent, keZtLogLevelError, kZtModuleUnload, kZtModuleLoad)

// Records.

#define ZTA_SAME_RECORD(Record, ...)                                                                                   \
    ZTA_FOR_EACH(ZTA_SAME_FIELD, Record, __VA_ARGS__)                                                                  \
    static_assert(sizeof(c::Record) == sizeof(::Record) && alignof(c::Record) == alignof(::Record))
#define ZTA_SAME_FIELD(Record, field)                                                                                  \
    static_assert(offsetof(c::Record, field) == offsetof(::Record, field));                                            \
    static_assert(sizeof(c::Record::field) == sizeof(::Record::field));

ZTA_SAME_RECORD(_GUID, Data1, Data2, Data3, Data4);
ZTA_SAME_RECORD(SZtaWaveFormatInfo, ulSize, ulChannels, eDataType, ulSamplesPerSec, ulBitsPerSample,
                ulValidBitsPerSample);
ZTA_SAME_RECORD(SZtAudioSamplesDescription, ulSize, ePolarity, ulHostAttribute, bFadeIn, bFadeOut, sWaveFormat);
ZTA_SAME_RECORD(SZtCreateAudioSamplesDescription, ulSize, ui64BufferSize, ePolarity, ulHostAttribute, bFadeIn, bFadeOut,
                sWaveFormat);
ZTA_SAME_RECORD(SZtAudioMonoVolumeInfo, ulChannelRef, fStartVolume, fEndVolume);
ZTA_SAME_RECORD(SZtVersionInfo, achRevision, achRelease, achBuild);

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
    static_assert(FitsMember<decltype(c::Interface##Vtbl::Method), decltype(&::Interface::Method)>::value,             \
                  #Interface "::" #Method);                                                                            \
    EXPECT_EQ(offsetof(c::Interface##Vtbl, Method), SlotOffset(&::Interface::Method)) << #Method;

/// Compares the three slots of IUnknown and these slots of an interface.
#define ZTA_SAME_SLOTS(Interface, ...)                                                                                 \
    do {                                                                                                               \
        static_assert(sizeof(c::Interface) == sizeof(::Interface) && sizeof(c::Interface) == sizeof(void*));           \
        ZTA_FOR_EACH(ZTA_SAME_SLOT, Interface, QueryInterface, AddRef, Release __VA_OPT__(, ) __VA_ARGS__)             \
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
    ZTA_SAME_SLOTS(IUnknown);
    ZTA_SAME_SLOTS(IClassFactory, CreateInstance, LockServer);
}

TEST(CHeader, HasTheSlotsOfTheHostInterfaces)
{
    ZTA_SAME_SLOTS(IZtAVContent, MarkWriteStartTime, MarkWriteStopTime, SignalReadCompletion, SignalWriteCompletion,
                   SetErrorCode, GetErrorCode);
    ZTA_SAME_SLOTS(IZtAudioSamples, MarkWriteStartTime, MarkWriteStopTime, SignalReadCompletion, SignalWriteCompletion,
                   SetErrorCode, GetErrorCode, SetPolarity, SetWaveFormat, GetAudioSamplesDescription,
                   GetBufferAndLength, GetBufferCapacity, GetLengthInSampleFrames, SetFadeIn, SetFadeOut, SetLength);
    ZTA_SAME_SLOTS(IZtQuonEnginePrivate, CreateAudioSamples);
}

TEST(CHeader, HasTheSlotsOfTheEngineInterfaces)
{
    ZTA_SAME_SLOTS(IZtaAudioSamplesEngineFactory, CreateAudioSamplesEngine);
    ZTA_SAME_SLOTS(IZtaAudioSamplesEngine, CopyAudioSamples, CopyAudioSamplesMonoToStereo, CopyAudioSamplesStereoToMono,
                   DuplicateAudioSamples, CopyAudioSamplesMonoToMux, CopyAudioSamplesStereoToMux,
                   CopyAudioSamplesMuxToMono, CopyAudioSamplesMuxToStereo, ApplyVolume, CreateAudioResampler,
                   ProcessAudioResampler);
}

TEST(CHeader, HasTheIdentifiers)
{
#define ZTA_SAME_IDENTIFIER(_, name)                                                                                   \
    {                                                                                                                  \
        const void* id = c_header_identifier(#name);                                                                   \
        ASSERT_NE(id, nullptr) << #name;                                                                               \
        EXPECT_EQ(std::memcmp(id, &::name, sizeof(_GUID)), 0) << #name;                                                \
        EXPECT_TRUE(c::ZtIsEqualGuid(&c::name, static_cast<const c::_GUID*>(id))) << #name;                            \
    }
    ZTA_FOR_EACH(ZTA_SAME_IDENTIFIER, , IID_IUnknown, IID_IClassFactory, CLSID_ZtaAudioSamplesEngine,
                 IID_IZtaAudioSamplesEngine, IID_IZtaAudioSamplesEngineFactory, IID_IZtAVContent, IID_IZtAudioSamples,
                 IID_IZtQuonEnginePrivate)
    EXPECT_FALSE(c::ZtIsEqualGuid(&c::IID_IUnknown, &c::IID_IClassFactory));
}

// Calls from C.

TEST(CHeader, CallsTheOperationsInTheirSlots)
{
    ExpectSlotCalls<SlotSpy<IUnknown>, IUnknown>(c_header_call_unknown, 0, 0);
    ExpectSlotCalls<ClassFactorySpy, IClassFactory>(c_header_call_class_factory, 5, 6);
    ExpectSlotCalls<EngineFactorySpy, IZtaAudioSamplesEngineFactory>(c_header_call_engine_factory, 5, 5);
    ExpectSlotCalls<EngineSpy, IZtaAudioSamplesEngine>(c_header_call_engine, 5, 15);
}

TEST(CHeader, NamesBothDestructors)
{
    ExpectDestructors<EngineSpy>(
        [](IZtaAudioSamplesEngine* engine, bool isDeleting) { c_header_destroy_engine(engine, isDeleting ? 1 : 0); });
}

// Calls from C++ to objects in C.

/// The pointer with the value slot * 10 + n.
template <class T>
T* Argument(int slot, int n)
{
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(slot * 10 + n));
}

/// Calls with the arguments that CheckArguments expects. The first refers to no object; only its address is checked.
[[gnu::no_sanitize("undefined")]] int CallQueryInterface(IUnknown& object)
{
    return object.QueryInterface(*Argument<const _GUID>(0, 1), Argument<void*>(0, 2));
}

TEST(CHeader, ImplementsABuffer)
{
    auto* object = static_cast<IZtAudioSamples*>(c_header_buffer());
    EXPECT_EQ(CallQueryInterface(*object), -100);
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
    EXPECT_EQ(CallQueryInterface(*object), -100);
    EXPECT_EQ(object->AddRef(), 101U);
    EXPECT_EQ(object->Release(), 102U);
    EXPECT_EQ(
        object->CreateAudioSamples(Argument<SZtCreateAudioSamplesDescription>(3, 1), Argument<IZtAudioSamples*>(3, 2)),
        -103);
}

} // namespace
} // namespace zta::test
