/// Reads a sound in blocks whose limits keep fades independent of the block size.
#pragma once

#include "tools/ztaudio/sample_source.h"

#include <cstddef>
#include <vector>

/// The frames of a fade of the engine.
inline constexpr sf_count_t kFadeFrames = 200;

struct Block {
    const std::byte* samples = nullptr;
    sf_count_t frames = 0;
    bool fadeIn = false;
    bool fadeOut = false;
};

/// Reads blocks of `blockFrames` frames, the last one shorter. A fade has a block of exactly its own length at the
/// start or the end of the file; a file that is too short for the blocks of its fades is one block.
class BlockReader {
public:
    BlockReader(SampleSource& sound, sf_count_t blockFrames, bool fadeIn, bool fadeOut);

    /// The length of the longest block that Next returns.
    sf_count_t MaxFrames() const;

    /// Where the caller needs the samples: memory for MaxFrames() frames. Blocks of a sound without fades are read
    /// there directly.
    void ReadInto(std::byte* memory);

    /// Reads the next block, valid until the next call. Returns false at the end.
    bool Next(Block& block);

private:
    bool HasFades() const { return fadeIn_ || fadeOut_; }

    SampleSource& sound_;
    sf_count_t blockFrames_;
    bool fadeIn_;
    bool fadeOut_;
    bool first_ = true;
    std::size_t frameBytes_;
    std::vector<std::byte> held_;
    std::byte* memory_; ///< for blocks
    sf_count_t heldFrames_ = 0;
    sf_count_t givenFrames_ = 0; ///< of those held
};
