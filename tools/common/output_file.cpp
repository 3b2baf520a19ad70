#include "tools/common/output_file.h"

#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kReaderPollMilliseconds = 50;

Failure CannotWrite(const std::filesystem::path& target, int error)
{
    return Failure(target.string() + ": cannot write: " + std::generic_category().message(error));
}

Failure AlreadyExists(const std::filesystem::path& target)
{
    return Failure(target.string() + ": exists already, and --no-clobber was given");
}

// The file that a link leads to, whether it exists or not.
std::filesystem::path FollowLinks(std::filesystem::path target)
{
    constexpr int kMaxLinks = 40; // as the system follows
    std::error_code error;
    for (int links = 0; std::filesystem::is_symlink(std::filesystem::symlink_status(target, error)); ++links) {
        if (links == kMaxLinks) {
            throw CannotWrite(target, ELOOP);
        }
        target = target.parent_path() / std::filesystem::read_symlink(target); // which may be absolute
    }
    return target;
}

// Writes until an error, which is put into `error`. Returns the bytes written.
std::int64_t WriteAll(int file, const std::byte* data, std::int64_t bytes, int& error)
{
    std::int64_t written = 0;
    while (error == 0 && written < bytes) {
        const ssize_t count = write(file, data + written, static_cast<std::size_t>(bytes - written));
        if (count >= 0) {
            written += count;
        } else if (errno != EINTR) {
            error = errno;
        }
    }
    return written;
}

std::string DescriptorPath(int file)
{
    return "/proc/self/fd/" + std::to_string(file);
}

// A file that the system removes if the program ends before it gets a name. Returns -1 if that is not possible here.
int OpenUnnamedFile(const std::filesystem::path& folder)
{
    const int file = open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0 && access(DescriptorPath(file).c_str(), F_OK) != 0) { // it could not get a name later
        close(file);
        return -1;
    }
    return file;
}

// Gives the file a temporary name. Returns an empty path, and sets errno, if that fails.
std::filesystem::path LinkUnnamedFile(int file, const std::filesystem::path& folder)
{
    for (int number = 0;; ++number) {
        auto name = folder / (".ztaudio-" + std::to_string(getpid()) + "-" + std::to_string(number));
        if (linkat(AT_FDCWD, DescriptorPath(file).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            return name;
        }
        if (errno != EEXIST) {
            return {};
        }
    }
}

// The access rights that the file would have got if it had been opened under its own name.
mode_t AccessRights(const std::filesystem::path& target)
{
    struct stat existing = {};
    if (stat(target.c_str(), &existing) == 0) {
        return existing.st_mode & 0777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

void RequireOtherFile(const std::filesystem::path& in, const std::filesystem::path& out)
{
    std::error_code error;
    if (in != "-" && out != "-" && std::filesystem::equivalent(in, out, error)) {
        throw Failure(out.string() + ": input and output are the same file");
    }
}

std::filesystem::path ResolveOutput(const std::filesystem::path& out)
{
    const std::filesystem::path target = std::filesystem::absolute(FollowLinks(out));
    return std::filesystem::weakly_canonical(target.parent_path()) / target.filename();
}

int OpenTemporaryFile()
{
    const char* const variable = std::getenv("TMPDIR");
    const std::string folder = variable != nullptr && *variable != '\0' ? variable : "/tmp";
    const int file = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0 || errno != EOPNOTSUPP) {
        return file;
    }
    // The file system has no files without a name.
    std::string pattern = folder + "/ztaudio-XXXXXX";
    const int named = mkostemp(pattern.data(), O_CLOEXEC);
    if (named >= 0) {
        unlink(pattern.c_str());
    }
    return named;
}

DescriptorTarget::~DescriptorTarget()
{
    if (file_ >= 0) {
        close(file_);
    }
}

std::int64_t DescriptorTarget::Write(const void* data, std::int64_t bytes) noexcept
{
    return WriteAll(file_, static_cast<const std::byte*>(data), bytes, error_);
}

std::int64_t DescriptorTarget::Read(void* data, std::int64_t bytes) noexcept
{
    return read(file_, data, static_cast<std::size_t>(bytes));
}

std::int64_t DescriptorTarget::Seek(std::int64_t offset, int whence) noexcept
{
    return lseek(file_, offset, whence);
}

std::int64_t DescriptorTarget::Length() const noexcept
{
    struct stat status = {};
    return fstat(file_, &status) == 0 ? status.st_size : -1;
}

OutputFile::OutputFile(const std::filesystem::path& target, ExistingOutput existing)
    : DescriptorTarget(-1), target_(target), existing_(existing)
{
    std::error_code error;
    if (existing == ExistingOutput::Refuse && std::filesystem::exists(std::filesystem::symlink_status(target, error))) {
        throw AlreadyExists(target);
    }
    const auto status = std::filesystem::status(target, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw Failure(target.string() + ": cannot write: not a regular file");
    }
    if (std::filesystem::exists(status) && access(target.c_str(), W_OK) != 0) {
        throw CannotWrite(target, errno);
    }
    target_ = FollowLinks(target); // a link stays a link
    file_ = OpenUnnamedFile(target_.parent_path());
    if (file_ < 0) {
        std::string pattern = (target_.parent_path() / ".ztaudio-XXXXXX").string();
        file_ = mkostemp(pattern.data(), O_CLOEXEC);
        if (file_ < 0) {
            throw CannotWrite(target, errno);
        }
        temporary_ = pattern;
    }
    fchmod(file_, AccessRights(target_));
}

OutputFile::~OutputFile()
{
    if (exchanged_) {
        Exchange();
    } else if (created_) {
        unlink(target_.c_str());
    }
    OutputFile::Keep();
}

void OutputFile::RequireWritten() const
{
    if (error_ != 0) {
        throw CannotWrite(target_, error_);
    }
}

void OutputFile::Close()
{
    RequireWritten();
    if (temporary_.empty()) {
        temporary_ = LinkUnnamedFile(file_, target_.parent_path());
        if (temporary_.empty()) {
            throw CannotWrite(target_, errno);
        }
    }
    if (close(std::exchange(file_, -1)) != 0) {
        throw CannotWrite(target_, errno);
    }
}

void OutputFile::Publish()
{
    if (existing_ == ExistingOutput::Refuse) {
        if (renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
            temporary_.clear();
            created_ = true;
            return;
        }
        if (errno == EEXIST) {
            throw AlreadyExists(target_);
        }
        if (errno != EINVAL && errno != ENOSYS) { // the file system cannot do it
            throw CannotWrite(target_, errno);
        }
    }
    exchanged_ = Exchange();
    if (exchanged_) {
        return;
    }
    // There is no file of that name, or the file system cannot exchange names.
    const bool missing = errno == ENOENT;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        throw CannotWrite(target_, errno);
    }
    temporary_.clear();
    created_ = missing;
}

void OutputFile::Keep() noexcept
{
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
    temporary_.clear();
    exchanged_ = false;
    created_ = false;
}

bool OutputFile::Exchange() const noexcept
{
    return renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), RENAME_EXCHANGE) == 0;
}

