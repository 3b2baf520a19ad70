/// Numbers in the headers of sound files.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Returns the unsigned number in `count` bytes from `at` on; bytes behind the end count as missing.
inline std::uint64_t BigEndian(std::string_view bytes, std::size_t at, std::size_t count)
{
    std::uint64_t number = 0;
    for (const char byte : bytes.substr(std::min(at, bytes.size()), count)) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
}

inline std::uint64_t LittleEndian(std::string_view bytes, std::size_t at, std::size_t count)
{
    const std::string_view field = bytes.substr(std::min(at, bytes.size()), count);
    std::uint64_t number = 0;
    for (std::size_t i = field.size(); i-- > 0;) {
        number = number << 8 | static_cast<unsigned char>(field[i]);
    }
    return number;
}
