/// ztaudio: the audio samples engine at the command line.
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/options.h"

#include <cstdio>
#include <exception>
#include <string>

namespace {

int RunCommand(const PrintText& print, const Context& /*context*/)
{
    std::fputs(print.text.c_str(), stdout);
    return 0;
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
