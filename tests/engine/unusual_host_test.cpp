// Hosts that use a freedom of their interfaces that few hosts use, or break the contract of a buffer.

#include "component/exceptions.h"
#include "testing/log_recorder.h"
#include "testing/misbehaving_buffer.h"
#include "testing/scenario_fixture.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zta::test {
namespace {

/// The exception of an unusual host.
struct HostException {};

constexpr auto kRestart = static_cast<EZtAudioResamplerMode>(2);

constexpr const char* kEmptyPointerText = "TZtSmartPtr::operator-> -> Internal pointer is NULL!";

const std::vector<std::int16_t> kThreeSamples = {1, 2, 3};

/// Returns the text of the smart pointer's exception that a call throws, or "none".
template <class Call>
std::string ExceptionText(Call call)
{
    try {
        call();
    } catch (const CZtSmartPointerException& error) {
        return error.GetMessage();
    }
    return "none";
}

class UnusualHost : public ScenarioTest {
protected:
    host::Ref<MisbehavingBuffer> MakeUnusual(const std::string& name, const SZtaWaveFormatInfo& format,
                                             std::size_t frames)
    {
        auto buffer = MisbehavingBuffer::Create(callLog_, name, format, frames * host::BytesPerFrame(format));
        buffer->SetValidLength(buffer->Capacity());
        return buffer;
    }

    /// The names of a scenario's buffers.
    std::vector<std::string> Names(const ScenarioCase& test)
    {
        std::vector<std::string> names;
        MakeScenario(test, [&](const RecordingBuffer& buffer) { names.push_back(buffer.Name()); });
        return names;
    }
};

// ---- A query that succeeds without a pointer ----

TEST_F(UnusualHost, ReceivesOneExceptionForAQueryWithoutAPointerFromEveryOperation)
{
    int raised = 0;
    for (const ScenarioCase& test : Scenarios()) {
        if (test.status < 0) {
            continue;
        }
        for (const std::string& empty : Names(test)) {
            SCOPED_TRACE(test.name + ", " + empty);
            const Scenario scenario = MakeScenario<MisbehavingBuffer>(
                test, [&](MisbehavingBuffer& buffer) { buffer.hasNoContent = buffer.Name() == empty; });
            EXPECT_EQ(ExceptionText([&] { RunAnnounced(scenario, *engine_); }), kEmptyPointerText);
            ++raised;
            ExpectScenarioAtRest(scenario);
        }
    }
    EXPECT_GT(raised, 200);
}

// ---- The size field of a description ----

TEST_F(UnusualHost, ReceivesTheSizeOfTheRecordWithEveryRequestForADescription)
{
    for (const ScenarioCase& test : Scenarios()) {
        if (test.leaksReference) {
            continue;
        }
        SCOPED_TRACE(test.name);
        int requests = 0;
        const Scenario scenario = MakeScenario<MisbehavingBuffer>(test, [&](MisbehavingBuffer& buffer) {
            buffer.returnedSize = 7;
            buffer.onDescription = [&](std::uint32_t size) {
                EXPECT_EQ(size, 40U);
                ++requests;
            };
        });
        EXPECT_EQ(RunAnnounced(scenario, *engine_), test.status);
        EXPECT_GT(requests, 0);
        ExpectScenarioAtRest(scenario);
    }
}

// ---- Samples without an address ----

TEST_F(UnusualHost, KeepsItsSamplesInACopyWithoutAnAddress)
{
    struct Case {
        bool source;      ///< has an address
        bool destination; ///< has one
        std::size_t frames;
        int status;
    };
    constexpr int kTooSmall = ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    for (const Case& test : {Case{false, true, 10, 0}, Case{false, false, 10, 0}, Case{true, false, 0, 0},
                             Case{true, false, 10, kTooSmall}, Case{false, true, 11, kTooSmall}}) {
        SCOPED_TRACE(std::to_string(test.source) + std::to_string(test.destination) + std::to_string(test.frames));
        auto source = MakeUnusual("source", Pcm16(1), 11);
        source->SetValidLength(test.frames * 2);
        source->hasNoAddress = !test.source;
        auto destination = MakeUnusual("destination", Pcm16(1), 10);
        Fill(*destination, kThreeSamples);
        destination->hasNoAddress = !test.destination;
        callLog_.Clear();
        EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), test.status);
        EXPECT_EQ(Samples<std::int16_t>(*destination, 3), kThreeSamples);
        EXPECT_EQ(callLog_.Count(ErrorCall("destination", kTooSmall)), test.status < 0 ? 2 : 0)
            << "by the byte copy and by the worker";
        EXPECT_EQ(destination->References(), test.status < 0 ? 2 : 1) << "the reference of the byte copy stays";
        ReleaseKeptReferences(*destination);
        ExpectAtRest({source.Get(), destination.Get()});
    }
}

