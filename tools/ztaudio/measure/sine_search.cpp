#include "tools/ztaudio/measure/sine_search.h"

#include "tools/ztaudio/measure/cosine_sum.h"
#include "tools/ztaudio/measure/dot_product.h"

#include <fftw3.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>

namespace {

constexpr std::size_t kMaxMoments = 16384;
constexpr std::size_t kShortSound = 4096; // frames that are kept themselves

struct DestroyPlan {
    void operator()(fftw_plan plan) const { fftw_destroy_plan(plan); }
};

void TransformInPlace(std::vector<std::complex<double>>& values)
{
    auto* data = reinterpret_cast<fftw_complex*>(values.data());
    const std::unique_ptr<fftw_plan_s, DestroyPlan> plan(
        fftw_plan_dft_1d(static_cast<int>(values.size()), data, data, FFTW_FORWARD, FFTW_ESTIMATE));
    fftw_execute(plan.get());
}

} // namespace

SineSearch::SineSearch(double frequency, double accuracy, double mean)
    : frequency_(frequency), accuracy_(accuracy), mean_(mean)
{
    for (std::size_t i = 0; i < kBlock; ++i) {
        const double distance = static_cast<double>(i) - (kBlock - 1) / 2.0;
        const Phasor phasor(-static_cast<long double>(frequency) * distance);
        for (std::size_t m = 0; m < 3; ++m) {
            const double power = std::pow(distance, static_cast<double>(m));
            factors_[2 * m][i] = phasor.cosine * power;
            factors_[2 * m + 1][i] = phasor.sine * power;
        }
    }
}

void SineSearch::Add(std::span<const double> samples)
{
    frames_ += samples.size();
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), kBlock - pendingCount_);
        for (std::size_t i = 0; i < count; ++i) {
            pending_[pendingCount_++] = samples[i] - mean_;
        }
        samples = samples.subspan(count);
        if (pendingCount_ == kBlock) {
            AddBlock();
        }
    }
}

SineSearch::Moments SineSearch::Moved(const Moments& moments, double distance)
{
    return {moments[0], moments[1] + distance * moments[0],
            moments[2] + 2 * distance * moments[1] + distance * distance * moments[0]};
}

void SineSearch::AddBlock()
{
    std::fill(pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_), pending_.end(), 0.0);
    if (start_.size() < kShortSound) {
        start_.insert(start_.end(), pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(pendingCount_));
    }
    sum_ += std::reduce(pending_.begin(), pending_.end());
    std::array<double, 6> sums{};
    RunVectorized([&]() ZTA_INLINE {
        for (std::size_t t = 0; t < factors_.size(); ++t) {
            sums[t] = DotProduct(pending_, factors_[t]);
        }
    });
    const double center = static_cast<double>(blockCount_ * kBlock) + (kBlock - 1) / 2.0;
    const Phasor phasor(-static_cast<long double>(frequency_) * center);
    const Complex factor(phasor.cosine, phasor.sine);
    const Moments block = {factor * Complex(sums[0], sums[1]), factor * Complex(sums[2], sums[3]),
                           factor * Complex(sums[4], sums[5])};
    if (blocksOfLast_ == blocksPerMoments_ || moments_.empty()) {
        if (moments_.size() == kMaxMoments) {
            MergeBlocks();
        }
        moments_.emplace_back();
        blocksOfLast_ = 0;
    }
    const double distance =
        (static_cast<double>(blocksOfLast_) - static_cast<double>(blocksPerMoments_ - 1) / 2) * kBlock;
    const Moments moved = Moved(block, distance);
    std::ranges::transform(moments_.back(), moved, moments_.back().begin(), std::plus<>());
    ++blocksOfLast_;
    ++blockCount_;
    pendingCount_ = 0;
}

void SineSearch::MergeBlocks()
{
    const double distance = static_cast<double>(blocksPerMoments_ * kBlock) / 2;
    for (std::size_t i = 0; i < moments_.size() / 2; ++i) {
        const Moments first = Moved(moments_[2 * i], -distance);
        const Moments second = Moved(moments_[2 * i + 1], distance);
        std::ranges::transform(first, second, moments_[i].begin(), std::plus<>());
    }
    moments_.resize(moments_.size() / 2);
    blocksPerMoments_ *= 2;
}

SineSearch::Transform SineSearch::TransformStart(double frequency) const
{
    const double center = (static_cast<double>(frames_) - 1) / 2;
    Transform result{};
    for (std::size_t i = 0; i < start_.size(); ++i) {
        const double n = static_cast<double>(i) - center;
        const Phasor phasor(-static_cast<long double>(frequency) * n);
        const Complex value = start_[i] * Complex(phasor.cosine, phasor.sine);
        result.value += value;
        result.slope += Complex(0, -n) * value;
    }
    return result;
}

