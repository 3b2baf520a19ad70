#include "bench/common/models.h"
#include "bench/peers/workload.h"

namespace bench {

namespace {

constexpr std::size_t kInCache = 64 << 10;
constexpr std::size_t kInMemory = 64 << 20;

/// Frames of 24-in-32 in that many bytes, fewer where the engine does not process multiples of 65536.
std::size_t FramesIn(std::size_t bytes, std::uint32_t channels)
{
    const std::size_t frames = bytes / (4 * channels);
    return frames * channels / 4 % 65536 == 0 ? frames - 4 : frames;
}

const char* SizeName(std::size_t bytes)
{
    return bytes == kInCache ? "64 KiB" : "64 MiB";
}

Workload MakeRamp(const Bench& bench, std::size_t bytes, std::uint32_t channels)
{
    constexpr float kStart = 0.5F;
    constexpr float kEnd = 2.5F;
    const auto memory = std::make_shared<Memory>(2 * Memory::RequiredBytes(bytes, Placement::Staggered));
    const auto layout = [&] {
        return MakeLayout(memory, Sample::Int24In32, channels, 1, FramesIn(bytes, channels), Placement::Staggered);
    };
    const BufferLayout in = layout();
    const BufferLayout out = layout();
    Workload workload;
    workload.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    workload.contenders.push_back(MakeContender("engine", Role::Library, VolumeJob(bench.spread, in, out, kStart, kEnd),
                                                EqualTo(out, [in] { return Scaled(in, kStart, kEnd); })));
    AddBounds(workload, OnePass(in, out));
    workload.targets = {{Role::Bound, bytes == kInCache ? 0.6 : 0.9}};
    return workload;
}

/// No peer has gain ramps by frames, so constant gains are compared: in place, as the peers process.
Workload MakeConstant(const Bench& bench, std::size_t bytes, std::uint32_t channels)
{
    constexpr float kGain = 1.5F;
    const auto memory = std::make_shared<Memory>(2 * Memory::RequiredBytes(bytes, Placement::Staggered));
    const BufferLayout layout =
        MakeLayout(memory, Sample::Int24In32, channels, 1, FramesIn(bytes, channels), Placement::Staggered);
    const BufferLayout before = MakeLayout(memory, Sample::Int24In32, channels, 1, layout.frames, Placement::Staggered);
    Workload workload;
    workload.prepare = [layout, before] {
        Fill(layout, Content::Noise);
        Fill(before, Content::Noise);
    };
    workload.contenders.push_back(MakeContender("engine", Role::Library,
                                                VolumeJob(bench.spread, layout, layout, kGain, kGain),
                                                EqualTo(layout, [before] { return Scaled(before, kGain, kGain); })));
    for (const auto& peer : bench.peers) {
        if (Job job = peer->Gain(layout, static_cast<double>(kGain))) {
            workload.contenders.push_back(
                MakeContender(peer->Name(), Role::Peer, std::move(job),
                              WithinTolerance(before, layout, 0x1.01p-23, static_cast<double>(kGain))));
        }
    }
    workload.targets = {{Role::Peer, 1.0}};
    return workload;
}

std::string Channels(std::uint32_t channels)
{
    return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

} // namespace

void AddGains(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    for (const std::size_t bytes : {kInCache, kInMemory}) {
        for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U, 32U, 64U}) {
            factories.push_back({"Gain ramps", Channels(channels) + ", " + SizeName(bytes),
                                 [&bench, bytes, channels] { return MakeRamp(bench, bytes, channels); }});
        }
    }
    for (const std::size_t bytes : {kInCache, kInMemory}) {
        for (const std::uint32_t channels : {2U, 8U}) {
            factories.push_back({"Constant gain in place", Channels(channels) + ", " + SizeName(bytes),
                                 [&bench, bytes, channels] { return MakeConstant(bench, bytes, channels); }});
        }
    }
}

} // namespace bench
