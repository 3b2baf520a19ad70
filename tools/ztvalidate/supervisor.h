/// Runs checks in parallel, each under a supervising process of its own.
#pragma once

#include "tools/ztvalidate/check.h"

#include <chrono>
#include <functional>
#include <vector>

namespace zta::validate {

struct Job {
    const Check* check;
    Context context;
    std::chrono::milliseconds limit;
};

/// A process that runs one check with RunInChild. It adopts the orphans of its check, so that it can end them while
/// other checks run.
class Supervisor {
public:
    /// Throws std::system_error if no process can be created.
    explicit Supervisor(const Job& job);
    /// Ends the check and waits for the process.
    ~Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    /// Becomes readable at the end of the process.
    [[nodiscard]] int Handle() const { return handle_; }

    /// Waits for the end, and returns the outcome.
    Outcome Finish();

private:
    int id_;
    int handle_ = -1;
    int report_ = -1;
};

/// A temporary folder, which the destructor removes with its content.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

} // namespace zta::validate
