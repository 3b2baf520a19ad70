#include "bench/common/models.h"
#include "bench/peers/simd_copies.h"
#include "bench/peers/workload.h"
#include "kernels/loops/loops.h"

#include <algorithm>
#include <cstring>

namespace bench {

namespace {

struct LoopEntry {
    const char* name;
    Sample from;
    Sample to;
    ZtaConversion SZtaSampleLoops::*loop;
};

struct Variant {
    const char* name;
    const char* instructionSet;
    std::size_t registerBytes;
};
constexpr Variant kVariants[] = {{"avx512", "AVX-512", 64}, {"avx2", "AVX2", 32}};

constexpr std::uint32_t kChannels = 2;

/// The loop of each variant, without the call around it, and copies of the same cache lines with the same registers.
Workload MakeLoop(const LoopEntry& entry, std::size_t bytes)
{
    const std::size_t frames = bytes / kChannels / std::max(BytesOf(entry.from), BytesOf(entry.to));
    const auto memory = std::make_shared<Memory>(2 * Memory::RequiredBytes(bytes, Placement::Staggered));
    const BufferLayout in = MakeLayout(memory, entry.from, kChannels, 1, frames, Placement::Staggered, bytes);
    const BufferLayout out = MakeLayout(memory, entry.to, kChannels, 1, frames, Placement::Staggered, bytes);
    std::byte* const to = out.planes.front();
    const std::byte* const from = in.planes.front();
    const std::size_t samples = frames * kChannels;
    Workload workload;
    workload.fixedVariant = true;
    workload.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    const Check converted = EqualTo(out, [in, out] { return Converted(in, out); });
    const Check copied = [to, from]() -> std::optional<std::string> {
        return std::memcmp(to, from, 32) == 0 ? std::nullopt : std::make_optional<std::string>("the copy differs");
    };
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    std::vector<Contender> copies;
    for (const Variant& variant : kVariants) {
        const SZtaSampleLoops* loops = ZtaFindLoops(variant.name, features);
        if (loops == nullptr) {
            continue;
        }
        const auto add = [&](std::vector<Contender>& contenders, const char* name, Role role, Job job,
                             const Check& check) {
            contenders.push_back(
                MakeContender(std::string(name) + ", " + variant.instructionSet, role, std::move(job), check));
            contenders.back().instructionSet = variant.instructionSet;
        };
        add(
            workload.contenders, "loop", Role::Library,
            [loop = loops->*entry.loop, from, to, samples] { loop(from, to, samples); }, converted);
        add(copies, "register copy", Role::Baseline,
            CopyOfSameLines({to, from, samples, BytesOf(entry.from), BytesOf(entry.to)}, variant.registerBytes),
            copied);
    }
    workload.contenders.insert(workload.contenders.end(), copies.begin(), copies.end());
    workload.targets = {{Role::Baseline, 0.9}};
    return workload;
}

} // namespace

void AddLoops(std::vector<WorkloadFactory>& factories, const Bench& /*bench*/)
{
    using enum Sample;
    constexpr LoopEntry kEntries[] = {
        {"16 to 24-in-32", Int16, Int24In32, &SZtaSampleLoops::pfn16To24},
        {"24-in-32 to 16", Int24In32, Int16, &SZtaSampleLoops::pfn24To16},
        {"16 to float", Int16, Float, &SZtaSampleLoops::pfn16To32f},
        {"float to 16", Float, Int16, &SZtaSampleLoops::pfn32fTo16},
        {"24-in-32 to float", Int24In32, Float, &SZtaSampleLoops::pfn24To32f},
        {"float to 24-in-32", Float, Int24In32, &SZtaSampleLoops::pfn32fTo24},
        {"24-in-24 to 24-in-32", Int24In24, Int24In32, &SZtaSampleLoops::pfn24To32},
        {"24-in-32 to 24-in-24", Int24In32, Int24In24, &SZtaSampleLoops::pfn32To24},
    };
    struct Size {
        std::size_t bytes;
        const char* name;
    };
    for (const LoopEntry& entry : kEntries) {
        for (const Size& size : {Size{16 << 10, "16 KiB"}, Size{512 << 10, "512 KiB"}}) {
            factories.push_back({"Conversion loops", std::string(entry.name) + ", " + size.name,
                                 [entry, bytes = size.bytes] { return MakeLoop(entry, bytes); }});
        }
    }
}

} // namespace bench
