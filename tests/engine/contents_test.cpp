// What the operations read from and signal to their operands: error codes of inputs, and contents that are objects of
// their own. One path of each operation.

#include "testing/engine_fixture.h"
#include "testing/scenarios.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zta::test {
namespace {

using Bytes = std::vector<std::byte>;

constexpr int kToleratedCodes[] = {kZtSynchroStatusPlayedLate,     kZtSynchroStatusCancelledLate,
                                   kZtSynchroStatusRepeatedFrame,  kZtSynchroStatusInvalidBufferTime,
                                   kZtSynchroStatusDeviceNotReady, kZtSynchroStatusCancelled};

/// The neighbors of the tolerated codes, and codes of the engine.
constexpr int kOtherCodes[] = {kZtSynchroStatusPlayedLate - 1,
                               kZtSynchroStatusRepeatedFrame + 1,
                               kZtSynchroStatusInvalidBufferTime - 1,
                               kZtSynchroStatusDeviceNotReady + 1,
                               kZtSynchroStatusCancelled - 1,
                               kZtSynchroStatusCancelled + 1,
                               ZT_E_MODULE_BUSY,
                               ZT_E_INVALID_PARAMETER};

/// The first successful path of each operation.
std::vector<ScenarioCase> FirstPaths()
{
    std::vector<ScenarioCase> paths;
    for (const ScenarioCase& path : Scenarios()) {
        const bool isKnown =
            std::ranges::any_of(paths, [&](const ScenarioCase& other) { return other.operation == path.operation; });
        if (!isKnown && path.status == 0) {
            paths.push_back(path);
        }
    }
    return paths;
}

std::vector<Bytes> Contents(const Scenario& scenario)
{
    std::vector<Bytes> contents;
    for (const auto& output : scenario.outputs) {
        contents.emplace_back(output->Data(), output->Data() + output->Capacity());
    }
    return contents;
}

std::string Hexadecimal(int code)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned int>(code));
    return text;
}

bool IsCallOf(const std::string& call, const std::string& operation)
{
    return call.substr(call.find('.') + 1, operation.size()) == operation;
}

// ---- Error codes of inputs ----

class ErrorCodes : public EngineTest, public ::testing::WithParamInterface<ScenarioCase> {
protected:
    Scenario MakeScenario()
    {
        Scenario scenario = GetParam().Make([this](const std::string& name, const SZtaWaveFormatInfo& format,
                                                   std::size_t bytes) {
            return host::Ref<host::AudioBuffer>::Adopt(RecordingBuffer::Create(callLog_, name, format, bytes).Detach());
        });
        callLog_.Clear();
        return scenario;
    }

    /// The outputs of a run whose inputs have no error code.
    std::vector<Bytes> ExpectedContents()
    {
        const Scenario scenario = MakeScenario();
        EXPECT_EQ(RunAnnounced(scenario, *engine_), 0);
        return Contents(scenario);
    }

    /// The operation has run as on good inputs.
    void ExpectProcessed(const Scenario& scenario, int status, const std::vector<Bytes>& expected)
    {
        EXPECT_EQ(status, 0);
        EXPECT_EQ(Contents(scenario), expected);
        for (const std::string& call : callLog_.Calls()) {
            EXPECT_FALSE(IsCallOf(call, "SetErrorCode")) << call;
        }
        ExpectSignaled(scenario);
        for (const auto& input : scenario.inputs) {
            EXPECT_EQ(input->ReadCount(), 0);
        }
    }

    /// The operation has recorded the code on each output and not written it.
    void ExpectRecorded(const Scenario& scenario, int code, const std::vector<Bytes>& before)
    {
        EXPECT_EQ(Contents(scenario), before);
        for (const auto& output : scenario.outputs) {
            EXPECT_EQ(output->ErrorCode(), code);
        }
        ExpectSignaled(scenario);
    }

private:
    void ExpectSignaled(const Scenario& scenario)
    {
        for (const auto& output : scenario.outputs) {
            EXPECT_EQ(output->WriteCount(), 0);
            EXPECT_EQ(output->PairingViolations(), 0);
        }
        EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 0U);
        EXPECT_FALSE(SZtLayoutProbe::HoldsOperands(Object()));
    }
};

TEST_P(ErrorCodes, AreIgnoredOnEachInputIfTolerated)
{
    const std::vector<Bytes> expected = ExpectedContents();
    for (const int code : kToleratedCodes) {
        for (std::size_t i = 0; i < MakeScenario().inputs.size(); ++i) {
            SCOPED_TRACE(Hexadecimal(code) + " on input " + std::to_string(i));
            const Scenario scenario = MakeScenario();
            scenario.inputs[i]->AudioBuffer::SetErrorCode(code);
            const int status = RunAnnounced(scenario, *engine_);
            ExpectProcessed(scenario, status, expected);
            EXPECT_EQ(scenario.inputs[i]->ErrorCode(), code) << "the code stays on the input";
        }
    }
}

