/// What a resampler does to a tone.
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

/// A tone of -1 dBFS of so many seconds through a fresh stream, in calls of `frames` frames; what comes out of one
/// channel. Throws if no tone comes out.
ToneResult PlayTone(const StreamMaker& maker, const Rates& rates, std::size_t frames, double hertz, double seconds,
                    std::uint32_t channel);

inline constexpr double kToneLevel = -1.0;
inline constexpr double kLowTone = 997;
inline constexpr double kHighTone = 15000;
/// Whose tones keep less is no peer of the engine's resampler.
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
