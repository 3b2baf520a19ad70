// CopyAudioSamplesMonoToMux and CopyAudioSamplesStereoToMux.

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

class MuxInterleaveTest : public MuxTest {
protected:
    /// The calls of the entry point on each of the first `count` inputs.
    static Calls LookedAt(std::size_t count)
    {
        return ForEach(count, [](std::size_t i) {
            return Calls{Name("b", i) + ".GetAudioSamplesDescription", Name("b", i) + ".QueryInterface",
                         Name("b", i) + ".GetErrorCode"};
        });
    }

    static Calls Entry(std::size_t count)
    {
        return Calls{"mux.QueryInterface"} + LookedAt(count) +
               Calls{"mux.GetAudioSamplesDescription", "mux.MarkWriteStartTime"};
    }

    static Calls WorkerStart() { return {"mux.GetAudioSamplesDescription"}; }

    static Calls Described(std::size_t i) { return {Name("b", i) + ".GetAudioSamplesDescription"}; }

    static Calls Copied(std::size_t i, std::size_t bytes)
    {
        return Described(i) + CopyToScratch(Name("b", i), Name("convert", i), bytes);
    }

    static Calls Converted(std::size_t i, std::size_t bytes)
    {
        return Described(i) + ConvertToScratch(Name("b", i), Name("convert", i), bytes);
    }

    static Calls Faded(std::size_t i, std::size_t bytes, int fadeIn, int fadeOut)
    {
        return CopyToScratch(Name("convert", i), Name("fade", i), bytes) + Flags(Name("fade", i), fadeIn, fadeOut) +
               Digest(Name("fade", i));
    }

    static Calls WorkerEnd(std::size_t count, int status = 0)
    {
        return ForEach(count, [](std::size_t i) { return Calls{Name("b", i) + ".SignalReadCompletion"}; }) +
               (status < 0 ? Calls{ErrorCall("mux", status)} : Calls{}) +
               Calls{"mux.MarkWriteStopTime", "mux.SignalWriteCompletion"};
    }

    /// The failure ending of an entry point: all buffers that are not null, then the mux.
    Calls Ending(int status) const
    {
        return ForEach(pointers_.size(),
                       [this](std::size_t i) {
                           return pointers_[i] == nullptr
                                      ? Calls{}
                                      : Calls{Name("b", i) + ".QueryInterface", Name("b", i) + ".SignalReadCompletion"};
                       }) +
               Calls{ErrorCall("mux", status), "mux.SignalWriteCompletion"};
    }

    /// Runs a call whose entry point fails after `before`: with every signal, without a mark, and with a clear busy
    /// flag even if another operation runs.
    void ExpectRefused(unsigned long side, int status, const Calls& before)
    {
        const Words untouched = AllSamplesOf(*mux_);
        SZtLayoutProbe::SetBusy(Object(), 1);
        EXPECT_EQ(CallInterleave(side), status);
        EXPECT_EQ(callLog_.Calls(), before + Ending(status));
        EXPECT_EQ(mux_->ErrorCode(), status);
        EXPECT_EQ(mux_->WriteStartMarks() + mux_->WriteStopMarks(), 0);
        EXPECT_EQ(AllSamplesOf(*mux_), untouched);
        ExpectSettled();
    }

    static void SetError(host::AudioBuffer& buffer, int code) { buffer.host::AudioBuffer::SetErrorCode(code); }
};

/// The tests of both operations, on mono and on stereo buffers.
class MuxInterleave : public MuxInterleaveTest, public ::testing::WithParamInterface<unsigned long> {
protected:
    static unsigned long ChannelsPerBuffer() { return GetParam(); }
    static std::uint32_t Channels() { return static_cast<std::uint32_t>(GetParam()); }

    /// As many buffers as four channels need.
    static std::size_t Four() { return 4 / ChannelsPerBuffer(); }

    void BuildFour(std::size_t frames) { Build(Pcm24In32(Channels()), Four(), Pcm24In32(4), frames); }

    int Run() { return CallInterleave(ChannelsPerBuffer()); }

    void ExpectRefusal(int status, const Calls& before) { ExpectRefused(ChannelsPerBuffer(), status, before); }
};

INSTANTIATE_TEST_SUITE_P(Buffers, MuxInterleave, ::testing::Values(1UL, 2UL),
                         [](const auto& parameter) { return parameter.param == 1 ? "Mono" : "Stereo"; });

const Calls kMuxQueried = {"mux.QueryInterface"};

// ---- The order of host calls on success ----

TEST_P(MuxInterleave, StagesEveryInputInterleavesAndSetsTheLength)
{
    BuildFour(5);
    const std::size_t bytes = 5 * 4 * ChannelsPerBuffer();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() +
                                    ForEach(Four(), [&](std::size_t i) { return Copied(i, bytes); }) +
                                    Polarity("mux", 0) + Flags("mux", 0, 0) + QueryCalls("convert", Four()) +
                                    Digest("mux") + SetLength("mux", 80) + WorkerEnd(Four()));
    EXPECT_EQ(mux_->ErrorCode(), 0);
    EXPECT_EQ(mux_->WriteStartMarks(), 1);
    EXPECT_EQ(mux_->WriteStopMarks(), 1);
    ExpectSettled();
}

