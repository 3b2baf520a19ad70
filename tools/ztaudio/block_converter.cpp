#include "tools/ztaudio/block_converter.h"

#include "tools/ztaudio/gains.h"

#include <algorithm>
#include <cmath>
#include <vector>

BlockConverter::BlockConverter(EngineSession& engine, SampleSource& sound, SampleFormat to, OverloadCounter& overloads,
                               sf_count_t blockFrames)
    : sound_(sound), overloads_(overloads), blocks_(sound, blockFrames, false, false),
      conversion_(engine, sound.Format(), to, sound.Channels(), blocks_.MaxFrames(), false, overloads),
      isConverted_(sound.Format() != to)
{
    if (isConverted_) {
        blocks_.ReadInto(conversion_.Input());
    }
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
    const std::byte* const samples = Samples(first);
    return isConverted_ ? conversion_.Run({.samples = samples, .frames = frames}) : samples;
}

const std::byte* BlockConverter::Convert(sf_count_t first, sf_count_t frames, std::span<int> gains)
{
    if (gains.empty()) {
        return Convert(first, frames);
    }
    if (sound_.Format() == SampleFormat::Float32 && overloads_.Policy() != OverloadPolicy::Wrap) {
        const auto* const samples = reinterpret_cast<const float*>(Samples(first));
        return conversion_.Run({.samples = ScaleDown(samples, frames, gains), .frames = frames});
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
    if (std::ranges::max(gains) <= kUnityGain) {
        return;
    }
    constexpr std::int64_t kFullScale = std::int64_t{1} << 31;
    const auto limit = [&](std::size_t channel) { return kFullScale * kUnityGain / std::max(gains[channel], 1); };
    highest_.Set(gains.size(), frames, [&](std::size_t channel) { return std::min(limit(channel), kFullScale - 1); });
    lowest_.Set(gains.size(), frames, [&](std::size_t channel) { return std::max(-limit(channel), -kFullScale); });
    const auto* const values = reinterpret_cast<const std::int32_t*>(samples);
    std::uint32_t overloads = 0;
    highest_.ForPieces([&](std::size_t first, std::size_t count) {
        const std::int32_t* const piece = values + first;
        for (std::size_t i = 0; i < count; ++i) {
            overloads +=
                static_cast<std::uint32_t>(piece[i] > highest_[i]) | static_cast<std::uint32_t>(piece[i] < lowest_[i]);
        }
    });
    overloads_.Add(overloads);
}

const std::byte* BlockConverter::ScaleDown(const float* samples, sf_count_t frames, std::span<int> gains)
{
    const std::size_t channels = gains.size();
    const std::size_t count = static_cast<std::size_t>(frames) * channels;
    const bool hasOverload = HasOverload({samples, count});
    if (!hasOverload && std::ranges::max(gains) <= kUnityGain) {
        return reinterpret_cast<const std::byte*>(samples);
    }
    factors_.Set(channels, frames, [&](std::size_t c) { return static_cast<float>(gains[c]) / kUnityGain; });
    peaks_.Set(channels, frames, [](std::size_t /*c*/) { return 0.0F; });
    std::uint32_t overloads = 0;
    factors_.ForPieces([&](std::size_t first, std::size_t length) {
        const float* const piece = samples + first;
        for (std::size_t i = 0; i < length; ++i) {
            const float magnitude = std::abs(piece[i]);
            peaks_[i] = std::max(peaks_[i], magnitude); // ignores a NaN
            overloads += static_cast<std::uint32_t>(!(magnitude * factors_[i] <= 1.0F));
        }
    });
    overloads_.Add(overloads);
    if (!hasOverload) {
        return reinterpret_cast<const std::byte*>(samples);
    }
    std::vector<float> scales(channels, 1.0F);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const float peak = peaks_.Max(channel);
        // The engine limits the largest gain to one step less.
        while (peak * scales[channel] > 1.0F && gains[channel] > 0 && 2 * gains[channel] < kMaxGain) {
            scales[channel] /= 2;
            gains[channel] *= 2;
        }
    }
    factors_.Set(channels, frames, [&](std::size_t c) { return scales[c]; });
    scaled_.resize(count);
    factors_.ForPieces([&](std::size_t first, std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) {
            scaled_[first + i] = samples[first + i] * factors_[i];
        }
    });
    LimitToFullScale(scaled_, SampleFormat::Pcm24In32);
    return reinterpret_cast<const std::byte*>(scaled_.data());
}
