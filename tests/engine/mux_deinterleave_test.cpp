// CopyAudioSamplesMuxToMono and CopyAudioSamplesMuxToStereo.

#include "testing/log_recorder.h"
#include "testing/mux_fixture.h"

#include <algorithm>

namespace zta::test {
namespace {

using host::Float32;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

/// The tests of both operations, on mono and on stereo buffers.
class MuxDeinterleave : public MuxTest, public ::testing::WithParamInterface<unsigned long> {
protected:
    static unsigned long ChannelsPerBuffer() { return GetParam(); }
    static std::uint32_t Channels() { return static_cast<std::uint32_t>(GetParam()); }

    /// As many buffers as four channels need.
    static std::size_t Four() { return 4 / ChannelsPerBuffer(); }

    void BuildFour(std::size_t frames) { Build(Pcm24In32(Channels()), Four(), Pcm24In32(4), frames); }

    int Run() { return Split(ChannelsPerBuffer()); }

    /// The calls of the entry point on the mux before it checks the outputs.
    static Calls MuxLookedAt() { return {"mux.QueryInterface", "mux.GetErrorCode", "mux.GetAudioSamplesDescription"}; }

    static Calls LookedAt(std::size_t count)
    {
        return ForEach(count, [](std::size_t i) {
            return Calls{Name("b", i) + ".QueryInterface", Name("b", i) + ".GetAudioSamplesDescription"};
        });
    }

    static Calls Entry(std::size_t count)
    {
        return MuxLookedAt() + LookedAt(count) +
               ForEach(count, [](std::size_t i) { return Calls{Name("b", i) + ".MarkWriteStartTime"}; });
    }

    static Calls WorkerStart() { return {"mux.GetAudioSamplesDescription", "b0.GetAudioSamplesDescription"}; }

    static Calls Lengths(std::size_t count, std::size_t bytes)
    {
        return ForEach(count, [&](std::size_t i) { return SetLength(Name("b", i), bytes); });
    }

    static Calls HandedOn(std::size_t i, unsigned int polarity, int fadeIn, int fadeOut)
    {
        return Polarity(Name("b", i), polarity) + Flags(Name("b", i), fadeIn, fadeOut);
    }

    static Calls Faded(std::size_t i) { return Digest(Name("b", i)) + Flags(Name("b", i), 0, 0); }

    static Calls WorkerEnd(std::size_t count, int status = 0)
    {
        return Calls{"mux.SignalReadCompletion"} + ForEach(count, [&](std::size_t i) {
                   const std::string name = Name("b", i);
                   return (status < 0 ? Calls{ErrorCall(name, status)} : Calls{}) +
                          Calls{name + ".MarkWriteStopTime", name + ".SignalWriteCompletion"};
               });
    }

    /// The failure ending of an entry point: all buffers that are not null, then the mux.
    [[nodiscard]] Calls Ending(int status, bool signalsMux = true) const
    {
        return ForEach(pointers_.size(),
                       [&](std::size_t i) {
                           const std::string name = Name("b", i);
                           return pointers_[i] == nullptr ? Calls{}
                                                          : Calls{name + ".QueryInterface", ErrorCall(name, status),
                                                                  name + ".SignalWriteCompletion"};
                       }) +
               (signalsMux ? Calls{"mux.SignalReadCompletion"} : Calls{});
    }

    /// The state after a rejected call: no marks, the code on every output, the busy flag clear.
    void ExpectUntouched(int status)
    {
        for (std::size_t i = 0; i < array_.size(); ++i) {
            if (i < pointers_.size() && pointers_[i] != nullptr) {
                EXPECT_EQ(array_[i]->ErrorCode(), status);
            }
            EXPECT_EQ(array_[i]->WriteStartMarks() + array_[i]->WriteStopMarks(), 0);
        }
        EXPECT_EQ(mux_->ErrorCode() < 0 ? status : 0, mux_->ErrorCode()) << "an input gets no code";
    }

    /// Runs a call whose entry point fails after `before`, while another operation runs.
    void ExpectRefusal(int status, const Calls& before)
    {
        SZtLayoutProbe::SetBusy(Object(), 1);
        EXPECT_EQ(Run(), status);
        EXPECT_EQ(callLog_.Calls(), before + Ending(status));
        ExpectUntouched(status);
        ExpectSettled();
    }

