#include "tools/common/format_text.h"

#include <cstdarg>
#include <cstdio>

std::string FormatText(const char* format, ...)
{
    char buffer[512]; // nearly every text fits
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has just run
    const auto length = static_cast<std::size_t>(std::vsnprintf(buffer, sizeof buffer, format, arguments));
    va_end(arguments);
    std::string text(buffer, length < sizeof buffer ? length : 0);
    if (text.empty()) {
        text.resize(length);
        std::vsnprintf(text.data(), length + 1, format, again);
    }
    va_end(again);
    return text;
}
