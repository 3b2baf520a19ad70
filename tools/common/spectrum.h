/// Spectra of sounds.
#pragma once

#include "tools/common/power_spectrum.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

struct fftw_plan_s;

/// 10 log10 and 20 log10; minus infinity of 0.
double PowerDecibels(double power);
double AmplitudeDecibels(double amplitude);

/// A Fourier transform of real samples. The plan and the memory are kept for the next transform of the same length.
class RealTransform {
public:
    explicit RealTransform(std::size_t length);

    std::size_t Length() const { return length_; }
    std::size_t BinCount() const { return length_ / 2 + 1; }

    /// The samples to transform. Run keeps them.
    std::span<double> Input() { return {in_.get(), length_}; }
    void Run();

    /// Transforms samples, each multiplied by the value of a window.
    void Run(std::span<const double> samples, std::span<const double> window);

    /// The squared magnitude of a bin, from 0 Hz to half the rate.
    double Power(std::size_t bin) const
    {
        return out_[2 * bin] * out_[2 * bin] + out_[2 * bin + 1] * out_[2 * bin + 1];
    }

    /// Adds the squared magnitudes of all bins, each multiplied by `weight`.
    void AddPowers(double weight, std::span<double> sums) const;
    void AddPowers(double weight, std::span<float> sums) const;

private:
    struct DestroyPlan {
        void operator()(fftw_plan_s* plan) const;
    };
    struct Free {
        void operator()(double* values) const;
    };
    template <typename Sum>
    void AddPowersTo(double weight, std::span<Sum> sums) const;

    std::size_t length_;
    std::unique_ptr<double[], Free> in_; ///< aligned as the library prefers
    std::unique_ptr<double[], Free> out_;
    std::unique_ptr<fftw_plan_s, DestroyPlan> plan_;
};

/// The squared magnitudes of bins 0 to length / 2 of `samples`, padded with zeros to `length`.
std::vector<double> TransformPowers(std::span<const double> samples, std::size_t length);

/// The mean power spectrum of a sound that arrives in blocks. Segments overlap by 7/8 under a window whose squares
/// add up to a constant at that overlap: between the first and the last 7/8 of a segment each frame has equal weight.
/// The side lobes of the window are 180 dB below the main lobe. Copies share a transform, and belong to one thread.
class Spectrum {
public:
    /// length  frames of a segment, a multiple of 8
    explicit Spectrum(std::size_t length);

    void Add(std::span<const double> samples);

    /// Adds a segment that ends with the last frame, so that the end of the sound is not left out. A sound shorter
    /// than a segment is padded with zeros.
    void Finish();

    /// Whether at least one segment is complete. Without one, all powers are 0.
    bool HasSegment() const { return weight_ > 0; }
    std::size_t Length() const { return 2 * (binCount_ - 1); }

    /// The mean square of the sound in each bin, from 0 Hz to half the rate. The sum is the mean square of the sound.
    std::vector<double> Powers() const;

    /// The factor from the power of a bin to that of a tone at the center of the bin.
    double ToneGain() const;

private:
    std::size_t Hop() const { return Length() / 8; }
    void AddSegment(double weight);

    std::size_t binCount_;
    SampleRows recent_; ///< frames, at most a segment
    std::shared_ptr<PowerSpectrum> powers_;
    PowerSpectrum::Sums sums_;
    std::size_t newFrames_ = 0; ///< since the last segment
    double weight_ = 0;
    double windowPower_ = 0;
    double windowSum_ = 0;
};

/// A tone and the other components of a spectrum; powers are mean squares.
struct Tone {
    double bin;   ///< frequency in bins, with a fraction
    double power; ///< of the tone itself
    double rest;  ///< all other components except those at 0 Hz
    double noise; ///< the rest without the 2nd to the 10th harmonic, including aliased ones
};

/// Finds the tone that has at least half of the power of the sound. Empty if there is none.
std::optional<Tone> FindTone(std::span<const double> powers);
