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

/// How much is kept of what a check writes; the rest is read and thrown away.
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

/// Takes what is there without waiting; keeps the beginning. False once the other end is closed.
bool Drain(const Descriptor& end, std::string& text, std::size_t kept)
{
    std::array<char, 4096> bytes;
    // A writer that never stops must not hold the reader: the next round takes the rest.
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

/// Children that this process had before it started any: whoever started it may have left some.
std::set<pid_t>& ForeignChildren()
{
    static std::set<pid_t> children;
    return children;
}

/// Ends what a check's process has left behind, wherever it has moved to.
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
            if (!ForeignChildren().contains(child)) {
                kill(child, SIGKILL);
                found = true;
            }
        }
        if (!found) {
            return;
        }
        usleep(1000);
    }
}

/// The process of one check. It is gone when this object is.
class ChildProcess {
public:
    explicit ChildProcess(pid_t id) : id_(id), handle_(static_cast<int>(syscall(SYS_pidfd_open, id, 0))) {}
    ~ChildProcess() { End(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] int Handle() const { return handle_.Get(); }

    /// Kills what is left of it and gives the status that it ended with.
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

void Report(int file, Result result, const std::string& detail)
{
    std::string report(1, static_cast<char>('0' + static_cast<int>(result)));
    report += detail.substr(0, kReportKept - 1);
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
    try {
        check.run(context);
        Report(report, Result::Passed, "");
    } catch (const CheckFailure& failure) {
        Report(report, Result::Failed, failure.what());
    } catch (const CheckWarning& warning) {
        Report(report, Result::Warning, warning.what());
    } catch (const CheckSkipped& reason) {
        Report(report, Result::Skipped, reason.what());
    } catch (const std::exception& error) {
        Report(report, Result::Failed, error.what());
    } catch (...) {
        Report(report, Result::Failed, "an exception that is none of the standard library's came out of it");
    }
    std::fflush(nullptr);
    _exit(EXIT_SUCCESS);
}

// ---- In the parent ----

/// What a check's process was good for, from its report and its end.
Outcome Judge(const std::string& report, int status)
{
    const int code = report.empty() ? -1 : report[0] - '0';
    if (code >= 0 && code <= static_cast<int>(Result::Skipped)) {
        return {static_cast<Result>(code), report.substr(1), "", 0};
    }
    if (WIFSIGNALED(status)) {
        const char* name = sigabbrev_np(WTERMSIG(status));
        return {Result::Crashed,
                std::string("ended by SIG") + (name != nullptr ? name : std::to_string(WTERMSIG(status))), "", 0};
    }
    return {Result::Crashed, "ended the process with exit code " + std::to_string(WEXITSTATUS(status)), "", 0};
}

std::string LimitText(std::chrono::milliseconds limit)
{
    char text[64];
    std::snprintf(text, sizeof(text), "did not end within %g seconds", static_cast<double>(limit.count()) / 1000);
    return text;
}

} // namespace

const char* ResultName(Result result)
{
    constexpr std::array<const char*, 5> names = {"passed", "warning", "failed", "crashed", "skipped"};
    return names[static_cast<std::size_t>(result)];
}

void AdoptOrphans()
{
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        ThrowSystemError("prctl");
    }
    ForeignChildren() = Children();
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
    std::array<pollfd, 3> events = {
        {{child.Handle(), POLLIN, 0}, {output.readEnd.Get(), POLLIN, 0}, {report.readEnd.Get(), POLLIN, 0}}};
    while (!ended) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(start + limit - Clock::now());
        if (left.count() <= 0) {
            break;
        }
        const int count = poll(events.data(), events.size(), static_cast<int>(left.count()));
        CheckInterruption();
        if (count < 0) {
            continue; // a signal that is none of ours
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

    Outcome outcome = ended ? Judge(reportText, status) : Outcome{Result::Failed, LimitText(limit), "", 0};
    if (outcome.result == Result::Failed || outcome.result == Result::Crashed) {
        outcome.output = outputText;
    }
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return outcome;
}

} // namespace zta::validate
