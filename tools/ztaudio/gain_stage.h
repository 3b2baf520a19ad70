/// The engine's gain operation for any number of channels.
#pragma once

#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/padded_buffer.h"

#include <span>
#include <vector>

/// Gains as the engine's records, with a gain of 1 for each padding channel.
class VolumeRecords {
public:
    /// Returns `channels` records; none if there are no gains. Valid until the next call.
    Volumes Set(std::span<const int> gains, std::uint32_t channels);

private:
    std::vector<SZtAudioMonoVolumeInfo> records_;
};

/// Applies gains to 24-in-32 samples. Blocks are completed with silent channels to a width of the engine.
class GainStage {
public:
    GainStage(EngineSession& engine, std::uint32_t channels);

    /// gains  in 1/4096, one for each channel
    /// Returns the result, valid until the next call.
    const std::byte* Run(const std::byte* samples, sf_count_t frames, std::span<const int> gains);

private:
    EngineSession& engine_;
    std::uint32_t channels_;
    VolumeRecords volumes_;
    zta::host::Ref<zta::host::AudioBuffer> input_;
    zta::host::Ref<zta::host::AudioBuffer> output_;
    std::vector<std::byte> result_;
};
