#include "tools/ztaudio/stream_header.h"

#include "tools/ztaudio/header_numbers.h"

#include <sndfile.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

namespace {

constexpr std::uint32_t kOpenSize = 0xFFFFFFFF;
constexpr std::uint64_t kMaxSize64 = std::uint64_t{1} << 62; // larger ones mean: until the end
constexpr std::size_t kMaxHeaderBytes = 1 << 20;
constexpr std::size_t kMaxFormatBytes = 4096;
constexpr std::uint32_t kMaxRate = 10000000;

std::uint32_t Little(const std::string& bytes, std::size_t at, std::size_t count)
{
    return static_cast<std::uint32_t>(LittleEndian(bytes, at, count));
}

std::uint32_t Big(const std::string& bytes, std::size_t at)
{
    return static_cast<std::uint32_t>(BigEndian(bytes, at, 4));
}

int WavSubtype(std::uint32_t tag, std::uint32_t bits)
{
    switch (tag << 8 | bits) {
    case 0x108:
        return SF_FORMAT_PCM_U8;
    case 0x110:
        return SF_FORMAT_PCM_16;
    case 0x118:
        return SF_FORMAT_PCM_24;
    case 0x120:
        return SF_FORMAT_PCM_32;
    case 0x320:
        return SF_FORMAT_FLOAT;
    case 0x340:
        return SF_FORMAT_DOUBLE;
    case 0x608:
        return SF_FORMAT_ALAW;
    case 0x708:
        return SF_FORMAT_ULAW;
    default:
        return 0;
    }
}

// The content of a "fmt " chunk.
std::optional<StreamFormat> ParseWavFormat(const std::string& chunk)
{
    if (chunk.size() < 16) {
        return std::nullopt;
    }
    constexpr std::uint32_t kExtensible = 0xFFFE;
    std::uint32_t tag = Little(chunk, 0, 2);
    const bool isExtensible = tag == kExtensible && chunk.size() >= 26;
    if (isExtensible) {
        tag = Little(chunk, 24, 2);
    }
    const std::uint32_t bits = Little(chunk, 14, 2);
    const int subtype = bits <= 64 && tag < 16 ? WavSubtype(tag, bits) : 0;
    if (subtype == 0) {
        return std::nullopt;
    }
    StreamFormat format;
    format.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | subtype;
    format.container = isExtensible ? SF_FORMAT_WAVEX : SF_FORMAT_WAV;
    format.channels = Little(chunk, 2, 2);
    format.rate = Little(chunk, 4, 4);
    format.sampleBytes = bits / 8;
    return format;
}

// The size of the samples in the data chunk at `at`, none if they go to the end of the stream.
std::optional<std::uint64_t> WavDataBytes(ByteStream& stream, std::size_t at, std::uint32_t size,
                                          std::optional<std::uint64_t> longSize)
{
    if (size == kOpenSize && longSize && *longSize != 0 && *longSize < kMaxSize64) {
        return longSize;
    }
    const bool isOpen = size == kOpenSize || (size == 0 && !IsChunkId(stream.Peek(at, 8)));
    return isOpen ? std::nullopt : std::optional<std::uint64_t>(size);
}

std::optional<StreamFormat> ParseWav(ByteStream& stream)
{
    std::optional<StreamFormat> format;
    std::optional<std::uint64_t> longSize; // of RF64
    for (std::size_t at = 12; at < kMaxHeaderBytes;) {
        const std::string header = stream.Peek(at, 8);
        if (header.size() < 8) {
            return std::nullopt;
        }
        const std::uint32_t size = Little(header, 4, 4);
        at += 8;
        if (header.starts_with("data")) {
            if (!format) {
                return std::nullopt;
            }
            format->headerBytes = at;
            format->soundBytes = WavDataBytes(stream, at, size, longSize);
            return format;
        }
        if (header.starts_with("ds64")) {
            if (const std::string sizes = stream.Peek(at, 16); sizes.size() == 16) {
                longSize = LittleEndian(sizes, 8, 8);
            }
        }
        if (header.starts_with("fmt ")) {
            format = ParseWavFormat(stream.Peek(at, std::min<std::size_t>(size, kMaxFormatBytes)));
        }
        at += std::size_t{size} + size % 2;
    }
    return std::nullopt;
}

std::optional<StreamFormat> ParseAu(ByteStream& stream)
{
    struct Encoding {
        std::uint32_t code;
        int subtype;
        std::size_t bytes;
    };
    constexpr Encoding kEncodings[] = {{1, SF_FORMAT_ULAW, 1},   {2, SF_FORMAT_PCM_S8, 1}, {3, SF_FORMAT_PCM_16, 2},
                                       {4, SF_FORMAT_PCM_24, 3}, {5, SF_FORMAT_PCM_32, 4}, {6, SF_FORMAT_FLOAT, 4},
                                       {7, SF_FORMAT_DOUBLE, 8}, {27, SF_FORMAT_ALAW, 1}};
    const std::string header = stream.Peek(0, 24);
    if (header.size() < 24) {
        return std::nullopt;
    }
    const auto* encoding = std::ranges::find(kEncodings, Big(header, 12), &Encoding::code);
    if (encoding == std::end(kEncodings) || Big(header, 4) > kMaxHeaderBytes) {
        return std::nullopt;
    }
    StreamFormat format;
    format.format = SF_FORMAT_RAW | SF_ENDIAN_BIG | encoding->subtype;
    format.container = SF_FORMAT_AU;
    format.channels = Big(header, 20);
    format.rate = Big(header, 16);
    format.sampleBytes = encoding->bytes;
    format.headerBytes = Big(header, 4);
    if (Big(header, 8) != kOpenSize) {
        format.soundBytes = Big(header, 8);
    }
    return format;
}

int CafSubtype(const std::string& description)
{
    constexpr std::uint32_t kIsFloat = 1;
    const std::string codec = description.substr(8, 4);
    const std::uint32_t flags = Big(description, 12);
    const std::uint32_t bits = Big(description, 28);
    if (codec != "lpcm") {
        return codec == "alaw" ? SF_FORMAT_ALAW : codec == "ulaw" ? SF_FORMAT_ULAW : 0;
    }
    if ((flags & kIsFloat) != 0) {
        return bits == 32 ? SF_FORMAT_FLOAT : bits == 64 ? SF_FORMAT_DOUBLE : 0;
    }
    switch (bits) {
    case 8:
        return SF_FORMAT_PCM_S8;
    case 16:
        return SF_FORMAT_PCM_16;
    case 24:
        return SF_FORMAT_PCM_24;
    case 32:
        return SF_FORMAT_PCM_32;
    default:
        return 0;
    }
}

// The content of a "desc" chunk.
std::optional<StreamFormat> ParseCafFormat(const std::string& chunk)
{
    constexpr std::uint32_t kIsLittleEndian = 2;
    const int subtype = chunk.size() < 32 ? 0 : CafSubtype(chunk);
    const std::uint32_t frameBytes = subtype == 0 ? 0 : Big(chunk, 16);
    const std::uint32_t channels = subtype == 0 ? 0 : Big(chunk, 24);
    if (channels == 0 || frameBytes % channels != 0 || frameBytes / channels != (Big(chunk, 28) + 7) / 8) {
        return std::nullopt; // compressed, or with padding
    }
    const auto rate = std::bit_cast<double>(BigEndian(chunk, 0, 8));
    StreamFormat format;
    format.format =
        SF_FORMAT_RAW | subtype | ((Big(chunk, 12) & kIsLittleEndian) != 0 ? SF_ENDIAN_LITTLE : SF_ENDIAN_BIG);
    format.container = SF_FORMAT_CAF;
    format.channels = channels;
    format.rate = rate >= 1 && rate <= kMaxRate ? static_cast<std::uint32_t>(std::lround(rate)) : 0;
    format.sampleBytes = frameBytes / channels;
    return format;
}

std::optional<StreamFormat> ParseCaf(ByteStream& stream)
{
    constexpr std::uint64_t kEditCountBytes = 4;
    std::optional<StreamFormat> format;
    for (std::size_t at = 8; at < kMaxHeaderBytes;) {
        const std::string header = stream.Peek(at, 12);
        if (header.size() < 12) {
            return std::nullopt;
        }
        const std::uint64_t size = BigEndian(header, 4, 8);
        at += 12;
        if (header.starts_with("data")) {
            if (format) {
                format->headerBytes = at + kEditCountBytes;
                if (size >= kEditCountBytes && size < kMaxSize64) {
                    format->soundBytes = size - kEditCountBytes;
                }
            }
            return format;
        }
        if (header.starts_with("desc")) {
            format = ParseCafFormat(stream.Peek(at, 32));
        }
        if (size > kMaxHeaderBytes) {
            return std::nullopt;
        }
        at += static_cast<std::size_t>(size);
    }
    return std::nullopt;
}

bool IsSensible(const StreamFormat& format)
{
    return format.channels >= 1 && format.channels <= 1024 && format.rate >= 1 && format.rate <= kMaxRate;
}

} // namespace

