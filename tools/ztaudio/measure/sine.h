/// A sine with DC offset.
#pragma once

#include <cstdint>

/// offset + inPhase * cos(a) + quadrature * sin(a) with a = 2 pi frequency n, where n counts frames from the center of
/// the sound.
struct Sine {
    double frequency = 0; ///< in cycles per frame
    double inPhase = 0;
    double quadrature = 0;
    double offset = 0;
    std::uint64_t frames = 0; ///< of the sound

    /// Mean square without the offset.
    double Power() const { return (inPhase * inPhase + quadrature * quadrature) / 2; }

    double Center() const { return (static_cast<double>(frames) - 1) / 2; }
};
