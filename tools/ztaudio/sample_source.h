/// Where a command reads its samples from: a file, or a step that changes the samples of another source.
#pragma once

#include "tools/ztaudio/sample_format.h"

#include <sndfile.h>

class SampleSource {
public:
    SampleSource() = default;
    virtual ~SampleSource() = default;
    SampleSource(const SampleSource&) = delete;
    SampleSource& operator=(const SampleSource&) = delete;

    /// The sample format of the samples that Read returns.
    virtual SampleFormat Format() const = 0;
    virtual std::uint32_t Channels() const = 0;
    virtual std::uint32_t Rate() const = 0;

    /// The length of the sound in sample frames, 0 if it is not known.
    virtual sf_count_t Frames() const = 0;

    /// Reads up to `frames` sample frames. Returns fewer only at the end of the sound.
    virtual sf_count_t Read(void* samples, sf_count_t frames) = 0;
};
