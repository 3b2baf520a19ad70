/// Interleaved measurements by the thread's CPU clock.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace bench {

/// Returns the CPU seconds of the calling thread.
double ThreadSeconds();

/// Binds the calling thread to one processor of those that it may run on, the `index`-th modulo their number.
void PinToProcessor(std::size_t index);
/// Returns the number of CPUs that the process may run on.
std::size_t ProcessorCount();

using Job = std::function<void()>;
/// Runs `calls` calls and returns the CPU seconds of one of them.
using Timer = std::function<double(int calls)>;

/// The timer of a job on this thread.
Timer TimerOf(Job job);

struct TimeBudget {
    double seconds = 1.0;       ///< for all rounds of one workload
    double sliceSeconds = 2e-4; ///< minimum length of one slice
    int minRounds = 5;
};

/// Seconds of a call: for each contender one value from each round.
using Rounds = std::vector<std::vector<double>>;

/// Runs the contenders in alternating slices, each of as many calls as fill it, until the time is used up. Each round
/// begins with another contender.
Rounds RunInterleaved(std::span<const Timer> contenders, const TimeBudget& budget);

double Median(std::vector<double> values);
/// Returns the median of first / second over the rounds.
double MedianRatio(const std::vector<double>& first, const std::vector<double>& second);

} // namespace bench