    void ExpectAllBuffersCarry(int status)
    {
        for (const auto& buffer : array_) {
            EXPECT_EQ(buffer->ErrorCode(), status) << buffer->Name();
        }
    }

    static void SetError(host::AudioBuffer& buffer, int code) { buffer.host::AudioBuffer::SetErrorCode(code); }
};

INSTANTIATE_TEST_SUITE_P(Buffers, MuxDeinterleave, ::testing::Values(1UL, 2UL),
                         [](const auto& parameter) { return parameter.param == 1 ? "Mono" : "Stereo"; });

// ---- The order of host calls on success ----

TEST_P(MuxDeinterleave, ReadsTheMuxItselfAndSetsTheLengths)
{
    BuildFour(5);
    mux_->SetPolarity(8);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + QueryCalls("b", Four()) + Digest("mux") +
                                    Lengths(Four(), 20 * ChannelsPerBuffer()) +
                                    ForEach(Four(), [](std::size_t i) { return HandedOn(i, 8, 0, 0); }) +
                                    WorkerEnd(Four()));
    for (const auto& buffer : array_) {
        EXPECT_EQ(buffer->ErrorCode(), 0);
        EXPECT_EQ(buffer->WriteStartMarks(), 1);
        EXPECT_EQ(buffer->WriteStopMarks(), 1);
        EXPECT_EQ(buffer->Polarity(), 8U);
    }
    ExpectSettled();
}

TEST_P(MuxDeinterleave, WithVolumesScalesEachOutput)
{
    BuildFour(5);
    UseVolumes(4);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Calls(),
              Entry(Four()) + WorkerStart() + QueryCalls("b", Four()) + Digest("mux") +
                  ForEach(Four(), [](std::size_t i) { return ApplyVolume(Name("b", i), 20 * ChannelsPerBuffer()); }) +
                  ForEach(Four(), [](std::size_t i) { return HandedOn(i, 0, 0, 0); }) + WorkerEnd(Four()));
    ExpectSettled();
}

