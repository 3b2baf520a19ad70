#pragma once

#include <zta/unknown.h>

#include <cstring>
#include <string>

/// Returns true if both have the same address or the same 16 bytes.
inline bool ZtIsSameGuid(const _GUID& rFirst, const _GUID& rSecond) noexcept
{
    return &rFirst == &rSecond || std::memcmp(&rFirst, &rSecond, sizeof(_GUID)) == 0;
}

/// Returns the text of an identifier in the CLSIDs file: uppercase hexadecimal in braces, with three hyphens and none
/// in the last eight bytes.
ZTA_API std::wstring ztGuidToString(const _GUID& guid);
