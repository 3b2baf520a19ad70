#include "testing/child_process.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void RunChild(const std::function<int()>& function, int output, int status)
{
    const std::string path = "/proc/self/fd/" + std::to_string(output);
    if (std::freopen(path.c_str(), "w", stdout) == nullptr) {
        std::abort();
    }
    try {
        const int result = function();
        if (::write(status, &result, sizeof(result)) != sizeof(result)) {
            std::abort();
        }
    } catch (...) {
        std::fflush(stdout);
        std::abort();
    }
    std::exit(EXIT_SUCCESS); // not _exit, which would lose the coverage data
}

std::string ReadAll(int file)
{
    std::string text(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)), '\0');
    EXPECT_EQ(::pread(file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

} // namespace

ChildResult RunInChild(const std::function<int()>& function)
{
    const int output = ::memfd_create("output", 0);
    const int status = ::memfd_create("status", 0);
    EXPECT_GE(output, 0);
    EXPECT_GE(status, 0);
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        RunChild(function, output, status);
    }
    ChildResult result;
    int end = 0;
    EXPECT_EQ(::waitpid(child, &end, 0), child);
    result.output = ReadAll(output);
    const bool has_ended = WIFEXITED(end) && WEXITSTATUS(end) == EXIT_SUCCESS;
    EXPECT_TRUE(has_ended) << "the child's wait status is " << end << ", and it wrote:\n" << result.output;
    if (has_ended) {
        EXPECT_EQ(::pread(status, &result.status, sizeof(result.status), 0), ssize_t{sizeof(result.status)});
    }
    ::close(output);
    ::close(status);
    return result;
}
