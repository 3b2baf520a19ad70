#include "tools/ztvalidate/options.h"

#include "tools/common/failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <thread>

namespace zta::validate {

namespace {

/// CLI11 reports a wrong number with the name of a type; this names what is accepted.
template <class Number>
Number ParseNumber(const std::string& option, const std::string& text, Number min, Number max)
{
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !(number >= min && number <= max)) {
        throw UsageFailure(option + " requires a whole number from " + std::to_string(min) + " to " +
                           std::to_string(max) + ", not '" + text + "'");
    }
    return number;
}

void RequireNoneEmpty(const std::string& what, const std::vector<std::string>& values)
{
    if (std::ranges::any_of(values, [](const std::string& value) { return value.empty(); })) {
        throw UsageFailure(what + " must not be empty");
    }
}

void Validate(const Options& options)
{
    RequireNoneEmpty("the pattern of --only", options.only);
    RequireNoneEmpty("the pattern of --exclude", options.exclude);
    RequireNoneEmpty("the name of a module", options.modules);
    RequireNoneEmpty("the name of a plugin", options.hosts);
    if (!options.modules.empty() && !options.hosts.empty()) {
        throw UsageFailure("a call checks modules or, with --host, plugins, not both");
    }
    if (options.selfTest && (!options.hosts.empty() || options.modules.size() > 1)) {
        throw UsageFailure("--self-test accepts one module at most");
    }
    if (!options.list && !options.version && !options.selfTest && options.modules.empty() && options.hosts.empty()) {
        throw UsageFailure("there is no module and no plugin to check");
    }
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    std::string seed;
    std::string jobs;
    std::string junit;
    CLI::App app("Checks a module, or a host's buffers, against the contract between the two.", "ztvalidate");
    app.add_option("MODULE", options.modules, "the modules to check");
    app.add_option("--host", options.hosts, "check the host's buffers that this plugin creates")
        ->allow_extra_args(false)
        ->option_text("PLUGIN (may be repeated)");
    app.add_flag("--list", options.list, "print the names and descriptions of the checks, and run none");
    app.add_option("--only", options.only, "run the checks whose names match, such as 'operation.copy.*'")
        ->allow_extra_args(false)
        ->option_text("PATTERN (may be repeated)");
    app.add_option("--exclude", options.exclude, "do not run the checks whose names match")
        ->allow_extra_args(false)
        ->option_text("PATTERN (may be repeated)");
    app.add_option("--jobs", jobs, "checks that run at the same time (default: the number of processors)")
        ->option_text("N");
    app.add_option("--timeout", options.timeout, "time limit of one check (default: 10)")
        ->check(CLI::Range(0.05, 3600.0))
        ->option_text("SECONDS");
    app.add_option("--seed", seed, "seed of the random samples (default: 1)")->option_text("N");
    app.add_flag("--in-process", options.inProcess, "run the checks in this process, for debuggers and Valgrind");
    app.add_flag("--only-failed", options.onlyFailed, "print only the checks that failed or crashed");
    app.add_flag("--json", options.json, "print the report as JSON");
    app.add_option("--junit", junit, "write the report to this file in JUnit's XML format")->option_text("FILE");
    app.add_flag("--self-test", options.selfTest,
                 "verify that the validator detects each fault of its broken fixtures");
    app.add_flag("--version", options.version, "print the tool's version");
    app.footer("The exit code is 0 if at least one check ran and none failed or crashed, otherwise 1.\n"
               "\n"
               "Examples:\n"
               "  ztvalidate ./libZtaAudioSamplesEngine.so\n"
               "  ztvalidate ./libZtaAudioSamplesEngine.so --only 'class.*' --only 'engine.*'\n"
               "  ztvalidate --host ./my_host_plugin.so --json --junit report.xml\n"
               "  gdb --args ztvalidate --in-process --only operation.copy.samples ./my_module.so");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        app.exit(request); // --help
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageFailure(error.what());
    }
    if (app.count("--seed") != 0) {
        options.seed = ParseNumber<std::uint64_t>("--seed", seed, 0, std::numeric_limits<std::uint64_t>::max());
    }
    options.jobs = std::max(1U, std::thread::hardware_concurrency());
    if (app.count("--jobs") != 0) {
        options.jobs = ParseNumber<std::size_t>("--jobs", jobs, 1, 1000);
    }
    if (app.count("--junit") != 0) {
        RequireNoneEmpty("the file of --junit", {junit});
        options.junit = junit;
    }
    Validate(options);
    return options;
}

} // namespace zta::validate
