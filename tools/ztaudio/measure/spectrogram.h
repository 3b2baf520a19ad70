/// The spectrum of a sound by time.
#pragma once

#include "tools/common/segment_buffer.h"
#include "tools/common/spectrum.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// Segments overlap by 3/4 under a Hann window, whose squares add up to a constant at that overlap: every
/// frame has equal weight. Silence precedes and follows the sound. A column is the mean of the powers of its segments.
/// Columns become longer with the sound, so that their number is limited. Copies share transform and window, and belong
/// to one thread.
class Spectrogram {
public:
    /// length  frames of a segment, a multiple of 4
    explicit Spectrogram(std::size_t length);

    void Add(std::span<const double> samples);

    /// Adds the segments at the end of the sound. Add no more samples then.
    void Finish();

    std::size_t ColumnCount() const { return columns_.size(); }
    std::size_t BinCount() const { return transform_->BinCount(); }

    /// The frames between the first frames of two columns.
    std::uint64_t FramesPerColumn() const { return segmentsPerColumn_ * Hop(); }

    /// The power in a bin, scaled so that that of a full-scale tone is 1.
    double Power(std::size_t column, std::size_t bin) const;

private:
    struct Column {
        std::vector<float> powers; ///< sums
        std::uint64_t segments = 0;
    };

    std::size_t Length() const { return window_->size(); }
    std::size_t Hop() const { return Length() / 4; }
    void AddSegment();
    void MergeColumns();

    std::shared_ptr<const std::vector<double>> window_;
    std::shared_ptr<RealTransform> transform_;
    SegmentBuffer pending_;
    std::vector<Column> columns_;
    std::uint64_t segmentsPerColumn_ = 1;
    double gain_ = 0;
    std::uint64_t frames_ = 0;
    std::uint64_t segments_ = 0;
};
