/// The report on the checks that have run: as text, as JSON, and as JUnit XML.
#pragma once

#include "tools/ztvalidate/check.h"

#include <cstddef>
#include <vector>

namespace zta::validate {

struct ReportLine {
    const Check* check;
    Outcome outcome;
};

/// The checks of one module or plugin.
struct SubjectReport {
    Context context;
    std::vector<ReportLine> lines = {};
};

struct Report {
    bool isHost = false;
    std::string program; ///< the validator, as in the command line
    std::uint64_t seed = 1;
    std::size_t checkCount = 0; ///< of all subjects; more than there are lines if the run was interrupted
    std::vector<SubjectReport> subjects = {};

    [[nodiscard]] std::size_t Count(Result result) const;
    [[nodiscard]] std::size_t LineCount() const;

    /// True if each check of each subject has an outcome, none is bad, and one at least has passed for each subject.
    [[nodiscard]] bool IsGood() const;
};

/// A command that runs one check on a subject in the validator's own process.
std::string RerunCommand(const Report& report, const Context& context, const Check& check);

/// A word as a shell reads it back.
std::string ShellQuoted(const std::string& word);

/// One line for each check, with details of those that did not pass.
std::string LineText(const Report& report, const Context& context, const ReportLine& line);

/// The last line of a report.
std::string VerdictText(const Report& report);

std::string JsonText(const Report& report);
std::string JunitText(const Report& report);

} // namespace zta::validate