bool IsStream(const std::filesystem::path& out)
{
    std::error_code error;
    return out == "-" || std::filesystem::is_fifo(out, error);
}

StreamOutput::StreamOutput(const std::filesystem::path& out)
    : name_(out == "-" ? "standard output" : out.string()), file_(STDOUT_FILENO)
{
    if (out == "-") {
        return;
    }
    // Without O_NONBLOCK, no signal ends the wait for a reader.
    while ((file_ = open(out.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) < 0) {
        CheckInterruption();
        if (errno != ENXIO && errno != EINTR) {
            throw CannotWrite(name_, errno);
        }
        poll(nullptr, 0, kReaderPollMilliseconds);
    }
    fcntl(file_, F_SETFL, O_WRONLY);
}

StreamOutput::~StreamOutput()
{
    if (file_ != STDOUT_FILENO) {
        close(file_);
    }
}

std::int64_t StreamOutput::Write(const void* data, std::int64_t bytes) noexcept
{
    const std::int64_t gone = std::clamp(written_ - position_, std::int64_t{0}, bytes);
    const auto* from = static_cast<const std::byte*>(data);
    const std::int64_t done = gone + WriteAll(file_, from + gone, bytes - gone, error_);
    position_ += done;
    written_ = std::max(written_, position_);
    return done;
}

std::int64_t StreamOutput::Read(void* /*data*/, std::int64_t /*bytes*/) noexcept
{
    return 0;
}

std::int64_t StreamOutput::Seek(std::int64_t offset, int whence) noexcept
{
    const std::int64_t target = whence == SEEK_SET   ? offset
                                : whence == SEEK_CUR ? position_ + offset
                                                     : written_ + offset;
    if (target < 0 || target > written_) {
        return -1;
    }
    position_ = target;
    return position_;
}

void StreamOutput::RequireWritten() const
{
    if (error_ == EPIPE) {
        throw BrokenPipe();
    }
    if (error_ != 0) {
        throw CannotWrite(name_, error_);
    }
}

SpooledOutput::SpooledOutput(const std::filesystem::path& out) : DescriptorTarget(OpenTemporaryFile()), stream_(out)
{
    if (file_ < 0) {
        throw CannotSpool("write", errno);
    }
}

void SpooledOutput::RequireWritten() const
{
    if (error_ != 0) {
        throw CannotSpool("write", error_);
    }
}

void SpooledOutput::Publish()
{
    std::vector<std::byte> block(65536);
    lseek(file_, 0, SEEK_SET);
    ssize_t count = 0;
    while ((count = read(file_, block.data(), block.size())) > 0) {
        CheckInterruption();
        stream_.Write(block.data(), count);
        stream_.RequireWritten();
    }
    if (count < 0) {
        throw CannotSpool("read", errno);
    }
}

Failure SpooledOutput::CannotSpool(const std::string& what, int error) const
{
    return Failure(stream_.Name() + ": cannot " + what +
                   " a temporary file: " + std::generic_category().message(error));
}
