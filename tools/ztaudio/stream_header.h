/// Headers of sounds that are read in order, because they come from a pipe or do not contain their length.
#pragma once

#include "tools/ztaudio/byte_stream.h"

#include <cstdint>
#include <optional>
#include <string>

/// Samples without a header.
struct StreamFormat {
    int format = 0;    ///< SF_FORMAT_RAW with subtype and byte order, as libsndfile opens them
    int container = 0; ///< SF_FORMAT_WAV, for example
    std::uint32_t channels = 0;
    std::uint32_t rate = 0;
    std::size_t sampleBytes = 0;
    std::size_t headerBytes = 0;             ///< of the stream
    std::optional<std::uint64_t> soundBytes; ///< none if the header does not contain the length
    bool clearsLowByte = false;              ///< 24-bit samples in 32-bit containers
};

/// Parses the header of a WAV, RF64, AU or CAF stream of samples that are not compressed. Does not skip it. Returns
/// none for all other streams.
std::optional<StreamFormat> ParseStreamHeader(ByteStream& stream);

/// Returns whether libsndfile decodes such a stream in order: FLAC, Ogg and MPEG.
bool IsDecodedInOrder(ByteStream& stream);

/// Returns whether the first bytes are those of an MPEG stream or of a tag before it.
bool IsMpeg(const std::string& head);

/// Returns whether the bytes are the name and size of a chunk.
bool IsChunkId(const std::string& header);

/// Parses the description of raw samples, "16|24in32|24in24|24|float,RATE,CHANNELS".
std::optional<StreamFormat> ParseRawFormat(const std::string& text);
