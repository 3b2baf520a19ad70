/// A value for each channel, in the order of interleaved samples.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cstddef>
#include <vector>

/// The values are repeated for some frames, so that a loop over samples reads them like samples and the compiler makes
/// SIMD instructions of it.
template <typename Value>
class ChannelValues {
public:
    /// For `frames` frames. `value` returns the value of a channel.
    template <typename ValueOf>
    void Set(std::size_t channels, sf_count_t frames, ValueOf value)
    {
        channels_ = channels;
        samples_ = static_cast<std::size_t>(frames) * channels;
        values_.resize(std::min(samples_, (kSamples + channels - 1) / channels * channels));
        for (std::size_t i = 0; i < values_.size(); ++i) {
            values_[i] = i < channels ? static_cast<Value>(value(i)) : values_[i - channels];
        }
    }

    /// Calls step(first, count) for pieces of the samples. Sample first + i has value i.
    template <typename Step>
    void ForPieces(Step step) const
    {
        for (std::size_t first = 0; first < samples_; first += values_.size()) {
            step(first, std::min(values_.size(), samples_ - first));
        }
    }

    Value& operator[](std::size_t i) { return values_[i]; }

    /// The largest value that a channel has in any frame.
    Value Max(std::size_t channel) const
    {
        Value largest = values_[channel];
        for (std::size_t i = channel; i < values_.size(); i += channels_) {
            largest = std::max(largest, values_[i]);
        }
        return largest;
    }

private:
    static constexpr std::size_t kSamples = 256; // at least

    std::size_t channels_ = 0;
    std::size_t samples_ = 0;
    std::vector<Value> values_;
};
