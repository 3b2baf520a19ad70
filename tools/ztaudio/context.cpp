#include "tools/ztaudio/context.h"

#include "tools/common/failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

void PrintError(std::string_view text)
{
    std::string line(text);
    std::ranges::replace(line, '\n', ' ');
    std::fprintf(stderr, "ztaudio: %s\n", line.c_str());
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
        std::fprintf(stderr, "ztaudio: note: %.*s\n", static_cast<int>(text.size()), text.data());
    }
}