TEST_F(UnusualHost, HasTheOffsetsOfADuplicateCheckedBeforeItsAddresses)
{
    struct Case {
        bool source;      ///< has an address
        bool destination; ///< has one
        unsigned long sourceOffset;
        unsigned long destinationOffset;
        unsigned long length;
        int code; ///< of the destination
    };
    for (const Case& test : {Case{false, true, 19, 0, 0, 0}, Case{true, false, 0, 19, 0, 0},
                             Case{false, false, 5, 7, 0, 0}, Case{false, true, 20, 0, 0, ZT_E_SOURCE_BUFFER_TOO_SMALL},
                             Case{true, false, 0, 20, 0, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
                             Case{false, true, 0, 11, 10, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
                             Case{false, true, 0, 0, 10, ZT_E_SOURCE_BUFFER_TOO_SMALL},
                             Case{true, false, 0, 0, 10, ZT_E_DESTINATION_BUFFER_TOO_SMALL}}) {
        SCOPED_TRACE(std::to_string(test.sourceOffset) + " " + std::to_string(test.destinationOffset) + " " +
                     std::to_string(test.length));
        auto source = MakeUnusual("source", Pcm16(1), 10);
        source->hasNoAddress = !test.source;
        auto destination = MakeUnusual("destination", Pcm16(1), 10);
        Fill(*destination, kThreeSamples);
        destination->hasNoAddress = !test.destination;
        source->AnnounceRead();
        destination->AnnounceWrite();
        EXPECT_EQ(engine_->DuplicateAudioSamples(source.Get(), test.sourceOffset, destination.Get(),
                                                 test.destinationOffset, test.length),
                  0);
        EXPECT_EQ(destination->ErrorCode(), test.code);
        EXPECT_EQ(Samples<std::int16_t>(*destination, 3), kThreeSamples);
        ExpectAtRest({source.Get(), destination.Get()});
    }
}

// ---- Capacities of deinterleave outputs ----

TEST_F(UnusualHost, MayDeinterleaveIntoAnOutputThatReportsTooLittleNextToAScratchBuffer)
{
    for (const bool leftStaged : {true, false}) {
        SCOPED_TRACE(leftStaged);
        auto stereo = MakeUnusual("stereo", Pcm24In32(2), 2);
        Fill<std::int32_t>(*stereo, {0x10000000, 0x20000000, 0x30000000, 0x40000000});
        // The suggestion follows the left output: a float left is staged, and so is a 16-bit right.
        auto left = MakeUnusual("left", leftStaged ? Float32(1) : Pcm24In32(1), 2);
        auto right = MakeUnusual("right", leftStaged ? Pcm24In32(1) : Pcm16(1), 2);
        MisbehavingBuffer& direct = leftStaged ? *right : *left;
        direct.reportedCapacity = 4;
        EXPECT_EQ(engine_->CopyAudioSamplesStereoToMono(stereo.Get(), left.Get(), right.Get()), 0);
        EXPECT_EQ(Samples<std::int32_t>(direct, 2), leftStaged ? (std::vector<std::int32_t>{0x20000000, 0x40000000})
                                                               : (std::vector<std::int32_t>{0x10000000, 0x30000000}));
        EXPECT_EQ(direct.Length(), 8U);
        ExpectAtRest({stereo.Get(), left.Get(), right.Get()});
    }
}

// ---- Statuses above 0 ----

TEST_F(UnusualHost, ReceivesThePositiveStatusOfTheKernelWithEqualAndWithDifferentFadeFlags)
{
    for (const bool agree : {true, false}) {
        auto left = MakeUnusual("left", Pcm16(1), 300);
        auto right = MakeUnusual("right", Pcm16(1), 300);
        auto stereo = MakeUnusual("stereo", Pcm16(2), 300);
        left->SetFades(!agree, false);
        stereo->lengthStatus = 2;
        EXPECT_EQ(engine_->CopyAudioSamplesMonoToStereo(left.Get(), right.Get(), stereo.Get()), 2) << agree;
        ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
    }
}

TEST_F(UnusualHost, MayReturnPositiveStatusesFromEveryCall)
{
    for (const ScenarioCase& test : Scenarios()) {
        if (test.leaksReference) {
            continue;
        }
        SCOPED_TRACE(test.name);
        const Scenario scenario =
            MakeScenario<MisbehavingBuffer>(test, [](MisbehavingBuffer& buffer) { buffer.successStatus = 2; });
        // A duplicate returns the status of its last signal. The other operations return that of SetLength on an
        // output of the caller, unless a byte copy or a deinterleave kernel ignores it or a fade follows.
        const int status = RunAnnounced(scenario, *engine_);
        if (test.returnsSignalsStatus) {
            EXPECT_EQ(status, 2);
        } else if (test.status < 0) {
            EXPECT_EQ(status, test.status);
        } else {
            const bool direct = test.name.ends_with("Direct") || test.operation == "Resample";
            const bool isDeinterleave = test.operation == "MuxToMono" || test.operation == "MuxToStereo";
            EXPECT_TRUE(status == (isDeinterleave ? 0 : 2) || (!direct && status == 0)) << status;
        }
        ExpectScenarioAtRest(scenario);
    }
}

// ---- Statuses that the engine ignores ----

/// Operations, with their arguments, whose status has no effect. Without its polarity a buffer keeps its old one.
bool IsStatusIgnored(const std::string& operation)
{
    const std::set<std::string> ignored = {"MarkWriteStartTime",    "MarkWriteStopTime", "SignalReadCompletion",
                                           "SignalWriteCompletion", "GetErrorCode",      "SetFadeIn(0)",
                                           "SetFadeOut(0)"};
    return ignored.contains(operation) || operation.starts_with("SetPolarity(");
}

TEST_F(UnusualHost, MayReturnAnyStatusFromMarksSignalsPolarityAndClearedFlags)
{
    int failed = 0;
    for (const ScenarioCase& test : Scenarios()) {
        if (test.leaksReference) {
            continue;
        }
        const Scenario expected = MakeScenario(test);
        EXPECT_EQ(RunAnnounced(expected, *engine_), test.status);
        for (const std::string& call : std::set(callLog_.Calls().begin(), callLog_.Calls().end())) {
            const std::string operation = call.substr(call.find('.') + 1);
            if (!IsStatusIgnored(operation)) {
                continue;
            }
            SCOPED_TRACE(test.name + ", " + call);
            const Scenario scenario = MakeScenario(test);
            callLog_.FailCallsTo(call);
            const int status = RunAnnounced(scenario, *engine_);
            EXPECT_TRUE(callLog_.HasFailed());
            callLog_.ClearFaults();
            ++failed;
            const bool isReturned = test.returnsSignalsStatus && operation == "SignalWriteCompletion";
            EXPECT_EQ(status, isReturned ? kInjectedFailure : test.status);
            for (std::size_t i = 0; i < scenario.outputs.size(); ++i) {
                EXPECT_EQ(scenario.outputs[i]->ErrorCode(), expected.outputs[i]->ErrorCode());
            }
            ExpectScenarioAtRest(scenario);
        }
    }
    EXPECT_GT(failed, 500);
}

// ---- A query that fails and returns a pointer ----

TEST_F(UnusualHost, ReceivesItsReferenceBackFromAQueryThatFailsWithAPointer)
{
    for (const ScenarioCase& test : Scenarios()) {
        if (test.leaksReference || test.status < 0) {
            continue;
        }
        for (const std::string& failing : Names(test)) {
            SCOPED_TRACE(test.name + ", " + failing);
            const Scenario scenario = MakeScenario<MisbehavingBuffer>(test, [&](MisbehavingBuffer& buffer) {
                buffer.queryStatus = buffer.Name() == failing ? E_NOINTERFACE : 0;
            });
            int status = 0;
            const std::string text = ExceptionText([&] { status = RunAnnounced(scenario, *engine_); });
            if (test.throwsOn == failing + ".QueryInterface") {
                EXPECT_EQ(text, kEmptyPointerText);
            } else {
                // The query's code is that of an input outside of an array, and of the right output.
                const bool isOutput = failing == Recording(scenario.outputs[0]).Name();
                const bool isOfArray = failing.starts_with("plane");
                EXPECT_EQ(text, "none");
                EXPECT_EQ(status, isOutput || isOfArray ? ZT_E_INVALID_PARAMETER : E_NOINTERFACE);
            }
            ExpectScenarioAtRest(scenario);
        }
    }
}

// ---- Buffers without frames ----

TEST_F(UnusualHost, MayPassBuffersWithoutFrames)
{
    struct Case {
        SZtaWaveFormatInfo mono;
        SZtaWaveFormatInfo stereo;
        bool fade;
        int status; ///< of mono to stereo
    };
    for (const Case& test : {Case{Pcm16(1), Pcm16(2), false, 0}, Case{Pcm24In32(1), Pcm24In32(2), false, 0},
                             Case{Pcm24In24(1), Pcm24In24(2), false, 0},
                             Case{Pcm24In24(1), Pcm24In24(2), true, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED}}) {
        auto left = Make("left", test.mono, 0, 10);
        auto right = Make("right", test.mono, 0, 10);
        auto stereo = Make("stereo", test.stereo, 0, 10);
        left->SetFades(test.fade, false);
        right->SetFades(test.fade, false);
        EXPECT_EQ(engine_->CopyAudioSamplesMonoToStereo(left.Get(), right.Get(), stereo.Get()), test.status);
        // The error code of the first call is on the stereo buffer.
        EXPECT_EQ(engine_->CopyAudioSamplesStereoToMono(stereo.Get(), left.Get(), right.Get()), test.status);
        EXPECT_EQ(left->Length() + right->Length() + stereo->Length(), 0U);
        ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
    }
}

// ---- Exceptions ----

TEST_F(UnusualHost, FindsTheBusyFlagOfAnyFailedCallIfASignalOfTheFailureThrows)
{
    for (const ScenarioCase& test : Scenarios()) {
        for (const auto& [code, busy] : {std::pair{ZT_E_FAIL, 0U}, {ZT_E_MODULE_BUSY, 1U}}) {
            SCOPED_TRACE(test.name);
            const Scenario scenario = MakeScenario(test);
            scenario.inputs.front()->AudioBuffer::SetErrorCode(code);
            SZtLayoutProbe::SetBusy(Object(), 1);
            callLog_.hook = [](const std::string& entry) {
                if (entry.ends_with("Completion")) {
                    throw HostException();
                }
            };
            EXPECT_THROW(RunAnnounced(scenario, *engine_), HostException);
            callLog_.hook = nullptr;
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), busy);
            SZtLayoutProbe::SetBusy(Object(), 0);
            ExpectScenarioAtRest(scenario);
        }
    }
}

