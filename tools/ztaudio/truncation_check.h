/// Whether a sound file is as long as its header promises.
#pragma once

#include <cstdint>
#include <filesystem>

/// The bytes of samples that the header of a WAV, RF64, W64 or AIFF file promises and the file does not hold. 0 for a
/// whole file, for other containers, and where the writer left the length open because it could not seek back.
std::uint64_t MissingBytes(const std::filesystem::path& path);
