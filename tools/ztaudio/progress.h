/// Progress on a terminal.
#pragma once

#include "tools/ztaudio/context.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Returns a duration as text: 0:03, 12:34, 1:02:03.
std::string TimeText(double seconds);

/// The progress of a command that is one of several, in memory that processes share.
struct ProgressSlot {
    std::atomic<std::int64_t> done;  ///< sample frames
    std::atomic<std::int64_t> total; ///< 0 if not known
    std::atomic<std::uint32_t> rate; ///< 0 before the first frame
};

/// A bar on standard error with the speed, in times real time, and the time left; a line of summary at the end.
/// Nothing if standard error is not a terminal or the user wants quiet. A command that is one of several fills its slot
/// instead.
class Progress {
public:
    /// total  sample frames to come, 0 if not known
    Progress(const Context& context, std::string label, std::int64_t total, std::uint32_t rate);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Advance(std::int64_t frames);

    /// Replaces the bar by the summary.
    void Finish();

private:
    using Clock = std::chrono::steady_clock;

    void Draw();
    void Erase();
    double Elapsed() const;
    double Speed() const;

    ProgressSlot* slot_;
    bool visible_;
    std::string label_;
    std::int64_t total_;
    double rate_;
    std::int64_t done_ = 0;
    Clock::time_point start_ = Clock::now();
    Clock::time_point drawn_{};
};

/// One line on standard error for several commands that run in parallel; a line of summary at the end.
class ProgressLine {
public:
    ProgressLine(const Context& context, std::span<const ProgressSlot> slots);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Draws the line again, if it is time for that.
    void Draw();

    /// Counts a command that has ended.
    void Advance(std::size_t index);

    /// Clears the line, so that something else can be printed.
    void Erase();

    /// Replaces the line by the summary.
    void Finish();

private:
    using Clock = std::chrono::steady_clock;

    double Part() const;
    double SoundSeconds() const;
    double Elapsed() const;

    bool visible_;
    std::span<const ProgressSlot> slots_;
    std::vector<bool> ended_;
    std::size_t endedCount_ = 0;
    Clock::time_point start_ = Clock::now();
    Clock::time_point drawn_{};
};
