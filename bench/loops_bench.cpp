// Each conversion loop of each instruction set that this processor runs, beside a memory copy that moves as many bytes:
// a loop that reads r and writes w bytes is compared with the copy of (r + w) / 2. Take both from one run:
//   loops_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving

#include "kernels/loops/loops.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kSizes[] = {16 << 10, 512 << 10, 64 << 20}; ///< the copy's bytes: first level, second, memory

struct Conversion {
    const char* name;
    std::size_t in;
    std::size_t out;
    ZtaConversion SZtaSampleLoops::*loop;
};

constexpr Conversion kConversions[] = {
#define ZTA_BENCH_ROW(name, in, out, law) {#name, in, out, &SZtaSampleLoops::pfn##name},
    ZTA_CONVERSION_LIST(ZTA_BENCH_ROW)
#undef ZTA_BENCH_ROW
};

std::string Name(std::string path, std::size_t size)
{
    return path.append("/").append(std::to_string(size >> 10)).append("KiB");
}

/// Floats between -1 and 1, which are also fair words.
std::vector<float> Noise(std::size_t bytes)
{
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> values(-1.0f, 1.0f);
    std::vector<float> noise(bytes / sizeof(float) + 1);
    for (float& value : noise) {
        value = values(random);
    }
    return noise;
}

void Copy(benchmark::State& state, std::size_t bytes)
{
    const std::vector<float> input = Noise(bytes);
    std::vector<float> output(input.size());
    for (auto _ : state) {
        std::memcpy(output.data(), input.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * bytes));
}

void Convert(benchmark::State& state, ZtaConversion loop, const Conversion& conversion, std::size_t copied)
{
    const std::size_t samples = 2 * copied / (conversion.in + conversion.out);
    const std::vector<float> input = Noise(samples * conversion.in);
    std::vector<float> output(samples * conversion.out / sizeof(float) + 1);
    for (auto _ : state) {
        loop(input.data(), output.data(), samples);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(samples * (conversion.in + conversion.out)));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(samples));
}

} // namespace

int main(int argc, char** argv)
{
    const std::uint64_t features = ZtaFeaturesOfProcessor(ZtaReadProcessorWords());
    for (const std::size_t size : kSizes) {
        benchmark::RegisterBenchmark(Name("memcpy", size).c_str(), Copy, size);
        for (const SZtaLoopTarget& target : g_asLoopTargets) {
            if (!target.RunsWith(features)) {
                continue;
            }
            for (const Conversion& conversion : kConversions) {
                const std::string path = std::string(target.psLoops->pszName).append("/").append(conversion.name);
                benchmark::RegisterBenchmark(Name(path, size).c_str(), Convert, target.psLoops->*conversion.loop,
                                             conversion, size);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