TEST_P(MuxInterleave, WithVolumesScalesTheFinishedMux)
{
    BuildFour(5);
    UseVolumes(4);
    const std::size_t bytes = 5 * 4 * ChannelsPerBuffer();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() +
                                    ForEach(Four(), [&](std::size_t i) { return Copied(i, bytes); }) +
                                    Polarity("mux", 0) + Flags("mux", 0, 0) + QueryCalls("convert", Four()) +
                                    Digest("mux") + ApplyVolume("mux", 80) + WorkerEnd(Four()));
    ExpectSettled();
}

TEST_P(MuxInterleave, ConvertsInputsToTheContainerOfTheMux)
{
    for (const auto format : {&Pcm16, &Pcm24In24, &Float32}) {
        Build(format(Channels(), host::kDefaultRate), Four(), Pcm24In32(4), 3);
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(callLog_.Calls(),
                  Entry(Four()) + WorkerStart() +
                      ForEach(Four(), [](std::size_t i) { return Converted(i, 3 * 4 * ChannelsPerBuffer()); }) +
                      Polarity("mux", 0) + Flags("mux", 0, 0) + QueryCalls("convert", Four()) + Digest("mux") +
                      SetLength("mux", 48) + WorkerEnd(Four()));
        ExpectSettled();
    }
}

TEST_P(MuxInterleave, OfSixteenBitsIntoTwentyFourPutsThemAtTheTop)
{
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 1);
    EXPECT_EQ(Run(), 0);
    Words expected;
    for (const auto& buffer : array_) {
        for (const std::uint32_t sample : SamplesOf(*buffer, ChannelsPerBuffer())) {
            expected.push_back(sample << 16);
        }
    }
    EXPECT_EQ(SamplesOf(*mux_, 4), expected);
}

TEST_P(MuxInterleave, ConvertsOnlyTheInputsThatNeedIt)
{
    BuildFour(3);
    ReplaceBuffer(1, Pcm16(Channels()), 3);
    EXPECT_EQ(Run(), 0);
    const std::size_t bytes = 3 * 4 * ChannelsPerBuffer();
    EXPECT_EQ(callLog_.Calls(),
              Entry(Four()) + WorkerStart() +
                  ForEach(Four(), [&](std::size_t i) { return i == 1 ? Converted(i, bytes) : Copied(i, bytes); }) +
                  Polarity("mux", 0) + Flags("mux", 0, 0) + QueryCalls("convert", Four()) + Digest("mux") +
                  SetLength("mux", 48) + WorkerEnd(Four()));
    EXPECT_EQ(SamplesOf(*mux_, 2 * ChannelsPerBuffer()).back(), SamplesOf(*array_[1], ChannelsPerBuffer()).back()
                                                                    << 16);
}

TEST_P(MuxInterleave, OfAnEmptyArrayOfFramesEmptiesTheMux)
{
    BuildFour(0);
    ReplaceMux(Pcm24In32(4), 7, 7);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(mux_->Length(), 0U);
    ExpectSettled();
}

// ---- Fades ----

TEST_P(MuxInterleave, FadesAnInputInItsSecondScratchBuffer)
{
    BuildFour(300);
    const std::size_t bytes = 300 * 4 * ChannelsPerBuffer();
    std::vector<std::uint32_t> loud(300 * ChannelsPerBuffer(), 0x40000000);
    Fill(*array_[0], loud);
    array_[0]->SetFades(true, false);
    Fill(*array_[1], loud);
    array_[1]->SetFades(true, true);
    array_.back()->SetPolarity(9);
    EXPECT_EQ(Run(), 0);

    const bool propagates = ChannelsPerBuffer() == 2; // the last of two stereo inputs asks for both fades
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + Copied(0, bytes) + Faded(0, bytes, 1, 0) +
                                    Copied(1, bytes) + Faded(1, bytes, 1, 1) +
                                    (propagates ? Calls{} : Copied(2, bytes) + Copied(3, bytes)) + Polarity("mux", 9) +
                                    Flags("mux", propagates, propagates) + Digest("fade0") + Digest("fade1") +
                                    (propagates ? Calls{} : Digest("convert2") + Digest("convert3")) + Digest("mux") +
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

TEST_P(MuxInterleave, TakesPolarityAndFlagsFromTheLastInput)
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
}

TEST_P(MuxInterleave, OfInputsWithoutFadesClearsTheFlagsOfTheMux)
{
    BuildFour(3);
    array_.front()->SetFades(false, false);
    mux_->SetFades(true, true);
    EXPECT_EQ(Run(), 0);
    EXPECT_FALSE(mux_->Description().bFadeIn || mux_->Description().bFadeOut);
}

// The second scratch buffer has the input's own format, so an input that needs a conversion and a fade is faded in the
// wrong format, and the kernel table has no entry for it.

