/// A check, its exceptions and its outcome.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zta::validate {

/// The input of a check.
struct Context {
    std::string subject;    ///< the shared object under test
    std::uint64_t seed = 1; ///< of the random samples
    std::string folder;     ///< an empty folder that is removed after the check, for checks that need one
};

struct Check {
    std::string name;        ///< hierarchical, with dots
    std::string description; ///< true of each subject that passes
    std::string needs;       ///< the check that must pass before this one; empty for none
    std::function<void(const Context&)> run;
    bool needsFolder = false;
};

/// The part of a check's name before the last dot: "operation.copy" of "operation.copy.busy".
std::string GroupName(const Check& check);

/// A violation, in one line.
class CheckFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A property that violates no rule, but that users of the subject should know.
class CheckWarning : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The reason why a check does not apply to the subject.
class CheckSkipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws CheckFailure unless `condition` is true.
inline void Require(bool condition, const std::string& otherwise)
{
    if (!condition) {
        throw CheckFailure(otherwise);
    }
}

/// Throws CheckFailure, with both status codes, unless they are equal.
void RequireStatus(int actual, int expected, const std::string& what);

/// Returns a status code in hexadecimal digits, with its name if it has one.
std::string StatusText(int status);

enum class Result { Passed, Warning, Failed, Crashed, Skipped };

const char* ResultName(Result result);

struct Outcome {
    Result result = Result::Passed;
    std::string detail = {}; ///< one line; empty for a check that passed
    std::string output = {}; ///< the beginning of what the check's process printed, for one that failed or crashed
    double seconds = 0;
    bool hasHung = false; ///< the time limit ended it
};

/// Returns true if the check failed or crashed.
bool IsBad(const Outcome& outcome);

/// Runs a check in this process. A crash or a hang is not caught.
Outcome PerformCheck(const Check& check, const Context& context);

std::vector<Check> ModuleChecks();
std::vector<Check> HostChecks();

} // namespace zta::validate
