// The resampler's filter in each variant that this CPU supports, beside the scalar reference and beside multiply-adds
// alone, on registers that are never loaded. Compare outputs per second (items) between the lines of one execution, and
// multiply-adds per second (macs), of which an output needs 32:
//   resampler_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving

#include "bench/reference_resampler.h"
#include "signal/functions.h"
#include "signal/packed_filter_bank.h"

#include <benchmark/benchmark.h>

#include <immintrin.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kFilterLength = 32;
constexpr int kMargin = 17;

using Run = decltype(&ippsResamplePolyphaseFixed_16s);

struct FreeBlock {
    void operator()(void* p) const { m7_ippsFree(p); }
};
using Filter = std::unique_ptr<IppsResamplingPolyphaseFixed_16s, FreeBlock>;

Filter MakeFilter(int inRate, int outRate)
{
    int size = 0;
    int length = 0;
    int height = 0;
    m7_ippsResamplePolyphaseFixedGetSize_16s(inRate, outRate, kFilterLength, &size, &length, &height, ippAlgHintFast);
    Filter filter(reinterpret_cast<IppsResamplingPolyphaseFixed_16s*>(m7_ippsMalloc_8u(size)));
    m7_ippsResamplePolyphaseFixedInit_16s(inRate, outRate, kFilterLength, 1.0f, 9.0f, filter.get(), ippAlgHintFast);
    return filter;
}

struct InputSpan {
    int inRate;
    int outRate;
    int frames;
};

std::vector<std::int16_t> Noise(int frames)
{
    std::minstd_rand random(1);
    std::uniform_int_distribution<int> values(-32768, 32767);
    std::vector<std::int16_t> noise(static_cast<std::size_t>(frames + 2 * kMargin));
    for (std::int16_t& value : noise) {
        value = static_cast<std::int16_t>(values(random));
    }
    return noise;
}

