#include "tests/tools/run_tool.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void LimitTo(std::optional<unsigned long> value, __rlimit_resource resource)
{
    if (value) {
        const rlimit limit = {*value, *value};
        setrlimit(resource, &limit);
    }
}

[[noreturn]] void BecomeTool(const std::vector<std::string>& arguments, const RunOptions& options, int output,
                             int errors)
{
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    unsetenv("ZTAUDIO_MODULE");
    unsetenv("ORBUTILS");
    for (const auto& [name, value] : options.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    LimitTo(options.fileSizeLimit, RLIMIT_FSIZE);
    LimitTo(options.memoryLimit, RLIMIT_DATA);
    if (options.user && (setgid(*options.user) != 0 || setuid(*options.user) != 0)) {
        _exit(127);
    }
    std::string program = options.program.empty() ? ZTA_TOOL_PATH : options.program;
    std::vector<char*> argv = {program.data()};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
}

/// Reads both ends until the child has closed them.
void Collect(int output, int errors, RunResult& result)
{
    std::array<pollfd, 2> ends = {{{output, POLLIN, 0}, {errors, POLLIN, 0}}};
    for (int open = 2; open > 0;) {
        poll(ends.data(), ends.size(), -1);
        for (pollfd& end : ends) {
            if (end.fd < 0 || end.revents == 0) {
                continue;
            }
            std::array<char, 4096> bytes{};
            const ssize_t count = read(end.fd, bytes.data(), bytes.size());
            if (count > 0) {
                (end.fd == output ? result.output : result.errors)
                    .append(bytes.data(), static_cast<std::size_t>(count));
            } else if (count == 0 || errno != EINTR) { // a terminal without a program on it gives EIO
                end.fd = -1;
                --open;
            }
        }
    }
}

using IsSearched = std::function<bool(const std::string& file)>;

/// Returns the process or one of its children that has such a file open, 0 if there is none.
pid_t FindProcess(pid_t process, const IsSearched& isSearched)
{
    const std::string status = "/proc/" + std::to_string(process);
    std::error_code error; // the process may end
    for (std::filesystem::directory_iterator entry(status + "/fd", error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code closed;
        if (isSearched(std::filesystem::read_symlink(entry->path(), closed).string())) {
            return process;
        }
    }
    std::ifstream children(status + "/task/" + std::to_string(process) + "/children");
    for (pid_t child = 0; children >> child;) {
        if (const pid_t found = FindProcess(child, isSearched); found != 0) {
            return found;
        }
    }
    return 0;
}

/// Waits until the process or one of its children opens such a file. Kills the process if that takes too long.
pid_t WaitForProcess(pid_t process, const IsSearched& isSearched)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < giveUp) {
        if (const pid_t found = FindProcess(process, isSearched); found != 0) {
            return found;
        }
    }
    ADD_FAILURE() << "no process opened the file";
    return process;
}

} // namespace

bool HasTerminals()
{
    int controller = -1;
    int terminal = -1;
    if (openpty(&controller, &terminal, nullptr, nullptr, nullptr) != 0) {
        return false;
    }
    close(controller);
    close(terminal);
    return true;
}

bool HasFullDevice()
{
    return access("/dev/full", W_OK) == 0;
}

RunResult RunTool(const std::vector<std::string>& arguments, const RunOptions& options)
{
    std::array<int, 2> output{};
    std::array<int, 2> errors{};
    EXPECT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
    if (options.terminal) {
        const winsize size = {.ws_row = 24, .ws_col = options.columns, .ws_xpixel = 0, .ws_ypixel = 0};
        EXPECT_EQ(openpty(errors.data(), &errors[1], nullptr, nullptr, &size), 0);
    } else {
        EXPECT_EQ(pipe2(errors.data(), O_CLOEXEC), 0);
    }
    const pid_t child = fork();
    if (child == 0) {
        close(output[0]);
        close(errors[0]);
        BecomeTool(arguments, options, output[1], errors[1]);
    }
    close(output[1]);
    close(errors[1]);
    if (options.signalAtFirstTemporary != 0) {
        const std::string& folder = options.watchedFolder;
        WaitForProcess(child, [&folder](const std::string& file) { // without a name, or with a temporary one
            return file.starts_with(folder + "/#") || file.starts_with(folder + "/.ztaudio-");
        });
        kill(child, options.signalAtFirstTemporary);
    }
    if (!options.killedReader.empty()) {
        kill(WaitForProcess(child, [&options](const std::string& file) { return file == options.killedReader; }),
             SIGKILL);
    }
    RunResult result;
    Collect(output[0], errors[0], result);
    close(output[0]);
    close(errors[0]);
    int end = 0;
    EXPECT_EQ(waitpid(child, &end, 0), child);
    result.exitCode = WIFEXITED(end) ? WEXITSTATUS(end) : -1;
    result.signal = WIFSIGNALED(end) ? WTERMSIG(end) : 0;
    return result;
}
