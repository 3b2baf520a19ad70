/// Progress on a terminal.
#pragma once

#include "tools/ztaudio/context.h"

#include <chrono>
#include <cstdint>
#include <string>

/// Returns a duration as text: 0:03, 12:34, 1:02:03.
std::string TimeText(double seconds);

/// A bar on standard error with the speed, in times real time, and the time left; a line of summary at the end.
/// Nothing if standard error is not a terminal or the user wants quiet.
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

    bool visible_;
    std::string label_;
    std::int64_t total_;
    double rate_;
    std::int64_t done_ = 0;
    Clock::time_point start_ = Clock::now();
    Clock::time_point drawn_{};
};
