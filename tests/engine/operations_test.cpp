// What all operations have in common: error codes of inputs, the busy flag, failed requests, references, relabeling.

#include "testing/scenario_fixture.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace zta::test {
namespace {

using Contents = std::vector<std::vector<std::byte>>;

/// Codes that are not failures.
constexpr int kToleratedCodes[] = {kZtSynchroStatusPlayedLate,
                                   kZtSynchroStatusCancelledLate,
                                   kZtSynchroStatusRepeatedFrame,
                                   kZtSynchroStatusInvalidBufferTime,
                                   kZtSynchroStatusDeviceNotReady,
                                   kZtSynchroStatusCancelled,
                                   5};

/// The neighbors of the tolerated codes, and codes of the engine.
constexpr int kOtherCodes[] = {kZtSynchroStatusPlayedLate - 1,
                               kZtSynchroStatusRepeatedFrame + 1,
                               kZtSynchroStatusInvalidBufferTime - 1,
                               kZtSynchroStatusDeviceNotReady + 1,
                               kZtSynchroStatusCancelled - 1,
                               kZtSynchroStatusCancelled + 1,
                               ZT_E_MODULE_BUSY,
                               ZT_E_INVALID_PARAMETER};

class Operations : public ScenarioTest, public ::testing::WithParamInterface<ScenarioCase> {
protected:
    /// Runs the operation on good buffers. Each test compares with that run.
    void SetUp() override
    {
        ScenarioTest::SetUp();
        const Scenario scenario = Make();
        EXPECT_EQ(RunAnnounced(scenario, *engine_), 0);
        outputs_ = OutputBytes(scenario);
        calls_ = callLog_.Calls();
    }

    Scenario Make() { return MakeScenario(GetParam()); }

    [[nodiscard]] Calls::const_iterator FirstCall(const std::string& part) const
    {
        return std::ranges::find_if(calls_,
                                    [&](const std::string& call) { return call.find(part) != std::string::npos; });
    }

    /// A host call while the worker processes samples.
    [[nodiscard]] std::string CallDuringWork() const
    {
        return *std::find_if(calls_.rbegin(), calls_.rend(), [](const std::string& call) {
            return call.find(".SetLength") != std::string::npos || call.find(".GetBuffer") != std::string::npos;
        });
    }

    /// Runs the operation, and `action` inside the first host call `call`.
    int RunWithin(const Scenario& scenario, const std::string& call, const std::function<void()>& action)
    {
        bool isReached = false;
        OnCall(call, [&] {
            if (!std::exchange(isReached, true)) {
                action();
            }
        });
        const int status = RunAnnounced(scenario, *engine_);
        callLog_.hook = nullptr;
        EXPECT_TRUE(isReached) << call;
        return status;
    }

    /// The operation has made the same calls as on good buffers, and its outputs are the same.
    void ExpectProcessed(const Scenario& scenario, int status)
    {
        EXPECT_EQ(status, 0);
        EXPECT_EQ(OutputBytes(scenario), outputs_);
        EXPECT_EQ(callLog_.Calls(), calls_);
        ExpectSettled(scenario);
    }

    /// The operation has ended with these outputs, and with this error code on each.
    void ExpectEnded(const Scenario& scenario, int code, const Contents& outputs)
    {
        EXPECT_EQ(OutputBytes(scenario), outputs);
        for (const auto& output : scenario.outputs) {
            EXPECT_EQ(output->ErrorCode(), code);
        }
        ExpectSettled(scenario);
    }

    /// The entry point has recorded the code on each output, without a mark, and left its samples.
    void ExpectRejected(const Scenario& scenario, int code, const Contents& before)
    {
        ExpectEnded(scenario, code, before);
        for (const auto& output : scenario.outputs) {
            EXPECT_EQ(output->WriteStartMarks() + output->WriteStopMarks(), 0);
        }
    }

    Contents outputs_;
    Calls calls_;
};

INSTANTIATE_TEST_SUITE_P(Each, Operations, ::testing::ValuesIn(FirstPaths()), OperationOfPath());

TEST(FirstPathsOfOperations, CoverAllTen)
{
    EXPECT_EQ(FirstPaths().size(), 10U);
}

// ---- Error codes of inputs ----

TEST_P(Operations, IgnoreToleratedAndPositiveCodesOfEachInput)
{
    for (const int code : kToleratedCodes) {
        for (std::size_t i = 0; i < GetParam().inputs.size(); ++i) {
            SCOPED_TRACE(ErrorCall("input " + std::to_string(i), code));
            const Scenario scenario = Make();
            scenario.inputs[i]->AudioBuffer::SetErrorCode(code);
            const int status = RunAnnounced(scenario, *engine_);
            ExpectProcessed(scenario, status);
            EXPECT_EQ(scenario.inputs[i]->ErrorCode(), code) << "the code stays on the input";
        }
    }
}

TEST_P(Operations, FailWithAnyOtherCodeOfEachInputAndClearTheBusyFlag)
{
    for (const int code : kOtherCodes) {
        for (std::size_t i = 0; i < GetParam().inputs.size(); ++i) {
            SCOPED_TRACE(ErrorCall("input " + std::to_string(i), code));
            const Scenario scenario = Make();
            scenario.inputs[i]->AudioBuffer::SetErrorCode(code);
            const Contents before = OutputBytes(scenario);
            SZtLayoutProbe::SetBusy(Object(), 1);
            EXPECT_EQ(RunAnnounced(scenario, *engine_), code);
            if (GetParam().kind == OperationKind::MonoToStereo && i == 0) {
                scenario.inputs[1]->AudioBuffer::SignalReadCompletion(); // not reached: it has no signal yet
            }
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), code == ZT_E_MODULE_BUSY ? 1U : 0U)
                << "the failure ending depends on the value of the code only";
            SZtLayoutProbe::SetBusy(Object(), 0);
            ExpectRejected(scenario, code, before);
        }
    }
}

