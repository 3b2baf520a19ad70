// Interleaving and deinterleaving relative to the upper bound: the faster of memcpy and a copy with the widest
// registers, of as many bytes as the loop reads and writes.
//
//   mux_bench [element bytes] [planes] [frames]
//
// measures the usual shapes, or the given ones; 0 selects all usual ones. Each line is one shape. Its first column is
// the time of the copy in nanoseconds. The other columns are, for each variant, the shares of interleaving and
// deinterleaving: first with buffers at random page offsets, then with all buffers at the same page offset, as hosts
// that allocate whole pages have them. A share is the median over many rounds. In each round all columns are
// interleaved, so that a disturbance affects all of them. Time is the CPU time of the thread.

#include "bench/common/measure.h"
#include "bench/simd_copy.h"
#include "kernels/loops/loops.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Element {
    std::size_t bytes;
    ZtaInterleave SZtaSampleLoops::*interleave;
    ZtaDeinterleave SZtaSampleLoops::*deinterleave;
};

constexpr Element kElements[] = {
#define ZTA_BENCH_ENTRY(bytes)                                                                                         \
    {bytes, &SZtaSampleLoops::pfnInterleave##bytes, &SZtaSampleLoops::pfnDeinterleave##bytes},
    ZTA_ELEMENT_LIST(ZTA_BENCH_ENTRY)
#undef ZTA_BENCH_ENTRY
};
constexpr std::size_t kPage = 4096;
constexpr int kRounds = 31;
constexpr double kBatchSeconds = 100e-6;

/// Keeps the compiler from dropping or joining copies.
void Clobber()
{
    asm volatile("" ::: "memory");
}

struct Shape {
    std::size_t elementBytes;
    std::size_t planes;
    std::size_t frames;

    std::size_t PlaneBytes() const { return elementBytes * frames; }
    std::size_t Bytes() const { return PlaneBytes() * planes; }
};

enum class Placement { Random, Same };

/// Memory that begins with a page.
class Pages {
public:
    explicit Pages(std::size_t bytes)
        : memory_(static_cast<char*>(std::aligned_alloc(kPage, (bytes + kPage - 1) / kPage * kPage)), &std::free)
    {
        std::memset(memory_.get(), 1, bytes);
    }

    char* Data() const { return memory_.get(); }

private:
    std::unique_ptr<char, void (*)(void*)> memory_;
};

/// A mux and its planes, each in pages of its own and beginning with a cache line.
class Buffers {
public:
    Buffers(const Shape& shape, Placement placement)
        : planePages_(shape.PlaneBytes() / kPage + 2),
          memory_(shape.planes * planePages_ * kPage + shape.Bytes() + 2 * kPage)
    {
        std::minstd_rand random(1);
        const auto Offset = [&] { return placement == Placement::Same ? 0 : random() % (kPage / 64) * 64; };
        char* page = memory_.Data();
        for (std::size_t i = 0; i < shape.planes; ++i, page += planePages_ * kPage) {
            planes_.push_back(page + Offset());
        }
        mux_ = page + Offset();
    }

    void* const* Planes() const { return planes_.data(); }
    void* Mux() const { return mux_; }

private:
    std::size_t planePages_;
    Pages memory_;
    std::vector<void*> planes_;
    void* mux_;
};

/// Something to be timed, and its time for one call in each round.
struct Column {
    std::string name;
    std::function<void()> call;
    std::size_t calls = 1; ///< in a batch
    std::vector<double> seconds{};
};

double Batch(const Column& column)
{
    const double start = bench::ThreadSeconds();
    for (std::size_t i = 0; i < column.calls; ++i) {
        column.call();
        Clobber();
    }
    return (bench::ThreadSeconds() - start) / static_cast<double>(column.calls);
}

void Measure(std::vector<Column>& columns)
{
    for (Column& column : columns) {
        while (Batch(column) * static_cast<double>(column.calls) < kBatchSeconds) {
            column.calls *= 2;
        }
    }
    for (int round = 0; round < kRounds; ++round) {
        for (Column& column : columns) {
            column.call(); // loads its bytes into the caches again
            column.seconds.push_back(Batch(column));
        }
    }
}

void MeasureShape(const Element& element, std::size_t planes, std::size_t frames, std::uint64_t features)
{
    const Shape shape{element.bytes, planes, frames};
    const Pages input(shape.Bytes());
    const Pages output(shape.Bytes() + kPage / 2);
    char* to = output.Data() + kPage / 2;
    std::vector<Column> columns;
    columns.push_back({"memcpy", [&] { std::memcpy(to, input.Data(), shape.Bytes()); }});
    columns.push_back({"copy", [&] { SimdCopy(to, input.Data(), shape.Bytes()); }});
    const std::size_t copies = columns.size();

    const Buffers random(shape, Placement::Random);
    const Buffers same(shape, Placement::Same);
    for (const SZtaLoopVariant& variant : kLoopVariants) {
        if (!variant.IsSupported(features)) {
            continue;
        }
        const std::string name = variant.psLoops->pszName;
        for (const Buffers* buffers : {&random, &same}) {
            columns.push_back({name + " interleave", [&, buffers, loop = variant.psLoops->*element.interleave] {
                                   loop(buffers->Planes(), planes, buffers->Mux(), frames);
                               }});
            columns.push_back({name + " deinterleave", [&, buffers, loop = variant.psLoops->*element.deinterleave] {
                                   loop(buffers->Mux(), buffers->Planes(), planes, frames);
                               }});
        }
    }
    Measure(columns);

    std::vector<double> bound = columns[0].seconds;
    for (std::size_t c = 1; c < copies; ++c) {
        for (std::size_t i = 0; i < bound.size(); ++i) {
            bound[i] = std::min(bound[i], columns[c].seconds[i]);
        }
    }
    std::printf("%zu bytes %2zu planes %4zu frames %9.0f ns", element.bytes, planes, frames,
                1e9 * bench::Median(bound));
    for (std::size_t c = copies; c < columns.size(); c += 4) {
        std::printf("  %-6s", columns[c].name.substr(0, columns[c].name.find(' ')).c_str());
        for (std::size_t i = c; i < c + 4; ++i) {
            std::printf(" %5.2f", bench::MedianRatio(bound, columns[i].seconds));
        }
    }
    std::printf("\n");
    std::fflush(stdout);
}

std::vector<std::size_t> SelectValues(int argc, char** argv, int i, std::vector<std::size_t> all)
{
    const std::size_t value = i < argc ? std::strtoul(argv[i], nullptr, 10) : 0;
    return value == 0 ? all : std::vector{value};
}

} // namespace

int main(int argc, char** argv)
{
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    const std::vector<std::size_t> bytes = SelectValues(argc, argv, 1, {2, 3, 4, 6, 8});
    const std::vector<std::size_t> planes = SelectValues(argc, argv, 2, {2, 4, 8, 16, 32, 64});
    const std::vector<std::size_t> frames = SelectValues(argc, argv, 3, {1024, 4800});
    std::printf("shares of the copy: interleave, deinterleave (random page offsets), interleave, deinterleave (same "
                "page offset)\n");
    for (const Element& element : kElements) {
        if (std::find(bytes.begin(), bytes.end(), element.bytes) != bytes.end()) {
            for (const std::size_t count : planes) {
                for (const std::size_t length : frames) {
                    MeasureShape(element, count, length, features);
                }
            }
        }
    }
    return 0;
}
