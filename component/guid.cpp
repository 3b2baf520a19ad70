#include "component/guid.h"

#include <cwchar>
#include <iterator>

std::wstring ztGuidToString(const _GUID& guid)
{
    wchar_t awcText[40];
    const std::uint8_t* pLast = guid.Data4;
    const int iLength = std::swprintf(awcText, std::size(awcText), L"{%08X-%04X-%04X-%02X%02X%02X%02X%02X%02X%02X%02X}",
                                      guid.Data1, guid.Data2, guid.Data3, pLast[0], pLast[1], pLast[2], pLast[3],
                                      pLast[4], pLast[5], pLast[6], pLast[7]);
    return std::wstring(awcText, static_cast<std::size_t>(iLength));
}
