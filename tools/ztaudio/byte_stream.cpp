#include "tools/ztaudio/byte_stream.h"

#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kPollMilliseconds = 200;           // a signal that arrives just before the call does not end it
constexpr std::size_t kMaxKeptBytes = 256 << 20; // more than the pictures in any header

} // namespace

ByteStream::~ByteStream()
{
    close(file_);
}

std::string ByteStream::Peek(std::size_t first, std::size_t count)
{
    if (BufferEnd() <= position_ && !keeps_) {
        buffer_.clear();
        bufferBegin_ = position_;
    }
    const auto begin = static_cast<std::size_t>(position_ - bufferBegin_) + first;
    while (buffer_.size() < begin + count) {
        std::byte bytes[4096];
        const std::size_t read = ReadFile(bytes, sizeof bytes);
        if (read == 0) {
            break;
        }
        buffer_.insert(buffer_.end(), bytes, bytes + read);
    }
    const std::size_t available = buffer_.size() - std::min(begin, buffer_.size());
    return {reinterpret_cast<const char*>(buffer_.data()) + std::min(begin, buffer_.size()),
            std::min(count, available)};
}

std::size_t ByteStream::Read(void* data, std::size_t count) noexcept
{
    auto* to = static_cast<std::byte*>(data);
    std::size_t total = 0;
    while (total < count) {
        std::size_t read = 0;
        if (position_ < BufferEnd()) {
            read = std::min(count - total, static_cast<std::size_t>(BufferEnd() - position_));
            std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(position_ - bufferBegin_), read, to + total);
        } else {
            read = ReadFile(to + total, count - total);
            KeepBytes(to + total, read);
        }
        if (read == 0) {
            break;
        }
        total += read;
        position_ += read;
    }
    if (!keeps_ && position_ >= BufferEnd()) {
        buffer_ = {};
        bufferBegin_ = position_;
    }
    return total;
}

void ByteStream::Skip(std::uint64_t count) noexcept
{
    std::byte skipped[4096];
    while (count > 0) {
        const std::size_t read =
            Read(skipped, static_cast<std::size_t>(std::min<std::uint64_t>(count, sizeof skipped)));
        if (read == 0) {
            return;
        }
        count -= read;
    }
}

void ByteStream::Drain() noexcept
{
    Skip(UINT64_MAX);
}

void ByteStream::Keep()
{
    if (position_ >= BufferEnd()) {
        buffer_.clear();
        bufferBegin_ = position_;
    }
    keeps_ = true;
}

bool ByteStream::Seek(std::uint64_t position) noexcept
{
    if (position >= bufferBegin_ && position <= BufferEnd()) {
        position_ = position;
        return true;
    }
    if (position < position_) {
        return false;
    }
    Skip(position - position_);
    return position_ == position;
}

void ByteStream::RequireRead(const std::string& name) const
{
    CheckInterruption();
    if (error_ != 0) {
        throw Failure(name + ": cannot read: " + std::generic_category().message(error_));
    }
}

void ByteStream::KeepBytes(const std::byte* data, std::size_t count) noexcept
{
    if (!keeps_) {
        return;
    }
    try {
        buffer_.insert(buffer_.end(), data, data + count);
        keeps_ = buffer_.size() < kMaxKeptBytes;
    } catch (const std::bad_alloc&) {
        keeps_ = false;
    }
}

std::size_t ByteStream::ReadFile(void* data, std::size_t count) noexcept
{
    while (error_ == 0 && !IsInterrupted()) {
        pollfd waiting = {file_, POLLIN, 0};
        if (poll(&waiting, 1, kPollMilliseconds) == 0) {
            continue;
        }
        const ssize_t read = ::read(file_, data, count);
        if (read >= 0) {
            return static_cast<std::size_t>(read);
        }
        if (errno != EINTR && errno != EAGAIN) {
            error_ = errno;
        }
    }
    return 0;
}