TEST_F(UnusualHost, FindsTheEngineFreeIfAReleaseThrows)
{
    auto source = MakeUnusual("source", Pcm16(1), 10);
    auto destination = MakeUnusual("destination", Pcm16(1), 10);
    // The first reference that is released after the start mark is the engine's own, at the end of the operation.
    OnCall("destination.MarkWriteStartTime", [&] {
        source->onReleased = [&] {
            source->onReleased = nullptr;
            throw HostException();
        };
    });
    EXPECT_THROW(engine_->CopyAudioSamples(source.Get(), destination.Get()), HostException);
    callLog_.hook = nullptr;
    ExpectAtRest({source.Get(), destination.Get()});
    EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), 0);
}

// ---- Workers called directly ----

using Worker = int (CZtaAudioSamplesEngine::*)();

TEST_F(UnusualHost, ReceivesTheExceptionOfAWorkerWithoutOperands)
{
    for (const Worker worker :
         {&CZtaAudioSamplesEngine::ProcessCopyConv, &CZtaAudioSamplesEngine::ProcessDuplicate,
          &CZtaAudioSamplesEngine::ProcessMonoToStereo, &CZtaAudioSamplesEngine::ProcessStereoToMono,
          &CZtaAudioSamplesEngine::ProcessMonoToMux, &CZtaAudioSamplesEngine::ProcessStereoToMux,
          &CZtaAudioSamplesEngine::ProcessMuxToMono, &CZtaAudioSamplesEngine::ProcessMuxToStereo,
          &CZtaAudioSamplesEngine::ProcessApplyVolume, &CZtaAudioSamplesEngine::ProcessResampling}) {
        SZtLayoutProbe::SetBusy(Object(), 1);
        EXPECT_EQ(ExceptionText([&] { (Object().*worker)(); }), kEmptyPointerText);
        ExpectAtRest({});
    }
}

