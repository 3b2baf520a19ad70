#include "bench/common/models.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

/// One operation on buffers of 4800 stereo frames. Only the content of the samples differs.
struct Operation {
    const char* name;
    Sample from;
    Sample to;
    bool ramp;
};

constexpr std::size_t kFrames = 4800;
constexpr std::uint32_t kChannels = 2;
constexpr float kStart = 0.5F;
constexpr float kEnd = 2.5F;

constexpr Operation kOperations[] = {
    {"16 to float", Sample::Int16, Sample::Float, false},
    {"24-in-32 to float", Sample::Int24In32, Sample::Float, false},
    {"float to 16", Sample::Float, Sample::Int16, false},
    {"float to 24-in-32", Sample::Float, Sample::Int24In32, false},
    {"gain ramp", Sample::Int24In32, Sample::Int24In32, true},
};

Job JobOn(const Bench& bench, const Operation& operation, const BufferLayout& in, const BufferLayout& out)
{
    return operation.ramp ? VolumeJob(bench.spread, in, out, kStart, kEnd) : CopyJob(bench.spread, in, out);
}

Check CheckOf(const Operation& operation, const BufferLayout& in, const BufferLayout& out)
{
    return EqualTo(out, [=] { return operation.ramp ? Scaled(in, kStart, kEnd) : Converted(in, out); });
}

Workload MakeContent(const Bench& bench, const Operation& operation, Content content)
{
    const auto memory = std::make_shared<Memory>(3 * Memory::RequiredBytes(8 * kFrames, Placement::Staggered));
    const auto layout = [&](Sample sample) {
        return MakeLayout(memory, sample, kChannels, 1, kFrames, Placement::Staggered);
    };
    const BufferLayout special = layout(operation.from);
    const BufferLayout noise = layout(operation.from);
    const BufferLayout out = layout(operation.to);
    Workload workload;
    workload.prepare = [=] {
        Fill(special, content);
        Fill(noise, Content::Noise);
        Poison(out);
    };
    const auto add = [&](Content of, Role role, const BufferLayout& in) {
        workload.contenders.push_back(
            MakeContender(NameOf(of), role, JobOn(bench, operation, in, out), CheckOf(operation, in, out)));
    };
    add(content, Role::Library, special);
    add(Content::Noise, Role::Baseline, noise);
    workload.targets = {{Role::Baseline, 0.95}};
    return workload;
}

} // namespace

void AddContents(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    for (const Operation& operation : kOperations) {
        for (const Content content : {Content::Silence, Content::FadeTail, Content::Denormal}) {
            if (content == Content::Denormal && operation.from != Sample::Float) {
                continue;
            }
            factories.push_back({"Silence, fade tails and denormals",
                                 std::string(operation.name) + ", " + NameOf(content),
                                 [&bench, operation, content] { return MakeContent(bench, operation, content); }});
        }
    }
}

} // namespace bench
