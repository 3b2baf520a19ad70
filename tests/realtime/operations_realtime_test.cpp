// Every path of every operation under the real-time trap.

#include "testing/scenarios.h"
#include "tests/realtime/realtime_test_support.h"

#include <zta/status.h>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace {

using zta::host::BufferOperation;
using zta::host::Ref;
using zta::test::ClocklessBuffer;
using zta::test::MakeClockless;
using zta::test::RunRealtimeSafe;
using zta::test::Scenario;
using zta::test::ScenarioCase;

class OperationsRealtime : public zta::test::RealtimeEngine, public testing::WithParamInterface<ScenarioCase> {};

TEST_P(OperationsRealtime, NeitherAllocateNorLockNorEnterTheKernel)
{
    if (GetParam().leaksReference && !zta::test::RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer would report the reference that stays";
    }
    const Scenario scenario = GetParam().Make(zta::test::MakeClocklessBuffer);
    zta::test::Announce(scenario);
    const int status = RunRealtimeSafe([&] { return scenario.call.Run(*engine_); });
    EXPECT_EQ(status, GetParam().status) << module_.ErrorText(status);
}

INSTANTIATE_TEST_SUITE_P(Operations, OperationsRealtime, testing::ValuesIn(zta::test::Scenarios()),
                         [](const auto& parameter) { return parameter.param.name; });

/// A buffer of an unusual host under the trap.
using UnusualBuffer = zta::host::InstrumentedBuffer<zta::test::Misbehavior, ClocklessBuffer>;

class UnusualHostRealtime : public zta::test::RealtimeEngine {
protected:
    static Ref<UnusualBuffer> Make(const SZtaWaveFormatInfo& format)
    {
        return MakeClockless<UnusualBuffer>(format, 64);
    }

    /// Two buffers of which one, the source or the destination, has no address.
    struct Pair {
        explicit Pair(bool isSource) { (isSource ? source : destination)->hasNoAddress = true; }

        Ref<UnusualBuffer> source = Make(zta::host::Pcm16(1));
        Ref<UnusualBuffer> destination = Make(zta::host::Pcm16(1));
    };
};

TEST_F(UnusualHostRealtime, CopiesFromAndIntoBuffersWithoutAnAddress)
{
    for (const bool isSource : {true, false}) {
        const Pair buffers(isSource);
        EXPECT_EQ(Copy(*buffers.source, *buffers.destination), isSource ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        if (!isSource) {
            buffers.destination->Release(); // which a byte copy that does not fit keeps
        }
    }
}

TEST_F(UnusualHostRealtime, DuplicatesFromAndIntoBuffersWithoutAnAddress)
{
    for (const unsigned long length : {0UL, 10UL}) {
        for (const bool isSource : {true, false}) {
            const Pair buffers(isSource);
            IZtAudioSamples* const source = buffers.source.Get();
            IZtAudioSamples* const destination = buffers.destination.Get();
            buffers.source->AnnounceRead();
            buffers.destination->AnnounceWrite();
            RunRealtimeSafe([&] { return engine_->DuplicateAudioSamples(source, 0, destination, 0, length); });
            const int tooSmall = isSource ? ZT_E_SOURCE_BUFFER_TOO_SMALL : ZT_E_DESTINATION_BUFFER_TOO_SMALL;
            EXPECT_EQ(buffers.destination->ErrorCode(), length == 0 ? 0 : tooSmall);
        }
    }
}

TEST_F(UnusualHostRealtime, DeinterleavesNextToAScratchBufferIntoAnOutputThatReportsTooLittle)
{
    const auto stereo = Make(zta::host::Pcm24In32(2));
    const auto left = Make(zta::host::Float32(1));
    const auto right = Make(zta::host::Pcm24In32(1));
    right->reportedCapacity = right->Capacity() - 4;
    stereo->AnnounceRead();
    left->AnnounceWrite();
    right->AnnounceWrite();
    EXPECT_EQ(
        RunRealtimeSafe([&] { return engine_->CopyAudioSamplesStereoToMono(stereo.Get(), left.Get(), right.Get()); }),
        0);
}

TEST_F(UnusualHostRealtime, ReturnsAStatusAboveZero)
{
    const auto left = Make(zta::host::Pcm16(1));
    const auto right = Make(zta::host::Pcm16(1));
    const auto stereo = Make(zta::host::Pcm16(2));
    stereo->lengthStatus = 2;
    left->AnnounceRead();
    right->AnnounceRead();
    stereo->AnnounceWrite();
    EXPECT_EQ(
        RunRealtimeSafe([&] { return engine_->CopyAudioSamplesMonoToStereo(left.Get(), right.Get(), stereo.Get()); }),
        2);
}

struct Breach {
    const char* name;
    std::function<void()> act;
    const char* reported; ///< the first call that the trap reports
    int systemCall;       ///< result of the kernel's filter: kNoSystemCall if the violation needs no system call
};

class ViolationInAnOperation : public zta::test::RealtimeEngine, public testing::WithParamInterface<Breach> {};

/// Proves that the tests above can fail: each forbidden action is performed in an operation, and is detected.
TEST_P(ViolationInAnOperation, IsDetected)
{
    if (!zta::test::RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer watches the allocator itself";
    }
    const SZtaWaveFormatInfo format = zta::host::Pcm16(1);
    const auto source = MakeClockless(format, 64);
    const auto destination = MakeClockless<UnusualBuffer>(format, 64);
    destination->onCall = [](BufferOperation operation) {
        if (operation == BufferOperation::MarkWriteStartTime) {
            GetParam().act();
        }
    };
    source->AnnounceRead();
    destination->AnnounceWrite();
    auto operation = [&] { engine_->CopyAudioSamples(source.Get(), destination.Get()); };
    const int call = zta::test::RunUnderSeccomp(
        [](void* argument) { (*static_cast<decltype(operation)*>(argument))(); }, &operation);
    if (call != zta::test::kSeccompUnavailable) {
        EXPECT_EQ(call, GetParam().systemCall);
    }
    zta::test::RealtimeTrap trap;
    operation();
    EXPECT_GT(trap.Violations(), 0);
    EXPECT_STREQ(trap.First(), GetParam().reported);
}

std::mutex breachedLock;
std::condition_variable breachedCondition;
volatile char breachedByte = 0;

/// An allocation that the compiler cannot drop.
void Allocate()
{
    char* const memory = new char[100];
    asm volatile("" : : "g"(memory) : "memory"); // otherwise the compiler removes the allocation
    memory[0] = breachedByte;
    breachedByte = memory[0];
    delete[] memory;
}

INSTANTIATE_TEST_SUITE_P(Kinds, ViolationInAnOperation,
                         testing::Values(Breach{"Allocation", Allocate, "malloc", zta::test::kNoSystemCall},
                                         Breach{"Lock", [] { const std::lock_guard lock(breachedLock); },
                                                "pthread_mutex_lock", zta::test::kNoSystemCall},
                                         Breach{"Wait",
                                                [] {
                                                    std::unique_lock lock(breachedLock);
                                                    breachedCondition.wait_for(lock, std::chrono::microseconds(1));
                                                },
                                                "pthread_mutex_lock", SYS_futex},
                                         Breach{"File", [] { breachedByte = open("/nowhere/at/all", O_RDONLY) < 0; },
                                                "open", SYS_openat},
                                         Breach{"Sleep", [] { usleep(1); }, "usleep", SYS_clock_nanosleep}),
                         [](const auto& parameter) { return parameter.param.name; });

} // namespace