// SaveInfo and GetInfo of the operations with single buffers: each missing operand, alone.
TEST_F(UnusualHost, ReceivesTheExceptionOfAWorkerWithAMissingOperand)
{
    struct Case {
        std::size_t operands;
        std::function<int(IZtAudioSamples**)> save;
        std::function<int(IZtAudioSamples**)> get;
        Worker worker;
        bool usesInput;
        bool usesOutput;
    };
    CZtaAudioSamplesEngine& engine = Object();
    unsigned long numbers[3] = {};
    EZtAudioResamplerMode mode{};
    IUnknown* state = nullptr;
    auto stream = Make("state", Pcm16(1), 1);
    IUnknown* const savedState = reinterpret_cast<IUnknown*>(stream.Get());
    const Case cases[] = {
        {2, [&](auto** b) { return engine.SaveInfoCopyConv(b[0], b[1]); },
         [&](auto** b) { return engine.GetInfoCopyConv(&b[0], &b[1]); }, &CZtaAudioSamplesEngine::ProcessCopyConv, true,
         true},
        {2, [&](auto** b) { return engine.SaveInfoDuplicate(b[0], 1, b[1], 2, 3); },
         [&](auto** b) { return engine.GetInfoDuplicate(&b[0], &numbers[0], &b[1], &numbers[1], &numbers[2]); },
         &CZtaAudioSamplesEngine::ProcessDuplicate, true, true},
        {2, [&](auto** b) { return engine.SaveInfoResampler(b[0], b[1], kRestart, savedState); },
         [&](auto** b) { return engine.GetInfoResampler(&b[0], &b[1], &mode, &state); },
         &CZtaAudioSamplesEngine::ProcessResampling, true, true},
        {3, [&](auto** b) { return engine.SaveInfoMonoToStereo(b[0], b[1], b[2]); },
         [&](auto** b) { return engine.GetInfoMonoToStereo(&b[0], &b[1], &b[2]); },
         &CZtaAudioSamplesEngine::ProcessMonoToStereo, false, true},
        {3, [&](auto** b) { return engine.SaveInfoStereoToMono(b[0], b[1], b[2]); },
         [&](auto** b) { return engine.GetInfoStereoToMono(&b[0], &b[1], &b[2]); },
         &CZtaAudioSamplesEngine::ProcessStereoToMono, true, false},
    };
    for (const Case& test : cases) {
        for (std::size_t missing = 0; missing < test.operands; ++missing) {
            SCOPED_TRACE(std::to_string(&test - cases) + ", operand " + std::to_string(missing));
            auto old = Make("old", Pcm16(1), 10);
            auto other = Make("other", Pcm16(1), 10);
            IZtAudioSamples* olds[] = {old.Get(), old.Get(), old.Get()};
            ASSERT_EQ(engine.SaveInfoMux(other.Get(), other.Get(), olds, 3, nullptr, 0), 0);
            ASSERT_EQ(test.save(olds), 0);
            // Slots of the operation are replaced, the others keep what they have.
            EXPECT_EQ(old->References(), 1 + static_cast<long>(test.operands == 2 ? 5 : 4));
            EXPECT_EQ(other->References(), 1 + (test.usesInput ? 0 : 1) + (test.usesOutput ? 0 : 1));

            host::Ref<RecordingBuffer> buffers[3];
            IZtAudioSamples* saved[3] = {};
            for (std::size_t i = 0; i < test.operands; ++i) {
                buffers[i] = Make("operand" + std::to_string(i), Pcm16(1), 10);
                saved[i] = i == missing ? nullptr : buffers[i].Get();
            }
            EXPECT_EQ(test.save(saved), ZT_E_INVALID_PARAMETER);
            IZtAudioSamples* loaded[3] = {};
            EXPECT_EQ(test.get(loaded), 0);
            for (std::size_t i = 0; i < test.operands; ++i) {
                EXPECT_EQ(loaded[i], saved[i]);
                EXPECT_EQ(buffers[i]->References(), i == missing ? 1 : 2) << i;
            }
            EXPECT_EQ(ExceptionText([&] { (engine.*test.worker)(); }), kEmptyPointerText);
            ExpectAtRest({old.Get(), other.Get(), buffers[0].Get(), buffers[1].Get()});
        }
    }
    EXPECT_EQ(std::vector<unsigned long>(numbers, numbers + 3), (std::vector<unsigned long>{1, 2, 3}));
    EXPECT_EQ(mode, kRestart);
    EXPECT_EQ(state, savedState);
    EXPECT_EQ(stream->References(), 1) << "the state object gets no reference";
}

