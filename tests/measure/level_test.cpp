#include "tests/measure/signals.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(Level, IncludesEveryFrame)
{
    for (const std::size_t frames : {1U, 2U, 4095U, 4096U, 4097U, 100000U}) {
        for (const std::size_t position : {std::size_t{0}, frames / 2, frames - 1}) {
            Samples samples(frames);
            samples[position] = -0.75;
            const LevelMeter level = MeasureChannel(samples).level;
            EXPECT_EQ(level.Count(), frames);
            EXPECT_EQ(level.Peak(), 0.75);
            EXPECT_DOUBLE_EQ(level.Mean(), -0.75 / static_cast<double>(frames));
            EXPECT_DOUBLE_EQ(level.MeanSquare(), 0.5625 / static_cast<double>(frames));
        }
    }
}

TEST(Level, KeepsItsPrecisionInALongSound)
{
    LevelMeter level;
    const Samples block(4096, 0.1);
    for (int i = 0; i < 20000; ++i) {
        level.Add(block);
    }
    EXPECT_NEAR(level.Mean(), 0.1, 1e-14);
    EXPECT_NEAR(level.MeanSquare(), 0.01, 1e-15);
}

TEST(Level, AgreesWithADirectCalculation)
{
    Samples samples = NoiseOfPower(123457, 0.01);
    long double sum = 0;
    long double squares = 0;
    double peak = 0;
    for (double& sample : samples) {
        sample += 0.02;
        sum += sample;
        squares += static_cast<long double>(sample) * sample;
        peak = std::max(peak, std::abs(sample));
    }
    const LevelMeter level = MeasureChannel(samples).level;
    const auto count = static_cast<long double>(samples.size());
    EXPECT_NEAR(level.Mean(), static_cast<double>(sum / count), 1e-15);
    EXPECT_NEAR(level.MeanSquare(), static_cast<double>(squares / count), 1e-15);
    EXPECT_NEAR(level.Variance(), static_cast<double>(squares / count - sum / count * (sum / count)), 1e-15);
    EXPECT_EQ(level.Peak(), peak);
}

TEST(Level, OfNoFramesIsZero)
{
    const LevelMeter level = MeasureChannel({}).level;
    EXPECT_EQ(level.Count(), 0U);
    EXPECT_EQ(level.Peak(), 0);
    EXPECT_EQ(level.Mean(), 0);
    EXPECT_EQ(level.MeanSquare(), 0);
}

} // namespace
