/// The instruction sets that the library has code for.
#pragma once

#include "host/module.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// Selects the library's code for one instruction set, in the whole process.
struct InstructionSet {
    std::string name;
    std::function<void()> select;
};

/// Returns the instruction sets to compare: those that this machine supports, the widest first.
std::vector<InstructionSet> SupportedInstructionSets(const zta::host::Module& module);

} // namespace bench
