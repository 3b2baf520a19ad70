/// Runs one check where it can do no harm.
#pragma once

#include "tools/ztvalidate/check.h"

#include <chrono>
#include <string>

namespace zta::validate {

enum class Result { Passed, Warning, Failed, Crashed, Skipped };

const char* ResultName(Result result);

struct Outcome {
    Result result = Result::Passed;
    std::string detail; ///< one line; empty for a check that passed
    std::string output; ///< the beginning of what the check's process wrote, for one that failed or crashed
    double seconds = 0;
};

/// Makes this process the one that orphans of its children come to. Call once, before the first RunInChild.
void AdoptOrphans();

/// Runs a check in a child process of its own. When this returns, or throws Interrupted because a signal came, neither
/// that process nor any that it started is left. Throws std::system_error if there can be no child.
Outcome RunInChild(const Check& check, const Context& context, std::chrono::milliseconds limit);

} // namespace zta::validate
