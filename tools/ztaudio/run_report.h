/// --json of the commands that write one file: what was done, counts, levels and speed.
#pragma once

#include "tools/ztaudio/overload.h"
#include "tools/ztaudio/sample_format.h"
#include "tools/ztaudio/sample_source.h"

#include <chrono>
#include <filesystem>
#include <span>
#include <string>

/// Throws UsageFailure if both the report and the sound would go to standard output.
void RequireOutputForReport(bool isWanted, const std::filesystem::path& out);

class RunReport {
public:
    explicit RunReport(bool isWanted) : isWanted_(isWanted) {}

    /// Measures samples of the output.
    void Measure(const std::byte* samples, std::size_t count, SampleFormat format);

    /// The factor by which --guard lowered the level.
    void SetGuard(double factor) { guard_ = factor; }

    /// Prints the report on standard output, if it is wanted.
    void Print(const std::string& in, const SampleSource& source, const std::string& out, SampleFormat to,
               std::uint32_t rate, const OverloadCounter& overloads) const;

private:
    using Clock = std::chrono::steady_clock;

    bool isWanted_;
    Clock::time_point start_ = Clock::now();
    double guard_ = 1.0;
    double squares_ = 0.0;
    double peak_ = 0.0;
    std::size_t count_ = 0;
};
