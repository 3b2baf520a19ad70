#include "tools/ztvalidate/check.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace zta::validate {

namespace {

struct Status {
    std::uint32_t code;
    const char* name;
};

const Status kStatuses[] = {
#define ZTA_STATUS_ENTRY(code, name, description) {code, #name},
#include <zta/status_codes.def>
};

} // namespace

void RequireStatus(int actual, int expected, const std::string& what)
{
    Require(actual == expected, what + " gives " + StatusText(actual) + ", not " + StatusText(expected));
}

std::string StatusText(int status)
{
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", static_cast<unsigned int>(status));
    const auto* const row = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                         [=](const Status& entry) { return static_cast<int>(entry.code) == status; });
    return row == std::end(kStatuses) ? code : std::string(code) + " (" + row->name + ")";
}

} // namespace zta::validate
