#include "kernels/fade.h"
#include "kernels/loops/fade_curve.h"

#include "testing/models/operation_models.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

namespace zta::test {
namespace {

using models::AreEqual;
using models::FadedSample16;
using models::FadeGain;
using models::Write;

// --- The kernels -----------------------------------------------------------------------------------------------------

using Kernel = int (CZtaApplyFade::*)(unsigned long, void*);
using K = CZtaApplyFade;

struct Case {
    const char* name;
    std::uint32_t property;
    Kernel fadeIn;
    Kernel fadeOut;

    SZtaWaveFormatInfo Format() const { return FormatOfProperty(static_cast<int>(property)); }
    std::size_t FrameBytes() const { return models::FrameBytes(Format()); }
    bool IsMux() const { return Format().ulChannels > 2; }
};

// clang-format off
const Case kCases[] = {
    {"Mono16",    1, &K::ApplyFadeIn16Mono,         &K::ApplyFadeOut16Mono},
    {"Stereo16",  2, &K::ApplyFadeIn16Stereo,       &K::ApplyFadeOut16Stereo},
    {"Mono24",    8, &K::ApplyFadeIn24Mono,         &K::ApplyFadeOut24Mono},
    {"Stereo24",  9, &K::ApplyFadeIn24Stereo,       &K::ApplyFadeOut24Stereo},
    {"Mux4_24",  10, &K::ApplyFadeIn24BitIn32Mux4,  &K::ApplyFadeOut24BitIn32Mux4},
    {"Mux8_24",  11, &K::ApplyFadeIn24BitIn32Mux8,  &K::ApplyFadeOut24BitIn32Mux8},
    {"Mux16_24", 12, &K::ApplyFadeIn24BitIn32Mux16, &K::ApplyFadeOut24BitIn32Mux16},
    {"Mux4_16",   3, &K::ApplyFadeIn16BitIn16Mux4,  &K::ApplyFadeOut16BitIn16Mux4},
    {"Mux8_16",   4, &K::ApplyFadeIn16BitIn16Mux8,  &K::ApplyFadeOut16BitIn16Mux8},
    {"Mux16_16",  5, &K::ApplyFadeIn16BitIn16Mux16, &K::ApplyFadeOut16BitIn16Mux16},
};
// clang-format on

/// Applies the fades whose flags are set to the first frames of `bytes`, and returns the status.
int ModelFade(const Case& c, std::size_t frames, bool fadeIn, bool fadeOut, Bytes& bytes)
{
    models::Content content = {{40, 0, 0, fadeIn, fadeOut, c.Format()}, frames * c.FrameBytes(), bytes};
    const int status = ReferenceFade(*models::FindFade(c.Format()), fadeIn, fadeOut, content);
    bytes = content.bytes;
    return status;
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

class FadeKernel : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Every, FadeKernel, testing::ValuesIn(kCases), [](const auto& c) { return c.param.name; });

/// Runs the kernels and their model on the same noise, at every alignment of a 32-bit word, between guard bytes.
TEST_P(FadeKernel, FadesInAndOutLikeTheModel)
{
    constexpr std::size_t kGuard = 128;
    const Case& c = GetParam();
    for (const bool isFadeIn : {true, false}) {
        for (const std::size_t frames : Lengths()) {
            const std::size_t bytes = frames * c.FrameBytes();
            for (std::size_t offset = 0; offset < 4; ++offset) {
                const std::size_t start = kGuard + offset;
                Bytes actual = Noise(start + bytes + kGuard, static_cast<std::uint32_t>(frames * 4 + offset));
                const auto first = actual.begin() + static_cast<std::ptrdiff_t>(start);
                Bytes faded(first, first + static_cast<std::ptrdiff_t>(bytes));
                const int expectedStatus = ModelFade(c, frames, isFadeIn, !isFadeIn, faded);
                Bytes expected = actual;
                std::copy(faded.begin(), faded.end(), expected.begin() + static_cast<std::ptrdiff_t>(start));
                const int status = (K().*(isFadeIn ? c.fadeIn : c.fadeOut))(frames, actual.data() + start);
                // Without frames, the operation succeeds, but not the kernel of a mux buffer.
                ASSERT_EQ(status, frames == 0 && c.IsMux() ? ZT_E_DESTINATION_BUFFER_TOO_SMALL : expectedStatus)
                    << frames << " frames";
                ASSERT_EQ(actual, expected) << frames << " frames at offset " << offset;
            }
        }
    }
}

// --- The gains -------------------------------------------------------------------------------------------------------

TEST(FadeCurves, AreParabolasWithKnownValues)
{
    static_assert(kFadeFrames == 200);
    static_assert(sizeof kFadeCurve16 == 200 * 2);
    static_assert(sizeof kFadeCurve32 == 200 * 4);
    static_assert(sizeof kFadeCurveMux == 200 * 4);
    const struct {
        std::size_t index;
        int gain16;
        std::uint32_t gain32;
    } known[] = {
        {0, 327, 21421149}, {1, 652, 42734925}, {2, 976, 63941326}, {99, 24575, 1610612735}, {199, 32767, 2147483647}};
    for (const auto& k : known) {
        EXPECT_EQ(kFadeCurve16[k.index], k.gain16);
        EXPECT_EQ(kFadeCurve32[k.index], k.gain32);
    }
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(kFadeCurve16[i], FadeGain(32767, i)) << i;
        EXPECT_EQ(kFadeCurve32[i], FadeGain(2147483647, i)) << i;
        EXPECT_EQ(kFadeCurveMux[i], kFadeCurve16[i]) << i;
    }
}

TEST(FadeCurves, AreThoseOfTheKernels)
{
    std::vector<std::int16_t> samples(200, -32768); // becomes the negative gain
    K().ApplyFadeIn16Mono(200, samples.data());
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(samples[i], -kFadeCurve16[i]) << i;
    }
}

