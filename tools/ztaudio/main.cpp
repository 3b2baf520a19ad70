/// ztaudio: the audio samples engine at the command line.
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/options.h"

#include <cstdio>
#include <exception>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

int RunCommand(const PrintText& print, const Context& /*context*/)
{
    std::fputs(print.text.c_str(), stdout);
    return 0;
}

/// Opens the standard files that are closed, so that no other file gets their descriptors. Reading from them and
/// writing to them fails, as if they were closed.
void ReserveStandardFiles()
{
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(file, F_GETFD) < 0) { // the next file gets the lowest free descriptor
            open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

int Run(int argc, char** argv)
{
    const CommandLine line = ParseCommandLine(argc, argv);
    const int exitCode =
        std::visit([&line](const auto& options) { return RunCommand(options, line.context); }, line.command);
    FlushStandardOutput();
    return exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    ReserveStandardFiles();
    InstallSignalHandlers();
    try {
        return Run(argc, argv);
    } catch (const UsageFailure& failure) {
        PrintError(std::string(failure.what()) + " (see ztaudio --help)");
        return kExitUsage;
    } catch (const BrokenPipe&) {
        return kExitFailure; // the reader knows
    } catch (const Interrupted& interruption) {
        PrintError("interrupted");
        RaiseDefaultSignal(interruption.Signal());
    } catch (const std::exception& error) {
        PrintError(error.what());
        return kExitFailure;
    }
}
