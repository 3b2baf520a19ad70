/// Finds the frequency of a tone.
#pragma once

#include "tools/common/segment_buffer.h"
#include "tools/common/spectrum.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

/// Adds up the power spectra of segments that overlap by half under a sine window: the squares of this window add up
/// to 1, and the sound is padded with zeros at both ends, so that every frame has equal weight. Copies share transform
/// and window, and belong to one thread.
class ToneSearch {
public:
    ToneSearch();

    void Add(std::span<const double> samples);

    struct Candidate {
        double frequency; ///< in cycles per frame
        double accuracy;  ///< the true frequency is at most this far from `frequency`
    };

    /// The component that has more than half of the power of the sound without its DC offset. Empty if there is none,
    /// or if the sound has less than 1.5 periods of it. Add no more samples then.
    std::optional<Candidate> Find();

private:
    void AddSegment(std::span<const double> samples, std::size_t offset);

    std::shared_ptr<const std::vector<double>> window_;
    std::shared_ptr<RealTransform> transform_;
    SegmentBuffer pending_;
    std::vector<double> powers_;
    std::size_t frames_ = 0;
};
