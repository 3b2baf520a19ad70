// What is particular to CopyAudioSamplesMonoToMux and CopyAudioSamplesStereoToMux: see mux_test.cpp.

#include "tests/engine/mux_operation_fixture.h"

namespace zta::test {
namespace {

class MuxInterleaveTest : public MuxOperationTest {
protected:
    using MuxOperationTest::MuxOperationTest;

    // ---- The calls of the worker on input `i` ----

    static Calls Described(std::size_t i) { return {Name("b", i) + ".GetAudioSamplesDescription"}; }

    static Calls Copied(std::size_t i, std::size_t bytes)
    {
        return Described(i) + CopyToScratch(Name("b", i), Name("convert", i), bytes);
    }

    static Calls Converted(std::size_t i, std::size_t bytes)
    {
        return Described(i) + ConvertToScratch(Name("b", i), Name("convert", i), bytes);
    }

    static Calls RejectedConversion(std::size_t i)
    {
        return Described(i) + Calls{Name("convert", i) + ".SetWaveFormat"} + BufferQuery(Name("b", i)) +
               BufferQuery(Name("convert", i));
    }

    static Calls Faded(std::size_t i, std::size_t bytes, int fadeIn, int fadeOut)
    {
        return CopyToScratch(Name("convert", i), Name("fade", i), bytes) + Flags(Name("fade", i), fadeIn, fadeOut) +
               BufferQuery(Name("fade", i));
    }

    // ---- The calls of an operation on `count` inputs ----

    /// If the worker fails after `calls`.
    [[nodiscard]] Calls Failed(std::size_t count, const Calls& calls, int status) const
    {
        return Entry(count) + WorkerStart() + calls + WorkerEnd(count, status);
    }

    /// From the start until the kernel queries the mux, with the flags that the mux receives.
    [[nodiscard]] Calls UntilKernel(std::size_t count, const Calls& staging, const Calls& kernelInputs,
                                    unsigned int polarity = 0, int fadeIn = 0, int fadeOut = 0) const
    {
        return Entry(count) + WorkerStart() + staging + Polarity("mux", polarity) + Flags("mux", fadeIn, fadeOut) +
               kernelInputs + BufferQuery("mux");
    }

    /// If all inputs pass through the conversion buffers, each after the calls that `stage(i)` lists.
    template <class Stage>
    [[nodiscard]] Calls Succeeded(std::size_t count, Stage stage, const Calls& output, unsigned int polarity = 0) const
    {
        return UntilKernel(count, ForEach(count, stage), QueryCalls("convert", count), polarity) + output +
               WorkerEnd(count);
    }
};

/// The tests of both operations, on mono and on stereo buffers.
class MuxInterleave : public MuxInterleaveTest, public ::testing::WithParamInterface<OperationKind> {
protected:
    MuxInterleave() : MuxInterleaveTest(GetParam()) {}

    /// The bytes of one input in a container of 32 bits.
    [[nodiscard]] std::size_t Bytes32(std::size_t frames) const { return frames * 4 * ChannelsPerBuffer(); }

