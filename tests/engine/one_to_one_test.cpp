// What CopyAudioSamples, DuplicateAudioSamples, ApplyVolume and ProcessAudioResampler have in common: the entry point
// and the busy flag.

#include "tests/engine/one_to_one_fixture.h"

#include <algorithm>
#include <ostream>

namespace zta::test {
namespace {

/// An operation, with buffers that it accepts.
struct OneToOneOperation {
    const char* name;
    SZtaWaveFormatInfo input;
    SZtaWaveFormatInfo output;
    std::size_t outputFrames; ///< for 100 frames of input
    int (*call)(IZtaAudioSamplesEngine& engine, IZtAudioSamples* input, IZtAudioSamples* output, IUnknown* stream);
    int descriptionStatus;      ///< of a call with a buffer that cannot be described
    const char* callDuringWork; ///< a host call while the worker runs
};

void PrintTo(const OneToOneOperation& operation, std::ostream* out)
{
    *out << operation.name;
}

std::vector<OneToOneOperation> Operations()
{
    using Engine = IZtaAudioSamplesEngine;
    using Buffer = IZtAudioSamples*;
    return {
        {"Copy", Pcm16(1), Pcm24In32(1), 100,
         [](Engine& engine, Buffer input, Buffer output, IUnknown*) { return engine.CopyAudioSamples(input, output); },
         ZT_E_INVALID_PARAMETER, "output.SetLength(400)"},
        {"Duplicate", Pcm16(1), Pcm16(1), 100,
         [](Engine& engine, Buffer input, Buffer output, IUnknown*) {
             return engine.DuplicateAudioSamples(input, 0, output, 0, 200);
         },
         ZT_E_INVALID_PARAMETER, "output.GetBufferCapacity"},
        {"ApplyVolume", Pcm24In32(1), Pcm24In32(1), 100,
         [](Engine& engine, Buffer input, Buffer output, IUnknown*) {
             SZtAudioMonoVolumeInfo volume = {0, 0.5F, 1.0F};
             return engine.ApplyVolume(input, output, &volume, 1);
         },
         kInjectedFailure, "output.SetLength(400)"},
        {"Resample", Pcm16(1, 44100), Pcm16(1, 48000), 200,
         [](Engine& engine, Buffer input, Buffer output, IUnknown* stream) {
             return engine.ProcessAudioResampler(input, output, keZtAudioResamplerModeRestart, stream);
         },
         ZT_E_INVALID_PARAMETER, "output.SetLength(182)"}};
}

class OneToOne : public OneToOneTest, public ::testing::WithParamInterface<OneToOneOperation> {
protected:
    void SetUp() override
    {
        OneToOneTest::SetUp();
        SZtaWaveFormatInfo input = Pcm16(1, 44100);
        SZtaWaveFormatInfo output = Pcm16(1, 48000);
        IUnknown* stream = nullptr;
        ASSERT_EQ(engine_->CreateAudioResampler(&input, &output, &stream), 0);
        stream_ = host::Ref<IUnknown>::Adopt(stream);
        Build();
    }

    int Call(IZtAudioSamples* input, IZtAudioSamples* output) override
    {
        return GetParam().call(*engine_, input, output, stream_.Get());
    }

