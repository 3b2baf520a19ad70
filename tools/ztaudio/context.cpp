#include "tools/ztaudio/context.h"

#include "tools/common/failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

std::string PrintableText(std::string_view text)
{
    std::string line(text);
    const auto isControl = [](unsigned char letter) { return letter < 0x20 || letter == 0x7F; };
    std::ranges::replace_if(line, isControl, ' ');
    return line;
}

void PrintError(std::string_view text)
{
    std::fprintf(stderr, "ztaudio: %s\n", PrintableText(text).c_str());
}

void FlushStandardOutput()
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return;
    }
    if (errno == EPIPE) {
        throw BrokenPipe();
    }
    throw Failure("standard output: cannot write: " + std::generic_category().message(errno));
}

void Context::Note(std::string_view text) const
{
    if (!quiet) {
        std::fprintf(stderr, "ztaudio: note: %s\n", PrintableText(text).c_str());
    }
}
