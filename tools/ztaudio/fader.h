/// Fades for blocks of any number of channels.
#pragma once

#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/sample_format.h"

#include <sndfile.h>

#include <vector>

/// The engine fades buffers of 1, 2, 4, 8 and 16 channels of 200 frames or more. Other blocks are completed with silent
/// channels and frames; more than 16 channels are faded 16 at a time.
class Fader {
public:
    /// format  16 or 24in32, the formats that have fades
    Fader(EngineSession& engine, SampleFormat format, std::uint32_t channels, sf_count_t maxFrames);

    /// Fades a block in place.
    void Run(std::byte* samples, sf_count_t frames, bool fadeIn, bool fadeOut);

private:
    struct Group {
        std::uint32_t first; ///< channel
        std::uint32_t channels;
        zta::host::Ref<zta::host::AudioBuffer> input;
        zta::host::Ref<zta::host::AudioBuffer> output;
    };

    EngineSession& engine_;
    SampleFormat format_;
    std::uint32_t channels_;
    std::vector<Group> groups_;
};