// --- The arithmetic, at manually computed values --------------------------------------------------------------------

std::vector<std::int16_t> FadeWith(Kernel kernel, std::vector<std::int16_t> samples, std::size_t channels)
{
    EXPECT_EQ((K().*kernel)(samples.size() / channels, samples.data()), 0);
    return samples;
}

std::vector<std::uint32_t> FadeWith(Kernel kernel, std::vector<std::uint32_t> words, std::size_t channels)
{
    EXPECT_EQ((K().*kernel)(words.size() / channels, words.data()), 0);
    return words;
}

TEST(Fade16Mono, RoundsTowardsMinusInfinity)
{
    using Samples = std::vector<std::int16_t>;
    const struct {
        std::int16_t sample;
        std::int16_t fadedIn;  ///< by a gain of 327
        std::int16_t fadedOut; ///< by a gain of 32767
    } cases[] = {{-1, -1, -1}, {1, 0, 0}, {32767, 326, 32766}, {-32768, -327, -32767}};
    for (const auto& c : cases) {
        EXPECT_EQ(FadeWith(&K::ApplyFadeIn16Mono, Samples{c.sample}, 1), Samples{c.fadedIn}) << c.sample;
        EXPECT_EQ(FadeWith(&K::ApplyFadeOut16Mono, Samples{c.sample}, 1), Samples{c.fadedOut}) << c.sample;
    }
}

TEST(Fade16Mono, HasTheOuterEndOfTheCurveInAShortBuffer)
{
    const std::vector<std::int16_t> samples(100, -32768);
    const auto in = FadeWith(&K::ApplyFadeIn16Mono, samples, 1);
    EXPECT_EQ(in.front(), -327);
    EXPECT_EQ(in.back(), -24575); // three quarters
    const auto out = FadeWith(&K::ApplyFadeOut16Mono, samples, 1);
    EXPECT_EQ(out.front(), -32767);
    EXPECT_EQ(out.back(), -24738); // of entry 100: 32767 * (1 - (99 / 200)^2) is 24738.27
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
        EXPECT_EQ(FadeWith(&K::ApplyFadeOut16Stereo, before, 2), after);
    }
}

TEST(Fade16Stereo, DoesNotShareItsCrosstalkWithMux)
{
    const unsigned short gain = 32767;
    std::vector<std::int16_t> samples = {-1, 0, -1, 0};
    K().ApplyFade16BitIn16Mux4(samples.data(), 1, &gain, true);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{-1, 0, -1, 0}));
}