/// Filters the same input again and again, from the same position.
template <typename RunOnce>
void Resample(benchmark::State& state, const InputSpan& span, RunOnce runOnce)
{
    const Filter filter = MakeFilter(span.inRate, span.outRate);
    const std::vector<std::int16_t> input = Noise(span.frames);
    std::vector<std::int16_t> output(static_cast<std::size_t>(span.frames) * 2 + 2);
    std::int64_t outputs = 0;
    for (auto _ : state) {
        double time = kMargin;
        outputs += runOnce(input.data(), span.frames, output.data(), &time, *filter);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(outputs);
    state.counters["macs"] =
        benchmark::Counter(static_cast<double>(outputs * kFilterLength), benchmark::Counter::kIsRate);
}

void ResampleWith(benchmark::State& state, const InputSpan& span, Run run)
{
    Resample(state, span, [run](const auto* source, int len, auto* destination, double* time, const auto& filter) {
        int outputs = 0;
        run(source, len, destination, 1.0f, time, &outputs, &filter);
        return outputs;
    });
}

/// With a packed filter bank, as streams use it.
void ResampleWithBank(benchmark::State& state, const InputSpan& span, Run run)
{
    const auto bank = std::make_unique<SZtaPackedFilterBank>();
    l9_ownPackFilterBank_16s(MakeFilter(span.inRate, span.outRate).get(), bank.get());
    Resample(state, span, [&](const auto* source, int len, auto* destination, double* time, auto& filter) {
        int outputs = 0;
        SetPackedFilterBank(filter, bank.get());
        run(source, len, destination, 1.0f, time, &outputs, &filter);
        return outputs;
    });
}

void ResampleReference(benchmark::State& state, const InputSpan& span)
{
    Resample(state, span, ReferenceResample);
}

/// Four independent accumulators: as many as a CPU adds in parallel, and few enough for the registers of SSE2.
#define ZTA_BENCH_BARE(name, options, Register, multiply, add, broadcast)                                              \
    __attribute__((target(options))) void name(benchmark::State& state)                                                \
    {                                                                                                                  \
        constexpr int kRounds = 1024;                                                                                  \
        Register taps = broadcast(3);                                                                                  \
        Register a = taps, b = taps, c = taps, d = taps;                                                               \
        for (auto _ : state) {                                                                                         \
            for (int round = 0; round < kRounds; ++round) {                                                            \
                Register samples = taps;                                                                               \
                asm volatile("" : "+x"(samples));                                                                      \
                a = add(a, multiply(taps, samples));                                                                   \
                asm volatile("" : "+x"(samples));                                                                      \
                b = add(b, multiply(taps, samples));                                                                   \
                asm volatile("" : "+x"(samples));                                                                      \
                c = add(c, multiply(taps, samples));                                                                   \
                asm volatile("" : "+x"(samples));                                                                      \
                d = add(d, multiply(taps, samples));                                                                   \
            }                                                                                                          \
        }                                                                                                              \
        Register sum = add(add(a, b), add(c, d));                                                                      \
        benchmark::DoNotOptimize(sum);                                                                                 \
        const std::int64_t macs = state.iterations() * kRounds * 4 * static_cast<std::int64_t>(sizeof(Register) / 2);  \
        state.SetItemsProcessed(macs / kFilterLength);                                                                 \
        state.counters["macs"] = benchmark::Counter(static_cast<double>(macs), benchmark::Counter::kIsRate);           \
    }

ZTA_BENCH_BARE(Bare128, "sse2", __m128i, _mm_madd_epi16, _mm_add_epi32, _mm_set1_epi16)
ZTA_BENCH_BARE(Bare256, "avx2", __m256i, _mm256_madd_epi16, _mm256_add_epi32, _mm256_set1_epi16)
ZTA_BENCH_BARE(Bare512, "avx512f,avx512bw", __m512i, _mm512_madd_epi16, _mm512_add_epi32, _mm512_set1_epi16)

struct Variant {
    const char* name;
    std::uint64_t features;
    Run run;
};

constexpr Variant kVariants[] = {
#define ZTA_BENCH_ENTRY(unused, prefix, features) {#prefix, features, &prefix##_ippsResamplePolyphaseFixed_16s},
    ZTA_IPP_VARIANT_LIST(ZTA_BENCH_ENTRY, )
#undef ZTA_BENCH_ENTRY
};

constexpr InputSpan kInputSpans[] = {
    {44100, 48000, 160},  {48000, 44100, 160},  {44100, 48000, 1024},
    {48000, 44100, 1024}, {44100, 48000, 4800}, {48000, 44100, 4800},
};

std::string Suffix(const InputSpan& span)
{
    std::string suffix("/");
    suffix.append(std::to_string(span.inRate)).append("to").append(std::to_string(span.outRate));
    return suffix.append("/").append(std::to_string(span.frames));
}

} // namespace

int main(int argc, char** argv)
{
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    const auto runs = [features](std::uint64_t needed) { return (features & needed) == needed; };
    for (const InputSpan& span : kInputSpans) {
        const std::string suffix = Suffix(span);
        benchmark::RegisterBenchmark(("scalar" + suffix).c_str(), ResampleReference, span);
        for (const Variant& variant : kVariants) {
            if (runs(variant.features)) {
                benchmark::RegisterBenchmark((variant.name + suffix).c_str(), ResampleWith, span, variant.run);
                if ((variant.features & keZtaFeatureAvx2) != 0) {
                    benchmark::RegisterBenchmark((variant.name + (" packed" + suffix)).c_str(), ResampleWithBank, span,
                                                 variant.run);
                }
            }
        }
    }
    benchmark::RegisterBenchmark("bare/128", Bare128);
    if (runs(keZtaFeatureAvx2 | keZtaFeatureAvxEnabled)) {
        benchmark::RegisterBenchmark("bare/256", Bare256);
    }
    if (runs(kAvx512BwDqVlFeatures | keZtaFeatureAvx512Enabled)) {
        benchmark::RegisterBenchmark("bare/512", Bare512);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
