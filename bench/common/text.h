#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace bench {

/// The parts one after the other.
inline std::string Text(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

} // namespace bench