TEST(Fade24, KeepsTheHighHalfOfTheProduct)
{
    using Words = std::vector<std::uint32_t>;
    for (const auto& [word, faded] : {std::pair{0x7FFFFF00U, 0x7FFFFEFEU},
                                      {0x80000000U, 0x80000000U},
                                      {0U, 0U},
                                      {1U, 0U},
                                      {0xFFFFFFFFU, 0xFFFFFFFEU}}) {
        EXPECT_EQ(FadeWith(&K::ApplyFadeOut24Mono, Words{word}, 1), Words{faded});
        EXPECT_EQ(FadeWith(&K::ApplyFadeOut24Stereo, Words{0x7FFFFF00, word}, 2), (Words{0x7FFFFEFE, faded}));
    }
}

TEST(Fade24Mux, UsesTheLowByte)
{
    // 32767 * 32767 = 0x3FFF0001; the low half adds (32767 * 32767) >> 15 = 0x7FFE.
    const unsigned int gain = 32767;
    std::vector<std::uint32_t> words = {0x7FFF0000, 0x7FFFFFFF, 0x80000000, 0x000000FF};
    K().ApplyFade24BitIn32Mux4(words.data(), 1, &gain, true);
    EXPECT_EQ(words, (std::vector<std::uint32_t>{0x7FFE0002, 0x7FFEFFFE, 0x80010000, 0x000000FC}));
}

TEST(Fade24Mux, WrapsForGainsBeyondFullScale)
{
    const unsigned int gain = 65535;
    std::vector<std::uint32_t> words = {0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0};
    K().ApplyFade24BitIn32Mux4(words.data(), 1, &gain, true);
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
        K()._Fade16BitIn16MuxBuffer(samples.data(), 32768, 2, &kFadeCurve16[entry], 0);
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
        K()._Fade16BitIn16MuxBuffer(samples.data(), 3, 3, &gains[3], c.step);
        for (std::size_t i = 0; i < 9; ++i) {
            EXPECT_EQ(samples[i], -c.gains[i / 3]) << "step " << c.step << " sample " << i;
        }
    }
    std::vector<std::int16_t> samples(3, -32768);
    K()._Fade16BitIn16MuxBuffer(samples.data(), 1, 3, &gains[0], 3);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{-100, -400, -700}));
    samples.assign(3, -32768);
    K()._Fade16BitIn16MuxBuffer(samples.data(), 1, 3, &gains[6], -2);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{-700, -500, -300}));
}

TEST(Ramp16, WritesNothingWithoutFramesOrChannels)
{
    const unsigned short gain = 0;
    std::int16_t sample = 1234;
    K()._Fade16BitIn16MuxBuffer(&sample, 1, 0, &gain, 1);
    K()._Fade16BitIn16MuxBuffer(&sample, 0, 1, &gain, 1);
    EXPECT_EQ(sample, 1234);
}

/// Checks a ramp of any length in both directions: one gain for each frame, the same for all of its channels.
template <class Sample, class Entry, class Scale>
void CheckRamp(void (K::*ramp)(void*, unsigned long, const Entry*, bool), std::size_t channels, Scale scale)
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
            (K().*ramp)(actual.data(), frames, forward ? &gains[0] : &gains[frames], forward);
            ASSERT_EQ(actual, expected) << frames << " frames of " << channels << (forward ? " forward" : " backward");
        }
    }
}

TEST(MuxRamps, ApplyTheCallersGainsInBothDirections)
{
    CheckRamp<std::uint32_t>(&K::ApplyFade24BitIn32Mux4, 4, models::FadedMuxWord24);
    CheckRamp<std::uint32_t>(&K::ApplyFade24BitIn32Mux8, 8, models::FadedMuxWord24);
    CheckRamp<std::uint32_t>(&K::ApplyFade24BitIn32Mux16, 16, models::FadedMuxWord24);
    CheckRamp<std::int16_t>(&K::ApplyFade16BitIn16Mux4, 4, FadedSample16);
    CheckRamp<std::int16_t>(&K::ApplyFade16BitIn16Mux8, 8, FadedSample16);
    CheckRamp<std::int16_t>(&K::ApplyFade16BitIn16Mux16, 16, FadedSample16);
}

// --- The operation ---------------------------------------------------------------------------------------------------

class ApplyFade : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Every, ApplyFade, testing::ValuesIn(kCases), [](const auto& c) { return c.param.name; });

