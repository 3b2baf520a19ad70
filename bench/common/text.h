#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace bench {

/// Returns the concatenated parts.
inline std::string Text(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

} // namespace bench
