#include <zta/error_text.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

/// All texts. The table stores their offsets in this struct: a table of pointers would need a relocation for each entry
/// when the module is loaded.
struct STexts {
// NOLINTNEXTLINE(bugprone-macro-parentheses): the name of a member
#define ZTA_STATUS_ENTRY(code, name, sentence) wchar_t name[std::size(L"" #name ": " sentence)];
#include <zta/status_codes.def>
};

constexpr std::array s_awcTexts = std::bit_cast<std::array<wchar_t, sizeof(STexts) / sizeof(wchar_t)>>(STexts{
#define ZTA_STATUS_ENTRY(code, name, sentence) L"" #name ": " sentence,
#include <zta/status_codes.def>
});

struct SStatusEntry {
    std::uint32_t uiCode;
    /// The number of low bits of the code that hold a connector number. The text does not depend on them.
    std::uint32_t uiConnectorBits;
    std::uint32_t uiText;
};

constexpr SStatusEntry s_asEntries[] = {
#define ZTA_STATUS_RANGE(code, bits, name, sentence) {code, bits, offsetof(STexts, name) / sizeof(wchar_t)},
#define ZTA_STATUS_ENTRY(code, name, sentence) ZTA_STATUS_RANGE(code, 0, name, sentence)
#include <zta/status_codes.def>
};

constexpr bool HasAscendingUniqueCodes()
{
    std::uint64_t ulFree = 0;
    for (const SStatusEntry& rsEntry : s_asEntries) {
        const std::uint64_t ulCodes = std::uint64_t{1} << rsEntry.uiConnectorBits;
        if (rsEntry.uiCode < ulFree || rsEntry.uiCode % ulCodes != 0) {
            return false;
        }
        ulFree = rsEntry.uiCode + ulCodes;
    }
    return true;
}

static_assert(HasAscendingUniqueCodes(), "the lookup requires ascending codes");

/// A range of consecutive codes: those of adjacent entries, or those of one entry with connector numbers.
struct SCodeRange {
    std::uint32_t uiFirst;
    std::uint32_t uiCodeCount;
    std::uint32_t uiConnectorBits;
    std::uint32_t uiEntry;
};

constexpr bool StartsRange(std::size_t ulEntry)
{
    return ulEntry == 0 || s_asEntries[ulEntry].uiConnectorBits != 0 || s_asEntries[ulEntry - 1].uiConnectorBits != 0 ||
           s_asEntries[ulEntry].uiCode != s_asEntries[ulEntry - 1].uiCode + 1;
}

constexpr std::size_t CountRanges()
{
    std::size_t ulRanges = 0;
    for (std::size_t ulEntry = 0; ulEntry < std::size(s_asEntries); ++ulEntry) {
        ulRanges += StartsRange(ulEntry) ? 1 : 0;
    }
    return ulRanges;
}

constexpr std::array<SCodeRange, CountRanges()> FindRanges()
{
    std::array<SCodeRange, CountRanges()> asRanges{};
    std::size_t ulRanges = 0;
    for (std::size_t ulEntry = 0; ulEntry < std::size(s_asEntries); ++ulEntry) {
        const SStatusEntry& rsEntry = s_asEntries[ulEntry];
        if (StartsRange(ulEntry)) {
            asRanges[ulRanges++] = {rsEntry.uiCode, 0, rsEntry.uiConnectorBits, static_cast<std::uint32_t>(ulEntry)};
        }
        asRanges[ulRanges - 1].uiCodeCount += std::uint32_t{1} << rsEntry.uiConnectorBits;
    }
    return asRanges;
}

constexpr std::array s_asRanges = FindRanges();
static_assert(s_asRanges.front().uiFirst == 0, "the lookup requires a range at or below every code");

} // namespace

extern "C" const wchar_t* ztErrorToString(int iCode)
{
    const std::uint32_t uiCode = static_cast<std::uint32_t>(iCode);
    const auto LiesBelow = [](std::uint32_t uiSought, const SCodeRange& rsRange) { return uiSought < rsRange.uiFirst; };
    const SCodeRange& rsRange = *std::prev(std::upper_bound(s_asRanges.begin(), s_asRanges.end(), uiCode, LiesBelow));
    const std::uint32_t uiOffset = uiCode - rsRange.uiFirst;
    if (uiOffset >= rsRange.uiCodeCount) {
        return L"Unknown error";
    }
    return &s_awcTexts[s_asEntries[rsRange.uiEntry + (uiOffset >> rsRange.uiConnectorBits)].uiText];
}
