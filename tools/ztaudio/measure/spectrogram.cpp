#include "tools/ztaudio/measure/spectrogram.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>

namespace {

constexpr std::size_t kMaxColumns = 640;

} // namespace

Spectrogram::Spectrogram(std::size_t length) : transform_(length), window_(length), pending_(length / 2)
{
    for (std::size_t i = 0; i < length; ++i) {
        window_[i] =
            0.5 - 0.5 * std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(length));
    }
    const double sum = std::reduce(window_.begin(), window_.end());
    gain_ = 4 / (sum * sum);
}

void Spectrogram::Add(std::span<const double> samples)
{
    frames_ += samples.size();
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), window_.size() - pending_.size());
        pending_.insert(pending_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
        samples = samples.subspan(count);
        if (pending_.size() == window_.size()) {
            AddSegment();
        }
    }
}

void Spectrogram::Finish()
{
    // The center of segment k is at frame k * Hop.
    while (segments_ * Hop() < frames_) {
        pending_.resize(window_.size());
        AddSegment();
    }
}

void Spectrogram::AddSegment()
{
    std::ranges::transform(pending_, window_, transform_.Input().begin(), std::multiplies<>());
    transform_.Run();
    if (columns_.empty() || columns_.back().segments == segmentsPerColumn_) {
        if (columns_.size() == kMaxColumns) {
            MergeColumns();
        }
        columns_.push_back({std::vector<float>(BinCount()), 0});
    }
    Column& column = columns_.back();
    for (std::size_t bin = 0; bin < BinCount(); ++bin) {
        column.powers[bin] += static_cast<float>(transform_.Power(bin) * gain_);
    }
    ++column.segments;
    ++segments_;
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(Hop()));
}

void Spectrogram::MergeColumns()
{
    for (std::size_t i = 0; i < columns_.size() / 2; ++i) {
        Column first = std::move(columns_[2 * i]);
        const Column& second = columns_[2 * i + 1];
        std::ranges::transform(first.powers, second.powers, first.powers.begin(), std::plus<>());
        first.segments += second.segments;
        columns_[i] = std::move(first);
    }
    columns_.resize(columns_.size() / 2);
    segmentsPerColumn_ *= 2;
}

double Spectrogram::Power(std::size_t column, std::size_t bin) const
{
    return static_cast<double>(columns_[column].powers[bin]) / static_cast<double>(columns_[column].segments);
}
