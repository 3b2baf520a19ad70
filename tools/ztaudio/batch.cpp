#include "tools/ztaudio/batch.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <span>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::string_view kPlace = "{}";
constexpr int kPollMilliseconds = 100;

// Before the message of the failure that ended a run; what a run prints has none.
constexpr char kFailureMark = '\0';

std::filesystem::path OutputFor(const std::filesystem::path& in, std::string name)
{
    const std::string stem = in.stem().string();
    for (std::size_t place = 0; (place = name.find(kPlace, place)) != std::string::npos; place += stem.size()) {
        name.replace(place, kPlace.size(), stem);
    }
    return name;
}

/// The identity of a file, also if it has several names.
std::pair<dev_t, ino_t> Identity(const std::filesystem::path& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? std::pair(status.st_dev, status.st_ino) : std::pair(dev_t{0}, ino_t{0});
}

void RequireSeparateFiles(const std::vector<BatchFile>& files)
{
    std::map<std::pair<dev_t, ino_t>, std::filesystem::path> inputs;
    for (const BatchFile& file : files) {
        inputs.try_emplace(Identity(file.in), file.in);
    }
    inputs.erase({0, 0});
    std::map<std::filesystem::path, std::filesystem::path> outputs;
    for (const BatchFile& file : files) {
        if (const auto input = inputs.find(Identity(file.out)); input != inputs.end()) {
            throw Failure(file.out.string() + ": would replace the input " + input->second.string());
        }
        const auto [other, isNew] = outputs.try_emplace(ResolveOutput(file.out), file.in);
        if (!isNew) {
            throw Failure(file.out.string() + ": would be the output of both " + other->second.string() + " and " +
                          file.in.string());
        }
    }
}

/// Slots in memory that this process shares with those it starts.
class SharedSlots {
public:
    explicit SharedSlots(std::size_t count) : bytes_(count * sizeof(ProgressSlot))
    {
        void* const memory = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::bad_alloc();
        }
        auto* const first = static_cast<ProgressSlot*>(memory);
        for (std::size_t i = 0; i < count; ++i) {
            new (first + i) ProgressSlot{};
        }
        slots_ = {first, count};
    }
    ~SharedSlots() { munmap(slots_.data(), bytes_); }
    SharedSlots(const SharedSlots&) = delete;
    SharedSlots& operator=(const SharedSlots&) = delete;

    std::span<ProgressSlot> All() const { return slots_; }

private:
    std::size_t bytes_;
    std::span<ProgressSlot> slots_;
};

