#include "tools/ztaudio/block_reader.h"

#include <algorithm>
#include <cstring>

BlockReader::BlockReader(SampleSource& sound, sf_count_t blockFrames, bool fadeIn, bool fadeOut)
    : sound_(sound), blockFrames_(blockFrames), fadeIn_(fadeIn), fadeOut_(fadeOut),
      frameBytes_(BytesOf(sound.Format()) * sound.Channels()),
      held_(static_cast<std::size_t>(MaxFrames() + kFadeFrames) * frameBytes_), memory_(held_.data())
{
}

void BlockReader::ReadInto(std::byte* memory)
{
    if (!HasFades()) {
        memory_ = memory;
    }
}

sf_count_t BlockReader::MaxFrames() const
{
    return std::max(blockFrames_, 2 * kFadeFrames);
}

bool BlockReader::Next(Block& block)
{
    if (!HasFades()) {
        block = {memory_, sound_.Read(memory_, blockFrames_), false, false};
        return block.frames > 0;
    }
    const auto bytes = [this](sf_count_t frames) { return static_cast<std::size_t>(frames) * frameBytes_; };
    heldFrames_ -= givenFrames_;
    std::memmove(held_.data(), held_.data() + bytes(givenFrames_), bytes(heldFrames_));

    // Frames that a fade-out may need are held until the end of the file is known.
    const sf_count_t kept = fadeOut_ ? kFadeFrames : 0;
    const sf_count_t wanted = first_ && fadeIn_ ? kFadeFrames : blockFrames_;
    if (heldFrames_ < wanted + kept) {
        heldFrames_ += sound_.Read(held_.data() + bytes(heldFrames_), wanted + kept - heldFrames_);
    }
    const bool atEnd = heldFrames_ < wanted + kept;

    block = {held_.data(), wanted, first_ && fadeIn_, false};
    if (atEnd && (block.fadeIn || heldFrames_ <= kept)) {
        block.frames = heldFrames_;
        block.fadeOut = fadeOut_;
    } else if (atEnd) {
        block.frames = heldFrames_ - kept;
    }
    givenFrames_ = block.frames;
    first_ = false;
    return block.frames > 0;
}
