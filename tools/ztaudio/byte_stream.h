/// The bytes of a file or pipe in order, with a look ahead and a limited way back.
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
    /// them.
    std::string Peek(std::size_t first, std::size_t count);

    /// Reads and skips up to `count` bytes. Returns fewer at the end of the stream, after an error, and after a signal.
    std::size_t Read(void* data, std::size_t count) noexcept;

    void Skip(std::uint64_t count) noexcept;

    /// Skips everything up to the end of the stream.
    void Drain() noexcept;

    /// Returns how many bytes precede the next one.
    std::uint64_t Position() const { return position_; }

    /// Keeps what is read from now on, so that Seek can return to it.
    void Keep();

    /// Ends Keep.
    void Release() { keeps_ = false; }

    /// Makes this position the next one. Returns false if it is no longer kept or the stream ends before it.
    bool Seek(std::uint64_t position) noexcept;

    /// Throws Failure if a read has failed, Interrupted after a signal.
    void RequireRead(const std::string& name) const;

private:
    std::uint64_t BufferEnd() const { return bufferBegin_ + buffer_.size(); }
    void KeepBytes(const std::byte* data, std::size_t count) noexcept;
    std::size_t ReadFile(void* data, std::size_t count) noexcept;

    int file_;
    int error_ = 0;
    bool keeps_ = false;
    std::uint64_t position_ = 0;
    std::uint64_t bufferBegin_ = 0; ///< position of the first byte of buffer_
    std::vector<std::byte> buffer_; ///< bytes that were peeked or are kept; the position is in or behind them
};
