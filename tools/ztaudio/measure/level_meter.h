/// Level, peak and mean of a signal.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

/// Includes every sample. Sums are kept for each block and then added with compensation, so that their error does not
/// grow with the length of the sound.
class LevelMeter {
public:
    void Add(std::span<const double> samples)
    {
        double sum = 0;
        double squares = 0;
        for (const double sample : samples) {
            peak_ = std::max(peak_, std::abs(sample));
            sum += sample;
            squares += sample * sample;
        }
        sum_.Add(sum);
        squares_.Add(squares);
        count_ += samples.size();
    }

    std::uint64_t Count() const { return count_; }
    double Peak() const { return peak_; }
    double Mean() const { return count_ == 0 ? 0 : sum_.Value() / static_cast<double>(count_); }
    double MeanSquare() const { return count_ == 0 ? 0 : squares_.Value() / static_cast<double>(count_); }

    /// The mean square without the DC offset.
    double Variance() const { return std::max(0.0, MeanSquare() - Mean() * Mean()); }

private:
    class CompensatedSum {
    public:
        void Add(double value)
        {
            const double sum = sum_ + value;
            error_ += std::abs(sum_) >= std::abs(value) ? (sum_ - sum) + value : (value - sum) + sum_;
            sum_ = sum;
        }
        double Value() const { return sum_ + error_; }

    private:
        double sum_ = 0;
        double error_ = 0;
    };

    std::uint64_t count_ = 0;
    double peak_ = 0;
    CompensatedSum sum_;
    CompensatedSum squares_;
};
