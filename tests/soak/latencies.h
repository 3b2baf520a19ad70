#pragma once

#include <array>
#include <chrono>
#include <cstdint>

namespace zta::test {

/// A histogram of call durations, in classes of one sixteenth of an octave. Its size is constant.
class Latencies {
public:
    using Clock = std::chrono::steady_clock;

    void Add(Clock::duration time);
    void Add(const Latencies& other);

    /// Times a call and counts it.
    template <class Call>
    auto Time(Call call)
    {
        const auto begin = Clock::now();
        const auto result = call();
        Add(Clock::now() - begin);
        return result;
    }

    [[nodiscard]] std::uint64_t Count() const { return count_; }
    /// Returns an upper bound in microseconds for the given share of the calls, at most a sixteenth of an octave above
    /// it.
    [[nodiscard]] double Quantile(double share) const;
    [[nodiscard]] double Max() const;

private:
    static constexpr int kClassesOfOctave = 16;
    static constexpr int kOctaves = 40; ///< of nanoseconds
    std::array<std::uint64_t, kClassesOfOctave * kOctaves> classes_{};
    std::uint64_t count_ = 0;
    std::int64_t max_ = 0; ///< nanoseconds
};

} // namespace zta::test
