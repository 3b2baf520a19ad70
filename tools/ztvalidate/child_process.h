/// Runs one check in a process of its own.
#pragma once

#include "tools/ztvalidate/check.h"

#include <chrono>

namespace zta::validate {

/// Makes this process the parent of the orphans of its children. Call it once, before the first RunInChild.
void AdoptOrphans();

/// Runs a check in a child process. When this returns, or throws Interrupted because of a signal, neither that process
/// nor any that it started is alive. Throws std::system_error if no child process can be created.
///
/// This process must have no other children.
Outcome RunInChild(const Check& check, const Context& context, std::chrono::milliseconds limit);

} // namespace zta::validate
