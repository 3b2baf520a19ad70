/// What a check is, and how it tells what it saw.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zta::validate {

/// What a check works with.
struct Context {
    std::string subject;    ///< the shared object under test
    std::uint64_t seed = 1; ///< of the random samples
    std::string folder;     ///< an empty folder that goes away after the check, for those that ask for one
};

struct Check {
    std::string name;        ///< hierarchical, with dots
    std::string description; ///< what is true of a subject that passes
    std::string needs;       ///< the check without whose success this one means nothing; empty for none
    std::function<void(const Context&)> run;
    bool needsFolder = false;
};

/// What is wrong, in one line.
class CheckFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a user of the subject should know, though no rule is broken.
class CheckWarning : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why the check says nothing about this subject.
class CheckSkipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws CheckFailure unless `fact` holds.
inline void Require(bool fact, const std::string& otherwise)
{
    if (!fact) {
        throw CheckFailure(otherwise);
    }
}

/// Throws CheckFailure, with both statuses, unless they are equal.
void RequireStatus(int actual, int expected, const std::string& what);

std::string StatusText(int status);

std::vector<Check> ModuleChecks();
std::vector<Check> HostChecks();

} // namespace zta::validate
