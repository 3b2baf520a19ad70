/// Test signals and their exact properties.
#pragma once

#include "tools/common/spectrum.h"
#include "tools/ztaudio/measure/measurement.h"

#include <cstdint>
#include <vector>

using Samples = std::vector<double>;

/// Adds amplitude * sin(2 pi frequency n + phase), frequency being in cycles per frame.
void AddSine(Samples& samples, double frequency, double amplitude, double phase = 0);

/// `frames` frames of that.
Samples MakeSine(std::size_t frames, double frequency, double amplitude, double phase = 0);

/// Normally distributed noise with the given mean square; exactly, not on average.
Samples NoiseOfPower(std::size_t frames, double meanSquare, unsigned seed = 1);

/// Adds `part`, beginning at frame `first`.
void AddAt(Samples& samples, std::size_t first, const Samples& part);

/// Rounds to multiples of `step`, within full scale.
Samples Quantized(Samples samples, double step);

/// The measurement of one channel.
ChannelMeasurement MeasureChannel(const Samples& samples, double rate = 48000, double quantizationStep = 0);

/// The measurement of channels of equal length.
Measurement MeasureChannels(const std::vector<Samples>& channels, double rate = 48000, double quantizationStep = 0);

/// A least-squares fit of a sine of known frequency and an offset by the normal equations, in extended precision.
struct DirectFit {
    double power; ///< mean square of the sine
    double rest;  ///< mean square of the residual
};
DirectFit FitDirectly(const Samples& samples, double frequency);

inline double Decibels(double power)
{
    return PowerDecibels(power);
}
