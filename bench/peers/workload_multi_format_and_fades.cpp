#include "bench/common/models.h"
#include "bench/peers/workload.h"

#include <cmath>

namespace bench {

namespace {

constexpr std::size_t kFrames = 4800;
constexpr std::size_t kFadeFrames = 200;

struct CopyCase {
    Sample from;
    Sample to;
    std::uint32_t channels;
};

/// Bit-exact in the middle; within 2^-10 of 1 - (1 - t)^2 in the faded edges.
Check ReferenceFadeInOut(const BufferLayout& in, const BufferLayout& out)
{
    return [in, out]() -> std::optional<std::string> {
        const std::vector<std::byte> plain = Converted(in, out);
        const std::size_t bytes = BytesOf(out.sample);
        for (std::size_t i = 0; i < out.frames * out.channelsOfPlane; ++i) {
            const std::size_t frame = i / out.channelsOfPlane;
            const std::size_t fromEdge = std::min(frame, out.frames - 1 - frame);
            const double left = fromEdge < kFadeFrames ? 1 - static_cast<double>(fromEdge + 1) / kFadeFrames : 0.0;
            const double expected = ValueAt(out.sample, plain.data() + i * bytes) * (1 - left * left);
            const double found = ValueAt(out.sample, out.planes.front() + i * bytes);
            if (std::abs(found - expected) > (fromEdge < kFadeFrames ? 0x1p-10 : 0.0)) {
                return "frame " + std::to_string(frame) + " is " + std::to_string(found) + " instead of " +
                       std::to_string(expected);
            }
        }
        return std::nullopt;
    };
}

Workload MakeCopy(const Bench& bench, const CopyCase& copyCase, bool fades)
{
    const std::size_t samples = kFrames * copyCase.channels;
    const std::size_t capacity = PassCapacity(samples * BytesOf(copyCase.from), samples * BytesOf(copyCase.to));
    const auto memory = std::make_shared<Memory>(2 * Memory::RequiredBytes(capacity, Placement::Staggered));
    const BufferLayout in =
        MakeLayout(memory, copyCase.from, copyCase.channels, 1, kFrames, Placement::Staggered, capacity);
    const BufferLayout out =
        MakeLayout(memory, copyCase.to, copyCase.channels, 1, kFrames, Placement::Staggered, capacity);
    Workload workload;
    workload.prepare = [in, out] {
        Fill(in, Content::Noise);
        Poison(out);
    };
    workload.contenders.push_back(
        MakeContender("engine", Role::Library, CopyJob(bench.spread, in, out, fades),
                      fades ? ReferenceFadeInOut(in, out) : EqualTo(out, [in, out] { return Converted(in, out); })));
    AddBounds(workload, OnePass(in, out));
    workload.targets = {{Role::Bound, 0.8}};
    return workload;
}

std::string NameOf(const CopyCase& copyCase)
{
    return std::string(NameOf(copyCase.from)) + " to " + NameOf(copyCase.to) + ", " +
           std::to_string(copyCase.channels) + " ch, " + std::to_string(kFrames) + " frames";
}

} // namespace

void AddMultiFormatsAndFades(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    using enum Sample;
    constexpr CopyCase kWords[] = {{Multi24, Int24In32, 2}, {Multi24, Int24In32, 16}, {Multi16, Int16, 2}};
    constexpr CopyCase kFades[] = {{Int24In32, Int24In32, 1},  {Int24In32, Int24In32, 2}, {Int24In32, Int24In32, 8},
                                   {Int24In32, Int24In32, 16}, {Int16, Int16, 1},         {Int16, Int16, 2},
                                   {Int16, Int16, 8},          {Int16, Int16, 16},        {Int16, Int24In32, 2}};
    for (const CopyCase& copyCase : kWords) {
        factories.push_back(
            {"Multi-format words", NameOf(copyCase), [&bench, copyCase] { return MakeCopy(bench, copyCase, false); }});
    }
    for (const CopyCase& copyCase : kFades) {
        factories.push_back({"Copies with both fades", NameOf(copyCase),
                             [&bench, copyCase] { return MakeCopy(bench, copyCase, true); }});
    }
}

} // namespace bench