class Batch {
public:
    Batch(const std::vector<BatchFile>& files, const Context& context, const BatchCommand& command)
        : files_(files), context_(context), command_(command), slots_(files.size()), progress_(context, slots_.All())
    {
    }
    ~Batch()
    {
        Signal();
        for (const Run& run : runs_) {
            close(run.messages);
            waitpid(run.process, nullptr, 0);
        }
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    int RunAll(std::size_t jobs)
    {
        bool signaled = false;
        for (std::size_t next = 0; next < files_.size() || !runs_.empty();) {
            if (IsInterrupted() && !std::exchange(signaled, true)) {
                next = files_.size();
                Signal();
                continue;
            }
            while (next < files_.size() && runs_.size() < jobs) {
                Start(next++);
            }
            Receive();
            progress_.Draw();
        }
        CheckInterruption();
        progress_.Finish();
        PrintFailures();
        return failures_.empty() ? 0 : kExitFailure;
    }

private:
    /// A process that runs the command for one file.
    struct Run {
        std::size_t index;
        pid_t process;
        int messages;     ///< the read end of its standard error
        std::string text; ///< what came from there and is not printed yet
    };

    void Start(std::size_t index)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw Failure("cannot make a pipe: " + std::generic_category().message(errno));
        }
        FlushStandardOutput();
        const pid_t parent = getpid();
        const pid_t process = fork();
        if (process == 0) {
            close(ends[0]);
            RunInChild(index, parent, ends[1]);
        }
        const int error = errno;
        close(ends[1]);
        if (process < 0) {
            close(ends[0]);
            throw Failure("cannot start a process: " + std::generic_category().message(error));
        }
        runs_.push_back({index, process, ends[0], {}});
    }

    // Must not return or throw: what the stack above has belongs to the parent.
    [[noreturn]] void RunInChild(std::size_t index, pid_t parent, int messages) noexcept
    {
        InstallSignalHandlers(SecondSignal::IsIgnored); // the terminal and the parent may both send one
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            std::_Exit(kExitFailure);
        }
        dup2(messages, STDERR_FILENO);
        for (const Run& run : runs_) {
            close(run.messages);
        }
        Context context = context_;
        context.slot = &slots_.All()[index];
        try {
            CheckInterruption();
            command_(files_[index], context);
            FlushStandardOutput();
        } catch (const std::exception& error) {
            const std::string text = kFailureMark + std::string(error.what());
            std::fwrite(text.data(), 1, text.size(), stderr);
            std::exit(kExitFailure);
        }
        std::exit(0);
    }

    /// Waits for messages of the runs, and ends those that have closed their end.
    void Receive()
    {
        std::vector<pollfd> ends;
        for (const Run& run : runs_) {
            ends.push_back({run.messages, POLLIN, 0});
        }
        if (poll(ends.data(), ends.size(), kPollMilliseconds) <= 0) {
            return;
        }
        for (std::size_t i = ends.size(); i-- > 0;) {
            if (ends[i].revents == 0) {
                continue;
            }
            char bytes[4096];
            const ssize_t count = read(ends[i].fd, bytes, sizeof bytes);
            if (count > 0) {
                runs_[i].text.append(bytes, static_cast<std::size_t>(count));
                PrintLines(runs_[i].text);
            } else if (count == 0 || errno != EINTR) {
                Finish(runs_[i]);
                runs_.erase(runs_.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
    }

    void Finish(const Run& run)
    {
        close(run.messages);
        int status = 0;
        while (waitpid(run.process, &status, 0) < 0 && errno == EINTR) {
        }
        progress_.Advance(run.index);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            return;
        }
        const std::size_t mark = run.text.find(kFailureMark);
        std::string message = mark != std::string::npos ? run.text.substr(mark + 1)
                              : WIFSIGNALED(status)     ? "ended by signal " + std::to_string(WTERMSIG(status))
                                                        : run.text;
        const BatchFile& file = files_[run.index];
        if (!message.starts_with(file.in.string()) && !message.starts_with(file.out.string())) {
            message.insert(0, file.in.string() + ": ");
        }
        failures_.emplace(run.index, std::move(message));
    }

    /// Prints the complete lines, so that those of several runs do not mix.
    void PrintLines(std::string& text)
    {
        const std::size_t mark = text.find(kFailureMark);
        const std::size_t end =
            mark == 0 ? std::string::npos : text.rfind('\n', mark == std::string::npos ? mark : mark - 1);
        if (end == std::string::npos) {
            return;
        }
        progress_.Erase();
        std::fwrite(text.data(), 1, end + 1, stderr);
        text.erase(0, end + 1);
    }

    void PrintFailures() const
    {
        if (failures_.empty()) {
            return;
        }
        PrintError(std::to_string(failures_.size()) + " of " + std::to_string(files_.size()) + " files failed:");
        for (const auto& [index, message] : failures_) {
            PrintError(message);
        }
    }

    void Signal() const
    {
        for (const Run& run : runs_) {
            kill(run.process, SIGTERM);
        }
    }

    const std::vector<BatchFile>& files_;
    const Context& context_;
    const BatchCommand& command_;
    SharedSlots slots_;
    ProgressLine progress_;
    std::vector<Run> runs_;
    std::map<std::size_t, std::string> failures_; ///< by the index of the file
};

} // namespace

std::vector<BatchFile> PlanBatch(const std::vector<std::filesystem::path>& in, const std::string& pattern,
                                 const OutputOptions& output)
{
    if (in.size() == 1 && pattern.find(kPlace) == std::string::npos) {
        return {{in[0], pattern}};
    }
    if (pattern.find(kPlace) == std::string::npos) {
        throw UsageFailure("-o " + pattern + ": several inputs need {} in the name of the output");
    }
    std::vector<BatchFile> files;
    for (const auto& path : in) {
        if (path == "-") {
            throw UsageFailure("-o " + pattern + ": standard input has no name to put in place of {}");
        }
        const BatchFile& file = files.emplace_back(BatchFile{path, OutputFor(path, pattern)});
        RequireContainer(file.out, output);
        const auto folder = file.out.parent_path();
        if (!folder.empty() && !std::filesystem::is_directory(folder)) {
            throw Failure(folder.string() + ": no such folder");
        }
    }
    RequireSeparateFiles(files);
    return files;
}

int RunBatch(const std::vector<BatchFile>& files, unsigned jobs, const Context& context, const BatchCommand& command)
{
    const unsigned processors = std::max(std::thread::hardware_concurrency(), 1U);
    return Batch(files, context, command).RunAll(jobs == 0 ? processors : jobs);
}

int RunCommand(const BatchOptions& options, const Context& context)
{
    const auto run = [&](const auto& command) {
        const auto files = PlanBatch(options.in, options.pattern, command.files.output);
        const BatchCommand runOne = [&command](const BatchFile& file, const Context& own) {
            auto one = command;
            one.in = file.in;
            one.out = file.out;
            RunCommand(one, own);
        };
        if (files.size() > 1) {
            return RunBatch(files, options.jobs, context, runOne);
        }
        runOne(files[0], context);
        return 0;
    };
    return std::visit(run, options.command);
}
