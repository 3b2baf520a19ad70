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
    for (const SStatusEntry& sRow : s_asEntries) {
        const std::uint64_t ulCodes = std::uint64_t{1} << sRow.uiConnectorBits;
        if (sRow.uiCode < ulFree || sRow.uiCode % ulCodes != 0) {
            return false;
        }
        ulFree = sRow.uiCode + ulCodes;
    }
    return true;
}

static_assert(HasAscendingUniqueCodes(), "the lookup searches ascending rows");

/// A range of consecutive codes: those of adjacent entries, or those of one block.
struct SCodeRange {
    std::uint32_t uiFirst;
    std::uint32_t uiCodeCount;
    std::uint32_t uiConnectorBits;
    std::uint32_t uiRow;
};

constexpr bool StartsRange(std::size_t ulRow)
{
    return ulRow == 0 || s_asEntries[ulRow].uiConnectorBits != 0 || s_asEntries[ulRow - 1].uiConnectorBits != 0 ||
           s_asEntries[ulRow].uiCode != s_asEntries[ulRow - 1].uiCode + 1;
}

constexpr std::size_t CountRanges()
{
    std::size_t ulRuns = 0;
    for (std::size_t ulRow = 0; ulRow < std::size(s_asEntries); ++ulRow) {
        ulRuns += StartsRange(ulRow) ? 1 : 0;
    }
    return ulRuns;
}

constexpr std::array<SCodeRange, CountRanges()> FindRanges()
{
    std::array<SCodeRange, CountRanges()> asRuns{};
    std::size_t ulRuns = 0;
    for (std::size_t ulRow = 0; ulRow < std::size(s_asEntries); ++ulRow) {
        const SStatusEntry& sRow = s_asEntries[ulRow];
        if (StartsRange(ulRow)) {
            asRuns[ulRuns++] = {sRow.uiCode, 0, sRow.uiConnectorBits, static_cast<std::uint32_t>(ulRow)};
        }
        asRuns[ulRuns - 1].uiCodeCount += std::uint32_t{1} << sRow.uiConnectorBits;
    }
    return asRuns;
}

constexpr std::array s_asRanges = FindRanges();
static_assert(s_asRanges.front().uiFirst == 0, "every code has a run at or below it");

} // namespace

extern "C" const wchar_t* ztErrorToString(int iCode)
{
    const std::uint32_t uiCode = static_cast<std::uint32_t>(iCode);
    const auto LiesBelow = [](std::uint32_t uiSought, const SCodeRange& sRun) { return uiSought < sRun.uiFirst; };
    const SCodeRange& sRun = *std::prev(std::upper_bound(s_asRanges.begin(), s_asRanges.end(), uiCode, LiesBelow));
    const std::uint32_t uiPlace = uiCode - sRun.uiFirst;
    if (uiPlace >= sRun.uiCodeCount) {
        return L"Unknown error";
    }
    return &s_awcTexts[s_asEntries[sRun.uiRow + (uiPlace >> sRun.uiConnectorBits)].uiText];
}
