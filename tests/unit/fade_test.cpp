#include "kernels/fade.h"
#include "kernels/loops/fade_curve.h"

#include "testing/models/fade_model.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <vector>

namespace zta::test {
namespace {

using models::FadedSample16;
using models::FadeFrame;
using models::FadeGain;
using models::FadeOp;
using models::Write;

// --- The kernels -----------------------------------------------------------------------------------------------------

using Kernel = int (CZtaApplyFade::*)(unsigned long, void*);

struct Case {
    const char* name;
    std::uint32_t property;
    Kernel fadeIn;
    Kernel fadeOut;
    FadeOp op;
    std::size_t channels;
    std::size_t frameBytes;
    bool mux;
};

// clang-format off
const Case kCases[] = {
    {"Mono16",   1, &CZtaApplyFade::ApplyFadeIn16Mono,         &CZtaApplyFade::ApplyFadeOut16Mono,         FadeOp::Int16,    1,  2, false},
    {"Stereo16", 2, &CZtaApplyFade::ApplyFadeIn16Stereo,       &CZtaApplyFade::ApplyFadeOut16Stereo,       FadeOp::Stereo16,  2,  4, false},
    {"Mono24",   8, &CZtaApplyFade::ApplyFadeIn24Mono,         &CZtaApplyFade::ApplyFadeOut24Mono,         FadeOp::Int24In32,    1,  4, false},
    {"Stereo24", 9, &CZtaApplyFade::ApplyFadeIn24Stereo,       &CZtaApplyFade::ApplyFadeOut24Stereo,       FadeOp::Int24In32,    2,  8, false},
    {"Mux4_24",  10, &CZtaApplyFade::ApplyFadeIn24BitIn32Mux4,  &CZtaApplyFade::ApplyFadeOut24BitIn32Mux4,  FadeOp::Mux24,    4, 16, true},
    {"Mux8_24",  11, &CZtaApplyFade::ApplyFadeIn24BitIn32Mux8,  &CZtaApplyFade::ApplyFadeOut24BitIn32Mux8,  FadeOp::Mux24,    8, 32, true},
    {"Mux16_24", 12, &CZtaApplyFade::ApplyFadeIn24BitIn32Mux16, &CZtaApplyFade::ApplyFadeOut24BitIn32Mux16, FadeOp::Mux24,   16, 64, true},
    {"Mux4_16",  3, &CZtaApplyFade::ApplyFadeIn16BitIn16Mux4,  &CZtaApplyFade::ApplyFadeOut16BitIn16Mux4,  FadeOp::Int16,    4,  8, true},
    {"Mux8_16",  4, &CZtaApplyFade::ApplyFadeIn16BitIn16Mux8,  &CZtaApplyFade::ApplyFadeOut16BitIn16Mux8,  FadeOp::Int16,    8, 16, true},
    {"Mux16_16", 5, &CZtaApplyFade::ApplyFadeIn16BitIn16Mux16, &CZtaApplyFade::ApplyFadeOut16BitIn16Mux16, FadeOp::Int16,   16, 32, true},
};
// clang-format on

/// Reference model of a kernel.
int ModelFade(const Case& c, bool isFadeIn, std::size_t frames, std::uint8_t* buffer)
{
    if (c.mux && frames < kFadeFrames) {
        return ZT_E_DESTINATION_BUFFER_TOO_SMALL;
    }
    const std::size_t length = std::min<std::size_t>(frames, kFadeFrames);
    for (std::size_t k = 0; k < length; ++k) {
        const std::size_t frame = isFadeIn ? k : frames - length + k;
        FadeFrame(c.op, c.channels, buffer + frame * c.frameBytes, isFadeIn ? k : 199 - k);
    }
    return 0;
}

/// Applies the fades whose flags are set.
Bytes Faded(const Case& c, Bytes bytes, std::size_t frames, bool fadeIn, bool fadeOut)
{
    if (fadeIn) {
        ModelFade(c, true, frames, bytes.data());
    }
    if (fadeOut) {
        ModelFade(c, false, frames, bytes.data());
    }
    return bytes;
}

/// Random samples, a quarter of them at the limits of their range.
Bytes Noise(std::size_t bytes, std::uint32_t seed)
{
    constexpr std::array<std::uint32_t, 12> kExtremes = {0x80008000, 0x7FFF7FFF, 0x00000000, 0xFFFFFFFF,
                                                         0x80000000, 0x7FFFFFFF, 0x7FFFFF00, 0x80000100,
                                                         0x0000FFFF, 0xFFFF0000, 0x00010001, 0xFFFF8000};
    std::mt19937 random(seed);
    Bytes noise(bytes + 4);
    for (std::size_t i = 0; i < bytes; i += 4) {
        const auto draw = static_cast<std::uint32_t>(random());
        Write(&noise[i], draw % 4 == 0 ? kExtremes[draw / 4 % kExtremes.size()] : draw);
    }
    noise.resize(bytes);
    return noise;
}

std::vector<std::size_t> Lengths()
{
    std::vector<std::size_t> lengths;
    for (std::size_t frames = 0; frames <= 300; ++frames) {
        lengths.push_back(frames);
    }
    lengths.insert(lengths.end(), {399, 400, 401, 1024, 4801});
    return lengths;
}

class FadeKernel : public ::testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Every, FadeKernel, ::testing::ValuesIn(kCases), [](const auto& c) { return c.param.name; });

/// Runs a kernel and its model on the same noise, at every alignment of a 32-bit word, between guard bytes.
void Compare(const Case& c, Kernel kernel, bool isFadeIn)
{
    constexpr std::size_t kGuard = 128;
    for (const std::size_t frames : Lengths()) {
        for (std::size_t offset = 0; offset < 4; ++offset) {
            const std::size_t start = kGuard + offset;
            Bytes actual =
                Noise(start + frames * c.frameBytes + kGuard, static_cast<std::uint32_t>(frames * 4 + offset));
            Bytes expected = actual;
            const int status = (CZtaApplyFade().*kernel)(frames, actual.data() + start);
            ASSERT_EQ(status, ModelFade(c, isFadeIn, frames, expected.data() + start)) << frames << " frames";
            ASSERT_EQ(actual, expected) << frames << " frames at offset " << offset;
        }
    }
}

TEST_P(FadeKernel, FadesInLikeTheModel)
{
    Compare(GetParam(), GetParam().fadeIn, true);
}

TEST_P(FadeKernel, FadesOutLikeTheModel)
{
    Compare(GetParam(), GetParam().fadeOut, false);
}

TEST_P(FadeKernel, RejectsAMuxBufferShorterThanTheFadeAndNoOther)
{
    const Case& c = GetParam();
    for (const Kernel kernel : {c.fadeIn, c.fadeOut}) {
        for (const std::size_t frames : {0u, 1u, 199u}) {
            Bytes buffer(frames * c.frameBytes + 4, 0x55);
            const Bytes before = buffer;
            EXPECT_EQ((CZtaApplyFade().*kernel)(frames, buffer.data()), c.mux ? ZT_E_DESTINATION_BUFFER_TOO_SMALL : 0);
            EXPECT_EQ(buffer == before, c.mux || frames == 0) << frames;
        }
        Bytes buffer(200 * c.frameBytes, 0x55);
        EXPECT_EQ((CZtaApplyFade().*kernel)(200, buffer.data()), 0);
    }
}

// --- The gains -------------------------------------------------------------------------------------------------------

TEST(FadeCurves, HaveTheirKnownValues)
{
    EXPECT_EQ(kFadeFrames, 200u);

    EXPECT_EQ(kFadeCurve16[0], 327);
    EXPECT_EQ(kFadeCurve16[1], 652);
    EXPECT_EQ(kFadeCurve16[2], 976);
    EXPECT_EQ(kFadeCurve16[99], 24575);
    EXPECT_EQ(kFadeCurve16[199], 32767);

    EXPECT_EQ(kFadeCurve32[0], 21421149u);
    EXPECT_EQ(kFadeCurve32[1], 42734925u);
    EXPECT_EQ(kFadeCurve32[2], 63941326u);
    EXPECT_EQ(kFadeCurve32[99], 1610612735u);
    EXPECT_EQ(kFadeCurve32[199], 2147483647u);

    EXPECT_EQ(kFadeCurveMux[0], 327u);
    EXPECT_EQ(kFadeCurveMux[1], 652u);
    EXPECT_EQ(kFadeCurveMux[2], 976u);
    EXPECT_EQ(kFadeCurveMux[99], 24575u);
    EXPECT_EQ(kFadeCurveMux[199], 32767u);
}

TEST(FadeCurves, AreParabolas)
{
    static_assert(sizeof kFadeCurve16 == 200 * 2);
    static_assert(sizeof kFadeCurve32 == 200 * 4);
    static_assert(sizeof kFadeCurveMux == 200 * 4);
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(kFadeCurve16[i], FadeGain(32767, i)) << i;
        EXPECT_EQ(kFadeCurve32[i], FadeGain(2147483647, i)) << i;
        EXPECT_EQ(kFadeCurveMux[i], kFadeCurve16[i]) << i;
    }
}

