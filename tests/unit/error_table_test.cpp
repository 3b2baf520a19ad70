// The complete table of error texts, compared with an independent list of its names, and texts that must not change.
#include "testing/status_ranges.h"

#include <zta/error_text.h>
#include <zta/status.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

const std::string kUnknown = "Unknown error";

struct StatusText {
    std::uint32_t code;
    const wchar_t* text;
};

// clang-format off
constexpr StatusText kTexts[] = {
    {0, L"ZT_NOERROR: No error"},
    {1, L"ZT_FALSE: FALSE"},
    {0x89998003, L"ZT_E_NOT_IMPLEMENTED: The requested operation is not implemented."},
    {0x8999802F, L"ZT_E_MODULE_BUSY: The module is still processing the last requested operation."},
    {0x89998032, L"ZT_E_READ_COUNT_NOT_INCREMENTED: Each SignalReadCompletion should match a IncrementReadCount."},
    {0x89998033, L"ZT_E_WRITE_COUNT_NOT_INCREMENTED: Each SignalWriteCompletion should match a IncrementWriteCount."},
    {0x8999803A, L"ZT_E_FORMAT_NOT_SUPPORTED: The format of the surface or audio samples is not supported in the requested processing."},
    {0x8999803B, L"ZT_E_INPUT_FORMAT_NOT_SUPPORTED: The format of the input surface or audio samples is not supported in the requested processing."},
    {0x8999803C, L"ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED: The format of the output surface or audio samples is not supported in the requested processing."},
    {0x8999803D, L"ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED: The source and destination format imply a processing that is not supported."},
    {0x8999803E, L"ZT_E_DESTINATION_BUFFER_TOO_SMALL: Destination buffer is too small."},
    {0x8999803F, L"ZT_E_BUFFER_SIZE_MISMATCH: Input buffer must have the same number of bytes(or samples) as outout buffer."},
    {0x89998040, L"ZT_E_BUFFER_FORMAT_MISMATCH: Input buffers or output buffers (audiosamples) must have the same format."},
    {0x89998044, L"ZT_E_INVALID_PARAMETER: One of the method parameter is invalid."},
    {0x89998045, L"ZT_E_INVALID_POINTER: One of the method parameter is a uninitialized pointer."},
    {0x89998070, L"ZT_E_INCONSISTENCY_DETECTED: There's an inconsistency that was detected by the object."},
    {0x89998071, L"ZT_E_ARRAY_TOO_SMALL: Provided array is too small."},
    {0x899980D2, L"ZT_E_SOURCE_BUFFER_TOO_SMALL: The source buffer is smaller than what it should be"},
    {0x899980F7, L"ZT_E_PARAMETER_ARRAY_TOO_BIG: Parameter array too big"},
    {0x89998121, L"ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE: The audio data type is not supported on the selected profile"},
    {0x89998161, L"ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE: At audio sample creation, valid bits per sample is not compatible with total bits per sample"},
    {0x89998165, L"ZT_E_INVALID_AUDIO_CHANNEL_TYPE: Specified channel type not supported or invalid"},
    {0x89998166, L"ZT_E_INVALID_AUDIO_SAMPLING_RATE: Specified sampling rate not supported or invalid"},
    {0x89998167, L"ZT_E_INVALID_AUDIO_DATA_TYPE: Specified data type not supported or invalid"},
    {0x89998362, L"ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH: The audio channels selected is not compatible with the channel capture type or total channel count"},
    {0x8999836F, L"ZT_E_AUDIO_FORMAT_MISMATCH: The source and destinatios buffers have different audio formats"},
    {0x89998FFF, L"ZT_E_FAIL: Generic error."},
    // The error codes that an input may have.
    {0xA306F002, L"kZtSynchroStatusPlayedLate: Sync: Output dropped a buffer, played late"},
    {0xA306F003, L"kZtSynchroStatusCancelledLate: Sync: Buffer has been dropped, cancelled late"},
    {0xA306F004, L"kZtSynchroStatusRepeatedFrame: Sync: Output repeated a buffer"},
    {0xA306F00C, L"kZtSynchroStatusInvalidBufferTime: Sync: Invalid buffer time (late or not respect the preroll)"},
    {0xA306F00D, L"kZtSynchroStatusDeviceNotReady: Sync: Device cannot accept buffer because it is busy"},
    {0xE306F000, L"kZtSynchroStatusCancelled: Sync: Buffer has been dropped, cancelled"},
};
// clang-format on

/// The text of a code; all texts are of 7-bit characters.
std::string TextOf(std::uint32_t code)
{
    const std::wstring wide = ztErrorToString(static_cast<int>(code));
    EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](wchar_t c) { return c >= L' ' && c <= L'~'; })) << code;
    std::string text;
    std::transform(wide.begin(), wide.end(), std::back_inserter(text), [](wchar_t c) { return static_cast<char>(c); });
    return text;
}

