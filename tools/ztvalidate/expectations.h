/// What the operations make of samples, put together from the plain models.
#pragma once

#include "tools/ztvalidate/guarded_buffer.h"

#include <zta/audio_records.h>

#include <vector>

namespace zta::validate {

/// Samples in another format of the same channels, by one of the conversions that the engine has.
Bytes Converted(const Bytes& samples, const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to);

/// Samples of a format that can be faded.
Bytes Faded(Bytes samples, const SZtaWaveFormatInfo& format, bool fadeIn, bool fadeOut);

/// 24-in-32 samples with a gain ramp for each channel.
Bytes Scaled(const Bytes& samples, const std::vector<SZtAudioMonoVolumeInfo>& volumes);

/// The buffers' frames side by side in one frame each; elements are the frames of one buffer.
Bytes Interleaved(const std::vector<Bytes>& buffers, std::size_t elementBytes);

/// The reverse, for `count` buffers.
std::vector<Bytes> Deinterleaved(const Bytes& frames, std::size_t count, std::size_t elementBytes);

/// A stream of 16-bit mono samples from its beginning, at another rate.
std::vector<std::int16_t> Resampled(const std::vector<std::int16_t>& samples, std::uint32_t from, std::uint32_t to);

} // namespace zta::validate
