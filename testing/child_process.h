#pragma once

#include <functional>
#include <string>

struct ChildResult {
    int status = 0;     ///< what the function returned
    std::string output; ///< what it wrote to standard output
};

/// Runs a function in a child process whose standard output has no orientation yet: no byte and no wide character was
/// written. (The stream keeps the orientation of its first output and drops output of the other kind.)
/// The test fails if a signal or an exception ends the child.
ChildResult RunInChild(const std::function<int()>& function);
