/// Level, peak and mean of a signal.
#pragma once

#include "tools/common/vector_loops.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>

/// Includes every sample. Sums are kept for each block and then added with compensation, so that their error does not
/// grow with the length of the sound.
class LevelMeter {
public:
    void Add(std::span<const double> samples)
    {
        Sums sums;
        RunVectorized([&]() ZTA_INLINE { sums = SumOf(samples); });
        peak_ = std::max(peak_, sums.peak);
        sum_.Add(sums.sum);
        squares_.Add(sums.squares);
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

    struct Sums {
        double peak = 0;
        double sum = 0;
        double squares = 0;
    };

    ZTA_INLINE static Sums SumOf(std::span<const double> samples)
    {
        constexpr std::size_t kVectors = 2; // that are computed in parallel
        const double* const values = samples.data();
        const std::size_t count = samples.size();
        std::array<Doubles, kVectors> peaks{};
        std::array<Doubles, kVectors> sums{};
        std::array<Doubles, kVectors> squares{};
        std::size_t i = 0;
        for (; i + kVectors * kDoubles <= count; i += kVectors * kDoubles) {
            for (std::size_t v = 0; v < kVectors; ++v) {
                Doubles value;
                Load(value, values + i + v * kDoubles);
                const Doubles magnitude = value < 0 ? -value : value;
                peaks[v] = magnitude > peaks[v] ? magnitude : peaks[v]; // ignores a NaN
                sums[v] += value;
                squares[v] += value * value;
            }
        }
        Sums result;
        for (; i < count; ++i) {
            result.peak = std::max(result.peak, std::abs(values[i]));
            result.sum += values[i];
            result.squares += values[i] * values[i];
        }
        const Doubles sum = sums[0] + sums[1];
        const Doubles square = squares[0] + squares[1];
        for (std::size_t lane = 0; lane < kDoubles; ++lane) {
            result.peak = std::max({result.peak, peaks[0][lane], peaks[1][lane]});
            result.sum += sum[lane];
            result.squares += square[lane];
        }
        return result;
    }

    std::uint64_t count_ = 0;
    double peak_ = 0;
    CompensatedSum sum_;
    CompensatedSum squares_;
};
