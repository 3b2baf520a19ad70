#include "tools/ztaudio/length_check.h"

#include "tools/ztaudio/declared_end.h"
#include "tools/ztaudio/header_numbers.h"
#include "tools/ztaudio/stream_header.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace {

// The tail that the identifiers of W64 chunks share after their first four letters; that of "riff" differs.
constexpr std::string_view kWave64Tail{"\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A", 12};

constexpr std::uint64_t kOpen32 = 0xFFFFFFFF;
constexpr std::uint64_t kMaxSize64 = std::uint64_t{1} << 62; // larger ones mean: as long as the file

/// How a container arranges its chunks.
struct Layout {
    std::string_view samples; ///< identifier of the chunk with the samples
    std::uint64_t first;      ///< offset of the first chunk
    std::size_t idBytes;      ///< bytes of an identifier
    std::size_t sizeBytes;    ///< bytes of a size
    bool isBigEndian;         ///< byte order of sizes
    bool countsHeader;        ///< whether a size counts its chunk's own header
    std::uint64_t alignment;  ///< where the next chunk begins
};

constexpr Layout kRiff = {"data", 12, 4, 4, false, false, 2};
constexpr Layout kAiff = {"SSND", 12, 4, 4, true, false, 2};
constexpr Layout kIff = {"BODY", 12, 4, 4, true, false, 2};
constexpr Layout kCaf = {"data", 8, 4, 8, true, false, 1};
constexpr Layout kWave64 = {"data", 40, 16, 8, false, true, 8};

/// Checks `size` bytes that begin at `begin` in a file of `length` bytes.
LengthCheck CheckSize(std::uint64_t length, std::uint64_t begin, std::uint64_t size)
{
    const std::uint64_t available = length - std::min(length, begin);
    return {.isTruncated = size > available, .missingBytes = size > available ? size - available : 0};
}

const Layout* FindLayout(const std::string& head)
{
    const std::string kind = head.size() >= 12 ? head.substr(8, 4) : "";
    if ((head.starts_with("RIFF") || head.starts_with("RF64")) && kind == "WAVE") {
        return &kRiff;
    }
    if (head.starts_with("FORM") && (kind == "AIFF" || kind == "AIFC")) {
        return &kAiff;
    }
    if (head.starts_with("FORM") && (kind == "8SVX" || kind == "16SV")) {
        return &kIff;
    }
    if (head.starts_with("caff")) {
        return &kCaf;
    }
    if (head.starts_with("riff") && head.size() == 40 && head.substr(24, 4) == "wave" &&
        head.substr(28) == kWave64Tail) {
        return &kWave64;
    }
    return nullptr;
}

LengthCheck CheckChunks(HeaderFile& file, const Layout& layout)
{
    const std::size_t headerBytes = layout.idBytes + layout.sizeBytes;
    std::optional<std::uint64_t> longSize; // of RF64, whose data chunk refers to it
    for (std::uint64_t at = layout.first;;) {
        const std::string header = file.Read(at, headerBytes);
        if (header.size() < headerBytes) {
            return {};
        }
        const std::uint64_t begin = at + headerBytes;
        std::uint64_t size = (layout.isBigEndian ? BigEndian : LittleEndian)(header, layout.idBytes, layout.sizeBytes);
        if (header.starts_with("ds64")) {
            longSize = LittleEndian(file.Read(begin + 8, 8), 0, 8);
        }
        if (header.starts_with(layout.samples)) {
            if (size == kOpen32 && longSize && *longSize != 0) {
                size = *longSize;
            }
            // A writer leaves the size that it began with: none, or the largest.
            const std::uint64_t none = layout.countsHeader ? headerBytes : 0;
            if (size == kOpen32 || size >= kMaxSize64) {
                return {.isOpenEnded = true};
            }
            if (size == 0 || size == none) {
                return {.isOpenEnded = begin < file.Length() && !IsChunkId(file.Read(begin, 8))};
            }
            return CheckSize(file.Length(), begin, size - none);
        }
        if (layout.countsHeader) {
            size -= std::min<std::uint64_t>(size, headerBytes);
        }
        if (size > file.Length() - begin) {
            return {};
        }
        at = (begin + size + layout.alignment - 1) / layout.alignment * layout.alignment;
    }
}

LengthCheck CheckAu(const HeaderFile& file, const std::string& head)
{
    const std::uint64_t size = BigEndian(head, 8, 4);
    return size == kOpen32 ? LengthCheck{.isOpenEnded = true} : CheckSize(file.Length(), BigEndian(head, 4, 4), size);
}

