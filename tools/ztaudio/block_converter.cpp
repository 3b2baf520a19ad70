#include "tools/ztaudio/block_converter.h"

#include "tools/ztaudio/gains.h"

#include <algorithm>
#include <cmath>

BlockConverter::BlockConverter(EngineSession& engine, SampleSource& sound, SampleFormat to, OverloadCounter& overloads,
                               sf_count_t blockFrames)
    : sound_(sound), overloads_(overloads), blocks_(sound, blockFrames, false, false),
      conversion_(engine, sound.Format(), to, sound.Channels(), blocks_.MaxFrames(), false, overloads)
{
}

sf_count_t BlockConverter::Next()
{
    if (!blocks_.Next(block_)) {
        block_ = {};
    }
    totalFrames_ += block_.frames;
    return block_.frames;
}

const std::byte* BlockConverter::Convert(sf_count_t first, sf_count_t frames)
{
    return conversion_.Run({.samples = Samples(first), .frames = frames});
}

const std::byte* BlockConverter::Convert(sf_count_t first, sf_count_t frames, std::span<int> gains)
{
    if (gains.empty()) {
        return Convert(first, frames);
    }
    if (sound_.Format() == SampleFormat::Float32 && overloads_.Policy() != OverloadPolicy::Wrap) {
        ScaleDown(reinterpret_cast<const float*>(Samples(first)), frames, gains);
        return conversion_.Run({.samples = reinterpret_cast<const std::byte*>(scaled_.data()), .frames = frames});
    }
    const std::byte* const result = Convert(first, frames);
    CountOverloads(result, frames, gains);
    return result;
}

const std::byte* BlockConverter::Samples(sf_count_t first) const
{
    return block_.samples + static_cast<std::size_t>(first) * sound_.Channels() * BytesOf(sound_.Format());
}

void BlockConverter::CountOverloads(const std::byte* samples, sf_count_t frames, std::span<const int> gains)
{
    const auto* sample = reinterpret_cast<const std::int32_t*>(samples);
    std::int64_t overloads = 0;
    for (sf_count_t frame = 0; frame < frames; ++frame) {
        for (const int gain : gains) {
            overloads += std::abs(std::int64_t{*sample++} * gain) > (std::int64_t{kUnityGain} << 31) ? 1 : 0;
        }
    }
    overloads_.Add(overloads);
}

void BlockConverter::ScaleDown(const float* samples, sf_count_t frames, std::span<int> gains)
{
    const std::size_t channels = gains.size();
    const std::size_t count = static_cast<std::size_t>(frames) * channels;
    scaled_.assign(samples, samples + count);
    std::int64_t overloads = 0;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const float gain = static_cast<float>(gains[channel]) / kUnityGain;
        float peak = 0.0F;
        for (std::size_t i = channel; i < count; i += channels) {
            const float magnitude = std::abs(samples[i]);
            peak = std::max(peak, magnitude); // ignores a NaN
            overloads += magnitude * gain <= 1.0F ? 0 : 1;
        }
        // The engine limits the largest gain to one step less.
        float scale = 1.0F;
        while (peak * scale > 1.0F && gains[channel] > 0 && 2 * gains[channel] < kMaxGain) {
            scale /= 2;
            gains[channel] *= 2;
        }
        for (std::size_t i = channel; scale < 1.0F && i < count; i += channels) {
            scaled_[i] *= scale;
        }
    }
    overloads_.Add(overloads);
    LimitToFullScale(scaled_, SampleFormat::Pcm24In32);
}
