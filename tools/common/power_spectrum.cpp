#include "tools/common/power_spectrum.h"

#include "tools/common/vector_loops.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr std::size_t kRows = SampleRows::kRows;

/// Bins of several complex spectra.
struct ComplexVector {
    Doubles real;
    Doubles imaginary;
};

ZTA_INLINE inline ComplexVector LoadComplex(const double* values)
{
    Doubles low;
    Doubles high;
    Load(low, values);
    Load(high, values + kDoubles);
    return {__builtin_shufflevector(low, high, 0, 2, 4, 6), __builtin_shufflevector(low, high, 1, 3, 5, 7)};
}

ZTA_INLINE inline ComplexVector operator+(const ComplexVector& a, const ComplexVector& b)
{
    return {a.real + b.real, a.imaginary + b.imaginary};
}

ZTA_INLINE inline ComplexVector operator-(const ComplexVector& a, const ComplexVector& b)
{
    return {a.real - b.real, a.imaginary - b.imaginary};
}

/// The product with e^(-j angle).
ZTA_INLINE inline ComplexVector Turned(const ComplexVector& a, const Doubles& cosine, const Doubles& sine)
{
    return {a.real * cosine + a.imaginary * sine, a.imaginary * cosine - a.real * sine};
}

/// The product with -j.
ZTA_INLINE inline ComplexVector QuarterTurned(const ComplexVector& a)
{
    return {a.imaginary, -a.real};
}

/// The product with e^(-j pi / 4).
ZTA_INLINE inline ComplexVector EighthTurned(const ComplexVector& a)
{
    constexpr double kHalfRoot = std::numbers::sqrt2 / 2;
    return {(a.real + a.imaginary) * kHalfRoot, (a.imaginary - a.real) * kHalfRoot};
}

} // namespace

SampleRows::SampleRows(std::size_t length) : rowLength_(2 * (length / kRows) + 2), rows_(kRows * rowLength_) {}

void SampleRows::Append(std::span<const double> samples)
{
    MakeRoom(samples.size());
    std::size_t i = 0;
    const auto appendOne = [&] { At(first_ + size_++) = samples[i++]; };
    while (i < samples.size() && (first_ + size_) % kRows != 0) {
        appendOne();
    }
    double* column = &rows_[(first_ + size_) / kRows];
    for (; i + kRows <= samples.size(); i += kRows, size_ += kRows, ++column) {
        for (std::size_t r = 0; r < kRows; ++r) {
            column[r * rowLength_] = samples[i + r];
        }
    }
    while (i < samples.size()) {
        appendOne();
    }
}

void SampleRows::AppendSilence(std::size_t count)
{
    MakeRoom(count);
    for (; count != 0; --count) {
        At(first_ + size_++) = 0.0;
    }
}

void SampleRows::Drop(std::size_t count)
{
    first_ += count;
    size_ -= count;
}

const double* SampleRows::Row(std::size_t i) const
{
    return &rows_[(first_ + i) % kRows * rowLength_ + (first_ + i) / kRows];
}

void SampleRows::MakeRoom(std::size_t count)
{
    if (first_ + size_ + count <= kRows * rowLength_) {
        return;
    }
    const std::size_t columns = first_ / kRows;
    for (std::size_t r = 0; r < kRows; ++r) {
        const auto row = rows_.begin() + static_cast<std::ptrdiff_t>(r * rowLength_);
        std::copy(row + static_cast<std::ptrdiff_t>(columns), row + static_cast<std::ptrdiff_t>(rowLength_), row);
    }
    first_ -= columns * kRows;
}

void PowerSpectrum::DestroyPlan::operator()(fftw_plan_s* plan) const
{
    fftw_destroy_plan(plan);
}

void PowerSpectrum::Free::operator()(double* values) const
{
    fftw_free(values);
}

PowerSpectrum::Memory PowerSpectrum::Allocate(std::size_t count)
{
    Memory memory(fftw_alloc_real(count));
    std::fill_n(memory.get(), count, 0.0);
    return memory;
}

