/// Helpers of the tests under the real-time trap.
#pragma once

#include "host/host_engine.h"
#include "host/module.h"
#include "testing/buffer_policies.h"
#include "tests/realtime/realtime_trap.h"

#include <gtest/gtest.h>

namespace zta::test {

/// Runs an operation twice from the same state: in a child that may not enter the kernel, then here under the trap.
/// Returns its status. The function must only call the engine.
template <class Operation>
int RunRealtimeSafe(Operation operation)
{
    const int call = RunUnderSeccomp([](void* argument) { (*static_cast<Operation*>(argument))(); }, &operation);
    if (call != kSeccompUnavailable) {
        EXPECT_EQ(call, kNoSystemCall) << "the operation made this system call";
    }
    RealtimeTrap trap;
    const int status = operation();
    EXPECT_EQ(trap.Violations(), 0) << "first: " << trap.First();
    return status;
}

/// An engine on the reference host, created through the module's exports.
class RealtimeEngine : public testing::Test {
protected:
    /// Announces both accesses and copies under the trap.
    int Copy(host::AudioBuffer& source, host::AudioBuffer& destination)
    {
        source.AnnounceRead();
        destination.AnnounceWrite();
        return RunRealtimeSafe([&] { return engine_->CopyAudioSamples(&source, &destination); });
    }

    host::Module module_{ZTA_MODULE_PATH};
    host::Ref<host::HostEngine> host_ = host::HostEngine::Create();
    host::Ref<IZtaAudioSamplesEngine> engine_ = module_.CreateEngine(*host_.Get());
};

} // namespace zta::test
