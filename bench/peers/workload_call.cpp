#include "bench/common/direct_calls.h"
#include "bench/common/jobs.h"
#include "bench/common/models.h"
#include "bench/peers/call_counter.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

Workload MakeOneFrame(const Bench& bench)
{
    const auto memory = std::make_shared<Memory>(2 * Memory::RequiredBytes(2, Placement::Staggered));
    const BufferLayout in = MakeLayout(memory, Sample::Int16, 1, 1, 1, Placement::Staggered);
    const BufferLayout out = MakeLayout(memory, Sample::Int16, 1, 1, 1, Placement::Staggered);
    const auto source = std::make_shared<BufferSet>(in);
    const auto target = std::make_shared<BufferSet>(out);
    const Check copied = EqualTo(out, [in, out] { return Converted(in, out); });
    Workload workload;
    workload.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    workload.contenders.push_back(MakeContender("engine", Role::Library, CopyJob(bench.spread, in, out), copied));
    workload.contenders.push_back(MakeContender(
        "host calls, busy flag and copy", Role::Baseline,
        [source, target] { CopyDirectly(*source->One(), *target->One()); },
        [&bench, in, out, copied] {
            CountingBufferSet counted(in);
            CountingBufferSet copy(out);
            const auto calls = CompareCalls(
                counted, copy, [&] { bench.spread.Require(bench.spread->CopyAudioSamples(counted.One(), copy.One())); },
                [&] { CopyDirectly(*counted.One(), *copy.One()); });
            return calls ? calls : copied();
        }));
    workload.targets = {{Role::Baseline, 1 / 1.25}};
    return workload;
}

} // namespace

void AddCallCost(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    factories.push_back({"Call overhead", "copy of one frame", [&bench] { return MakeOneFrame(bench); }});
}

} // namespace bench
