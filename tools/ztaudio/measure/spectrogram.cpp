#include "tools/ztaudio/measure/spectrogram.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>

namespace {

constexpr std::size_t kMaxColumns = 640;

std::vector<double> HannWindow(std::size_t length)
{
    std::vector<double> window(length);
    for (std::size_t i = 0; i < length; ++i) {
        window[i] =
            0.5 - 0.5 * std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(length));
    }
    return window;
}

} // namespace

Spectrogram::Spectrogram(std::size_t length)
    : window_(std::make_shared<const std::vector<double>>(HannWindow(length))),
      transform_(std::make_shared<RealTransform>(length)), pending_(length)
{
    pending_.AppendSilence(length / 2);
    const double sum = std::reduce(window_->begin(), window_->end());
    gain_ = 4 / (sum * sum);
}

void Spectrogram::Add(std::span<const double> samples)
{
    frames_ += samples.size();
    while (!samples.empty()) {
        const std::size_t count = std::min(samples.size(), Length() - pending_.Size());
        pending_.Append(samples.first(count));
        samples = samples.subspan(count);
        if (pending_.Size() == Length()) {
            AddSegment();
        }
    }
}

void Spectrogram::Finish()
{
    // The center of segment k is at frame k * Hop.
    while (segments_ * Hop() < frames_) {
        pending_.AppendSilence(Length() - pending_.Size());
        AddSegment();
    }
}

void Spectrogram::AddSegment()
{
    transform_->Run(pending_.Samples(), *window_);
    if (columns_.empty() || columns_.back().segments == segmentsPerColumn_) {
        if (columns_.size() == kMaxColumns) {
            MergeColumns();
        }
        columns_.push_back({std::vector<float>(BinCount()), 0});
    }
    Column& column = columns_.back();
    transform_->AddPowers(gain_, column.powers);
    ++column.segments;
    ++segments_;
    pending_.Drop(Hop());
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
