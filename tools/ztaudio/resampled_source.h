/// A sound at the other rate, as 16-bit samples.
#pragma once

#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/resample_stream.h"

#include <optional>
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

    /// Returns what one block of the source becomes, valid until the next call. Returns false at the end. A sound is
    /// read with Read or with this function.
    bool Next(Block& block);

private:
    /// Puts the next block of the source into the inputs of the streams. Returns its frames, 0 at the end.
    sf_count_t FillInputs();
    void Distribute(const std::byte* samples, sf_count_t frames);
    void Store(std::size_t stream, const ResampleStream::Result& result);

    SampleSource& source_;
    std::uint32_t rate_;
    sf_count_t blockFrames_;
    std::optional<BlockConverter> feed_; ///< if the source has samples of another format
    std::uint32_t channelsPerStream_;
    std::vector<ResampleStream> streams_;
    std::vector<std::byte> input_;  ///< a block of the source, if its channels are resampled one by one
    std::vector<std::byte> output_; ///< a resampled block, in the same case
    Block block_;                   ///< of which Read has returned some frames
    sf_count_t readFrames_ = 0;
    bool isAtEnd_ = false;
};
