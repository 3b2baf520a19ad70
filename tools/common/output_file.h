/// Output that is complete or not there, and output to a pipe.
#pragma once

#include "tools/common/failure.h"

#include <cstdint>
#include <filesystem>
#include <string>

/// Throws Failure if both names lead to one file. "-", a pipe, is no file.
void RequireOtherFile(const std::filesystem::path& in, const std::filesystem::path& out);

/// Returns the file that an output of this name becomes: links are followed, and the folder is absolute. Two outputs
/// with equal results would be one file. Throws Failure if links form a loop.
std::filesystem::path ResolveOutput(const std::filesystem::path& out);

/// Opens a file without a name in the folder for temporary files, that of TMPDIR or /tmp. Returns a descriptor, or -1
/// and sets errno.
int OpenTemporaryFile();

/// Where an encoder writes its bytes.
class OutputTarget {
public:
    OutputTarget() = default;
    virtual ~OutputTarget() = default;
    OutputTarget(const OutputTarget&) = delete;
    OutputTarget& operator=(const OutputTarget&) = delete;

    /// Writes at the current position. Returns the bytes written; the first failure is remembered, and after it nothing
    /// is written.
    virtual std::int64_t Write(const void* data, std::int64_t bytes) noexcept = 0;
    virtual std::int64_t Read(void* data, std::int64_t bytes) noexcept = 0;
    virtual std::int64_t Seek(std::int64_t offset, int whence) noexcept = 0;
    virtual std::int64_t Length() const noexcept = 0;

    /// Throws Failure if a write has failed.
    virtual void RequireWritten() const = 0;

    /// Ends the writing. Throws Failure if a write has failed.
    virtual void Close() = 0;

    /// Gives the output its name. What had that name is kept until Keep, and has it again if the object is destroyed
    /// without Keep. Throws Failure if the name is not available.
    virtual void Publish() = 0;

    /// Makes the publication final.
    virtual void Keep() noexcept = 0;
};

/// What may be at the name of an output.
enum class ExistingOutput {
    Replace, ///< a file that the user may write
    Refuse,  ///< nothing
};

/// An output that is written into a file descriptor.
class DescriptorTarget : public OutputTarget {
public:
    std::int64_t Write(const void* data, std::int64_t bytes) noexcept override;
    std::int64_t Read(void* data, std::int64_t bytes) noexcept override;
    std::int64_t Seek(std::int64_t offset, int whence) noexcept override;
    std::int64_t Length() const noexcept override;

protected:
    explicit DescriptorTarget(int file) : file_(file) {}
    ~DescriptorTarget() override;

    int file_;
    int error_ = 0; ///< of the first write that failed
};

/// A file that is written without a name in the folder of its target and gets the target's name at the end. Until then
/// an existing target is unchanged; if the program ends before, nothing is left of the file. Where the file system has
/// no files without names, the file has a temporary one, and the object removes it if it is destroyed before the end.
class OutputFile : public DescriptorTarget {
public:
    /// Throws Failure if the target is not a regular file, or its user may not write it or its folder.
    explicit OutputFile(const std::filesystem::path& target, ExistingOutput existing = ExistingOutput::Replace);
    ~OutputFile() override;

    void RequireWritten() const override;
    void Close() override;
    void Publish() override;
    void Keep() noexcept override;

private:
    bool Exchange() const noexcept;

    std::filesystem::path target_;
    std::filesystem::path temporary_; ///< empty for a file without a name; after an exchange the former target
    ExistingOutput existing_;
    bool exchanged_ = false;
    bool created_ = false; ///< published where there was no file
};

/// Returns whether an output of this name is a stream: standard output, "-", or a named pipe.
bool IsStream(const std::filesystem::path& out);

/// Standard output or a named pipe. An encoder that returns to its header at the end finds that it is gone: such writes
/// have no effect.
class StreamOutput : public OutputTarget {
public:
    /// Opens a named pipe when it has a reader, unless `out` is "-". Throws Failure if that is not possible,
    /// Interrupted if a signal ends the program before.
    explicit StreamOutput(const std::filesystem::path& out);
    ~StreamOutput() override;

    /// What messages call the stream.
    const std::string& Name() const { return name_; }

    std::int64_t Write(const void* data, std::int64_t bytes) noexcept override;
    std::int64_t Read(void* data, std::int64_t bytes) noexcept override;
    std::int64_t Seek(std::int64_t offset, int whence) noexcept override;
    std::int64_t Length() const noexcept override { return written_; }
    /// Throws BrokenPipe if the reader has gone.
    void RequireWritten() const override;
    void Close() override { RequireWritten(); }
    void Publish() override {}
    void Keep() noexcept override {}

private:
    std::string name_;
    int file_;
    std::int64_t position_ = 0;
    std::int64_t written_ = 0;
    int error_ = 0;
};

/// A stream that gets its bytes at the end, or none if there is a failure before. Until then they are in a temporary
/// file.
class SpooledOutput : public DescriptorTarget {
public:
    /// Opens the stream too. Throws Failure if there can be no temporary file.
    explicit SpooledOutput(const std::filesystem::path& out);

    void RequireWritten() const override;
    void Close() override { RequireWritten(); }
    /// Writes to the stream. Throws BrokenPipe if the reader has gone, Interrupted if a signal ends the program.
    void Publish() override;
    void Keep() noexcept override {}

private:
    Failure CannotSpool(const std::string& what, int error) const;

    StreamOutput stream_;
};
