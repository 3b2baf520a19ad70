#include "tools/ztaudio/byte_stream.h"

#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kPollMilliseconds = 200; // a signal that arrives just before the call does not end it

} // namespace

ByteStream::~ByteStream()
{
    close(file_);
}

std::string ByteStream::Peek(std::size_t first, std::size_t count)
{
    while (ahead_.size() < first + count) {
        std::byte bytes[4096];
        const std::size_t read = ReadFile(bytes, sizeof bytes);
        if (read == 0) {
            break;
        }
        ahead_.insert(ahead_.end(), bytes, bytes + read);
    }
    const std::size_t begin = std::min(first, ahead_.size());
    const std::size_t end = std::min(first + count, ahead_.size());
    return {reinterpret_cast<const char*>(ahead_.data()) + begin, end - begin};
}

std::size_t ByteStream::Read(void* data, std::size_t count) noexcept
{
    auto* to = static_cast<std::byte*>(data);
    const std::size_t peeked = std::min(count, ahead_.size());
    std::copy_n(ahead_.begin(), peeked, to);
    ahead_.erase(ahead_.begin(), ahead_.begin() + static_cast<std::ptrdiff_t>(peeked));
    std::size_t total = peeked;
    while (total < count) {
        const std::size_t read = ReadFile(to + total, count - total);
        if (read == 0) {
            break;
        }
        total += read;
    }
    return total;
}

void ByteStream::Skip(std::size_t count)
{
    std::vector<std::byte> skipped(count);
    Read(skipped.data(), count);
}

void ByteStream::RequireRead(const std::string& name) const
{
    CheckInterruption();
    if (error_ != 0) {
        throw Failure(name + ": cannot read: " + std::generic_category().message(error_));
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
