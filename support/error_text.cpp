#include <zta/error_text.h>
#include <zta/status_list.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

struct SErrorText {
    std::uint32_t uiCode;
    const wchar_t* pwszText;
};

#define ZTA_STATUS_ROW(code, name, sentence) {code, L"" #name ": " sentence},
constexpr SErrorText s_asTexts[] = {ZTA_STATUS_LIST(ZTA_STATUS_ROW)};
#undef ZTA_STATUS_ROW

constexpr bool IsStrictlyAscending()
{
    for (std::size_t i = 1; i < std::size(s_asTexts); ++i) {
        if (s_asTexts[i - 1].uiCode >= s_asTexts[i].uiCode) {
            return false;
        }
    }
    return true;
}

static_assert(IsStrictlyAscending(), "the lookup searches sorted rows, one per code");

} // namespace

extern "C" const wchar_t* ztErrorToString(int iCode)
{
    const std::uint32_t uiCode = static_cast<std::uint32_t>(iCode);
    std::size_t ulFirst = 0;
    std::size_t ulEnd = std::size(s_asTexts);
    while (ulFirst < ulEnd) {
        const std::size_t ulMiddle = ulFirst + (ulEnd - ulFirst) / 2;
        if (s_asTexts[ulMiddle].uiCode == uiCode) {
            return s_asTexts[ulMiddle].pwszText;
        }
        if (s_asTexts[ulMiddle].uiCode < uiCode) {
            ulFirst = ulMiddle + 1;
        } else {
            ulEnd = ulMiddle;
        }
    }
    return L"Unknown error";
}
