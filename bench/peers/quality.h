/// The quality of resamplers, measured with tones.
#pragma once

#include "bench/peers/peer.h"

#include <optional>
#include <string>
#include <vector>

namespace bench {

struct ToneResult {
    double level;         ///< in dBFS
    double signalToNoise; ///< in dB: the tone to all else but its harmonics
};

/// Sends a tone of -1 dBFS through a new stream, in calls of `frames` frames, and measures one output channel. Throws
/// if the output has no tone.
ToneResult PlayTone(const StreamMaker& maker, const Rates& rates, std::size_t frames, double hertz, double seconds,
                    std::uint32_t channel);

inline constexpr double kToneLevel = -1.0;
inline constexpr double kLowTone = 997;
inline constexpr double kHighTone = 15000;
/// A resampler below this is not counted as a peer.
inline constexpr double kLeastQuality = 70;

struct Quality {
    std::string name;
    std::uint32_t from;
    std::uint32_t to;
    double low;  ///< signal to noise of the low tone
    double high; ///< of the high one

    bool MeetsTarget() const { return low >= kLeastQuality && high >= kLeastQuality; }
};

} // namespace bench