SineSearch::Transform SineSearch::TransformAt(double frequency) const
{
    if (frames_ <= kShortSound) {
        return TransformStart(frequency);
    }
    const double shift = 2 * std::numbers::pi * (frequency - frequency_);
    const double center = (static_cast<double>(frames_) - 1) / 2;
    const auto length = static_cast<double>(blocksPerMoments_ * kBlock);
    Transform result{};
    for (std::size_t k = 0; k < moments_.size(); ++k) {
        const double n = static_cast<double>(k) * length + (length - 1) / 2 - center;
        const Complex turn(std::cos(shift * n), -std::sin(shift * n));
        // e^(-j shift d) as a series
        const auto& [zeroth, first, second] = moments_[k];
        const Complex value = zeroth - Complex(0, shift) * first - shift * shift / 2 * second;
        result.value += turn * value;
        result.slope += turn * (Complex(0, -n) * value - Complex(0, 1) * first - shift * second);
    }
    const Phasor phasor(static_cast<long double>(frequency_) * center);
    const Complex factor(phasor.cosine, phasor.sine);
    return {factor * result.value, factor * result.slope};
}

SineSearch::Fit SineSearch::FitAt(double frequency) const
{
    const Transform transform = TransformAt(frequency);
    const double angle = 2 * std::numbers::pi * frequency;
    const auto count = static_cast<double>(frames_);
    const CosineSum once = SumCosines(angle, frames_);
    const CosineSum twice = SumCosines(2 * angle, frames_);

    // Normal equations. Offset and cosine are orthogonal to the sine.
    const double cosines = (count + twice.value) / 2;
    const double sines = (count - twice.value) / 2;
    const double cosine = transform.value.real();
    const double determinant = count * cosines - once.value * once.value;
    const bool hasCosine = determinant > 1e-9 * count * count;
    const double inPhase = hasCosine ? (count * cosine - once.value * sum_) / determinant : 0;
    const double offset = (sum_ - once.value * inPhase) / count;
    const bool hasSine = sines > 1e-9 * count;
    const double quadrature = hasSine ? -transform.value.imag() / sines : 0;

    const double explained = offset * sum_ + inPhase * cosine - quadrature * transform.value.imag();
    const double slope = 2 * (inPhase * transform.slope.real() - quadrature * transform.slope.imag()) -
                         2 * offset * inPhase * once.slope -
                         (inPhase * inPhase - quadrature * quadrature) * twice.slope;
    return {{frequency, inPhase, quadrature, mean_ + offset, frames_}, explained, slope};
}

/// Frequencies, in ascending order and not farther apart than half the resolution, one of which is next to the best.
std::vector<double> SineSearch::Candidates() const
{
    std::vector<double> candidates;
    const double step = Resolution() / 8;
    if (frames_ <= kShortSound) {
        double shift = -accuracy_;
        while (shift <= accuracy_) {
            candidates.push_back(frequency_ + shift);
            shift += step;
        }
        return candidates;
    }
    // The power of the shifted signal by frequency shows where to look.
    std::vector<Complex> values(std::bit_ceil(4 * moments_.size()));
    std::ranges::transform(moments_, values.begin(), [](const Moments& moments) { return moments[0]; });
    TransformInPlace(values);
    const double spacing = 1 / (static_cast<double>(values.size()) * static_cast<double>(blocksPerMoments_ * kBlock));
    const auto last = static_cast<std::ptrdiff_t>(values.size() / 2) - 1;
    const auto reach = std::min(last, static_cast<std::ptrdiff_t>(accuracy_ / spacing));
    double best = -1;
    std::ptrdiff_t bestBin = 0;
    for (std::ptrdiff_t bin = -reach; bin <= reach; ++bin) {
        const double power = std::norm(values[static_cast<std::size_t>(bin) & (values.size() - 1)]);
        if (power > best) {
            best = power;
            bestBin = bin;
        }
    }
    for (int i = -16; i <= 16; ++i) {
        candidates.push_back(frequency_ + static_cast<double>(bestBin) * spacing + i * step);
    }
    return candidates;
}

Sine SineSearch::Find()
{
    if (pendingCount_ != 0) {
        AddBlock();
    }
    const std::vector<double> candidates = Candidates();
    double frequency = 0;
    double explained = -1;
    for (const double candidate : candidates) {
        if (candidate > 0 && candidate <= 0.5) {
            const double power = FitAt(candidate).explained;
            if (power > explained) {
                explained = power;
                frequency = candidate;
            }
        }
    }
    // The best frequency is where the slope changes its sign: false position, with the Illinois rule.
    double low = std::max(frequency - Resolution() / 8, 0.0);
    double high = std::min(frequency + Resolution() / 8, 0.5);
    double lowSlope = FitAt(low).slope;
    double highSlope = FitAt(high).slope;
    int side = 0;
    for (int i = 0; i < 60 && lowSlope > 0 && highSlope < 0; ++i) {
        const double previous = frequency;
        frequency = low + (high - low) * lowSlope / (lowSlope - highSlope);
        const double slope = FitAt(frequency).slope;
        if (slope == 0 || std::abs(frequency - previous) < 1e-17) {
            break;
        }
        if (slope > 0) {
            low = frequency;
            lowSlope = slope;
            highSlope /= side == 1 ? 2 : 1;
            side = 1;
        } else {
            high = frequency;
            highSlope = slope;
            lowSlope /= side == -1 ? 2 : 1;
            side = -1;
        }
    }
    return FitAt(frequency).sine;
}
