#include "tools/ztaudio/overload.h"

#include "tools/common/failure.h"
#include "tools/ztaudio/context.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace {

constexpr std::array<std::string_view, 3> kPolicyNames = {"clip", "wrap", "fail"}; // in the order of the values

constexpr float kLargestBelowFullScale = 0x1.fffffep-1F;

struct Limits {
    float lowest;
    float largest;
};

// The engine scales by 32767 for 16 bits, so that 1.0 becomes the largest sample, and the lowest one is a little below
// -1.0. For 24 bits it scales by 2^31, and 1.0 is beyond the largest sample.
Limits LimitsFor(SampleFormat to)
{
    return to == SampleFormat::Pcm16 ? Limits{-32768.0F / 32767.0F, 1.0F} : Limits{-1.0F, kLargestBelowFullScale};
}

// Loops over blocks, without branches: the compiler makes SIMD instructions of them. Counts of a block fit 32 bits.

/// The number of samples outside of a range. A NaN is outside.
std::int64_t CountOutside(std::span<const float> samples, float lowest, float highest)
{
    std::uint32_t count = 0;
    for (const float sample : samples) {
        count += static_cast<std::uint32_t>(!(sample >= lowest)) | static_cast<std::uint32_t>(!(sample <= highest));
    }
    return count;
}

// The samples that the engine's conversion wraps.
std::int64_t CountWrapped(std::span<const float> samples, SampleFormat to)
{
    const float scale = to == SampleFormat::Pcm16 ? 32767.0F : 1.0F;
    const float lowest = to == SampleFormat::Pcm16 ? std::nextafter(-32769.0F, 0.0F) : -1.0F;
    const float limit = to == SampleFormat::Pcm16 ? 32768.0F : 1.0F;
    std::uint32_t count = 0;
    for (const float sample : samples) {
        const float scaled = sample * scale;
        count += static_cast<std::uint32_t>(!(scaled >= lowest)) | static_cast<std::uint32_t>(!(scaled < limit));
    }
    return count;
}

} // namespace

std::string_view NameOf(OverloadPolicy policy)
{
    return kPolicyNames.at(static_cast<std::size_t>(policy));
}

std::optional<OverloadPolicy> ParseOverloadPolicy(std::string_view name)
{
    const auto* const found = std::ranges::find(kPolicyNames, name);
    return found == kPolicyNames.end() ? std::nullopt
                                       : std::optional(static_cast<OverloadPolicy>(found - kPolicyNames.begin()));
}

void OverloadCounter::Add(std::int64_t samples)
{
    count_ += samples;
    if (policy_ == OverloadPolicy::Fail && count_ != 0) {
        throw Failure(name_ + ": has samples beyond full scale, and --overload fail was given");
    }
}

void OverloadCounter::Prepare(std::span<float> samples, SampleFormat to)
{
    if (!HasOverload(samples)) {
        return;
    }
    if (policy_ == OverloadPolicy::Wrap) {
        Add(CountWrapped(samples, to));
        return;
    }
    Add(CountOutside(samples, LimitsFor(to).lowest, 1.0F));
    LimitToFullScale(samples, to);
}

void OverloadCounter::Report() const
{
    if (count_ != 0) {
        const std::string text = name_ + ": " + std::to_string(count_) +
                                 (count_ == 1 ? " sample beyond full scale" : " samples beyond full scale");
        PrintError(policy_ == OverloadPolicy::Wrap ? text + " wrapped around" : text + " clipped");
    }
}

bool HasOverload(std::span<const float> samples)
{
    // The bits of magnitudes are in the order of their values, and those of a NaN are above all. The addition sets the
    // highest bit for 1.0 and everything above it.
    constexpr std::uint32_t kMagnitude = 0x7FFFFFFF;
    constexpr std::uint32_t kBelowSign = 0x80000000 - std::bit_cast<std::uint32_t>(1.0F);
    std::uint32_t bits = 0;
    for (const float sample : samples) {
        bits |= (std::bit_cast<std::uint32_t>(sample) & kMagnitude) + kBelowSign;
    }
    return (bits & ~kMagnitude) != 0;
}

void LimitToFullScale(std::span<float> samples, SampleFormat to)
{
    const auto [lowest, largest] = LimitsFor(to);
    for (float& sample : samples) {
        const float limited = std::min(std::max(sample, lowest), largest);
        sample = std::isnan(sample) ? 0.0F : limited;
    }
}
