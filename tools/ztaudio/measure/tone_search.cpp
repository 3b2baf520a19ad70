#include "tools/ztaudio/measure/tone_search.h"

#include "tools/common/vector_loops.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <numeric>

namespace {

constexpr std::size_t kSegment = 16384;
constexpr std::size_t kFewestFrames = 32;

// Bins on each side of a tone that belong to it. A tone that lasts for a part of a segment only has a wide lobe.
constexpr std::size_t kLobe = 10;
constexpr std::size_t kShortLobe = 4;
constexpr double kMinPeriods = 1.5;

std::vector<double> SineWindow(std::size_t length)
{
    std::vector<double> window(length);
    for (std::size_t i = 0; i < length; ++i) {
        window[i] = std::sin(std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(length));
    }
    return window;
}

ZTA_INLINE inline double SumOf(std::span<const double> samples)
{
    const double* const values = samples.data();
    const std::size_t count = samples.size();
    Doubles sums{};
    Doubles otherSums{};
    std::size_t i = 0;
    for (; i + 2 * kDoubles <= count; i += 2 * kDoubles) {
        Doubles value;
        Load(value, values + i);
        sums += value;
        Load(value, values + i + kDoubles);
        otherSums += value;
    }
    sums += otherSums;
    double sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    for (; i < count; ++i) {
        sum += values[i];
    }
    return sum;
}

/// Adds the power spectrum of one segment. Zeros follow the samples; `offset` zeros precede them. The mean of the
/// samples is removed, because a DC offset that begins within a segment has components at all frequencies.
void AddPowers(RealTransform& transform, std::span<const double> window, std::span<const double> samples,
               std::size_t offset, std::span<double> powers)
{
    double mean = 0;
    RunVectorized([&]() ZTA_INLINE { mean = SumOf(samples) / static_cast<double>(samples.size()); });
    const auto in = transform.Input();
    std::ranges::fill(in.first(offset), 0.0);
    std::ranges::fill(in.subspan(offset + samples.size()), 0.0);
    RunVectorized([&]() ZTA_INLINE {
        const std::size_t count = samples.size();
        double* const to = in.data() + offset;
        const double* const weights = window.data() + offset;
        const double middle = mean;
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = (samples[i] - middle) * weights[i];
        }
    });
    transform.Run();
    transform.AddPowers(1, powers);
}

/// The frequency of a lobe, which is symmetric about it.
double CentroidOf(std::span<const double> powers, std::size_t first, std::size_t last)
{
    double sum = 0;
    double moment = 0;
    for (std::size_t bin = first; bin <= last; ++bin) {
        sum += powers[bin];
        moment += powers[bin] * static_cast<double>(bin);
    }
    return moment / sum;
}

/// The maximum of a parabola through the logarithms of the highest power and its neighbors.
double PeakNear(std::span<const double> powers, std::size_t highest)
{
    const double before = std::log(std::max(powers[highest - 1], 1e-300));
    const double peak = std::log(std::max(powers[highest], 1e-300));
    const double after = std::log(std::max(powers[highest + 1], 1e-300));
    const double curvature = before - 2 * peak + after;
    return static_cast<double>(highest) + (curvature < 0 ? (before - after) / (2 * curvature) : 0);
}

} // namespace

ToneSearch::ToneSearch()
    : window_(std::make_shared<const std::vector<double>>(SineWindow(kSegment))),
      transform_(std::make_shared<RealTransform>(kSegment)), pending_(kSegment), powers_(kSegment / 2 + 1)
{
}

void ToneSearch::AddSegment(std::span<const double> samples, std::size_t offset)
{
    AddPowers(*transform_, *window_, samples, offset, powers_);
}

void ToneSearch::Add(std::span<const double> samples)
{
    frames_ += samples.size();
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), kSegment - pending_.Size());
        pending_.Append(samples.first(count));
        samples = samples.subspan(count);
        if (pending_.Size() == kSegment) {
            if (frames_ - samples.size() == kSegment) { // the second half of a segment that begins before the sound
                AddSegment(pending_.Samples().first(kSegment / 2), kSegment / 2);
            }
            AddSegment(pending_.Samples(), 0);
            pending_.Drop(kSegment / 2);
        }
    }
}

std::optional<ToneSearch::Candidate> ToneSearch::Find()
{
    std::size_t length = kSegment;
    std::size_t lobe = kLobe;
    if (frames_ < kFewestFrames) {
        return std::nullopt;
    }
    if (frames_ < kSegment) {
        // All in one segment, without a window: each frame has equal weight.
        length = std::bit_ceil(2 * frames_);
        lobe = kShortLobe;
        RealTransform transform(length);
        powers_.assign(length / 2 + 1, 0.0);
        AddPowers(transform, std::vector<double>(length, 1.0), pending_.Samples(), 0, powers_);
    } else {
        AddSegment(pending_.Samples(), 0);
        if (pending_.Size() > kSegment / 2) {
            AddSegment(pending_.Samples().subspan(kSegment / 2), 0);
        }
    }
    const auto highest = static_cast<std::size_t>(std::ranges::max_element(powers_) - powers_.begin());
    const std::size_t first = highest > lobe ? highest - lobe : 0;
    const std::size_t last = std::min(highest + lobe, powers_.size() - 1);
    const auto sum = [this](std::size_t from, std::size_t end) {
        return std::reduce(powers_.begin() + static_cast<std::ptrdiff_t>(from),
                           powers_.begin() + static_cast<std::ptrdiff_t>(end), 0.0);
    };
    const double tone = sum(first, last + 1);
    if (!(tone > sum(0, first) + sum(last + 1, powers_.size()))) {
        return std::nullopt;
    }
    double bin = static_cast<double>(highest);
    if (highest >= lobe && highest + lobe < powers_.size()) {
        bin = frames_ < kSegment ? PeakNear(powers_, highest) : CentroidOf(powers_, first, last);
    }
    if (bin / static_cast<double>(length) * static_cast<double>(frames_) < kMinPeriods) {
        return std::nullopt;
    }
    return Candidate{.frequency = bin / static_cast<double>(length), .accuracy = 4 / static_cast<double>(length)};
}
