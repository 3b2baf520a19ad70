#include "tools/ztvalidate/child_process.h"

#include "tools/common/signal_handling.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zta::validate {

namespace {

using Clock = std::chrono::steady_clock;

/// How much of a check's output is kept; the rest is read and dropped.
constexpr std::size_t kOutputKept = 2000;

/// A report that is no longer than this arrives as a whole or not at all.
constexpr std::size_t kReportKept = PIPE_BUF;

[[noreturn]] void ThrowSystemError(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { Close(); }

    void Close()
    {
        if (number_ >= 0) {
            close(std::exchange(number_, -1));
        }
    }
    [[nodiscard]] int Get() const { return number_; }

private:
    int number_;
};

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;

    Pipe()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            ThrowSystemError("pipe");
        }
        readEnd = Descriptor(ends[0]);
        writeEnd = Descriptor(ends[1]);
        fcntl(readEnd.Get(), F_SETFL, O_NONBLOCK);
    }
};

/// Reads the available bytes without blocking, and keeps the first ones. False once the other end is closed.
bool Drain(const Descriptor& end, std::string& text, std::size_t kept)
{
    std::array<char, 4096> bytes;
    // A writer that never stops must not block the reader: the next call reads more.
    for (int round = 0; round < 16; ++round) {
        const ssize_t count = read(end.Get(), bytes.data(), bytes.size());
        if (count <= 0) {
            return count < 0 && (errno == EAGAIN || errno == EINTR);
        }
        text.append(bytes.data(), std::min(static_cast<std::size_t>(count), kept - text.size()));
    }
    return true;
}

/// The number that a text begins with; 0 for none.
pid_t LeadingNumber(std::string_view text)
{
    pid_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::set<pid_t> Children()
{
    std::set<pid_t> children;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        std::ifstream file(entry.path() / "stat");
        std::string stat;
        std::getline(file, stat, '\0'); // all of it; nothing of a process that has just ended
        // "pid (any name) state parent ..."
        const auto nameEnd = stat.rfind(')');
        if (nameEnd != std::string::npos &&
            LeadingNumber(std::string_view(stat).substr(std::min(nameEnd + 4, stat.size()))) == getpid()) {
            children.insert(LeadingNumber(name));
        }
    }
    return children;
}

/// Ends the processes that a check's process has left behind, in any process group or session.
void EndOrphans()
{
    const auto giveUp = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < giveUp) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        if (waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD) {
            return;
        }
        bool found = false;
        for (const pid_t child : Children()) {
            kill(child, SIGKILL);
            found = true;
        }
        if (!found) {
            return;
        }
        usleep(1000);
    }
}

/// The process of one check. The destructor ends it.
class ChildProcess {
public:
    explicit ChildProcess(pid_t id) : id_(id), handle_(static_cast<int>(syscall(SYS_pidfd_open, id, 0))) {}
    ~ChildProcess() { End(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] int Handle() const { return handle_.Get(); }

    /// Ends it and the processes that it started. Returns its exit status.
    int End()
    {
        if (id_ == 0) {
            return status_;
        }
        kill(-id_, SIGKILL);
        kill(id_, SIGKILL);
        while (waitpid(id_, &status_, 0) < 0 && errno == EINTR) {
        }
        kill(-id_, SIGKILL);
        id_ = 0;
        EndOrphans();
        return status_;
    }

private:
    pid_t id_;
    Descriptor handle_;
    int status_ = 0;
};

// ---- In the child ----

void Report(int file, const Outcome& outcome)
{
    std::string report(1, static_cast<char>('0' + static_cast<int>(outcome.result)));
    report += outcome.detail.substr(0, kReportKept - 1);
    if (write(file, report.data(), report.size()) < 0) {
        std::abort();
    }
}

[[noreturn]] void BecomeCheck(const Check& check, const Context& context, pid_t parent, int output, int report)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(EXIT_FAILURE);
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ}) {
        std::signal(signal, SIG_DFL);
    }
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    Report(report, PerformCheck(check, context));
    std::fflush(nullptr);
    _exit(EXIT_SUCCESS);
}

// ---- In the parent ----

/// The outcome of a check, from its process's report and exit status.
Outcome Judge(const std::string& report, int status)
{
    const int code = report.empty() ? -1 : report[0] - '0';
    if (code >= 0 && code <= static_cast<int>(Result::Skipped)) {
        return {static_cast<Result>(code), report.substr(1)};
    }
    if (WIFSIGNALED(status)) {
        const char* name = sigabbrev_np(WTERMSIG(status));
        return {Result::Crashed,
                std::string("ended by SIG") + (name != nullptr ? name : std::to_string(WTERMSIG(status)))};
    }
    return {Result::Crashed, "ended the process with exit code " + std::to_string(WEXITSTATUS(status))};
}

/// A signal that arrives just before the wait is noticed after it.
constexpr std::chrono::milliseconds kMaxWait(1000);

/// The share of the time limit after which a check yields the processor to others: it may loop without end.
constexpr int kPoliteShare = 10;

std::string LimitText(std::chrono::milliseconds limit)
{
    char text[64];
    std::snprintf(text, sizeof(text), "did not end within %g seconds", static_cast<double>(limit.count()) / 1000);
    return text;
}

} // namespace

void AdoptOrphans()
{
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        ThrowSystemError("prctl");
    }
}

Outcome RunInChild(const Check& check, const Context& context, std::chrono::milliseconds limit)
{
    const auto start = Clock::now();
    Pipe output;
    Pipe report;
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t id = fork();
    if (id < 0) {
        ThrowSystemError("fork");
    }
    if (id == 0) {
        BecomeCheck(check, context, parent, output.writeEnd.Get(), report.writeEnd.Get());
    }
    setpgid(id, id); // on both sides: whichever comes first
    ChildProcess child(id);
    if (child.Handle() < 0) {
        ThrowSystemError("pidfd_open");
    }
    output.writeEnd.Close();
    report.writeEnd.Close();

    std::string outputText;
    std::string reportText;
    bool ended = false;
    bool isPolite = false;
    std::array<pollfd, 3> events = {
        {{child.Handle(), POLLIN, 0}, {output.readEnd.Get(), POLLIN, 0}, {report.readEnd.Get(), POLLIN, 0}}};
    while (!ended) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(start + limit - Clock::now());
        if (left.count() <= 0) {
            break;
        }
        auto wait = left;
        if (!isPolite) {
            wait = left - limit + limit / kPoliteShare;
            if (wait.count() <= 0) {
                setpriority(PRIO_PGRP, static_cast<id_t>(id), 10);
                isPolite = true;
                wait = left;
            }
        }
        const int count = poll(events.data(), events.size(), static_cast<int>(std::min(wait, kMaxWait).count()));
        CheckInterruption();
        if (count < 0) {
            continue; // another signal
        }
        ended = events[0].revents != 0;
        if (events[1].revents != 0 && !Drain(output.readEnd, outputText, kOutputKept)) {
            events[1].fd = -1;
        }
        if (events[2].revents != 0 && !Drain(report.readEnd, reportText, kReportKept)) {
            events[2].fd = -1;
        }
    }
    const int status = child.End();
    Drain(output.readEnd, outputText, kOutputKept);
    Drain(report.readEnd, reportText, kReportKept);

    Outcome outcome = ended ? Judge(reportText, status) : Outcome{Result::Failed, LimitText(limit)};
    outcome.hasHung = !ended;
    if (IsBad(outcome)) {
        outcome.output = outputText;
    }
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return outcome;
}

} // namespace zta::validate
