#include "testing/log_recorder.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {

struct Log {
    std::mutex mutex;
    std::size_t count = 0;
    LogEntry last;
    std::function<void()> hook;
};

Log& TheLog()
{
    static Log log;
    return log;
}

} // namespace

void ZtLogger(EZtLogPackage package, int line, EZtLogLevel level, const char* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);

    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    ++log.count;
    log.last = {package, line, level, format, text};
    if (log.hook) {
        log.hook();
    }
}

void LogRecorder::Clear()
{
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    log.count = 0;
    log.last = {};
}

std::size_t LogRecorder::Count()
{
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    return log.count;
}

LogEntry LogRecorder::Last()
{
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    return log.last;
}

std::string LogRecorder::LastText()
{
    return Last().text;
}

void LogRecorder::SetHook(std::function<void()> hook)
{
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    log.hook = std::move(hook);
}
