// CopyAudioSamplesMonoToMux and CopyAudioSamplesStereoToMux.

#include "tests/support/log_recorder.h"
#include "tests/support/mux_fixture.h"

#include <algorithm>

namespace zta::test {
namespace {

using host::Float32;
using host::MakeFormat;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

class Assembly : public MuxTest {
protected:
    /// What the entry asks each of the first `count` inputs.
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
        return Described(i) + CopyToStage(Name("b", i), Name("convert", i), bytes);
    }

    static Calls Converted(std::size_t i, std::size_t bytes)
    {
        return Described(i) + ConvertToStage(Name("b", i), Name("convert", i), bytes);
    }

    static Calls Faded(std::size_t i, std::size_t bytes, int fadeIn, int fadeOut)
    {
        return CopyToStage(Name("convert", i), Name("fade", i), bytes) + Flags(Name("fade", i), fadeIn, fadeOut) +
               Digest(Name("fade", i));
    }

    static Calls WorkerEnd(std::size_t count, int status = 0)
    {
        return ForEach(count, [](std::size_t i) { return Calls{Name("b", i) + ".SignalReadCompletion"}; }) +
               (status < 0 ? Calls{ErrorCall("mux", status)} : Calls{}) +
               Calls{"mux.MarkWriteStopTime", "mux.SignalWriteCompletion"};
    }

    /// The failure ending of an entry: every buffer that there is, then the mux.
    Calls Ending(int status) const
    {
        return ForEach(pointers_.size(),
                       [this](std::size_t i) {
                           return pointers_[i] == nullptr ? Calls{}
                                                          : Calls{Name("b", i) + ".QueryInterface",
                                                                  Name("b", i) + ".SignalReadCompletion"};
                       }) +
               Calls{ErrorCall("mux", status), "mux.SignalWriteCompletion"};
    }

    /// Runs a call whose entry fails after `before`: with every signal, without a mark, and with the latch cleared even
    /// where another operation holds it.
    void ExpectRefused(unsigned long side, int status, const Calls& before)
    {
        const Words untouched = AllSamplesOf(*mux_);
        SZtLayoutProbe::SetBusy(Object(), 1);
        EXPECT_EQ(Assemble(side), status);
        EXPECT_EQ(journal_.Calls(), before + Ending(status));
        EXPECT_EQ(mux_->ErrorCode(), status);
        EXPECT_EQ(mux_->WriteStartMarks() + mux_->WriteStopMarks(), 0);
        EXPECT_EQ(AllSamplesOf(*mux_), untouched);
        ExpectSettled();
    }

    static void SetError(host::AudioBuffer& buffer, int code) { buffer.host::AudioBuffer::SetErrorCode(code); }
};

/// What both operations have in common, on mono and on stereo buffers.
class AssemblyOfBoth : public Assembly, public ::testing::WithParamInterface<unsigned long> {
protected:
    static unsigned long Side() { return GetParam(); }
    static std::uint32_t Channels() { return static_cast<std::uint32_t>(GetParam()); }

    /// As many buffers as four channels need.
    static std::size_t Four() { return 4 / Side(); }

    void BuildFour(std::size_t frames) { Build(Pcm24In32(Channels()), Four(), Pcm24In32(4), frames); }

    int Run() { return Assemble(Side()); }

    void ExpectRefusal(int status, const Calls& before) { ExpectRefused(Side(), status, before); }
};

INSTANTIATE_TEST_SUITE_P(Buffers, AssemblyOfBoth, ::testing::Values(1UL, 2UL),
                         [](const auto& info) { return info.param == 1 ? "Mono" : "Stereo"; });

const Calls kMuxQueried = {"mux.QueryInterface"};

// ---- The order of host calls where all goes well ----

TEST_P(AssemblyOfBoth, StagesEveryInputInterleavesAndSetsTheLength)
{
    BuildFour(5);
    const std::size_t bytes = 5 * 4 * Side();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(journal_.Calls(), Entry(Four()) + WorkerStart() +
                                    ForEach(Four(), [&](std::size_t i) { return Copied(i, bytes); }) +
                                    Polarity("mux", 0) + Flags("mux", 0, 0) + Digests("convert", Four()) +
                                    Digest("mux") + SetLength("mux", 80) + WorkerEnd(Four()));
    EXPECT_EQ(mux_->ErrorCode(), 0);
    EXPECT_EQ(mux_->WriteStartMarks(), 1);
    EXPECT_EQ(mux_->WriteStopMarks(), 1);
    ExpectSettled();
}

TEST_P(AssemblyOfBoth, WithVolumesScalesTheFinishedMux)
{
    BuildFour(5);
    UseVolumes(4);
    const std::size_t bytes = 5 * 4 * Side();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(journal_.Calls(), Entry(Four()) + WorkerStart() +
                                    ForEach(Four(), [&](std::size_t i) { return Copied(i, bytes); }) +
                                    Polarity("mux", 0) + Flags("mux", 0, 0) + Digests("convert", Four()) +
                                    Digest("mux") + ApplyVolume("mux", 80) + WorkerEnd(Four()));
    ExpectSettled();
}

TEST_P(AssemblyOfBoth, ConvertsInputsToTheContainerOfTheMux)
{
    for (const auto format : {&Pcm16, &Pcm24In24, &Float32}) {
        Build(format(Channels(), host::kDefaultRate), Four(), Pcm24In32(4), 3);
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(journal_.Calls(), Entry(Four()) + WorkerStart() +
                                        ForEach(Four(), [](std::size_t i) { return Converted(i, 3 * 4 * Side()); }) +
                                        Polarity("mux", 0) + Flags("mux", 0, 0) + Digests("convert", Four()) +
                                        Digest("mux") + SetLength("mux", 48) + WorkerEnd(Four()));
        ExpectSettled();
    }
}

TEST_P(AssemblyOfBoth, OfSixteenBitsIntoTwentyFourPutsThemOnTop)
{
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 1);
    EXPECT_EQ(Run(), 0);
    Words expected;
    for (const auto& buffer : array_) {
        for (const std::uint32_t sample : SamplesOf(*buffer, Side())) {
            expected.push_back(sample << 16);
        }
    }
    EXPECT_EQ(SamplesOf(*mux_, 4), expected);
}

