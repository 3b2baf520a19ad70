/// Reads a sound in blocks and converts them to the sample format of an operation.
#pragma once

#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/channel_values.h"
#include "tools/ztaudio/conversion.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/padded_buffer.h"

#include <span>
#include <vector>

class BlockConverter {
public:
    BlockConverter(EngineSession& engine, SampleSource& sound, SampleFormat to, OverloadCounter& overloads,
                   sf_count_t blockFrames = kBlockFrames);

    /// Reads the next block and returns its frames, 0 at the end.
    sf_count_t Next();

    /// The frames of the current block, and of all blocks so far.
    sf_count_t BlockFrames() const { return block_.frames; }
    sf_count_t TotalFrames() const { return totalFrames_; }

    /// Converts frames of the current block, which is converted in the order of its frames. The result is valid until
    /// the next call.
    const std::byte* Convert(sf_count_t first, sf_count_t frames);

    /// Converts frames of the current block to 24-in-32 for an operation that applies gains to them, and counts the
    /// samples that pass full scale with these gains.
    ///
    /// gains  for each channel. Floats beyond full scale are divided by a power of two before the conversion, as far as
    ///        the gain can be multiplied by it; such gains are replaced. So the gain can bring them below full scale.
    const std::byte* Convert(sf_count_t first, sf_count_t frames, std::span<int> gains);

    /// Converts the current block like that, in spans of frames over which no gain changes. Calls
    /// step(samples, frames, gains) for each.
    template <typename Step>
    void ConvertSpans(Gains& gains, Step step)
    {
        gains.ForConstantGains(totalFrames_ - block_.frames, block_.frames,
                               [&](sf_count_t first, sf_count_t frames, std::span<const int> current) {
                                   gains_.assign(current.begin(), current.end());
                                   const std::byte* const samples = Convert(first, frames, gains_);
                                   step(samples, frames, std::span<const int>(gains_));
                               });
    }

private:
    const std::byte* Samples(sf_count_t first) const;
    const std::byte* ScaleDown(const float* samples, sf_count_t frames, std::span<int> gains);
    void CountOverloads(const std::byte* samples, sf_count_t frames, std::span<const int> gains);

    SampleSource& sound_;
    OverloadCounter& overloads_;
    BlockReader blocks_;
    Conversion conversion_;
    bool isConverted_;
    Block block_;
    sf_count_t totalFrames_ = 0;
    ChannelValues<float> factors_;
    ChannelValues<float> peaks_;
    ChannelValues<std::int32_t> highest_; ///< that pass not full scale
    ChannelValues<std::int32_t> lowest_;
    std::vector<float> scaled_;
    std::vector<int> gains_; ///< of the current span, as Convert leaves them
};
