/// One stream of 16-bit sound through the engine's resampling operation, from its first sample to the drain.
#pragma once

#include "tools/ztaudio/engine_session.h"

#include <sndfile.h>

/// Returns the sample frames that a sound of `frames` frames has at the other rate, rounded to the nearest duration.
sf_count_t ResampledFrames(sf_count_t frames, std::uint32_t from, std::uint32_t to);

/// The most frames that the engine accepts in one buffer, for both directions and any number of channels.
inline constexpr sf_count_t kMostResampledFrames = 88199;

class ResampleStream {
public:
    struct Result {
        const std::byte* samples; ///< valid until the next call
        sf_count_t frames;
    };

    /// Throws Failure, with the engine's text, if there is no such stream.
    ResampleStream(EngineSession& engine, std::uint32_t channels, std::uint32_t from, std::uint32_t to,
                   sf_count_t maxFrames);

    /// Where the caller puts the next frames.
    std::byte* Input() { return input_->Data(); }

    /// Resamples the first `frames` frames of Input(), at least one. The result may be empty because of the latency.
    Result Next(sf_count_t frames);

    /// Drains the stream after the last input: resamples silence, block by block, until the sound has its exact length.
    /// Returns false when it has.
    bool Tail(Result& result);

private:
    Result Run(std::size_t frames);

    EngineSession& engine_;
    std::uint32_t from_;
    std::uint32_t to_;
    zta::host::Ref<zta::host::AudioBuffer> input_;
    zta::host::Ref<zta::host::AudioBuffer> output_;
    zta::host::Ref<IUnknown> resampler_;
    sf_count_t given_ = 0;
    sf_count_t written_ = 0;
};