TEST_P(AssemblyOfBoth, ConvertsOnlyTheInputsThatNeedIt)
{
    BuildFour(3);
    ReplaceBuffer(1, Pcm16(Channels()), 3);
    EXPECT_EQ(Run(), 0);
    const std::size_t bytes = 3 * 4 * Side();
    EXPECT_EQ(journal_.Calls(), Entry(Four()) + WorkerStart() +
                                    ForEach(Four(),
                                            [&](std::size_t i) {
                                                return i == 1 ? Converted(i, bytes) : Copied(i, bytes);
                                            }) +
                                    Polarity("mux", 0) + Flags("mux", 0, 0) + Digests("convert", Four()) +
                                    Digest("mux") + SetLength("mux", 48) + WorkerEnd(Four()));
    EXPECT_EQ(SamplesOf(*mux_, 2 * Side()).back(), SamplesOf(*array_[1], Side()).back() << 16);
}

TEST_P(AssemblyOfBoth, OfAnEmptyArrayOfFramesEmptiesTheMux)
{
    BuildFour(0);
    ReplaceMux(Pcm24In32(4), 7, 7);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(mux_->Length(), 0U);
    ExpectSettled();
}

// ---- Fades ----

TEST_P(AssemblyOfBoth, FadesAnInputOnItsSecondStage)
{
    BuildFour(300);
    const std::size_t bytes = 300 * 4 * Side();
    std::vector<std::uint32_t> loud(300 * Side(), 0x40000000);
    Fill(*array_[0], loud);
    array_[0]->SetFades(true, false);
    Fill(*array_[1], loud);
    array_[1]->SetFades(true, true);
    array_.back()->SetPolarity(9);
    EXPECT_EQ(Run(), 0);

    const bool handsOn = Side() == 2; // the last of two stereo inputs asks for both fades
    EXPECT_EQ(journal_.Calls(),
              Entry(Four()) + WorkerStart() + Copied(0, bytes) + Faded(0, bytes, 1, 0) + Copied(1, bytes) +
                  Faded(1, bytes, 1, 1) +
                  (handsOn ? Calls{} : Copied(2, bytes) + Copied(3, bytes)) + Polarity("mux", 9) +
                  Flags("mux", handsOn, handsOn) + Digest("fade0") + Digest("fade1") +
                  (handsOn ? Calls{} : Digest("convert2") + Digest("convert3")) + Digest("mux") +
                  SetLength("mux", 300 * 16) + WorkerEnd(Four()));
    const Words mux = SamplesOf(*mux_, 1200);
    const auto faded = static_cast<std::uint32_t>((std::uint64_t{0x40000000} * 21421149 >> 32) * 2);
    EXPECT_EQ(mux[0], faded) << "the first gain of the ramp";
    EXPECT_EQ(mux[4 * 299], 0x40000000U) << "no fade at its end";
    EXPECT_EQ(mux[Side()], faded);
    EXPECT_EQ(mux[4 * 299 + Side()], faded);
    EXPECT_EQ(SamplesOf(*array_[0], 1)[0], 0x40000000U) << "the caller's samples stay";
    EXPECT_TRUE(array_[0]->Description().bFadeIn) << "and the caller's request";
    EXPECT_EQ(mux_->Polarity(), 9U);
    ExpectSettled();
}

TEST_P(AssemblyOfBoth, TakesPolarityAndFlagsFromTheLastInput)
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
    EXPECT_EQ(mux_->Description().bFadeOut, Side() == 2) << "stereo buffers hand the request on with the mux";
}

TEST_P(AssemblyOfBoth, OfInputsWithoutFadesClearsTheFlagsOfTheMux)
{
    BuildFour(3);
    array_.front()->SetFades(false, false);
    mux_->SetFades(true, true);
    EXPECT_EQ(Run(), 0);
    EXPECT_FALSE(mux_->Description().bFadeIn || mux_->Description().bFadeOut);
}

TEST_P(AssemblyOfBoth, RefusesAnInputThatNeedsAConversionAndAFade)
{
    // The second stage bears the input's own label, so the kernels take its words for what they are not.
    Build(Pcm24In32(Channels()), Four(), Pcm16(4), 400);
    const std::size_t bytes = 400 * 2 * Side();
    array_[0]->SetFades(true, false);
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    // Only the first input is in the wrong layout, and it has half the frames of the others, which shows first.
    EXPECT_NE(host_.Buffer("convert0").Description().sWaveFormat.ulBitsPerSample,
              host_.Buffer("fade0").Description().sWaveFormat.ulBitsPerSample);
    EXPECT_EQ(host_.Buffer("fade0").Length(), bytes);
}

INSTANTIATE_TEST_SUITE_P(Placeholder, AssemblyOfBoth, ::testing::Values(1UL));

} // namespace
} // namespace zta::test
