/// The command line.
#pragma once

#include "tools/ztaudio/commands.h"

#include <string>
#include <variant>

/// A text to print instead of a command, such as a help text.
struct PrintText {
    std::string text;
};

using Command = std::variant<PrintText, VersionOptions, InfoOptions, ConvertOptions, TrimOptions, StereoOptions,
                             VolumeOptions, MuxOptions, SplitOptions, ResampleOptions, BatchOptions, AnalyzeOptions,
                             RegisterOptions, UnregisterOptions>;

struct CommandLine {
    Context context;
    Command command;
};

/// Parses a command line. Throws UsageFailure if it is wrong.
CommandLine ParseCommandLine(int argc, const char* const* argv);
