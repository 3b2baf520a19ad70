// The conversion, stereo, gain ramp and fade loops of each variant that this CPU supports, beside copies of as many
// bytes: a loop that reads r and writes w bytes is compared with copies of (r + w) / 2. Names are
//   variant/loop/size of the copy[/content]
//
// Each round times the loop, memcpy and a copy with the widest registers, interleaved, in thread CPU time, so that a
// drift of the machine affects all three. Counters are medians over the rounds of a copy's time divided by the loop's:
// "memcpy", "wide", and "share", the lesser of the two. 1 is as fast as the fastest copy.
//
// For other contents than noise the counter "noise" is the time on noise divided by that on the content: 1 is no
// difference.
//   loops_bench --benchmark_filter='avx512/.*/16KiB'

#include "bench/common/measure.h"
#include "bench/simd_copy.h"
#include "kernels/loops/loops.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kSizes[] = {16 << 10, 512 << 10,
                                  64 << 20}; ///< of the copy: first-level cache, second-level cache, memory

/// Memory that is aligned to cache lines.
class Memory {
public:
    explicit Memory(std::size_t bytes)
        : bytes_((bytes + 255) / 256 * 256), memory_(static_cast<char*>(std::aligned_alloc(256, bytes_)), std::free)
    {
        std::memset(memory_.get(), 0, bytes_);
    }

    char* Data() const { return memory_.get(); }

    template <class Value>
    void Fill(Value value) const
    {
        using Word = decltype(value());
        for (std::size_t i = 0; i < bytes_; i += sizeof(Word)) {
            const Word word = value();
            std::memcpy(Data() + i, &word, sizeof word);
        }
    }

private:
    std::size_t bytes_;
    std::unique_ptr<char, decltype(&std::free)> memory_;
};

/// Floats between -1 and 1. Their bits are also valid integer samples.
void FillWithNoise(const Memory& memory)
{
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> values(-1.0f, 1.0f);
    memory.Fill([&] { return values(random); });
}

using bench::Job;

double Time(int repetitions, const Job& job)
{
    const double start = bench::ThreadSeconds();
    for (int i = 0; i < repetitions; ++i) {
        job();
        benchmark::ClobberMemory();
    }
    return (bench::ThreadSeconds() - start) / repetitions;
}

/// Measures the loop and its baselines, interleaved. The counter of each baseline's name is its share.
void Compare(benchmark::State& state, const Job& loop, const std::vector<std::pair<const char*, Job>>& baselines)
{
    loop();
    const double once = std::max(Time(3, loop), 1e-8);
    const int repetitions = std::max(1, static_cast<int>(1e-4 / once));
    std::vector<std::vector<double>> shares(baselines.size());
    for ([[maybe_unused]] auto _ : state) {
        const double time = Time(repetitions, loop);
        state.SetIterationTime(time);
        for (std::size_t i = 0; i < baselines.size(); ++i) {
            shares[i].push_back(Time(repetitions, baselines[i].second) / time);
        }
    }
    for (std::size_t i = 0; i < baselines.size(); ++i) {
        state.counters[baselines[i].first] = bench::Median(shares[i]);
    }
}

/// Measures a loop beside the two copies of as many bytes.
void CompareWithCopies(benchmark::State& state, std::size_t copied, const Job& loop)
{
    const Memory input(copied);
    const Memory output(copied);
    FillWithNoise(input);
    Compare(state, loop,
            {{"memcpy", [&] { std::memcpy(output.Data(), input.Data(), copied); }},
             {"wide", [&] { SimdCopy(output.Data(), input.Data(), copied); }}});
    state.counters["share"] = std::min(state.counters["memcpy"].value, state.counters["wide"].value);
}

struct Conversion {
    const char* name;
    std::size_t in;
    std::size_t out;
    ZtaConversion SZtaSampleLoops::*loop;
};

constexpr Conversion kConversions[] = {
#define ZTA_BENCH_ENTRY(name, in, out, op) {#name, in, out, &SZtaSampleLoops::pfn##name},
    ZTA_CONVERSION_LIST(ZTA_BENCH_ENTRY)
#undef ZTA_BENCH_ENTRY
};

void Convert(benchmark::State& state, ZtaConversion loop, const Conversion& conversion, std::size_t copied)
{
    const std::size_t samples = 2 * copied / (conversion.in + conversion.out);
    const Memory input(samples * conversion.in);
    const Memory output(samples * conversion.out);
    FillWithNoise(input);
    CompareWithCopies(state, copied, [&] { loop(input.Data(), output.Data(), samples); });
}

