// What is particular to CopyAudioSamplesMuxToMono and CopyAudioSamplesMuxToStereo: see mux_test.cpp.

#include "tests/engine/mux_operation_fixture.h"

namespace zta::test {
namespace {

class MuxDeinterleaveTest : public MuxOperationTest {
protected:
    using MuxOperationTest::MuxOperationTest;

    [[nodiscard]] Calls Lengths(std::size_t bytes) const
    {
        return ForEach(Four(), [&](std::size_t i) { return SetLength(Name("b", i), bytes); });
    }

    static Calls Propagated(std::size_t i, unsigned int polarity, int fadeIn, int fadeOut)
    {
        return Polarity(Name("b", i), polarity) + Flags(Name("b", i), fadeIn, fadeOut);
    }

    static Calls Faded(std::size_t i) { return BufferQuery(Name("b", i)) + Flags(Name("b", i), 0, 0); }

    /// From the kernel's queries to the end, for four channels without fades; `lengths` are the calls that follow the
    /// queries.
    [[nodiscard]] Calls Deinterleaved(const std::string& mux, const Calls& lengths, unsigned int polarity = 0) const
    {
        return QueryCalls("b", Four()) + BufferQuery(mux) + lengths +
               ForEach(Four(), [&](std::size_t i) { return Propagated(i, polarity, 0, 0); }) + WorkerEnd(Four());
    }
};

/// The tests of both operations, on mono and on stereo buffers.
class MuxDeinterleave : public MuxDeinterleaveTest, public ::testing::WithParamInterface<OperationKind> {
protected:
    MuxDeinterleave() : MuxDeinterleaveTest(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(Operations, MuxDeinterleave,
                         ::testing::Values(OperationKind::MuxToMono, OperationKind::MuxToStereo),
                         ::testing::PrintToStringParamName());

// ---- The order of host calls on success ----

TEST_P(MuxDeinterleave, ReadsTheMuxItselfAndSetsTheLengthsOrScalesEachOutput)
{
    for (const bool volumes : {false, true}) {
        BuildFour(5);
        if (volumes) {
            UseVolumes(4);
        }
        mux_->SetPolarity(8);
        ExpectRun(0);
        const auto Finished = [&](std::size_t i) {
            return (volumes ? &ApplyVolume : &SetLength)(Name("b", i), 20 * ChannelsPerBuffer());
        };
        EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + Deinterleaved("mux", ForEach(Four(), Finished), 8));
        for (const auto& buffer : array_) {
            EXPECT_EQ(buffer->ErrorCode(), 0);
            EXPECT_EQ(buffer->WriteStartMarks(), 1);
            EXPECT_EQ(buffer->WriteStopMarks(), 1);
            EXPECT_EQ(buffer->Polarity(), 8U);
        }
    }
}

TEST_P(MuxDeinterleave, ConvertsFourChannelsToTheOutputContainerInTheScratchBuffer)
{
    const std::uint32_t n = Channels();
    for (const auto& [mux, format] : {std::pair{Pcm24In32(4), Pcm16(n)},
                                      {Pcm16(4), Pcm24In32(n)},
                                      {Pcm24In32(4), Pcm24In24(n)},
                                      {Pcm24In24(4), Pcm24In32(n)}}) {
        Build(format, Four(), mux, 3);
        ExpectRun(0, Entry(Four()) + WorkerStart() +
                         ConvertToScratch("mux", "scratch0", 12 * (format.ulBitsPerSample / 8)) +
                         Deinterleaved("scratch0", Lengths(3 * host::BytesPerFrame(format))));
    }
}

TEST_P(MuxDeinterleave, ReadsTheFormatOfTheFirstOutputOnly)
{
    // The others are treated as equal to it: 16 bits fit into 24.
    Build(Pcm16(Channels()), Four(), Pcm16(4), 3);
    ReplaceBuffer(1, Pcm24In32(Channels()), 3);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Count("scratch0.SetWaveFormat"), 0);
    EXPECT_EQ(array_[1]->Length(), 6 * ChannelsPerBuffer()) << "the length is the first output's, too";
}

// ---- Fades ----

TEST_P(MuxDeinterleave, FadesEachOutputAndClearsItsFlags)
{
    BuildFour(300);
    Fill(*mux_, std::vector<std::uint32_t>(1200, 0x40000000));
    mux_->SetPolarity(2);
    mux_->SetFades(true, false);
    ExpectRun(0, Entry(Four()) + WorkerStart() + QueryCalls("b", Four()) + BufferQuery("mux") +
                     Lengths(1200 * ChannelsPerBuffer()) +
                     ForEach(Four(), [](std::size_t i) { return Propagated(i, 2, 1, 0) + Faded(i); }) +
                     WorkerEnd(Four()));
    for (const auto& buffer : array_) {
        const Words samples = AllSamplesOf(*buffer);
        EXPECT_EQ(samples.front(), static_cast<std::uint32_t>((std::uint64_t{0x40000000} * 21421149 >> 32) * 2));
        EXPECT_EQ(samples.back(), 0x40000000U);
        EXPECT_FALSE(buffer->Description().bFadeIn || buffer->Description().bFadeOut);
    }
    EXPECT_TRUE(mux_->Description().bFadeIn) << "the mux keeps its request";
}

TEST_P(MuxDeinterleave, PropagatesTheFlagsOfTheMuxAlsoIfNoneIsSet)
{
    BuildFour(3);
    for (const auto& buffer : array_) {
        buffer->SetFades(true, true);
    }
    EXPECT_EQ(Run(), 0);
    for (const auto& buffer : array_) {
        EXPECT_FALSE(buffer->Description().bFadeIn || buffer->Description().bFadeOut);
    }
}

TEST_P(MuxDeinterleave, WhoseFadeFailsOnOneOutputLeavesTheLaterOnesWithoutAFade)
{
    BuildFour(300);
    mux_->SetPolarity(3);
    mux_->SetFades(false, true);
    // The fade of the second last output queries its address by the second call after the flags.
    const std::size_t bad = Four() - 2;
    OnCall(Name("b", bad) + ".SetFadeOut(1)", [this] { callLog_.FailCall(2); });
    ExpectRun(kInjectedFailure);
    EXPECT_EQ(callLog_.Calls(),
              Entry(Four()) + WorkerStart() + QueryCalls("b", Four()) + BufferQuery("mux") +
                  Lengths(1200 * ChannelsPerBuffer()) +
                  ForEach(bad, [](std::size_t i) { return Propagated(i, 3, 0, 1) + Faded(i); }) +
                  Propagated(bad, 3, 0, 1) +
                  (Calls{Name("b", bad) + ".GetAudioSamplesDescription", Name("b", bad) + ".GetBufferAndLength"}) +
                  Flags(Name("b", bad), 0, 0) + Propagated(bad + 1, 3, 0, 1) + WorkerEnd(Four(), kInjectedFailure));
    EXPECT_FALSE(array_[bad]->Description().bFadeOut);
    EXPECT_TRUE(array_.back()->Description().bFadeOut);
    EXPECT_EQ(array_.back()->Polarity(), 3U);
}

TEST_P(MuxDeinterleave, RejectsAFadeOfOutputsWithoutAFadeKernel)
{
    Build(Pcm24In24(Channels()), Four(), Pcm24In24(4), 300);
    mux_->SetFades(true, true);
    ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_FALSE(array_[0]->Description().bFadeIn || array_[0]->Description().bFadeOut);
    EXPECT_TRUE(array_[1]->Description().bFadeIn && array_[1]->Description().bFadeOut);
    EXPECT_EQ(SamplesOf(*array_[0], ChannelsPerBuffer()), SamplesOf(*mux_, ChannelsPerBuffer()))
        << "the samples are there";
}

// ---- Failures of the entry point, in the order of its checks ----

TEST_P(MuxDeinterleave, WithoutAnArraySignalsNothing)
{
    BuildFour(1);
    call_.array = nullptr;
    callLog_.Clear();
    EXPECT_EQ(RunUnannounced(), ZT_E_INVALID_POINTER);
    call_.mux = nullptr;
    EXPECT_EQ(RunUnannounced(), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
}

TEST_P(MuxDeinterleave, WithoutAMuxSignalsTheOutputs)
{
    BuildFour(1);
    call_.mux = nullptr;
    call_.count = Four();
    UseVolumes(1); // which is not read
    EXPECT_EQ(Run(), ZT_E_INVALID_POINTER);
    EXPECT_EQ(callLog_.Calls(), Ending(ZT_E_INVALID_POINTER, false));
    ExpectNotStarted(ZT_E_INVALID_POINTER);
}

TEST_P(MuxDeinterleave, OfAMuxWithoutAContentReturnsTheQuerysCodeAndNoReadSignal)
{
    BuildFour(1);
    UseVolumes(1);
    callLog_.FailCallsTo("mux.QueryInterface", E_NOINTERFACE);
    EXPECT_EQ(Run(), E_NOINTERFACE);
    EXPECT_EQ(callLog_.Calls(), Calls{"mux.QueryInterface"} + Ending(E_NOINTERFACE, false));
    ExpectNotStarted(E_NOINTERFACE);
    ExpectAtRest({mux_.Get(), array_[0].Get()});
}

TEST_P(MuxDeinterleave, PropagatesTheErrorCodeOfTheMux)
{
    BuildFour(1);
    UseVolumes(1); // later
    mux_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRejected(ZT_E_FAIL, BeforeVolumes());
}

TEST_P(MuxDeinterleave, OfAnOutputThatCannotBeDescribedIsAnInvalidParameter)
{
    BuildFour(1);
    callLog_.FailCallsTo("b1.GetAudioSamplesDescription");
    ExpectRejected(ZT_E_INVALID_PARAMETER, BeforeArray() + ArrayChecks(2));
}

TEST_P(MuxDeinterleave, IntoAnOutputOfAnotherFormatIsRejectedByTheEntryPoint)
{
    for (const auto& [format, status] : {std::pair{Opaque(1, 32, 20), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE},
                                         {Opaque(2, 32, 20), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE},
                                         {Pcm20In32(3 - Channels()), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED}}) {
        BuildFour(1);
        ReplaceBuffer(1, format, 1);
        ExpectRejected(status, BeforeArray() + ArrayChecks(2));
        EXPECT_EQ(array_[1]->Description().sWaveFormat.ulValidBitsPerSample, 20U) << "its format stays";
    }
}

TEST_P(MuxDeinterleave, OfTwoInvalidOutputsReportsTheFirst)
{
    BuildFour(1);
    ReplaceBuffer(0, Opaque(Channels()), 1);
    RemoveBuffer(1);
    ExpectRejected(ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, BeforeArray() + ArrayChecks(1));
}

TEST_P(MuxDeinterleave, IntoAnOutputThatCannotBeRelabeledReturnsTheHostsCode)
{
    Build(Pcm20In32(Channels()), Four(), Pcm24In32(4), 1);
    callLog_.FailCallsTo("b0.SetWaveFormat");
    ExpectRejected(kInjectedFailure, BeforeArray() + ArrayChecks(1) + Calls{"b0.SetWaveFormat"});
}

// ---- Lengths ----

TEST_P(MuxDeinterleave, ThroughTheScratchBufferAcceptsItsCapacityAndNoFrameMore)
{
    struct Case {
        SZtaWaveFormatInfo mux;
        SZtaWaveFormatInfo output;
        std::size_t most;
    };
    const std::uint32_t n = Channels();
    for (const auto& [mux, output, most] : {Case{Pcm24In32(4), Pcm16(n), 24000}, Case{Pcm16(4), Pcm24In32(n), 12000},
                                            Case{Pcm24In32(4), Pcm24In24(n), 16000}}) {
        for (const std::size_t frames : {most, most + 1}) {
            const int status = frames == most ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL;
            Build(output, Four(), mux, frames);
            EXPECT_EQ(Run(), status) << frames;
            ExpectRecorded(status);
            ExpectSettled();
        }
    }
}

TEST_P(MuxDeinterleave, WithoutTheScratchBufferHasNoLimit)
{
    BuildFour(60001);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(AllSamplesOf(*array_.back()).back(), AllSamplesOf(*mux_).back());
}

// ---- Rejections in the worker ----

TEST_P(MuxDeinterleave, ChangesTheContainerOfFourChannelsOnly)
{
    Build(Pcm16(Channels()), 8 / ChannelsPerBuffer(), Pcm24In32(8), 3);
    mux_->SetFades(true, true);
    mux_->SetPolarity(5);
    ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    const std::size_t count = 8 / ChannelsPerBuffer();
    EXPECT_EQ(callLog_.Calls(), Entry(count) + WorkerStart() + Calls{"scratch0.SetWaveFormat"} + BufferQuery("mux") +
                                    BufferQuery("scratch0") + WorkerEnd(count, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED))
        << "and propagates nothing after a failure";
}

TEST_P(MuxDeinterleave, NeverConvertsItsOutputs)
{
    Build(Float32(Channels()), Four(), Pcm24In32(4), 3);
    ExpectRun(ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
}

TEST_P(MuxDeinterleave, WithAVolumeOutOfRangeContinuesWithTheLaterOutputs)
{
    BuildFour(4);
    Fill(*mux_, std::vector<std::uint32_t>(16, 0x40000000));
    UseVolumes(std::vector<SZtAudioMonoVolumeInfo>(4, {0, 0.5F, 0.5F}));
    volumes_[0].fEndVolume = 8.5F;
    ExpectRun(ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(SamplesOf(*array_[0], 1)[0], 0x40000000U);
    EXPECT_EQ(SamplesOf(*array_.back(), 1)[0], 0x20000000U);
}

} // namespace
} // namespace zta::test
