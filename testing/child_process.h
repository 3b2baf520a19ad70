#pragma once

#include <functional>
#include <string>

struct ChildResult {
    int status = 0;     ///< what the function returned
    std::string output; ///< what it wrote to standard output
};

/// Runs a function in a child process whose standard output is fresh: no byte and no wide character has been written
/// to it. (The stream keeps the orientation of its first output for good, and drops what is written the other way.)
/// The test fails if a signal or an exception ends the child.
ChildResult RunInChild(const std::function<int()>& function);
