#include "bench/common/measure.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>

#include <sched.h>

namespace bench {

namespace {

/// The CPUs of the process, before any thread was bound.
const std::vector<int>& Processors()
{
    static const std::vector<int> processors = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        sched_getaffinity(0, sizeof set, &set);
        std::vector<int> found;
        for (int i = 0; i < CPU_SETSIZE; ++i) {
            if (CPU_ISSET(i, &set)) {
                found.push_back(i);
            }
        }
        return found;
    }();
    return processors;
}

} // namespace

double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void PinToProcessor(std::size_t index)
{
    const int processor = Processors()[index % Processors().size()];
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) {
        throw std::runtime_error("cannot bind the thread to processor " + std::to_string(processor));
    }
}

std::size_t ProcessorCount()
{
    return Processors().size();
}

Timer TimerOf(Job job)
{
    return [job = std::move(job)](int calls) {
        const double start = ThreadSeconds();
        for (int i = 0; i < calls; ++i) {
            job();
        }
        return (ThreadSeconds() - start) / calls;
    };
}

Rounds RunInterleaved(std::span<const Timer> contenders, const TimeBudget& budget)
{
    std::vector<int> calls;
    for (const Timer& timer : contenders) {
        // The first calls warm up. Then the slice is doubled until the clock resolves it.
        timer(1);
        int count = 1;
        double once = timer(count);
        while (once * count < budget.sliceSeconds / 4) {
            count *= 2;
            once = timer(count);
        }
        calls.push_back(std::max(1, static_cast<int>(budget.sliceSeconds / std::max(once, 1e-9))));
    }
    Rounds rounds(contenders.size());
    double used = 0;
    for (std::size_t round = 0; used < budget.seconds || static_cast<int>(round) < budget.minRounds; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const std::size_t contender = (round + i) % contenders.size();
            const double seconds = contenders[contender](calls[contender]);
            rounds[contender].push_back(seconds);
            used += seconds * calls[contender];
        }
    }
    return rounds;
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double MedianRatio(const std::vector<double>& first, const std::vector<double>& second)
{
    std::vector<double> ratios(first.size());
    std::transform(first.begin(), first.end(), second.begin(), ratios.begin(), std::divides<>());
    return Median(std::move(ratios));
}

} // namespace bench