TEST_P(MuxDeinterleave, ConvertsFourChannelsToTheOutputContainerInTheScratchBuffer)
{
    struct Row {
        SZtaWaveFormatInfo (*mux)(std::uint32_t, std::uint32_t);
        SZtaWaveFormatInfo (*output)(std::uint32_t, std::uint32_t);
    };
    for (const Row& row :
         {Row{&Pcm24In32, &Pcm16}, Row{&Pcm16, &Pcm24In32}, Row{&Pcm24In32, &Pcm24In24}, Row{&Pcm24In24, &Pcm24In32}}) {
        const SZtaWaveFormatInfo format = row.output(Channels(), host::kDefaultRate);
        Build(format, Four(), row.mux(4, host::kDefaultRate), 3);
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(callLog_.Calls(),
                  Entry(Four()) + WorkerStart() +
                      ConvertToScratch("mux", "scratch0", 12 * (format.ulBitsPerSample / 8)) + QueryCalls("b", Four()) +
                      Digest("scratch0") + Lengths(Four(), 3 * host::BytesPerFrame(format)) +
                      ForEach(Four(), [](std::size_t i) { return HandedOn(i, 0, 0, 0); }) + WorkerEnd(Four()));
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, OfTwentyFourBitsIntoSixteenKeepsTheUpperOnes)
{
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 1);
    EXPECT_EQ(Run(), 0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(SamplesOf(*array_[i / ChannelsPerBuffer()], ChannelsPerBuffer())[i % ChannelsPerBuffer()],
                  SamplesOf(*mux_, 4)[i] >> 16);
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

TEST_P(MuxDeinterleave, OfAnEmptyMuxEmptiesTheOutputs)
{
    BuildFour(0);
    for (const bool volumes : {false, true}) {
        if (volumes) {
            UseVolumes(4);
        }
        EXPECT_EQ(Run(), 0);
        for (const auto& buffer : array_) {
            EXPECT_EQ(buffer->Length(), 0U);
        }
        ExpectSettled();
    }
}

// ---- Fades ----

TEST_P(MuxDeinterleave, FadesEachOutputAndClearsItsFlags)
{
    BuildFour(300);
    Fill(*mux_, std::vector<std::uint32_t>(1200, 0x40000000));
    mux_->SetPolarity(2);
    mux_->SetFades(true, false);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + QueryCalls("b", Four()) + Digest("mux") +
                                    Lengths(Four(), 1200 * ChannelsPerBuffer()) +
                                    ForEach(Four(), [](std::size_t i) { return HandedOn(i, 2, 1, 0) + Faded(i); }) +
                                    WorkerEnd(Four()));
    for (const auto& buffer : array_) {
        const Words samples = AllSamplesOf(*buffer);
        EXPECT_EQ(samples.front(), static_cast<std::uint32_t>((std::uint64_t{0x40000000} * 21421149 >> 32) * 2));
        EXPECT_EQ(samples.back(), 0x40000000U);
        EXPECT_FALSE(buffer->Description().bFadeIn || buffer->Description().bFadeOut);
    }
    EXPECT_TRUE(mux_->Description().bFadeIn) << "the mux keeps its request";
    ExpectSettled();
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
    // The fade's look at the second but last output is the second time that its data is asked for.
    const std::size_t bad = Four() - 2;
    const std::string look = Name("b", bad) + ".SetFadeOut(1)";
    callLog_.hook = [&](const std::string& entry) {
        if (entry == look) {
            callLog_.FailCall(2);
        }
    };
    EXPECT_EQ(Run(), kInjectedFailure);
    callLog_.hook = nullptr;
    EXPECT_EQ(callLog_.Calls(),
              Entry(Four()) + WorkerStart() + QueryCalls("b", Four()) + Digest("mux") +
                  Lengths(Four(), 1200 * ChannelsPerBuffer()) +
                  ForEach(bad, [](std::size_t i) { return HandedOn(i, 3, 0, 1) + Faded(i); }) + HandedOn(bad, 3, 0, 1) +
                  (Calls{Name("b", bad) + ".GetAudioSamplesDescription", Name("b", bad) + ".GetBufferAndLength"}) +
                  Flags(Name("b", bad), 0, 0) + HandedOn(bad + 1, 3, 0, 1) + WorkerEnd(Four(), kInjectedFailure));
    EXPECT_FALSE(array_[bad]->Description().bFadeOut);
    EXPECT_TRUE(array_.back()->Description().bFadeOut);
    EXPECT_EQ(array_.back()->Polarity(), 3U);
    ExpectAllBuffersCarry(kInjectedFailure);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, RejectsAFadeOfOutputsWhoseLayoutHasNone)
{
    Build(Pcm24In24(Channels()), Four(), Pcm24In24(4), 300);
    mux_->SetFades(true, true);
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_FALSE(array_[0]->Description().bFadeIn || array_[0]->Description().bFadeOut);
    EXPECT_TRUE(array_[1]->Description().bFadeIn && array_[1]->Description().bFadeOut);
    EXPECT_EQ(SamplesOf(*array_[0], ChannelsPerBuffer()), SamplesOf(*mux_, ChannelsPerBuffer()))
        << "the samples are there";
    ExpectAllBuffersCarry(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    ExpectSettled();
}

// ---- Failures of the entry point, in the order of its checks ----

TEST_P(MuxDeinterleave, WithoutAnArraySignalsNothing)
{
    BuildFour(1);
    call_.array = nullptr;
    callLog_.Clear();
    EXPECT_EQ(DeinterleaveUnannounced(ChannelsPerBuffer()), ZT_E_INVALID_POINTER);
    call_.mux = nullptr;
    EXPECT_EQ(DeinterleaveUnannounced(ChannelsPerBuffer()), ZT_E_INVALID_POINTER);
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
    ExpectUntouched(ZT_E_INVALID_POINTER);
}

TEST_P(MuxDeinterleave, OfAMuxWithoutAContentGivesTheQuerysCodeAndNoReadSignal)
{
    BuildFour(1);
    UseVolumes(1);
    callLog_.FailCallsTo("mux.QueryInterface", E_NOINTERFACE);
    EXPECT_EQ(Run(), E_NOINTERFACE);
    EXPECT_EQ(callLog_.Calls(), Calls{"mux.QueryInterface"} + Ending(E_NOINTERFACE, false));
    ExpectUntouched(E_NOINTERFACE);
    ExpectAtRest({mux_.Get(), array_[0].Get()});
}

TEST_P(MuxDeinterleave, PropagatesTheErrorCodeOfTheMux)
{
    BuildFour(1);
    UseVolumes(1); // later
    SetError(*mux_, ZT_E_FAIL);
    ExpectRefusal(ZT_E_FAIL, {"mux.QueryInterface", "mux.GetErrorCode"});
}

TEST_P(MuxDeinterleave, AcceptsALateOrDroppedMuxAndAPositiveCode)
{
    for (const unsigned int code : {0xA306F002U, 0xA306F003U, 0xA306F004U, 0xA306F00CU, 0xA306F00DU, 0xE306F000U, 7U}) {
        BuildFour(1);
        SetError(*mux_, static_cast<int>(code));
        EXPECT_EQ(Run(), 0) << std::hex << code;
        ExpectAllBuffersCarry(0);
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, DoesNotReadTheCodesOfItsOutputs)
{
    BuildFour(1);
    SetError(*array_[0], ZT_E_FAIL);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Count("b0.GetErrorCode"), 0);
}

TEST_P(MuxDeinterleave, WithVolumesThatDoNotFitIsRejectedBeforeTheMuxIsDescribed)
{
    struct Row {
        unsigned long count;
        unsigned long volumeCount;
        bool volumes;
        int status;
    };
    const unsigned long four = Four();
    const std::vector<Row> rows = {
        {four, 1, true, ZT_E_INVALID_PARAMETER},
        {four, 3, true, ZT_E_INVALID_PARAMETER},
        {four, 5, true, ZT_E_INVALID_PARAMETER},
        {four, 1, false, ZT_E_INVALID_POINTER},
        {four, 4, false, ZT_E_INVALID_POINTER},
        {1, ChannelsPerBuffer(), true, ZT_E_INVALID_PARAMETER},
        {1, ChannelsPerBuffer(), false, ZT_E_INVALID_POINTER},
        {0, 1, true, ZT_E_INVALID_PARAMETER},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.count) + " buffers, " + std::to_string(row.volumeCount) + " volumes");
        BuildFour(1);
        pointers_.resize(row.count);
        call_.count = row.count;
        UseVolumes(row.volumeCount);
        call_.volumes = row.volumes ? volumes_.data() : nullptr;
        ExpectRefusal(row.status, {"mux.QueryInterface", "mux.GetErrorCode"});
    }
}

