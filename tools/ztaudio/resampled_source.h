/// A sound at the other rate, as 16-bit samples.
#pragma once

#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/resample_stream.h"

#include <string>
#include <vector>

/// Throws Failure, with the limits and the next step, if the sound cannot be resampled to `rate`.
void RequireResamplable(const SampleSource& sound, const std::string& name, std::uint32_t rate);

/// Notes that the resampler processes 16-bit samples, if the sound or the output has others.
void NoteResampling(const SampleSource& sound, const std::string& name, SampleFormat to, const Context& context);

/// Converts the samples of another source to 16 bits and resamples them. The engine's streams have one or two channels;
/// a sound of more channels has one stream for each of them.
class ResampledSource : public SampleSource {
public:
    ResampledSource(EngineSession& engine, SampleSource& source, std::uint32_t rate, sf_count_t blockFrames,
                    OverloadCounter& overloads);

    SampleFormat Format() const override { return SampleFormat::Pcm16; }
    std::uint32_t Channels() const override { return source_.Channels(); }
    std::uint32_t Rate() const override { return rate_; }
    sf_count_t Frames() const override;
    sf_count_t Read(void* samples, sf_count_t frames) override;

private:
    /// Fills the output buffer. Returns false at the end.
    bool Refill();
    void Store(std::size_t stream, const ResampleStream::Result& result);

    SampleSource& source_;
    std::uint32_t rate_;
    BlockConverter feed_;
    std::uint32_t channelsPerStream_;
    std::vector<ResampleStream> streams_;
    std::vector<std::byte> plane_;
    std::vector<std::byte> output_;
    sf_count_t outputFrames_ = 0;
    sf_count_t readFrames_ = 0; ///< of the output buffer
    bool isAtEnd_ = false;
};
