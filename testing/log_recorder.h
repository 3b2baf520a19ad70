/// The host's log in the test programs: LogRecorder defines the `ZtLogger` that the module imports, and records it.
#pragma once

#include <zta/logger.h>

#include <cstddef>
#include <functional>
#include <string>

struct LogEntry {
    EZtLogPackage package{};
    int line = 0;
    EZtLogLevel level{};
    std::string format;
    std::string text; ///< the line as a log would show it
};

/// The log since the last Clear, of all threads.
class LogRecorder {
public:
    static void Clear();
    static std::size_t Count();

    /// The last line, an empty one if there is none.
    static LogEntry Last();
    static std::string LastText();

    /// Run for each line. It must not use the recorder.
    static void SetHook(std::function<void()> hook);
};
