#include "tools/ztaudio/measure/waveform.h"

#include <algorithm>

namespace {

constexpr std::size_t kMaxColumns = 2048;

} // namespace

void Waveform::Add(std::span<const double> samples)
{
    for (const double sample : samples) {
        if (columns_.empty() || framesInLast_ == framesPerColumn_) {
            if (columns_.size() == kMaxColumns) {
                MergeColumns();
            }
            columns_.push_back({sample, sample});
            framesInLast_ = 0;
        }
        Extremes& last = columns_.back();
        last.low = std::min(last.low, sample);
        last.high = std::max(last.high, sample);
        ++framesInLast_;
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
