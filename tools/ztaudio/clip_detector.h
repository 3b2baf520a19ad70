/// Floats that have no place among integers.
#pragma once

#include "tools/ztaudio/context.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <cstddef>

/// The engine does not saturate. This counts the samples that it cannot bring to integers as they are.
class ClipDetector {
public:
    ClipDetector(SampleFormat from, SampleFormat to);

    void Scan(const std::byte* words, std::size_t samples);

    /// Notes what was seen, if anything.
    void Report(const Context& context, const SoundFileReader& sound) const;

private:
    bool watching_;
    float scale_ = 1.0F;
    float lowest_ = -1.0F;
    float limit_ = 1.0F;
    long count_ = 0;
};
