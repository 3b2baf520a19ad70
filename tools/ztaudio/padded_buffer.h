/// Buffers for operations that depend on the length or the number of channels of a block.
#pragma once

#include "host/audio_buffer.h"
#include "tools/ztaudio/sample_format.h"

#include <sndfile.h>

/// The frames of the blocks in which sounds are read.
inline constexpr sf_count_t kBlockFrames = 4096;

/// The most channels of a file that is processed.
inline constexpr std::uint32_t kMaxChannels = 64;

/// The number of channels of the buffer for `channels` channels: the next one of 4, 8, 16, 32 and 64, or 1 or 2.
std::uint32_t PaddedChannels(std::uint32_t channels);

/// Creates a buffer of `frames` frames and their padding.
zta::host::Ref<zta::host::AudioBuffer> MakeBuffer(const SZtaWaveFormatInfo& format, sf_count_t frames = kBlockFrames);

/// Some channels of an interleaved block.
struct Interleaved {
    const std::byte* samples = nullptr; ///< of the first of these channels
    std::uint32_t stride = 1;           ///< channels of the block
    std::uint32_t channels = 1;
};

/// Copies `channels` channels of `frames` frames from one interleaved block to another. The strides are the channels
/// of the blocks.
void CopyChannels(const std::byte* from, std::uint32_t fromStride, std::byte* to, std::uint32_t toStride,
                  std::uint32_t channels, sf_count_t frames, std::size_t sampleBytes);

/// Fills the first channels of the buffer with `given` frames of the source. All other samples are silence, up to
/// `frames` frames, which become the length of the buffer.
void FillChannels(zta::host::AudioBuffer& buffer, const Interleaved& source, sf_count_t given, sf_count_t frames,
                  std::size_t sampleBytes);

/// Fills the buffer like FillChannels, and continues it with silence to a multiple of four frames: the engine does not
/// scale a shorter mono block, and confuses channels in the last three frames of a 16-channel block otherwise. The
/// caller uses only the first `frames` frames of the result.
void Fill(zta::host::AudioBuffer& buffer, const Interleaved& source, sf_count_t given, sf_count_t frames);
