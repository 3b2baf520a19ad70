/// The host's log in the test programs. A program that uses LogRecorder gets the `ZtLogger` that the module imports,
/// and can see what was logged.
#pragma once

#include <zta/logger.h>

#include <cstddef>
#include <string>

struct LogEntry {
    EZtLogPackage package{};
    int line = 0;
    EZtLogLevel level{};
    std::string format;
    std::string text; ///< the line as a log would show it
};

/// What has been logged since the last Clear, by all threads.
class LogRecorder {
public:
    static void Clear();
    static std::size_t Count();

    /// The last line, an empty one if there is none.
    static LogEntry Last();
    static std::string LastText();
};
