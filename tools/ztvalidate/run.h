/// A run of the validator, from its options to its report.
#pragma once

#include "tools/ztvalidate/options.h"

#include <string>

namespace zta::validate {

/// Writes the report to a descriptor. Standard output itself belongs to the modules while checks run in this process:
/// they may set its orientation.
class ReportWriter {
public:
    explicit ReportWriter(int descriptor) : descriptor_(descriptor) {}

    /// Throws std::system_error if not all of the text can be written.
    void Write(const std::string& text) const;

private:
    int descriptor_;
};

/// Prints the checks that the options select.
void ListChecks(const Options& options, const ReportWriter& writer);

/// Runs the checks and writes the reports. Returns true if each subject passed. Throws UsageFailure if the options
/// select no check, or if a subject cannot be read.
bool RunChecks(const Options& options, const std::string& program, const ReportWriter& writer);

} // namespace zta::validate
