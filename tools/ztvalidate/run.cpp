#include "tools/ztvalidate/run.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/common/signal_handling.h"
#include "tools/ztvalidate/report.h"
#include "tools/ztvalidate/scheduler.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <fnmatch.h>
#include <unistd.h>

namespace zta::validate {

namespace {

bool Matches(const std::string& pattern, const Check& check)
{
    return fnmatch(pattern.c_str(), check.name.c_str(), 0) == 0;
}

std::vector<Check> SelectChecks(const Options& options)
{
    std::vector<Check> all;
    if (options.hosts.empty()) {
        all = ModuleChecks();
    }
    if (!options.hosts.empty() || (options.list && options.modules.empty())) {
        const auto checks = HostChecks();
        all.insert(all.end(), checks.begin(), checks.end());
    }
    for (const std::string& pattern : options.only) {
        if (std::ranges::none_of(all, [&](const Check& check) { return Matches(pattern, check); })) {
            throw UsageFailure("no check matches '" + pattern + "'; --list prints their names");
        }
    }
    std::vector<Check> selected;
    std::ranges::copy_if(all, std::back_inserter(selected), [&](const Check& check) {
        const auto matches = [&](const std::string& pattern) { return Matches(pattern, check); };
        return (options.only.empty() || std::ranges::any_of(options.only, matches)) &&
               std::ranges::none_of(options.exclude, matches);
    });
    if (selected.empty()) {
        throw UsageFailure("the patterns leave no check");
    }
    return selected;
}

void RequireReadable(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) || access(path.c_str(), R_OK) != 0) {
        throw UsageFailure("cannot read the file " + path);
    }
}

/// Leads standard output to standard error while it lives, so that modules in this process cannot mix their text with
/// the report.
class DivertedOutput {
public:
    DivertedOutput() : report_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        if (report_ < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
            throw std::system_error(errno, std::generic_category(), "cannot redirect standard output");
        }
    }
    ~DivertedOutput()
    {
        std::fflush(stdout);
        dup2(report_, STDOUT_FILENO);
        close(report_);
    }
    DivertedOutput(const DivertedOutput&) = delete;
    DivertedOutput& operator=(const DivertedOutput&) = delete;

    [[nodiscard]] int Report() const { return report_; }

private:
    int report_;
};

void WriteJunit(const Options& options, const Report& report)
{
    if (!options.junit.empty()) {
        const std::string text = JunitText(report);
        OutputFile file(options.junit);
        file.Write(text.data(), static_cast<std::int64_t>(text.size()));
        file.Close();
        file.Publish();
        file.Keep();
    }
}

void RunSubjects(const Options& options, const std::vector<Check>& checks, Report& report, const ReportWriter& writer)
{
    const auto& subjects = report.isHost ? options.hosts : options.modules;
    const RunLimits limits = {options.jobs, std::chrono::milliseconds(std::llround(options.timeout * 1000))};
    for (const std::string& path : subjects) {
        // A name without a slash would be searched in the system's folders.
        const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
        SubjectReport& subject = report.subjects.emplace_back(SubjectReport{{file, options.seed, ""}});
        if (subjects.size() > 1 && !options.json) {
            writer.Write(path + "\n");
        }
        const auto receive = [&](const Check& check, const Outcome& outcome) {
            subject.lines.push_back({&check, outcome});
            if (!options.json && (!options.onlyFailed || IsBad(outcome))) {
                writer.Write(LineText(report, subject.context, subject.lines.back()));
            }
        };
        if (options.inProcess) {
            RunInProcess(checks, subject.context, receive);
        } else {
            Scheduler(checks, subject.context, limits).Run(receive);
        }
    }
}

void WriteVerdict(const Options& options, const Report& report, const ReportWriter& writer)
{
    (options.json ? ReportWriter(STDERR_FILENO) : writer).Write(VerdictText(report));
}

bool RunAndReport(const Options& options, const std::string& program, const ReportWriter& writer)
{
    const std::vector<Check> checks = SelectChecks(options);
    const auto& subjects = options.hosts.empty() ? options.modules : options.hosts;
    std::ranges::for_each(subjects, RequireReadable);
    Report report = {!options.hosts.empty(), program, options.seed, checks.size() * subjects.size()};
    report.subjects.reserve(subjects.size());
    try {
        RunSubjects(options, checks, report, writer);
    } catch (const Interrupted&) {
        WriteVerdict(options, report, writer);
        throw;
    }
    if (options.json) {
        writer.Write(JsonText(report));
    }
    WriteJunit(options, report);
    WriteVerdict(options, report, writer);
    return report.IsGood();
}

} // namespace

void ReportWriter::Write(const std::string& text) const
{
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t count = write(descriptor_, text.data() + at, text.size() - at);
        if (count < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot write the report");
        }
        at += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
}

void ListChecks(const Options& options, const ReportWriter& writer)
{
    for (const Check& check : SelectChecks(options)) {
        writer.Write(check.name + ": " + check.description + "\n");
    }
}

bool RunChecks(const Options& options, const std::string& program, const ReportWriter& writer)
{
    if (!options.inProcess) {
        return RunAndReport(options, program, writer);
    }
    const DivertedOutput output;
    return RunAndReport(options, program, ReportWriter(output.Report()));
}

} // namespace zta::validate
