// The conversion, pair and gain loops of each instruction set that this processor runs, beside a memory copy that moves
// as many bytes: a loop that reads r and writes w bytes is compared with the copy of (r + w) / 2. Take both from one
// run:
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

struct Pair {
    const char* bytes;
    std::size_t frameBytes; ///< read and as many written
    ZtaInterleavePair SZtaSampleLoops::*interleave;
    ZtaSplitPair SZtaSampleLoops::*split;
};

constexpr Pair kPairs[] = {
#define ZTA_BENCH_ROW(bytes)                                                                                           \
    {#bytes, 2 * (bytes), &SZtaSampleLoops::pfnInterleavePair##bytes, &SZtaSampleLoops::pfnSplitPair##bytes},
    ZTA_PAIR_LIST(ZTA_BENCH_ROW)
#undef ZTA_BENCH_ROW
};

constexpr unsigned long kGroupCounts[] = {1, 2, 4, 8, 16}; ///< of gains: up to 4 channels, 8, 16, 32, 64

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

void InterleavePair(benchmark::State& state, ZtaInterleavePair loop, std::size_t frameBytes, std::size_t copied)
{
    const std::size_t frames = copied / frameBytes;
    const std::vector<float> left = Noise(copied / 2);
    const std::vector<float> right = Noise(copied / 2);
    std::vector<float> stereo(copied / sizeof(float) + 1);
    for (auto _ : state) {
        loop(left.data(), right.data(), stereo.data(), frames);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * frames * frameBytes));
}

void SplitPair(benchmark::State& state, ZtaSplitPair loop, std::size_t frameBytes, std::size_t copied)
{
    const std::size_t frames = copied / frameBytes;
    const std::vector<float> stereo = Noise(copied);
    std::vector<float> left(copied / 2 / sizeof(float) + 1);
    std::vector<float> right(copied / 2 / sizeof(float) + 1);
    for (auto _ : state) {
        loop(stereo.data(), left.data(), right.data(), frames);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * frames * frameBytes));
}

void ApplyGainRamp(benchmark::State& state, ZtaApplyGainRamp loop, unsigned long groups, std::size_t copied)
{
    constexpr std::int32_t kUpper[] = {8388607, 8388607, 8388607, 8388607};
    constexpr std::int32_t kLower[] = {-8388608, -8388608, -8388608, -8388608};
    const std::vector<float> input = Noise(copied);
    std::vector<float> output(input.size());
    std::vector<std::int32_t> block(groups * 8);
    const SZtaGainRamp ramp = {block.data(), groups, kUpper, kLower};
    for (auto _ : state) {
        loop(input.data(), output.data(), copied / 4, &ramp);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * copied));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(copied / 4));
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
            for (const Pair& pair : kPairs) {
                const std::string path = std::string(target.psLoops->pszName).append("/");
                benchmark::RegisterBenchmark(
                    Name(std::string(path).append("InterleavePair").append(pair.bytes), size).c_str(), InterleavePair,
                    target.psLoops->*pair.interleave, pair.frameBytes, size);
                benchmark::RegisterBenchmark(
                    Name(std::string(path).append("SplitPair").append(pair.bytes), size).c_str(), SplitPair,
                    target.psLoops->*pair.split, pair.frameBytes, size);
            }
            for (const unsigned long groups : kGroupCounts) {
                const std::string path =
                    std::string(target.psLoops->pszName).append("/GainRamp").append(std::to_string(groups));
                benchmark::RegisterBenchmark(Name(path, size).c_str(), ApplyGainRamp, target.psLoops->pfnApplyGainRamp,
                                             groups, size);
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