struct Name {
    std::string name;
    std::uint32_t code;
};

/// The names of the ranges and the blocks, in order; a block with its first code.
std::vector<Name> ExpectedNames()
{
    std::vector<Name> expected;
    for (const StatusRange& range : kStatusRanges) {
        std::istringstream names{std::string(range.names)};
        std::uint32_t code = range.first_code;
        for (std::string name; names >> name; ++code) {
            expected.push_back({name, code});
        }
    }
    for (const StatusBlock& block : kStatusBlocks) {
        expected.push_back({std::string(block.name), block.first_code});
    }
    return expected;
}

/// All codes that have a text, with their names.
std::map<std::uint32_t, std::string> ExpectedCodes()
{
    std::map<std::uint32_t, std::string> codes;
    for (const Name& name : ExpectedNames()) {
        EXPECT_TRUE(codes.emplace(name.code, name.name).second) << std::hex << name.code << " twice";
    }
    for (const StatusBlock& block : kStatusBlocks) {
        for (std::uint32_t code = block.first_code + 1; code <= block.last_code; ++code) {
            EXPECT_TRUE(codes.emplace(code, block.name).second) << std::hex << code << " twice";
        }
    }
    return codes;
}

std::string SentenceOf(const Name& status)
{
    const std::string text = TextOf(status.code);
    const std::string lead = status.name + ": ";
    EXPECT_EQ(text.substr(0, lead.size()), lead) << std::hex << status.code;
    return text.size() > lead.size() ? text.substr(lead.size()) : "";
}

/// Returns the words of a name or sentence in lower case. An upper-case letter behind a lower-case one begins a word.
std::vector<std::string> WordsOf(const std::string& text)
{
    std::vector<std::string> words;
    int before = ' ';
    for (const char letter : text) {
        const int c = static_cast<unsigned char>(letter);
        if (std::isalnum(c) != 0) {
            if (std::isalnum(before) == 0 || (std::islower(before) != 0 && std::isupper(c) != 0)) {
                words.emplace_back();
            }
            words.back() += static_cast<char>(std::tolower(c));
        }
        before = c;
    }
    return words;
}

/// Returns the words of a sentence that are not in the name. Words with the same first four letters are equal; short
/// words and conjunctions are ignored.
std::set<std::string> WordsBeyondTheName(const Name& status)
{
    static const std::set<std::string> kJoints = {
        "and", "are", "been", "can",  "could", "for",   "from", "had", "has",  "have",  "its",  "more",  "must",
        "not", "one", "than", "that", "the",   "there", "this", "was", "were", "which", "with", "cannot"};
    std::vector<std::string> stems = WordsOf(status.name);
    for (std::string& stem : stems) {
        stem.resize(std::min<std::size_t>(stem.size(), 4));
    }
    std::set<std::string> beyond;
    for (const std::string& word : WordsOf(SentenceOf(status))) {
        if (word.size() > 2 && !kJoints.contains(word) &&
            std::count(stems.begin(), stems.end(), word.substr(0, 4)) == 0) {
            beyond.insert(word);
        }
    }
    return beyond;
}

TEST(ErrorTable, HasAConstantForEachName)
{
    const std::vector<Name> constants = {
#define ZTA_STATUS_ENTRY(code, name, sentence) {#name, static_cast<std::uint32_t>(name)},
#include <zta/status_codes.def>
    };
    const std::vector<Name> expected = ExpectedNames();
    ASSERT_EQ(constants.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(constants[i].name, expected[i].name) << i;
        EXPECT_EQ(constants[i].code, expected[i].code) << expected[i].name;
    }
}

TEST(ErrorTable, BeginsEachTextWithTheName)
{
    for (const Name& status : ExpectedNames()) {
        EXPECT_NE(SentenceOf(status), "") << status.name;
    }
}

TEST(ErrorTable, CountsItsFamilies)
{
    const std::vector<Name> names = ExpectedNames();
    const auto count = [&names](const std::string& family) {
        return std::count_if(names.begin(), names.end(),
                             [&](const Name& status) { return TextOf(status.code).starts_with(family); });
    };
    EXPECT_EQ(count("ZT_E_"), 791);
    EXPECT_EQ(count("ZT_W_"), 158);
    EXPECT_EQ(count("ZT_M_"), 54);
    EXPECT_EQ(count("kZtSynchroStatus"), 22);
    EXPECT_EQ(count("kZtkStatus"), 3);
    EXPECT_EQ(names.size(), 2U + 791U + 158U + 54U + 22U + 3U);
}

