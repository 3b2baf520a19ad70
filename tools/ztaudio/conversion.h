/// The road of blocks through the engine, from one sample word to another.
#pragma once

#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/sample_format.h"

#include <vector>

class Conversion {
public:
    /// Throws Failure, with the engine's text, when the engine has no road for these words, or none for the fades.
    Conversion(EngineSession& engine, SampleFormat from, SampleFormat to, std::uint32_t channels, std::uint32_t rate,
               sf_count_t maxFrames, bool fades);

    /// Converts a block. The result is valid until the next call.
    const std::byte* Run(const Block& block);

private:
    /// Buffers, the file's first; each step copies one into the next.
    using BufferChain = std::vector<zta::host::Ref<zta::host::AudioBuffer>>;

    void ProcessChain(const BufferChain& road, const Block& block);

    EngineSession& engine_;
    BufferChain plain_;
    BufferChain faded_;
};
