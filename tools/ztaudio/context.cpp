#include "tools/ztaudio/context.h"

#include <algorithm>
#include <cstdio>

void PrintError(std::string_view text)
{
    std::string line(text);
    std::ranges::replace(line, '\n', ' ');
    std::fprintf(stderr, "ztaudio: %s\n", line.c_str());
}

void Context::Note(std::string_view text) const
{
    if (!quiet) {
        std::fprintf(stderr, "ztaudio: note: %.*s\n", static_cast<int>(text.size()), text.data());
    }
}