TEST_F(UnusualHost, ReceivesTheInputsSignalFromAVolumeWorkerWithoutAnOutput)
{
    auto input = Make("input", Pcm16(1), 10);
    SZtAudioMonoVolumeInfo volume = {0, 1.0F, 1.0F};
    EXPECT_EQ(Object().SaveInfoApplyVolume(input.Get(), nullptr, &volume, 1), ZT_E_INVALID_POINTER);
    callLog_.FailCallsTo("input.GetAudioSamplesDescription");
    EXPECT_EQ(ExceptionText([&] { Object().ProcessApplyVolume(); }), kEmptyPointerText);
    callLog_.ClearFaults();
    EXPECT_EQ(callLog_.Count("input.SignalReadCompletion"), 1);
    ExpectAtRest({input.Get()});
}

struct MuxWorker {
    Worker worker;
    bool interleaves;
};

constexpr MuxWorker kMuxWorkers[] = {{&CZtaAudioSamplesEngine::ProcessMonoToMux, true},
                                     {&CZtaAudioSamplesEngine::ProcessStereoToMux, true},
                                     {&CZtaAudioSamplesEngine::ProcessMuxToMono, false},
                                     {&CZtaAudioSamplesEngine::ProcessMuxToStereo, false}};

TEST_F(UnusualHost, ReceivesEachSignalFromAMuxWorkerWithoutAllItsBuffers)
{
    struct Case {
        unsigned long count;
        bool misses; ///< the second buffer
        int status;
        int planeSignals;
    };
    for (const MuxWorker& test : kMuxWorkers) {
        for (const Case& buffers :
             {Case{65, false, ZT_E_ARRAY_TOO_SMALL, 64}, Case{100, false, ZT_E_ARRAY_TOO_SMALL, 64},
              Case{4, true, ZT_E_INVALID_POINTER, 3}, Case{0, false, ZT_E_INVALID_PARAMETER, 0}}) {
            SCOPED_TRACE(buffers.count);
            auto plane = Make("plane", Pcm16(1), 10);
            auto mux = Make("mux", Pcm16(4), 10);
            IZtAudioSamples* const input = test.interleaves ? nullptr : mux.Get();
            IZtAudioSamples* const output = test.interleaves ? mux.Get() : nullptr;
            std::vector<IZtAudioSamples*> planes(buffers.count, plane.Get());
            callLog_.Clear();
            ASSERT_EQ(Object().SaveInfoMux(input, output, planes.data(), buffers.count, nullptr, 0), 0);
            if (buffers.misses) {
                planes[1] = nullptr;
                ASSERT_EQ(Object().SaveInfoMux(input, output, planes.data(), buffers.count, nullptr, 0),
                          ZT_E_INVALID_PARAMETER);
            }
            EXPECT_EQ((Object().*test.worker)(), buffers.status);
            EXPECT_EQ(callLog_.Count("plane.SignalReadCompletion"), test.interleaves ? buffers.planeSignals : 0);
            EXPECT_EQ(callLog_.Count("plane.SignalWriteCompletion"), test.interleaves ? 0 : buffers.planeSignals);
            EXPECT_EQ(callLog_.Count("mux.SignalReadCompletion"), test.interleaves ? 0 : 1);
            EXPECT_EQ(callLog_.Count("mux.SignalWriteCompletion"), test.interleaves ? 1 : 0);
            ExpectAtRest({plane.Get(), mux.Get()});
        }
    }
}

