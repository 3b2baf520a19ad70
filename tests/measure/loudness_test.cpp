#include "tests/measure/signals.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

struct LibraryResult {
    double integrated = 0;
    double range = 0;
};

/// The gates of the library itself.
LibraryResult LibraryLoudness(const std::vector<Samples>& channels, unsigned long rate)
{
    ebur128_state* state =
        ebur128_init(static_cast<unsigned>(channels.size()), rate, EBUR128_MODE_I | EBUR128_MODE_LRA);
    Samples interleaved;
    for (std::size_t i = 0; i < channels[0].size(); ++i) {
        for (const Samples& channel : channels) {
            interleaved.push_back(channel[i]);
        }
    }
    EXPECT_EQ(ebur128_add_frames_double(state, interleaved.data(), channels[0].size()), EBUR128_SUCCESS);
    LibraryResult result;
    EXPECT_EQ(ebur128_loudness_global(state, &result.integrated), EBUR128_SUCCESS);
    EXPECT_EQ(ebur128_loudness_range(state, &result.range), EBUR128_SUCCESS);
    ebur128_destroy(&state);
    return result;
}

Samples Sine(double hertz, double decibels, double seconds, double rate = 48000)
{
    Samples samples(static_cast<std::size_t>(seconds * rate));
    AddSine(samples, hertz / rate, std::pow(10, decibels / 20));
    return samples;
}

/// Steps of level, in decibels and seconds.
Samples Steps(std::initializer_list<std::pair<double, double>> steps)
{
    Samples samples;
    for (const auto& [decibels, seconds] : steps) {
        const Samples step = Sine(1000, decibels, seconds);
        samples.insert(samples.end(), step.begin(), step.end());
    }
    return samples;
}

Loudness Stereo(const Samples& samples)
{
    return MeasureChannels({samples, samples}).loudness;
}

// The minimum requirements of EBU Tech 3341 and 3342 that need no recordings.
TEST(Loudness, MeetsTheRequirementsOfR128)
{
    EXPECT_NEAR(Stereo(Sine(1000, -23, 20)).integrated.value(), -23, 0.1);
    EXPECT_NEAR(Stereo(Sine(1000, -33, 20)).integrated.value(), -33, 0.1);
    EXPECT_NEAR(Stereo(Steps({{-36, 10}, {-23, 60}, {-36, 10}})).integrated.value(), -23, 0.1);
    EXPECT_NEAR(Stereo(Steps({{-72, 10}, {-36, 10}, {-23, 60}, {-36, 10}, {-72, 10}})).integrated.value(), -23, 0.1);
    EXPECT_NEAR(Stereo(Steps({{-26, 20}, {-20, 20.1}, {-26, 20}})).integrated.value(), -23, 0.1);
    EXPECT_NEAR(Stereo(Steps({{-20, 20}, {-30, 20}})).range.value(), 10, 1);
    EXPECT_NEAR(Stereo(Steps({{-20, 20}, {-15, 20}})).range.value(), 5, 1);
    EXPECT_NEAR(Stereo(Steps({{-40, 20}, {-20, 20}})).range.value(), 20, 1);
}

TEST(Loudness, WeightsTheChannelsOfSurroundSound)
{
    const std::vector<Samples> channels = {Sine(1000, -28, 20), Sine(1000, -28, 20), Sine(1000, -24, 20),
                                           Sine(1000, 0, 20),   Sine(1000, -30, 20), Sine(1000, -30, 20)};
    EXPECT_NEAR(MeasureChannels(channels).loudness.integrated.value(), -23, 0.1);
}

TEST(Loudness, HasTheGatesOfTheLibrary)
{
    for (const double rate : {8000.0, 44100.0, 96000.0}) {
        Samples left;
        for (int i = 0; i < 60; ++i) {
            const double level = -20 - 15 * std::sin(i * 0.37) - (i % 7 == 0 ? 40 : 0);
            const Samples part = Sine(100 + 50 * i, level, 0.35, rate);
            left.insert(left.end(), part.begin(), part.end());
        }
        Samples right = NoiseOfPower(left.size(), 1e-4);
        const std::vector<Samples> channels = {left, right};
        const LibraryResult expected = LibraryLoudness(channels, static_cast<unsigned long>(rate));
        const Loudness loudness = MeasureChannels(channels, rate).loudness;
        EXPECT_NEAR(loudness.integrated.value(), expected.integrated, 0.01);
        EXPECT_NEAR(loudness.range.value(), expected.range, 0.02);
    }
}

TEST(Loudness, IsMissingWhereItIsNotDefined)
{
    const Loudness shortSound = Stereo(Sine(1000, -23, 0.39));
    EXPECT_FALSE(shortSound.integrated);
    EXPECT_FALSE(shortSound.range);
    EXPECT_FALSE(shortSound.maxMomentary);
    EXPECT_TRUE(Stereo(Sine(1000, -23, 0.4)).integrated);
    EXPECT_FALSE(Stereo(Sine(1000, -23, 2.9)).range);
    EXPECT_FALSE(Stereo(Sine(1000, -80, 1)).integrated);
    EXPECT_NEAR(Stereo(Sine(1000, -80, 1)).maxMomentary.value(), -80, 0.1);
    EXPECT_FALSE(Stereo(Samples(48000)).maxMomentary);
    EXPECT_FALSE(MeasureChannels({Sine(1000, -23, 1)}, 100).loudness.integrated);
    EXPECT_FALSE(MeasureChannels(std::vector<Samples>(16, Sine(1000, -23, 1))).loudness.integrated);
}

} // namespace
