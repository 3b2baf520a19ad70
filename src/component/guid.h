#pragma once

#include <zta/unknown.h>

#include <cstring>
#include <string>

/// True if both are the same identifier: one address, or the same 16 bytes.
inline bool ZtIsSameGuid(const _GUID& rFirst, const _GUID& rSecond) noexcept
{
    return &rFirst == &rSecond || std::memcmp(&rFirst, &rSecond, sizeof(_GUID)) == 0;
}

/// The text under which an identifier stands in the CLSIDs file: uppercase hexadecimal in braces, with three hyphens;
/// the last eight bytes stand together.
ZTA_API std::wstring ztGuidToString(const _GUID& guid);
