/// Formatted text.
#pragma once

#include <string>

/// Returns what printf prints.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);
