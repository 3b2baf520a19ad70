#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

/// Returns a sine of 16-bit samples, at a level in dBFS.
inline std::vector<std::int16_t> MakeSine(double hertz, double decibels, double rate, std::size_t frames)
{
    std::vector<std::int16_t> samples(frames);
    const double amplitude = 32768 * std::pow(10.0, decibels / 20);
    for (std::size_t i = 0; i < frames; ++i) {
        const double turns = std::fmod(hertz * static_cast<double>(i) / rate, 1.0);
        samples[i] = static_cast<std::int16_t>(std::lround(amplitude * std::sin(2 * std::numbers::pi * turns)));
    }
    return samples;
}
