/// Values in JSON.
#pragma once

#include <optional>
#include <string>

/// Returns the text as a JSON string.
std::string JsonString(const std::string& text);

/// Returns the number in JSON, null if it is missing or not finite.
std::string JsonDecimal(std::optional<double> value, int decimals);

inline const char* JsonBool(bool value)
{
    return value ? "true" : "false";
}