// The entry point rejects such a count.
TEST_F(UnusualHost, ReceivesItsSignalsFromADeinterleaveWorkerWithTooManyVolumes)
{
    auto mux = Make("mux", Pcm16(2), 10);
    auto left = Make("left", Pcm16(1), 10);
    auto right = Make("right", Pcm16(1), 10);
    IZtAudioSamples* outputs[] = {left.Get(), right.Get()};
    std::vector<SZtAudioMonoVolumeInfo> volumes(65);
    ASSERT_EQ(Object().SaveInfoMux(mux.Get(), nullptr, outputs, 2, volumes.data(), volumes.size()), 0);
    callLog_.Clear();
    EXPECT_EQ(Object().ProcessMuxToMono(), ZT_E_ARRAY_TOO_SMALL);
    EXPECT_EQ(callLog_.Calls(),
              (Calls{"mux.SignalReadCompletion", ErrorCall("left", ZT_E_ARRAY_TOO_SMALL), "left.MarkWriteStopTime",
                     "left.SignalWriteCompletion", ErrorCall("right", ZT_E_ARRAY_TOO_SMALL), "right.MarkWriteStopTime",
                     "right.SignalWriteCompletion"}));
    ExpectAtRest({mux.Get(), left.Get(), right.Get()});
}

TEST_F(UnusualHost, KeepsItsFormatWithoutABufferOrWithAnotherFormat)
{
    SZtAudioSamplesDescription description = {};
    description.sWaveFormat = Pcm20In32(1);
    EXPECT_EQ(Object().Convert32BitAudioSampleFrom20To24(nullptr, &description), 0);
    EXPECT_EQ(description.sWaveFormat.ulValidBitsPerSample, 20U);
    auto buffer = Make("buffer", Pcm20In32(1), 10);
    for (const auto& [container, valid] : {std::pair{24U, 20U}, {32U, 19U}, {32U, 24U}}) {
        description.sWaveFormat.ulBitsPerSample = container;
        description.sWaveFormat.ulValidBitsPerSample = valid;
        EXPECT_EQ(Object().Convert32BitAudioSampleFrom20To24(buffer.Get(), &description), 0);
        EXPECT_EQ(description.sWaveFormat.ulValidBitsPerSample, valid);
    }
    EXPECT_TRUE(callLog_.Calls().empty());
}