TEST(FadeCurves, AreThoseOfTheKernels)
{
    std::vector<std::int16_t> samples(200, -32768); // becomes the negative gain
    CZtaApplyFade().ApplyFadeIn16Mono(200, samples.data());
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(samples[i], -kFadeCurve16[i]) << i;
    }
}

// --- The arithmetic, at manually computed values --------------------------------------------------------------------

std::vector<std::int16_t> FadeWith(Kernel kernel, std::vector<std::int16_t> samples, std::size_t channels)
{
    EXPECT_EQ((CZtaApplyFade().*kernel)(samples.size() / channels, samples.data()), 0);
    return samples;
}

std::vector<std::uint32_t> FadeWith(Kernel kernel, std::vector<std::uint32_t> words, std::size_t channels)
{
    EXPECT_EQ((CZtaApplyFade().*kernel)(words.size() / channels, words.data()), 0);
    return words;
}

TEST(Fade16Mono, RoundsTowardsMinusInfinity)
{
    using Samples = std::vector<std::int16_t>;
    // The gain of a fade-in of one frame is 327, that of a fade-out of one frame 32767.
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeIn16Mono, Samples{-1}, 1), Samples{-1});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeIn16Mono, Samples{1}, 1), Samples{0});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeIn16Mono, Samples{32767}, 1), Samples{326});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeIn16Mono, Samples{-32768}, 1), Samples{-327});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut16Mono, Samples{32767}, 1), Samples{32766});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut16Mono, Samples{-32768}, 1), Samples{-32767});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut16Mono, Samples{1}, 1), Samples{0});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut16Mono, Samples{-1}, 1), Samples{-1});
}

