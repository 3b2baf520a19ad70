// soak SECONDS [SEED]: runs all operations in random order on two threads and checks every result, the memory in use
// and the reference counts. Prints the duration of the calls beside that of an empty loop, which shows what the machine
// itself adds. Exit code 1 if anything is wrong.

#include "component/unknown.h"
#include "host/audio_buffer.h"
#include "host/host_engine.h"
#include "testing/recording_host.h"
#include "tests/soak/job.h"

#include <zta/module.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

using namespace zta::test;
using Clock = Latencies::Clock;

constexpr int kThreads = 2;

/// By how much heap and stacks may change after the warm-up.
constexpr long kSlackBytes = 2 << 20;

/// The warm-up of a thread, in jobs: by then each kind of job has allocated what it needs. On a busy machine they
/// exceed the warm-up of a short run; the run lasts for at least twice as many jobs.
constexpr int kWarmUpCalls = 4000;

std::atomic<int> warmThreads{0};
std::atomic<int> runningThreads{kThreads};

std::atomic<int> failures{0};

void Fail(const std::string& text)
{
    // A broken run has thousands of failures.
    if (failures++ < 20) {
        std::printf("FAILED: %s\n", text.c_str());
    }
}

long ResidentBytes()
{
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// A loop without a call or a memory access; about as long as the median call.
int RunEmptyLoop()
{
    for (int i = 0; i < 20000; ++i) {
        asm volatile("" : : "r"(i));
    }
    return 0;
}

struct Times {
    Latencies calls;
    Latencies emptyLoop;
};

void Work(IZtQuonEnginePrivate& host, unsigned seed, Clock::time_point end, Times& times)
{
    Random random(seed);
    const auto engine = CreateEngine(host);
    Jobs jobs;
    AddMuxJobs(jobs);
    AddScenarioJobs(jobs);
    AddScenarioJobs(jobs); // all paths of all operations: a larger share
    AddStreamJob(jobs, host);
    for (int i = 0; (Clock::now() < end || i < 2 * kWarmUpCalls) && failures == 0; ++i) {
        warmThreads += i == kWarmUpCalls ? 1 : 0;
        const std::string wrong = jobs[Between(random, 0, jobs.size() - 1)]->Run(*engine, random, times.calls);
        if (!wrong.empty()) {
            Fail(wrong + " (seed " + std::to_string(seed) + ", call " + std::to_string(times.calls.Count()) + ")");
        }
        times.emptyLoop.Time(RunEmptyLoop);
    }
    --runningThreads;
}

void Print(const char* name, const Latencies& times)
{
    std::printf("%-12s %12llu times %9.2f us median %9.2f us 99.9 %% %11.2f us largest\n", name,
                static_cast<unsigned long long>(times.Count()), times.Quantile(0.5), times.Quantile(0.999),
                times.Max());
}

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 0.0;
    if (seconds <= 0.0) {
        std::fprintf(stderr, "usage: soak SECONDS [SEED]\n");
        return 2;
    }
    const auto seed = static_cast<unsigned>(argc > 2 ? std::atoi(argv[2]) : 1);
    const auto begin = Clock::now();
    const auto end = begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));

    Times times[kThreads];
    long warmBytes = 0;
    long maxBytes = 0;
    {
        const auto host = zta::host::HostEngine::Create();
        std::thread threads[kThreads];
        for (unsigned t = 0; t < kThreads; ++t) {
            threads[t] = std::thread([&, t] { Work(*host.Get(), seed + t, end, times[t]); });
        }
        // Memory in use must not grow after the warm-up: a quarter of the run, and kWarmUpCalls jobs of each thread.
        while (runningThreads > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            const bool isWarm = warmThreads == kThreads && Clock::now() >= begin + (end - begin) / 4;
            long& mark = isWarm ? maxBytes : warmBytes;
            mark = std::max(mark, ResidentBytes());
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
#ifndef ZTA_SANITIZED
    if (maxBytes > warmBytes + kSlackBytes) {
        Fail("memory in use grew");
    }
#endif
    if (zta::host::AudioBuffer::LiveCount() != 0) {
        Fail(std::to_string(zta::host::AudioBuffer::LiveCount()) + " buffers are left");
    }
    if (g_i32Objects != 0 || DllCanUnloadNow() != 0) {
        Fail(std::to_string(g_i32Objects) + " objects are left");
    }

    for (int t = 1; t < kThreads; ++t) {
        times[0].calls.Add(times[t].calls);
        times[0].emptyLoop.Add(times[t].emptyLoop);
    }
    Print("operations", times[0].calls);
    Print("empty loop", times[0].emptyLoop);
    std::printf("memory: %.1f MB warm, %.1f MB at most after that; %d failures in %.0f seconds on %d threads\n",
                static_cast<double>(warmBytes) / 1e6, static_cast<double>(maxBytes) / 1e6, failures.load(), seconds,
                kThreads);
    if (times[0].calls.Count() < 100) {
        Fail("fewer than 100 calls");
    }
    return failures == 0 ? 0 : 1;
}