// Copy and duplicate read the code once more; the other operations do not use one that is recorded so late.
TEST_P(Operations, UseALateCodeInTheWorkerOfCopyAndDuplicate)
{
    const bool isCopy = GetParam().kind == OperationKind::Copy;
    const bool isUsed = isCopy || GetParam().kind == OperationKind::Duplicate;
    const auto RunWithLateCode = [&](const Scenario& scenario, int code) {
        return RunWithin(scenario, *FirstCall(".MarkWriteStartTime"), [&] {
            for (const auto& input : scenario.inputs) {
                input->AudioBuffer::SetErrorCode(code);
            }
        });
    };
    for (const int code : kToleratedCodes) {
        SCOPED_TRACE(ErrorCall("late", code));
        const Scenario scenario = Make();
        const int status = RunWithLateCode(scenario, code);
        ExpectProcessed(scenario, status);
    }
    for (const int code : kOtherCodes) {
        SCOPED_TRACE(ErrorCall("late", code));
        const Scenario scenario = Make();
        const Contents before = OutputBytes(scenario);
        const int status = RunWithLateCode(scenario, code);
        if (isUsed) {
            EXPECT_EQ(status, isCopy ? code : 0) << "a duplicate returns the status of its last signal";
            ExpectEnded(scenario, code, before);
        } else {
            ExpectProcessed(scenario, status);
        }
    }
}

// ---- The busy flag ----