TEST_F(UnusualHost, ReceivesNoMoreThan64BuffersAndVolumesFromGetInfo)
{
    auto plane = Make("plane", Pcm16(1), 10);
    std::vector<IZtAudioSamples*> planes(200, plane.Get());
    std::vector<SZtAudioMonoVolumeInfo> volumes(200, {7, 1.0F, 1.0F});
    ASSERT_EQ(Object().SaveInfoMux(nullptr, plane.Get(), planes.data(), 200, volumes.data(), 200), 0);

    const SZtAudioMonoVolumeInfo untouched = {99, 9.0F, 9.0F};
    std::vector<IZtAudioSamples*> loadedPlanes(200);
    IZtAudioSamples* input = nullptr;
    IZtAudioSamples* output = nullptr;
    unsigned long count = 200;
    for (const bool mux : {true, false}) {
        std::vector<SZtAudioMonoVolumeInfo> loaded(200, untouched);
        unsigned long volumeCount = 200;
        EXPECT_EQ(mux ? Object().GetInfoMux(&input, &output, loadedPlanes.data(), &count, loaded.data(), &volumeCount)
                      : Object().GetInfoApplyVolume(&input, &output, loaded.data(), &volumeCount),
                  0);
        EXPECT_EQ(volumeCount, 200U) << "the count that was saved";
        EXPECT_EQ(loaded[63].ulChannelRef, 7U);
        EXPECT_EQ(loaded[64].ulChannelRef, 99U);
    }
    EXPECT_EQ(count, 200U);
    EXPECT_EQ(loadedPlanes[63], plane.Get());
    EXPECT_EQ(loadedPlanes[64], nullptr);
    Object().ReleaseAllSavedInfo();
    ExpectAtRest({plane.Get()});
}

// ---- The order of log lines ----

TEST_F(UnusualHost, ReceivesTheLogLineBeforeTheCallsThatFollowTheFailure)
{
    LogRecorder::SetHook([this] { callLog_.Enter("log"); });
    const auto CallsFromLog = [&] {
        const Calls& calls = callLog_.Calls();
        return Calls(std::find(calls.begin(), calls.end(), "log"), calls.end());
    };
    const auto WriteEnd = [](const std::string& buffer) {
        return Calls{buffer + ".MarkWriteStopTime", buffer + ".SignalWriteCompletion"};
    };
    const int tooSmall = ZT_E_DESTINATION_BUFFER_TOO_SMALL;

    // The input does not fit the scratch buffer, or the fade is rejected on the destination itself.
    auto source = Make("source", Pcm24In32(1), 48001);
    source->SetFades(true, false);
    auto destination = Make("destination", Float32(1), 0, 48001);
    callLog_.Clear();
    EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), tooSmall);
    EXPECT_EQ(CallsFromLog(), (Calls{"log", "scratch0.SetFadeIn(1)", "scratch0.SetFadeOut(0)",
                                     ErrorCall("destination", tooSmall), "source.SignalReadCompletion"} +
                               WriteEnd("destination")));
    ReleaseKeptReferences(host_.Buffer("scratch0"));

    source = Make("source", Pcm16(4), 20);
    source->SetFades(true, false);
    destination = Make("destination", Pcm16(4), 20);
    callLog_.Clear();
    const int rejected = engine_->CopyAudioSamples(source.Get(), destination.Get());
    EXPECT_LT(rejected, 0);
    EXPECT_EQ(CallsFromLog(), (Calls{"log", "destination.SetFadeIn(0)", "destination.SetFadeOut(0)",
                                     ErrorCall("destination", rejected), "source.SignalReadCompletion"} +
                               WriteEnd("destination")));

    // The input cannot be staged; the scratch buffers of the outputs are labeled nevertheless.
    auto stereo = Make("stereo", Pcm24In32(2), 48001);
    auto left = Make("left", Pcm16(1), 0, 48001);
    auto right = Make("right", Pcm16(1), 0, 48001);
    for (const char* failing : {"", "scratch1.SetWaveFormat", "scratch2.SetWaveFormat"}) {
        SCOPED_TRACE(failing);
        stereo->AnnounceRead();
        left->AnnounceWrite();
        right->AnnounceWrite();
        callLog_.Clear();
        callLog_.FailCallsTo(failing);
        const int status = engine_->CopyAudioSamplesStereoToMono(stereo.Get(), left.Get(), right.Get());
        callLog_.ClearFaults();
        EXPECT_LT(status, 0);
        EXPECT_EQ(callLog_.Count("log"), 1);
        EXPECT_EQ(CallsFromLog(),
                  (Calls{"log", ErrorCall("left", status), ErrorCall("right", status), "stereo.SignalReadCompletion"} +
                   WriteEnd("right") + Calls{"left.SignalWriteCompletion"}));
    }
    LogRecorder::SetHook(nullptr);
    ExpectAtRest({source.Get(), destination.Get(), stereo.Get(), left.Get(), right.Get()});
}

