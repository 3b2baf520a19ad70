#include "tools/ztaudio/measure/waveform.h"

#include "tools/common/vector_loops.h"

#include <algorithm>

namespace {

constexpr std::size_t kMaxColumns = 2048;

/// Includes the samples; a NaN is ignored.
ZTA_INLINE inline void Widen(Waveform::Extremes& extremes, std::span<const double> samples)
{
    const double* const values = samples.data();
    const std::size_t count = samples.size();
    std::size_t i = 0;
    Doubles low = {extremes.low, extremes.low, extremes.low, extremes.low};
    Doubles high = {extremes.high, extremes.high, extremes.high, extremes.high};
    for (; i + kDoubles <= count; i += kDoubles) {
        Doubles value;
        Load(value, values + i);
        low = value < low ? value : low;
        high = value > high ? value : high;
    }
    for (std::size_t lane = 0; lane < kDoubles; ++lane) {
        extremes.low = std::min(extremes.low, low[lane]);
        extremes.high = std::max(extremes.high, high[lane]);
    }
    for (; i < count; ++i) {
        extremes.low = std::min(extremes.low, values[i]);
        extremes.high = std::max(extremes.high, values[i]);
    }
}

} // namespace

void Waveform::Add(std::span<const double> samples)
{
    while (!samples.empty()) {
        if (columns_.empty() || framesInLast_ == framesPerColumn_) {
            if (columns_.size() == kMaxColumns) {
                MergeColumns();
            }
            columns_.push_back({samples[0], samples[0]});
            framesInLast_ = 0;
        }
        const auto count =
            static_cast<std::size_t>(std::min<std::uint64_t>(samples.size(), framesPerColumn_ - framesInLast_));
        Extremes& last = columns_.back();
        RunVectorized([&]() ZTA_INLINE { Widen(last, samples.first(count)); });
        framesInLast_ += count;
        samples = samples.subspan(count);
    }
}

void Waveform::MergeColumns()
{
    for (std::size_t i = 0; i < columns_.size() / 2; ++i) {
        const Extremes& first = columns_[2 * i];
        const Extremes& second = columns_[2 * i + 1];
        columns_[i] = {std::min(first.low, second.low), std::max(first.high, second.high)};
    }
    columns_.resize(columns_.size() / 2);
    framesPerColumn_ *= 2;
}
