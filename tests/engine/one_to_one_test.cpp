// What CopyAudioSamples, DuplicateAudioSamples, ApplyVolume and ProcessAudioResampler have in common: the checks of the
// entry point.

#include "testing/scenario_fixture.h"
#include "tests/engine/one_to_one_fixture.h"

#include <vector>

namespace zta::test {
namespace {

/// Buffers of the operation's first path, under the names of the fixture.
class OneToOne : public OneToOneTest, public ::testing::WithParamInterface<ScenarioCase> {
protected:
    void SetUp() override
    {
        OneToOneTest::SetUp();
        scenario_ = GetParam().Make();
        Build();
    }

    int Call(IZtAudioSamples* input, IZtAudioSamples* output) override
    {
        scenario_.call.inputs = {input};
        scenario_.call.outputs = {output};
        return scenario_.call.Run(*engine_);
    }

    void Build()
    {
        const BufferSetup& input = GetParam().inputs[0];
        const BufferSetup& output = GetParam().outputs[0];
        OneToOneTest::Build(input.format, output.format, input.frames, output.frames);
    }

    /// Runs a call whose entry point fails after `calls`. It makes no mark and does not touch the samples.
    void ExpectRejected(RecordingBuffer* input, int status, const Calls& calls)
    {
        const auto untouched = Bytes(*output_);
        EXPECT_EQ(Run(input, output_.Get()), status);
        EXPECT_EQ(callLog_.Calls(), calls);
        EXPECT_EQ(output_->ErrorCode(), status);
        EXPECT_EQ(output_->WriteStartMarks() + output_->WriteStopMarks(), 0);
        EXPECT_EQ(Bytes(*output_), untouched);
        ExpectBothAtRest();
    }

    Scenario scenario_;
};

std::vector<ScenarioCase> OneToOnePaths()
{
    std::vector<ScenarioCase> paths = FirstPaths();
    std::erase_if(paths, [](const ScenarioCase& path) { return path.inputs.size() + path.outputs.size() > 2; });
    return paths;
}

INSTANTIATE_TEST_SUITE_P(Operations, OneToOne, ::testing::ValuesIn(OneToOnePaths()), OperationOfPath());

// ---- Failures of the entry point, in the order of its checks ----

TEST_P(OneToOne, WithoutAnOutputSignalsNothing)
{
    for (RecordingBuffer* input : {input_.Get(), static_cast<RecordingBuffer*>(nullptr)}) {
        EXPECT_EQ(Run(input, nullptr), ZT_E_INVALID_POINTER);
        EXPECT_TRUE(callLog_.Calls().empty());
        ExpectBothAtRest();
    }
}

TEST_P(OneToOne, IntoAnOutputWithoutAContentSignalsNothing)
{
    callLog_.FailCallsTo("output.QueryInterface");
    for (RecordingBuffer* input : {input_.Get(), static_cast<RecordingBuffer*>(nullptr)}) {
        EXPECT_EQ(Run(input, output_.Get()), ZT_E_INVALID_PARAMETER) << "the output is checked first";
        EXPECT_EQ(callLog_.Calls(), Checks(1));
        ExpectBothAtRest();
    }
}

TEST_P(OneToOne, WithoutAnInputSignalsTheOutput)
{
    ExpectRejected(nullptr, ZT_E_INVALID_POINTER, Checks(1) + OutputEnding(ZT_E_INVALID_POINTER));
}

TEST_P(OneToOne, OfAnInputWithoutAContentReturnsTheQuerysCodeAndSignalsTheOutput)
{
    for (const int status : {E_NOINTERFACE, kInjectedFailure}) {
        Build();
        callLog_.FailCallsTo("input.QueryInterface", status);
        ExpectRejected(input_.Get(), status, Checks(2) + OutputEnding(status));
        callLog_.ClearFaults();
    }
}

TEST_P(OneToOne, PropagatesTheErrorCodeOfTheInput)
{
    input_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRejected(input_.Get(), ZT_E_FAIL, Checks(3) + Ending(ZT_E_FAIL));
    ExpectSignaledOnce();
    input_->host::AudioBuffer::SetErrorCode(kZtSynchroStatusCancelled);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(output_->ErrorCode(), ZT_E_FAIL) << "a success does not clear an old code";
}

TEST_P(OneToOne, WithABufferThatCannotBeDescribedIsRejected)
{
    const int status = GetParam().kind == OperationKind::Volume ? kInjectedFailure : ZT_E_INVALID_PARAMETER;
    for (const std::size_t calls : {4U, 5U}) {
        Build();
        callLog_.FailCallsTo(Checks(calls).back());
        ExpectRejected(input_.Get(), status, Checks(calls) + Ending(status));
        callLog_.ClearFaults();
        ExpectSignaledOnce();
    }
}

TEST_P(OneToOne, OnABusyEngineSignalsBothBuffers)
{
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), Checks() + Ending(ZT_E_MODULE_BUSY));
    SZtLayoutProbe::SetBusy(Object(), 0);
}

} // namespace
} // namespace zta::test