TEST(Fade16Mono, EndsAFadeInBelowFullGainInAShortBuffer)
{
    const auto faded = FadeWith(&CZtaApplyFade::ApplyFadeIn16Mono, std::vector<std::int16_t>(100, -32768), 1);
    EXPECT_EQ(faded.front(), -327);
    EXPECT_EQ(faded.back(), -24575); // three quarters
}

TEST(Fade16Mono, StartsAFadeOutAtFullGainInAShortBuffer)
{
    const auto faded = FadeWith(&CZtaApplyFade::ApplyFadeOut16Mono, std::vector<std::int16_t>(100, -32768), 1);
    EXPECT_EQ(faded.front(), -32767);
    EXPECT_EQ(faded.back(), -24738); // of entry 100: 32767 * (1 - (99 / 200)^2) is 24738.27
}

TEST(Fade16Stereo, SetsTheLowestBitOfTheRightSampleWhenTheLeftProductIsNegative)
{
    using Samples = std::vector<std::int16_t>;
    for (const auto& [before, after] :
         {std::pair{Samples{-1, 0}, Samples{-1, 1}}, //
          std::pair{Samples{1, 0}, Samples{0, 0}},   //
          std::pair{Samples{0, 0}, Samples{0, 0}},   //
          std::pair{Samples{-1, -1}, Samples{-1, -1}}, std::pair{Samples{-1, -32767}, Samples{-1, -32767}},
          std::pair{Samples{-1, -32768}, Samples{-1, -32767}}, std::pair{Samples{1, -32767}, Samples{0, -32767}},
          std::pair{Samples{0, -3}, Samples{0, -3}}, std::pair{Samples{-5, 3}, Samples{-5, 3}},
          std::pair{Samples{32767, 32767}, Samples{32766, 32766}},
          std::pair{Samples{-32768, 32767}, Samples{-32767, 32767}}}) {
        EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut16Stereo, before, 2), after);
    }
}

TEST(Fade16Stereo, DoesNotShareItsCrosstalkWithMux)
{
    const unsigned short gain = 32767;
    std::vector<std::int16_t> samples = {-1, 0, -1, 0};
    CZtaApplyFade().ApplyFade16BitIn16Mux4(samples.data(), 1, &gain, true);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{-1, 0, -1, 0}));
}

