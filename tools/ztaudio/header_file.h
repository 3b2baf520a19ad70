/// A file of which only parts are read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

class HeaderFile {
public:
    explicit HeaderFile(const std::filesystem::path& path) : file_(path, std::ios::binary)
    {
        std::error_code error;
        const std::uintmax_t length = std::filesystem::file_size(path, error);
        length_ = error ? 0 : length;
    }

    std::uint64_t Length() const { return length_; }

    /// Returns `count` bytes from `at` on, fewer at the end of the file.
    std::string Read(std::uint64_t at, std::size_t count)
    {
        std::string bytes(count, '\0');
        file_.clear();
        file_.seekg(static_cast<std::streamoff>(at));
        file_.read(bytes.data(), static_cast<std::streamsize>(count));
        bytes.resize(static_cast<std::size_t>(file_.gcount()));
        return bytes;
    }

private:
    std::ifstream file_;
    std::uint64_t length_;
};
