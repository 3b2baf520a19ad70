#include "bench/common/direct_calls.h"
#include "bench/common/jobs.h"
#include "bench/common/models.h"
#include "bench/peers/call_counter.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

Work MakeOneFrame(const Bench& bench)
{
    const auto memory = std::make_shared<Memory>(2 * Memory::RoomFor(2, Placement::Spread));
    const Side in = MakeSide(memory, Sample::Int16, 1, 1, 1, Placement::Spread);
    const Side out = MakeSide(memory, Sample::Int16, 1, 1, 1, Placement::Spread);
    const auto source = std::make_shared<BufferSet>(in);
    const auto target = std::make_shared<BufferSet>(out);
    const Check copied = EqualTo(out, [in, out] { return Converted(in, out); });
    Work work;
    work.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    work.contenders.push_back(MakeContender("engine", Role::Library, CopyJob(bench.spread, in, out), copied));
    work.contenders.push_back(MakeContender(
        "host calls, latch and copy", Role::Yardstick, [source, target] { CopyByHand(*source->One(), *target->One()); },
        [&bench, in, out, copied] {
            TallySet tallied(in);
            TallySet copy(out);
            const auto calls = CompareCalls(
                tallied, copy, [&] { bench.spread.Require(bench.spread->CopyAudioSamples(tallied.One(), copy.One())); },
                [&] { CopyByHand(*tallied.One(), *copy.One()); });
            return calls ? calls : copied();
        }));
    work.targets = {{Role::Yardstick, 1 / 1.25}};
    return work;
}

} // namespace

void AddCallCost(std::vector<WorkRow>& rows, const Bench& bench)
{
    rows.push_back({"Cost of a call", "copy of one frame", [&bench] { return MakeOneFrame(bench); }});
}

} // namespace bench
