/// What all commands share: the global options.
#pragma once

#include <string>
#include <string_view>

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

/// One line on standard error, whatever the text holds.
void PrintError(std::string_view text);

struct Context {
    bool quiet = false; ///< nothing but errors on standard error
    std::string module; ///< the module as the user named it, empty to search for it
    std::string loops;  ///< the sample loops that the user named, empty for the module's own choice

    /// Tells the user something that does not end the command.
    void Note(std::string_view text) const;
};