PowerSpectrum::PowerSpectrum(std::span<const double> window)
    : rowLength_(window.size() / kRows), stride_((rowLength_ / 2 + 1 + kDoubles - 1) / kDoubles * kDoubles),
      window_(window.size()), in_(Allocate(rowLength_)), out_(Allocate(kRows * 2 * stride_)),
      plan_(fftw_plan_dft_r2c_1d(static_cast<int>(rowLength_), in_.get(), reinterpret_cast<fftw_complex*>(out_.get()),
                                 FFTW_ESTIMATE | FFTW_PRESERVE_INPUT))
{
    for (std::size_t i = 0; i < window.size(); ++i) {
        window_[i % kRows * rowLength_ + i / kRows] = window[i];
    }
    for (std::size_t r = 0; r < kRows; ++r) {
        for (std::size_t bin = 0; bin < stride_; ++bin) {
            const double angle =
                2 * std::numbers::pi * static_cast<double>(r * bin) / static_cast<double>(window.size());
            cosines_[r].push_back(std::cos(angle));
            sines_[r].push_back(std::sin(angle));
        }
    }
}

void PowerSpectrum::Add(const SampleRows& samples, double weight, Sums& sums)
{
    for (std::size_t r = 0; r < kRows; ++r) {
        RunVectorized([&]() ZTA_INLINE {
            const double* const row = samples.Row(r);
            const double* const window = &window_[r * rowLength_];
            double* const in = in_.get();
            const std::size_t count = rowLength_;
            for (std::size_t i = 0; i < count; ++i) {
                in[i] = row[i] * window[i];
            }
        });
        fftw_execute_dft_r2c(plan_.get(), in_.get(), reinterpret_cast<fftw_complex*>(out_.get() + r * 2 * stride_));
    }
    AddCombined(weight, sums);
}

/// Bin k + q * rowLength_ of the whole transform is the sum of bins k of the rows, the one of row r turned by that of
/// its first sample: a transform of 8 points for each k.
void PowerSpectrum::AddCombined(double weight, Sums& sums) const
{
    RunVectorized([&]() ZTA_INLINE {
        const std::size_t stride = stride_;
        const double* const out = out_.get();
        double* const to = sums.data();
        const Doubles factor = {weight, weight, weight, weight};
        for (std::size_t bin = 0; bin < stride; bin += kDoubles) {
            std::array<ComplexVector, kRows> z;
            z[0] = LoadComplex(out + 2 * bin);
            for (std::size_t r = 1; r < kRows; ++r) {
                Doubles cosine;
                Doubles sine;
                Load(cosine, &cosines_[r][bin]);
                Load(sine, &sines_[r][bin]);
                z[r] = Turned(LoadComplex(out + 2 * (r * stride + bin)), cosine, sine);
            }
            const ComplexVector even = z[0] + z[4];
            const ComplexVector evenQuarter = z[2] + z[6];
            const ComplexVector odd = z[1] + z[5];
            const ComplexVector oddQuarter = z[3] + z[7];
            const ComplexVector whole = even + evenQuarter;
            const ComplexVector otherWhole = odd + oddQuarter;
            const ComplexVector half = even - evenQuarter;
            const ComplexVector otherHalf = QuarterTurned(odd - oddQuarter);
            const ComplexVector difference = z[0] - z[4];
            const ComplexVector differenceQuarter = QuarterTurned(z[2] - z[6]);
            const ComplexVector eighth = EighthTurned(z[1] - z[5]);
            const ComplexVector eighthQuarter = QuarterTurned(EighthTurned(z[3] - z[7]));
            const ComplexVector first = difference + differenceQuarter;
            const ComplexVector third = difference - differenceQuarter;
            const ComplexVector otherFirst = eighth + eighthQuarter;
            const ComplexVector otherThird = QuarterTurned(eighth - eighthQuarter);
            const std::array<ComplexVector, kRows> results = {
                whole + otherWhole, first + otherFirst, half + otherHalf, third + otherThird,
                whole - otherWhole, first - otherFirst, half - otherHalf, third - otherThird};
            for (std::size_t q = 0; q < kRows; ++q) {
                const Doubles& real = results[q].real;
                const Doubles& imaginary = results[q].imaginary;
                Doubles sum;
                Load(sum, to + q * stride + bin);
                sum += factor * (real * real + imaginary * imaginary);
                Store(sum, to + q * stride + bin);
            }
        }
    });
}

std::vector<double> PowerSpectrum::InOrder(const Sums& sums) const
{
    const std::size_t length = kRows * rowLength_;
    std::vector<double> powers(length / 2 + 1);
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        // A bin of the upper half of a row's transform has the power of its mirror image.
        const std::size_t own = bin % rowLength_ <= rowLength_ / 2 ? bin : length - bin;
        powers[bin] = sums[own / rowLength_ * stride_ + own % rowLength_];
    }
    return powers;
}
