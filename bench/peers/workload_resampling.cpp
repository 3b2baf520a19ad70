#include "bench/peers/workload_resampling.h"

#include "bench/peers/simd_copies.h"

#include <zta/ipp.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

namespace bench {

namespace {

struct Direction {
    std::uint32_t from;
    std::uint32_t to;
};

constexpr Direction kDirections[] = {{44100, 48000}, {48000, 44100}};
/// Long slices: some resamplers process blocks of thousands of frames.
constexpr double kSliceSeconds = 2e-3;
/// Input samples of the filter alone: contiguous, within the first-level cache.
constexpr std::size_t kFilterFrames = 8192;

StreamMaker EngineMaker(const Bench& bench)
{
    return {"engine", [&bench](const Rates& rates, std::size_t frames) -> Stream {
                return [stream = std::make_shared<ResamplerStream>(bench.spread, rates, frames)](
                           const std::int16_t* in, std::size_t, std::int16_t* out, std::size_t) {
                    return stream->Process(in, out);
                };
            }};
}

const Quality& QualityOf(const StreamMaker& maker, const Direction& direction)
{
    static std::map<std::pair<std::string, std::uint32_t>, Quality> known;
    const auto [entry, isNew] = known.try_emplace({maker.name, direction.from});
    if (isNew) {
        const auto play = [&](double hertz) {
            const Rates rates{direction.from, direction.to, 1};
            return PlayTone(maker, rates, 1024, hertz, 4, 0).signalToNoise;
        };
        entry->second = {maker.name, direction.from, direction.to, play(kLowTone), play(kHighTone)};
    }
    return entry->second;
}

/// Checks that the low tone keeps its level within 0.1 dB and 40 dB of signal to noise, in the last channel, with calls
/// of the measured length.
Check PreservesTone(const StreamMaker& maker, const Rates& rates, std::size_t frames)
{
    return [maker, rates, frames]() -> std::optional<std::string> {
        const ToneResult tone = PlayTone(maker, rates, frames, kLowTone, 1.5, rates.channels - 1);
        if (std::abs(tone.level - kToneLevel) > 0.1 || tone.signalToNoise < 40) {
            return "the tone is at " + std::to_string(tone.level) + " dBFS, " + std::to_string(tone.signalToNoise) +
                   " dB above the noise";
        }
        return std::nullopt;
    };
}

/// The filter of one variant, with a filter bank of that variant.
class FilterOnly {
public:
    FilterOnly(const Bench& bench, const std::string& prefix, const Direction& direction, std::size_t frames)
        : run_(Symbol<decltype(run_)>(bench, prefix + "ippsResamplePolyphaseFixed_16s")), frames_(frames),
          input_(frames + 64), output_(2 * frames + 64)
    {
        int size = 0;
        int length = 0;
        int height = 0;
        const auto from = static_cast<int>(direction.from);
        const auto to = static_cast<int>(direction.to);
        Symbol<decltype(&ippsResamplePolyphaseFixedGetSize_16s)>(
            bench, prefix + "ippsResamplePolyphaseFixedGetSize_16s")(from, to, kTaps, &size, &length, &height,
                                                                     ippAlgHintFast);
        block_.resize(static_cast<std::size_t>(size) / sizeof(Line) + 1);
        Symbol<decltype(&ippsResamplePolyphaseFixedInit_16s)>(bench, prefix + "ippsResamplePolyphaseFixedInit_16s")(
            from, to, kTaps, 1.0F, 9.0F, Bank(), ippAlgHintFast);
        std::minstd_rand random(3);
        std::uniform_int_distribution<int> values(-32000, 32000);
        for (std::int16_t& sample : input_) {
            sample = static_cast<std::int16_t>(values(random));
        }
    }

    std::size_t Run()
    {
        double time = kTaps / 2 + 1;
        int outputs = 0;
        run_(input_.data(), static_cast<int>(frames_), output_.data(), 1.0F, &time, &outputs, Bank());
        return static_cast<std::size_t>(outputs);
    }

    const std::vector<std::int16_t>& Output() const { return output_; }

private:
    struct alignas(64) Line {
        std::byte bytes[64];
    };
    static constexpr int kTaps = 32;

    template <typename F>
    static F Symbol(const Bench& bench, const std::string& name)
    {
        return bench.module.Symbol<F>(name.c_str());
    }
    IppsResamplingPolyphaseFixed_16s* Bank()
    {
        return reinterpret_cast<IppsResamplingPolyphaseFixed_16s*>(block_.data());
    }

