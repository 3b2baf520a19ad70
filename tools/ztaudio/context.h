/// The global options.
#pragma once

#include <string>
#include <string_view>

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

/// Returns the text with blanks in place of line breaks and other control characters, which names and tags may have.
std::string PrintableText(std::string_view text);

/// Prints one line of printable text on standard error.
void PrintError(std::string_view text);

/// Writes out what was printed. Throws Failure, or BrokenPipe if the reader has gone, if that is not possible.
void FlushStandardOutput();

struct ProgressSlot;

struct Context {
    bool quiet = false;      ///< print errors only
    std::string module;      ///< path of the module, empty to search for it
    std::string loopVariant; ///< variant of the sample loops, empty to let the module choose

    ProgressSlot* slot = nullptr; ///< where a command that is one of several tells its progress; null to draw it

    /// Prints a note, unless the user wants errors only.
    void Note(std::string_view text) const;
};
