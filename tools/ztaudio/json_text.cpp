#include "tools/ztaudio/json_text.h"

#include "tools/common/format_text.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {

/// Returns the bytes of the first character of UTF-8 text, 0 if they are no character.
std::size_t SequenceLength(std::string_view text)
{
    const auto byteAt = [text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byteAt(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const unsigned second = byteAt(1);
    const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNoCharacter = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return isTooLong || isNoCharacter ? 0 : length;
}

} // namespace

std::string JsonString(const std::string& text)
{
    std::string result = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const auto letter = static_cast<unsigned char>(text[at]);
        const std::size_t length = SequenceLength(std::string_view(text).substr(at));
        if (length == 0) {
            result += "\\ufffd"; // names and tags may have another encoding
        } else if (letter < 0x20) {
            result += FormatText("\\u%04x", static_cast<unsigned>(letter));
        } else {
            result += letter == '"' || letter == '\\' ? "\\" : "";
            result += text.substr(at, length);
        }
        at += std::max<std::size_t>(length, 1);
    }
    return result + '"';
}

std::string JsonDecimal(std::optional<double> value, int decimals)
{
    return value && std::isfinite(*value) ? FormatText("%.*f", decimals, *value) : "null";
}
