/// The operations that two builds of the library are compared by. `make perfcheck` runs them.
#pragma once

#include "bench/common/jobs.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Operation {
    std::string name;
    /// Makes the operation's job for one engine. All jobs of an operation use the same samples.
    std::function<Job(const Engine& engine)> makeJob;
};

std::vector<Operation> MakeOperations();

} // namespace bench
