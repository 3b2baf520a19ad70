#include "tools/ztaudio/measure/sine_residual.h"

#include "tools/ztaudio/measure/cosine_sum.h"
#include "tools/ztaudio/measure/dot_product.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <numbers>
#include <numeric>

namespace {

// A harmonic less of which is independent of the ones before it is aliased to the place of one of them.
constexpr double kIndependent = 0.05;

/// How much of a residual the columns of a linear model explain, one column at a time, by a Cholesky factorization.
class Projection {
public:
    /// products  the inner products of the column with those before it and with itself
    /// target  the inner product of the column and the residual
    /// Returns the sum of squares that the column explains in addition.
    double AddColumn(std::span<const double> products, double target, double independent)
    {
        std::vector<double> row(columns_.size());
        double pivot = products[products.size() - 1];
        const double whole = pivot;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const Column& column = columns_[i];
            double value = products[column.index];
            for (std::size_t k = 0; k < i; ++k) {
                value -= row[k] * column.row[k];
            }
            row[i] = value / column.pivot;
            pivot -= row[i] * row[i];
            target -= row[i] * column.projection;
        }
        if (pivot <= independent * whole || pivot <= 0) {
            ++next_;
            return 0;
        }
        const double root = std::sqrt(pivot);
        columns_.push_back({next_++, std::move(row), root, target / root});
        return columns_.back().projection * columns_.back().projection;
    }

private:
    struct Column {
        std::size_t index;
        std::vector<double> row;
        double pivot;
        double projection;
    };

    std::vector<Column> columns_;
    std::size_t next_ = 0;
};

} // namespace

SineResidual::SineResidual(const Sine& sine) : sine_(sine)
{
    for (std::size_t k = 0; k < kHarmonics; ++k) {
        for (std::size_t i = 0; i < kBlock; ++i) {
            const double distance = static_cast<double>(i) - (kBlock - 1) / 2.0;
            const Phasor phasor(static_cast<long double>(sine.frequency) * distance * static_cast<double>(k + 1));
            cosines_[k][i] = phasor.cosine;
            sines_[k][i] = phasor.sine;
        }
    }
}

void SineResidual::Add(std::span<const double> samples)
{
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), kBlock - pendingCount_);
        std::copy_n(samples.begin(), count, pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_));
        pendingCount_ += count;
        samples = samples.subspan(count);
        if (pendingCount_ == kBlock) {
            AddBlock();
        }
    }
}

void SineResidual::AddBlock()
{
    const double center = static_cast<double>(blockCount_ * kBlock) + (kBlock - 1) / 2.0 - sine_.Center();
    const Phasor start(static_cast<long double>(sine_.frequency) * center);
    const double inPhase = sine_.inPhase * start.cosine + sine_.quadrature * start.sine;
    const double quadrature = sine_.quadrature * start.cosine - sine_.inPhase * start.sine;
    std::array<double, kHarmonics> cosines{};
    std::array<double, kHarmonics> sines{};
    RunVectorized([&]() ZTA_INLINE {
        for (std::size_t i = 0; i < kBlock; ++i) {
            pending_[i] -= sine_.offset + inPhase * cosines_[0][i] + quadrature * sines_[0][i];
        }
        for (std::size_t i = pendingCount_; i < kBlock; ++i) {
            pending_[i] = 0;
        }
        squares_ += DotProduct(pending_, pending_);
        for (std::size_t k = 0; k < kHarmonics; ++k) {
            cosines[k] = DotProduct(pending_, cosines_[k]);
            sines[k] = DotProduct(pending_, sines_[k]);
        }
    });
    cosineSums_[0] += std::reduce(pending_.begin(), pending_.end());
    const std::complex<double> step(start.cosine, start.sine);
    std::complex<double> turn = step;
    for (std::size_t k = 0; k < kHarmonics; ++k) {
        const std::complex<double> sum = turn * std::complex(cosines[k], sines[k]);
        cosineSums_[k + 1] += sum.real();
        sineSums_[k + 1] += sum.imag();
        turn *= step;
    }
    ++blockCount_;
    pendingCount_ = 0;
}

SineResidual::Powers SineResidual::Find()
{
    if (pendingCount_ != 0) {
        AddBlock();
    }
    double rest = squares_;
    double harmonics = 0;
    Projection cosines;
    Projection sines;
    for (std::size_t k = 0; k <= kHarmonics; ++k) {
        std::vector<double> cosineProducts;
        std::vector<double> sineProducts;
        for (std::size_t i = 0; i <= k; ++i) {
            const double angle = 2 * std::numbers::pi * sine_.frequency;
            const double difference = SumCosines(static_cast<double>(k - i) * angle, sine_.frames).value;
            const double sum = SumCosines(static_cast<double>(k + i) * angle, sine_.frames).value;
            cosineProducts.push_back((difference + sum) / 2);
            sineProducts.push_back((difference - sum) / 2);
        }
        const double independent = k <= 1 ? 1e-9 : kIndependent;
        double explained = cosines.AddColumn(cosineProducts, cosineSums_[k], independent);
        if (k > 0) {
            explained += sines.AddColumn(std::span(sineProducts).subspan(1), sineSums_[k], independent);
        }
        (k <= 1 ? rest : harmonics) += k <= 1 ? -explained : explained;
    }
    const auto count = static_cast<double>(sine_.frames);
    return {std::max(0.0, rest) / count, std::max(0.0, rest - harmonics) / count};
}
