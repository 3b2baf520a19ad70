/// Helpers of the tests under the real-time trap.
#pragma once

#include "host/audio_buffer.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "host/module.h"
#include "testing/realtime_trap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>

namespace zta::test {

/// A buffer whose marks do not read the clock: on some machines that is a system call, of the host.
class ClocklessBuffer : public host::AudioBuffer {
public:
    [[nodiscard]] static host::Ref<ClocklessBuffer> Create(const SZtaWaveFormatInfo& format, std::size_t frames)
    {
        auto buffer = host::Ref<ClocklessBuffer>::Adopt(new ClocklessBuffer(format, frames));
        buffer->SetValidLength(buffer->Capacity());
        return buffer;
    }

    int MarkWriteStartTime() override { return ++marks_, 0; }
    int MarkWriteStopTime() override { return ++marks_, 0; }

    /// Write start and stop marks together.
    [[nodiscard]] int Marks() const { return marks_; }

protected:
    ClocklessBuffer(const SZtaWaveFormatInfo& format, std::size_t frames)
        : AudioBuffer(format, frames * host::BytesPerFrame(format))
    {
    }

private:
    int marks_ = 0;
};

/// Runs an operation twice from the same state: in a child that may not enter the kernel, then here under the trap. The
/// function must only call the engine; checks follow later.
template <class Operation>
void ExpectRealtimeSafe(Operation operation)
{
    const int call = RunUnderSeccomp([](void* argument) { (*static_cast<Operation*>(argument))(); }, &operation);
    if (call != kSeccompUnavailable) {
        EXPECT_EQ(call, kNoSystemCall) << "the operation made this system call";
    }
    RealtimeTrap trap;
    operation();
    EXPECT_EQ(trap.Violations(), 0) << "first: " << trap.First();
}

/// An engine on the reference host, created through the module's exports.
class RealtimeEngine : public testing::Test {
protected:
    host::Module module_{ZTA_MODULE_PATH};
    host::Ref<host::HostEngine> host_ = host::HostEngine::Create();
    host::Ref<IZtaAudioSamplesEngine> engine_ = module_.CreateEngine(*host_.Get());
};

} // namespace zta::test
