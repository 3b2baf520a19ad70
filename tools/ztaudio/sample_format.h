/// The sample words in which a file's samples meet the engine.
#pragma once

#include <zta/audio_records.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class SampleFormat { Pcm16, Pcm24In32, Pcm24In24, Float32 };

/// The name that `--format` takes.
std::string_view NameOf(SampleFormat word);
std::optional<SampleFormat> ParseSampleFormat(std::string_view name);
std::vector<std::string> SampleFormatNames();

/// The subtype of libsndfile that holds the word's samples in a file.
int FileSubtype(SampleFormat word);

/// Bytes of one sample in the engine's buffers.
std::size_t BytesOf(SampleFormat word);

/// The label of the engine's buffers. The engine processes samples at 48 kHz; a file of another rate gets this label
/// too, because no operation but resampling depends on the rate.
SZtaWaveFormatInfo WaveFormat(SampleFormat word, std::uint32_t channels, std::uint32_t rate = 48000);
