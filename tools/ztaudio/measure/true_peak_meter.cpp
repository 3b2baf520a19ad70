#include "tools/ztaudio/measure/true_peak_meter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

namespace {

constexpr std::size_t kPhases = 16;
constexpr std::size_t kCoarseStep = 4;
constexpr std::size_t kCoarse = kPhases / kCoarseStep;
constexpr std::size_t kTaps = 32;
constexpr std::size_t kBlock = 64; // frames that are interpolated together
constexpr std::size_t kBatch = 4096;
constexpr std::size_t kHistory = 1; // frames before the next block, for values next to its first
constexpr double kKaiserBeta = 7;

double Bessel(double x)
{
    double sum = 1;
    double term = 1;
    for (int k = 1; term > 1e-17 * sum; ++k) {
        term *= x / 2 / k * (x / 2 / k);
        sum += term;
    }
    return sum;
}

/// The taps of each phase: a sinc under a Kaiser window. Phase p interpolates p / 16 frames after the frame of tap
/// kTaps / 2 - 1.
struct FilterBank {
    FilterBank()
    {
        for (std::size_t p = 0; p < kPhases; ++p) {
            double sum = 0;
            std::array<double, kTaps> taps{};
            for (std::size_t t = 0; t < kTaps; ++t) {
                const double distance =
                    static_cast<double>(t) - (kTaps / 2.0 - 1) - static_cast<double>(p) / static_cast<double>(kPhases);
                const double part = distance / (kTaps / 2.0);
                const double angle = std::numbers::pi * distance;
                const double sinc = distance == 0 ? 1 : std::sin(angle) / angle;
                taps[t] = sinc * Bessel(kKaiserBeta * std::sqrt(std::max(0.0, 1 - part * part)));
                sum += taps[t];
            }
            double gain = 0;
            for (std::size_t t = 0; t < kTaps; ++t) {
                phases[p][t] = static_cast<float>(taps[t] / sum);
                gain += std::abs(taps[t] / sum);
            }
            maxGain = std::max(maxGain, static_cast<float>(gain));
        }
        for (std::size_t t = 0; t < kTaps / 2; ++t) {
            even[t] = (phases[kCoarseStep][t] + phases[kPhases - kCoarseStep][t]) / 2;
            odd[t] = (phases[kCoarseStep][t] - phases[kPhases - kCoarseStep][t]) / 2;
        }
    }

    std::array<std::array<float, kTaps>, kPhases> phases{};
    std::array<float, kTaps / 2> even{}; ///< half the sum of the taps of the first and the last coarse phase
    std::array<float, kTaps / 2> odd{};  ///< half their difference
    float maxGain = 0; ///< the largest peak of an interpolated signal, relative to the peak of its samples
};

const FilterBank& Filters()
{
    static const FilterBank bank;
    return bank;
}

constexpr std::size_t kLanes = 4;
using Vector [[gnu::vector_size(4 * kLanes)]] = float;

Vector Load(const float* values)
{
    Vector vector;
    std::memcpy(&vector, values, sizeof vector);
    return vector;
}

using CoarseValues = std::array<std::array<float, kBlock>, kCoarse>;

/// Interpolates all coarse phases of a block. `samples` points to the first tap of the first value.
///
/// The taps of phase 16 - p are those of phase p in reverse order. Sums and differences of the samples at mirrored taps
/// serve both phases.
void Interpolate(const float* samples, const FilterBank& bank, CoarseValues& values)
{
    static_assert(kCoarse == 4);
    constexpr std::size_t kVectors = 2; // that are computed in parallel
    std::copy_n(samples + kTaps / 2 - 1, kBlock, values[0].begin());
    for (std::size_t first = 0; first < kBlock; first += kVectors * kLanes) {
        std::array<Vector, kVectors> even{};
        std::array<Vector, kVectors> odd{};
        std::array<Vector, kVectors> half{};
        for (std::size_t t = 0; t < kTaps / 2; ++t) {
            for (std::size_t v = 0; v < kVectors; ++v) {
                const Vector low = Load(samples + first + t + v * kLanes);
                const Vector high = Load(samples + first + kTaps - 1 - t + v * kLanes);
                const Vector sum = low + high;
                even[v] += bank.even[t] * sum;
                odd[v] += bank.odd[t] * (low - high);
                half[v] += bank.phases[kPhases / 2][t] * sum;
            }
        }
        for (std::size_t v = 0; v < kVectors; ++v) {
            const std::array<Vector, 3> results = {even[v] + odd[v], half[v], even[v] - odd[v]};
            for (std::size_t p = 1; p < kCoarse; ++p) {
                std::memcpy(&values[p][first + v * kLanes], &results[p - 1], sizeof(Vector));
            }
        }
    }
}

float InterpolateOne(const float* samples, const std::array<float, kTaps>& taps)
{
    Vector sums{};
    for (std::size_t t = 0; t < kTaps; t += kLanes) {
        sums += Load(&taps[t]) * Load(samples + t);
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

} // namespace

TruePeakMeter::TruePeakMeter() : samples_(kHistory + kTaps, 0.0F) {}

void TruePeakMeter::Add(std::span<const double> samples)
{
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), kBatch);
        for (const double sample : samples.first(count)) {
            samples_.push_back(static_cast<float>(sample));
        }
        samples = samples.subspan(count);
        Process();
    }
}

