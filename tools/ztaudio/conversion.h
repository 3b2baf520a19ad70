/// Converts blocks from one sample format to another through a chain of engine operations.
///
/// A conversion depends neither on the rate nor on the number of channels, so every block is labeled as mono at 48 kHz,
/// for which the engine has all conversions. A fade is a step of its own.
#pragma once

#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/fader.h"
#include "tools/ztaudio/overload.h"
#include "tools/ztaudio/sample_format.h"

#include <optional>
#include <vector>

class Conversion {
public:
    /// maxFrames  frames of the longest block
    /// hasFades   whether blocks with fades come
    /// overloads  counts the samples beyond full scale
    Conversion(EngineSession& engine, SampleFormat from, SampleFormat to, std::uint32_t channels, sf_count_t maxFrames,
               bool hasFades, OverloadCounter& overloads);

    /// Memory for a block without fades, which need not be copied then. Parts of it are converted in their order.
    std::byte* Input() { return plain_.buffers.front()->Data(); }

    /// Converts a block, and applies its fades. The result is valid until the next call.
    const std::byte* Run(const Block& block);

private:
    /// A buffer for each sample format on the way, the first for the input.
    struct Chain {
        std::vector<SampleFormat> formats;
        std::vector<zta::host::Ref<zta::host::AudioBuffer>> buffers;
    };

    Chain MakeChain(std::vector<SampleFormat> formats, sf_count_t maxFrames) const;

    EngineSession& engine_;
    std::uint32_t channels_;
    OverloadCounter& overloads_;
    Chain plain_;
    Chain faded_;
    std::optional<Fader> fader_;
};