TEST_P(MuxDeinterleave, WithoutAVolumeCountDoesNotReadTheVolumes)
{
    BuildFour(1);
    UseVolumes({{0, 9.0F, -1.0F}});
    call_.volumeCount = 0;
    EXPECT_EQ(Run(), 0);
}

TEST_P(MuxDeinterleave, OfAMuxThatCannotBeDescribedIsAnInvalidParameter)
{
    BuildFour(1);
    RemoveBuffer(1);
    callLog_.FailCallsTo("mux.GetAudioSamplesDescription");
    ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt());
}

TEST_P(MuxDeinterleave, OfAMuxThatCannotBeRelabeledGivesTheHostsCodeAlsoForACountThatNoMuxHas)
{
    for (const std::size_t count : {Four(), std::size_t{3}}) {
        Build(Pcm24In32(Channels()), count, Pcm20In32(4), 1);
        callLog_.FailCallsTo("mux.SetWaveFormat");
        ExpectRefusal(kInjectedFailure, MuxLookedAt() + Calls{"mux.SetWaveFormat"});
        callLog_.ClearFaults();
    }
}

TEST_P(MuxDeinterleave, OfACountThatNoMuxHasChecksNoOutput)
{
    std::vector<std::size_t> counts = {0, 1, 3, 5, 6, 7, 12, 33, 63, 65};
    counts.push_back(ChannelsPerBuffer() == 1 ? 2 : 64);
    for (const std::size_t count : counts) {
        SCOPED_TRACE(count);
        Build(Pcm24In32(Channels()), count, Pcm24In32(static_cast<std::uint32_t>(count * ChannelsPerBuffer())), 1);
        ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt());
    }
}