/// Samples on which arithmetic may be slower than on noise, as the bits of floats.
struct Content {
    const char* name;
    std::uint32_t (*word)(std::size_t i);
};

constexpr Content kContents[] = {
    {"silence", [](std::size_t /*i*/) -> std::uint32_t { return 0; }},
    {"denormals", [](std::size_t i) -> std::uint32_t { return 1 + static_cast<std::uint32_t>(i * 40503 % 0x7FFFFF); }},
    {"halfDenormals",
     [](std::size_t i) -> std::uint32_t { return i % 2 == 0 ? 0x3F000000 + static_cast<std::uint32_t>(i) : 12345; }},
    {"fadeTail", [](std::size_t i) -> std::uint32_t { return (240 - static_cast<std::uint32_t>(i / 16) % 240) << 23; }},
};

void ConvertContent(benchmark::State& state, ZtaConversion loop, const Conversion& conversion, const Content& content,
                    std::size_t copied)
{
    const std::size_t samples = 2 * copied / (conversion.in + conversion.out);
    const Memory noise(samples * 4);
    const Memory input(samples * 4);
    const Memory output(samples * conversion.out);
    FillWithNoise(noise);
    input.Fill([i = std::size_t{0}, &content]() mutable { return content.word(i++); });
    Compare(state, [&] { loop(input.Data(), output.Data(), samples); },
            {{"noise", [&] { loop(noise.Data(), output.Data(), samples); }}});
}

struct StereoLoops {
    const char* bytes;
    std::size_t frameBytes; ///< read and as many written
    ZtaInterleaveStereo SZtaSampleLoops::*interleave;
    ZtaDeinterleaveStereo SZtaSampleLoops::*deinterleave;
};

