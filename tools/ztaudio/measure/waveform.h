/// The waveform of a sound, reduced to the extremes in columns of equal length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// The columns become longer with the sound, so that their number is limited.
class Waveform {
public:
    struct Extremes {
        double low;
        double high;
    };

    void Add(std::span<const double> samples);

    std::span<const Extremes> Columns() const { return columns_; }
    std::uint64_t FramesPerColumn() const { return framesPerColumn_; }

private:
    void MergeColumns();

    std::vector<Extremes> columns_;
    std::uint64_t framesPerColumn_ = 1;
    std::uint64_t framesInLast_ = 0;
};
