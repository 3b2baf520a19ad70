#include "bench/peers/workload.h"

#include "bench/peers/simd_copies.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace bench {

namespace {

/// Returns the address of one channel's sample in a frame.
const std::byte* At(const BufferLayout& layout, std::size_t frame, std::uint32_t channel)
{
    const std::size_t inPlane = frame * layout.channelsOfPlane + channel % layout.channelsOfPlane;
    return layout.planes[channel / layout.channelsOfPlane] + inPlane * BytesOf(layout.sample);
}

std::optional<std::string> Wrong(std::size_t frame, std::uint32_t channel, double expected, double found)
{
    char text[128];
    std::snprintf(text, sizeof text, "frame %zu, channel %u: %.9g instead of %.9g", frame, channel, found, expected);
    return text;
}

} // namespace

Contender MakeContender(std::string name, Role role, Job job, Check check)
{
    Contender contender;
    contender.name = std::move(name);
    contender.role = role;
    contender.timer = TimerOf(job);
    contender.once = std::move(job);
    contender.check = std::move(check);
    return contender;
}

void AddBounds(Workload& workload, const std::vector<Pass>& passes)
{
    const Check copied = [last = passes.back()]() -> std::optional<std::string> {
        if (std::memcmp(last.to, last.from, last.bytes) != 0) {
            return "the copy differs";
        }
        return std::nullopt;
    };
    const auto add = [&](std::string name, auto copy) {
        const Job job = [passes, copy] {
            for (const Pass& pass : passes) {
                copy(pass.to, pass.from, pass.bytes);
            }
        };
        workload.contenders.push_back(MakeContender(std::move(name), Role::Bound, job, copied));
    };
    add("memcpy", CopyByLibrary);
    for (const SimdCopy& wide : AllSimdCopies()) {
        add(wide.name, wide.copy);
    }
}

std::vector<Pass> OnePass(const BufferLayout& in, const BufferLayout& out)
{
    const bool deinterleaves = out.planes.size() >= in.planes.size();
    const BufferLayout& many = deinterleaves ? out : in;
    const BufferLayout& few = deinterleaves ? in : out;
    std::vector<Pass> passes;
    const std::size_t bytes = (in.Bytes() + out.Bytes()) / 2 / many.planes.size();
    for (std::size_t i = 0; i < many.planes.size(); ++i) {
        std::byte* const whole = few.planes.front() + i * bytes;
        passes.push_back({deinterleaves ? many.planes[i] : whole, deinterleaves ? whole : many.planes[i], bytes});
    }
    return passes;
}

std::size_t PassCapacity(std::size_t inPlaneBytes, std::size_t outPlaneBytes)
{
    return std::max({inPlaneBytes, outPlaneBytes, (inPlaneBytes + outPlaneBytes + 1) / 2});
}

Check WithinTolerance(const BufferLayout& in, const BufferLayout& out, double tolerance, double gain)
{
    return [=]() -> std::optional<std::string> {
        for (std::size_t frame = 0; frame < in.frames; ++frame) {
            for (std::uint32_t channel = 0; channel < in.Channels(); ++channel) {
                const double expected = std::clamp(gain * ValueAt(in.sample, At(in, frame, channel)), -1.0, 1.0);
                const double found = ValueAt(out.sample, At(out, frame, channel));
                if (!(std::abs(expected - found) <= tolerance)) {
                    return Wrong(frame, channel, expected, found);
                }
            }
        }
        return std::nullopt;
    };
}

Check EqualTo(const BufferLayout& out, std::function<std::vector<std::byte>()> model)
{
    return [=]() -> std::optional<std::string> {
        const std::vector<std::byte> expected = model();
        for (std::size_t plane = 0; plane < out.planes.size(); ++plane) {
            const std::byte* const wanted = expected.data() + plane * out.PlaneBytes();
            const std::byte* const found = out.planes[plane];
            if (std::memcmp(wanted, found, out.PlaneBytes()) != 0) {
                const auto position = std::mismatch(wanted, wanted + out.PlaneBytes(), found).first - wanted;
                return "plane " + std::to_string(plane) + ": byte " + std::to_string(position) + " differs";
            }
        }
        return std::nullopt;
    };
}

} // namespace bench
