#pragma once

#include <filesystem>
#include <string>

/// A new, empty directory that is removed with the object.
class TempDirectory {
public:
    TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;
    ~TempDirectory();

    const std::filesystem::path& Path() const { return path_; }

    /// The name of a file in the directory.
    std::string File(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

/// Replaces the file's content.
void WriteTextFile(const std::string& name, const std::string& text);

/// The file's bytes; fails the running test if there is no such file.
std::string ReadTextFile(const std::string& name);