TEST_P(ErrorCodes, AreIgnoredIfPositive)
{
    const std::vector<Bytes> expected = ExpectedContents();
    const Scenario scenario = MakeScenario();
    for (const auto& input : scenario.inputs) {
        input->AudioBuffer::SetErrorCode(5);
    }
    const int status = RunAnnounced(scenario, *engine_);
    ExpectProcessed(scenario, status, expected);
}

TEST_P(ErrorCodes, EndTheOperationOnEachInputIfNotTolerated)
{
    for (const int code : kOtherCodes) {
        for (std::size_t i = 0; i < MakeScenario().inputs.size(); ++i) {
            SCOPED_TRACE(Hexadecimal(code) + " on input " + std::to_string(i));
            const Scenario scenario = MakeScenario();
            scenario.inputs[i]->AudioBuffer::SetErrorCode(code);
            const std::vector<Bytes> before = Contents(scenario);
            EXPECT_EQ(RunAnnounced(scenario, *engine_), code);
            ExpectRecorded(scenario, code, before);
            for (const std::string& call : callLog_.Calls()) {
                EXPECT_FALSE(IsCallOf(call, "MarkWriteStartTime")) << call;
            }
        }
    }
}

// Copy and duplicate read the code once more; the other operations do not use one that is recorded so late.
TEST_P(ErrorCodes, AreReadOnceMoreByTheWorkerOfCopyAndDuplicate)
{
    const bool isCopy = GetParam().operation == "Copy";
    const bool isUsed = isCopy || GetParam().operation == "Duplicate";
    const std::vector<Bytes> expected = ExpectedContents();
    const auto RunWithLateCode = [&](const Scenario& scenario, int code) {
        callLog_.hook = [&](const std::string& call) {
            if (IsCallOf(call, "MarkWriteStartTime")) {
                for (const auto& input : scenario.inputs) {
                    input->AudioBuffer::SetErrorCode(code);
                }
            }
        };
        const int status = RunAnnounced(scenario, *engine_);
        callLog_.hook = nullptr;
        return status;
    };
    for (const int code : kToleratedCodes) {
        SCOPED_TRACE(Hexadecimal(code));
        const Scenario scenario = MakeScenario();
        const int status = RunWithLateCode(scenario, code);
        ExpectProcessed(scenario, status, expected);
    }
    for (const int code : kOtherCodes) {
        SCOPED_TRACE(Hexadecimal(code));
        const Scenario scenario = MakeScenario();
        const std::vector<Bytes> before = Contents(scenario);
        const int status = RunWithLateCode(scenario, code);
        if (isUsed) {
            EXPECT_EQ(status, isCopy ? code : 0) << "a duplicate returns the status of its last signal";
            ExpectRecorded(scenario, code, before);
        } else {
            ExpectProcessed(scenario, status, expected);
        }
    }
}

// ---- Contents that are objects of their own ----

/// A buffer whose content is another object. The log has the calls of the content under the name of the buffer with
/// "Content" behind it. Both objects have one reference count and one state.
class BufferWithContent : public RecordingBuffer {
public:
    static host::Ref<host::AudioBuffer> Create(CallLog& log, const std::string& name, const SZtaWaveFormatInfo& format,
                                               std::size_t bytes)
    {
        return host::Ref<host::AudioBuffer>::Adopt(new BufferWithContent(log, name, format, bytes));
    }

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = RecordingBuffer::QueryInterface(riid, ppv);
        if (status >= 0 && std::memcmp(&riid, &IID_IZtAVContent, sizeof(riid)) == 0) {
            *ppv = static_cast<IZtAVContent*>(&content_);
        }
        return status;
    }

private:
    class Content : public IZtAVContent {
    public:
        Content(BufferWithContent& buffer, CallLog& log) : buffer_(buffer), log_(log) {}
        virtual ~Content() = default;

        int QueryInterface(const _GUID& riid, void** ppv) override { return buffer_.QueryInterface(riid, ppv); }
        unsigned long AddRef() override { return buffer_.AddRef(); }
        unsigned long Release() override { return buffer_.Release(); }
        int MarkWriteStartTime() override
        {
            Log("MarkWriteStartTime");
            return buffer_.AudioBuffer::MarkWriteStartTime();
        }
        int MarkWriteStopTime() override
        {
            Log("MarkWriteStopTime");
            return buffer_.AudioBuffer::MarkWriteStopTime();
        }
        int SignalReadCompletion() override
        {
            Log("SignalReadCompletion");
            return buffer_.AudioBuffer::SignalReadCompletion();
        }
        int SignalWriteCompletion() override
        {
            Log("SignalWriteCompletion");
            return buffer_.AudioBuffer::SignalWriteCompletion();
        }
        int SetErrorCode(int code) override
        {
            log_.Enter(ErrorCall(Name(), code));
            return buffer_.AudioBuffer::SetErrorCode(code);
        }
        int GetErrorCode(int* code) override
        {
            Log("GetErrorCode");
            return buffer_.AudioBuffer::GetErrorCode(code);
        }

    private:
        [[nodiscard]] std::string Name() const { return buffer_.Name() + "Content"; }
        void Log(const std::string& operation) { log_.Enter(Name() + "." + operation); }

        BufferWithContent& buffer_;
        CallLog& log_;
    };

    BufferWithContent(CallLog& log, const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes)
        : RecordingBuffer(log, name, format, bytes), content_(*this, log)
    {
    }

    Content content_;
};