TEST_P(MuxDeinterleave, OfAMuxOfAnotherWidthIsAnInvalidParameter)
{
    for (const std::size_t width : {4UL, 8UL, 16UL, 32UL, 64UL}) {
        const std::size_t count = width / ChannelsPerBuffer();
        for (const std::size_t other : {width / 2, width * 2, width + 1, std::size_t{0}}) {
            SCOPED_TRACE(std::to_string(count) + " from " + std::to_string(other));
            Build(Pcm24In32(Channels()), count, Pcm24In32(4), 1);
            mux_->SetFormat(Pcm24In32(static_cast<std::uint32_t>(other)));
            ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt());
        }
    }
}

TEST_P(MuxDeinterleave, OfAnOpaqueMuxIsRejectedAfterItsWidthAndBeforeTheOutputs)
{
    BuildFour(1);
    mux_->SetFormat(Opaque(4));
    RemoveBuffer(0);
    ExpectRefusal(ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, MuxLookedAt());
    mux_->SetFormat(Opaque(8));
    ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt());
}

TEST_P(MuxDeinterleave, StopsAtAMissingOutputAndSignalsTheOthers)
{
    BuildFour(1);
    RemoveBuffer(0);
    ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt());
    BuildFour(1);
    RemoveBuffer(1);
    ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt() + LookedAt(1));
}

TEST_P(MuxDeinterleave, StopsAtAnOutputWithoutAContent)
{
    BuildFour(1);
    callLog_.FailCallsTo("b1.QueryInterface", E_NOINTERFACE);
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    Calls ending = Ending(ZT_E_INVALID_PARAMETER);
    const auto query = std::find(ending.begin(), ending.end(), "b1.QueryInterface");
    ending.erase(query + 1, query + 3);
    EXPECT_EQ(callLog_.Calls(), MuxLookedAt() + LookedAt(1) + Calls{"b1.QueryInterface"} + ending);
    EXPECT_EQ(array_[1]->WriteCount(), 1) << "there is nothing to signal";
    ExpectAtRest({array_[0].Get(), array_[1].Get(), mux_.Get()});
}

TEST_P(MuxDeinterleave, OfAnOutputThatCannotBeDescribedIsAnInvalidParameter)
{
    BuildFour(1);
    callLog_.FailCallsTo("b1.GetAudioSamplesDescription");
    ExpectRefusal(ZT_E_INVALID_PARAMETER, MuxLookedAt() + LookedAt(2));
}

TEST_P(MuxDeinterleave, IntoAnOpaqueOutputIsRejectedWhateverItsChannels)
{
    for (const std::uint32_t channels : {1U, 2U}) {
        BuildFour(1);
        ReplaceBuffer(1, Opaque(channels, 32, 20), 1);
        ExpectRefusal(ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, MuxLookedAt() + LookedAt(2));
    }
}

TEST_P(MuxDeinterleave, IntoAnOutputOfOtherChannelsIsRejectedByTheEntryPoint)
{
    BuildFour(1);
    ReplaceBuffer(1, Pcm20In32(3 - Channels()), 1);
    ExpectRefusal(ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, MuxLookedAt() + LookedAt(2));
    EXPECT_EQ(array_[1]->Description().sWaveFormat.ulValidBitsPerSample, 20U) << "its format stays";
}

TEST_P(MuxDeinterleave, OfTwoInvalidOutputsReportsTheFirst)
{
    BuildFour(1);
    ReplaceBuffer(0, Opaque(Channels()), 1);
    RemoveBuffer(1);
    ExpectRefusal(ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, MuxLookedAt() + LookedAt(1));
}

// ---- Relabelling ----

