/// The sample formats in which the engine processes the samples of files.
#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class SampleFormat { Pcm16, Pcm24In32, Pcm24In24, Float32 };

/// Returns the name that `--format` accepts.
std::string_view NameOf(SampleFormat format);
std::optional<SampleFormat> ParseSampleFormat(std::string_view name);
std::vector<std::string> SampleFormatNames();

/// Returns the subtype of libsndfile for such samples in a file.
int FileSubtype(SampleFormat format);

/// Returns the bytes of one sample in the engine's buffers.
std::size_t BytesOf(SampleFormat format);

/// The label of the engine's buffers. The engine processes samples at 48 kHz; a file of another rate gets this label
/// too, because no operation but resampling depends on the rate.
SZtaWaveFormatInfo WaveFormat(SampleFormat format, std::uint32_t channels, std::uint32_t rate = 48000);
