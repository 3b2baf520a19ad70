/// What all commands share: the global options.
#pragma once

#include <string>
#include <string_view>

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

/// One line on standard error, whatever the text holds.
void PrintError(std::string_view text);

struct Context {
    bool quiet = false;      ///< print errors only
    std::string module;      ///< path of the module, empty to search for it
    std::string loopVariant; ///< variant of the sample loops, empty to let the module choose

    /// Tells the user something that does not end the command.
    void Note(std::string_view text) const;
};
