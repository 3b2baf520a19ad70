#include "bench/common/direct_calls.h"
#include "bench/common/models.h"
#include "bench/peers/call_counter.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

struct Kind {
    const char* name;
    std::uint32_t channelsOfPlane;
    bool interleaves;
};

constexpr Kind kKinds[] = {
    {"mono to mux", 1, true}, {"stereo to mux", 2, true}, {"mux to mono", 1, false}, {"mux to stereo", 2, false}};

struct Shape {
    Kind kind;
    Sample sample;
    std::uint32_t channels;
    std::size_t frames;
};

/// The buffers of one workload, and the staging memory of its bound.
struct Setting {
    BufferLayout planes;
    BufferLayout mux;
    BufferLayout stage;
    bool interleaves;

    const BufferLayout& In() const { return interleaves ? planes : mux; }
    const BufferLayout& Out() const { return interleaves ? mux : planes; }
};

Setting MakeSetting(const Shape& shape, Placement placement)
{
    const std::size_t count = shape.channels / shape.kind.channelsOfPlane;
    const std::size_t bytes = shape.frames * shape.channels * BytesOf(shape.sample);
    const auto memory = std::make_shared<Memory>(2 * count * Memory::RequiredBytes(bytes / count, placement) +
                                                 Memory::RequiredBytes(bytes, placement));
    const auto planes = [&] {
        return MakeLayout(memory, shape.sample, shape.kind.channelsOfPlane, count, shape.frames, placement);
    };
    Setting setting;
    setting.planes = planes();
    setting.mux = MakeLayout(memory, shape.sample, shape.channels, 1, shape.frames, placement);
    setting.stage = planes();
    setting.interleaves = shape.kind.interleaves;
    return setting;
}

Job EngineJob(const Engine& engine, const Setting& setting)
{
    return MuxJob(engine, setting.planes, setting.mux, setting.interleaves);
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

/// Interleaving copies each input to a scratch buffer first, an extra pass.
std::vector<Pass> PassesOf(const Setting& setting)
{
    if (!setting.interleaves) {
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

/// A stereo frame as one sample of twice the size: the peers only support planes of one channel.
BufferLayout AsWords(const BufferLayout& layout, std::uint32_t samplesOfWord)
{
    BufferLayout words = layout;
    words.channelsOfPlane = layout.channelsOfPlane / samplesOfWord;
    if (samplesOfWord == 2) {
        words.sample = layout.sample == Sample::Int16 ? Sample::Int24In32 : Sample::Word64;
    }
    return words;
}

/// The host calls alone.
Contender HostCalls(const Bench& bench, const Setting& setting)
{
    const auto stages = std::make_shared<BufferSet>(setting.stage);
    const auto CallByHand = [stages, interleaves = setting.interleaves](auto& planes, auto& mux) {
        if (interleaves) {
            MakeInterleaveCalls(planes.Array(), stages->Array(), planes.Count(), *mux.One());
        } else {
            MakeDeinterleaveCalls(*mux.One(), planes.Array(), planes.Count());
        }
    };
    return MakeHostCallsOnly(
        [CallByHand, planes = std::make_shared<BufferSet>(setting.planes),
         mux = std::make_shared<BufferSet>(setting.mux)] { CallByHand(*planes, *mux); },
        [&bench, setting, CallByHand] {
            CountingBufferSet planes(setting.planes);
            CountingBufferSet mux(setting.mux);
            const auto CallEngine = [&, call = MuxCallOf(setting.planes.channelsOfPlane, setting.interleaves)] {
                bench.spread.Require(call(bench.spread.Get(), planes.Array(), planes.Count(), mux.One()));
            };
            return CompareCalls(planes, mux, CallEngine, [&] { CallByHand(planes, mux); });
        });
}

Workload MakeMux(const Bench& bench, const Shape& shape)
{
    const Setting setting = MakeSetting(shape, Placement::Staggered);
    Workload workload;
    workload.prepare = PreparationOf(setting);
    workload.contenders.push_back(
        MakeContender("engine", Role::Library, EngineJob(bench.spread, setting), CheckOf(setting)));
    AddBounds(workload, PassesOf(setting));
    workload.contenders.push_back(HostCalls(bench, setting));
    const BufferLayout in = AsWords(setting.In(), shape.kind.channelsOfPlane);
    const BufferLayout out = AsWords(setting.Out(), shape.kind.channelsOfPlane);
    for (const auto& peer : bench.peers) {
        if (Job job = peer->Convert(in, out)) {
            workload.contenders.push_back(MakeContender(peer->Name(), Role::Peer, std::move(job), CheckOf(setting)));
        }
    }
    workload.targets = {{Role::Bound, 0.8}};
    if (shape.channels >= 16) {
        workload.targets.push_back({Role::Peer, 2.0});
    }
    return workload;
}

Workload MakeMuxOnOnePage(const Bench& bench, const Shape& shape)
{
    const Setting together = MakeSetting(shape, Placement::SamePage);
    const Setting apart = MakeSetting(shape, Placement::Staggered);
    Workload workload;
    workload.prepare = [first = PreparationOf(together), second = PreparationOf(apart)] {
        first();
        second();
    };
    workload.contenders.push_back(
        MakeContender("at one offset", Role::Library, EngineJob(bench.samePage, together), CheckOf(together)));
    workload.contenders.push_back(
        MakeContender("at different offsets", Role::Baseline, EngineJob(bench.spread, apart), CheckOf(apart)));
    workload.targets = {{Role::Baseline, 0.8}};
    return workload;
}

std::string NameOf(const Shape& shape)
{
    return std::string(shape.kind.name) + ", " + std::to_string(shape.channels) + " x " + NameOf(shape.sample) + ", " +
           std::to_string(shape.frames) + " frames";
}

} // namespace

void AddMuxes(std::vector<WorkloadFactory>& factories, const Bench& bench)
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
        factories.push_back({"Mux", NameOf(shape), [&bench, shape] { return MakeMux(bench, shape); }});
    }
    for (const Shape& shape : shapes) {
        factories.push_back(
            {"Mux, page-aligned", NameOf(shape), [&bench, shape] { return MakeMuxOnOnePage(bench, shape); }});
    }
}

} // namespace bench
