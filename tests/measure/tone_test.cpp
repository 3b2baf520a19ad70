// The measurement of a tone, compared with the properties of constructed signals and with a direct fit.
#include "tests/measure/signals.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kRate = 48000;

double ThdNoise(const ToneMeasurement& tone)
{
    return Decibels(tone.rest / tone.power);
}

double SignalToNoise(const ToneMeasurement& tone)
{
    return Decibels(tone.power / tone.noise);
}

// A burst of noise has the same effect everywhere: at the center of a segment of any transform, between two of them,
// at the beginning and at the end of the sound.
TEST(Tone, IncludesANoiseBurstAnywhere)
{
    constexpr std::size_t kFrames = 160000;
    constexpr std::size_t kBurst = 2000;
    constexpr double kThdNoise = -33.70;
    const double burstPower = 0.125 * std::pow(10, kThdNoise / 10) * kFrames / kBurst;
    const Samples burst = NoiseOfPower(kBurst, burstPower);
    for (const std::size_t first : {0, 1, 8192 - 1000, 16384 - 1000, 24576 - 1000, 32768 - 1000, 65536 - 1000,
                                    98304 - 1000, 131072 - 1000, 100001, 160000 - 2001, 160000 - 2000}) {
        SCOPED_TRACE(first);
        Samples samples = MakeSine(kFrames, 997 / kRate, 0.5);
        AddAt(samples, first, burst);
        const ToneMeasurement tone = MeasureChannel(samples).tone.value();
        EXPECT_NEAR(ThdNoise(tone), kThdNoise, 0.05);
        EXPECT_NEAR(SignalToNoise(tone), -kThdNoise, 0.05);
        EXPECT_NEAR(tone.frequency, 997, 0.001);
        const DirectFit direct = FitDirectly(samples, tone.frequency / kRate);
        EXPECT_NEAR(tone.rest / direct.rest, 1, 1e-7);
        EXPECT_NEAR(tone.power / direct.power, 1, 1e-7);
    }
}

TEST(Tone, IsFoundBeforeAndAfterSilence)
{
    for (const double seconds : {0.02, 0.05, 0.2}) {
        Samples part = MakeSine(static_cast<std::size_t>(seconds * kRate), 1000 / kRate, 0.5);
        for (const std::size_t first : {std::size_t{0}, std::size_t{240000}, std::size_t{123456}}) {
            SCOPED_TRACE(std::to_string(seconds) + " s at " + std::to_string(first));
            Samples samples(240000 + part.size());
            AddAt(samples, first, part);
            const ToneMeasurement tone = MeasureChannel(samples).tone.value();
            EXPECT_NEAR(tone.frequency, 1000, 0.02 / seconds);
            EXPECT_FALSE(tone.IsSteady());
        }
    }
}

TEST(Tone, IsNotSteadyIfAnotherFollows)
{
    Samples samples = MakeSine(48000, 1000 / kRate, 0.5);
    Samples second = MakeSine(43200, 5000 / kRate, 0.5);
    samples.insert(samples.end(), second.begin(), second.end());
    const ToneMeasurement tone = MeasureChannel(samples).tone.value();
    EXPECT_FALSE(tone.IsSteady());
    // The fit has the amplitude of the tone times its share of the time.
    const double share = 48000.0 / 91200;
    EXPECT_NEAR(Decibels(2 * tone.power), -6.0206 + 2 * Decibels(share), 0.01);
    EXPECT_NEAR(ThdNoise(tone), Decibels((1 - share * share) / (share * share)), 0.01);
}

TEST(Tone, HasExactFrequencyAndLevelInAnyLength)
{
    for (const std::size_t frames : {64U, 100U, 511U, 512U, 1000U, 4096U, 4097U, 16383U, 16384U, 16385U, 200000U}) {
        for (const double frequency : {0.0501, 0.1, 0.123456789, 0.25, 0.3125, 0.4321}) {
            SCOPED_TRACE(std::to_string(frames) + " frames, " + std::to_string(frequency));
            Samples samples(frames, 0.125);
            AddSine(samples, frequency, 0.5, 1);
            const ToneMeasurement tone = MeasureChannel(samples, 1).tone.value();
            EXPECT_NEAR(tone.frequency, frequency, 1e-10 / static_cast<double>(frames));
            EXPECT_NEAR(Decibels(2 * tone.power), -6.0206, 1e-4);
            EXPECT_LT(ThdNoise(tone), -200);
        }
    }
}

TEST(Tone, HasExactFrequencyNearTheEndsOfTheRange)
{
    for (const double frequency : {0.00025, 0.001, 0.0207083, 0.4985, 0.4999}) {
        SCOPED_TRACE(frequency);
        Samples samples = MakeSine(200000, frequency, 0.5, 0.3);
        const ToneMeasurement tone = MeasureChannel(samples, 1).tone.value();
        EXPECT_NEAR(tone.frequency, frequency, 1e-12);
        EXPECT_LT(ThdNoise(tone), -200);
    }
}

// The number of blocks of a long sound is limited: they are merged several times.
TEST(Tone, IsExactInALongSound)
{
    Samples samples = MakeSine(2500000, 997.123 / kRate, 0.7, 2);
    AddAt(samples, 0, NoiseOfPower(samples.size(), 1e-9));
    const ToneMeasurement tone = MeasureChannel(samples).tone.value();
    EXPECT_NEAR(tone.frequency, 997.123, 1e-7);
    EXPECT_NEAR(tone.noise, 1e-9, 1e-12);
    EXPECT_NEAR(tone.rest / FitDirectly(samples, tone.frequency / kRate).rest, 1, 1e-6);
}

