#include "tools/ztaudio/fader.h"

#include "host/formats.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/padded_buffer.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kMaxFadedChannels = 16;

} // namespace

Fader::Fader(EngineSession& engine, SampleFormat format, std::uint32_t channels, sf_count_t maxFrames)
    : engine_(engine), format_(format), channels_(channels)
{
    const sf_count_t frames = std::max(maxFrames, kFadeFrames);
    // Not fewer than 3 channels in the last group of a wide file: two channels have another arithmetic than many.
    for (std::uint32_t first = 0; first < channels; first += kMaxFadedChannels) {
        const std::uint32_t width = std::min(channels - first, kMaxFadedChannels);
        const std::uint32_t label = channels > 2 ? PaddedChannels(std::max(width, 3U)) : width;
        const SZtaWaveFormatInfo wave = WaveFormat(format, label);
        groups_.push_back({first, width, MakeBuffer(wave, frames), MakeBuffer(wave, frames)});
    }
}

void Fader::Run(std::byte* samples, sf_count_t frames, bool fadeIn, bool fadeOut)
{
    const std::size_t sampleBytes = BytesOf(format_);
    for (Group& group : groups_) {
        std::byte* const channels = samples + group.first * sampleBytes;
        const std::uint32_t width = group.input->Description().sWaveFormat.ulChannels;
        const sf_count_t length = channels_ > 2 ? std::max(frames, kFadeFrames) : frames;
        FillChannels(*group.input, {channels, channels_, group.channels}, frames, length, sampleBytes);
        group.input->SetFades(fadeIn, fadeOut);
        engine_.Copy(*group.input, *group.output);
        CopyChannels(group.output->Data(), width, channels, channels_, group.channels, frames, sampleBytes);
    }
}
