#include "bench/common/direct_calls.h"
#include "bench/common/models.h"
#include "bench/peers/call_counter.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

/// One LSB of the coarser layout. The other libraries disagree about full scale (32767 or 32768) and about rounding,
/// and none by more.
double OneLsb(Sample in, Sample out)
{
    return in == Sample::Int16 || out == Sample::Int16 ? 0x1.01p-15 : 0x1.01p-23;
}

struct Size {
    std::size_t bytes;
    const char* name;
    double share;
};

/// The host calls alone.
Contender HostCalls(const Bench& bench, const BufferLayout& in, const BufferLayout& out)
{
    return MakeHostCallsOnly(
        [source = std::make_shared<BufferSet>(in), target = std::make_shared<BufferSet>(out)] {
            MakeConversionCalls(*source->One(), *target->One());
        },
        [&bench, in, out] {
            CountingBufferSet source(in);
            CountingBufferSet target(out);
            return CompareCalls(
                source, target,
                [&] { bench.spread.Require(bench.spread->CopyAudioSamples(source.One(), target.One())); },
                [&] { MakeConversionCalls(*source.One(), *target.One()); });
        });
}

/// A workload: the engine, the bounds, and each peer that supports it.
Workload MakeConversion(const Bench& bench, Sample from, Sample to, std::size_t frames, std::uint32_t channels)
{
    const std::size_t inBytes = frames * channels * BytesOf(from);
    const std::size_t outBytes = frames * channels * BytesOf(to);
    const std::size_t capacity = PassCapacity(inBytes, outBytes);
    const auto memory = std::make_shared<Memory>(2 * Memory::RequiredBytes(capacity, Placement::Staggered));
    const BufferLayout in = MakeLayout(memory, from, channels, 1, frames, Placement::Staggered, capacity);
    const BufferLayout out = MakeLayout(memory, to, channels, 1, frames, Placement::Staggered, capacity);
    Workload workload;
    workload.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    workload.contenders.push_back(MakeContender("engine", Role::Library, CopyJob(bench.spread, in, out),
                                                EqualTo(out, [in, out] { return Converted(in, out); })));
    AddBounds(workload, OnePass(in, out));
    workload.contenders.push_back(HostCalls(bench, in, out));
    for (const auto& peer : bench.peers) {
        if (Job job = peer->Convert(in, out)) {
            workload.contenders.push_back(
                MakeContender(peer->Name(), Role::Peer, std::move(job), WithinTolerance(in, out, OneLsb(from, to))));
        }
    }
    return workload;
}

struct Pair {
    Sample from;
    Sample to;
};

constexpr Size kSizes[] = {{16 << 10, "16 KiB", 0.6}, {512 << 10, "512 KiB", 0.9}, {64 << 20, "64 MiB", 0.9}};

void Add(std::vector<WorkloadFactory>& factories, const Bench& bench, const char* family, const Pair& pair,
         const Size& size, std::vector<Target> targets)
{
    const std::string name = std::string(NameOf(pair.from)).append(" to ").append(NameOf(pair.to)) + ", " + size.name;
    factories.push_back({family, name, [&bench, pair, size, targets] {
                             constexpr std::uint32_t kChannels = 2;
                             const std::size_t frameBytes = kChannels * std::max(BytesOf(pair.from), BytesOf(pair.to));
                             Workload workload =
                                 MakeConversion(bench, pair.from, pair.to, size.bytes / frameBytes, kChannels);
                             workload.targets = targets;
                             return workload;
                         }});
}

} // namespace

void AddConversions(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    using enum Sample;
    constexpr Pair kPairs[] = {{Int16, Int24In32}, {Int24In32, Int16}, {Int16, Float},
                               {Float, Int16},     {Int24In32, Float}, {Float, Int24In32}};
    constexpr Pair kPacked[] = {{Int24In24, Int24In32}, {Int24In32, Int24In24}};
    for (const Pair& pair : kPairs) {
        for (const Size& size : kSizes) {
            Add(factories, bench, "Conversions", pair, size, {{Role::Bound, size.share}, {Role::Peer, 1.0}});
        }
    }
    for (const Pair& pair : kPacked) {
        for (const Size& size : kSizes) {
            Add(factories, bench, "Packed 24 bits", pair, size, {{Role::Bound, 0.8}});
        }
    }
}

} // namespace bench
