/// ztvalidate: does a module, or a host's buffers, keep the contract between the two?
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztvalidate/report.h"
#include "version_values.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fnmatch.h>
#include <map>
#include <system_error>
#include <unistd.h>

namespace zta::validate {

namespace {

constexpr int kExitBad = 1;

struct Options {
    std::string module;
    std::string host;
    std::vector<std::string> only;
    std::uint64_t seed = 1;
    double timeout = 10;
    bool list = false;
    bool json = false;
    bool version = false;
};

void PrintError(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    std::fprintf(stderr, "ztvalidate: %s\n", text.c_str());
}

void Print(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot write the report");
    }
}

/// A folder that goes away with the object, whatever a module has done in it.
class Folder {
public:
    Folder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "ztvalidate-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        path_ = pattern;
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

bool IsChosen(const Check& check, const Options& options)
{
    return options.only.empty() || std::ranges::any_of(options.only, [&](const std::string& pattern) {
               return fnmatch(pattern.c_str(), check.name.c_str(), 0) == 0;
           });
}

std::vector<Check> ChosenChecks(const Options& options)
{
    std::vector<Check> all;
    if (options.host.empty()) {
        all = ModuleChecks();
    }
    if (!options.host.empty() || options.list) {
        const auto checks = HostChecks();
        all.insert(all.end(), checks.begin(), checks.end());
    }
    std::vector<Check> chosen;
    std::ranges::copy_if(all, std::back_inserter(chosen), [&](const Check& check) { return IsChosen(check, options); });
    if (chosen.empty()) {
        throw UsageFailure("no check has a name like that; --list shows them");
    }
    return chosen;
}

Outcome RunCheck(const Check& check, Context context, const Options& options)
{
    const auto limit = std::chrono::milliseconds(std::llround(options.timeout * 1000));
    if (!check.needsFolder) {
        return RunInChild(check, context, limit);
    }
    const Folder folder;
    context.folder = folder.Path();
    return RunInChild(check, context, limit);
}

bool RunChecks(const std::vector<Check>& checks, const Options& options)
{
    AdoptOrphans();
    const std::string& subject = options.host.empty() ? options.module : options.host;
    Report report = {
        options.host.empty() ? "module" : "host", {std::filesystem::absolute(subject).string(), options.seed, ""}, {}};
    std::map<std::string, Result> results;
    for (const Check& check : checks) {
        const auto needed = results.find(check.needs);
        const bool possible =
            needed == results.end() || needed->second == Result::Passed || needed->second == Result::Warning;
        ReportLine line = {&check, {Result::Skipped, check.needs + " has not passed", "", 0}};
        if (possible) {
            line.outcome = RunCheck(check, report.context, options);
        }
        results[check.name] = line.outcome.result;
        report.lines.push_back(line);
        if (!options.json) {
            Print(LineText(line));
        }
    }
    Print(options.json ? JsonText(report) : SummaryText(report));
    return report.IsGood();
}

void RequireReadable(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) || access(path.c_str(), R_OK) != 0) {
        throw UsageFailure("there is no file " + path + " that can be read");
    }
}

int Run(int argc, char** argv)
{
    Options options;
    CLI::App app("Checks a module, or a host's buffers, against the contract between the two.", "ztvalidate");
    auto* module = app.add_option("MODULE", options.module, "the module to check");
    app.add_option("--host", options.host, "check the host's buffers that this plugin makes")
        ->option_text("PLUGIN")
        ->excludes(module);
    app.add_flag("--list", options.list, "print the checks and what they say, and run none");
    app.add_option("--only", options.only, "run the checks whose names match, such as 'operation.copy.*'")
        ->allow_extra_args(false)
        ->option_text("PATTERN (may be repeated)");
    app.add_flag("--json", options.json, "print the report as JSON");
    app.add_option("--seed", options.seed, "where the random samples begin; 1 if not given")
        ->check(CLI::NonNegativeNumber)
        ->option_text("N");
    app.add_option("--timeout", options.timeout, "how long one check may take; 10 if not given")
        ->check(CLI::Range(0.05, 3600.0))
        ->option_text("SECONDS");
    app.add_flag("--version", options.version, "print the tool's version");
    app.footer("Exit code: 0 if no check failed or crashed, else 1, also if the command line is wrong.\n"
               "\n"
               "Examples:\n"
               "  ztvalidate ./libZtaAudioSamplesEngine.so\n"
               "  ztvalidate ./libZtaAudioSamplesEngine.so --only 'class.*' --only 'engine.*'\n"
               "  ztvalidate --host ./my_host_plugin.so --json");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request); // --help
    } catch (const CLI::ParseError& error) {
        throw UsageFailure(error.what());
    }
    if (options.version) {
        Print("ztvalidate " ZTA_RELEASE ", revision " ZTA_REVISION "\n");
        return EXIT_SUCCESS;
    }
    const bool listing = options.list;
    if (!listing && options.module.empty() && options.host.empty()) {
        throw UsageFailure("no module and no host to check");
    }
    const std::vector<Check> checks = ChosenChecks(options);
    if (listing) {
        for (const Check& check : checks) {
            Print(check.name + ": " + check.description + "\n");
        }
        return EXIT_SUCCESS;
    }
    RequireReadable(options.host.empty() ? options.module : options.host);
    return RunChecks(checks, options) ? EXIT_SUCCESS : kExitBad;
}

} // namespace

} // namespace zta::validate

int main(int argc, char** argv)
{
    using namespace zta::validate;
    // Whoever asks twice, as timeout(1) does, would otherwise get processes of the module left over.
    InstallSignalHandlers(SecondSignal::IsIgnored);
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
