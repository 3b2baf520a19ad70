/// Times by the thread's processor clock, of contenders that take turns.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace bench {

/// Processor seconds of the calling thread so far.
double ThreadSeconds();

/// Binds the calling thread to one processor of those that it may run on, the `index`-th modulo their number.
void PinToProcessor(std::size_t index);
/// How many processors the process may run on.
std::size_t ProcessorCount();

using Job = std::function<void()>;
/// Runs `calls` calls and gives the seconds of processor time that one of them took.
using Timer = std::function<double(int calls)>;

/// The timer of a job on this thread.
Timer TimerOf(Job job);

struct TimeBudget {
    double seconds = 1.0;       ///< for all rounds of one work
    double sliceSeconds = 2e-4; ///< what one turn of one contender takes at least
    int minRounds = 5;
};

/// Seconds of a call: for each contender one value from each round.
using Rounds = std::vector<std::vector<double>>;

/// Lets the contenders take turns, as many calls a turn as fill it, until the time is used up. Each round begins with
/// another contender.
Rounds RunInterleaved(std::span<const Timer> contenders, const TimeBudget& effort);

double Median(std::vector<double> values);
/// The median of the rounds' quotients first / second.
double MedianRatio(const std::vector<double>& first, const std::vector<double>& second);

} // namespace bench
