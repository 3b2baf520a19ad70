/// The bytes of a file or pipe in order, with a look ahead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class ByteStream {
public:
    /// Reads from a file descriptor, which the stream closes.
    explicit ByteStream(int file) : file_(file) {}
    ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    /// Returns the bytes `first` to `first + count - 1` from here on, fewer if the stream ends before. Does not skip
    /// them. Valid until the next call.
    std::string Peek(std::size_t first, std::size_t count);

    /// Reads and skips up to `count` bytes. Returns fewer at the end of the stream, after an error, and after a signal.
    std::size_t Read(void* data, std::size_t count) noexcept;

    void Skip(std::size_t count);

    /// Throws Failure if a read has failed, Interrupted after a signal.
    void RequireRead(const std::string& name) const;

private:
    std::size_t ReadFile(void* data, std::size_t count) noexcept;

    int file_;
    int error_ = 0;
    std::vector<std::byte> ahead_;
};
