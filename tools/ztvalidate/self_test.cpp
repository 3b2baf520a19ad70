#include "tools/ztvalidate/self_test.h"

#include "tools/common/failure.h"
#include "tools/ztvalidate/report.h"
#include "tools/ztvalidate/scheduler.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include <fnmatch.h>

namespace zta::validate {

namespace {

namespace fs = std::filesystem;

/// A fault has the name of the check that detects it; a second fault for the same check has a suffix after "~".
struct Fault {
    std::string name;
    Result expected = Result::Failed;
};

std::vector<Fault> SecondFaults()
{
    return {{"module.can-unload~never"},
            {"module.traces~file"},
            {"class.wrong-class~output"},
            {"class.wrong-interface~status"},
            {"class.instances~left-over"},
            {"registration.non-ascii~ends-process", Result::Crashed},
            {"operation.copy.signals~read"},
            {"operation.copy.signals~missing-read"},
            {"operation.copy.signals~missing-write"},
            {"operation.copy.references~guard"},
            {"operation.copy.sizes~written"},
            {"operation.copy.samples~length"},
            {"operation.copy.fades~flags"},
            {"operation.mux-to-stereo.references~guard"},
            {"operation.mux-to-mono.samples~length"},
            {"operation.stereo-to-mux.fades~flags"},
            {"buffer.references~untold", Result::Warning},
            {"buffer.error-code~kept"},
            {"buffer.counts~accesses"}};
}

/// Checks whose own fault has another result than a failure.
std::vector<Fault> OtherResults()
{
    return {{"module.loads", Result::Crashed},
            {"module.reloads", Result::Crashed},
            {"module.binding", Result::Warning},
            {"module.version", Result::Warning},
            {"buffer.alignment", Result::Warning}};
}

/// The fault of a fixture that fulfils the contract.
constexpr const char* kNoFault = "none";

bool IsHostFault(const std::string& name)
{
    return name.starts_with("host.") || name.starts_with("buffer.");
}

std::string CheckOf(const std::string& fault)
{
    return fault.substr(0, fault.find('~'));
}

std::vector<Check> AllChecks()
{
    std::vector<Check> checks = ModuleChecks();
    const auto hostChecks = HostChecks();
    checks.insert(checks.end(), hostChecks.begin(), hostChecks.end());
    return checks;
}

std::vector<Fault> SelectFaults(const Options& options)
{
    std::vector<Fault> faults;
    const std::vector<Fault> others = OtherResults();
    for (const Check& check : AllChecks()) {
        const auto other = std::ranges::find(others, check.name, &Fault::name);
        faults.push_back(other != others.end() ? *other : Fault{check.name});
    }
    const std::vector<Fault> seconds = SecondFaults();
    faults.insert(faults.end(), seconds.begin(), seconds.end());
    std::erase_if(faults, [&](const Fault& fault) {
        const auto matches = [&](const std::string& pattern) {
            return fnmatch(pattern.c_str(), CheckOf(fault.name).c_str(), 0) == 0;
        };
        return (!options.only.empty() && std::ranges::none_of(options.only, matches)) ||
               std::ranges::any_of(options.exclude, matches);
    });
    if (faults.empty()) {
        throw UsageFailure("the patterns leave no fault");
    }
    return faults;
}

/// A file of the installation, or of the build, that this program belongs to.
std::optional<fs::path> FindFile(const std::string& name)
{
    const fs::path folder = fs::canonical("/proc/self/exe").parent_path();
    for (const char* candidate : {ZTA_LIBDIR_FROM_BINDIR, ".."}) {
        const fs::path file = folder / candidate / name;
        if (fs::exists(file)) {
            return fs::canonical(file);
        }
    }
    return std::nullopt;
}

fs::path FixtureFile(const std::string& fault)
{
    const bool isIncomplete = fault == "module.exports" || fault == "module.binding";
    const std::string name = IsHostFault(fault) ? "broken_host" : isIncomplete ? "incomplete_module" : "broken_module";
    const auto file = FindFile("zta/validate/" + name + ".so");
    if (!file) {
        throw Failure("the fixture " + name + ".so is not installed with this program");
    }
    return *file;
}

std::string ModulePath(const Options& options)
{
    if (!options.modules.empty()) {
        return fs::absolute(options.modules[0]).string();
    }
    const auto module = FindFile("libZtaAudioSamplesEngine.so.1");
    if (!module) {
        throw UsageFailure("libZtaAudioSamplesEngine.so.1 is not installed with this program: name a module");
    }
    return module->string();
}

/// Fixtures read the name of their fault from their file's name: the links of a folder have these names.
class FixtureFolder {
public:
    std::string Link(const std::string& fault, const fs::path& target)
    {
        const fs::path link = fs::path(folder_.Path()) / (fault + ".so");
        if (!fs::is_symlink(link)) {
            fs::create_symlink(target, link);
        }
        return link.string();
    }

private:
    TemporaryFolder folder_;
};

/// The check of a fault, on a fixture of its own.
Check OnFixture(const Check& check, const std::string& name, const std::string& fixture)
{
    Check wrapped = check;
    wrapped.name = name;
    wrapped.needs = "";
    wrapped.run = [run = check.run, fixture](const Context& context) {
        Context own = context;
        own.subject = fixture;
        run(own);
    };
    return wrapped;
}

} // namespace

bool RunSelfTest(const Options& options, const ReportWriter& writer)
{
    if (options.json || options.inProcess || !options.junit.empty()) {
        throw UsageFailure("--self-test excludes --json, --junit and --in-process");
    }
    const std::vector<Fault> faults = SelectFaults(options);
    if (options.list) {
        for (const Fault& fault : faults) {
            writer.Write(fault.name + "\n");
        }
        return true;
    }
    setenv("ZTVALIDATE_MODULE", ModulePath(options).c_str(), 1);
    FixtureFolder folder;
    const std::vector<Check> checks = AllChecks();
    std::vector<Check> runs;
    std::vector<Result> expected;
    for (const Fault& fault : faults) {
        const auto check = std::ranges::find(checks, CheckOf(fault.name), &Check::name);
        runs.push_back(OnFixture(*check, fault.name, folder.Link(fault.name, FixtureFile(fault.name))));
        expected.push_back(fault.expected);
        if (check->name == fault.name) {
            const bool isHost = IsHostFault(fault.name);
            const std::string fixture =
                folder.Link(isHost ? "none-host" : kNoFault, FixtureFile(isHost ? "host." : kNoFault));
            runs.push_back(OnFixture(*check, fault.name + " without a fault", fixture));
            expected.push_back(Result::Passed);
        }
    }
    std::size_t index = 0;
    std::size_t detected = 0;
    std::size_t wrong = 0;
    const RunLimits limits = {options.jobs, std::chrono::milliseconds(std::llround(options.timeout * 1000))};
    Scheduler(runs, {"", options.seed, ""}, limits).Run([&](const Check& check, const Outcome& outcome) {
        const Result wanted = expected[index++];
        const bool isRight = outcome.result == wanted;
        const bool isFault = wanted != Result::Passed;
        detected += isRight && isFault ? 1 : 0;
        wrong += isRight ? 0 : 1;
        if (!isRight || (isFault && !options.onlyFailed)) {
            const std::string verdict = isRight ? "detected " : isFault ? "missed   " : "mistaken ";
            writer.Write(verdict + check.name + ": " + ResultName(outcome.result) +
                         (outcome.detail.empty() ? "" : ": " + outcome.detail) + "\n");
        }
    });
    writer.Write(std::string("verdict: ") + (wrong == 0 ? "passed" : "failed") + " (" + std::to_string(detected) +
                 " of " + std::to_string(faults.size()) + " faults detected, " + std::to_string(wrong) +
                 " wrong results)\n");
    return wrong == 0;
}

} // namespace zta::validate
