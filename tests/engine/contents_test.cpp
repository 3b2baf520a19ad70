// Contents that are objects of their own: an entry point uses the contents of its buffers, a worker the buffers.

#include "testing/scenario_fixture.h"

#include <set>
#include <string>

namespace zta::test {
namespace {

/// A buffer whose content is another object. The log has the calls of the content under the name of the buffer with
/// "Content" behind it. Both objects have one reference count and one state.
class BufferWithContent : public RecordingBuffer {
public:
    static host::Ref<BufferWithContent> Create(CallLog& log, const std::string& name, const SZtaWaveFormatInfo& format,
                                               std::size_t bytes)
    {
        return host::Ref<BufferWithContent>::Adopt(new BufferWithContent(log, name, format, bytes));
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
        int MarkWriteStartTime() override { return Logged("MarkWriteStartTime").AudioBuffer::MarkWriteStartTime(); }
        int MarkWriteStopTime() override { return Logged("MarkWriteStopTime").AudioBuffer::MarkWriteStopTime(); }
        int SignalReadCompletion() override
        {
            return Logged("SignalReadCompletion").AudioBuffer::SignalReadCompletion();
        }
        int SignalWriteCompletion() override
        {
            return Logged("SignalWriteCompletion").AudioBuffer::SignalWriteCompletion();
        }
        int SetErrorCode(int code) override
        {
            log_.Enter(ErrorCall(buffer_.Name() + "Content", code));
            return buffer_.AudioBuffer::SetErrorCode(code);
        }
        int GetErrorCode(int* code) override { return Logged("GetErrorCode").AudioBuffer::GetErrorCode(code); }

    private:
        host::AudioBuffer& Logged(const std::string& operation)
        {
            log_.Enter(buffer_.Name() + "Content." + operation);
            return buffer_;
        }

        BufferWithContent& buffer_;
        CallLog& log_;
    };

    BufferWithContent(CallLog& log, const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes)
        : RecordingBuffer(log, name, format, bytes), content_(*this, log)
    {
    }

    Content content_;
};

class ContentObjects : public ScenarioTest, public ::testing::WithParamInterface<ScenarioCase> {
protected:
    Scenario Make() { return MakeScenario<BufferWithContent>(GetParam()); }

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

    /// The volume operation ends on the contents, every other one on the buffers.
    static bool EndsOnContents() { return GetParam().kind == OperationKind::Volume; }
};

INSTANTIATE_TEST_SUITE_P(Operations, ContentObjects, ::testing::ValuesIn(FirstPaths()), OperationOfPath());

TEST_P(ContentObjects, ReceiveTheCallsOfTheEntryPoint)
{
    // Buffers that are their own contents receive the same calls.
    const Scenario plain = MakeScenario(GetParam());
    EXPECT_EQ(RunAnnounced(plain, *engine_), 0);
    Calls expected = SharedCalls();
    // The entry point reads the error code of each input and marks each output.
    const std::size_t entryCalls = plain.inputs.size() + plain.outputs.size();
    ASSERT_GT(expected.size(), entryCalls);
    for (std::size_t i = 0; i < (EndsOnContents() ? expected.size() : entryCalls); ++i) {
        expected[i].insert(expected[i].find('.'), "Content");
    }
    const Scenario scenario = Make();
    EXPECT_EQ(RunAnnounced(scenario, *engine_), 0);
    EXPECT_EQ(SharedCalls(), expected);
    ExpectSettled(scenario);
}

TEST_P(ContentObjects, ReceiveAllSignalsOfARejectedCall)
{
    const Scenario scenario = Make();
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(RunAnnounced(scenario, *engine_), ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 0);
    for (const std::string& call : SharedCalls()) {
        EXPECT_NE(call.find("Content."), std::string::npos) << call;
    }
    for (const auto& input : scenario.inputs) {
        EXPECT_EQ(callLog_.Count(Recording(input).Name() + "Content.SignalReadCompletion"), 1);
    }
    for (const auto& output : scenario.outputs) {
        const std::string content = Recording(output).Name() + "Content";
        EXPECT_EQ(callLog_.Count(ErrorCall(content, ZT_E_MODULE_BUSY)), 1);
        EXPECT_EQ(callLog_.Count(content + ".SignalWriteCompletion"), 1);
    }
    ExpectSettled(scenario);
}

TEST_P(ContentObjects, ReceiveTheErrorCodeOfAWorkerOnlyFromTheVolumeOperation)
{
    const Scenario scenario = Make();
    // The worker's requests for the description of the first input fail, those of the entry point do not.
    callLog_.hook = [&](const std::string& call) {
        if (call.find(".MarkWriteStartTime") != std::string::npos) {
            callLog_.FailCallsTo(Recording(scenario.inputs[0]).Name() + ".GetAudioSamplesDescription");
        }
    };
    RunAnnounced(scenario, *engine_);
    callLog_.hook = nullptr;
    callLog_.ClearFaults();
    for (const auto& output : scenario.outputs) {
        const std::string name = Recording(output).Name();
        const int code = output->ErrorCode();
        EXPECT_LT(code, 0);
        EXPECT_EQ(callLog_.Count(ErrorCall(name + "Content", code)), EndsOnContents() ? 1 : 0);
        EXPECT_EQ(callLog_.Count(ErrorCall(name, code)), EndsOnContents() ? 0 : 1);
    }
    ExpectSettled(scenario);
}

class ContentObject : public EngineTest {};

TEST_F(ContentObject, ReceivesTheErrorCodeOfAByteCopyThatDoesNotFit)
{
    constexpr int kTooSmall = ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    auto source = BufferWithContent::Create(callLog_, "source", host::Pcm16(1), 22);
    auto destination = BufferWithContent::Create(callLog_, "destination", host::Pcm16(1), 20);
    source->SetValidLength(22);
    source->AnnounceRead();
    destination->AnnounceWrite();
    EXPECT_EQ(engine_->CopyAudioSamples(source.Get(), destination.Get()), kTooSmall);
    EXPECT_EQ(callLog_.Count(ErrorCall("destinationContent", kTooSmall)), 1) << "by the byte copy";
    EXPECT_EQ(callLog_.Count(ErrorCall("destination", kTooSmall)), 1) << "by the worker";
    EXPECT_EQ(destination->References(), 2) << "the reference of the byte copy stays";
    destination->Release();
}

} // namespace
} // namespace zta::test
