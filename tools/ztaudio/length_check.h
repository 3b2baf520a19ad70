/// Whether a sound file is as long as its header says.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

struct LengthCheck {
    bool isTruncated = false;
    std::uint64_t missingBytes = 0; ///< of a truncated file; 0 if the number is not known
    bool isOpenEnded = false;       ///< the sound goes to the end of the file, because the writer could not seek back
    bool isEstimate = false;        ///< the header has no length, and a decoder only estimates one
};

/// Checks WAV, RF64, W64, AIFF, 8SVX, CAF, AU, Ogg and MPEG files, and those of FindDeclaredEnd. Finds nothing in other
/// containers: a FLAC file shows that it is truncated when it is read, and the others do not contain their length.
LengthCheck CheckLength(const std::filesystem::path& path);

/// Describes what a truncated file lacks.
std::string DescribeMissing(const LengthCheck& length);

inline constexpr std::size_t kMaxOggPageBytes = 65307;

/// Checks whether the last page of an Ogg stream is complete and has the flag of a last page.
///
/// tail   the bytes from `begin` to the end of the stream, at least a page
LengthCheck CheckLastOggPage(const std::string& tail, std::uint64_t begin, std::uint64_t length);

/// More than a frame of FLAC has in practice.
inline constexpr std::size_t kMaxFlacFrameBytes = 1 << 20;

/// Returns whether the bytes, the last of a FLAC stream, end with a complete frame.
bool EndsWithFlacFrame(const std::string& tail);
