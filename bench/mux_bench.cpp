// The moves between streams and a mux, beside a memory copy of as many bytes. Names are
//   target/move+element bytes/streams/frames/placement
// where the streams lie at random places or all at the same place of their pages. Take ratios from one run:
//   mux_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving

#include "kernels/loops/loops.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

struct Element {
    std::size_t bytes;
    ZtaInterleave SZtaSampleLoops::*interleave;
    ZtaSplit SZtaSampleLoops::*split;
};

constexpr Element kElements[] = {
#define ZTA_BENCH_ROW(bytes) {bytes, &SZtaSampleLoops::pfnInterleave##bytes, &SZtaSampleLoops::pfnSplit##bytes},
    ZTA_ELEMENT_LIST(ZTA_BENCH_ROW)
#undef ZTA_BENCH_ROW
};
constexpr std::size_t kStreams[] = {4, 8, 16, 32, 64};
constexpr std::size_t kFrames[] = {1024, 4800};
constexpr std::size_t kPage = 4096;

struct Shape {
    std::size_t elementBytes;
    std::size_t streams;
    std::size_t frames;
    bool samePlaces;

    std::size_t Bytes() const { return elementBytes * streams * frames; }
};

/// A mux and its streams, each in pages of its own.
struct Buffers {
    explicit Buffers(const Shape& shape)
    {
        std::minstd_rand random(1);
        const std::size_t streamBytes = shape.elementBytes * shape.frames;
        const std::size_t pages = (streamBytes + 2 * kPage - 1) / kPage;
        memory.resize(shape.streams * pages * kPage + kPage + shape.Bytes() + kPage, 1);
        const std::size_t misaligned = reinterpret_cast<std::uintptr_t>(memory.data()) % kPage;
        char* page = memory.data() + (misaligned == 0 ? 0 : kPage - misaligned);
        for (std::size_t i = 0; i < shape.streams; ++i, page += pages * kPage) {
            streams.push_back(page + (shape.samePlaces ? 0 : random() % kPage));
        }
        mux = page + (shape.samePlaces ? 0 : random() % kPage);
    }

    std::vector<char> memory;
    std::vector<void*> streams;
    char* mux;
};

void Copy(benchmark::State& state, const Shape& shape)
{
    std::vector<char> input(shape.Bytes(), 1);
    std::vector<char> output(shape.Bytes(), 1);
    for (auto _ : state) {
        std::memcpy(output.data(), input.data(), shape.Bytes());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * shape.Bytes()));
}

void Interleave(benchmark::State& state, ZtaInterleave loop, const Shape& shape)
{
    Buffers buffers(shape);
    for (auto _ : state) {
        loop(buffers.streams.data(), shape.streams, buffers.mux, shape.frames);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * shape.Bytes()));
}

void Split(benchmark::State& state, ZtaSplit loop, const Shape& shape)
{
    Buffers buffers(shape);
    for (auto _ : state) {
        loop(buffers.mux, buffers.streams.data(), shape.streams, shape.frames);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * shape.Bytes()));
}

void Register(const SZtaSampleLoops& loops, const Element& element, const Shape& shape, const std::string& suffix)
{
    const std::string target = std::string(loops.pszName).append("/");
    benchmark::RegisterBenchmark((target + "interleave" + suffix).c_str(), Interleave, loops.*element.interleave,
                                 shape);
    benchmark::RegisterBenchmark((target + "split" + suffix).c_str(), Split, loops.*element.split, shape);
}

} // namespace

int main(int argc, char** argv)
{
    const std::uint64_t features = ZtaFeaturesOfProcessor(ZtaReadProcessorWords());
    for (const Element& element : kElements) {
        for (const std::size_t streams : kStreams) {
            for (const std::size_t frames : kFrames) {
                const std::string size = std::to_string(element.bytes)
                                             .append("/")
                                             .append(std::to_string(streams))
                                             .append("/")
                                             .append(std::to_string(frames));
                benchmark::RegisterBenchmark(("memcpy" + size).c_str(), Copy,
                                             Shape{element.bytes, streams, frames, false});
                for (const SZtaLoopTarget& target : g_asLoopTargets) {
                    if (!target.RunsWith(features)) {
                        continue;
                    }
                    for (const bool same : {false, true}) {
                        Register(*target.psLoops, element, {element.bytes, streams, frames, same},
                                 size + (same ? "/same" : "/random"));
                    }
                }
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
