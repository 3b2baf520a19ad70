/// Measures a sound: level, peaks, loudness and a test tone.
#pragma once

#include "tools/ztaudio/measure/analysis_input.h"
#include "tools/ztaudio/measure/level_meter.h"
#include "tools/ztaudio/measure/loudness_meter.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

/// The tone of one channel: the sine with the smallest residual over all frames.
struct ToneMeasurement {
    double frequency; ///< Hz
    double power;     ///< mean square of the sine
    double rest;      ///< mean square of the residual, without the DC offset
    double noise;     ///< mean square of the residual without the 2nd to the 10th harmonic
    double limit;     ///< mean square of the quantization noise; smaller residuals cannot be measured

    /// Whether the sine explains most of the sound. If not, the tone does not last, or it changes.
    bool IsSteady() const { return power > rest; }
    double MeasurableRest() const { return std::max(rest, limit); }
    double MeasurableNoise() const { return std::max(noise, limit); }
};

struct ChannelMeasurement {
    LevelMeter level;
    double truePeak = 0;
    std::optional<ToneMeasurement> tone;
};

struct Measurement {
    std::vector<ChannelMeasurement> channels;
    std::uint64_t frames = 0;
    Loudness loudness;
};

/// The samples of a block, one vector for each channel.
using Planes = std::vector<std::vector<double>>;

struct MeasurementObserver {
    std::function<void(const Planes&)> onBlock;         ///< each block, once and in order
    std::function<void(std::uint64_t frames)> onFrames; ///< frames of a block that was read; each frame 3 times
};

/// Reads the input up to 3 times. The memory does not depend on the length of the sound.
Measurement Measure(AnalysisInput& input, const MeasurementObserver& observer);
