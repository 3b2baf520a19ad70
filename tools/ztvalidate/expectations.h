/// The expected samples of operations, from the reference models. They share no code with the library on purpose:
/// otherwise both could have the same error.
#pragma once

#include "tools/ztvalidate/guarded_buffer.h"

#include <zta/audio_records.h>

#include <vector>

namespace zta::validate {

/// Converts samples to another format with the same channels, by one of the engine's conversions.
Bytes Converted(const Bytes& samples, const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to);

/// Applies fades to samples of a format that the engine can fade.
Bytes Faded(Bytes samples, const SZtaWaveFormatInfo& format, bool fadeIn, bool fadeOut);

/// Applies a gain ramp for each channel to 24-in-32 samples.
Bytes Scaled(const Bytes& samples, const std::vector<SZtAudioMonoVolumeInfo>& volumes);

/// Interleaves the frames of the buffers. An element is a frame of one buffer.
Bytes Interleaved(const std::vector<Bytes>& buffers, std::size_t elementBytes);

/// Deinterleaves into `count` buffers.
std::vector<Bytes> Deinterleaved(const Bytes& frames, std::size_t count, std::size_t elementBytes);

/// Resamples a stream of 16-bit mono samples from its beginning.
std::vector<std::int16_t> Resampled(const std::vector<std::int16_t>& samples, std::uint32_t from, std::uint32_t to);

} // namespace zta::validate
