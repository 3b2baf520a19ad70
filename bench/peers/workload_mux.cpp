#include "bench/common/direct_calls.h"
#include "bench/common/models.h"
#include "bench/peers/call_counter.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

struct Kind {
    const char* name;
    std::uint32_t channelsOfPlane;
    bool joins;
};

constexpr Kind kKinds[] = {
    {"mono to mux", 1, true}, {"stereo to mux", 2, true}, {"mux to mono", 1, false}, {"mux to stereo", 2, false}};

struct Shape {
    Kind kind;
    Sample sample;
    std::uint32_t channels;
    std::size_t frames;
};

/// The buffers of one work, and the staging memory of its limit.
struct Setting {
    Side planes;
    Side mux;
    Side stage;
    bool joins;

    const Side& In() const { return joins ? planes : mux; }
    const Side& Out() const { return joins ? mux : planes; }
};

Setting MakeSetting(const Shape& shape, Placement placement)
{
    const std::size_t count = shape.channels / shape.kind.channelsOfPlane;
    const std::size_t bytes = shape.frames * shape.channels * BytesOf(shape.sample);
    const auto memory = std::make_shared<Memory>(2 * count * Memory::RoomFor(bytes / count, placement) +
                                                 Memory::RoomFor(bytes, placement));
    const auto planes = [&] {
        return MakeSide(memory, shape.sample, shape.kind.channelsOfPlane, count, shape.frames, placement);
    };
    Setting setting;
    setting.planes = planes();
    setting.mux = MakeSide(memory, shape.sample, shape.channels, 1, shape.frames, placement);
    setting.stage = planes();
    setting.joins = shape.kind.joins;
    return setting;
}

Job EngineJob(const Engine& engine, const Setting& setting)
{
    return MuxJob(engine, setting.planes, setting.mux, setting.joins);
}

Check CheckOf(const Setting& setting)
{
    return EqualTo(setting.Out(), [setting] { return Moved(setting.In(), setting.Out()); });
}

Job PreparationOf(const Setting& setting)
{
    return [setting] {
        Fill(setting.In(), Content::Noise);
        Poison(setting.Out());
    };
}

/// An assembly copies each input into the pool first, which is a pass of its own.
std::vector<Pass> PassesOf(const Setting& setting)
{
    if (!setting.joins) {
        return OnePass(setting.mux, setting.planes);
    }
    std::vector<Pass> passes;
    for (std::size_t i = 0; i < setting.planes.planes.size(); ++i) {
        passes.push_back({setting.stage.planes[i], setting.planes.planes[i], setting.planes.PlaneBytes()});
    }
    for (const Pass& pass : OnePass(setting.stage, setting.mux)) {
        passes.push_back(pass);
    }
    return passes;
}

/// Both samples of a stereo frame as one word: the peers know planes of single channels only, and this is the same
/// move.
Side AsWords(const Side& side, std::uint32_t samplesOfWord)
{
    Side words = side;
    words.channelsOfPlane = side.channelsOfPlane / samplesOfWord;
    if (samplesOfWord == 2) {
        words.sample = side.sample == Sample::Int16 ? Sample::Int24In32 : Sample::Word64;
    }
    return words;
}

/// What the call costs without the samples.
Contender HostCalls(const Bench& bench, const Setting& setting)
{
    const auto stages = std::make_shared<BufferSet>(setting.stage);
    const auto CallByHand = [stages, joins = setting.joins](auto& planes, auto& mux) {
        if (joins) {
            CallAssemblyByHand(planes.Array(), stages->Array(), planes.Count(), *mux.One());
        } else {
            CallSplitByHand(*mux.One(), planes.Array(), planes.Count());
        }
    };
    return MakeCallsAlone(
        [CallByHand, planes = std::make_shared<BufferSet>(setting.planes),
         mux = std::make_shared<BufferSet>(setting.mux)] { CallByHand(*planes, *mux); },
        [&bench, setting, CallByHand] {
            TallySet planes(setting.planes);
            TallySet mux(setting.mux);
            const auto CallEngine = [&, call = MuxCallOf(setting.planes.channelsOfPlane, setting.joins)] {
                bench.spread.Require(call(bench.spread.Get(), planes.Array(), planes.Count(), mux.One()));
            };
            return CompareCalls(planes, mux, CallEngine, [&] { CallByHand(planes, mux); });
        });
}

Work MakeMux(const Bench& bench, const Shape& shape)
{
    const Setting setting = MakeSetting(shape, Placement::Spread);
    Work work;
    work.prepare = PreparationOf(setting);
    work.contenders.push_back(
        MakeContender("engine", Role::Library, EngineJob(bench.spread, setting), CheckOf(setting)));
    AddLimits(work, PassesOf(setting));
    work.contenders.push_back(HostCalls(bench, setting));
    const Side in = AsWords(setting.In(), shape.kind.channelsOfPlane);
    const Side out = AsWords(setting.Out(), shape.kind.channelsOfPlane);
    for (const auto& peer : bench.peers) {
        if (Job job = peer->Convert(in, out)) {
            work.contenders.push_back(MakeContender(peer->Name(), Role::Peer, std::move(job), CheckOf(setting)));
        }
    }
    work.targets = {{Role::Limit, 0.8}};
    if (shape.channels >= 16) {
        work.targets.push_back({Role::Peer, 2.0});
    }
    return work;
}

Work MakeMuxOnOnePage(const Bench& bench, const Shape& shape)
{
    const Setting together = MakeSetting(shape, Placement::SamePage);
    const Setting apart = MakeSetting(shape, Placement::Spread);
    Work work;
    work.prepare = [first = PreparationOf(together), second = PreparationOf(apart)] {
        first();
        second();
    };
    work.contenders.push_back(
        MakeContender("at one offset", Role::Library, EngineJob(bench.samePage, together), CheckOf(together)));
    work.contenders.push_back(
        MakeContender("at different offsets", Role::Yardstick, EngineJob(bench.spread, apart), CheckOf(apart)));
    work.targets = {{Role::Yardstick, 0.8}};
    return work;
}

std::string NameOf(const Shape& shape)
{
    return std::string(shape.kind.name) + ", " + std::to_string(shape.channels) + " x " + NameOf(shape.sample) + ", " +
           std::to_string(shape.frames) + " frames";
}

} // namespace

void AddMuxes(std::vector<WorkRow>& rows, const Bench& bench)
{
    std::vector<Shape> shapes;
    for (const Kind& kind : kKinds) {
        for (const Sample sample : {Sample::Int16, Sample::Int24In32}) {
            for (const std::uint32_t channels : {8U, 16U, 32U, 64U}) {
                for (const std::size_t frames : {1024U, 4800U}) {
                    shapes.push_back({kind, sample, channels, frames});
                }
            }
        }
    }
    for (const Shape& shape : shapes) {
        rows.push_back({"Mux", NameOf(shape), [&bench, shape] { return MakeMux(bench, shape); }});
    }
    for (const Shape& shape : shapes) {
        rows.push_back({"Mux at one offset within the pages", NameOf(shape),
                        [&bench, shape] { return MakeMuxOnOnePage(bench, shape); }});
    }
}

} // namespace bench
