/// Spectra of sounds and what they tell of a test tone.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// 10 log10 and 20 log10; minus infinity of 0.
double PowerDecibels(double power);
double AmplitudeDecibels(double amplitude);

/// Plain powers of the transform's bins 0 to length / 2, of `samples` continued with zeros to `length`.
std::vector<double> TransformPowers(std::span<const double> samples, std::size_t length);

/// The spectrum of a sound that is given piece by piece: the mean over segments that overlap by half, each under a
/// 7-term Blackman-Harris window, whose side lobes lie 180 dB down.
class Spectrum {
public:
    /// length  frames of a segment, even
    explicit Spectrum(std::size_t length);

    void Add(std::span<const double> samples);

    /// Segments so far. Without any, all powers are 0.
    std::size_t Segments() const { return segments_; }
    std::size_t Length() const { return window_.size(); }

    /// The mean square of the sound in each bin, from 0 hertz to half the rate. They add up to the sound's mean square.
    std::vector<double> Powers() const;

    /// What turns a bin's power into that of a tone in the middle of the bin.
    double ToneGain() const;

private:
    void Transform();

    std::vector<double> window_;
    std::vector<double> pending_;
    std::vector<double> sums_;
    std::size_t segments_ = 0;
    double windowPower_ = 0;
    double windowSum_ = 0;
};

/// A tone with what else there is, powers in mean squares.
struct Tone {
    double bin;   ///< where it stands, in bins of the spectrum and parts of a bin
    double power; ///< of the tone itself
    double rest;  ///< everything else but the part at 0 hertz
    double noise; ///< what of the rest does not stand at the 2nd to the 10th harmonic, mirrored ones included
};

/// The tone that holds at least half of the sound's power; nothing if there is none.
std::optional<Tone> FindTone(std::span<const double> powers);
