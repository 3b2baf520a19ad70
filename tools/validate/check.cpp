#include "tools/validate/check.h"

#include <zta/status.h>

#include <cstdio>

namespace zta::validate {

void Require(bool fact, const std::string& otherwise)
{
    if (!fact) {
        throw CheckFailure(otherwise);
    }
}

void RequireStatus(int actual, int expected, const std::string& what)
{
    Require(actual == expected, what + " gives " + StatusText(actual) + ", not " + StatusText(expected));
}

std::string StatusText(int status)
{
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", static_cast<unsigned int>(status));
    // clang-format off
#define ZTA_STATUS_ROW(number, name, sentence) if (status == name) return std::string(code) + " (" #name ")";
    ZTA_STATUS_LIST(ZTA_STATUS_ROW)
#undef ZTA_STATUS_ROW
    // clang-format on
    return code;
}

} // namespace zta::validate