class ContentObjects : public EngineTest, public ::testing::WithParamInterface<ScenarioCase> {
protected:
    Scenario MakeScenario()
    {
        Scenario scenario =
            GetParam().Make([this](const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes) {
                return BufferWithContent::Create(callLog_, name, format, bytes);
            });
        callLog_.Clear();
        return scenario;
    }

    /// The calls of operations that buffer and content both have, except references.
    Calls SharedCalls()
    {
        const std::set<std::string> shared = {"MarkWriteStartTime",    "MarkWriteStopTime", "SignalReadCompletion",
                                              "SignalWriteCompletion", "SetErrorCode",      "GetErrorCode"};
        Calls calls;
        for (const std::string& call : callLog_.Calls()) {
            const auto dot = call.find('.');
            if (shared.contains(call.substr(dot + 1, call.find('(') - dot - 1))) {
                calls.push_back(call);
            }
        }
        return calls;
    }

    void ExpectScenarioAtRest(const Scenario& scenario)
    {
        for (const auto* buffers : {&scenario.inputs, &scenario.outputs}) {
            for (const auto& buffer : *buffers) {
                ExpectAtRest({static_cast<const RecordingBuffer*>(buffer.Get())});
                EXPECT_EQ(buffer->ReadCount(), 0);
                EXPECT_EQ(buffer->WriteCount(), 0);
            }
        }
    }

    static std::string Name(const host::Ref<host::AudioBuffer>& buffer)
    {
        return static_cast<const RecordingBuffer&>(*buffer).Name();
    }

    /// The volume operation ends on the contents, every other one on the buffers.
    static bool EndsOnContents() { return GetParam().operation == "Volume"; }
};

/// The calls of each operation. An entry point uses the contents, a worker the buffers.
std::map<std::string, Calls> ExpectedCalls()
{
    const auto oneToOne = [](const std::string& input, const std::string& output) {
        return Calls{input + "Content.GetErrorCode", output + "Content.MarkWriteStartTime",
                     input + ".GetErrorCode",        input + ".SignalReadCompletion",
                     output + ".MarkWriteStopTime",  output + ".SignalWriteCompletion"};
    };
    return {
        {"Copy", oneToOne("source", "destination")},
        {"Duplicate", oneToOne("source", "destination")},
        {"Resample", oneToOne("input", "output")},
        {"Volume",
         {"inputContent.GetErrorCode", "outputContent.MarkWriteStartTime", "inputContent.SignalReadCompletion",
          "outputContent.MarkWriteStopTime", "outputContent.SignalWriteCompletion"}},
        {"MonoToStereo",
         {"leftContent.GetErrorCode", "rightContent.GetErrorCode", "stereoContent.MarkWriteStartTime",
          "left.SignalReadCompletion", "right.SignalReadCompletion", "stereo.MarkWriteStopTime",
          "stereo.SignalWriteCompletion"}},
        {"StereoToMono",
         {"stereoContent.GetErrorCode", "leftContent.MarkWriteStartTime", "rightContent.MarkWriteStartTime",
          "right.MarkWriteStartTime", "stereo.SignalReadCompletion", "right.MarkWriteStopTime",
          "right.SignalWriteCompletion", "left.SignalWriteCompletion"}},
        {"MonoToMux",
         {"plane0Content.GetErrorCode", "plane1Content.GetErrorCode", "plane2Content.GetErrorCode",
          "plane3Content.GetErrorCode", "muxContent.MarkWriteStartTime", "plane0.SignalReadCompletion",
          "plane1.SignalReadCompletion", "plane2.SignalReadCompletion", "plane3.SignalReadCompletion",
          "mux.MarkWriteStopTime", "mux.SignalWriteCompletion"}},
        {"StereoToMux",
         {"plane0Content.GetErrorCode", "plane1Content.GetErrorCode", "muxContent.MarkWriteStartTime",
          "plane0.SignalReadCompletion", "plane1.SignalReadCompletion", "mux.MarkWriteStopTime",
          "mux.SignalWriteCompletion"}},
        {"MuxToMono",
         {"muxContent.GetErrorCode", "plane0Content.MarkWriteStartTime", "plane1Content.MarkWriteStartTime",
          "plane2Content.MarkWriteStartTime", "plane3Content.MarkWriteStartTime", "mux.SignalReadCompletion",
          "plane0.MarkWriteStopTime", "plane0.SignalWriteCompletion", "plane1.MarkWriteStopTime",
          "plane1.SignalWriteCompletion", "plane2.MarkWriteStopTime", "plane2.SignalWriteCompletion",
          "plane3.MarkWriteStopTime", "plane3.SignalWriteCompletion"}},
        {"MuxToStereo",
         {"muxContent.GetErrorCode", "plane0Content.MarkWriteStartTime", "plane1Content.MarkWriteStartTime",
          "mux.SignalReadCompletion", "plane0.MarkWriteStopTime", "plane0.SignalWriteCompletion",
          "plane1.MarkWriteStopTime", "plane1.SignalWriteCompletion"}},
    };
}