    /// New buffers; the samples of the input are not zero.
    void Build()
    {
        OneToOneTest::Build(GetParam().input, GetParam().output, 100, GetParam().outputFrames);
        std::fill_n(input_->Data(), input_->Length(), std::byte(0x15));
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

    host::Ref<IUnknown> stream_;
};

INSTANTIATE_TEST_SUITE_P(Operations, OneToOne, ::testing::ValuesIn(Operations()), ::testing::PrintToStringParamName());

// ---- Failures of the entry point, in the order of its checks ----

TEST_P(OneToOne, WithoutAnOutputSignalsNothing)
{
    EXPECT_EQ(Run(input_.Get(), nullptr), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
    EXPECT_EQ(Run(nullptr, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
    ExpectBothAtRest();
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
    for (const unsigned int code : {0xA306F001U, 0xA306F005U, 0xA306F00BU, 0xA306F00EU, 0xE306F001U, 0xA306F000U,
                                    static_cast<unsigned int>(ZT_E_FAIL)}) {
        const int status = static_cast<int>(code);
        Build();
        input_->host::AudioBuffer::SetErrorCode(status);
        ExpectRejected(input_.Get(), status, Checks(3) + Ending(status));
        ExpectSignaledOnce();
    }
    input_->host::AudioBuffer::SetErrorCode(kZtSynchroStatusCancelled);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(output_->ErrorCode(), ZT_E_FAIL) << "a success does not clear an old code";
}

TEST_P(OneToOne, OfALateOrDroppedInputOrOneWithAPositiveCodeIsLikeAnyOther)
{
    EXPECT_EQ(Run(), 0);
    const auto expected = Bytes(*output_);
    for (const unsigned int code : {0xA306F002U, 0xA306F003U, 0xA306F004U, 0xA306F00CU, 0xA306F00DU, 0xE306F000U, 7U}) {
        Build();
        input_->host::AudioBuffer::SetErrorCode(static_cast<int>(code));
        EXPECT_EQ(Run(), 0) << std::hex << code;
        EXPECT_EQ(Bytes(*output_), expected);
        EXPECT_EQ(output_->ErrorCode(), 0);
        ExpectBothAtRest();
    }
}

TEST_P(OneToOne, WithABufferThatCannotBeDescribedIsRejected)
{
    for (const std::size_t calls : {4U, 5U}) {
        Build();
        callLog_.FailCallsTo(Checks(calls).back());
        const int status = GetParam().descriptionStatus;
        ExpectRejected(input_.Get(), status, Checks(calls) + Ending(status));
        callLog_.ClearFaults();
        ExpectSignaledOnce();
    }
}

// ---- The busy flag ----

TEST_P(OneToOne, WhileTheEngineIsBusyFailsAndLeavesTheBusyFlag)
{
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), Checks() + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    EXPECT_EQ(output_->ErrorCode(), ZT_E_MODULE_BUSY);
    ExpectSignaledOnce();
    SZtLayoutProbe::SetBusy(Object(), 0);
    ExpectBothAtRest();
    EXPECT_EQ(Run(), 0);
}

TEST_P(OneToOne, OfAnInputWhoseCodeIsModuleBusyLeavesTheBusyFlag)
{
    input_->host::AudioBuffer::SetErrorCode(ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U) << "the failure ending depends on the value of the code only";
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_P(OneToOne, FromInsideAHostCallOfAnotherIsBusy)
{
    EXPECT_EQ(Run(), 0);
    const auto expected = Bytes(*output_);
    Build();
    auto input2 = Make("input2", GetParam().input, 100);
    auto output2 = Make("output2", GetParam().output, GetParam().outputFrames);
    int inner = 0;
    OnCall(GetParam().callDuringWork, [&] { inner = RunNested(input2.Get(), output2.Get()); });
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(inner, ZT_E_MODULE_BUSY);
    EXPECT_EQ(output2->ErrorCode(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(output2->WriteCount() + input2->ReadCount(), 0) << "a rejected call signals its buffers";
    EXPECT_EQ(Bytes(*output_), expected);
    ExpectAtRest({input_.Get(), output_.Get(), input2.Get(), output2.Get()});
}

TEST_P(OneToOne, ThatFailsItsChecksClearsTheBusyFlagOfARunningOne)
{
    auto bad = Make("bad", GetParam().output, 1);
    std::uint32_t during = 1;
    OnCall(GetParam().callDuringWork, [&] {
        EXPECT_EQ(RunNested(nullptr, bad.Get()), ZT_E_INVALID_POINTER);
        during = SZtLayoutProbe::Busy(Object());
    });
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(during, 0U);
}

TEST_P(OneToOne, CanBeStartedFromInsideTheWriteSignalOfAnother)
{
    auto next = Make("next", GetParam().output, GetParam().outputFrames);
    int inner = -1;
    OnCall("output.SignalWriteCompletion", [&] { inner = RunNested(input_.Get(), next.Get()); });
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(inner, 0);
    EXPECT_EQ(Bytes(*next), Bytes(*output_));
    ExpectAtRest({input_.Get(), output_.Get(), next.Get()});
}

TEST_P(OneToOne, HoldsTheBuffersWhileItWorksAndNotLonger)
{
    std::vector<long> during;
    bool heldAtSignal = true;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == GetParam().callDuringWork) {
            during = {input_->References(), output_->References()};
            EXPECT_TRUE(SZtLayoutProbe::HoldsOperands(Object()));
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
        }
        if (entry == "input.SignalReadCompletion") {
            heldAtSignal = SZtLayoutProbe::HoldsOperands(Object()) || SZtLayoutProbe::Busy(Object()) != 0;
            EXPECT_GE(input_->References(), 2) << "the worker's own references outlive the saved ones";
        }
    };
    EXPECT_EQ(Run(), 0);
    EXPECT_GE(during.at(0), 3);
    EXPECT_GE(during.at(1), 3);
    EXPECT_FALSE(heldAtSignal) << "the busy flag is clear and the operands are released before the first signal";
    ExpectBothAtRest();
}

} // namespace
} // namespace zta::test