std::optional<StreamFormat> ParseStreamHeader(ByteStream& stream)
{
    const std::string head = stream.Peek(0, 12);
    std::optional<StreamFormat> format;
    const bool isRiff = head.starts_with("RIFF") || head.starts_with("RF64");
    if (head.size() == 12 && isRiff && head.ends_with("WAVE")) {
        format = ParseWav(stream);
        if (format && head.starts_with("RF64")) {
            format->container = SF_FORMAT_RF64;
        }
    } else if (head.starts_with(".snd")) {
        format = ParseAu(stream);
    } else if (head.starts_with("caff")) {
        format = ParseCaf(stream);
    }
    return format && IsSensible(*format) ? format : std::nullopt;
}

bool IsChunkId(const std::string& header)
{
    return header.size() == 8 && std::ranges::all_of(header.substr(0, 4), [](char letter) {
               return letter == ' ' || (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
                      (letter >= 'a' && letter <= 'z') || letter == '_';
           });
}

bool IsMpeg(const std::string& head)
{
    constexpr unsigned kSync = 0xE0; // the upper bits of the second byte
    return head.starts_with("ID3") || (head.size() >= 4 && static_cast<unsigned char>(head[0]) == 0xFF &&
                                       (static_cast<unsigned char>(head[1]) & kSync) == kSync);
}

bool IsDecodedInOrder(ByteStream& stream)
{
    const std::string head = stream.Peek(0, 4);
    return head == "fLaC" || head == "OggS" || IsMpeg(head);
}

std::optional<StreamFormat> ParseRawFormat(const std::string& text)
{
    struct Kind {
        std::string_view name;
        std::size_t bytes;
        int subtype;
        bool clearsLowByte;
    };
    constexpr Kind kKinds[] = {{"16", 2, SF_FORMAT_PCM_16, false},
                               {"24in32", 4, SF_FORMAT_PCM_32, true},
                               {"24in24", 3, SF_FORMAT_PCM_24, false},
                               {"24", 3, SF_FORMAT_PCM_24, false},
                               {"float", 4, SF_FORMAT_FLOAT, false}};
    const auto comma = text.find(',');
    const auto* kind = std::ranges::find(kKinds, std::string_view(text).substr(0, comma), &Kind::name);
    const auto second = text.find(',', comma + 1);
    if (kind == std::end(kKinds) || comma == std::string::npos || second == std::string::npos) {
        return std::nullopt;
    }
    const auto parse = [&text](std::size_t begin, std::size_t end, std::uint32_t& number) {
        const auto [stop, error] = std::from_chars(text.data() + begin, text.data() + end, number);
        return error == std::errc() && stop == text.data() + end;
    };
    StreamFormat format;
    format.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | kind->subtype;
    format.container = SF_FORMAT_RAW;
    format.sampleBytes = kind->bytes;
    format.clearsLowByte = kind->clearsLowByte;
    const bool isParsed = parse(comma + 1, second, format.rate) && parse(second + 1, text.size(), format.channels);
    return isParsed && IsSensible(format) ? std::optional(format) : std::nullopt;
}
