#include "tools/ztaudio/declared_end.h"

#include "tools/ztaudio/header_numbers.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kHeadBytes = 1024; // all fields but those of chunks are in these

// Each of the following functions gets the first bytes of a file of its container.

std::uint64_t FindAvrEnd(HeaderFile& /*file*/, const std::string& head)
{
    const std::uint64_t channels = BigEndian(head, 12, 2) == 0 ? 1 : 2;
    return 128 + BigEndian(head, 26, 4) * channels * (BigEndian(head, 14, 2) / 8);
}

std::uint64_t FindMpcEnd(HeaderFile& /*file*/, const std::string& head)
{
    const std::uint64_t channels = head.substr(21, 1) == "\1" ? 2 : 1;
    return 42 + LittleEndian(head, 30, 4) * channels * 2;
}

std::uint64_t FindWveEnd(HeaderFile& /*file*/, const std::string& head)
{
    return 32 + BigEndian(head, 18, 4);
}

/// The value of a field "NAME -i VALUE" in the text of a NIST header; 0 if it is missing.
std::uint64_t FindNistField(const std::string& head, const std::string& name)
{
    const std::size_t at = head.find("\n" + name + " -i ");
    std::uint64_t value = 0;
    if (at != std::string::npos) {
        std::from_chars(head.data() + at + name.size() + 5, head.data() + head.size(), value);
    }
    return value;
}

std::uint64_t FindNistEnd(HeaderFile& /*file*/, const std::string& head)
{
    const std::uint64_t samples = FindNistField(head, "sample_count");
    const std::uint64_t sampleBytes = std::max<std::uint64_t>(FindNistField(head, "sample_n_bytes"), 1);
    return kHeadBytes + samples * sampleBytes * FindNistField(head, "channel_count");
}

// Blocks follow each other up to a terminator of one byte.
std::uint64_t FindVocEnd(HeaderFile& file, const std::string& head)
{
    constexpr std::uint64_t kMaxType = 9;
    for (std::uint64_t at = LittleEndian(head, 20, 2);;) {
        const std::string block = file.Read(at, 4);
        const std::uint64_t type = BigEndian(block, 0, 1);
        if (block.size() < 4 || type == 0 || type > kMaxType) {
            return 0;
        }
        at += 4 + LittleEndian(block, 1, 3);
        if (at > file.Length()) {
            return at;
        }
    }
}

// Two matrices: the rate, and the samples.
std::uint64_t FindMat4End(HeaderFile& file, const std::string& head)
{
    constexpr std::size_t kHeaderBytes = 20;
    constexpr std::uint64_t kNumberBytes[] = {8, 4, 4, 2, 2, 1}; // by the type of the numbers
    const auto read = head[0] == 0 && head[2] != 0 ? BigEndian : LittleEndian;
    std::uint64_t at = 0;
    for (int matrix = 0; matrix < 2; ++matrix) {
        const std::string header = file.Read(at, kHeaderBytes);
        const std::uint64_t type = read(header, 0, 4) / 10 % 10;
        if (header.size() < kHeaderBytes || type >= std::size(kNumberBytes)) {
            return 0;
        }
        at += kHeaderBytes + read(header, 16, 4) + read(header, 4, 4) * read(header, 8, 4) * kNumberBytes[type];
    }
    return at;
}

// The elements of a matrix follow its tag. The sizes of matrices are not used: libsndfile writes wrong ones.
std::uint64_t FindMat5End(HeaderFile& file, const std::string& head)
{
    constexpr std::size_t kTagBytes = 8;
    constexpr std::uint64_t kMatrix = 14;
    const auto read = head.substr(126, 2) == "IM" ? LittleEndian : BigEndian;
    for (std::uint64_t at = 128;;) {
        const std::string tag = file.Read(at, kTagBytes);
        const std::uint64_t type = read(tag, 0, 4);
        const bool isInTag = type >> 16 != 0; // up to four bytes of data in the place of the size
        if (tag.size() < kTagBytes || (type & 0xFFFF) == 0 || (type & 0xFFFF) > kMatrix) {
            return 0;
        }
        at += kTagBytes;
        const std::uint64_t size = isInTag || type == kMatrix ? 0 : read(tag, 4, 4);
        if (at + size > file.Length()) {
            return at + size;
        }
        at += (size + 7) / 8 * 8;
    }
}

struct Container {
    std::string_view start; ///< the first bytes of its files
    std::uint64_t (*findEnd)(HeaderFile& file, const std::string& head);
};

using namespace std::string_view_literals;

constexpr Container kContainers[] = {
    {"2BIT"sv, FindAvrEnd},
    {"\1\4"sv, FindMpcEnd},
    {"ALawSoundFile**"sv, FindWveEnd},
    {"NIST_1A"sv, FindNistEnd},
    {"Creative Voice File\x1A"sv, FindVocEnd},
    {"MATLAB 5.0 MAT-file"sv, FindMat5End},
    {"\0\0\0\0\1\0\0\0\1\0\0\0\0\0\0\0"sv, FindMat4End},     // little-endian
    {"\0\0\x03\xE8\0\0\0\1\0\0\0\1\0\0\0\0"sv, FindMat4End}, // big-endian
};

} // namespace

std::uint64_t FindDeclaredEnd(HeaderFile& file)
{
    const std::string head = file.Read(0, kHeadBytes);
    const auto* const container = std::ranges::find_if(
        kContainers, [&head](const Container& candidate) { return head.starts_with(candidate.start); });
    constexpr std::size_t kMinHeadBytes = 128; // fewer bytes have no sound
    return container == std::end(kContainers) || head.size() < kMinHeadBytes ? 0 : container->findEnd(file, head);
}