double TruePeakMeter::Finish()
{
    samples_.insert(samples_.end(), kTaps + kBlock, 0.0F);
    Process();
    return static_cast<double>(peak_);
}

void TruePeakMeter::Process()
{
    const FilterBank& bank = Filters();
    // Between two of the coarse values, an eighth of a frame from one of them at most, a waveform within half the rate
    // is at most 1 / cos(pi / 8) of the larger one; the filter's transition band needs a margin.
    constexpr float kMaxRise = 1.15F;
    std::size_t first = kHistory;
    for (; first + kBlock + kTaps <= samples_.size(); first += kBlock) {
        const auto begin = samples_.begin() + static_cast<std::ptrdiff_t>(first);
        float highest = 0;
        for (auto sample = begin; sample != begin + kBlock + kTaps; ++sample) {
            highest = std::max(highest, std::abs(*sample));
        }
        if (highest * bank.maxGain <= peak_) {
            continue;
        }
        CoarseValues values;
        Interpolate(&samples_[first], bank, values);
        float blockPeak = 0;
        for (const auto& phase : values) {
            for (const float value : phase) {
                blockPeak = std::max(blockPeak, std::abs(value));
            }
        }
        peak_ = std::max(peak_, blockPeak);
        if (blockPeak * kMaxRise <= peak_) {
            continue;
        }
        for (std::size_t frame = 0; frame < kBlock; ++frame) {
            for (std::size_t p = 0; p < kCoarse; ++p) {
                const float value = std::abs(values[p][frame]);
                if (value * kMaxRise <= peak_) {
                    continue;
                }
                const bool atStart = frame == 0 && p == 0;
                const bool atEnd = frame == kBlock - 1 && p == kCoarse - 1;
                const float before =
                    atStart ? 0 : std::abs(p == 0 ? values[kCoarse - 1][frame - 1] : values[p - 1][frame]);
                const float after =
                    atEnd ? 0 : std::abs(p == kCoarse - 1 ? values[0][frame + 1] : values[p + 1][frame]);
                if (value >= before && value >= after) {
                    Refine(first + frame, p * kCoarseStep);
                }
            }
        }
    }
    samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(first - kHistory));
}

/// Interpolates the values between a coarse one and its neighbors.
void TruePeakMeter::Refine(std::size_t frame, std::size_t phase)
{
    const FilterBank& bank = Filters();
    const std::size_t center = frame * kPhases + phase;
    for (std::size_t position = center - kCoarseStep + 1; position < center + kCoarseStep; ++position) {
        const float value = InterpolateOne(&samples_[position / kPhases], bank.phases[position % kPhases]);
        peak_ = std::max(peak_, std::abs(value));
    }
}
