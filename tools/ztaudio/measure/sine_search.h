/// A least-squares fit of a sine with DC offset (IEEE 1057) over all frames of a sound: finds the sine.
#pragma once

#include "tools/ztaudio/measure/sine.h"

#include <array>
#include <complex>
#include <cstddef>
#include <span>
#include <vector>

/// Finds frequency, amplitude, phase and offset with the smallest residual, in one reading of the sound.
///
/// Shifts the tone to about 0 Hz and keeps moments of blocks of frames. They give the residual for every frequency
/// nearby. In a long sound the blocks are longer, so that the memory is limited.
class SineSearch {
public:
    /// frequency  in cycles per frame, at most `accuracy` from the one to find
    /// mean  of all samples; the offset is found as the distance from it
    SineSearch(double frequency, double accuracy, double mean);

    void Add(std::span<const double> samples);

    /// Add no more samples then.
    Sine Find();

private:
    using Complex = std::complex<double>;

    static constexpr std::size_t kBlock = 64;

    /// Sums over a block of the shifted samples, multiplied by 1, d and d * d, where d is the distance in frames from
    /// the center of the block.
    using Moments = std::array<Complex, 3>;

    /// The sum of the samples, each multiplied by e^(-j angle n), and its derivative by the angle.
    struct Transform {
        Complex value;
        Complex slope;
    };

    /// The best sine of a given frequency, the sum of squares that it explains, and the derivative of that by the
    /// angle per frame.
    struct Fit {
        Sine sine;
        double explained;
        double slope;
    };

    static Moments Moved(const Moments& moments, double distance);
    void AddBlock();
    void MergeBlocks();
    Transform TransformAt(double frequency) const;
    Transform TransformStart(double frequency) const;
    Fit FitAt(double frequency) const;
    std::vector<double> Candidates() const;
    double Resolution() const { return 1 / static_cast<double>(frames_); }

    double frequency_;
    double accuracy_;
    double mean_;
    std::array<std::array<double, kBlock>, 6> factors_{}; ///< of the moments, real and imaginary parts
    std::array<double, kBlock> pending_{};
    std::size_t pendingCount_ = 0;
    std::vector<Moments> moments_;
    std::size_t blocksOfLast_ = 0; ///< that the last of the moments includes
    std::size_t blocksPerMoments_ = 1;
    std::uint64_t blockCount_ = 0;
    std::vector<double> start_; ///< the first frames, which may be all
    std::uint64_t frames_ = 0;
    double sum_ = 0;
};
