/// Output that is complete or not there.
#pragma once

#include <cstdint>
#include <filesystem>

/// Throws Failure when both names lead to one file.
void RequireOtherFile(const std::filesystem::path& in, const std::filesystem::path& out);

/// A file that is written under a temporary name in the folder of its target and takes the target's name at the end.
/// Until then an existing target stays as it is; when the object goes before the end, the temporary file goes too.
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

    /// Closes the file, which is then complete under its temporary name. Throws Failure when a write has failed.
    void Close();

    /// Gives the file the target's name. What had that name is kept until Keep, and has it again when the object goes
    /// without Keep. Throws Failure when the name cannot be taken.
    void Publish();

    /// Makes the publication final.
    void Keep() noexcept;

private:
    bool Exchange() const noexcept;

    std::filesystem::path target_;
    std::filesystem::path temporary_; ///< holds what the target was before, once that has been exchanged
    bool exchanged_ = false;
    bool created_ = false; ///< published where there was no file
    int file_ = -1;
    int error_ = 0;
};