TEST(ErrorTable, HasSignsByFamily)
{
    for (const Name& status : ExpectedNames()) {
        const bool is_failure = status.name.starts_with("ZT_E_") || status.name.starts_with("kZt");
        EXPECT_EQ(static_cast<int>(status.code) < 0, is_failure) << status.name;
    }
}

TEST(ErrorTable, HasSentencesThatAddToTheName)
{
    // Five unusual texts that stay unchanged, and the two of success.
    const std::set<std::string> kept = {"ZT_NOERROR",
                                        "ZT_FALSE",
                                        "ZT_E_DESTINATION_BUFFER_TOO_SMALL",
                                        "ZT_E_INVALID_PARAMETER",
                                        "ZT_E_INCONSISTENCY_DETECTED",
                                        "ZT_E_ARRAY_TOO_SMALL",
                                        "ZT_E_PARAMETER_ARRAY_TOO_BIG"};
    for (const Name& status : ExpectedNames()) {
        EXPECT_EQ(WordsBeyondTheName(status).size() >= 2, !kept.contains(status.name)) << TextOf(status.code);
    }
}

TEST(ErrorTable, HasNoDuplicateSentence)
{
    std::set<std::string> sentences;
    for (const Name& status : ExpectedNames()) {
        EXPECT_TRUE(sentences.insert(SentenceOf(status)).second) << TextOf(status.code);
    }
}

TEST(ErrorTable, ReturnsOneTextForABlock)
{
    for (const StatusBlock& block : kStatusBlocks) {
        const std::string text = TextOf(block.first_code);
        EXPECT_EQ(text.find(block.name), 0U) << text;
        for (std::uint32_t code = block.first_code; code <= block.last_code; ++code) {
            EXPECT_EQ(TextOf(code), text) << std::hex << code;
        }
        EXPECT_EQ(TextOf(block.first_code - 1), kUnknown) << block.name;
        EXPECT_EQ(TextOf(block.last_code + 1), kUnknown) << block.name;
    }
}

TEST(ErrorTable, IsUnknownInTheGapsOfItsFamilies)
{
    struct Range {
        std::uint32_t first;
        std::uint32_t last;
        int unknown;
    };
    constexpr Range kRanges[] = {
        {0x00000000, 0x000000FF, 256 - 2},
        {0x09990000, 0x0999FFFF, 65536 - 158 - 54},
        {0x89990000, 0x8999FFFF, 65536 - 783},
        {0x8F3D0000, 0x8F3DFFFF, 65536 - 8},
        {0xA3060000, 0xA306FFFF, 65536 - 11},
        {0xE3060000, 0xE306FFFF, 65536 - 11},
        {0xEFAC0000, 0xEFACFFFF, 65536 - 32 - 256 - 64},
    };
    const auto codes = ExpectedCodes();
    for (const Range& range : kRanges) {
        int unknown = 0;
        for (std::uint32_t code = range.first; code <= range.last; ++code) {
            const bool is_unknown = TextOf(code) == kUnknown;
            EXPECT_EQ(is_unknown, !codes.contains(code)) << std::hex << code;
            unknown += is_unknown ? 1 : 0;
        }
        EXPECT_EQ(unknown, range.unknown) << std::hex << range.first;
    }
}

TEST(ErrorTable, IsUnknownForRandomCodes)
{
    const auto codes = ExpectedCodes();
    std::mt19937 random(20240917);
    for (int i = 0; i < 1'000'000; ++i) {
        const auto code = static_cast<std::uint32_t>(random());
        const std::wstring_view text = ztErrorToString(static_cast<int>(code));
        ASSERT_EQ(text == L"Unknown error", !codes.contains(code)) << std::hex << code;
    }
}

TEST(ErrorTable, HasTheseTexts)
{
    for (const StatusText& status : kTexts) {
        EXPECT_EQ(ztErrorToString(static_cast<int>(status.code)), std::wstring(status.text)) << std::hex << status.code;
    }
    for (const std::uint32_t code :
         {0x00000002U, 0x7FFFFFFFU, 0x80000000U, 0x80004002U, 0x80004005U, 0x8007000EU, 0x89998FFEU, 0xFFFFFFFFU}) {
        EXPECT_EQ(TextOf(code), kUnknown) << std::hex << code;
    }
}

TEST(ErrorTable, HasStaticTexts)
{
    for (const std::uint32_t code : {0x8999802FU, 0x00000002U}) {
        const wchar_t* here = ztErrorToString(static_cast<int>(code));
        const wchar_t* there = nullptr;
        std::thread([&] { there = ztErrorToString(static_cast<int>(code)); }).join();
        EXPECT_EQ(here, there);
    }
}

} // namespace