TEST_P(ContentObjects, ReceiveTheCallsOfTheEntryPoint)
{
    const Scenario scenario = MakeScenario();
    EXPECT_EQ(RunAnnounced(scenario, *engine_), 0);
    EXPECT_EQ(SharedCalls(), ExpectedCalls().at(GetParam().operation));
    ExpectScenarioAtRest(scenario);
}

TEST_P(ContentObjects, ReceiveAllSignalsOfARejectedCall)
{
    const Scenario scenario = MakeScenario();
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(RunAnnounced(scenario, *engine_), ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 0);
    for (const std::string& call : SharedCalls()) {
        EXPECT_NE(call.find("Content."), std::string::npos) << call;
    }
    for (const auto& input : scenario.inputs) {
        EXPECT_EQ(callLog_.Count(Name(input) + "Content.SignalReadCompletion"), 1);
    }
    for (const auto& output : scenario.outputs) {
        EXPECT_EQ(callLog_.Count(ErrorCall(Name(output) + "Content", ZT_E_MODULE_BUSY)), 1);
        EXPECT_EQ(callLog_.Count(Name(output) + "Content.SignalWriteCompletion"), 1);
    }
    ExpectScenarioAtRest(scenario);
}

TEST_P(ContentObjects, ReceiveTheErrorCodeOfAWorkerOnlyFromTheVolumeOperation)
{
    const Scenario scenario = MakeScenario();
    // The worker's requests for the description of the first input fail, those of the entry point do not.
    callLog_.hook = [&](const std::string& call) {
        if (IsCallOf(call, "MarkWriteStartTime")) {
            callLog_.FailCallsTo(Name(scenario.inputs[0]) + ".GetAudioSamplesDescription");
        }
    };
    RunAnnounced(scenario, *engine_);
    callLog_.hook = nullptr;
    callLog_.ClearFaults();
    for (const auto& output : scenario.outputs) {
        const int code = output->ErrorCode();
        EXPECT_LT(code, 0);
        EXPECT_EQ(callLog_.Count(ErrorCall(Name(output) + "Content", code)), EndsOnContents() ? 1 : 0);
        EXPECT_EQ(callLog_.Count(ErrorCall(Name(output), code)), EndsOnContents() ? 0 : 1);
    }
    ExpectScenarioAtRest(scenario);
}

class ContentObject : public EngineTest {};

TEST_F(ContentObject, ReceivesTheErrorCodeOfAByteCopyThatDoesNotFit)
{
    auto source = BufferWithContent::Create(callLog_, "source", host::Pcm16(1), 22);
    auto destination = BufferWithContent::Create(callLog_, "destination", host::Pcm16(1), 20);
    source->SetValidLength(22);
    source->AnnounceRead();
    destination->AnnounceWrite();
    EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(callLog_.Count(ErrorCall("destinationContent", ZT_E_DESTINATION_BUFFER_TOO_SMALL)), 1)
        << "by the byte copy";
    EXPECT_EQ(callLog_.Count(ErrorCall("destination", ZT_E_DESTINATION_BUFFER_TOO_SMALL)), 1) << "by the worker";
    EXPECT_EQ(static_cast<const RecordingBuffer&>(*destination).References(), 2)
        << "the reference of the byte copy stays";
    destination->Release();
}

std::string OperationName(const ::testing::TestParamInfo<ScenarioCase>& info)
{
    return info.param.operation;
}

INSTANTIATE_TEST_SUITE_P(Operations, ErrorCodes, ::testing::ValuesIn(FirstPaths()), OperationName);
INSTANTIATE_TEST_SUITE_P(Operations, ContentObjects, ::testing::ValuesIn(FirstPaths()), OperationName);

TEST(FirstPathsOfOperations, CoverAllTen)
{
    EXPECT_EQ(FirstPaths().size(), 10U);
}

} // namespace
} // namespace zta::test
