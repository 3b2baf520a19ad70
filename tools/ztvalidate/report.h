/// What is printed about the checks that have been run.
#pragma once

#include "tools/ztvalidate/child_process.h"

#include <vector>

namespace zta::validate {

struct ReportLine {
    const Check* check;
    Outcome outcome;
};

struct Report {
    std::string kind; ///< "module" or "host"
    Context context;
    std::vector<ReportLine> lines;

    /// True if nothing failed or crashed.
    [[nodiscard]] bool IsGood() const;
};

/// One line for each check, with what is known about those that did not pass.
std::string LineText(const ReportLine& line);
std::string SummaryText(const Report& report);

std::string JsonText(const Report& report);

} // namespace zta::validate