TEST(Fade24, KeepsTheHighHalfOfTheProduct)
{
    using Words = std::vector<std::uint32_t>;
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut24Mono, Words{0x7FFFFF00}, 1), Words{0x7FFFFEFE});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut24Mono, Words{0x80000000}, 1), Words{0x80000000});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut24Mono, Words{0}, 1), Words{0});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut24Mono, Words{1}, 1), Words{0});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut24Mono, Words{0xFFFFFFFF}, 1), Words{0xFFFFFFFE});
    EXPECT_EQ(FadeWith(&CZtaApplyFade::ApplyFadeOut24Stereo, Words{0x7FFFFF00, 0xFFFFFFFF}, 2),
              (Words{0x7FFFFEFE, 0xFFFFFFFE}));
}

TEST(Fade24Mux, UsesTheLowByte)
{
    // 32767 * 32767 = 0x3FFF0001; the low half adds (32767 * 32767) >> 15 = 0x7FFE.
    const unsigned int gain = 32767;
    std::vector<std::uint32_t> words = {0x7FFF0000, 0x7FFFFFFF, 0x80000000, 0x000000FF};
    CZtaApplyFade().ApplyFade24BitIn32Mux4(words.data(), 1, &gain, true);
    EXPECT_EQ(words, (std::vector<std::uint32_t>{0x7FFE0002, 0x7FFEFFFE, 0x80010000, 0x000000FC}));
}

TEST(Fade24Mux, WrapsForGainsBeyondFullScale)
{
    const unsigned int gain = 65535;
    std::vector<std::uint32_t> words = {0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0};
    CZtaApplyFade().ApplyFade24BitIn32Mux4(words.data(), 1, &gain, true);
    EXPECT_EQ(words, (std::vector<std::uint32_t>{0xFFFEFFFC, 0x00010000, 0xFFFFFFFC, 0}));
}

// --- Ramps with the caller's gains -----------------------------------------------------------------------------------

TEST(Ramp16, IsExactForEverySampleAndGain)
{
    std::vector<std::int16_t> samples(65536);
    for (std::size_t entry = 0; entry < 200; ++entry) {
        for (int i = 0; i < 65536; ++i) {
            samples[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(i - 32768);
        }
        // Two frames of half the domain each; a step of 0 keeps the gain.
        CZtaApplyFade()._Fade16BitIn16MuxBuffer(samples.data(), 32768, 2, &kFadeCurve16[entry], 0);
        for (int i = 0; i < 65536; ++i) {
            ASSERT_EQ(samples[static_cast<std::size_t>(i)],
                      FadedSample16(static_cast<std::int16_t>(i - 32768), FadeGain(32767, entry)))
                << "sample " << i - 32768 << " entry " << entry;
        }
    }
}

TEST(Ramp16, AdvancesByItsStepAfterEachFrame)
{
    const std::array<unsigned short, 7> gains = {100, 200, 300, 400, 500, 600, 700};
    struct Step {
        short step;
        std::array<std::int16_t, 3> gains;
    };
    for (const Step& c : {Step{1, {400, 500, 600}}, Step{-1, {400, 300, 200}}, Step{0, {400, 400, 400}}}) {
        std::vector<std::int16_t> samples(9, -32768);
        CZtaApplyFade()._Fade16BitIn16MuxBuffer(samples.data(), 3, 3, &gains[3], c.step);
        for (std::size_t i = 0; i < 9; ++i) {
            EXPECT_EQ(samples[i], -c.gains[i / 3]) << "step " << c.step << " sample " << i;
        }
    }
    std::vector<std::int16_t> samples(3, -32768);
    CZtaApplyFade()._Fade16BitIn16MuxBuffer(samples.data(), 1, 3, &gains[0], 3);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{-100, -400, -700}));
    samples.assign(3, -32768);
    CZtaApplyFade()._Fade16BitIn16MuxBuffer(samples.data(), 1, 3, &gains[6], -2);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{-700, -500, -300}));
}

TEST(Ramp16, WritesNothingWithoutFramesOrChannels)
{
    const unsigned short gain = 0;
    std::int16_t sample = 1234;
    CZtaApplyFade()._Fade16BitIn16MuxBuffer(&sample, 1, 0, &gain, 1);
    CZtaApplyFade()._Fade16BitIn16MuxBuffer(&sample, 0, 1, &gain, 1);
    EXPECT_EQ(sample, 1234);
}

