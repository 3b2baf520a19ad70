#include "tools/ztvalidate/scheduler.h"

#include "tools/common/signal_handling.h"

#include <algorithm>

#include <poll.h>

namespace zta::validate {

namespace {

constexpr int kMaxHungPerGroup = 2;

bool HasPassed(const Outcome& outcome)
{
    return outcome.result == Result::Passed || outcome.result == Result::Warning;
}

Outcome SkipForNeed(const Check& check)
{
    return {Result::Skipped, check.needs + " has not passed"};
}

} // namespace

Scheduler::Scheduler(const std::vector<Check>& checks, const Context& context, const RunLimits& limits)
    : context_(context), limits_(limits)
{
    for (const Check& check : checks) {
        entries_.push_back({&check});
    }
}

std::chrono::duration<double> Scheduler::SlowThreshold() const
{
    const std::chrono::duration<double> limit = limits_.time;
    const double average = finishedCount_ == 0 ? 0 : finishedSeconds_ / finishedCount_;
    return std::clamp(std::chrono::duration<double>(3 * average), limit / 100, limit / 4);
}

bool Scheduler::IsSlow(const Entry& entry) const
{
    return hasHung_ && entry.state == State::Running && Clock::now() - entry.start > SlowThreshold();
}

Scheduler::Decision Scheduler::Decide(Entry& entry)
{
    const auto needed = std::ranges::find(entries_, entry.check->needs, [](const Entry& e) { return e.check->name; });
    if (needed != entries_.end() && needed->state != State::Done) {
        return Decision::Wait;
    }
    if (needed != entries_.end() && !HasPassed(needed->outcome)) {
        entry.outcome = SkipForNeed(*entry.check);
        return Decision::Skip;
    }
    const std::string group = GroupName(*entry.check);
    const int hung = groups_[group].hung;
    if (hung >= kMaxHungPerGroup) {
        entry.outcome = {Result::Skipped,
                         "not run: " + std::to_string(hung) + " checks of " + group + " did not end in time"};
        return Decision::Skip;
    }
    const auto slow = std::ranges::count_if(
        entries_, [&](const Entry& other) { return IsSlow(other) && GroupName(*other.check) == group; });
    return slow + hung >= kMaxHungPerGroup ? Decision::Wait : Decision::Run;
}

void Scheduler::StartChecks()
{
    auto active = static_cast<std::size_t>(std::ranges::count_if(
        entries_, [&](const Entry& entry) { return entry.state == State::Running && !IsSlow(entry); }));
    for (Entry& entry : entries_) {
        if (entry.state != State::Waiting) {
            continue;
        }
        const Decision decision = Decide(entry);
        if (decision == Decision::Skip) {
            entry.state = State::Done;
        } else if (decision == Decision::Run && active < limits_.jobs) {
            entry.start = Clock::now();
            entry.supervisor = std::make_unique<Supervisor>(Job{entry.check, context_, limits_.time});
            entry.state = State::Running;
            ++active;
        }
    }
}

void Scheduler::Finish(Entry& entry, Outcome outcome)
{
    entry.outcome = std::move(outcome);
    entry.state = State::Done;
    entry.supervisor.reset();
    if (entry.outcome.hasHung) {
        hasHung_ = true;
        ++groups_[GroupName(*entry.check)].hung;
    } else {
        finishedSeconds_ += entry.outcome.seconds;
        ++finishedCount_;
    }
}

void Scheduler::WaitForChecks()
{
    std::vector<pollfd> events;
    std::vector<Entry*> running;
    for (Entry& entry : entries_) {
        if (entry.state == State::Running) {
            events.push_back({entry.supervisor->Handle(), POLLIN, 0});
            running.push_back(&entry);
        }
    }
    if (running.empty()) {
        return;
    }
    // After a hang, time itself can let the next check start.
    poll(events.data(), events.size(), hasHung_ ? 20 : 1000);
    CheckInterruption();
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].revents != 0) {
            Finish(*running[i], running[i]->supervisor->Finish());
        }
    }
}

void Scheduler::Run(const Receive& receive)
{
    for (std::size_t reported = 0; reported < entries_.size();) {
        StartChecks();
        for (; reported < entries_.size() && entries_[reported].state == State::Done; ++reported) {
            receive(*entries_[reported].check, entries_[reported].outcome);
        }
        WaitForChecks();
    }
}

void RunInProcess(const std::vector<Check>& checks, const Context& context, const Scheduler::Receive& receive)
{
    std::map<std::string, bool> passed;
    for (const Check& check : checks) {
        const auto needed = passed.find(check.needs);
        Outcome outcome;
        const auto start = Scheduler::Clock::now();
        if (needed != passed.end() && !needed->second) {
            outcome = SkipForNeed(check);
        } else if (check.needsFolder) {
            const TemporaryFolder folder;
            outcome = PerformCheck(check, {context.subject, context.seed, folder.Path()});
        } else {
            outcome = PerformCheck(check, context);
        }
        outcome.seconds = std::chrono::duration<double>(Scheduler::Clock::now() - start).count();
        passed[check.name] = HasPassed(outcome);
        receive(check, outcome);
    }
}

} // namespace zta::validate