TEST_P(MuxDeinterleave, RelabelsMuxAndOutputsOfTwentyBits)
{
    Build(Pcm20In32(Channels()), Four(), Pcm20In32(4), 1);
    EXPECT_EQ(Run(), 0);
    const Calls start(callLog_.Calls().begin(), callLog_.Calls().begin() + 7);
    EXPECT_EQ(start, MuxLookedAt() + (Calls{"mux.SetWaveFormat", "b0.QueryInterface", "b0.GetAudioSamplesDescription",
                                            "b0.SetWaveFormat"}));
    for (const auto& buffer : array_) {
        EXPECT_EQ(buffer->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    }
    EXPECT_EQ(mux_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, IntoAnOutputThatCannotBeRelabeledGivesTheHostsCode)
{
    Build(Pcm20In32(Channels()), Four(), Pcm24In32(4), 1);
    callLog_.FailCallsTo("b0.SetWaveFormat");
    ExpectRefusal(kInjectedFailure, MuxLookedAt() + LookedAt(1) + Calls{"b0.SetWaveFormat"});
}

TEST_P(MuxDeinterleave, DoesNotUndoTheRelabelingOfARejectedCall)
{
    Build(Pcm20In32(Channels()), 3, Pcm20In32(4), 1);
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(mux_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    EXPECT_EQ(array_[0]->Description().sWaveFormat.ulValidBitsPerSample, 20U) << "which was not read";
}

// ---- The busy flag ----

TEST_P(MuxDeinterleave, WhileTheEngineIsBusyFailsAndLeavesTheBusyFlag)
{
    BuildFour(1);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), MuxLookedAt() + LookedAt(Four()) + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    ExpectUntouched(ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 0);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, OfAMuxWhoseCodeIsModuleBusyLeavesTheBusyFlag)
{
    BuildFour(1);
    SetError(*mux_, ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U) << "the failure ending depends on the value of the code only";
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_P(MuxDeinterleave, FromInsideAHostCallOfAnotherIsBusy)
{
    BuildFour(1);
    int inner = 0;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "b0.SetPolarity(0)") {
            mux_->AnnounceRead();
            for (const auto& buffer : array_) {
                buffer->AnnounceWrite();
            }
            inner = DeinterleaveUnannounced(ChannelsPerBuffer());
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
        }
    };
    EXPECT_EQ(Run(), 0);
    callLog_.hook = nullptr;
    EXPECT_EQ(inner, ZT_E_MODULE_BUSY);
    ExpectAllBuffersCarry(ZT_E_MODULE_BUSY);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, CanBeStartedFromInsideTheSignalsOfAnother)
{
    for (const std::string& signal :
         {std::string("mux.SignalReadCompletion"), Name("b", Four() - 1) + ".SignalWriteCompletion"}) {
        BuildFour(2);
        std::vector<host::Ref<RecordingBuffer>> next;
        std::vector<IZtAudioSamples*> nextPointers;
        for (std::size_t i = 0; i < Four(); ++i) {
            next.push_back(Make(Name("next", i), Pcm24In32(Channels()), 2));
            nextPointers.push_back(next.back().Get());
        }
        int inner = -1;
        callLog_.hook = [&](const std::string& entry) {
            if (entry == signal && inner == -1) {
                inner = 0;
                mux_->AnnounceRead();
                for (const auto& buffer : next) {
                    buffer->AnnounceWrite();
                }
                call_.array = nextPointers.data();
                inner = DeinterleaveUnannounced(ChannelsPerBuffer());
            }
        };
        EXPECT_EQ(Run(), 0);
        callLog_.hook = nullptr;
        EXPECT_EQ(inner, 0);
        for (std::size_t i = 0; i < Four(); ++i) {
            EXPECT_EQ(AllSamplesOf(*next[i]), AllSamplesOf(*array_[i]));
            EXPECT_EQ(next[i]->WriteCount(), 0);
            ExpectAtRest({next[i].Get()});
        }
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, HoldsTheBuffersWhileItWorksAndTheMuxUntilItHasEnded)
{
    BuildFour(1);
    bool seen = false;
    bool held = true;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "b0.SetPolarity(0)") {
            seen = true;
            EXPECT_GE(array_[0]->References(), 3) << "the entry point's and the saved one";
            EXPECT_GE(mux_->References(), 4) << "the entry point's, the saved one and the worker's";
            EXPECT_TRUE(SZtLayoutProbe::HoldsOperands(Object()));
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
        }
        if (entry == "mux.SignalReadCompletion") {
            held = SZtLayoutProbe::HoldsOperands(Object()) || SZtLayoutProbe::Busy(Object()) != 0;
            EXPECT_GE(mux_->References(), 3) << "the entry point's and the worker's";
        }
    };
    EXPECT_EQ(Run(), 0);
    callLog_.hook = nullptr;
    EXPECT_TRUE(seen);
    EXPECT_FALSE(held) << "the busy flag is clear and the operands are released before the first signal";
}

