/// A least-squares fit of a sine with DC offset (IEEE 1057) over all frames of a sound: measures the residual.
#pragma once

#include "tools/ztaudio/measure/sine.h"

#include <array>
#include <cstddef>
#include <span>

/// The part of a sound that a sine does not explain, and the part of that which harmonics of the sine explain.
class SineResidual {
public:
    explicit SineResidual(const Sine& sine);

    void Add(std::span<const double> samples);

    struct Powers {
        double rest;  ///< mean square of the residual
        double noise; ///< mean square of the residual without the 2nd to the 10th harmonic, including aliased ones
    };

    /// Add no more samples then.
    Powers Find();

private:
    static constexpr std::size_t kHarmonics = 10; ///< including the first, the sine itself
    static constexpr std::size_t kBlock = 128;

    void AddBlock();

    Sine sine_;
    std::array<std::array<double, kBlock>, kHarmonics> cosines_{}; ///< of the harmonics, about the center of a block
    std::array<std::array<double, kBlock>, kHarmonics> sines_{};
    std::array<double, kBlock> pending_{};
    std::size_t pendingCount_ = 0;
    std::array<double, kHarmonics + 1> cosineSums_{}; ///< of the residual and the harmonics; the first is that at 0 Hz
    std::array<double, kHarmonics + 1> sineSums_{};   ///< the first is not used
    double squares_ = 0;
    std::uint64_t blockCount_ = 0;
};
