// Objects of the module's interfaces that recognize in which slot, and with which arguments, they are called.
#pragma once

#include "tests/contract/slots.h"

#include <zta/zta.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <new>
#include <type_traits>
#include <typeinfo>

namespace zta::test {

using Statuses = std::array<long, SLOTS_MAX>;

/// Checks the arguments of the operation in one slot: the n-th is slot * 10 + n, as a number or as a pointer.
/// Returns the status code that identifies the slot.
template <class... Arguments>
int CheckArguments(int slot, Arguments... arguments)
{
    int n = 0;
    const auto expect = [&n, slot](auto argument) {
        const auto expected = static_cast<unsigned long>(slot * 10 + ++n);
        if constexpr (std::is_pointer_v<decltype(argument)>) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(argument), expected) << "slot " << slot << ", argument " << n;
        } else {
            EXPECT_EQ(static_cast<unsigned long>(argument), expected) << "slot " << slot << ", argument " << n;
        }
    };
    (expect(arguments), ...);
    return -100 - slot;
}

/// Implements slots 0 to 2 of an interface.
template <class Interface>
class SlotSpy : public Interface {
public:
    int QueryInterface(const _GUID& riid, void** ppv) override { return CheckArguments(0, &riid, ppv); }
    unsigned long AddRef() override { return 101; }
    unsigned long Release() override { return 102; }
};

/// The results of the slots: those of CheckArguments for slot 0 and for `first` to `last`, and two reference counts.
inline Statuses ExpectedStatuses(int first, int last)
{
    Statuses statuses{};
    statuses[0] = -100;
    statuses[1] = 101;
    statuses[2] = 102;
    for (int slot = first; slot <= last; ++slot) {
        statuses[static_cast<std::size_t>(slot)] = -100 - slot;
    }
    return statuses;
}

/// Checks that `call` calls each operation of an interface in its slot, beyond IUnknown those from `first` to `last`.
template <class Spy, class Interface>
void ExpectSlotCalls(void (*call)(void* object, long* statuses), int first, int last)
{
    Spy object;
    Statuses statuses{};
    call(static_cast<Interface*>(&object), statuses.data());
    EXPECT_EQ(statuses, ExpectedStatuses(first, last)) << typeid(Interface).name();
}

/// Counts destructions and deallocations.
template <class Base>
struct Destroyed : Base {
    template <class... Arguments>
    explicit Destroyed(int& count, const Arguments&... arguments) : Base(arguments...), destroyed(count)
    {
    }
    ~Destroyed() override { ++destroyed; }

    static void* operator new(std::size_t, void* memory) { return memory; }
    static void operator delete(void*, void*) {}
    static void operator delete(void*) { ++freed; }

    int& destroyed;
    static inline int freed = 0;
};

/// Checks that `destroy(object, false)` destroys an object and that `destroy(object, true)` also frees its memory.
template <class Base, class Destroy, class... Arguments>
void ExpectDestructors(Destroy destroy, const Arguments&... arguments)
{
    using Object = Destroyed<Base>;
    Object::freed = 0;
    int destroyed = 0;
    alignas(Object) unsigned char memory[sizeof(Object)];
    for (const bool isDeleting : {false, true}) {
        destroy(static_cast<Base*>(new (memory) Object(destroyed, arguments...)), isDeleting);
        EXPECT_EQ(destroyed, isDeleting ? 2 : 1) << typeid(Base).name();
        EXPECT_EQ(Object::freed, isDeleting ? 1 : 0) << typeid(Base).name();
    }
}

struct ClassFactorySpy : SlotSpy<IClassFactory> {
    int CreateInstance(IUnknown* outer, const _GUID& riid, void** ppv) override
    {
        return CheckArguments(5, outer, &riid, ppv);
    }
    int LockServer(int lock) override { return CheckArguments(6, lock); }
};

struct EngineFactorySpy : SlotSpy<IZtaAudioSamplesEngineFactory> {
    int CreateAudioSamplesEngine(IZtQuonEnginePrivate* host, unsigned long reserved,
                                 IZtaAudioSamplesEngine** engine) override
    {
        return CheckArguments(5, host, reserved, engine);
    }
};

struct EngineSpy : SlotSpy<IZtaAudioSamplesEngine> {
    using Samples = IZtAudioSamples*;
    using Volumes = SZtAudioMonoVolumeInfo*;
    using Count = unsigned long;

    int CopyAudioSamples(Samples a, Samples b) override { return CheckArguments(5, a, b); }
    int CopyAudioSamplesMonoToStereo(Samples a, Samples b, Samples c) override { return CheckArguments(6, a, b, c); }
    int CopyAudioSamplesStereoToMono(Samples a, Samples b, Samples c) override { return CheckArguments(7, a, b, c); }
    int DuplicateAudioSamples(Samples a, Count b, Samples c, Count d, Count e) override
    {
        return CheckArguments(8, a, b, c, d, e);
    }
    int CopyAudioSamplesMonoToMux(Samples* a, Count b, Samples c, Volumes d, Count e) override
    {
        return CheckArguments(9, a, b, c, d, e);
    }
    int CopyAudioSamplesStereoToMux(Samples* a, Count b, Samples c, Volumes d, Count e) override
    {
        return CheckArguments(10, a, b, c, d, e);
    }
    int CopyAudioSamplesMuxToMono(Samples a, Samples* b, Count c, Volumes d, Count e) override
    {
        return CheckArguments(11, a, b, c, d, e);
    }
    int CopyAudioSamplesMuxToStereo(Samples a, Samples* b, Count c, Volumes d, Count e) override
    {
        return CheckArguments(12, a, b, c, d, e);
    }
    int ApplyVolume(Samples a, Samples b, Volumes c, Count d) override { return CheckArguments(13, a, b, c, d); }
    int CreateAudioResampler(SZtaWaveFormatInfo* a, SZtaWaveFormatInfo* b, IUnknown** c) override
    {
        return CheckArguments(14, a, b, c);
    }
    int ProcessAudioResampler(Samples a, Samples b, EZtAudioResamplerMode c, IUnknown* d) override
    {
        return CheckArguments(15, a, b, static_cast<unsigned long>(c), d);
    }
};

} // namespace zta::test
