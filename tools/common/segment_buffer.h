/// The latest samples of a sound, from which overlapping segments are taken.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

/// Samples are moved once in a while only, not with every segment.
class SegmentBuffer {
public:
    /// length  the most samples
    explicit SegmentBuffer(std::size_t length) : values_(2 * length) {}

    std::size_t Size() const { return size_; }

    /// The samples, valid until the next change.
    std::span<const double> Samples() const { return std::span(values_).subspan(first_, size_); }

    void Append(std::span<const double> samples) { std::ranges::copy(samples, Extend(samples.size())); }

    void AppendSilence(std::size_t count) { std::fill_n(Extend(count), count, 0.0); }

    /// Removes the oldest samples.
    void Drop(std::size_t count)
    {
        first_ += count;
        size_ -= count;
    }

private:
    std::vector<double>::iterator Extend(std::size_t count)
    {
        if (first_ + size_ + count > values_.size()) {
            std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(first_), size_, values_.begin());
            first_ = 0;
        }
        size_ += count;
        return values_.begin() + static_cast<std::ptrdiff_t>(first_ + size_ - count);
    }

    std::vector<double> values_;
    std::size_t first_ = 0;
    std::size_t size_ = 0;
};
