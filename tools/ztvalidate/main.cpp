/// ztvalidate: checks that a module, or a host's buffers, fulfil the contract between the two.
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztvalidate/run.h"
#include "tools/ztvalidate/self_test.h"
#include "version_values.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace zta::validate {

namespace {

constexpr int kExitBad = 1;

void PrintError(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    std::fprintf(stderr, "ztvalidate: %s\n", text.c_str());
}

int Run(int argc, char** argv)
{
    const std::optional<Options> options = ParseOptions(argc, argv);
    if (!options) {
        return EXIT_SUCCESS;
    }
    const ReportWriter writer(STDOUT_FILENO);
    if (options->version) {
        writer.Write("ztvalidate " ZTA_RELEASE ", revision " ZTA_REVISION "\n");
        return EXIT_SUCCESS;
    }
    if (!options->inProcess) {
        // timeout(1) sends its signal twice. The second one must not interrupt the cleanup.
        InstallSignalHandlers(SecondSignal::IsIgnored);
    }
    if (options->selfTest) {
        return RunSelfTest(*options, writer) ? EXIT_SUCCESS : kExitBad;
    }
    if (options->list) {
        ListChecks(*options, writer);
        return EXIT_SUCCESS;
    }
    return RunChecks(*options, argv[0], writer) ? EXIT_SUCCESS : kExitBad;
}

} // namespace

} // namespace zta::validate

int main(int argc, char** argv)
{
    using namespace zta::validate;
    try {
        return Run(argc, argv);
    } catch (const UsageFailure& failure) {
        PrintError(std::string(failure.what()) + " (see ztvalidate --help)");
        return kExitBad;
    } catch (const Interrupted& interruption) {
        PrintError("interrupted");
        RaiseDefaultSignal(interruption.Signal());
    } catch (const std::exception& error) {
        PrintError(error.what());
        return kExitBad;
    }
}
