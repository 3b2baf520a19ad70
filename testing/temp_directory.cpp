#include "testing/temp_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>
#include <unistd.h>

namespace {

/// In memory if possible: a file on disk that is rewritten repeatedly waits for the disk.
std::filesystem::path Parent()
{
    const char* memory = "/dev/shm";
    return ::access(memory, W_OK | X_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}

} // namespace

TempDirectory::TempDirectory()
{
    std::string pattern = (Parent() / "zta_test_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), pattern);
    }
    path_ = pattern;
}

TempDirectory::~TempDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void WriteTextFile(const std::string& name, const std::string& text)
{
    std::ofstream file(name, std::ios::binary | std::ios::trunc);
    file << text;
    ASSERT_TRUE(file.flush().good()) << name;
}

std::string ReadTextFile(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