/// Checks a ramp of any length in both directions: one gain for each frame, the same for all of its channels.
template <class Sample, class Entry, class Scale>
void CheckRamp(void (CZtaApplyFade::*ramp)(void*, unsigned long, const Entry*, bool), std::size_t channels, Scale scale)
{
    for (const std::size_t frames : {0u, 1u, 2u, 7u, 200u, 331u}) {
        for (const bool forward : {true, false}) {
            std::mt19937 random(static_cast<std::uint32_t>(frames));
            std::vector<Entry> gains(frames + 1);
            for (Entry& gain : gains) {
                gain = static_cast<Entry>(random() % 32768);
            }
            std::vector<Sample> actual(frames * channels + 16);
            for (Sample& sample : actual) {
                sample = static_cast<Sample>(random());
            }
            std::vector<Sample> expected = actual;
            for (std::size_t i = 0; i < frames * channels; ++i) {
                const std::size_t frame = i / channels;
                expected[i] = scale(expected[i], gains[forward ? frame : frames - frame]);
            }
            (CZtaApplyFade().*ramp)(actual.data(), frames, forward ? &gains[0] : &gains[frames], forward);
            ASSERT_EQ(actual, expected) << frames << " frames of " << channels << (forward ? " forward" : " backward");
        }
    }
}

TEST(MuxRamps, ApplyTheCallersGainsInBothDirections)
{
    CheckRamp<std::uint32_t>(&CZtaApplyFade::ApplyFade24BitIn32Mux4, 4, models::FadedMuxWord24);
    CheckRamp<std::uint32_t>(&CZtaApplyFade::ApplyFade24BitIn32Mux8, 8, models::FadedMuxWord24);
    CheckRamp<std::uint32_t>(&CZtaApplyFade::ApplyFade24BitIn32Mux16, 16, models::FadedMuxWord24);
    CheckRamp<std::int16_t>(&CZtaApplyFade::ApplyFade16BitIn16Mux4, 4, FadedSample16);
    CheckRamp<std::int16_t>(&CZtaApplyFade::ApplyFade16BitIn16Mux8, 8, FadedSample16);
    CheckRamp<std::int16_t>(&CZtaApplyFade::ApplyFade16BitIn16Mux16, 16, FadedSample16);
}

// --- The operation ---------------------------------------------------------------------------------------------------

FakeAudioSamples Samples(const Case& c, std::size_t frames, bool fadeIn, bool fadeOut)
{
    FakeAudioSamples samples(g_asFormatOfProperty[c.property], frames, frames + 5);
    samples.data = Noise(samples.data.size(), c.property);
    samples.fadeIn = fadeIn;
    samples.fadeOut = fadeOut;
    return samples;
}

class ApplyFade : public ::testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Every, ApplyFade, ::testing::ValuesIn(kCases), [](const auto& c) { return c.param.name; });

TEST_P(ApplyFade, FadesAsItsFlagsSay)
{
    const Case& c = GetParam();
    for (const std::size_t frames : {200u, 333u, 1000u}) {
        for (const bool fadeIn : {false, true}) {
            for (const bool fadeOut : {false, true}) {
                FakeAudioSamples samples = Samples(c, frames, fadeIn, fadeOut);
                const Bytes expected = Faded(c, samples.data, frames, fadeIn, fadeOut);
                EXPECT_EQ(CZtaApplyFade().ApplyFade(&samples), 0);
                EXPECT_EQ(samples.data, expected) << frames << " frames, in " << fadeIn << ", out " << fadeOut;
            }
        }
    }
}

TEST_P(ApplyFade, RejectsAShortBufferOnlyIfItIsMux)
{
    const Case& c = GetParam();
    for (const bool fadeIn : {false, true}) {
        for (const bool fadeOut : {false, true}) {
            FakeAudioSamples samples = Samples(c, 199, fadeIn, fadeOut);
            const Bytes expected = Faded(c, samples.data, 199, fadeIn, fadeOut);
            EXPECT_EQ(CZtaApplyFade().ApplyFade(&samples),
                      c.mux && (fadeIn || fadeOut) ? ZT_E_DESTINATION_BUFFER_TOO_SMALL : 0);
            EXPECT_EQ(samples.data, expected) << "in " << fadeIn << ", out " << fadeOut;
        }
    }
}

