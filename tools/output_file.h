/// Output that is complete or not there.
#pragma once

#include <cstdint>
#include <filesystem>

/// A file that is written under a temporary name in the folder of its target and takes the target's name at the end.
/// Until then an existing target stays as it is; when the object goes without Commit, the temporary file goes too.
class OutputFile {
public:
    /// Throws Failure when the target is something else than a regular file or its folder cannot be written.
    explicit OutputFile(const std::filesystem::path& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Writes at the current position. Returns the bytes written; the first failure is remembered and what follows
    /// it is not tried.
    std::int64_t Write(const void* data, std::int64_t bytes) noexcept;
    std::int64_t Read(void* data, std::int64_t bytes) noexcept;
    std::int64_t Seek(std::int64_t offset, int whence) noexcept;
    std::int64_t Length() const noexcept;

    /// Throws Failure when a write has failed.
    void RequireWritten() const;

    /// Gives the file the target's name. Throws Failure when a write has failed or the name cannot be taken.
    void Commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    int file_ = -1;
    int error_ = 0;
};
