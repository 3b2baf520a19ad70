#include "tests/soak/latencies.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace zta::test {

void Latencies::Add(Clock::duration time)
{
    const std::int64_t nanoseconds = std::chrono::nanoseconds(time).count();
    const double octave = std::log2(static_cast<double>(std::max<std::int64_t>(nanoseconds, 1)));
    const auto index = static_cast<std::size_t>(octave * kClassesOfOctave);
    ++classes_[std::min(index, classes_.size() - 1)];
    ++count_;
    max_ = std::max(max_, nanoseconds);
}

void Latencies::Add(const Latencies& other)
{
    std::transform(classes_.begin(), classes_.end(), other.classes_.begin(), classes_.begin(), std::plus<>());
    count_ += other.count_;
    max_ = std::max(max_, other.max_);
}

double Latencies::Quantile(double share) const
{
    std::uint64_t below = 0;
    std::size_t index = 0;
    while (index + 1 < classes_.size() &&
           static_cast<double>(below + classes_[index]) < share * static_cast<double>(count_)) {
        below += classes_[index++];
    }
    const double bound = std::exp2(static_cast<double>(index + 1) / kClassesOfOctave) / 1000.0;
    return std::min(bound, Max());
}

double Latencies::Max() const
{
    return static_cast<double>(max_) / 1000.0;
}

} // namespace zta::test