TEST_P(MuxInterleave, RejectsInputsThatNeedAConversionAndAFade)
{
    Build(Pcm24In32(Channels()), Four(), Pcm16(4), 400);
    for (const auto& buffer : array_) {
        buffer->SetFades(true, false);
    }
    const std::size_t bytes = 400 * 2 * ChannelsPerBuffer();
    const Words untouched = AllSamplesOf(*mux_);
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    const int propagates = ChannelsPerBuffer() == 2;
    EXPECT_EQ(callLog_.Calls(),
              Entry(Four()) + WorkerStart() +
                  ForEach(Four(), [&](std::size_t i) { return Converted(i, bytes) + Faded(i, bytes, 1, 0); }) +
                  Polarity("mux", 0) + Flags("mux", propagates, 0) + QueryCalls("fade", Four()) + Digest("mux") +
                  WorkerEnd(Four(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
    EXPECT_NE(SamplesOf(host_.Buffer("fade0"), 100), SamplesOf(host_.Buffer("convert0"), 100)) << "the fade has run";
    EXPECT_EQ(AllSamplesOf(*mux_), untouched);
    ExpectSettled();
}

TEST_P(MuxInterleave, RejectsConvertedAndFadedInputsAlsoWhereTheMuxCanHoldTheLengthOfTheirFormat)
{
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 300);
    ReplaceMux(Pcm24In32(4), 600, 600);
    for (const auto& buffer : array_) {
        buffer->SetFades(false, true);
    }
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    ExpectSettled();
}

TEST_P(MuxInterleave, RejectsConvertedAndFadedInputsByTheLengthOfTheirFormatIfThatDoesNotFit)
{
    // In that format each frame counts as two: more than the mux has, or than an input without a fade.
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 300);
    for (const auto& buffer : array_) {
        buffer->SetFades(true, false);
    }
    EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    ExpectSettled();
    array_[1]->SetFades(false, false);
    EXPECT_EQ(Run(), ZT_E_BUFFER_SIZE_MISMATCH);
    ExpectSettled();
}

TEST_P(MuxInterleave, RejectsAFadeOfAnInputWhoseOwnLayoutHasNone)
{
    for (const auto format : {&Float32, &Pcm24In24}) {
        Build(format(Channels(), host::kDefaultRate), Four(), Pcm24In32(4), 300);
        array_[0]->SetFades(true, false);
        EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
        const std::size_t bytes = 300 * 4 * ChannelsPerBuffer();
        EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + Converted(0, bytes) + Faded(0, bytes, 1, 0) +
                                        WorkerEnd(Four(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
        ExpectSettled();
    }
}

// ---- Failures of the entry point, in the order of its checks ----

TEST_P(MuxInterleave, WithoutAMuxSignalsNothing)
{
    BuildFour(1);
    call_.mux = nullptr;
    call_.array = nullptr;
    EXPECT_EQ(InterleaveUnannounced(ChannelsPerBuffer()), ZT_E_INVALID_POINTER);
    call_.array = pointers_.data();
    callLog_.Clear();
    EXPECT_EQ(InterleaveUnannounced(ChannelsPerBuffer()), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
}

TEST_P(MuxInterleave, IntoAMuxWithoutAContentSignalsNothing)
{
    BuildFour(1);
    callLog_.FailCallsTo("mux.QueryInterface");
    callLog_.Clear();
    EXPECT_EQ(InterleaveUnannounced(ChannelsPerBuffer()), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), kMuxQueried);
    call_.array = nullptr;
    EXPECT_EQ(InterleaveUnannounced(ChannelsPerBuffer()), ZT_E_INVALID_PARAMETER) << "the mux is checked first";
    ExpectSettled();
}

TEST_P(MuxInterleave, WithoutAnArraySignalsTheMux)
{
    BuildFour(1);
    pointers_.clear();
    call_.array = nullptr;
    ExpectRefusal(ZT_E_INVALID_POINTER, kMuxQueried);
    call_.count = 0;
    ExpectRefusal(ZT_E_INVALID_POINTER, kMuxQueried);
}

TEST_P(MuxInterleave, WithVolumesThatDoNotFitChecksNoInput)
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
        {four, 6, true, ZT_E_INVALID_PARAMETER},
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
        ExpectRefusal(row.status, kMuxQueried);
    }
}

TEST_P(MuxInterleave, OfAMissingArrayAndVolumesThatDoNotFitReportsTheVolumes)
{
    BuildFour(1);
    pointers_.clear();
    call_.array = nullptr;
    UseVolumes(1);
    ExpectRefusal(ZT_E_INVALID_PARAMETER, kMuxQueried);
    UseVolumes(4);
    ExpectRefusal(ZT_E_INVALID_POINTER, kMuxQueried);
}

TEST_P(MuxInterleave, WithoutAVolumeCountDoesNotReadTheVolumes)
{
    BuildFour(1);
    UseVolumes({{0, 9.0F, -1.0F}});
    call_.volumeCount = 0;
    EXPECT_EQ(Run(), 0);
}

TEST_P(MuxInterleave, StopsAtAMissingInputAndSignalsTheOthers)
{
    BuildFour(1);
    RemoveBuffer(0);
    ExpectRefusal(ZT_E_INVALID_POINTER, kMuxQueried);
    BuildFour(1);
    RemoveBuffer(1);
    ExpectRefusal(ZT_E_INVALID_POINTER, kMuxQueried + LookedAt(1));
}

TEST_P(MuxInterleave, StopsAtAnInputWithoutAContent)
{
    BuildFour(1);
    callLog_.FailCallsTo("b1.QueryInterface", E_NOINTERFACE);
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    Calls ending = Ending(ZT_E_INVALID_PARAMETER);
    ending.erase(std::find(ending.begin(), ending.end(), "b1.SignalReadCompletion"));
    EXPECT_EQ(callLog_.Calls(),
              kMuxQueried + LookedAt(1) + (Calls{"b1.GetAudioSamplesDescription", "b1.QueryInterface"}) + ending);
    EXPECT_EQ(array_[1]->ReadCount(), 1) << "there is nothing to signal";
    ExpectAtRest({array_[0].Get(), array_[1].Get(), mux_.Get()});
}

TEST_P(MuxInterleave, SignalsAnInputWhoseLaterQuerySucceeds)
{
    BuildFour(1);
    callLog_.hook = [this](const std::string& entry) {
        if (entry == "b1.GetAudioSamplesDescription") {
            callLog_.FailCall(1);
        }
    };
    // The request counts from the next call on.
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    callLog_.hook = nullptr;
    EXPECT_EQ(callLog_.Count("b1.QueryInterface"), 2);
    ExpectSettled();
}

TEST_P(MuxInterleave, PropagatesTheErrorCodeOfAnInput)
{
    for (std::size_t bad = 0; bad < Four(); ++bad) {
        BuildFour(1);
        SetError(*array_[bad], ZT_E_FAIL);
        ExpectRefusal(ZT_E_FAIL, kMuxQueried + LookedAt(bad + 1));
    }
}

TEST_P(MuxInterleave, AcceptsLateAndDroppedInputsAndPositiveCodes)
{
    for (const unsigned int code : {0xA306F002U, 0xA306F003U, 0xA306F004U, 0xA306F00CU, 0xA306F00DU, 0xE306F000U, 7U}) {
        BuildFour(1);
        SetError(*array_[1], static_cast<int>(code));
        EXPECT_EQ(Run(), 0) << std::hex << code;
        EXPECT_EQ(mux_->ErrorCode(), 0);
        ExpectSettled();
    }
    BuildFour(1);
    SetError(*array_[0], kZtSynchroStatusCancelled);
    SetError(*array_[1], static_cast<int>(0xE306F001));
    ExpectRefusal(static_cast<int>(0xE306F001), kMuxQueried + LookedAt(2));
}

TEST_P(MuxInterleave, ChecksTheInputsBeforeItsCounts)
{
    BuildFour(1);
    UseVolumes(1);
    SetError(*array_[0], ZT_E_FAIL);
    ExpectRefusal(ZT_E_INVALID_PARAMETER, kMuxQueried);

    Build(Pcm24In32(Channels()), 3, Pcm24In32(4), 1);
    SetError(*array_[1], ZT_E_FAIL);
    ExpectRefusal(ZT_E_FAIL, kMuxQueried + LookedAt(2));

    Build(Pcm24In32(Channels()), 3, Pcm24In32(4), 1);
    SetError(*array_[0], ZT_E_FAIL);
    RemoveBuffer(1);
    ExpectRefusal(ZT_E_FAIL, kMuxQueried + LookedAt(1));
}

TEST_P(MuxInterleave, OfACountThatNoMuxHasIsAnInvalidParameter)
{
    std::vector<std::size_t> counts = {0, 1, 3, 5, 6, 7, 12, 33, 63, 65};
    if (ChannelsPerBuffer() == 2) {
        counts.push_back(64);
    }
    for (const std::size_t count : counts) {
        SCOPED_TRACE(count);
        const auto width = static_cast<std::uint32_t>(count * ChannelsPerBuffer());
        Build(Pcm24In32(Channels()), count, Pcm24In32(width), 1);
        ExpectRefusal(ZT_E_INVALID_PARAMETER, kMuxQueried + LookedAt(count) + Calls{"mux.GetAudioSamplesDescription"});
    }
    Build(Pcm24In32(Channels()), 3, Pcm24In32(4), 1);
    ExpectRefusal(ZT_E_INVALID_PARAMETER, kMuxQueried + LookedAt(3) + Calls{"mux.GetAudioSamplesDescription"});
}

TEST_P(MuxInterleave, OfAMuxWhoseDescriptionFailsIsAnInvalidParameter)
{
    BuildFour(1);
    callLog_.FailCallsTo("mux.GetAudioSamplesDescription");
    ExpectRefusal(ZT_E_INVALID_PARAMETER, kMuxQueried + LookedAt(Four()) + Calls{"mux.GetAudioSamplesDescription"});
}

TEST_P(MuxInterleave, OfAMuxThatCannotBeRelabeledGivesTheHostsCodeAlsoForACountThatNoMuxHas)
{
    for (const std::size_t count : {Four(), std::size_t{3}}) {
        Build(Pcm24In32(Channels()), count, Pcm20In32(4), 1);
        callLog_.FailCallsTo("mux.SetWaveFormat");
        ExpectRefusal(kInjectedFailure,
                      kMuxQueried + LookedAt(count) + Calls{"mux.GetAudioSamplesDescription", "mux.SetWaveFormat"});
        callLog_.ClearFaults();
    }
}

TEST_P(MuxInterleave, IntoAMuxOfAnotherWidthIsAFormatMismatch)
{
    for (const std::size_t count : {2UL, 4UL, 8UL, 16UL, 32UL, 64UL}) {
        if (count * ChannelsPerBuffer() > 64) {
            continue;
        }
        for (const std::size_t width : {count * ChannelsPerBuffer() / 2, count * ChannelsPerBuffer() * 2,
                                        count * ChannelsPerBuffer() + 1, std::size_t{0}}) {
            SCOPED_TRACE(std::to_string(count) + " into " + std::to_string(width));
            Build(Pcm24In32(Channels()), count, Pcm24In32(4), 1);
            mux_->SetFormat(Pcm24In32(static_cast<std::uint32_t>(width)));
            ExpectRefusal(ZT_E_BUFFER_FORMAT_MISMATCH,
                          kMuxQueried + LookedAt(count) + Calls{"mux.GetAudioSamplesDescription"});
        }
    }
}

TEST_P(MuxInterleave, IntoAnOpaqueMuxIsRejectedAfterItsWidth)
{
    Build(Pcm24In32(Channels()), Four(), Opaque(4), 1);
    ExpectRefusal(ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE,
                  kMuxQueried + LookedAt(Four()) + Calls{"mux.GetAudioSamplesDescription"});
    mux_->SetFormat(Opaque(8));
    ExpectRefusal(ZT_E_BUFFER_FORMAT_MISMATCH,
                  kMuxQueried + LookedAt(Four()) + Calls{"mux.GetAudioSamplesDescription"});
}

// ---- Statuses of the inputs that are overwritten ----

TEST_P(MuxInterleave, OfInputsWithOtherChannelsIsRejectedByTheWorker)
{
    BuildFour(1);
    ReplaceBuffer(1, Pcm24In32(3 - Channels()), 1);
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + Copied(0, 4 * ChannelsPerBuffer()) + Described(1) +
                                    Calls{"convert1.SetWaveFormat"} + Digest("b1") + Digest("convert1") +
                                    WorkerEnd(Four(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    ExpectSettled();
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
    callLog_.hook = [this](const std::string& entry) {
        if (entry == "b0.GetErrorCode") {
            callLog_.FailCall(1); // the description of the next input
        }
    };
    EXPECT_EQ(Run(), 0);
    callLog_.hook = nullptr;
    EXPECT_TRUE(callLog_.HasFailed());
    EXPECT_EQ(mux_->ErrorCode(), 0);
    ExpectSettled();
}

// ---- Relabelling ----

TEST_P(MuxInterleave, RelabelsInputsAndMuxOfTwentyBits)
{
    Build(Pcm20In32(Channels()), Four(), Pcm20In32(4), 1);
    EXPECT_EQ(Run(), 0);
    const Calls start(callLog_.Calls().begin(), callLog_.Calls().begin() + 5);
    EXPECT_EQ(start, (Calls{"mux.QueryInterface", "b0.GetAudioSamplesDescription", "b0.SetWaveFormat",
                            "b0.QueryInterface", "b0.GetErrorCode"}));
    for (const auto& buffer : array_) {
        EXPECT_EQ(buffer->Description().sWaveFormat.ulValidBitsPerSample, 24U);
        EXPECT_EQ(callLog_.Count(buffer->Name() + ".SetWaveFormat"), 1);
    }
    EXPECT_EQ(mux_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    ExpectSettled();
}

TEST_P(MuxInterleave, OfAnInputThatCannotBeRelabeledContinues)
{
    Build(Pcm20In32(Channels()), Four(), Pcm24In32(4), 1);
    callLog_.FailCallsTo("b0.SetWaveFormat");
    EXPECT_EQ(Run(), 0) << "the kernels read 20 bits as 24";
    EXPECT_EQ(array_[0]->Description().sWaveFormat.ulValidBitsPerSample, 20U);
    EXPECT_EQ(array_[1]->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    ExpectSettled();
}

TEST_P(MuxInterleave, DoesNotUndoTheRelabelingOfARejectedCall)
{
    Build(Pcm20In32(Channels()), Four(), Pcm20In32(8), 1);
    EXPECT_EQ(Run(), ZT_E_BUFFER_FORMAT_MISMATCH);
    EXPECT_EQ(array_[0]->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    EXPECT_EQ(mux_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
}

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

// ---- The busy flag ----

TEST_P(MuxInterleave, WhileTheEngineIsBusyFailsAndLeavesTheBusyFlag)
{
    BuildFour(1);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(),
              kMuxQueried + LookedAt(Four()) + Calls{"mux.GetAudioSamplesDescription"} + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(mux_->WriteStartMarks() + mux_->WriteStopMarks(), 0);
    SZtLayoutProbe::SetBusy(Object(), 0);
    ExpectSettled();
}

TEST_P(MuxInterleave, OfAnInputWhoseCodeIsModuleBusyLeavesTheBusyFlag)
{
    BuildFour(1);
    SetError(*array_[0], ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U) << "the failure ending depends on the value of the code only";
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_P(MuxInterleave, FromInsideAHostCallOfAnotherIsBusy)
{
    BuildFour(1);
    auto other = Make("other", Pcm24In32(4), 1);
    int inner = 0;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "mux.SetLength(16)") {
            MuxCall call = call_;
            std::swap(call.mux, call_.mux);
            call_.mux = other.Get();
            for (const auto& buffer : array_) {
                buffer->AnnounceRead();
            }
            other->AnnounceWrite();
            inner = InterleaveUnannounced(ChannelsPerBuffer());
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
        }
    };
    EXPECT_EQ(Run(), 0);
    callLog_.hook = nullptr;
    EXPECT_EQ(inner, ZT_E_MODULE_BUSY);
    EXPECT_EQ(other->ErrorCode(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(other->WriteCount(), 0);
    EXPECT_EQ(mux_->ErrorCode(), 0);
    ExpectAtRest({other.Get()});
    ExpectSettled();
}

TEST_P(MuxInterleave, CanBeStartedFromInsideTheSignalsOfAnother)
{
    for (const char* signal : {"b0.SignalReadCompletion", "mux.SignalWriteCompletion"}) {
        BuildFour(2);
        auto next = Make("next", Pcm24In32(4), 2);
        int inner = -1;
        callLog_.hook = [&](const std::string& entry) {
            if (entry == signal && inner == -1) {
                inner = 0;
                call_.mux = next.Get();
                for (const auto& buffer : array_) {
                    buffer->AnnounceRead();
                }
                next->AnnounceWrite();
                inner = InterleaveUnannounced(ChannelsPerBuffer());
            }
        };
        EXPECT_EQ(Run(), 0);
        callLog_.hook = nullptr;
        EXPECT_EQ(inner, 0);
        EXPECT_EQ(next->WriteStopMarks(), 1);
        EXPECT_EQ(AllSamplesOf(*next), AllSamplesOf(*mux_));
        ExpectAtRest({next.Get()});
        ExpectSettled();
    }
}

TEST_P(MuxInterleave, HoldsTheBuffersWhileItWorksAndTheMuxUntilItHasEnded)
{
    BuildFour(1);
    bool seen = false;
    bool held = true;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "mux.SetLength(16)") {
            seen = true;
            EXPECT_GE(array_[0]->References(), 2) << "the saved one";
            EXPECT_GE(mux_->References(), 4) << "the entry point's, the saved one and the worker's";
            EXPECT_TRUE(SZtLayoutProbe::HoldsOperands(Object()));
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
        }
        if (entry == "b0.SignalReadCompletion") {
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

TEST_P(MuxInterleave, IntoALongerMuxShortensItToTheInputs)
{
    BuildFour(60);
    ReplaceMux(Pcm24In32(4), 100, 100);
    const Words before = AllSamplesOf(*mux_);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(FramesOf(*mux_), 60U);
    const Words after = AllSamplesOf(*mux_);
    EXPECT_TRUE(std::equal(after.begin() + 240, after.end(), before.begin() + 240)) << "its tail is not touched";
}

TEST_P(MuxInterleave, WithVolumesIntoALongerMuxKeepsItsLengthAndScalesItsTail)
{
    BuildFour(60);
    ReplaceMux(Pcm24In32(4), 100, 100);
    for (std::size_t i = 240; i < 400; ++i) {
        reinterpret_cast<std::uint32_t*>(mux_->Data())[i] = 0x40000000;
    }
    UseVolumes(std::vector<SZtAudioMonoVolumeInfo>(4, {0, 1.0F, 0.0F}));
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(FramesOf(*mux_), 100U);
    // The ramp spans the mux: 40 parts of 4096 less with each of its frames.
    const Words samples = AllSamplesOf(*mux_);
    EXPECT_EQ(samples[4 * 60], 0x40000000U / 4096 * (4096 - 60 * 40));
    EXPECT_EQ(samples[4 * 99 + 3], 0x40000000U / 4096 * (4096 - 99 * 40));
}

TEST_P(MuxInterleave, IntoAShorterMuxIsRejectedWhateverItsCapacity)
{
    for (const bool volumes : {false, true}) {
        BuildFour(60);
        ReplaceMux(Pcm24In32(4), 59, 100);
        if (volumes) {
            UseVolumes(4);
        }
        const Words untouched = AllSamplesOf(*mux_);
        EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(mux_->ErrorCode(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(AllSamplesOf(*mux_), untouched);
        EXPECT_EQ(FramesOf(*mux_), 59U);
        ExpectSettled();
    }
}

TEST_P(MuxInterleave, OfInputsOfDifferentLengthsIsRejected)
{
    for (const std::size_t frames : {59U, 61U}) {
        BuildFour(60);
        ReplaceBuffer(1, Pcm24In32(Channels()), frames);
        ReplaceMux(Pcm24In32(4), 100, 100);
        EXPECT_EQ(Run(), ZT_E_BUFFER_SIZE_MISMATCH);
        EXPECT_EQ(mux_->ErrorCode(), ZT_E_BUFFER_SIZE_MISMATCH);
        ExpectSettled();
    }
}

TEST_P(MuxInterleave, TakesWhatItsStagesHoldAndNotAFrameMore)
{
    struct Row {
        SZtaWaveFormatInfo (*input)(std::uint32_t, std::uint32_t);
        SZtaWaveFormatInfo (*mux)(std::uint32_t, std::uint32_t);
        std::size_t monoFrames;
        bool converts;
    };
    const Row rows[] = {
        {&Pcm24In32, &Pcm24In32, 48000, false}, {&Pcm24In24, &Pcm24In24, 64000, false},
        {&Pcm16, &Pcm16, 96000, false},         {&Pcm16, &Pcm24In32, 48000, true},
        {&Float32, &Pcm24In32, 48000, true},    {&Pcm24In32, &Pcm16, 96000, true},
    };
    for (const Row& row : rows) {
        const std::size_t most = row.monoFrames / ChannelsPerBuffer();
        const SZtaWaveFormatInfo format = row.input(Channels(), host::kDefaultRate);
        SCOPED_TRACE(host::FormatName(format) + ", " + std::to_string(most));
        Build(format, Four(), row.mux(4, host::kDefaultRate), most);
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(FramesOf(*mux_), most);
        ExpectSettled();

        ReplaceBuffer(1, format, most + 1);
        EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(mux_->ErrorCode(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        const Calls refused = row.converts ? Calls{"convert1.SetWaveFormat"} + Digest("b1") + Digest("convert1")
                                           : CopyToScratch("b1", "convert1", (most + 1) * host::BytesPerFrame(format)) +
                                                 Calls{"convert1.QueryInterface",
                                                       ErrorCall("convert1", ZT_E_DESTINATION_BUFFER_TOO_SMALL)};
        const Calls end = Described(1) + refused + WorkerEnd(Four(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        ASSERT_GE(callLog_.Calls().size(), end.size());
        EXPECT_EQ(Calls(callLog_.Calls().end() - static_cast<std::ptrdiff_t>(end.size()), callLog_.Calls().end()), end);
        if (!row.converts) {
            EXPECT_EQ(host_.Buffer("convert1").References(), 2) << "a byte copy that does not fit keeps a reference";
            host_.Buffer("convert1").Release();
        }
        ExpectSettled();
    }
}

// ---- Rejections in the worker ----

TEST_P(MuxInterleave, BetweenContainersWithoutAConversionIsRejected)
{
    for (const bool widens : {true, false}) {
        const SZtaWaveFormatInfo in = widens ? Pcm16(Channels()) : Pcm24In24(Channels());
        Build(in, Four(), widens ? Pcm24In24(4) : Pcm16(4), 3);
        EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
        EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + Described(0) + Calls{"convert0.SetWaveFormat"} +
                                        Digest("b0") + Digest("convert0") +
                                        WorkerEnd(Four(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
        ExpectSettled();
    }
}

TEST_P(MuxInterleave, WithAVolumeOutOfRangeLeavesTheAssembledSamples)
{
    BuildFour(2);
    UseVolumes(4);
    volumes_[3].fEndVolume = 8.5F;
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(SamplesOf(*mux_, ChannelsPerBuffer()), SamplesOf(*array_[0], ChannelsPerBuffer()));
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_INVALID_PARAMETER);
    ExpectSettled();
}

TEST_P(MuxInterleave, ReturnsTheHostsFailuresInTheWorker)
{
    // Everything between the mark and the tail whose status counts, once, counted from the start of the call.
    struct Row {
        std::string entry;
        int status;
    };
    const Row rows[] = {
        {"convert0.SetWaveFormat", kInjectedFailure},
        {SetLength("convert1", 12 * ChannelsPerBuffer())[0], kInjectedFailure},
        {"mux.SetLength(48)", kInjectedFailure},
        {"mux.GetBufferAndLength", kInjectedFailure},
        {"mux.GetBufferCapacity", kInjectedFailure},
        {"convert0.GetAudioSamplesDescription", ZT_E_INVALID_PARAMETER},
        {"b0.GetBufferAndLength", kInjectedFailure},
    };
    for (const Row& row : rows) {
        BuildFour(3);
        callLog_.FailCallsTo(row.entry);
        EXPECT_EQ(Run(), row.status) << row.entry;
        callLog_.ClearFaults();
        EXPECT_EQ(mux_->ErrorCode(), row.status) << row.entry;
        EXPECT_EQ(mux_->WriteStopMarks(), 1);
        ExpectSettled();
    }
}

TEST_P(MuxInterleave, IgnoresWhatTheHostReturnsForMarksFlagsAndSignals)
{
    for (const char* entry : {"mux.MarkWriteStartTime", "mux.SetPolarity(0)", "mux.SetFadeIn(0)", "mux.SetFadeOut(0)",
                              "b0.SignalReadCompletion", "mux.MarkWriteStopTime", "mux.SignalWriteCompletion"}) {
        BuildFour(3);
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(), 0) << entry;
        callLog_.ClearFaults();
        EXPECT_EQ(mux_->ErrorCode(), 0) << entry;
        ExpectAtRest({mux_.Get(), array_[0].Get()});
    }
}

TEST_P(MuxInterleave, WhoseMuxCannotBeDescribedToTheWorkerGivesTheHostsCode)
{
    BuildFour(1);
    callLog_.hook = [this](const std::string& entry) {
        if (entry == "mux.MarkWriteStartTime") {
            callLog_.FailCall(1);
        }
    };
    EXPECT_EQ(Run(), kInjectedFailure);
    callLog_.hook = nullptr;
    EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() + WorkerEnd(Four(), kInjectedFailure));
    ExpectSettled();
}

// ---- What is particular to mono buffers ----

using MonoToMux = MuxInterleaveTest;

TEST_F(MonoToMux, OfTwoBuffersIntoStereoPassesTheEntryPointAndHasNoKernel)
{
    Build(Pcm24In32(1), 2, Pcm24In32(2), 1);
    EXPECT_EQ(CallInterleave(1), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), Entry(2) + WorkerStart() + Copied(0, 4) + Copied(1, 4) + Polarity("mux", 0) +
                                    Flags("mux", 0, 0) + QueryCalls("convert", 2) + Digest("mux") +
                                    WorkerEnd(2, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    ExpectSettled();
}

TEST_F(MonoToMux, OfEightBuffersIntoFourChannelsIsAFormatMismatch)
{
    Build(Pcm24In32(1), 8, Pcm24In32(4), 1);
    ExpectRefused(1, ZT_E_BUFFER_FORMAT_MISMATCH, kMuxQueried + LookedAt(8) + Calls{"mux.GetAudioSamplesDescription"});
}

TEST_F(MonoToMux, WhoseInputCannotBeDescribedToTheWorkerGivesTheHostsCode)
{
    Build(Pcm24In32(1), 4, Pcm24In32(4), 1);
    callLog_.hook = [this](const std::string& entry) {
        if (entry == "convert1.GetBufferAndLength") {
            callLog_.FailCall(1);
        }
    };
    EXPECT_EQ(CallInterleave(1), kInjectedFailure);
    callLog_.hook = nullptr;
    EXPECT_EQ(callLog_.Calls(),
              Entry(4) + WorkerStart() + Copied(0, 4) + Copied(1, 4) + Described(2) + WorkerEnd(4, kInjectedFailure));
    ExpectSettled();
}

TEST_F(MonoToMux, WithNineVolumesForEightBuffersIsRejectedByTheEntryPoint)
{
    Build(Pcm24In32(1), 8, Pcm24In32(8), 1);
    UseVolumes(9);
    ExpectRefused(1, ZT_E_INVALID_PARAMETER, kMuxQueried);
}

// ---- What is particular to stereo buffers ----

using StereoToMux = MuxInterleaveTest;

TEST_F(StereoToMux, TakesAnInputThatCannotBeDescribedToTheWorkerForTheOneBeforeIt)
{
    Build(Pcm24In32(2), 2, Pcm24In32(4), 1);
    array_[0]->SetPolarity(4);
    array_[1]->SetPolarity(5);
    callLog_.hook = [this](const std::string& entry) {
        if (entry == "convert0.GetBufferAndLength" && !callLog_.HasFailed()) {
            callLog_.FailCall(1);
        }
    };
    EXPECT_EQ(CallInterleave(2), 0);
    callLog_.hook = nullptr;
    EXPECT_EQ(callLog_.Calls(), Entry(2) + WorkerStart() + Copied(0, 8) + Copied(1, 8) + Polarity("mux", 4) +
                                    Flags("mux", 0, 0) + QueryCalls("convert", 2) + Digest("mux") +
                                    SetLength("mux", 16) + WorkerEnd(2));
    EXPECT_EQ(SamplesOf(*mux_, 4)[2], SamplesOf(*array_[1], 1)[0]);
    ExpectSettled();
}

TEST_F(StereoToMux, OfAFirstInputThatCannotBeDescribedToTheWorkerKnowsNoFormat)
{
    Build(Pcm24In32(2), 2, Pcm24In32(4), 1);
    callLog_.hook = [this](const std::string& entry) {
        if (entry == "mux.MarkWriteStartTime") {
            callLog_.FailCall(2);
        }
    };
    EXPECT_EQ(CallInterleave(2), ZT_E_FORMAT_NOT_SUPPORTED);
    callLog_.hook = nullptr;
    ExpectSettled();
}

TEST_F(StereoToMux, WithOneVolumeTooManyInterleavesAndIsThenRejected)
{
    Build(Pcm24In32(2), 4, Pcm24In32(8), 3);
    UseVolumes(9);
    EXPECT_EQ(CallInterleave(2), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), Entry(4) + WorkerStart() + ForEach(4, [](std::size_t i) { return Copied(i, 24); }) +
                                    Polarity("mux", 0) + Flags("mux", 0, 0) + QueryCalls("convert", 4) + Digest("mux") +
                                    Digest("mux") + Digest("mux") + WorkerEnd(4, ZT_E_INVALID_PARAMETER));
    EXPECT_EQ(SamplesOf(*mux_, 2), SamplesOf(*array_[0], 2)) << "the samples are not scaled";
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_INVALID_PARAMETER);
    ExpectSettled();
}

TEST_F(StereoToMux, WithMoreVolumesThanTheEngineKeepsDoesNoWorkAndSignalsEveryBuffer)
{
    Build(Pcm24In32(2), 32, Pcm24In32(64), 1);
    UseVolumes(65);
    const Words untouched = AllSamplesOf(*mux_);
    EXPECT_EQ(CallInterleave(2), ZT_E_ARRAY_TOO_SMALL);
    EXPECT_EQ(callLog_.Calls(), Entry(32) + WorkerEnd(32, ZT_E_ARRAY_TOO_SMALL));
    EXPECT_EQ(mux_->ErrorCode(), ZT_E_ARRAY_TOO_SMALL);
    EXPECT_EQ(AllSamplesOf(*mux_), untouched);
    ExpectSettled();

    UseVolumes(64);
    EXPECT_EQ(CallInterleave(2), 0) << "the engine is as good as new";
}

TEST_F(StereoToMux, KeepsTheRequestForFadesOnTheMuxThoughItsSamplesAreFaded)
{
    Build(Pcm24In32(2), 2, Pcm24In32(4), 300);
    for (const auto& buffer : array_) {
        Fill(*buffer, std::vector<std::uint32_t>(600, 0x40000000));
        buffer->SetFades(true, true);
    }
    EXPECT_EQ(CallInterleave(2), 0);
    EXPECT_TRUE(mux_->Description().bFadeIn && mux_->Description().bFadeOut);
    EXPECT_LT(SamplesOf(*mux_, 1)[0], 0x01000000U);
}

// ---- The log ----

TEST_F(MonoToMux, LogsAFormatWithoutASuggestionAndNoFailureOfItsEntryPoint)
{
    Build(Pcm24In32(1), 4, Pcm24In32(4), 1);
    LogRecorder::Clear();
    pointers_[1] = nullptr;
    EXPECT_EQ(CallInterleave(1), ZT_E_INVALID_POINTER);
    EXPECT_EQ(LogRecorder::Count(), 0U) << "an entry point does not log";
    Build(Opaque(1, 32, 32), 4, Pcm24In32(4), 1);
    EXPECT_EQ(CallInterleave(1), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1U);
}

} // namespace
} // namespace zta::test
