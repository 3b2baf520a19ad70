#include "tools/ztaudio/stream_header.h"

#include <sndfile.h>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::uint32_t kOpenSize = 0xFFFFFFFF;
constexpr std::size_t kMaxHeaderBytes = 1 << 20;
constexpr std::size_t kMaxFormatBytes = 4096;

std::uint32_t Little(const std::string& bytes, std::size_t at, std::size_t count)
{
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

std::uint32_t Big(const std::string& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
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
    if (tag == kExtensible && chunk.size() >= 26) {
        tag = Little(chunk, 24, 2);
    }
    const std::uint32_t bits = Little(chunk, 14, 2);
    const int subtype = bits <= 64 && tag < 16 ? WavSubtype(tag, bits) : 0;
    if (subtype == 0) {
        return std::nullopt;
    }
    StreamFormat format;
    format.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | subtype;
    format.channels = Little(chunk, 2, 2);
    format.rate = Little(chunk, 4, 4);
    format.sampleBytes = bits / 8;
    return format;
}

bool IsChunkId(const std::string& header)
{
    return header.size() == 8 && std::ranges::all_of(header.substr(0, 4), [](char letter) {
               return letter == ' ' || (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
                      (letter >= 'a' && letter <= 'z') || letter == '_';
           });
}

std::optional<StreamFormat> ParseWav(ByteStream& stream)
{
    std::optional<StreamFormat> format;
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
            const bool isOpen = size == kOpenSize || (size == 0 && !IsChunkId(stream.Peek(at, 8)));
            if (!isOpen) {
                format->soundBytes = size;
            }
            return format;
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
    format.channels = Big(header, 20);
    format.rate = Big(header, 16);
    format.sampleBytes = encoding->bytes;
    format.headerBytes = Big(header, 4);
    if (Big(header, 8) != kOpenSize) {
        format.soundBytes = Big(header, 8);
    }
    return format;
}

bool IsSensible(const StreamFormat& format)
{
    return format.channels >= 1 && format.channels <= 1024 && format.rate >= 1 && format.rate <= 10000000;
}

} // namespace

std::optional<StreamFormat> ParseStreamHeader(ByteStream& stream)
{
    const std::string head = stream.Peek(0, 12);
    std::optional<StreamFormat> format;
    if (head.size() == 12 && head.starts_with("RIFF") && head.ends_with("WAVE")) {
        format = ParseWav(stream);
    } else if (head.starts_with(".snd")) {
        format = ParseAu(stream);
    }
    return format && IsSensible(*format) ? format : std::nullopt;
}

std::optional<StreamFormat> ParseRawFormat(const std::string& text)
{
    struct Kind {
        std::string_view name;
        int subtype;
        std::size_t bytes;
        bool clearsLowByte;
    };
    constexpr Kind kKinds[] = {{"16", SF_FORMAT_PCM_16, 2, false},
                               {"24in32", SF_FORMAT_PCM_32, 4, true},
                               {"24in24", SF_FORMAT_PCM_24, 3, false},
                               {"24", SF_FORMAT_PCM_24, 3, false},
                               {"float", SF_FORMAT_FLOAT, 4, false}};
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
    format.sampleBytes = kind->bytes;
    format.clearsLowByte = kind->clearsLowByte;
    const bool isParsed = parse(comma + 1, second, format.rate) && parse(second + 1, text.size(), format.channels);
    return isParsed && IsSensible(format) ? std::optional(format) : std::nullopt;
}
