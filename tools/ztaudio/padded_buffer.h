/// Buffers for operations that mind the length of a block.
#pragma once

#include "host/audio_buffer.h"
#include "tools/ztaudio/sound_file_reader.h"

/// The frames of the blocks in which sounds are read.
inline constexpr sf_count_t kBlockFrames = 4096;

/// A buffer that holds `frames` frames with their padding.
zta::host::Ref<zta::host::AudioBuffer> MakeBuffer(const SZtaWaveFormatInfo& format, sf_count_t frames = kBlockFrames);

/// Gives the buffer `frames` frames of words, of which the first `given` come from `words` and the others are silence,
/// and continues it with silence to a whole number of four frames: the engine leaves a mono block of fewer unscaled,
/// and mistakes channels in the last three frames behind whole fours of a 16-channel split. Whoever reads results
/// takes no more than the `frames` frames.
void Fill(zta::host::AudioBuffer& buffer, const std::byte* words, sf_count_t given, sf_count_t frames);
