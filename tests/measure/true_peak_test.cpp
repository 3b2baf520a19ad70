#include "tests/measure/signals.h"
#include "tools/ztaudio/measure/true_peak_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

double TruePeak(const Samples& samples)
{
    return MeasureChannel(samples).truePeak;
}

/// A sine that fades in and out, so that its ends add nothing.
Samples SmoothSine(double frequency, double amplitude, double phase, std::size_t frames = 4000)
{
    Samples samples(frames);
    AddSine(samples, frequency, amplitude, phase);
    for (std::size_t i = 0; i < frames; ++i) {
        const double position = static_cast<double>(std::min(i, frames - 1 - i)) / 1000;
        samples[i] *= position < 1 ? (1 - std::cos(std::numbers::pi * position)) / 2 : 1;
    }
    return samples;
}

TEST(TruePeak, IsThatOfTheWaveformBetweenTheSamples)
{
    for (const double phase : {0.0, 0.25, 0.5, 0.785398}) { // the last one: samples 3 dB below the peak
        for (const double frequency : {0.01, 0.1234, 0.25, 0.3, 0.4}) {
            SCOPED_TRACE(std::to_string(frequency) + ", phase " + std::to_string(phase));
            EXPECT_NEAR(AmplitudeDecibels(TruePeak(SmoothSine(frequency, 0.5, phase))), -6.0206, 0.05);
        }
    }
    EXPECT_NEAR(TruePeak(SmoothSine(0.25, 1, std::numbers::pi / 4)), 1, 1e-3);
}

// Direct interpolation: the sum of sincs of all samples, at 16 times the rate.
TEST(TruePeak, AgreesWithADirectInterpolation)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Samples noise = NoiseOfPower(300, 0.01, seed);
        Samples samples(noise.size() + 40); // a low-pass filter leaves out what no finite filter interpolates
        for (std::size_t i = 0; i < noise.size(); ++i) {
            for (std::size_t t = 0; t < 41; ++t) {
                const double distance = static_cast<double>(t) - 20;
                const double sinc =
                    distance == 0 ? 0.7 : std::sin(0.7 * std::numbers::pi * distance) / (std::numbers::pi * distance);
                const double window = 0.5 + 0.5 * std::cos(std::numbers::pi * distance / 21);
                if (i + t < samples.size()) {
                    samples[i + t] += noise[i] * sinc * window;
                }
            }
        }
        double expected = 0;
        for (int n = -16 * 16; n < static_cast<int>(samples.size() + 16) * 16; ++n) {
            double value = 0;
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const double angle = std::numbers::pi * (n / 16.0 - static_cast<double>(i));
                value += samples[i] * (std::abs(angle) < 1e-9 ? 1 : std::sin(angle) / angle);
            }
            expected = std::max(expected, std::abs(value));
        }
        EXPECT_NEAR(AmplitudeDecibels(TruePeak(samples) / expected), 0, 0.02) << seed;
    }
}

// The first and the last samples are followed by silence. Two equal samples of a band-limited waveform have a higher
// value between them: 4 / pi.
TEST(TruePeak, IncludesTheEnds)
{
    for (const std::size_t frames : {2U, 3U, 63U, 64U, 65U, 100U, 5000U}) {
        for (const std::size_t first : {std::size_t{0}, frames - 2}) {
            SCOPED_TRACE(std::to_string(first) + " of " + std::to_string(frames));
            Samples samples(frames);
            samples[first] = samples[first + 1] = 0.5;
            EXPECT_NEAR(TruePeak(samples), 0.5 * 4 / std::numbers::pi, 0.01);
        }
    }
}

TEST(TruePeak, DoesNotDependOnPositionAndBlocks)
{
    const Samples part = NoiseOfPower(50, 0.01, 3);
    double expected = 0;
    for (std::size_t first = 0; first < 200; ++first) {
        Samples samples(400);
        AddAt(samples, first + 50, part);
        TruePeakMeter meter;
        for (std::size_t i = 0; i < samples.size(); i += 37) {
            meter.Add(std::span(samples).subspan(i, std::min<std::size_t>(37, samples.size() - i)));
        }
        const double peak = meter.Finish();
        expected = first == 0 ? peak : expected;
        EXPECT_NEAR(peak, expected, 1e-6) << first;
    }
}

TEST(TruePeak, IsNeverBelowThePeakOfTheSamples)
{
    for (const std::size_t frames : {0U, 1U, 10U, 100000U}) {
        const ChannelMeasurement channel = MeasureChannel(NoiseOfPower(frames, 0.04));
        EXPECT_GE(channel.truePeak, channel.level.Peak() * (1 - 1e-6));
    }
}

} // namespace