// ---- Lengths ----

TEST_P(MuxDeinterleave, IntoLongerOutputsShortensThemToTheMux)
{
    BuildFour(80);
    ReplaceMux(Pcm24In32(4), 50, 80);
    EXPECT_EQ(Run(), 0);
    for (const auto& buffer : array_) {
        EXPECT_EQ(FramesOf(*buffer), 50U);
    }
    ExpectSettled();
}

TEST_P(MuxDeinterleave, WithVolumesIntoLongerOutputsKeepsTheirLengthsAndSpansThem)
{
    BuildFour(100);
    Fill(*mux_, std::vector<std::uint32_t>(400, 0x40000000));
    mux_->SetValidLength(50 * 16);
    UseVolumes(4);
    EXPECT_EQ(Run(), 0);
    for (const auto& buffer : array_) {
        EXPECT_EQ(FramesOf(*buffer), 100U);
        // 40 parts of 4096 less with each frame of the output.
        EXPECT_EQ(SamplesOf(*buffer, 50 * ChannelsPerBuffer()).back(), 0x40000000U / 4096 * (4096 - 49 * 40));
    }
}

TEST_P(MuxDeinterleave, IntoShorterOutputsIsRejectedWhateverTheirCapacity)
{
    for (const bool volumes : {false, true}) {
        BuildFour(80);
        for (const auto& buffer : array_) {
            buffer->SetValidLength(79 * 4 * ChannelsPerBuffer());
        }
        if (volumes) {
            UseVolumes(4);
        }
        const Words untouched = AllSamplesOf(*array_[0]);
        EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(AllSamplesOf(*array_[0]), untouched);
        ExpectAllBuffersCarry(ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, IntoOutputsOfDifferentLengthsIsRejected)
{
    BuildFour(80);
    array_[1]->SetValidLength(79 * 4 * ChannelsPerBuffer());
    mux_->SetValidLength(16);
    EXPECT_EQ(Run(), ZT_E_BUFFER_SIZE_MISMATCH);
    ExpectAllBuffersCarry(ZT_E_BUFFER_SIZE_MISMATCH);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, ThroughTheScratchBufferAcceptsItsCapacityAndNoFrameMore)
{
    struct Row {
        SZtaWaveFormatInfo (*mux)(std::uint32_t, std::uint32_t);
        SZtaWaveFormatInfo (*output)(std::uint32_t, std::uint32_t);
        std::size_t frames;
    };
    for (const Row& row :
         {Row{&Pcm24In32, &Pcm16, 24000}, Row{&Pcm16, &Pcm24In32, 12000}, Row{&Pcm24In32, &Pcm24In24, 16000}}) {
        for (const std::size_t frames : {row.frames, row.frames + 1}) {
            const int status = frames == row.frames ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL;
            Build(row.output(Channels(), host::kDefaultRate), Four(), row.mux(4, host::kDefaultRate), frames);
            EXPECT_EQ(Run(), status) << frames;
            ExpectAllBuffersCarry(status);
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
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    const std::size_t count = 8 / ChannelsPerBuffer();
    EXPECT_EQ(callLog_.Calls(), Entry(count) + WorkerStart() + Calls{"scratch0.SetWaveFormat"} + Digest("mux") +
                                    Digest("scratch0") + WorkerEnd(count, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED))
        << "and propagates nothing after a failure";
    ExpectAllBuffersCarry(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, NeverConvertsItsOutputs)
{
    Build(Float32(Channels()), Four(), Pcm24In32(4), 3);
    EXPECT_EQ(Run(), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
    ExpectAllBuffersCarry(ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, BetweenContainersWithoutAConversionIsRejected)
{
    for (const bool widens : {true, false}) {
        Build(widens ? Pcm24In24(Channels()) : Pcm16(Channels()), Four(), widens ? Pcm16(4) : Pcm24In24(4), 3);
        EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, WithAVolumeOutOfRangeContinuesWithTheLaterOutputs)
{
    BuildFour(4);
    Fill(*mux_, std::vector<std::uint32_t>(16, 0x40000000));
    UseVolumes(std::vector<SZtAudioMonoVolumeInfo>(4, {0, 0.5F, 0.5F}));
    volumes_[0].fEndVolume = 8.5F;
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(SamplesOf(*array_[0], 1)[0], 0x40000000U);
    EXPECT_EQ(SamplesOf(*array_.back(), 1)[0], 0x20000000U);
    ExpectAllBuffersCarry(ZT_E_INVALID_PARAMETER);
    ExpectSettled();
}

TEST_P(MuxDeinterleave, ReturnsTheHostsFailuresInTheWorker)
{
    struct Row {
        std::string entry;
        int status;
    };
    const Row rows[] = {
        {"scratch0.SetWaveFormat", kInjectedFailure},
        {"scratch0.SetLength(24)", kInjectedFailure},
        {"mux.GetBufferAndLength", kInjectedFailure},
        {SetLength("b0", 6 * ChannelsPerBuffer())[0], kInjectedFailure},
        {"b1.GetBufferCapacity", ZT_E_INVALID_PARAMETER},
    };
    for (const Row& row : rows) {
        Build(Pcm16(Channels()), Four(), Pcm24In32(4), 3);
        callLog_.FailCallsTo(row.entry);
        EXPECT_EQ(Run(), row.status) << row.entry;
        callLog_.ClearFaults();
        ExpectAllBuffersCarry(row.status);
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, WhoseBuffersCannotBeDescribedToTheWorkerGivesTheHostsCode)
{
    for (const int call : {1, 2}) {
        BuildFour(1);
        const std::string last = Name("b", Four() - 1) + ".MarkWriteStartTime";
        callLog_.hook = [&](const std::string& entry) {
            if (entry == last) {
                callLog_.FailCall(call);
            }
        };
        EXPECT_EQ(Run(), kInjectedFailure);
        callLog_.hook = nullptr;
        const Calls start = WorkerStart();
        EXPECT_EQ(callLog_.Calls(),
                  Entry(Four()) + Calls(start.begin(), start.begin() + call) + WorkerEnd(Four(), kInjectedFailure));
        ExpectSettled();
    }
}

TEST_P(MuxDeinterleave, IgnoresWhatTheHostReturnsForMarksFlagsAndSignals)
{
    for (const char* entry : {"b0.MarkWriteStartTime", "b0.SetPolarity(0)", "b0.SetFadeIn(0)", "b0.SetFadeOut(0)",
                              "mux.SignalReadCompletion", "b0.MarkWriteStopTime", "b0.SignalWriteCompletion"}) {
        BuildFour(3);
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(), 0) << entry;
        callLog_.ClearFaults();
        ExpectAllBuffersCarry(0);
        ExpectAtRest({mux_.Get(), array_[0].Get()});
    }
}

// ---- What is particular to one kind of buffers ----

using MuxToMono = MuxTest;
using MuxToStereo = MuxTest;

TEST_F(MuxToMono, OfFourChannelsIntoEightBuffersIsAnInvalidParameter)
{
    Build(Pcm24In32(1), 8, Pcm24In32(4), 1);
    EXPECT_EQ(Split(1), ZT_E_INVALID_PARAMETER);
    ExpectSettled();
}

TEST_F(MuxToStereo, WithOneVolumeTooManyIsRejectedByTheEntryPoint)
{
    Build(Pcm24In32(2), 4, Pcm24In32(8), 1);
    UseVolumes(9);
    EXPECT_EQ(Split(2), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(array_[0]->WriteStartMarks(), 0);
    ExpectSettled();
}

TEST_F(MuxToMono, LogsAFormatWithoutASuggestionAndNoFailureOfItsEntryPoint)
{
    Build(Pcm24In32(1), 4, Pcm24In32(4), 1);
    LogRecorder::Clear();
    pointers_[1] = nullptr;
    EXPECT_EQ(Split(1), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(LogRecorder::Count(), 0U) << "an entry point does not log";
    Build(Pcm24In32(1), 4, Float32(4), 1);
    EXPECT_EQ(Split(1), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1U);
}

} // namespace
} // namespace zta::test
