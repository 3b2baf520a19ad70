/// Runs a tool, ztaudio if it is the tests of that one, as a child process.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

struct RunOptions {
    std::optional<unsigned long> fileSizeLimit = {};                   ///< bytes a file may grow to, as by ulimit -f
    std::optional<unsigned long> memoryLimit = {};                     ///< bytes of data, as by ulimit -d
    std::vector<std::pair<std::string, std::string>> environment = {}; ///< in addition to the test's own
    std::optional<unsigned> user = {};                                 ///< who runs the tool
    std::string program = {};                                          ///< another copy of the tool
    bool terminal = false;                                             ///< standard error is a terminal
    unsigned short columns = 100;                                      ///< of the terminal
    int signalAtFirstTemporary = 0; ///< sent as soon as the tool has an unfinished output in `watchedFolder`
    std::string watchedFolder = {};
    std::string killedReader = {}; ///< the child of the tool that opens this file is killed
};

struct RunResult {
    int exitCode = -1; ///< -1 if a signal ended the program
    int signal = 0;
    std::string output;
    std::string errors;
};

/// Returns whether the system has pseudo-terminals, which RunOptions::terminal needs.
bool HasTerminals();
/// Returns whether the system has /dev/full, a device that is always full.
bool HasFullDevice();

RunResult RunTool(const std::vector<std::string>& arguments, const RunOptions& options = {});
