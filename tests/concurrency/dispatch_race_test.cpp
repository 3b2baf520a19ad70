// First calls of the signal functions on many threads at once.

#include "kernels/loops/loops.h"
#include "signal/variant_selection.h"
#include "testing/signal_spies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

namespace zta::test {
namespace {

constexpr int threadCount = 64;

/// Runs a function on all threads at the same moment.
template <class Body>
void Race(Body body)
{
    std::barrier start(threadCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&start, body, i] {
            start.arrive_and_wait();
            body(i);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

int BuildOfThisProcessor()
{
    std::uint64_t mask = ZtaDetectCpuFeatures(ZtaReadCpuid());
    ZtaCheckFeatures(mask, mask);
    return static_cast<int>(ZtaSelectVariant(mask).ulIndex);
}

TEST(DispatchRace, FirstCallsOnManyThreadsAllWork)
{
    InFreshProcess([] {
        std::vector<std::vector<std::int16_t>> results(threadCount, std::vector<std::int16_t>(100));
        Race([&results](int i) {
            const auto value = static_cast<std::int16_t>(i + 1);
            if (i % 3 == 0) {
                ippsFree(ippsMalloc_8u(i + 1));
            } else if (i % 3 == 1) {
                const std::int16_t source[] = {value};
                ippsMove_16s(source, results[static_cast<std::size_t>(i)].data(), 1);
            }
            ippsSet_16s(value, results[static_cast<std::size_t>(i)].data(), 100);
        });
        for (int i = 0; i < threadCount; ++i) {
            const auto& result = results[static_cast<std::size_t>(i)];
            EXPECT_EQ(std::count(result.begin(), result.end(), i + 1), 100) << "thread " << i;
        }
    });
}

TEST(DispatchRace, FirstCallsOnManyThreadsReachOneVariant)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        std::vector<int> reached(threadCount);
        Race([&reached](int i) {
            ippsSet_16s(0, nullptr, 0);
            reached[static_cast<std::size_t>(i)] = calledVariant;
        });
        EXPECT_EQ(std::count(reached.begin(), reached.end(), BuildOfThisProcessor()), threadCount);
    });
}

TEST(DispatchRace, FirstUsesOfTheLoopsOnManyThreadsAgree)
{
    InFreshProcess([] {
        std::vector<const SZtaSampleLoops*> chosen(threadCount);
        Race([&chosen](int i) { chosen[static_cast<std::size_t>(i)] = &ZtaActiveLoops(); });
        const SZtaSampleLoops& expected = ZtaBestLoops(ZtaDetectCpuFeatures(ZtaReadCpuid()));
        EXPECT_EQ(std::count(chosen.begin(), chosen.end(), &expected), threadCount);
    });
}

// Selections run while others call: no call sees an intermediate index.
TEST(DispatchRace, SelectingTheSameVariantAgainChangesNoCall)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        const int expected = BuildOfThisProcessor();
        std::atomic<int> missed = 0;
        Race([&missed, expected](int i) {
            for (int round = 0; round < 200; ++round) {
                if (i % 2 == 0) {
                    ippInit();
                }
                for (int call = 0; call < 50; ++call) {
                    ippsSet_16s(0, nullptr, 0);
                    missed += calledVariant != expected ? 1 : 0;
                }
            }
        });
        EXPECT_EQ(missed, 0);
    });
}

} // namespace
} // namespace zta::test