TEST_P(ApplyFade, FadesAsItsFlagsSayAndRejectsOnlyAShortMux)
{
    const Case& c = GetParam();
    for (const std::size_t frames : {199u, 200u, 333u, 1000u}) {
        for (const bool fadeIn : {false, true}) {
            for (const bool fadeOut : {false, true}) {
                FakeAudioSamples samples(c.Format(), frames, frames + 5);
                samples.data = Noise(samples.data.size(), c.property);
                samples.fadeIn = fadeIn;
                samples.fadeOut = fadeOut;
                Bytes expected = samples.data;
                const int status = ModelFade(c, frames, fadeIn, fadeOut, expected);
                EXPECT_EQ(status < 0, frames == 199 && c.IsMux() && (fadeIn || fadeOut));
                EXPECT_EQ(K().ApplyFade(&samples), status);
                EXPECT_EQ(samples.data, expected) << frames << " frames, in " << fadeIn << ", out " << fadeOut;
            }
        }
    }
}

bool HasCase(std::uint32_t property)
{
    return std::any_of(std::begin(kCases), std::end(kCases), [=](const Case& c) { return c.property == property; });
}

TEST(ApplyFadeFormats, RejectEveryFormatWithoutATableEntryEvenWithBothFlagsClear)
{
    const auto expectRejected = [](const SZtaWaveFormatInfo& format, int status, unsigned long frames) {
        for (const bool flag : {false, true}) {
            FakeAudioSamples samples(format, frames, 300);
            samples.fadeIn = samples.fadeOut = flag;
            samples.data = Noise(samples.data.size(), 27);
            const Bytes before = samples.data;
            EXPECT_EQ(K().ApplyFade(&samples), status);
            EXPECT_EQ(samples.data, before);
        }
    };
    for (std::uint32_t property = 1; property < 27; ++property) {
        SCOPED_TRACE(property);
        if (!HasCase(property)) {
            SZtaWaveFormatInfo format = g_asFormatOfProperty[property];
            format.ulChannels = property == 15 ? 3 : format.ulChannels;
            expectRejected(format, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, 300);
            expectRejected(format, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, 0); // before the length
        }
    }
    expectRejected(kUnclassifiedFormat, ZT_E_FORMAT_NOT_SUPPORTED, 300);
}

TEST(ApplyFadeTo16In32, ProcessesTheFirstHalfAs16BitSamples)
{
    // The property is that of 16-in-16, so the kernel fades one 16-bit sample for each 32-bit frame.
    FakeAudioSamples samples(WaveFormat(1, 32, 16, 48000, 1), 300, 300);
    samples.fadeIn = samples.fadeOut = true;
    samples.data = Noise(samples.data.size(), 1);
    Bytes expected = samples.data;
    ModelFade(kCases[0], 300, true, true, expected);
    EXPECT_EQ(K().ApplyFade(&samples), 0);
    EXPECT_EQ(samples.data, expected);
}

// --- The table and its queries ---------------------------------------------------------------------------------------

TEST(FadeTable, HasItsTableEntriesInOrder)
{
    ASSERT_EQ(std::size(kCases), 10u);
    ExpectTableEntries<CZtaApplyFade>(kCases, &Case::property, &Case::property);
}

TEST(FadeTable, SupportsItsTableEntriesAndSuggestsTheFormatItself24In32MonoOr24In32Stereo)
{
    for (std::uint32_t property = 1; property < 27; ++property) {
        SZtaWaveFormatInfo format = g_asFormatOfProperty[property];
        bool supported = property % 2 == 0;
        EXPECT_EQ(K().QueryFormatSupported(&format, &supported), 0);
        EXPECT_EQ(supported, HasCase(property)) << property;

        const bool mono = property == 16 || property == 20;
        SZtaWaveFormatInfo suggested{};
        EXPECT_EQ(K().SuggestFormat(&format, &suggested), 0);
        EXPECT_TRUE(AreEqual(suggested, g_asFormatOfProperty[supported ? property : (mono ? 8 : 9)])) << property;
    }
    SZtaWaveFormatInfo unknown = WaveFormat(1, 8, 8, 48000, 1);
    bool supported = true;
    EXPECT_EQ(K().QueryFormatSupported(&unknown, &supported), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_FALSE(supported);
    SZtaWaveFormatInfo suggested = WaveFormat(4, 5, 6, 7, 8);
    EXPECT_EQ(K().SuggestFormat(&unknown, &suggested), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_TRUE(AreEqual(suggested, WaveFormat(4, 5, 6, 7, 8)));
}

} // namespace
} // namespace zta::test