TEST_P(Operations, OnABusyEngineFailAfterTheirChecksAndLeaveTheBusyFlag)
{
    const Scenario scenario = Make();
    const Contents before = OutputBytes(scenario);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(RunAnnounced(scenario, *engine_), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    SZtLayoutProbe::SetBusy(Object(), 0);
    ExpectRejected(scenario, ZT_E_MODULE_BUSY, before);
    const auto [checked, rejected] = std::ranges::mismatch(calls_, callLog_.Calls());
    EXPECT_EQ(checked, FirstCall(".MarkWriteStartTime")) << "all checks";
    const Scenario next = Make();
    const int status = RunAnnounced(next, *engine_);
    ExpectProcessed(next, status);
}

TEST_P(Operations, FromInsideAHostCallOfAnotherAreBusy)
{
    for (const bool sharesBuffers : {true, false}) {
        SCOPED_TRACE(sharesBuffers);
        const Scenario scenario = Make();
        const Scenario other = Make();
        const Contents before = OutputBytes(other);
        const Scenario& nested = sharesBuffers ? scenario : other;
        int status = 0;
        EXPECT_EQ(RunWithin(scenario, CallDuringWork(),
                            [&] {
                                status = RunAnnounced(nested, *engine_);
                                EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
                            }),
                  0);
        EXPECT_EQ(status, ZT_E_MODULE_BUSY);
        ExpectEnded(nested, ZT_E_MODULE_BUSY, sharesBuffers ? outputs_ : before);
        ExpectEnded(scenario, sharesBuffers ? ZT_E_MODULE_BUSY : 0, outputs_);
    }
}

TEST_P(Operations, CanBeStartedFromInsideAnySignalOfAnother)
{
    for (const std::string& call : calls_) {
        if (call.find(".Signal") == std::string::npos) {
            continue;
        }
        SCOPED_TRACE(call);
        const Scenario scenario = Make();
        const Scenario next = Make();
        int status = -1;
        EXPECT_EQ(RunWithin(scenario, call, [&] { status = RunAnnounced(next, *engine_); }), 0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(callLog_.Calls().size(), 2 * calls_.size());
        ExpectEnded(scenario, 0, outputs_);
        ExpectEnded(next, 0, outputs_);
    }
}

// ---- Failures in the worker ----

bool IsOfEnding(const std::string& call)
{
    return std::ranges::any_of(std::vector<std::string>{".SetErrorCode", ".Signal", ".MarkWriteStop"},
                               [&](const std::string& part) { return call.find(part) != std::string::npos; });
}

class WorkersThatEnd : public Operations {};

/// Not the others: hosts observe further calls, in Volume for the fade flags, in StereoToMux for the rest of the array.
std::vector<ScenarioCase> PathsThatEnd()
{
    std::vector<ScenarioCase> paths = FirstPaths();
    std::erase_if(paths, [](const ScenarioCase& path) {
        return path.kind == OperationKind::Volume || path.kind == OperationKind::StereoToMux;
    });
    return paths;
}

INSTANTIATE_TEST_SUITE_P(Each, WorkersThatEnd, ::testing::ValuesIn(PathsThatEnd()), OperationOfPath());

/// The status by which an operation hides that of some requests: in kernels, for the buffers of an array; in the worker
/// of the resampler, for all.
int HidingStatus(OperationKind kind)
{
    return IsInterleave(kind) || IsDeinterleave(kind) ? ZT_E_INVALID_PARAMETER
           : kind == OperationKind::Resample          ? ZT_E_FORMAT_NOT_SUPPORTED
                                                      : kInjectedFailure;
}

TEST_P(WorkersThatEnd, EndAtARequestForADescriptionThatFails)
{
    int failed = 0;
    for (auto call = FirstCall(".MarkWriteStart"); call != calls_.end(); ++call) {
        if (call->find(".GetAudioSamplesDescription") == std::string::npos) {
            continue;
        }
        SCOPED_TRACE(*call);
        const Scenario scenario = Make();
        const auto upToFailure = call - calls_.begin() + 1;
        callLog_.FailCall(static_cast<int>(upToFailure));
        RunAnnounced(scenario, *engine_);
        callLog_.ClearFaults();
        for (const auto& output : scenario.outputs) {
            const int code = output->ErrorCode();
            EXPECT_TRUE(code == kInjectedFailure || code == HidingStatus(GetParam().kind)) << code;
        }
        const Calls made = callLog_.Calls();
        EXPECT_TRUE(std::all_of(made.begin() + upToFailure, made.end(), IsOfEnding)) << ::testing::PrintToString(made);
        ExpectSettled(scenario);
        ++failed;
    }
    EXPECT_GE(failed, 2);
}

// ---- References ----

TEST_P(Operations, HoldTheirOperandsWhileTheyWorkAndTheBuffersUntilTheyHaveEnded)
{
    const Scenario scenario = Make();
    // The creator's reference, the saved one, and those of the entry point and of the worker. An entry point of a mux
    // operation keeps none on the inputs of an array, and a worker none on the array.
    const auto ExpectHeld = [&](bool saved) {
        for (const RecordingBuffer* buffer : BuffersOf(scenario)) {
            const bool isOfArray = buffer->Name().starts_with("plane");
            const long held = !isOfArray ? 4 : IsInterleave(GetParam().kind) ? 2 : 3;
            EXPECT_GE(buffer->References(), saved ? held : held - 1) << buffer->Name();
        }
        EXPECT_EQ(SZtLayoutProbe::HoldsOperands(Object()), saved);
        EXPECT_EQ(SZtLayoutProbe::Busy(Object()), saved ? 1U : 0U);
    };
    int observed = 0;
    callLog_.hook = [&](const std::string& call) {
        if (call == CallDuringWork() || call == *FirstCall(".Signal")) {
            ++observed;
            SCOPED_TRACE(call);
            ExpectHeld(call == CallDuringWork());
        }
    };
    const int status = RunAnnounced(scenario, *engine_);
    callLog_.hook = nullptr;
    ExpectProcessed(scenario, status);
    EXPECT_EQ(observed, 2);
}

// ---- Relabeling ----

std::uint32_t ValidBits(const host::AudioBuffer& buffer)
{
    return buffer.Description().sWaveFormat.ulValidBitsPerSample;
}

class Relabeling : public ScenarioTest {};

TEST_F(Relabeling, OfTwentyBitsChangesEachBufferOnceAndReportsAFailure)
{
    int paths = 0;
    for (const ScenarioCase& test : Scenarios()) {
        if (!test.name.ends_with("Relabeled")) {
            continue;
        }
        SCOPED_TRACE(test.name);
        ++paths;
        const Scenario scenario = MakeScenario(test);
        EXPECT_EQ(RunAnnounced(scenario, *engine_), 0);
        for (const RecordingBuffer* buffer : BuffersOf(scenario)) {
            EXPECT_EQ(ValidBits(*buffer), 24U) << buffer->Name();
            EXPECT_EQ(callLog_.Count(buffer->Name() + ".SetWaveFormat"), 1) << buffer->Name();
        }
        ExpectSettled(scenario);
        for (const RecordingBuffer* failing : BuffersOf(scenario)) {
            SCOPED_TRACE(failing->Name());
            const Scenario other = MakeScenario(test);
            callLog_.FailCallsTo(failing->Name() + ".SetWaveFormat");
            // An input of an array may keep its format: the kernels read 20 bits as 24.
            const bool isIgnored = IsInterleave(test.kind) && failing->Name() != "mux";
            EXPECT_EQ(RunAnnounced(other, *engine_), isIgnored ? 0 : kInjectedFailure);
            callLog_.ClearFaults();
            for (const RecordingBuffer* buffer : BuffersOf(other)) {
                EXPECT_TRUE(!isIgnored || ValidBits(*buffer) == (buffer->Name() == failing->Name() ? 20 : 24));
            }
            ExpectSettled(other);
        }
    }
    EXPECT_EQ(paths, 8);
}

} // namespace
} // namespace zta::test
