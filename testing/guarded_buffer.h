#pragma once

#include <cstddef>
#include <cstdint>

/// Memory between two guard pages: an access one byte before or after it ends the program.
class GuardedBuffer {
public:
    /// At least `bytes` bytes, rounded up to whole pages.
    explicit GuardedBuffer(std::size_t bytes);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    std::uint8_t* Begin() const { return begin_; }
    std::uint8_t* End() const { return begin_ + size_; }
    std::size_t Size() const { return size_; }

private:
    std::size_t page_;
    std::size_t size_;
    std::uint8_t* begin_;
};
