#include "tools/ztaudio/gain_stage.h"

#include "tools/ztaudio/gains.h"

Volumes VolumeRecords::Set(std::span<const int> gains, std::uint32_t channels)
{
    if (gains.empty()) {
        return {};
    }
    records_.resize(channels);
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        const int gain = channel < gains.size() ? gains[channel] : kUnityGain;
        const float factor = static_cast<float>(gain) / kUnityGain;
        records_[channel] = {channel, factor, factor};
    }
    return records_;
}

GainStage::GainStage(EngineSession& engine, std::uint32_t channels)
    : engine_(engine), channels_(channels),
      input_(MakeBuffer(WaveFormat(SampleFormat::Pcm24In32, PaddedChannels(channels)))),
      output_(MakeBuffer(WaveFormat(SampleFormat::Pcm24In32, PaddedChannels(channels))))
{
}

const std::byte* GainStage::Run(const std::byte* samples, sf_count_t frames, std::span<const int> gains)
{
    const std::uint32_t width = PaddedChannels(channels_);
    const std::size_t sampleBytes = BytesOf(SampleFormat::Pcm24In32);
    Fill(*input_, {samples, channels_, channels_}, frames, frames);
    engine_.ApplyVolume(*input_, *output_, volumes_.Set(gains, width));
    if (width == channels_) {
        return output_->Data();
    }
    result_.resize(static_cast<std::size_t>(frames) * channels_ * sampleBytes);
    CopyChannels(output_->Data(), width, result_.data(), channels_, channels_, frames, sampleBytes);
    return result_.data();
}
