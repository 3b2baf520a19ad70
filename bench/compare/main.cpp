/// compare_builds: two builds of the library in one process, operation by operation.
///   compare_builds LIMIT BASE.so NEW.so   interleaves both, with each instruction set of this CPU, and fails if NEW
///                                         needs more than LIMIT times the CPU time of BASE
///   compare_builds --names                prints the names of the operations, one on each line
///   compare_builds --calls LIBRARY.so     for a counter of instructions: each operation a few times, inside
///                                         `zta_counted_calls`
#include "bench/common/instruction_set.h"
#include "bench/compare/operations.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <vector>

/// Calls a job a fixed number of times. The instruction counter looks for this name.
extern "C" [[gnu::noinline, gnu::visibility("default")]] void zta_counted_calls(const bench::Job* job)
{
    constexpr int kCalls = 8;
    for (int call = 0; call < kCalls; ++call) {
        (*job)();
    }
    asm volatile("" ::: "memory");
}

namespace {

using namespace bench;

/// The placement of memory can slow down either build, so a slow result is measured again.
constexpr int kAttempts = 4;

struct Pair {
    double base;
    double now;
    double ratio;
};

Pair Compare(const Operation& operation, const Engine& base, const Engine& now)
{
    const Timer timers[] = {TimerOf(operation.makeJob(base)), TimerOf(operation.makeJob(now))};
    const Rounds rounds = RunInterleaved(timers, {.seconds = 0.15, .sliceSeconds = 2e-4, .minRounds = 51});
    return {Median(rounds[0]), Median(rounds[1]), MedianRatio(rounds[1], rounds[0])};
}

bool IsSlower(const Operation& operation, zta::host::Module& baseModule, zta::host::Module& newModule, double limit)
{
    Pair pair{};
    int attempt = 0;
    do { // with new engines each time, whose pools have other addresses
        const Engine base(baseModule, Placement::Staggered);
        const Engine now(newModule, Placement::Staggered);
        pair = Compare(operation, base, now);
    } while ((pair.ratio > limit || pair.ratio < 1 / limit) && ++attempt < kAttempts);
    const bool slower = pair.ratio > limit;
    std::printf("  %-36s %9.3f us %9.3f us  %.3f%s\n", operation.name.c_str(), pair.base * 1e6, pair.now * 1e6,
                pair.ratio, slower ? "  SLOWER" : "");
    std::fflush(stdout);
    return slower;
}

int ComparePairs(double limit, const char* basePath, const char* newPath)
{
    PinToProcessor(0);
    zta::host::Module base(basePath);
    zta::host::Module now(newPath);
    const std::vector<InstructionSet> baseSets = SupportedInstructionSets(base);
    const std::vector<InstructionSet> newSets = SupportedInstructionSets(now);
    int slower = 0;
    for (std::size_t i = 0; i < newSets.size(); ++i) {
        std::printf(" %s\n", newSets[i].name.c_str());
        baseSets.at(i).select();
        newSets[i].select();
        for (const Operation& operation : MakeOperations()) {
            slower += IsSlower(operation, base, now, limit) ? 1 : 0;
        }
    }
    return slower;
}

void CallAll(const char* path)
{
    zta::host::Module module(path);
    const Engine engine(module, Placement::Staggered);
    for (const Operation& operation : MakeOperations()) {
        const Job job = operation.makeJob(engine);
        job(); // excludes work that only the first call does
        zta_counted_calls(&job);
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 2 && std::strcmp(argv[1], "--names") == 0) {
            for (const Operation& operation : MakeOperations()) {
                std::printf("%s\n", operation.name.c_str());
            }
            return EXIT_SUCCESS;
        }
        if (argc == 3 && std::strcmp(argv[1], "--calls") == 0) {
            CallAll(argv[2]);
            return EXIT_SUCCESS;
        }
        if (argc == 4) {
            return ComparePairs(std::atof(argv[1]), argv[2], argv[3]) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    std::fprintf(stderr, "usage: compare_builds LIMIT BASE NEW | --names | --calls LIBRARY\n");
    return 2;
}