TEST(Tone, MeasuresNoiseOfAKnownLevel)
{
    for (const double ratio : {5.0, 60.0, 120.0, 180.0}) {
        for (const std::size_t frames : {2000U, 50000U, 100000U}) {
            SCOPED_TRACE(std::to_string(ratio) + " dB, " + std::to_string(frames));
            Samples samples = MakeSine(frames, 997 / kRate, 0.5);
            AddAt(samples, 0, NoiseOfPower(frames, 0.125 * std::pow(10, -ratio / 10)));
            const ToneMeasurement tone = MeasureChannel(samples).tone.value();
            const double lost = 23.0 / static_cast<double>(frames); // parameters of the fit
            EXPECT_NEAR(SignalToNoise(tone), ratio, 0.01 + 4.4 * 2 * lost);
            EXPECT_NEAR(tone.rest / FitDirectly(samples, tone.frequency / kRate).rest, 1, 1e-4);
        }
    }
}

TEST(Tone, CountsHarmonicsAsDistortionOnly)
{
    for (const int harmonic : {2, 3, 10}) {
        for (const double hertz : {997.0, 9000.0}) { // harmonics of the second one are aliased
            SCOPED_TRACE(harmonic * hertz);
            Samples samples = MakeSine(100000, hertz / kRate, 0.5);
            AddSine(samples, harmonic * hertz / kRate, 0.0005, 1);
            AddAt(samples, 0, NoiseOfPower(samples.size(), 0.125 * 1e-10));
            const ToneMeasurement tone = MeasureChannel(samples).tone.value();
            EXPECT_NEAR(ThdNoise(tone), -60, 0.001);
            EXPECT_NEAR(SignalToNoise(tone), 100, 0.01);
        }
    }
    Samples samples = MakeSine(100000, 997 / kRate, 0.5);
    AddSine(samples, 997 * 2.5 / kRate, 0.0005);
    EXPECT_NEAR(SignalToNoise(*MeasureChannel(samples).tone), 60, 0.01);
}

TEST(Tone, IsTheStrongerOfTwo)
{
    for (const double second : {0.3, 0.05, 1e-3, 1e-5}) {
        for (const double frequency : {0.025, 400.0 / 16384}) { // between the bins of transforms, and in one
            SCOPED_TRACE(second);
            Samples samples = MakeSine(100000, 512.0 / 16384, 0.5);
            AddSine(samples, frequency, second);
            const ToneMeasurement tone = MeasureChannel(samples, 1).tone.value();
            EXPECT_NEAR(tone.frequency, 512.0 / 16384, 1e-6);
            EXPECT_NEAR(ThdNoise(tone), Decibels(second * second / 0.25), 0.01);
        }
    }
    Samples equal = MakeSine(100000, 0.01, 0.5);
    AddSine(equal, 0.1, 0.501);
    AddSine(equal, 0.2, 0.5);
    EXPECT_FALSE(MeasureChannel(equal).tone);
}

TEST(Tone, ExcludesTheOffset)
{
    for (const double offset : {0.25, -0.49, 1e-4}) {
        for (const std::size_t frames : {1000U, 100000U}) {
            Samples samples(frames, offset);
            AddSine(samples, 997 / kRate, 1e-3);
            const ChannelMeasurement channel = MeasureChannel(samples);
            EXPECT_LT(ThdNoise(channel.tone.value()), -150);
            EXPECT_NEAR(channel.tone->frequency, 997, 1e-6);
        }
    }
}

TEST(Tone, IsNotFoundInNoiseSilenceAndConstants)
{
    for (const std::size_t frames : {0U, 1U, 2U, 31U, 100U, 1000U, 16384U, 100000U}) {
        SCOPED_TRACE(frames);
        EXPECT_FALSE(MeasureChannel(Samples(frames)).tone);
        EXPECT_FALSE(MeasureChannel(Samples(frames, 0.3)).tone);
        EXPECT_FALSE(MeasureChannel(NoiseOfPower(frames, 0.01)).tone);
        Samples offset(frames, 0.5);
        AddAt(offset, 0, NoiseOfPower(frames, 1e-9));
        EXPECT_FALSE(MeasureChannel(offset).tone);
    }
}

TEST(Tone, IsNotBetterThanItsSampleFormat)
{
    // A quarter of the rate: all samples are multiples of the step, and the residual is 0.
    Samples samples = MakeSine(48000, 0.25, 0.5);
    for (const double step : {0x1p-15, 0x1p-23}) {
        const ToneMeasurement tone = MeasureChannel(Quantized(samples, step), kRate, step).tone.value();
        EXPECT_NEAR(tone.limit, step * step / 12, 1e-12 * step * step);
        EXPECT_EQ(tone.MeasurableNoise(), tone.limit);
        EXPECT_EQ(tone.MeasurableRest(), tone.limit);
    }
    const ToneMeasurement floats = MeasureChannel(samples, kRate, 0).tone.value();
    EXPECT_NEAR(Decibels(floats.power / floats.MeasurableNoise()), 152.3, 0.1);
}

TEST(Tone, HasTheQuantizationNoiseOfItsSampleFormat)
{
    Samples samples = MakeSine(480000, 997.1 / kRate, 0.9);
    for (const double step : {0x1p-15, 0x1p-23}) {
        const ToneMeasurement tone = MeasureChannel(Quantized(samples, step), kRate, step).tone.value();
        EXPECT_NEAR(Decibels(tone.rest / (step * step / 12)), 0, 0.1);
    }
}

} // namespace