    decltype(&ippsResamplePolyphaseFixed_16s) run_;
    std::size_t frames_;
    std::vector<std::int16_t> input_;
    std::vector<std::int16_t> output_;
    std::vector<Line> block_;
};

/// Compares with the variant for the oldest CPUs, sample by sample.
Check MatchesBaselineVariant(const Bench& bench, const std::shared_ptr<FilterOnly>& run, const Direction& direction,
                             std::size_t frames)
{
    return [&bench, run, direction, frames]() -> std::optional<std::string> {
        FilterOnly oldest(bench, "m7_", direction, frames);
        if (run->Run() != oldest.Run() || run->Output() != oldest.Output()) {
            return "the output differs from that of the oldest variant";
        }
        return std::nullopt;
    };
}

/// The filter alone as the baseline for that many samples. It processes more of them in one call, so that its set-up
/// does not count, and is charged by the sample.
Contender FilterBaseline(const Bench& bench, const Direction& direction, std::size_t samples)
{
    const auto run = std::make_shared<FilterOnly>(bench, "", direction, kFilterFrames);
    Contender contender = MakeContender(
        "filter alone", Role::Baseline, [run] { run->Run(); },
        MatchesBaselineVariant(bench, run, direction, kFilterFrames));
    contender.timer = [runs = contender.timer, samples](int calls) {
        const double share = static_cast<double>(samples) / kFilterFrames;
        return runs(std::max(1, static_cast<int>(calls * share))) * share;
    };
    return contender;
}

Workload MakeResampling(const Bench& bench, const Direction& direction, std::uint32_t channels, std::size_t frames)
{
    const Rates rates{direction.from, direction.to, channels};
    const auto engine = std::make_shared<ResamplerStream>(bench.spread, rates, frames);
    Workload workload;
    workload.sliceSeconds = kSliceSeconds;
    workload.prepare = [] {};
    workload.contenders.push_back(MakeContender(
        "engine", Role::Library, [engine] { engine->Call(); }, PreservesTone(EngineMaker(bench), rates, frames)));
    workload.contenders.push_back(FilterBaseline(bench, direction, channels * frames));
    for (const auto& peer : bench.peers) {
        for (const StreamMaker& maker : peer->Resamplers()) {
            const bool suffices =
                std::all_of(std::begin(kDirections), std::end(kDirections),
                            [&](const Direction& each) { return QualityOf(maker, each).MeetsTarget(); });
            const auto out = std::make_shared<std::vector<std::int16_t>>((2 * frames + 16384) * channels);
            const Stream stream = maker.make(rates, frames);
            const auto* const in = reinterpret_cast<const std::int16_t*>(engine->In().planes.front());
            const std::size_t capacity = out->size() / channels;
            workload.contenders.push_back(MakeContender(
                maker.name, suffices ? Role::Peer : Role::Other,
                [stream, in, frames, out, capacity] { stream(in, frames, out->data(), capacity); },
                PreservesTone(maker, rates, frames)));
        }
    }
    workload.targets = {{Role::Peer, frames == 160 ? 2.5 : 4.0}};
    if (frames != 160) {
        workload.targets.push_back({Role::Baseline, 0.85});
    }
    return workload;
}

/// The content of the samples must not change the time. The workloads above check the stream.
Workload MakeContent(const Bench& bench, Content content)
{
    constexpr Rates kRates{44100, 48000, 2};
    constexpr std::size_t kFrames = 4800;
    Workload workload;
    workload.sliceSeconds = kSliceSeconds;
    workload.prepare = [] {};
    for (const auto& [of, role] : {std::pair(content, Role::Library), std::pair(Content::Noise, Role::Baseline)}) {
        const auto stream = std::make_shared<ResamplerStream>(bench.spread, kRates, kFrames, of);
        workload.contenders.push_back(MakeContender(NameOf(of), role, [stream] { stream->Call(); }, {}));
    }
    workload.targets = {{Role::Baseline, 0.95}};
    return workload;
}

struct Variant {
    const char* prefix;
    const char* name;
    std::size_t registerBytes;
    double share;
};

constexpr Variant kVariants[] = {{"k0_", "AVX-512", 64, 0.25}, {"l9_", "AVX2", 32, 0.2}};

Workload MakeFilterOnly(const Bench& bench, const Variant& variant, const Direction& direction)
{
    const auto run = std::make_shared<FilterOnly>(bench, variant.prefix, direction, kFilterFrames);
    Workload workload;
    workload.prepare = [] {};
    const Job adds = MultiplyAdds(kFilterFrames * direction.to / direction.from, variant.registerBytes);
    if (!adds) {
        return workload; // not on this CPU
    }
    workload.contenders.push_back(MakeContender(
        "run", Role::Library, [run] { run->Run(); }, MatchesBaselineVariant(bench, run, direction, kFilterFrames)));
    workload.contenders.push_back(MakeContender("multiply-adds", Role::Baseline, adds, {}));
    workload.fixedVariant = true;
    workload.contenders.front().instructionSet = variant.name;
    workload.targets = {{Role::Baseline, variant.share}};
    return workload;
}

std::string Text(const Direction& direction)
{
    return std::to_string(direction.from) + " to " + std::to_string(direction.to);
}

} // namespace

std::vector<Quality> MeasureQualities(const Bench& bench)
{
    std::vector<StreamMaker> makers = {EngineMaker(bench)};
    for (const auto& peer : bench.peers) {
        for (const StreamMaker& maker : peer->Resamplers()) {
            makers.push_back(maker);
        }
    }
    std::vector<Quality> qualities;
    for (const StreamMaker& maker : makers) {
        for (const Direction& direction : kDirections) {
            qualities.push_back(QualityOf(maker, direction));
        }
    }
    return qualities;
}

void AddResampling(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    for (const std::size_t frames : {160U, 1024U, 4800U}) {
        for (const std::uint32_t channels : {1U, 2U}) {
            for (const Direction& direction : kDirections) {
                factories.push_back(
                    {"Resampling",
                     Text(direction) + (channels == 1 ? ", mono, " : ", stereo, ") + std::to_string(frames) + " frames",
                     [&bench, direction, channels, frames] {
                         return MakeResampling(bench, direction, channels, frames);
                     }});
            }
        }
    }
    for (const Variant& variant : kVariants) {
        for (const Direction& direction : kDirections) {
            factories.push_back({"Filter kernel", std::string(variant.name) + ", " + Text(direction),
                                 [&bench, variant, direction] { return MakeFilterOnly(bench, variant, direction); }});
        }
    }
    for (const Content content : {Content::Silence, Content::FadeTail}) {
        factories.push_back({"Silence, fade tails and denormals", std::string("resampling, ") + NameOf(content),
                             [&bench, content] { return MakeContent(bench, content); }});
    }
}

} // namespace bench