    void SetFadesOfAll(bool fadeIn, bool fadeOut)
    {
        for (const auto& buffer : array_) {
            buffer->SetFades(fadeIn, fadeOut);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Operations, MuxInterleave,
                         ::testing::Values(OperationKind::MonoToMux, OperationKind::StereoToMux),
                         ::testing::PrintToStringParamName());

// ---- The order of host calls on success ----

TEST_P(MuxInterleave, StagesEveryInputInterleavesAndSetsTheLengthOrScalesTheMux)
{
    const auto Staged = [this](std::size_t i) { return Copied(i, Bytes32(5)); };
    for (const bool volumes : {false, true}) {
        BuildFour(5);
        if (volumes) {
            UseVolumes(4);
        }
        ExpectRun(0, Succeeded(Four(), Staged, volumes ? ApplyVolume("mux", 80) : SetLength("mux", 80)));
        EXPECT_EQ(mux_->WriteStartMarks(), 1);
        EXPECT_EQ(mux_->WriteStopMarks(), 1);
    }
}

TEST_P(MuxInterleave, ConvertsInputsToTheContainerOfTheMux)
{
    const auto Staged = [this](std::size_t i) { return Converted(i, Bytes32(3)); };
    for (const SZtaWaveFormatInfo& format : {Pcm16(Channels()), Pcm24In24(Channels()), Float32(Channels())}) {
        Build(format, Four(), Pcm24In32(4), 3);
        ExpectRun(0, Succeeded(Four(), Staged, SetLength("mux", 48)));
    }
}

TEST_P(MuxInterleave, ConvertsOnlyTheInputsThatNeedIt)
{
    BuildFour(3);
    ReplaceBuffer(1, Pcm16(Channels()), 3);
    EXPECT_EQ(Run(), 0);
    const auto Staged = [this](std::size_t i) { return i == 1 ? Converted(i, Bytes32(3)) : Copied(i, Bytes32(3)); };
    EXPECT_EQ(callLog_.Calls(), Succeeded(Four(), Staged, SetLength("mux", 48)));
    EXPECT_EQ(SamplesOf(*mux_, 2 * ChannelsPerBuffer()).back(), SamplesOf(*array_[1], ChannelsPerBuffer()).back()
                                                                    << 16);
}

// ---- Fades ----

TEST_P(MuxInterleave, FadesAnInputInItsSecondScratchBuffer)
{
    BuildFour(300);
    const std::size_t bytes = Bytes32(300);
    std::vector<std::uint32_t> loud(300 * ChannelsPerBuffer(), 0x40000000);
    Fill(*array_[0], loud);
    array_[0]->SetFades(true, false);
    Fill(*array_[1], loud);
    array_[1]->SetFades(true, true);
    array_.back()->SetPolarity(9);
    EXPECT_EQ(Run(), 0);

    const bool propagates = ChannelsPerBuffer() == 2; // the last of two stereo inputs requests both fades
    const Calls staging = Copied(0, bytes) + Faded(0, bytes, 1, 0) + Copied(1, bytes) + Faded(1, bytes, 1, 1);
    const Calls others = propagates ? Calls{} : Copied(2, bytes) + Copied(3, bytes);
    const Calls inputs =
        QueryCalls("fade", 2) + (propagates ? Calls{} : BufferQuery("convert2") + BufferQuery("convert3"));
    EXPECT_EQ(callLog_.Calls(), UntilKernel(Four(), staging + others, inputs, 9, propagates, propagates) +
                                    SetLength("mux", 300 * 16) + WorkerEnd(Four()));
    const Words mux = SamplesOf(*mux_, 1200);
    const auto faded = static_cast<std::uint32_t>((std::uint64_t{0x40000000} * 21421149 >> 32) * 2);
    EXPECT_EQ(mux[0], faded) << "the first gain of the ramp";
    EXPECT_EQ(mux[4 * 299], 0x40000000U) << "no fade at its end";
    EXPECT_EQ(mux[ChannelsPerBuffer()], faded);
    EXPECT_EQ(mux[4 * 299 + ChannelsPerBuffer()], faded);
    EXPECT_EQ(SamplesOf(*array_[0], 1)[0], 0x40000000U) << "the caller's samples stay";
    EXPECT_TRUE(array_[0]->Description().bFadeIn) << "and the caller's request";
    EXPECT_EQ(mux_->Polarity(), 9U);
    ExpectSettled();
}

TEST_P(MuxInterleave, PropagatesPolarityAndFlagsOfTheLastInput)
{
    BuildFour(300);
    array_.front()->SetPolarity(5);
    array_.front()->SetFades(true, true);
    array_.back()->SetPolarity(6);
    array_.back()->SetFades(false, true);
    mux_->SetPolarity(7);
    mux_->SetFades(true, true);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(mux_->Polarity(), 6U);
    EXPECT_FALSE(mux_->Description().bFadeIn);
    EXPECT_EQ(mux_->Description().bFadeOut, ChannelsPerBuffer() == 2)
        << "stereo buffers propagate the flags to the mux";

    array_.back()->SetFades(false, false);
    mux_->SetFades(true, true);
    EXPECT_EQ(Run(), 0);
    EXPECT_FALSE(mux_->Description().bFadeIn || mux_->Description().bFadeOut);
}

// The second scratch buffer has the input's own format, so an input that needs a conversion and a fade is faded in the
// wrong format, and the kernel table has no entry for it.

TEST_P(MuxInterleave, RejectsInputsThatNeedAConversionAndAFade)
{
    Build(Pcm24In32(Channels()), Four(), Pcm16(4), 400);
    SetFadesOfAll(true, false);
    const std::size_t bytes = 400 * 2 * ChannelsPerBuffer();
    const Words untouched = AllSamplesOf(*mux_);
    ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    const int propagates = ChannelsPerBuffer() == 2;
    const auto Staged = [&](std::size_t i) { return Converted(i, bytes) + Faded(i, bytes, 1, 0); };
    EXPECT_EQ(callLog_.Calls(),
              UntilKernel(Four(), ForEach(Four(), Staged), QueryCalls("fade", Four()), 0, propagates) +
                  WorkerEnd(Four(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
    EXPECT_NE(SamplesOf(host_.Buffer("fade0"), 100), SamplesOf(host_.Buffer("convert0"), 100)) << "the fade has run";
    EXPECT_EQ(AllSamplesOf(*mux_), untouched);
}

TEST_P(MuxInterleave, RejectsConvertedAndFadedInputsAlsoWhereTheMuxCanHoldTheLengthOfTheirFormat)
{
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 300);
    ReplaceMux(Pcm24In32(4), 600, 600);
    SetFadesOfAll(false, true);
    ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_P(MuxInterleave, RejectsConvertedAndFadedInputsByTheLengthOfTheirFormatIfThatDoesNotFit)
{
    // In that format each frame counts as two: more than the mux has, or than an input without a fade.
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 300);
    SetFadesOfAll(true, false);
    ExpectRun(ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    array_[1]->SetFades(false, false);
    ExpectRun(ZT_E_BUFFER_SIZE_MISMATCH);
}

TEST_P(MuxInterleave, RejectsAFadeOfAnInputWithoutAFadeKernel)
{
    for (const SZtaWaveFormatInfo& format : {Float32(Channels()), Pcm24In24(Channels())}) {
        Build(format, Four(), Pcm24In32(4), 300);
        array_[0]->SetFades(true, false);
        ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
                  Failed(Four(), Converted(0, Bytes32(300)) + Faded(0, Bytes32(300), 1, 0),
                         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
    }
}

// ---- Failures of the entry point, in the order of its checks ----

TEST_P(MuxInterleave, WithoutAMuxOrItsContentSignalsNothing)
{
    BuildFour(1);
    callLog_.FailCallsTo("mux.QueryInterface");
    for (IZtAudioSamples** array : {pointers_.data(), static_cast<IZtAudioSamples**>(nullptr)}) {
        call_.array = array; // checked later
        for (const bool hasMux : {false, true}) {
            call_.mux = hasMux ? mux_.Get() : nullptr;
            callLog_.Clear();
            EXPECT_EQ(RunUnannounced(), hasMux ? ZT_E_INVALID_PARAMETER : ZT_E_INVALID_POINTER);
            EXPECT_EQ(callLog_.Calls(), hasMux ? BeforeVolumes() : Calls{});
        }
    }
    ExpectSettled();
}

TEST_P(MuxInterleave, WithoutAnArraySignalsTheMux)
{
    BuildFour(1);
    pointers_.clear();
    call_.array = nullptr;
    ExpectRejected(ZT_E_INVALID_POINTER, BeforeVolumes());
    call_.count = 0;
    ExpectRejected(ZT_E_INVALID_POINTER, BeforeVolumes());
}

TEST_P(MuxInterleave, OfAMissingArrayAndVolumesThatDoNotFitReportsTheVolumes)
{
    BuildFour(1);
    pointers_.clear();
    call_.array = nullptr;
    UseVolumes(1);
    ExpectRejected(ZT_E_INVALID_PARAMETER, BeforeVolumes());
    UseVolumes(4);
    ExpectRejected(ZT_E_INVALID_POINTER, BeforeVolumes());
}

TEST_P(MuxInterleave, SignalsAnInputWhoseLaterQuerySucceeds)
{
    BuildFour(1);
    OnCall("b1.GetAudioSamplesDescription", [this] { callLog_.FailCall(1); }); // the call after it
    ExpectRun(ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Count("b1.QueryInterface"), 2);
}

TEST_P(MuxInterleave, PropagatesTheErrorCodeOfAnInput)
{
    for (std::size_t bad = 0; bad < Four(); ++bad) {
        BuildFour(1);
        array_[bad]->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
        ExpectRejected(ZT_E_FAIL, BeforeArray() + ArrayChecks(bad + 1));
    }
}

TEST_P(MuxInterleave, PropagatesTheErrorCodeOfAnInputBehindACancelledOne)
{
    BuildFour(1);
    array_[0]->host::AudioBuffer::SetErrorCode(kZtSynchroStatusCancelled);
    array_[1]->host::AudioBuffer::SetErrorCode(static_cast<int>(0xE306F001));
    ExpectRejected(static_cast<int>(0xE306F001), BeforeArray() + ArrayChecks(2));
}

TEST_P(MuxInterleave, ChecksTheInputsBeforeItsCounts)
{
    BuildFour(1);
    UseVolumes(1);
    array_[0]->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRejected(ZT_E_INVALID_PARAMETER, BeforeVolumes());

    Build(Pcm24In32(Channels()), 3, Pcm24In32(4), 1);
    array_[1]->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRejected(ZT_E_FAIL, BeforeArray() + ArrayChecks(2));

    Build(Pcm24In32(Channels()), 3, Pcm24In32(4), 1);
    array_[0]->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    RemoveBuffer(1);
    ExpectRejected(ZT_E_FAIL, BeforeArray() + ArrayChecks(1));
}

// ---- Statuses of the inputs that are overwritten ----

TEST_P(MuxInterleave, OfInputsWithOtherChannelsIsRejectedByTheWorker)
{
    BuildFour(1);
    ReplaceBuffer(1, Pcm24In32(3 - Channels()), 1);
    ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
              Failed(Four(), Copied(0, Bytes32(1)) + RejectedConversion(1), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
}

TEST_P(MuxInterleave, OfOpaqueInputsIsRejectedByTheWorker)
{
    BuildFour(1);
    ReplaceBuffer(1, Opaque(Channels(), 32, 24), 1);
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(mux_->WriteStartMarks(), 1) << "the entry point accepts it";
    ReplaceBuffer(1, Opaque(Channels(), 32, 32), 1);
    EXPECT_EQ(Run(), ZT_E_FORMAT_NOT_SUPPORTED) << "a format without a suggestion";
    EXPECT_EQ(mux_->WriteStartMarks(), 2);
    ExpectSettled();
}

TEST_P(MuxInterleave, OfAnInputThatCannotBeDescribedToTheEntryPointContinues)
{
    BuildFour(1);
    OnCall("b0.GetErrorCode", [this] { callLog_.FailCall(1); }); // the description of the next input
    ExpectRun(0);
    EXPECT_TRUE(callLog_.HasFailed());
    EXPECT_EQ(mux_->ErrorCode(), 0);
}

// ---- Relabeling ----

TEST_P(MuxInterleave, RelabelsAnInputOfTheWrongKindOnlyAmongMonoBuffers)
{
    BuildFour(1);
    ReplaceBuffer(0, Pcm20In32(3 - Channels()), 1);
    ReplaceBuffer(1, Opaque(Channels(), 32, 20), 1);
    EXPECT_LT(Run(), 0);
    const bool relabels = ChannelsPerBuffer() == 1;
    EXPECT_EQ(callLog_.Count("b0.SetWaveFormat"), relabels);
    EXPECT_EQ(callLog_.Count("b1.SetWaveFormat"), relabels);
}

// ---- Lengths ----

TEST_P(MuxInterleave, AcceptsTheCapacityOfItsScratchBuffersAndNoFrameMore)
{
    struct Case {
        SZtaWaveFormatInfo format;
        SZtaWaveFormatInfo mux;
        std::size_t monoFrames;
        bool converts;
    };
    const std::uint32_t n = Channels();
    for (const auto& [format, mux, monoFrames, converts] :
         {Case{Pcm24In32(n), Pcm24In32(4), 48000, false}, Case{Pcm24In24(n), Pcm24In24(4), 64000, false},
          Case{Pcm16(n), Pcm16(4), 96000, false}, Case{Pcm16(n), Pcm24In32(4), 48000, true},
          Case{Float32(n), Pcm24In32(4), 48000, true}, Case{Pcm24In32(n), Pcm16(4), 96000, true}}) {
        const std::size_t most = monoFrames / n;
        SCOPED_TRACE(host::FormatName(format) + ", " + std::to_string(most));
        Build(format, Four(), mux, most);
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(FramesOf(*mux_), most);
        ExpectSettled();

        constexpr int kStatus = ZT_E_DESTINATION_BUFFER_TOO_SMALL;
        ReplaceBuffer(1, format, most + 1);
        EXPECT_EQ(Run(), kStatus);
        EXPECT_EQ(mux_->ErrorCode(), kStatus);
        const Calls copied = Described(1) + CopyToScratch("b1", "convert1", (most + 1) * host::BytesPerFrame(format)) +
                             Calls{"convert1.QueryInterface", ErrorCall("convert1", kStatus)};
        const Calls end = (converts ? RejectedConversion(1) : copied) + WorkerEnd(Four(), kStatus);
        ASSERT_GE(callLog_.Calls().size(), end.size());
        EXPECT_EQ(Calls(callLog_.Calls().end() - static_cast<std::ptrdiff_t>(end.size()), callLog_.Calls().end()), end);
        if (!converts) {
            EXPECT_EQ(host_.Buffer("convert1").References(), 2) << "a byte copy that does not fit keeps a reference";
            host_.Buffer("convert1").Release();
        }
        ExpectSettled();
    }
}

// ---- Rejections in the worker ----

TEST_P(MuxInterleave, WithAVolumeOutOfRangeLeavesTheInterleavedSamples)
{
    BuildFour(2);
    UseVolumes(4);
    volumes_[3].fEndVolume = 8.5F;
    ExpectRun(ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(SamplesOf(*mux_, ChannelsPerBuffer()), SamplesOf(*array_[0], ChannelsPerBuffer()));
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_INVALID_PARAMETER);
}

// ---- Mono buffers ----

class MonoToMux : public MuxInterleaveTest {
protected:
    MonoToMux() : MuxInterleaveTest(OperationKind::MonoToMux) {}
};

TEST_F(MonoToMux, OfTwoBuffersIntoStereoPassesTheEntryPointAndHasNoKernel)
{
    Build(Pcm24In32(1), 2, Pcm24In32(2), 1);
    ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED,
              UntilKernel(2, Copied(0, 4) + Copied(1, 4), QueryCalls("convert", 2)) +
                  WorkerEnd(2, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
}

TEST_F(MonoToMux, WhoseInputCannotBeDescribedToTheWorkerReturnsTheHostsCode)
{
    BuildFour(1);
    OnCall("convert1.GetBufferAndLength", [this] { callLog_.FailCall(1); });
    ExpectRun(kInjectedFailure, Failed(4, Copied(0, 4) + Copied(1, 4) + Described(2), kInjectedFailure));
}

// ---- Stereo buffers ----

class StereoToMux : public MuxInterleaveTest {
protected:
    StereoToMux() : MuxInterleaveTest(OperationKind::StereoToMux) {}
};

TEST_F(StereoToMux, UsesTheDescriptionOfTheInputBeforeOneThatCannotBeDescribedToTheWorker)
{
    BuildFour(1);
    array_[0]->SetPolarity(4);
    array_[1]->SetPolarity(5);
    OnCall("convert0.GetBufferAndLength", [this] {
        if (!callLog_.HasFailed()) {
            callLog_.FailCall(1);
        }
    });
    ExpectRun(0, Succeeded(
                     2, [](std::size_t i) { return Copied(i, 8); }, SetLength("mux", 16), 4));
    EXPECT_EQ(SamplesOf(*mux_, 4)[2], SamplesOf(*array_[1], 1)[0]);
}

TEST_F(StereoToMux, OfAFirstInputThatCannotBeDescribedToTheWorkerHasNoFormat)
{
    BuildFour(1);
    OnCall("mux.MarkWriteStartTime", [this] { callLog_.FailCall(2); });
    ExpectRun(ZT_E_FORMAT_NOT_SUPPORTED);
}

TEST_F(StereoToMux, WithOneVolumeTooManyInterleavesAndIsThenRejected)
{
    Build(Pcm24In32(2), 4, Pcm24In32(8), 3);
    UseVolumes(9);
    ExpectRun(ZT_E_INVALID_PARAMETER,
              UntilKernel(4, ForEach(4, [](std::size_t i) { return Copied(i, 24); }), QueryCalls("convert", 4)) +
                  BufferQuery("mux") + BufferQuery("mux") + WorkerEnd(4, ZT_E_INVALID_PARAMETER));
    EXPECT_EQ(SamplesOf(*mux_, 2), SamplesOf(*array_[0], 2)) << "the samples are not scaled";
}

TEST_F(StereoToMux, WithMoreVolumesThanTheEngineKeepsProcessesNothingAndSignalsEveryBuffer)
{
    Build(Pcm24In32(2), 32, Pcm24In32(64), 1);
    UseVolumes(65);
    const Words untouched = AllSamplesOf(*mux_);
    ExpectRun(ZT_E_ARRAY_TOO_SMALL, Entry(32) + WorkerEnd(32, ZT_E_ARRAY_TOO_SMALL));
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_ARRAY_TOO_SMALL);
    EXPECT_EQ(AllSamplesOf(*mux_), untouched);
    ExpectSettled();

    UseVolumes(64);
    EXPECT_EQ(Run(), 0) << "the engine works as before";
}

TEST_F(StereoToMux, KeepsTheFadeFlagsOfTheMuxAlthoughItsSamplesAreFaded)
{
    BuildFour(300);
    for (const auto& buffer : array_) {
        Fill(*buffer, std::vector<std::uint32_t>(600, 0x40000000));
        buffer->SetFades(true, true);
    }
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(mux_->Description().bFadeIn && mux_->Description().bFadeOut);
    EXPECT_LT(SamplesOf(*mux_, 1)[0], 0x01000000U);
}

} // namespace
} // namespace zta::test
