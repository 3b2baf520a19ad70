#include "tools/common/spectrum.h"

#include "tests/measure/signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace {

double TotalPower(const Spectrum& spectrum)
{
    const std::vector<double> powers = spectrum.Powers();
    return std::reduce(powers.begin(), powers.end());
}

TEST(Spectrum, GivesEveryFrameEqualWeight)
{
    constexpr std::size_t kLength = 512;
    double expected = 0;
    for (std::size_t position = 2 * kLength; position < 3 * kLength; ++position) {
        Samples samples(5 * kLength);
        samples[position] = 1;
        Spectrum spectrum(kLength);
        spectrum.Add(samples);
        expected = expected == 0 ? TotalPower(spectrum) : expected;
        EXPECT_NEAR(TotalPower(spectrum) / expected, 1, 1e-12) << position;
    }
}

TEST(Spectrum, AddsUpToTheMeanSquare)
{
    Samples samples(20000, 0.1);
    AddSine(samples, 0.1234, 0.5);
    AddAt(samples, 0, NoiseOfPower(samples.size(), 0.01));
    Spectrum spectrum(1024);
    spectrum.Add(samples);
    EXPECT_NEAR(TotalPower(spectrum), 0.01 + 0.125 + 0.01, 0.001);
}

TEST(Spectrum, ShowsTheEndOfTheSound)
{
    Samples samples(10 * 1024 + 100);
    AddAt(samples, 10 * 1024 - 400, NoiseOfPower(450, 1));
    Spectrum without(1024);
    without.Add(samples);
    Spectrum with(1024);
    with.Add(samples);
    with.Finish();
    EXPECT_GT(TotalPower(with), 1.05 * TotalPower(without));

    Spectrum shortSound(1024);
    shortSound.Add(Samples(700, 0.5));
    EXPECT_FALSE(shortSound.HasSegment());
    EXPECT_EQ(TotalPower(shortSound), 0);
    shortSound.Finish();
    EXPECT_GT(TotalPower(shortSound), 0.1);
}

TEST(Spectrum, HasSideLobesBelow170Decibels)
{
    Samples samples = MakeSine(16384, 100.3 / 1024, 1);
    Spectrum spectrum(1024);
    spectrum.Add(samples);
    const std::vector<double> powers = spectrum.Powers();
    EXPECT_NEAR(powers[100] * spectrum.ToneGain() * 2, 1, 0.15);
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        if (bin + 13 < 100 || bin > 113) {
            EXPECT_LT(Decibels(powers[bin]), -170) << bin;
        }
    }
}

TEST(Spectrum, FindsAToneAndItsNoise)
{
    Samples samples = MakeSine(200000, 0.0712345, 0.5);
    AddSine(samples, 3 * 0.0712345, 0.0005);
    AddAt(samples, 0, NoiseOfPower(samples.size(), 0.125e-8));
    Spectrum spectrum(16384);
    spectrum.Add(samples);
    const auto tone = FindTone(spectrum.Powers());
    ASSERT_TRUE(tone);
    EXPECT_NEAR(tone->bin / 16384, 0.0712345, 1e-8);
    EXPECT_NEAR(Decibels(2 * tone->power), -6.0206, 0.001);
    EXPECT_NEAR(Decibels(tone->rest / tone->power), Decibels(1e-6 + 1e-8), 0.01);
    EXPECT_NEAR(Decibels(tone->power / tone->noise), 80, 0.2);
}

} // namespace