constexpr StereoLoops kStereoLoops[] = {
#define ZTA_BENCH_ENTRY(bytes)                                                                                         \
    {#bytes, 2 * (bytes), &SZtaSampleLoops::pfnInterleaveStereo##bytes, &SZtaSampleLoops::pfnDeinterleaveStereo##bytes},
    ZTA_STEREO_LIST(ZTA_BENCH_ENTRY)
#undef ZTA_BENCH_ENTRY
};

void InterleaveStereo(benchmark::State& state, ZtaInterleaveStereo loop, std::size_t frameBytes, std::size_t copied)
{
    const std::size_t frames = copied / frameBytes;
    const Memory left(copied / 2);
    const Memory right(copied / 2);
    const Memory stereo(copied);
    CompareWithCopies(state, copied, [&] { loop(left.Data(), right.Data(), stereo.Data(), frames); });
}

void DeinterleaveStereo(benchmark::State& state, ZtaDeinterleaveStereo loop, std::size_t frameBytes, std::size_t copied)
{
    const std::size_t frames = copied / frameBytes;
    const Memory left(copied / 2);
    const Memory right(copied / 2);
    const Memory stereo(copied);
    CompareWithCopies(state, copied, [&] { loop(stereo.Data(), left.Data(), right.Data(), frames); });
}

/// Ramps up to a gain of 1 cannot clip; those above can, and are clamped.
constexpr unsigned long kGroupCounts[] = {1, 2, 4, 8, 16}; ///< of gains: for up to 4, 8, 16, 32, 64 channels

void ApplyGainRamp(benchmark::State& state, ZtaApplyGainRamp loop, unsigned long groups, std::int32_t gain,
                   std::size_t copied)
{
    constexpr std::int32_t kUpper[] = {8388607, 8388607, 8388607, 8388607};
    constexpr std::int32_t kLower[] = {-8388608, -8388608, -8388608, -8388608};
    const Memory input(copied);
    const Memory output(copied);
    FillWithNoise(input);
    std::vector<std::int32_t> settings(groups * 8);
    for (std::size_t i = 0; i < settings.size(); i += 8) {
        std::fill_n(settings.begin() + static_cast<std::ptrdiff_t>(i), 4, gain);
    }
    std::vector<std::int32_t> block(settings.size());
    const SZtaGainRamp ramp = {block.data(), groups, kUpper, kLower};
    CompareWithCopies(state, copied, [&] {
        std::copy(settings.begin(), settings.end(), block.begin()); // the loop updates it
        loop(input.Data(), output.Data(), copied / 4, &ramp);
    });
}

constexpr std::size_t kFadeBenchFrames = 4800;

/// A fade over all frames of a buffer; the gains count as bytes read.
template <class Gain>
void Fade(benchmark::State& state, ZtaFade<Gain> loop, std::size_t words, std::size_t wordBytes, std::ptrdiff_t step)
{
    const std::size_t bytes = kFadeBenchFrames * words * wordBytes;
    const Memory buffer(bytes);
    FillWithNoise(buffer);
    std::vector<Gain> gains(kFadeBenchFrames);
    for (std::size_t i = 0; i < gains.size(); ++i) {
        gains[i] = static_cast<Gain>(i * 32767 / gains.size());
    }
    const Gain* first = step > 0 ? gains.data() : &gains.back();
    CompareWithCopies(state, bytes + kFadeBenchFrames * sizeof(Gain) / 2,
                      [&] { loop(buffer.Data(), words, kFadeBenchFrames, first, step); });
}

using Function = std::function<void(benchmark::State&)>;

void Register(const SZtaLoopVariant& variant, const std::string& loop, std::size_t size, const std::string& content,
              const Function& function)
{
    const bool isFade = size == kFadeBenchFrames;
    std::string name = variant.psLoops->pszName;
    name.append("/").append(loop).append("/").append(std::to_string(isFade ? size : size >> 10));
    name.append(isFade ? "frames" : "KiB").append(content.empty() ? "" : "/").append(content);
    benchmark::RegisterBenchmark(name.c_str(), function)->UseManualTime()->Iterations(size > 1 << 20 ? 11 : 101);
}

void RegisterAll(const SZtaLoopVariant& variant, std::size_t size)
{
    const SZtaSampleLoops& loops = *variant.psLoops;
    for (const Conversion& conversion : kConversions) {
        const ZtaConversion loop = loops.*conversion.loop;
        Register(variant, conversion.name, size, "", [=](auto& state) { Convert(state, loop, conversion, size); });
        if (conversion.in != 4 || size != kSizes[0]) {
            continue;
        }
        for (const Content& content : kContents) {
            Register(variant, conversion.name, size, content.name,
                     [=](auto& state) { ConvertContent(state, loop, conversion, content, size); });
        }
    }
    for (const StereoLoops& stereo : kStereoLoops) {
        Register(variant, std::string("InterleaveStereo") + stereo.bytes, size, "", [=, &loops](auto& state) {
            InterleaveStereo(state, loops.*stereo.interleave, stereo.frameBytes, size);
        });
        Register(variant, std::string("DeinterleaveStereo") + stereo.bytes, size, "", [=, &loops](auto& state) {
            DeinterleaveStereo(state, loops.*stereo.deinterleave, stereo.frameBytes, size);
        });
    }
    for (const unsigned long groups : kGroupCounts) {
        const std::string name = "GainRamp" + std::to_string(groups);
        Register(variant, name, size, "",
                 [=, &loops](auto& state) { ApplyGainRamp(state, loops.pfnApplyGainRamp, groups, 4000, size); });
        Register(variant, name + "Clamped", size, "",
                 [=, &loops](auto& state) { ApplyGainRamp(state, loops.pfnApplyGainRamp, groups, 5000, size); });
    }
}

void RegisterFades(const SZtaLoopVariant& variant)
{
    const SZtaSampleLoops& loops = *variant.psLoops;
    for (const std::size_t words : {1U, 2U, 4U, 8U, 16U}) {
        for (const std::ptrdiff_t step : {1, -1}) {
            const std::string shape = std::to_string(words).append(step > 0 ? "In" : "Out");
#define ZTA_BENCH_ENTRY(op, bytes, gains)                                                                              \
    Register(variant, std::string("Fade" #op "x").append(shape), kFadeBenchFrames, "",                                 \
             [=, &loops](auto& state) { Fade(state, loops.pfnFade##op, words, bytes, step); });
            ZTA_FADE_LOOP_LIST(ZTA_BENCH_ENTRY)
#undef ZTA_BENCH_ENTRY
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    for (const SZtaLoopVariant& variant : kLoopVariants) {
        if (variant.IsSupported(features)) {
            RegisterFades(variant);
        }
    }
    for (const std::size_t size : kSizes) {
        for (const SZtaLoopVariant& variant : kLoopVariants) {
            if (variant.IsSupported(features)) {
                RegisterAll(variant, size);
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
