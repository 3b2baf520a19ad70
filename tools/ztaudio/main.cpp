/// ztaudio: the audio samples engine at the command line.
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "version_values.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace {

// A field of the version record ends at its length or at the first NUL.
template <std::size_t N>
std::string FieldText(const char (&field)[N])
{
    const std::string text(field, N);
    return text.substr(0, text.find('\0'));
}

void PrintVersion(const Context& context)
{
    std::printf("ztaudio %s, revision %s\n", ZTA_RELEASE, ZTA_REVISION);
    const std::string path = FindModule(context).string();
    const SZtVersionInfo info = zta::host::Module(path).VersionInfo();
    std::printf("module  %s, revision %s, build %s, %s\n", FieldText(info.achRelease).c_str(),
                FieldText(info.achRevision).c_str(), FieldText(info.achBuild).c_str(), path.c_str());
}

int Run(int argc, char** argv)
{
    Context context;
    bool version = false;
    CLI::App app("The audio samples engine at the command line: takes sound files through the engine.", "ztaudio");
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.add_flag("-q,--quiet", context.quiet, "nothing but errors: no progress, no notes");
    app.add_flag("--version", version, "print the versions of the tool and of the module");
    app.add_option("--module", context.module, "the module to load; else it is searched for near the tool")
        ->envname("ZTAUDIO_MODULE");
    app.add_option("--loops", context.loops,
                   "the sample loops to run, plain, avx2 or avx512; else the module chooses. The samples are the same");
    app.footer("Exit code: 0 if all went well, 1 if something failed, 2 if the command line is wrong.\n"
               "\n"
               "Examples:\n"
               "  ztaudio info speech.wav\n"
               "  ztaudio convert speech.wav speech-24.wav --format 24in32\n"
               "  ztaudio mux a.wav b.wav c.wav d.wav -o four.wav\n"
               "  ztaudio resample speech.wav speech-44.wav --rate 44100\n"
               "  ztaudio convert --help");
    AddInfoCommand(app, context);
    AddConvertCommand(app, context);
    AddCutCommand(app, context);
    AddStereoCommand(app, context);
    AddVolumeCommand(app, context);
    AddMuxCommand(app, context);
    AddSplitCommand(app, context);
    AddResampleCommand(app, context);
    AddAnalyseCommand(app, context);
    AddRegisterCommand(app, context);
    AddUnregisterCommand(app, context);
    try {
        app.parse(argc, argv);
        if (version) {
            PrintVersion(context);
        } else if (app.get_subcommands().empty()) {
            throw UsageFailure("no command");
        }
        return 0;
    } catch (const CLI::RuntimeError& error) {
        return error.get_exit_code();
    } catch (const CLI::Success& request) {
        return app.exit(request); // --help
    } catch (const CLI::ParseError& error) {
        throw UsageFailure(error.what());
    }
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
    } catch (const Interrupted& interruption) {
        PrintError("interrupted");
        RaiseDefaultSignal(interruption.Signal());
    } catch (const std::exception& error) {
        PrintError(error.what());
        return kExitFailure;
    }
}
