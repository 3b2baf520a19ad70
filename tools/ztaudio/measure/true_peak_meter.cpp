#include "tools/ztaudio/measure/true_peak_meter.h"

#include "tools/common/vector_loops.h"

#include <algorithm>
#include <array>
#include <cmath>
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
constexpr float kBelow = 1 - 0x1p-20F; // a margin for rounding

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

/// Magnitudes of the coarse values of a block, by phase. The values before the first and after the last are 0.
using CoarseValues = std::array<std::array<float, 1 + kBlock + 1>, kCoarse>;

ZTA_INLINE inline void MakePositive(Floats& values)
{
    Words bits;
    Load(bits, &values);
    bits &= 0x7FFFFFFF;
    Load(values, &bits);
}

/// The largest number; a NaN is ignored.
ZTA_INLINE inline float Highest(const Floats& values)
{
    float highest = 0;
    for (std::size_t i = 0; i < kFloats; ++i) {
        highest = std::max(highest, values[i]);
    }
    return highest;
}

ZTA_INLINE inline void Raise(Floats& highest, const Floats& values)
{
    highest = values > highest ? values : highest; // ignores a NaN
}

/// The peak of the samples that the filter needs for a block.
ZTA_INLINE inline float SamplePeak(const float* samples)
{
    static_assert((kBlock + kTaps) % kFloats == 0);
    Floats highest{};
    for (std::size_t i = 0; i < kBlock + kTaps; i += kFloats) {
        Floats values;
        Load(values, samples + i);
        MakePositive(values);
        Raise(highest, values);
    }
    return Highest(highest);
}

/// Interpolates all coarse phases of a block and returns their peak. `samples` points to the first tap of the first
/// value.
///
/// The taps of phase 16 - p are those of phase p in reverse order. Sums and differences of the samples at mirrored taps
/// serve both phases.
ZTA_INLINE inline float Interpolate(const float* samples, const FilterBank& bank, CoarseValues& values)
{
    static_assert(kCoarse == 4);
    constexpr std::size_t kVectors = 2; // that are computed in parallel
    Floats highest{};
    for (std::size_t first = 0; first < kBlock; first += kVectors * kFloats) {
        std::array<Floats, kVectors> even{};
        std::array<Floats, kVectors> odd{};
        std::array<Floats, kVectors> half{};
        for (std::size_t t = 0; t < kTaps / 2; ++t) {
            for (std::size_t v = 0; v < kVectors; ++v) {
                Floats low;
                Floats high;
                Load(low, samples + first + t + v * kFloats);
                Load(high, samples + first + kTaps - 1 - t + v * kFloats);
                const Floats sum = low + high;
                even[v] += bank.even[t] * sum;
                odd[v] += bank.odd[t] * (low - high);
                half[v] += bank.phases[kPhases / 2][t] * sum;
            }
        }
        for (std::size_t v = 0; v < kVectors; ++v) {
            Floats whole;
            Load(whole, samples + first + kTaps / 2 - 1 + v * kFloats);
            std::array<Floats, kCoarse> results = {whole, even[v] + odd[v], half[v], even[v] - odd[v]};
            for (std::size_t p = 0; p < kCoarse; ++p) {
                MakePositive(results[p]);
                Raise(highest, results[p]);
                Store(results[p], &values[p][1 + first + v * kFloats]);
            }
        }
    }
    return Highest(highest);
}

/// Whether any of the values from `frame` on is above the limit and not below its neighbors.
ZTA_INLINE inline bool HasMaximum(const CoarseValues& values, std::size_t frame, float limit)
{
    Words found{};
    for (std::size_t p = 0; p < kCoarse; ++p) {
        Floats value;
        Floats before;
        Floats after;
        Load(value, &values[p][1 + frame]);
        Load(before, p == 0 ? &values[kCoarse - 1][frame] : &values[p - 1][1 + frame]);
        Load(after, p == kCoarse - 1 ? &values[0][1 + frame + 1] : &values[p + 1][1 + frame]);
        found |= (value > limit) & (value >= before) & (value >= after);
    }
    std::int32_t any = 0;
    for (std::size_t i = 0; i < kFloats; ++i) {
        any |= found[i];
    }
    return any != 0;
}

float InterpolateOne(const float* samples, const std::array<float, kTaps>& taps)
{
    using Vector [[gnu::vector_size(16)]] = float;
    constexpr std::size_t kLanes = sizeof(Vector) / sizeof(float);
    Vector sums{};
    for (std::size_t t = 0; t < kTaps; t += kLanes) {
        Vector tap;
        Vector sample;
        Load(tap, &taps[t]);
        Load(sample, samples + t);
        sums += tap * sample;
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

} // namespace

TruePeakMeter::TruePeakMeter() : samples_(kHistory + kTaps, 0.0F) {}

void TruePeakMeter::Add(std::span<const double> samples)
{
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), kBatch);
        const std::size_t held = samples_.size();
        samples_.resize(held + count);
        RunVectorized([&]() ZTA_INLINE {
            float* const to = samples_.data() + held;
            const double* const from = samples.data();
            const std::size_t length = count;
            for (std::size_t i = 0; i < length; ++i) {
                to[i] = static_cast<float>(from[i]);
            }
        });
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
    std::size_t first = kHistory;
    RunVectorized([&]() ZTA_INLINE {
        for (; first + kBlock + kTaps <= samples_.size(); first += kBlock) {
            ProcessBlock(first);
        }
    });
    samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(first - kHistory));
}

ZTA_INLINE inline void TruePeakMeter::ProcessBlock(std::size_t first)
{
    const FilterBank& bank = Filters();
    // Between two of the coarse values, an eighth of a frame from one of them at most, a waveform within half the rate
    // is at most 1 / cos(pi / 8) of the larger one; the filter's transition band needs a margin.
    constexpr float kMaxRise = 1.15F;
    if (SamplePeak(&samples_[first]) * bank.maxGain <= peak_) {
        return;
    }
    CoarseValues values{};
    const float blockPeak = Interpolate(&samples_[first], bank, values);
    peak_ = std::max(peak_, blockPeak);
    if (blockPeak * kMaxRise <= peak_) {
        return;
    }
    for (std::size_t group = 0; group < kBlock; group += kFloats) {
        if (!HasMaximum(values, group, peak_ / kMaxRise * kBelow)) {
            continue;
        }
        for (std::size_t frame = group; frame < group + kFloats; ++frame) {
            for (std::size_t p = 0; p < kCoarse; ++p) {
                const float value = values[p][1 + frame];
                const float before = p == 0 ? values[kCoarse - 1][frame] : values[p - 1][1 + frame];
                const float after = p == kCoarse - 1 ? values[0][1 + frame + 1] : values[p + 1][1 + frame];
                if (value * kMaxRise > peak_ && value >= before && value >= after) {
                    Refine(first + frame, p * kCoarseStep);
                }
            }
        }
    }
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
