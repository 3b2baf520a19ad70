/// The true peak of a signal: that of the waveform between the samples.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// Interpolates 15 values between adjacent samples. Silence precedes and follows the signal.
///
/// Interpolates 3 values everywhere, except where the samples are too small to matter, and all 15 only next to those
/// of the maxima that may exceed the peak so far.
class TruePeakMeter {
public:
    TruePeakMeter();

    void Add(std::span<const double> samples);

    /// Interpolates up to the end of the signal and returns the peak. Add no more samples then.
    double Finish();

private:
    void Process();
    void ProcessBlock(std::size_t first);
    void Refine(std::size_t frame, std::size_t phase);

    std::vector<float> samples_; ///< that interpolation has not passed; half a filter length of history precedes them
    float peak_ = 0;
};
