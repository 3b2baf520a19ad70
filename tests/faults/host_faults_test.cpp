#include "testing/misbehaving_buffer.h"
#include "testing/scenario_fixture.h"
#include "tests/faults/injections.h"

#include <cstdio>

namespace zta::test {
namespace {

using Bytes = std::vector<std::byte>;

/// The exception of a host call.
struct HostException {};

class HostFaults : public ScenarioTest, public ::testing::WithParamInterface<ScenarioCase> {
protected:
    /// A byte copy that does not fit keeps the reference of its query. Finds these queries in the call log
    /// and releases their references.
    void ReleaseKeptReferences(const Scenario& scenario)
    {
        std::vector<RecordingBuffer*> buffers = BuffersOf(scenario);
        buffers.insert(buffers.end(), host_.Buffers().begin(), host_.Buffers().end());
        const Calls& calls = callLog_.Calls();
        for (RecordingBuffer* buffer : buffers) {
            const std::string query = buffer->Name() + ".QueryInterface";
            const std::string record = ErrorCall(buffer->Name(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
            for (std::size_t i = 0; i + 1 < calls.size(); ++i) {
                if (calls[i] == query && calls[i + 1] == record && buffer->References() > 1) {
                    buffer->Release();
                }
            }
        }
        callLog_.Clear();
    }

    /// Makes the operation without a fault. Returns its outputs.
    std::vector<Bytes> RunWithoutFault()
    {
        const Scenario scenario = MakeScenario(GetParam());
        EXPECT_EQ(RunAnnounced(scenario, *engine_), GetParam().status);
        auto bytes = OutputBytes(scenario);
        ReleaseKeptReferences(scenario);
        return bytes;
    }

    /// Each access was signaled once, or at most once.
    void CheckSignals(const Scenario& scenario, bool maySkipSignals)
    {
        const auto check = [&](const host::Ref<host::AudioBuffer>& buffer, const char* signal) {
            const std::string& name = Recording(buffer).Name();
            const int signals = callLog_.Count(name + "." + signal);
            EXPECT_LE(signals, 1) << name;
            EXPECT_TRUE(signals == 1 || maySkipSignals) << name;
        };
        for (const auto& input : scenario.inputs) {
            check(input, "SignalReadCompletion");
        }
        for (const auto& output : scenario.outputs) {
            check(output, "SignalWriteCompletion");
        }
    }

    /// The engine is at rest after a fault, and performs the next operation exactly.
    void ExpectRecovery(const Scenario& scenario, const std::vector<Bytes>& expected)
    {
        ReleaseKeptReferences(scenario);
        ExpectScenarioAtRest(scenario);
        EXPECT_EQ(RunWithoutFault(), expected);
    }

    void Inject(int n, bool persistent, const std::vector<Bytes>& expected)
    {
        const ScenarioCase& test = GetParam();
        const Scenario scenario = MakeScenario(test);
        callLog_.FailCall(n, persistent);
        int status = 0;
        bool thrown = false;
        try {
            status = RunAnnounced(scenario, *engine_);
        } catch (const CZtSmartPointerException&) {
            thrown = true;
        }
        injected_ = callLog_.HasFailed();
        callLog_.ClearFaults();
        const Calls calls = callLog_.Calls();
        if (!injected_) {
            EXPECT_EQ(status, test.status);
        }
        const std::string failed = injected_ ? calls[static_cast<std::size_t>(n) - 1] : "";
        SCOPED_TRACE("call " + std::to_string(n) + (persistent ? " and after: " : ": ") + failed);

        EXPECT_EQ(thrown, !persistent && !test.throwsOn.empty() && failed == test.throwsOn);

        // A buffer whose query fails in the entry point gets no signal; every other buffer gets exactly one.
        const bool queryFailed = failed.ends_with(".QueryInterface") || (persistent && injected_);
        CheckSignals(scenario, queryFailed);
        for (const auto& output : scenario.outputs) {
            const std::string& name = Recording(output).Name();
            if (status < 0 && !test.returnsSignalsStatus && callLog_.Count(name + ".SignalWriteCompletion") == 1) {
                EXPECT_GE(callLog_.Count(ErrorCall(name, status)), 1) << name;
            }
        }
        ExpectRecovery(scenario, expected);
    }

    /// Makes call number `n` of the host raise an exception, counted from 1. With `atReferences`, only the calls of
    /// AddRef on buffers of the caller count. Returns false if there were fewer calls.
    bool InjectException(int n, bool atReferences, const std::vector<Bytes>& expected)
    {
        int calls = 0;
        const auto raise = [&] {
            if (++calls == n) {
                throw HostException();
            }
        };
        std::vector<MisbehavingBuffer*> buffers;
        const Scenario scenario =
            MakeScenario<MisbehavingBuffer>(GetParam(), [&](MisbehavingBuffer& buffer) { buffers.push_back(&buffer); });
        if (atReferences) {
            for (MisbehavingBuffer* buffer : buffers) {
                buffer->onCall = [&](host::BufferOperation operation) {
                    if (operation == host::BufferOperation::AddRef) {
                        raise();
                    }
                };
            }
        } else {
            callLog_.hook = [&](const std::string& /*entry*/) { raise(); };
        }
        bool raised = false;
        try {
            RunAnnounced(scenario, *engine_);
        } catch (const HostException&) {
            raised = true;
        }
        callLog_.hook = nullptr;
        for (MisbehavingBuffer* buffer : buffers) {
            buffer->onCall = nullptr;
        }
        SCOPED_TRACE((atReferences ? "reference " : "call ") + std::to_string(n) +
                     (callLog_.Calls().empty() ? "" : ", last call " + callLog_.Calls().back()));
        EXPECT_EQ(raised, calls >= n);

        CheckSignals(scenario, raised);
        ExpectRecovery(scenario, expected);
        return raised;
    }

    bool injected_ = false;
};

TEST_P(HostFaults, AtAnyCallLeaveEverythingBalanced)
{
    const std::vector<Bytes> expected = RunWithoutFault();

    int injections = 0;
    for (const bool persistent : {false, true}) {
        int n = 1;
        do {
            Inject(n++, persistent, expected);
            injections += injected_ ? 1 : 0;
            ASSERT_LT(n, 10000) << "the operation does not end";
        } while (injected_);
    }
    hostFailuresInjected += injections;
    std::printf("%d failures injected\n", injections);
    EXPECT_GT(injections, 10);
}

// Host interfaces return status codes. If a call raises an exception nevertheless, the engine is free afterwards.
TEST_P(HostFaults, ThatAreExceptionsLeaveTheEngineFreeAndHoldNothing)
{
    const std::vector<Bytes> expected = RunWithoutFault();

    for (const bool atReferences : {false, true}) {
        int n = 1;
        while (InjectException(n, atReferences, expected)) {
            ASSERT_LT(++n, 10000) << "the operation does not end";
        }
        hostExceptionsInjected += n - 1;
        EXPECT_GT(n, atReferences ? 2 : 5);
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, HostFaults, ::testing::ValuesIn(Scenarios()),
                         [](const auto& parameter) { return parameter.param.name; });

} // namespace
} // namespace zta::test
