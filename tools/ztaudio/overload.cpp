#include "tools/ztaudio/overload.h"

#include "tools/common/failure.h"
#include "tools/ztaudio/context.h"

#include <algorithm>
#include <cmath>

namespace {

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

// The samples that the engine's conversion wraps.
std::int64_t CountWrapped(std::span<const float> samples, SampleFormat to)
{
    const float scale = to == SampleFormat::Pcm16 ? 32767.0F : 1.0F;
    const float lowest = to == SampleFormat::Pcm16 ? std::nextafter(-32769.0F, 0.0F) : -1.0F;
    const float limit = to == SampleFormat::Pcm16 ? 32768.0F : 1.0F;
    std::int64_t count = 0;
    for (const float sample : samples) {
        const float scaled = sample * scale;
        count += scaled >= lowest && scaled < limit ? 0 : 1; // a NaN counts
    }
    return count;
}

} // namespace

void OverloadCounter::Add(std::int64_t samples)
{
    count_ += samples;
    if (policy_ == OverloadPolicy::Fail && count_ != 0) {
        throw Failure(name_ + ": has samples beyond full scale, and --overload fail was given");
    }
}

void OverloadCounter::Prepare(std::span<float> samples, SampleFormat to)
{
    if (policy_ == OverloadPolicy::Wrap) {
        Add(CountWrapped(samples, to));
        return;
    }
    const float lowest = LimitsFor(to).lowest;
    std::int64_t count = 0;
    for (const float sample : samples) {
        count += sample >= lowest && sample <= 1.0F ? 0 : 1; // a NaN counts
    }
    Add(count);
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

void LimitToFullScale(std::span<float> samples, SampleFormat to)
{
    const auto [lowest, largest] = LimitsFor(to);
    for (float& sample : samples) {
        sample = std::isnan(sample) ? 0.0F : std::clamp(sample, lowest, largest);
    }
}
