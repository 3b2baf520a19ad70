/// The validator's test of itself.
#pragma once

#include "tools/ztvalidate/run.h"

namespace zta::validate {

/// Runs each check on fixtures with known faults, which the validator's installation contains, and on fixtures without
/// a fault. Returns true if each fault was detected and nothing else. With --list, prints the names of the faults.
bool RunSelfTest(const Options& options, const ReportWriter& writer);

} // namespace zta::validate