TEST(ApplyFadeFormats, RejectEveryFormatWithoutATableEntryEvenWithBothFlagsClear)
{
    std::set<std::uint32_t> supported;
    for (const Case& c : kCases) {
        supported.insert(c.property);
    }
    for (std::uint32_t property = 1; property < 27; ++property) {
        if (supported.count(property) != 0) {
            continue;
        }
        for (const bool flag : {false, true}) {
            SZtaWaveFormatInfo format = g_asFormatOfProperty[property];
            format.ulChannels = property == 15 ? 3 : format.ulChannels;
            FakeAudioSamples samples(format, 300, 300);
            samples.fadeIn = samples.fadeOut = flag;
            samples.data = Noise(samples.data.size(), property);
            const Bytes before = samples.data;
            EXPECT_EQ(CZtaApplyFade().ApplyFade(&samples), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED) << property;
            EXPECT_EQ(samples.data, before) << property;
        }
    }
}

TEST(ApplyFadeFormats, AreValidatedBeforeTheLength)
{
    FakeAudioSamples samples(WaveFormat(2, 32, 32, 48000, 2), 0, 10);
    EXPECT_EQ(CZtaApplyFade().ApplyFade(&samples), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST(ApplyFadeFormats, RejectFormatsThatCannotBeClassified)
{
    FakeAudioSamples samples(WaveFormat(1, 16, 16, 96000, 2), 300, 300);
    samples.fadeIn = samples.fadeOut = true;
    const Bytes before = samples.data;
    EXPECT_EQ(CZtaApplyFade().ApplyFade(&samples), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(samples.data, before);
}

TEST(ApplyFadeTo16In32, ProcessesTheFirstHalfAs16BitSamples)
{
    // The property is that of 16-in-16, so the kernel fades one 16-bit sample for each 32-bit frame.
    FakeAudioSamples samples(WaveFormat(1, 32, 16, 48000, 1), 300, 300);
    samples.fadeIn = samples.fadeOut = true;
    samples.data = Noise(samples.data.size(), 1);
    const Bytes expected = Faded(kCases[0], samples.data, 300, true, true);
    EXPECT_EQ(CZtaApplyFade().ApplyFade(&samples), 0);
    EXPECT_EQ(samples.data, expected);
}

// --- The table and its queries ---------------------------------------------------------------------------------------

TEST(FadeTable, HasItsTableEntriesInOrder)
{
    ASSERT_EQ(std::size(kCases), 10u);
    ExpectTableEntries<CZtaApplyFade>(kCases, &Case::property, &Case::property);
}

TEST(FadeTable, SupportsItsTableEntriesAndNoOthers)
{
    for (std::uint32_t property = 1; property < 27; ++property) {
        SZtaWaveFormatInfo format = g_asFormatOfProperty[property];
        bool supported = property % 2 == 0;
        EXPECT_EQ(CZtaApplyFade().QueryFormatSupported(&format, &supported), 0);
        EXPECT_EQ(supported, property <= 5 || (property >= 8 && property <= 12)) << property;
    }
    SZtaWaveFormatInfo unknown = WaveFormat(1, 8, 8, 48000, 1);
    bool supported = true;
    EXPECT_EQ(CZtaApplyFade().QueryFormatSupported(&unknown, &supported), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_FALSE(supported);
}

TEST(FadeTable, SuggestsTheFormatItself24In32MonoOr24In32Stereo)
{
    for (std::uint32_t property = 1; property < 27; ++property) {
        const bool held = property <= 5 || (property >= 8 && property <= 12);
        const bool mono = property == 16 || property == 20;
        SZtaWaveFormatInfo format = g_asFormatOfProperty[property];
        SZtaWaveFormatInfo suggested{};
        EXPECT_EQ(CZtaApplyFade().SuggestFormat(&format, &suggested), 0);
        EXPECT_EQ(std::memcmp(&suggested, &g_asFormatOfProperty[held ? property : (mono ? 8 : 9)], sizeof suggested), 0)
            << property;
    }
}

TEST(FadeTable, SuggestsNothingForAFormatThatCannotBeClassified)
{
    SZtaWaveFormatInfo unknown = WaveFormat(1, 8, 8, 48000, 1);
    SZtaWaveFormatInfo suggested = WaveFormat(4, 5, 6, 7, 8);
    const SZtaWaveFormatInfo before = suggested;
    EXPECT_EQ(CZtaApplyFade().SuggestFormat(&unknown, &suggested), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(std::memcmp(&suggested, &before, sizeof suggested), 0);
}

} // namespace
} // namespace zta::test