// ---- Capacities of the pool ----

/// A host whose scratch buffer `big` is larger than requested. The others are as large, but report what was requested.
class UnequalHost : public RecordingHost {
public:
    UnequalHost(CallLog& callLog, int big) : RecordingHost(callLog), log_(callLog), big_(big) {}

    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override
    {
        const int index = static_cast<int>(pool_.size());
        auto buffer = MisbehavingBuffer::Create(log_, "scratch" + std::to_string(index), description->sWaveFormat,
                                                2 * description->ui64BufferSize);
        if (index != big_) {
            buffer->reportedCapacity = description->ui64BufferSize;
        }
        pool_.push_back(buffer.Get());
        *samples = buffer.Detach();
        return 0;
    }

    /// True if nothing was written to scratch buffer `index` beyond the capacity that it reports.
    [[nodiscard]] bool IsIntact(std::size_t index) const
    {
        const auto* data = pool_[index]->Data();
        return std::all_of(data + kScratchBytes, data + 2 * kScratchBytes,
                           [](std::byte byte) { return byte == std::byte(); });
    }

private:
    CallLog& log_;
    int big_;
    std::vector<MisbehavingBuffer*> pool_;
};

TEST_F(UnusualHost, FindsNothingWrittenBehindTheSmallerScratchBufferOfStereoResampling)
{
    for (const int big : {0, 1}) {
        SCOPED_TRACE(big);
        UnequalHost host(callLog_, big);
        const auto engine = CreateEngine(host);
        auto input = Make("input", Pcm16(2, 48000), 96001);
        std::fill_n(input->Data(), input->Length(), std::byte(0x55));
        auto output = Make("output", Pcm16(2, 44100), 0, 100000);
        const auto stream = MakeStream(Pcm16(2, 48000), Pcm16(2, 44100));
        EXPECT_EQ(engine->ProcessAudioResampler(input.Get(), output.Get(), kRestart, stream.Get()),
                  ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_TRUE(host.IsIntact(static_cast<std::size_t>(1 - big)));
        ExpectAtRest({input.Get(), output.Get()});
    }
}

// ---- A failing query that returns a pointer ----

TEST_F(UnusualHost, ReceivesTheSignalsOfAMuxBufferWhoseQueryFailsWithAPointer)
{
    std::vector<host::Ref<MisbehavingBuffer>> planes;
    std::vector<IZtAudioSamples*> pointers;
    for (const char* name : {"plane0", "plane1", "plane2", "plane3"}) {
        planes.push_back(MakeUnusual(name, Pcm16(1), 10));
        pointers.push_back(planes.back().Get());
    }
    planes[1]->queryStatus = E_NOINTERFACE;
    auto mux = Make("mux", Pcm16(4), 10);
    callLog_.Clear();
    EXPECT_EQ(engine_->CopyAudioSamplesMonoToMux(pointers.data(), 4, mux.Get(), nullptr, 0), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(engine_->CopyAudioSamplesMuxToMono(mux.Get(), pointers.data(), 4, nullptr, 0), ZT_E_INVALID_PARAMETER);
    for (const auto& plane : planes) {
        EXPECT_EQ(callLog_.Count(plane->Name() + ".SignalReadCompletion"), 1);
        EXPECT_EQ(callLog_.Count(plane->Name() + ".SignalWriteCompletion"), 1);
        ExpectAtRest({plane.Get(), mux.Get()});
    }
}

} // namespace
} // namespace zta::test
