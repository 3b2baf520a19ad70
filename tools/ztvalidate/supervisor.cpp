#include "tools/ztvalidate/supervisor.h"

#include "tools/common/failure.h"
#include "tools/ztvalidate/child_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zta::validate {

namespace {

[[noreturn]] void ThrowSystemError(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/// The fixed part of a supervisor's report. The detail and the output follow it. All together fit into a pipe.
struct ReportHeader {
    Result result;
    bool hasHung;
    double seconds;
    std::size_t detailBytes;
    std::size_t outputBytes;
};

std::string ReportBytes(const Outcome& outcome)
{
    ReportHeader header;
    std::memset(static_cast<void*>(&header), 0, sizeof(header));
    header.result = outcome.result;
    header.hasHung = outcome.hasHung;
    header.seconds = outcome.seconds;
    header.detailBytes = outcome.detail.size();
    header.outputBytes = outcome.output.size();
    return std::string(reinterpret_cast<const char*>(&header), sizeof(header)) + outcome.detail + outcome.output;
}

Outcome ReadReport(const std::string& bytes)
{
    ReportHeader header;
    if (bytes.size() < sizeof(header)) {
        return {Result::Crashed, "ended the process that supervises it"};
    }
    std::memcpy(&header, bytes.data(), sizeof(header));
    return {header.result, bytes.substr(sizeof(header), header.detailBytes),
            bytes.substr(sizeof(header) + header.detailBytes), header.seconds, header.hasHung};
}

Outcome RunJob(const Job& job)
{
    Context context = job.context;
    if (!job.check->needsFolder) {
        return RunInChild(*job.check, context, job.limit);
    }
    const TemporaryFolder folder;
    context.folder = folder.Path();
    return RunInChild(*job.check, context, job.limit);
}

[[noreturn]] void BecomeSupervisor(const Job& job, pid_t parent, int report)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) {
        _exit(EXIT_FAILURE);
    }
    try {
        AdoptOrphans();
        const std::string bytes = ReportBytes(RunJob(job));
        if (write(report, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size())) {
            _exit(EXIT_SUCCESS);
        }
    } catch (const Interrupted&) { // the parent has ended the run
    } catch (const std::exception& error) {
        const std::string bytes = ReportBytes({Result::Crashed, error.what()});
        static_cast<void>(!write(report, bytes.data(), bytes.size()));
    }
    _exit(EXIT_FAILURE);
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = std::filesystem::temp_directory_path() / "ztvalidate-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), pattern);
    }
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Supervisor::Supervisor(const Job& job)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        ThrowSystemError("pipe");
    }
    std::fflush(nullptr);
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ == 0) {
        close(ends[0]);
        BecomeSupervisor(job, parent, ends[1]);
    }
    close(ends[1]);
    report_ = ends[0];
    if (id_ > 0) {
        handle_ = static_cast<int>(syscall(SYS_pidfd_open, id_, 0));
    }
    if (handle_ < 0) {
        const int error = errno;
        close(report_);
        if (id_ > 0) {
            kill(id_, SIGTERM);
            waitpid(id_, nullptr, 0);
        }
        errno = error;
        ThrowSystemError("cannot start a process");
    }
    // The end of the process is the end of the report, also if an orphan of the check keeps the pipe open.
    fcntl(report_, F_SETFL, O_NONBLOCK);
}

Supervisor::~Supervisor()
{
    if (id_ != 0) {
        kill(id_, SIGTERM);
        Finish();
    }
    close(handle_);
    close(report_);
}

Outcome Supervisor::Finish()
{
    while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
    }
    id_ = 0;
    std::string bytes;
    std::array<char, 4096> piece;
    for (ssize_t count = 0; (count = read(report_, piece.data(), piece.size())) > 0;) {
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    return ReadReport(bytes);
}

} // namespace zta::validate
