/// Selects the next check to run.
#pragma once

#include "tools/ztvalidate/supervisor.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zta::validate {

struct RunLimits {
    std::size_t jobs = 1;             ///< checks at the same time
    std::chrono::milliseconds time{}; ///< for one check
};

/// Runs the checks of one subject in child processes.
///
/// A check that hangs delays the others little. After one has hung, a check that runs much longer than others no longer
/// counts as a job, and the next one starts; at most two such checks of a group run at the same time. After two checks
/// of a group have hung, the others of the group are skipped.
class Scheduler {
public:
    using Clock = std::chrono::steady_clock;
    using Receive = std::function<void(const Check& check, const Outcome& outcome)>;

    Scheduler(const std::vector<Check>& checks, const Context& context, const RunLimits& limits);

    /// Runs all checks, and passes each outcome to `receive` in the order of the checks. If a signal interrupts it,
    /// ends the running checks and throws Interrupted.
    void Run(const Receive& receive);

private:
    enum class State { Waiting, Running, Done };
    enum class Decision { Run, Wait, Skip };

    struct Entry {
        const Check* check;
        State state = State::Waiting;
        Outcome outcome = {};
        Clock::time_point start = {};
        std::unique_ptr<Supervisor> supervisor = nullptr;
    };

    struct Group {
        int hung = 0;
    };

    Decision Decide(Entry& entry);
    void StartChecks();
    void WaitForChecks();
    void Finish(Entry& entry, Outcome outcome);
    [[nodiscard]] bool IsSlow(const Entry& entry) const;
    [[nodiscard]] std::chrono::duration<double> SlowThreshold() const;

    std::vector<Entry> entries_;
    Context context_;
    RunLimits limits_;
    std::map<std::string, Group> groups_;
    bool hasHung_ = false;
    double finishedSeconds_ = 0;
    int finishedCount_ = 0;
};

/// Runs the checks in this process, one after the other, without a time limit.
void RunInProcess(const std::vector<Check>& checks, const Context& context, const Scheduler::Receive& receive);

} // namespace zta::validate
