// Hosts that use a freedom of their interfaces that few hosts use, or break the contract of a buffer.

#include "component/exceptions.h"
#include "testing/engine_fixture.h"
#include "testing/misbehaving_buffer.h"
#include "testing/scenarios.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zta::test {
namespace {

using host::Float32;
using host::Pcm16;
using host::Pcm24In32;

/// What an unusual host raises.
struct HostException {};

RecordingBuffer& Recording(const host::Ref<host::AudioBuffer>& buffer)
{
    return static_cast<RecordingBuffer&>(*buffer);
}

class UnusualHost : public EngineTest {
protected:
    host::Ref<MisbehavingBuffer> MakeUnusual(const std::string& name, const SZtaWaveFormatInfo& format,
                                             std::size_t frames)
    {
        auto buffer = MisbehavingBuffer::Create(journal_, name, format, frames * host::BytesPerFrame(format));
        buffer->SetValidLength(buffer->Capacity());
        return buffer;
    }

    /// A byte copy that does not fit keeps the reference that its query hands out.
    static void ReleaseKeptReferences(RecordingBuffer& buffer)
    {
        while (buffer.References() > 1) {
            buffer.Release();
        }
    }

    /// Builds a scenario of buffers that `configure` has seen, by their names.
    Scenario MakeScenario(const ScenarioCase& row,
                          const std::function<void(const std::string& name, MisbehavingBuffer& buffer)>& configure)
    {
        Scenario scenario = row.make([&](const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes) {
            auto buffer = MisbehavingBuffer::Create(journal_, name, format, bytes);
            configure(name, *buffer);
            return host::Ref<host::AudioBuffer>::Adopt(buffer.Detach());
        });
        journal_.Clear();
        return scenario;
    }

    void ExpectScenarioAtRest(const Scenario& scenario)
    {
        for (const auto* buffers : {&scenario.inputs, &scenario.outputs}) {
            for (const auto& buffer : *buffers) {
                ExpectAtRest({&Recording(buffer)});
            }
        }
    }
};

/// The names of a scenario's buffers.
std::vector<std::string> Names(const ScenarioCase& row)
{
    std::vector<std::string> names;
    row.make([&](const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes) {
        names.push_back(name);
        return host::AudioBuffer::Create(format, bytes);
    });
    return names;
}

// ---- A query that succeeds without a pointer ----

TEST_F(UnusualHost, RaisesOneExceptionForAQueryWithoutAPointerInEveryOperation)
{
    int raised = 0;
    for (const ScenarioCase& row : Scenarios()) {
        if (row.status < 0) {
            continue;
        }
        for (const std::string& empty : Names(row)) {
            SCOPED_TRACE(row.name + ", " + empty);
            const Scenario scenario = MakeScenario(
                row, [&](const std::string& name, MisbehavingBuffer& buffer) { buffer.hasNoContent = name == empty; });
            std::string text = "none";
            try {
                RunAnnounced(scenario, *engine_);
            } catch (const CZtSmartPointerException& error) {
                text = error.GetMessage();
                ++raised;
            }
            EXPECT_EQ(text, "TZtSmartPtr::operator-> -> Internal pointer is NULL!");
            ExpectScenarioAtRest(scenario);
        }
    }
    EXPECT_GT(raised, 200);
}

// ---- The size field of a description ----

TEST_F(UnusualHost, ReceivesTheSizeOfTheRecordWithEveryRequestForADescription)
{
    for (const ScenarioCase& row : Scenarios()) {
        if (row.leaksReference) {
            continue;
        }
        SCOPED_TRACE(row.name);
        int requests = 0;
        const Scenario scenario = MakeScenario(row, [&](const std::string& /*name*/, MisbehavingBuffer& buffer) {
            buffer.returnedSize = 7;
            buffer.onDescription = [&](std::uint32_t size) {
                EXPECT_EQ(size, 40U);
                ++requests;
            };
        });
        EXPECT_EQ(RunAnnounced(scenario, *engine_), row.status);
        EXPECT_GT(requests, 0);
        ExpectScenarioAtRest(scenario);
    }
}

// ---- Samples without an address ----

TEST_F(UnusualHost, ReceivesTooSmallFromACopyOfAnInputWithoutAnAddressThatIsTooLong)
{
    auto source = MakeUnusual("source", Pcm16(1), 11);
    auto destination = MakeUnusual("destination", Pcm16(1), 10);
    source->hasNoAddress = true;
    EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(journal_.Count(ErrorCall("destination", ZT_E_DESTINATION_BUFFER_TOO_SMALL)), 2)
        << "by the byte copy and by the worker";
    EXPECT_EQ(destination->References(), 2) << "the reference of the byte copy stays";
    ReleaseKeptReferences(*destination);
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(UnusualHost, KeepsItsSamplesInACopyWithoutAnAddress)
{
    struct Row {
        bool source;      ///< has an address
        bool destination; ///< has one
        std::size_t frames;
        int status;
    };
    for (const Row& row : {Row{false, true, 10, 0}, Row{false, false, 10, 0}, Row{true, false, 0, 0},
                           Row{true, false, 10, ZT_E_DESTINATION_BUFFER_TOO_SMALL}}) {
        SCOPED_TRACE(std::to_string(row.source) + std::to_string(row.destination) + std::to_string(row.frames));
        auto source = MakeUnusual("source", Pcm16(1), 10);
        source->SetValidLength(row.frames * 2);
        source->hasNoAddress = !row.source;
        auto destination = MakeUnusual("destination", Pcm16(1), 10);
        Fill<std::int16_t>(*destination, {1, 2, 3});
        destination->hasNoAddress = !row.destination;
        EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), row.status);
        EXPECT_EQ(Samples<std::int16_t>(*destination, 3), (std::vector<std::int16_t>{1, 2, 3}));
        ReleaseKeptReferences(*destination);
        ExpectAtRest({source.Get(), destination.Get()});
    }
}

