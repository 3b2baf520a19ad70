/// Runs a command for several files in parallel, each in a process of its own.
///
/// What a damaged file does to a decoder, or to a library that is not safe for several threads, stays in that process.
#pragma once

#include "tools/ztaudio/context.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

struct OutputOptions;

/// The files of one run.
struct BatchFile {
    std::filesystem::path in;
    std::filesystem::path out;
};

/// Returns the inputs with their outputs; see BatchOptions::pattern. Throws UsageFailure if the pattern cannot name the
/// outputs, Failure if an output would replace another one or an input, or has no folder.
std::vector<BatchFile> PlanBatch(const std::vector<std::filesystem::path>& in, const std::string& pattern,
                                 const OutputOptions& output);

/// What is done with one file; see RunCommand.
using BatchCommand = std::function<void(const BatchFile& file, const Context& context)>;

/// Runs the command for all files, `jobs` in parallel. The failure of one does not end the others; all failures are
/// printed at the end. Returns the exit code of the program. Throws Interrupted if a signal ends the runs.
int RunBatch(const std::vector<BatchFile>& files, unsigned jobs, const Context& context, const BatchCommand& command);
