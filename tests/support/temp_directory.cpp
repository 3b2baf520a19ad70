#include "tests/support/temp_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

TempDirectory::TempDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "zta_test_XXXXXX").string();
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