LengthCheck CheckOgg(HeaderFile& file)
{
    const std::uint64_t begin = file.Length() - std::min<std::uint64_t>(file.Length(), 2 * kMaxOggPageBytes);
    return CheckLastOggPage(file.Read(begin, 2 * kMaxOggPageBytes), begin, file.Length());
}

// The first frame may have a header that counts the bytes of all.
LengthCheck CheckMpeg(HeaderFile& file)
{
    constexpr std::size_t kTagHeaderBytes = 10;
    std::uint64_t at = 0;
    for (std::string tag = file.Read(at, kTagHeaderBytes); tag.starts_with("ID3") && tag.size() == kTagHeaderBytes;
         tag = file.Read(at, kTagHeaderBytes)) {
        std::uint64_t size = 0;
        for (std::size_t i = 6; i < kTagHeaderBytes; ++i) {
            size = size << 7 | (static_cast<unsigned char>(tag[i]) & 0x7FU);
        }
        at += kTagHeaderBytes + size;
    }
    constexpr std::size_t kMaxHeaderOffset = 64;
    const std::string frame = file.Read(at, kMaxHeaderOffset + 16);
    const std::size_t header = std::min(frame.find("Xing"), frame.find("Info"));
    if (header > kMaxHeaderOffset || frame.size() < header + 16) {
        return {.isEstimate = true};
    }
    constexpr std::uint64_t kHasFrames = 1;
    constexpr std::uint64_t kHasBytes = 2;
    const std::uint64_t flags = BigEndian(frame, header + 4, 4);
    if ((flags & kHasFrames) == 0 || (flags & kHasBytes) == 0) {
        return {.isEstimate = (flags & kHasFrames) == 0};
    }
    return CheckSize(file.Length(), at, BigEndian(frame, header + 12, 4));
}

} // namespace

LengthCheck CheckLength(const std::filesystem::path& path)
{
    HeaderFile file(path);
    const std::string head = file.Read(0, 40);
    if (const Layout* const layout = FindLayout(head)) {
        return CheckChunks(file, *layout);
    }
    if (head.starts_with(".snd") && head.size() >= 12) {
        return CheckAu(file, head);
    }
    if (head.starts_with("OggS")) {
        return CheckOgg(file);
    }
    return IsMpeg(head) ? CheckMpeg(file) : CheckSize(file.Length(), 0, FindDeclaredEnd(file));
}

std::string DescribeMissing(const LengthCheck& length)
{
    switch (length.missingBytes) {
    case 0:
        return "the last part of the sound is missing";
    case 1:
        return "1 byte of samples is missing";
    default:
        return std::to_string(length.missingBytes) + " bytes of samples are missing";
    }
}

LengthCheck CheckLastOggPage(const std::string& tail, std::uint64_t begin, std::uint64_t length)
{
    constexpr std::size_t kHeaderBytes = 27; // before the table of segments
    constexpr unsigned kIsLast = 4;
    const std::size_t page = tail.rfind(std::string_view("OggS\0", 5));
    if (page == std::string::npos || tail.size() < page + kHeaderBytes) {
        return {.isTruncated = true};
    }
    const auto segments = static_cast<unsigned char>(tail[page + kHeaderBytes - 1]);
    std::uint64_t size = kHeaderBytes + segments;
    for (const char segment : tail.substr(page + kHeaderBytes, segments)) {
        size += static_cast<unsigned char>(segment);
    }
    LengthCheck check = CheckSize(length, begin + page, size);
    check.isTruncated = check.isTruncated || (static_cast<unsigned char>(tail[page + 5]) & kIsLast) == 0;
    return check;
}

// A frame begins with a sync code and ends with a CRC, so that the CRC of all its bytes is 0.
bool EndsWithFlacFrame(const std::string& tail)
{
    constexpr std::uint32_t kPolynomial = 0x8005;
    std::array<std::uint16_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t crc = i << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000) != 0 ? crc << 1 ^ kPolynomial : crc << 1;
        }
        table[i] = static_cast<std::uint16_t>(crc);
    }
    for (std::size_t at = tail.size(); at-- > 0;) {
        if (static_cast<unsigned char>(tail[at]) != 0xFF || at + 1 == tail.size() ||
            (static_cast<unsigned char>(tail[at + 1]) & 0xFE) != 0xF8) {
            continue;
        }
        std::uint32_t crc = 0;
        for (std::size_t i = at; i < tail.size(); ++i) {
            crc = (crc << 8 & 0xFFFF) ^ table[crc >> 8 ^ static_cast<unsigned char>(tail[i])];
        }
        if (crc == 0) {
            return true;
        }
    }
    return false;
}