TEST_F(UnusualHost, HasTheOffsetsOfADuplicateComparedBeforeItsAddresses)
{
    struct Row {
        bool source;      ///< has an address
        bool destination; ///< has one
        unsigned long sourceOffset;
        unsigned long destinationOffset;
        unsigned long length;
        int code; ///< of the destination
    };
    for (const Row& row : {Row{false, true, 19, 0, 0, 0}, Row{true, false, 0, 19, 0, 0}, Row{false, false, 5, 7, 0, 0},
                           Row{false, true, 20, 0, 0, ZT_E_SOURCE_BUFFER_TOO_SMALL},
                           Row{true, false, 0, 20, 0, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
                           Row{false, true, 0, 11, 10, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
                           Row{false, true, 0, 0, 10, ZT_E_SOURCE_BUFFER_TOO_SMALL},
                           Row{true, false, 0, 0, 10, ZT_E_DESTINATION_BUFFER_TOO_SMALL}}) {
        SCOPED_TRACE(std::to_string(row.sourceOffset) + " " + std::to_string(row.destinationOffset) + " " +
                     std::to_string(row.length));
        auto source = MakeUnusual("source", Pcm16(1), 10);
        source->hasNoAddress = !row.source;
        auto destination = MakeUnusual("destination", Pcm16(1), 10);
        Fill<std::int16_t>(*destination, {1, 2, 3});
        destination->hasNoAddress = !row.destination;
        source->AnnounceRead();
        destination->AnnounceWrite();
        EXPECT_EQ(engine_->DuplicateAudioSamples(source.Get(), row.sourceOffset, destination.Get(),
                                                 row.destinationOffset, row.length),
                  0);
        EXPECT_EQ(destination->ErrorCode(), row.code);
        EXPECT_EQ(Samples<std::int16_t>(*destination, 3), (std::vector<std::int16_t>{1, 2, 3}));
        ExpectAtRest({source.Get(), destination.Get()});
    }
}

// ---- Capacities of a split ----

TEST_F(UnusualHost, MaySplitIntoAnOutputThatReportsTooLittleNextToAScratchBuffer)
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

TEST_F(UnusualHost, ReceivesThePositiveStatusOfTheWorkWhetherOrNotTheFadeFlagsAgree)
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

// ---- Exceptions ----

TEST_F(UnusualHost, FindsTheBusyFlagAsAfterAnyFailedCallIfASignalOfTheFailureRaises)
{
    for (const ScenarioCase& row : Scenarios()) {
        for (const auto& [code, busy] : {std::pair{ZT_E_FAIL, 0U}, {ZT_E_MODULE_BUSY, 1U}}) {
            SCOPED_TRACE(row.name);
            const Scenario scenario = MakeScenario(row, [](const std::string&, MisbehavingBuffer&) {});
            scenario.inputs.front()->AudioBuffer::SetErrorCode(code);
            SZtLayoutProbe::SetBusy(Object(), 1);
            journal_.hook = [](const std::string& entry) {
                if (entry.ends_with("Completion")) {
                    throw HostException();
                }
            };
            EXPECT_THROW(RunAnnounced(scenario, *engine_), HostException);
            journal_.hook = nullptr;
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), busy);
            SZtLayoutProbe::SetBusy(Object(), 0);
            ExpectScenarioAtRest(scenario);
        }
    }
}

