/// Power spectra of long segments.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

struct fftw_plan_s;

/// Samples in eight rows: row r has samples r, r + 8, r + 16 ... of the sound.
class SampleRows {
public:
    static constexpr std::size_t kRows = 8;

    /// length  the most samples
    explicit SampleRows(std::size_t length);

    std::size_t Size() const { return size_; }
    void Append(std::span<const double> samples);
    void AppendSilence(std::size_t count);

    /// Removes the oldest samples.
    void Drop(std::size_t count);

    /// Samples i, i + 8, i + 16 ..., counted from the oldest one.
    const double* Row(std::size_t i) const;

private:
    void MakeRoom(std::size_t count);
    double& At(std::size_t i) { return rows_[i % kRows * rowLength_ + i / kRows]; }

    std::size_t rowLength_;
    std::vector<double> rows_;
    std::size_t first_ = 0;
    std::size_t size_ = 0;
};

/// Adds up the squared magnitudes of Fourier transforms. A transform is that of each row, which fits the cache, and a
/// last step that combines the rows and keeps only the powers.
class PowerSpectrum {
public:
    /// length  of a segment, a multiple of 8
    explicit PowerSpectrum(std::span<const double> window);

    /// The sums of one sound, in an order of their own.
    using Sums = std::vector<double>;
    Sums MakeSums() const { return Sums(SampleRows::kRows * stride_); }

    /// Adds the powers of the first samples under the window, each multiplied by `weight`.
    void Add(const SampleRows& samples, double weight, Sums& sums);

    /// The sums from 0 Hz to half the rate.
    std::vector<double> InOrder(const Sums& sums) const;

private:
    struct DestroyPlan {
        void operator()(fftw_plan_s* plan) const;
    };
    struct Free {
        void operator()(double* values) const;
    };
    using Memory = std::unique_ptr<double[], Free>; ///< aligned as the library prefers
    static Memory Allocate(std::size_t count);

    void AddCombined(double weight, Sums& sums) const;

    std::size_t rowLength_;
    std::size_t stride_;                                         ///< bins of a row's transform, and padding
    std::vector<double> window_;                                 ///< by rows
    std::array<std::vector<double>, SampleRows::kRows> cosines_; ///< the turns of each row against the first
    std::array<std::vector<double>, SampleRows::kRows> sines_;
    Memory in_;
    Memory out_;
    std::unique_ptr<fftw_plan_s, DestroyPlan> plan_;
};
