#include "bench/peers/work.h"

namespace bench {

namespace {

/// One operation on buffers of 4800 stereo frames, with what the samples hold as the only difference.
struct Operation {
    const char* name;
    Sample from;
    Sample to;
    bool ramp;
};

constexpr std::size_t kFrames = 4800;
constexpr std::uint32_t kChannels = 2;

constexpr Operation kOperations[] = {
    {"16 to float", Sample::Int16, Sample::Float, false},
    {"24-in-32 to float", Sample::Int24In32, Sample::Float, false},
    {"float to 16", Sample::Float, Sample::Int16, false},
    {"float to 24-in-32", Sample::Float, Sample::Int24In32, false},
    {"gain ramp", Sample::Int24In32, Sample::Int24In32, true},
};

Job JobOn(const Bench& bench, const Operation& operation, const std::shared_ptr<BufferSet>& in,
          const std::shared_ptr<BufferSet>& out)
{
    if (operation.ramp) {
        std::vector<SZtAudioMonoVolumeInfo> ramps(kChannels, {0, 0.5F, 2.5F});
        return [&engine = bench.spread, in, out, ramps]() mutable {
            engine.Require(engine->ApplyVolume(in->One(), out->One(), ramps.data(), ramps.size()));
        };
    }
    return [&engine = bench.spread, in, out] { engine.Require(engine->CopyAudioSamples(in->One(), out->One())); };
}

Work MakeContent(const Bench& bench, const Operation& operation, Content content)
{
    const auto memory = std::make_shared<Memory>(3 * Memory::RoomFor(8 * kFrames, Placement::Spread));
    const auto side = [&](Sample sample) { return MakeSide(memory, sample, kChannels, 1, kFrames, Placement::Spread); };
    const Side special = side(operation.from);
    const Side noise = side(operation.from);
    const Side out = side(operation.to);
    const auto target = std::make_shared<BufferSet>(out);
    Work work;
    work.prepare = [=] {
        Fill(special, content);
        Fill(noise, Content::Noise);
        Poison(out);
    };
    // The law itself is checked where it is compared with the peers; here, that the samples were taken.
    const auto checked = [&](const Side& in) {
        return operation.ramp ? Check() : WithinTolerance(in, out, 0x1.01p-15);
    };
    work.contenders.push_back(MakeContender(NameOf(content), Role::Library,
                                            JobOn(bench, operation, std::make_shared<BufferSet>(special), target),
                                            checked(special)));
    work.contenders.push_back(MakeContender(
        "noise", Role::Yardstick, JobOn(bench, operation, std::make_shared<BufferSet>(noise), target), checked(noise)));
    work.targets = {{Role::Yardstick, 0.95}};
    return work;
}

} // namespace

void AddContents(std::vector<WorkRow>& rows, const Bench& bench)
{
    for (const Operation& operation : kOperations) {
        for (const Content content : {Content::Silence, Content::FadeTail, Content::Denormal}) {
            if (content == Content::Denormal && operation.from != Sample::Float) {
                continue;
            }
            rows.push_back({"Silence, fade tails and denormals", std::string(operation.name) + ", " + NameOf(content),
                            [&bench, operation, content] { return MakeContent(bench, operation, content); }});
        }
    }
}

} // namespace bench