TEST_F(UnusualHost, FindsTheEngineFreeIfAReleaseRaises)
{
    auto source = MakeUnusual("source", Pcm16(1), 10);
    auto destination = MakeUnusual("destination", Pcm16(1), 10);
    // The first reference that goes after the start mark is the engine's own, at the end of the work.
    journal_.hook = [&](const std::string& entry) {
        if (entry == "destination.MarkWriteStartTime") {
            source->onReleased = [&] {
                source->onReleased = nullptr;
                throw HostException();
            };
        }
    };
    EXPECT_THROW(engine_->CopyAudioSamples(source.Get(), destination.Get()), HostException);
    journal_.hook = nullptr;
    ExpectAtRest({source.Get(), destination.Get()});
    EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), 0);
}

// A worker that is called without its entry point has no operands.
TEST_F(UnusualHost, FindsTheEngineFreeIfAWorkerIsCalledWithoutOperands)
{
    using Worker = int (CZtaAudioSamplesEngine::*)();
    for (const Worker worker :
         {&CZtaAudioSamplesEngine::ProcessCopyConv, &CZtaAudioSamplesEngine::ProcessDuplicate,
          &CZtaAudioSamplesEngine::ProcessMonoToStereo, &CZtaAudioSamplesEngine::ProcessStereoToMono,
          &CZtaAudioSamplesEngine::ProcessMonoToMux, &CZtaAudioSamplesEngine::ProcessStereoToMux,
          &CZtaAudioSamplesEngine::ProcessMuxToMono, &CZtaAudioSamplesEngine::ProcessMuxToStereo,
          &CZtaAudioSamplesEngine::ProcessApplyVolume, &CZtaAudioSamplesEngine::ProcessResampling}) {
        SZtLayoutProbe::SetBusy(Object(), 1);
        EXPECT_THROW((Object().*worker)(), CZtSmartPointerException);
        ExpectAtRest({});
    }
}

TEST_F(UnusualHost, ReceivesTheExceptionOfAWorkerWithoutAnOutput)
{
    auto source = Make("source", Pcm16(1), 10);
    EXPECT_EQ(Object().SaveInfoCopyConv(source.Get(), nullptr), ZT_E_INVALID_PARAMETER);
    journal_.FailCallsTo("source.GetAudioSamplesDescription");
    EXPECT_THROW(Object().ProcessCopyConv(), CZtSmartPointerException);
    journal_.ClearFaults();
    ExpectAtRest({source.Get()});
}

} // namespace
} // namespace zta::test
