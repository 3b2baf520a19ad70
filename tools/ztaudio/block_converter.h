/// A sound file on its way into an operation: in blocks of the words that the operation takes.
#pragma once

#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/clip_detector.h"
#include "tools/ztaudio/conversion.h"
#include "tools/ztaudio/padded_buffer.h"

class BlockConverter {
public:
    /// Throws Failure, with the engine's text, when the engine has no road to `word`.
    BlockConverter(EngineSession& engine, SoundFileReader& sound, SampleFormat word,
                   sf_count_t blockFrames = kBlockFrames);

    /// Gives the next block, of `blockFrames` frames until the last one, valid until the next call; no frames at the
    /// end.
    Block Next();

    /// Frames given so far.
    sf_count_t Given() const { return given_; }

    /// Notes what has been lost on the way.
    void ReportLoss(const Context& context) const;

private:
    SoundFileReader& sound_;
    BlockReader blocks_;
    Conversion conversion_;
    ClipDetector fullScale_;
    sf_count_t given_ = 0;
};
