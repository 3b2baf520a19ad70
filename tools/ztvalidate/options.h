/// The command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zta::validate {

struct Options {
    std::vector<std::string> modules; ///< or hosts, not both
    std::vector<std::string> hosts;
    std::vector<std::string> only;
    std::vector<std::string> exclude;
    std::uint64_t seed = 1;
    double timeout = 10; ///< seconds for one check
    std::size_t jobs = 1;
    std::string junit; ///< a file; empty for none
    bool list = false;
    bool json = false;
    bool onlyFailed = false;
    bool inProcess = false;
    bool selfTest = false;
    bool version = false;
};

/// Reads the command line. Returns nothing if it requested the help text, which has been printed then. Throws
/// UsageFailure, with one line, if the command line is invalid.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace zta::validate
