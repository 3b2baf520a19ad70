#include "tools/ztaudio/truncation_check.h"

#include <array>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>

namespace {

// The tail that the identifiers of W64 chunks share after their first four letters; that of "riff" differs.
constexpr std::string_view kWave64Tail{"\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A", 12};

/// How a container lays out its chunks.
struct Layout {
    std::string_view samples;  ///< identifier of the chunk with the samples
    std::uint64_t first;       ///< offset of the first chunk
    std::size_t idBytes;       ///< bytes of an identifier
    std::size_t sizeBytes;     ///< bytes of a size
    bool bigEndian;            ///< byte order of sizes
    bool sizeCountsHeader;     ///< whether a size counts its chunk's own header
    std::uint64_t alignment;   ///< where the next chunk begins
    std::uint64_t openLength1; ///< sizes that mean: as long as the file
    std::uint64_t openLength2;
};

constexpr std::uint64_t kOpen32 = 0xFFFFFFFF;
constexpr Layout kRiff = {"data", 12, 4, 4, false, false, 2, 0, kOpen32};
constexpr Layout kAiff = {"SSND", 12, 4, 4, true, false, 2, 0, kOpen32};
constexpr Layout kWave64 = {"data", 40, 16, 8, false, true, 8, 0, 24};

std::uint64_t Number(const unsigned char* bytes, std::size_t count, bool bigEndian)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        number = number << 8 | bytes[bigEndian ? i : count - 1 - i];
    }
    return number;
}

bool IsText(const unsigned char* bytes, std::string_view text)
{
    return std::memcmp(bytes, text.data(), text.size()) == 0;
}

const Layout* LayoutOf(const std::array<unsigned char, 40>& head)
{
    if ((IsText(head.data(), "RIFF") || IsText(head.data(), "RF64")) && IsText(&head[8], "WAVE")) {
        return &kRiff;
    }
    if (IsText(head.data(), "FORM") && (IsText(&head[8], "AIFF") || IsText(&head[8], "AIFC"))) {
        return &kAiff;
    }
    if (IsText(head.data(), "riff") && IsText(&head[24], "wave") && IsText(&head[28], kWave64Tail)) {
        return &kWave64;
    }
    return nullptr;
}

} // namespace

std::uint64_t MissingBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::array<unsigned char, 40> head{};
    file.read(reinterpret_cast<char*>(head.data()), head.size());
    file.clear();
    const Layout* layout = LayoutOf(head);
    if (layout == nullptr) {
        return 0;
    }
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(path, error);
    if (error) {
        return 0;
    }
    std::optional<std::uint64_t> longSize; // of RF64, whose data chunk refers to it
    for (std::uint64_t at = layout->first;;) {
        std::array<unsigned char, 28> chunk{};
        const std::size_t headerBytes = layout->idBytes + layout->sizeBytes;
        file.seekg(static_cast<std::streamoff>(at));
        if (!file.read(reinterpret_cast<char*>(chunk.data()), static_cast<std::streamsize>(headerBytes))) {
            return 0;
        }
        std::uint64_t size = Number(&chunk[layout->idBytes], layout->sizeBytes, layout->bigEndian);
        if (IsText(chunk.data(), "ds64") && file.read(reinterpret_cast<char*>(&chunk[8]), 16)) {
            longSize = Number(&chunk[16], 8, false);
        }
        const bool samples = IsText(chunk.data(), layout->samples);
        if (samples && longSize && size == kOpen32) {
            size = *longSize;
        } else if (samples && (size == layout->openLength1 || size == layout->openLength2)) {
            return 0;
        }
        if (layout->sizeCountsHeader) {
            size -= size < headerBytes ? size : headerBytes;
        }
        const std::uint64_t begin = at + headerBytes;
        if (samples) {
            return size > length - begin ? size - (length - begin) : 0;
        }
        if (size > length - begin) {
            return 0;
        }
        at = (begin + size + layout->alignment - 1) / layout->alignment * layout->alignment;
    }
}
