// The validator on the module, on the reference host's buffers, and on fixtures with one fault each.

#include "testing/temp_directory.h"
#include "tests/tools/run_tool.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

namespace {

using Json = nlohmann::json;
using Names = std::vector<std::string>;

Names Lines(const std::string& text)
{
    std::istringstream stream(text);
    Names lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The names of all checks.
Names Listed()
{
    const RunResult run = RunTool({"--list"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.errors, "");
    Names names;
    for (const std::string& line : Lines(run.output)) {
        names.push_back(line.substr(0, line.find(": ")));
        EXPECT_LT(names.back().size() + 2, line.size()) << "a check without a description: " << line;
    }
    return names;
}

bool IsHostCheck(const std::string& name)
{
    return name.starts_with("host.") || name.starts_with("buffer.");
}

class Validator : public ::testing::Test {
protected:
    Validator() { setenv("ZTVALIDATE_MODULE", ZTA_MODULE_PATH, 1); }

    /// The fixture with a fault, for a check of modules or of hosts.
    std::string Fixture(const std::string& check, const std::string& fault)
    {
        const bool incomplete = fault == "module.exports" || fault == "module.binding";
        const char* module = incomplete ? ZTA_INCOMPLETE_MODULE : ZTA_BROKEN_MODULE;
        return Link(IsHostCheck(check) ? ZTA_BROKEN_HOST : module, fault);
    }

    std::string Link(const std::string& file, const std::string& name)
    {
        const std::string link = folder_.File(name + ".so");
        std::filesystem::remove(link);
        std::filesystem::create_symlink(file, link);
        return link;
    }

    /// The report on a subject, which must be JSON, with an exit code and a verdict that agree with it.
    static Json ReportOn(const std::string& subject, bool host, Names more = {})
    {
        Names arguments = {"--json"};
        if (host) {
            arguments.emplace_back("--host");
        }
        arguments.push_back(subject);
        arguments.insert(arguments.end(), more.begin(), more.end());
        const RunResult run = RunTool(arguments);
        const Names errors = Lines(run.errors);
        const bool inProcess = std::ranges::find(more, "--in-process") != more.end();
        if (errors.empty() || (!inProcess && errors.size() != 1)) {
            ADD_FAILURE() << "the verdict should be the only line: " << run.errors;
            return {};
        }
        Json report = Json::parse(run.output, nullptr, false);
        EXPECT_FALSE(report.is_discarded()) << run.output;
        if (!report.is_discarded()) {
            EXPECT_EQ(run.exitCode, report["good"] ? 0 : 1);
            EXPECT_TRUE(errors.back().starts_with(report["good"] ? "verdict: passed (" : "verdict: failed"))
                << run.errors;
        }
        return report;
    }

    /// The names of the checks of a report that have a result.
    static Names NamesWith(const Json& report, const std::string& result)
    {
        Names names;
        for (const Json& check : report["checks"]) {
            if (check["result"] == result) {
                names.push_back(check["name"]);
            }
        }
        return names;
    }

    /// The result of one check on a fixture, and the detail.
    std::pair<std::string, std::string> Verdict(const std::string& check, const std::string& fault, Names more = {})
    {
        more.insert(more.end(), {"--only", check});
        const Json report = ReportOn(Fixture(check, fault), IsHostCheck(check), more);
        if (!report.is_object() || report["checks"].size() != 1) {
            ADD_FAILURE() << "one check should have run: " << check;
            return {};
        }
        const Json& only = report["checks"][0];
        EXPECT_EQ(only["name"], check);
        return {only["result"], only["detail"]};
    }

    TempDirectory folder_;
};

// ---- Subjects without a fault ----

TEST_F(Validator, FindsNothingWrongWithTheModule)
{
    const Json report = ReportOn(ZTA_MODULE_PATH, false);
    ASSERT_TRUE(report.is_object());
    EXPECT_TRUE(report["good"]);
    EXPECT_EQ(report["modules"], Json::array({ZTA_MODULE_PATH}));
    EXPECT_GT(report["checks"].size(), 100U);
    for (const Json& check : report["checks"]) {
        EXPECT_EQ(check["result"], "passed") << check;
        EXPECT_EQ(check["output"], "") << check;
    }
}

TEST_F(Validator, FindsNothingWrongWithFixturesWithoutAFault)
{
    for (const bool host : {false, true}) {
        const Json report = ReportOn(Link(host ? ZTA_BROKEN_HOST : ZTA_BROKEN_MODULE, "none"), host);
        for (const Json& check : report["checks"]) {
            EXPECT_EQ(check["result"], "passed") << check;
        }
    }
}

TEST_F(Validator, UsesOtherRandomSamplesWithAnotherSeed)
{
    const Json report = ReportOn(ZTA_MODULE_PATH, false, {"--seed", "987654321", "--only", "operation.*.samples"});
    EXPECT_TRUE(report["good"]) << report;
    EXPECT_EQ(report["seed"], 987654321U);
}

// ---- Each check detects its fault ----

/// The first parts of the checks' names. Each has a test of its own, so that the tests run in parallel.
const char* const kGroups[] = {"module.",
                               "class.",
                               "engine.",
                               "registration.",
                               "operation.copy.",
                               "operation.duplicate.",
                               "operation.mono-to-stereo.",
                               "operation.stereo-to-mono.",
                               "operation.mono-to-mux.",
                               "operation.stereo-to-mux.",
                               "operation.mux-to-mono.",
                               "operation.mux-to-stereo.",
                               "operation.volume.",
                               "operation.resample.",
                               "host.",
                               "buffer."};

/// Faults besides those that have the name of a check.
const char* const kMoreFaults[] = {"module.can-unload~never",
                                   "module.traces~file",
                                   "class.wrong-class~output",
                                   "class.wrong-interface~status",
                                   "class.instances~left-over",
                                   "registration.non-ascii~ends-process",
                                   "operation.copy.signals~read",
                                   "operation.copy.signals~missing-read",
                                   "operation.copy.signals~missing-write",
                                   "operation.copy.references~guard",
                                   "operation.copy.sizes~written",
                                   "operation.copy.samples~length",
                                   "operation.copy.fades~flags",
                                   "operation.mux-to-stereo.references~guard",
                                   "operation.mux-to-mono.samples~length",
                                   "operation.stereo-to-mux.fades~flags",
                                   "buffer.references~untold",
                                   "buffer.error-code~kept",
                                   "buffer.counts~accesses"};

/// Faults with another result than "failed".
const std::map<std::string, std::string> kOtherResults = {{"module.loads", "crashed"},
                                                          {"module.reloads", "crashed"},
                                                          {"module.binding", "warning"},
                                                          {"module.version", "warning"},
                                                          {"buffer.alignment", "warning"},
                                                          {"buffer.references~untold", "warning"},
                                                          {"registration.non-ascii~ends-process", "crashed"}};

class EachCheck : public Validator, public ::testing::WithParamInterface<const char*> {};

TEST_P(EachCheck, IsBrokenByItsFixture)
{
    Names faults;
    std::ranges::copy_if(Listed(), std::back_inserter(faults),
                         [](const std::string& name) { return name.starts_with(GetParam()); });
    ASSERT_FALSE(faults.empty());
    std::ranges::copy_if(kMoreFaults, std::back_inserter(faults),
                         [](const std::string& name) { return name.starts_with(GetParam()); });
    for (const std::string& fault : faults) {
        const auto [result, detail] = Verdict(fault.substr(0, fault.find('~')), fault);
        const auto other = kOtherResults.find(fault);
        EXPECT_EQ(result, other != kOtherResults.end() ? other->second : "failed") << fault << ": " << detail;
        EXPECT_NE(detail, "") << fault;
    }
}

/// Faults that other checks detect also, because these rest on the same property. Every other fault in the list below
/// is detected by its own check alone.
const std::map<std::string, std::set<std::string>> kWidelyDetected = {
    {"buffer.content",
     {"buffer.query", "buffer.identity", "buffer.references", "buffer.counts", "buffer.memory", "buffer.address",
      "buffer.capacity", "buffer.independence"}},
    {"buffer.references", {"buffer.counts"}},
    {"buffer.references~untold", {"buffer.counts"}},
    {"buffer.capacity", {"host.pool", "host.frees", "buffer.length"}},
    {"buffer.length", {"buffer.length-limit", "buffer.frames"}},
    {"buffer.error-code", {"buffer.reading", "buffer.independence"}},
    {"buffer.error-code~kept", {"buffer.content"}},
    {"buffer.read-signals", {"buffer.counts", "buffer.prompt-signals"}},
};

class OnlyItsCheck : public Validator, public ::testing::WithParamInterface<const char*> {};

TEST_P(OnlyItsCheck, DetectsAFault)
{
    Names faults;
    Names all = Listed();
    all.insert(all.end(), std::begin(kMoreFaults), std::end(kMoreFaults));
    std::ranges::copy_if(all, std::back_inserter(faults), [](const std::string& name) {
        return std::regex_match(name, std::regex(GetParam())) && name != "host.loads";
    });
    ASSERT_FALSE(faults.empty());
    for (const std::string& fault : faults) {
        const std::string own = fault.substr(0, fault.find('~'));
        const auto known = kWidelyDetected.find(fault);
        const Json report = ReportOn(Fixture(own, fault), IsHostCheck(own));
        for (const Json& check : report["checks"]) {
            const std::string name = check["name"];
            const bool isKnown = known != kWidelyDetected.end() && known->second.contains(name);
            const bool isDetected = check["result"] != "passed";
            EXPECT_EQ(isDetected, name == own || isKnown) << fault << ": " << check;
        }
    }
}

std::string GroupNumber(const ::testing::TestParamInfo<const char*>& info)
{
    return "Group" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(All, OnlyItsCheck,
                         ::testing::Values("(host|buffer)\\..*", "class\\.failed-instance|registration\\.non-ascii.*",
                                           "operation\\..*\\.(no-address|positive-status)",
                                           "operation\\..*\\.record-sizes"),
                         GroupNumber);

std::string GroupName(const ::testing::TestParamInfo<const char*>& info)
{
    std::string name = info.param;
    std::erase_if(name, [](char c) { return c == '.' || c == '-'; });
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, EachCheck, ::testing::ValuesIn(kGroups), GroupName);

TEST_F(Validator, HasNoCheckOutsideTheGroupsOfTheseTests)
{
    for (const std::string& name : Listed()) {
        EXPECT_EQ(std::ranges::count_if(kGroups, [&](const char* group) { return name.starts_with(group); }), 1)
            << name;
    }
}

TEST_F(Validator, HasEachNameOnce)
{
    Names names = Listed();
    std::ranges::sort(names);
    EXPECT_EQ(std::ranges::adjacent_find(names), names.end());
}

// ---- Subjects that crash, hang or print ----

TEST_F(Validator, ReportsAFileThatIsNoSharedObject)
{
    const std::string file = folder_.File("text.so");
    WriteTextFile(file, "not a shared object\n");
    const Json report = ReportOn(file, false);
    EXPECT_EQ(report["checks"][0]["name"], "module.loads");
    EXPECT_EQ(report["checks"][0]["result"], "failed");
    EXPECT_EQ(report["totals"]["skipped"], report["checks"].size() - 1);
    EXPECT_EQ(ReportOn(file, true)["checks"][0]["result"], "failed");
}

TEST_F(Validator, ContinuesAfterACheckThatLacksAnExport)
{
    const Json report = ReportOn(Link(ZTA_INCOMPLETE_MODULE, "none"), false, {"--only", "[mr]*.*"});
    std::map<std::string, std::string> results;
    for (const Json& check : report["checks"]) {
        results[check["name"]] = check["result"];
    }
    EXPECT_EQ(results["module.exports"], "failed");
    EXPECT_EQ(results["registration.writes"], "failed");
    EXPECT_EQ(results["module.entry"], "passed");
    EXPECT_EQ(results["registration.needs-folder"], "failed");
}

TEST_F(Validator, ReportsEveryKindOfEnd)
{
    for (const auto& [fault, result, detail] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"crashes", "crashed", "ended by SIGABRT"},
             {"exits", "crashed", "ended the process with exit code 0"},
             {"throws", "failed", "an exception that is not derived from std::exception"}}) {
        EXPECT_EQ(Verdict("operation.copy.signals", fault), std::pair(result, detail));
    }
    EXPECT_EQ(Verdict("engine.creation", "garbage").first, "crashed");
    EXPECT_EQ(Verdict("buffer.memory", "crashes").first, "crashed");
}

/// The number of processes that have mapped a file of the folder.
int ProcessesOf(const std::string& folder)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream maps(entry.path() / "maps");
        for (std::string line; std::getline(maps, line);) {
            if (line.find(folder) != std::string::npos) {
                ++count;
                break;
            }
        }
    }
    return count;
}

TEST_F(Validator, EndsACheckThatHangsWithAllItsProcesses)
{
    // A file of its own identifies its processes.
    std::filesystem::copy_file(ZTA_BROKEN_MODULE, folder_.File("hangs.so"));
    const auto start = std::chrono::steady_clock::now();
    const Json report =
        ReportOn(folder_.File("hangs.so"), false,
                 {"--timeout", "0.5", "--only", "operation.copy.order", "--only", "operation.copy.busy"});
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(report["checks"].size(), 2U);
    for (const Json& check : report["checks"]) {
        EXPECT_EQ(check["result"], "failed");
        EXPECT_EQ(check["detail"], "did not end within 0.5 seconds");
    }
    EXPECT_LT(taken.count(), 20.0);
    EXPECT_EQ(ProcessesOf(folder_.Path().string()), 0);
}

TEST_F(Validator, KeepsLittleOfWhatAModulePrints)
{
    const Json report =
        ReportOn(Link(ZTA_BROKEN_MODULE, "floods"), false, {"--timeout", "0.5", "--only", "operation.copy.signals"});
    const std::string output = report["checks"][0]["output"];
    EXPECT_EQ(report["checks"][0]["result"], "failed");
    EXPECT_TRUE(output.starts_with("a line of a module that prints without end\n")) << output;
    EXPECT_LE(output.size(), 2000U);
}

TEST_F(Validator, SkipsTheOtherChecksOfAnOperationOfWhichTwoHang)
{
    const Json report =
        ReportOn(Link(ZTA_BROKEN_MODULE, "hangs-in-copy"), false,
                 {"--timeout", "1", "--jobs", "2", "--only", "operation.copy.*", "--only", "operation.volume.*"});
    int hung = 0;
    for (const Json& check : report["checks"]) {
        if (check["name"].get<std::string>().starts_with("operation.volume.")) {
            EXPECT_EQ(check["result"], "passed") << check;
        } else if (check["result"] == "failed") {
            EXPECT_EQ(check["detail"], "did not end within 1 seconds");
            ++hung;
        } else {
            EXPECT_EQ(check["result"], "skipped") << check;
            EXPECT_EQ(check["detail"], "not run: 2 checks of operation.copy did not end in time");
        }
    }
    EXPECT_EQ(hung, 2);
    EXPECT_FALSE(report["good"]);
}

TEST_F(Validator, EndsWithinTwiceTheLimitAndAFewSecondsIfEveryCheckHangs)
{
    const std::string module = Link(ZTA_BROKEN_MODULE, "hangs-everywhere");
    for (const char* jobs : {"1", "2"}) {
        const auto start = std::chrono::steady_clock::now();
        const Json report = ReportOn(module, false, {"--timeout", "3", "--jobs", jobs});
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        EXPECT_LT(taken.count(), 2 * 3 + 5) << jobs;
        EXPECT_GT(report["totals"]["failed"], 5) << jobs;
        EXPECT_GT(report["totals"]["skipped"], 100) << jobs;
    }
}

TEST_F(Validator, LeavesNoProcessWhenItIsInterrupted)
{
    std::filesystem::copy_file(ZTA_BROKEN_MODULE, folder_.File("hangs.so"));
    const std::string command = std::string("timeout --preserve-status -s TERM 2 ") + ZTA_TOOL_PATH + " " +
                                folder_.File("hangs.so") + " --only operation.copy.signals >" + folder_.File("output") +
                                " 2>" + folder_.File("errors");
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(ReadTextFile(folder_.File("errors")), "ztvalidate: interrupted\n");
    EXPECT_TRUE(ReadTextFile(folder_.File("output")).starts_with("verdict: failed, interrupted after 0 of 1 checks"));
    EXPECT_EQ(ProcessesOf(folder_.Path().string()), 0);
}

// ---- The command line ----

TEST_F(Validator, RunsTheSelectedChecksOnly)
{
    const RunResult run = RunTool({ZTA_MODULE_PATH, "--only", "class.fac*", "--only", "module.entry"});
    EXPECT_EQ(run.exitCode, 0);
    const Names lines = Lines(run.output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[0].starts_with("passed   module.entry: ")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("passed   class.factory: ")) << lines[1];
    EXPECT_EQ(lines[2], "verdict: passed (2 checks: 2 passed, 0 warning, 0 failed, 0 crashed, 0 skipped)");
}

TEST_F(Validator, ReportsTheFailureAndHowToRerunIt)
{
    const RunResult run = RunTool({Link(ZTA_BROKEN_MODULE, "module.texts"), "--only", "module.texts"});
    EXPECT_EQ(run.exitCode, 1);
    const Names lines = Lines(run.output);
    ASSERT_EQ(lines.size(), 5U);
    const std::string command =
        ZTA_TOOL_PATH " --in-process --seed 1 --only module.texts " + folder_.File("module.texts.so");
    EXPECT_TRUE(lines[0].starts_with("failed   module.texts: ")) << lines[0];
    EXPECT_EQ(lines[1], "         > the text of 0x8999802F (ZT_E_MODULE_BUSY) is wrong");
    EXPECT_EQ(lines[2], "         rerun: " + command);
    EXPECT_EQ(lines[3], "         debug: gdb --args " + command);
    EXPECT_EQ(lines[4], "verdict: failed (1 checks: 0 passed, 0 warning, 1 failed, 0 crashed, 0 skipped)");
}

TEST_F(Validator, RerunsOneFailedCheckWithThePrintedCommand)
{
    for (const char* fault : {"operation.copy.samples", "registration.writes", "buffer.length"}) {
        const Json report = ReportOn(Fixture(fault, fault), IsHostCheck(fault), {"--only", fault, "--seed", "7"});
        const std::string command = report["checks"][0]["rerun"];
        EXPECT_NE(command.find(" --in-process --seed 7 "), std::string::npos) << command;
        EXPECT_NE(std::system((command + " >" + folder_.File("output") + " 2>&1").c_str()), 0);
        const std::string output = ReadTextFile(folder_.File("output"));
        EXPECT_NE(output.find("failed   " + std::string(fault)), std::string::npos) << output;
        EXPECT_NE(output.find(report["checks"][0]["detail"].get<std::string>()), std::string::npos) << output;
    }
}

TEST_F(Validator, QuotesTheNameOfASubjectForTheShell)
{
    const std::string module = Link(ZTA_BROKEN_MODULE, "module.texts");
    const std::string strange = folder_.File("a b'c");
    std::filesystem::create_directory(strange);
    const std::string link = strange + "/module.texts.so";
    std::filesystem::create_symlink(ZTA_BROKEN_MODULE, link);
    const Json report = ReportOn(link, false, {"--only", "module.texts"});
    const std::string command = report["checks"][0]["rerun"];
    EXPECT_NE(std::system((command + " >" + folder_.File("output") + " 2>&1").c_str()), 0);
    EXPECT_TRUE(ReadTextFile(folder_.File("output")).starts_with("failed   module.texts")) << command;
}

TEST_F(Validator, RunsAllChecksInItsOwnProcess)
{
    const Json report = ReportOn(ZTA_MODULE_PATH, false, {"--in-process", "--jobs", "3"});
    EXPECT_EQ(NamesWith(report, "passed").size(), report["checks"].size()) << report;
    EXPECT_GT(report["checks"].size(), 100U);
    const Json host = ReportOn(Link(ZTA_BROKEN_HOST, "none"), true, {"--in-process"});
    EXPECT_EQ(NamesWith(host, "passed").size(), host["checks"].size()) << host;
}

TEST_F(Validator, ReportsTheSameForAnyNumberOfJobs)
{
    Names first;
    for (const char* jobs : {"1", "2", "7"}) {
        const Json report = ReportOn(Link(ZTA_BROKEN_MODULE, "engine.query"), false, {"--jobs", jobs});
        Names results;
        for (const Json& check : report["checks"]) {
            results.push_back(std::string(check["name"]) + " " + std::string(check["result"]));
        }
        first = first.empty() ? results : first;
        EXPECT_EQ(results, first);
    }
}

TEST_F(Validator, PrintsFailedChecksOnlyOnRequest)
{
    const RunResult run = RunTool({Link(ZTA_BROKEN_MODULE, "module.texts"), "--only", "module.*", "--only-failed"});
    const Names lines = Lines(run.output);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_TRUE(lines[0].starts_with("failed   module.texts: ")) << lines[0];
    EXPECT_TRUE(lines[4].starts_with("verdict: failed (11 checks: 10 passed, ")) << lines[4];
}

TEST_F(Validator, ExcludesChecks)
{
    const Json report = ReportOn(Link(ZTA_BROKEN_MODULE, "module.texts"), false,
                                 {"--only", "module.*", "--exclude", "module.t*", "--exclude", "module.lo*"});
    EXPECT_TRUE(report["good"]);
    EXPECT_EQ(NamesWith(report, "passed"), (Names{"module.exports", "module.binding", "module.version", "module.entry",
                                                  "module.can-unload", "module.unloads", "module.reloads"}));
}

TEST_F(Validator, ChecksSeveralModulesInACall)
{
    const std::string bad = Link(ZTA_BROKEN_MODULE, "module.texts");
    const Json report = ReportOn(ZTA_MODULE_PATH, false, {bad, "--only", "module.texts", "--only", "module.entry"});
    EXPECT_EQ(report["modules"], Json::array({ZTA_MODULE_PATH, bad}));
    Names results;
    for (const Json& check : report["checks"]) {
        results.push_back(std::string(check["subject"]) + " " + std::string(check["name"]) + " " +
                          std::string(check["result"]));
    }
    EXPECT_EQ(results, (Names{ZTA_MODULE_PATH " module.texts passed", ZTA_MODULE_PATH " module.entry passed",
                              bad + " module.texts failed", bad + " module.entry passed"}));
    const RunResult run = RunTool({ZTA_MODULE_PATH, bad, "--only", "module.entry"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(
        run.output.ends_with("\nverdict: passed (2 checks: 2 passed, 0 warning, 0 failed, 0 crashed, 0 skipped)\n"))
        << run.output;
}

TEST_F(Validator, WritesAJunitReport)
{
    const std::string file = folder_.File("report.xml");
    const RunResult run = RunTool({Link(ZTA_BROKEN_MODULE, "module.texts"), "--only", "module.[te]*", "--only",
                                   "registration.prints", "--junit", file, "--json"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(Json::parse(run.output, nullptr, false).is_object());
    const std::string text = ReadTextFile(file);
    EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<testsuites name=\"ztvalidate\" tests=\"5\" failures=\"1\" errors=\"0\">\n"))
        << text;
    EXPECT_NE(text.find("<testcase classname=\"module\" name=\"module.entry\" time="), std::string::npos) << text;
    EXPECT_NE(text.find("<failure message=\"the text of 0x8999802F (ZT_E_MODULE_BUSY) is wrong\">"), std::string::npos)
        << text;
    EXPECT_NE(text.find("rerun: "), std::string::npos);
    // An XML parser of the system, if there is one.
    const std::string command = "python3 -c 'import sys, xml.dom.minidom as m; m.parse(sys.argv[1])' " + file;
    if (std::system("python3 -c 'import xml.dom.minidom' 2>/dev/null") == 0) {
        EXPECT_EQ(std::system(command.c_str()), 0);
    }
}

TEST_F(Validator, EscapesInAJunitReportWhatAModulePrints)
{
    const std::string file = folder_.File("report.xml");
    RunTool({Link(ZTA_BROKEN_MODULE, "prints-bytes"), "--only", "operation.copy.signals", "--junit", file});
    const std::string text = ReadTextFile(file);
    EXPECT_NE(text.find("<error message=\"ended by SIGABRT\">"), std::string::npos) << text;
    EXPECT_NE(text.find("<system-out>&lt;a&gt;&amp;&quot;??&#10;</system-out>"), std::string::npos) << text;
}

TEST_F(Validator, FailsIfItsJunitReportCannotBeWritten)
{
    const RunResult run =
        RunTool({ZTA_MODULE_PATH, "--only", "module.entry", "--junit", folder_.File("missing/report.xml")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(Lines(run.errors).size(), 1U) << run.errors;
}

TEST_F(Validator, FailsIfNoCheckApplies)
{
    const RunResult run = RunTool({"--host", Link(ZTA_SILENT_HOST, "none"), "--only", "buffer.read-signals"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(Lines(run.output).back().starts_with("verdict: failed, no check applies (1 checks: ")) << run.output;
}

TEST_F(Validator, ReportsChannelFrameValuesAndSeedOfAMismatch)
{
    const std::regex pattern(".*: destination: channel [01], frame [0-9]+: found -?[0-9]+ \\(0x[0-9A-F]{4}\\), "
                             "expected -?[0-9]+ \\(0x[0-9A-F]{4}\\); [0-9]+ of [0-9]+ samples differ; seed 42");
    const auto [result, detail] = Verdict("operation.copy.samples", "operation.copy.samples", {"--seed", "42"});
    EXPECT_EQ(result, "failed");
    EXPECT_TRUE(std::regex_match(detail, pattern)) << detail;
    for (const char* check : {"operation.stereo-to-mono.samples", "operation.mux-to-mono.samples",
                              "operation.resample.stereo", "operation.resample.cuts", "operation.volume.samples"}) {
        EXPECT_TRUE(std::regex_match(Verdict(check, check).second,
                                     std::regex(".*: channel [0-9]+, frame [0-9]+: found .*, expected .*; seed 1")))
            << Verdict(check, check).second;
    }
}

TEST_F(Validator, ReportsASeedThatIsNoNumberInOneReadableLine)
{
    for (const char* seed : {"-1", "x", "1.5", "", "18446744073709551616"}) {
        const RunResult run = RunTool({ZTA_MODULE_PATH, "--seed", seed});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.errors, "ztvalidate: --seed requires a whole number from 0 to 18446744073709551615, not '" +
                                  std::string(seed) + "' (see ztvalidate --help)\n");
    }
}

TEST_F(Validator, HasASelfTestThatCoversEachFaultOfTheseTests)
{
    const RunResult run = RunTool({"--self-test", "--list"});
    Names covered = Lines(run.output);
    Names expected = Listed();
    expected.insert(expected.end(), std::begin(kMoreFaults), std::end(kMoreFaults));
    std::ranges::sort(covered);
    std::ranges::sort(expected);
    EXPECT_EQ(covered, expected);
}

TEST_F(Validator, FailsItsSelfTestOnAModuleThatIsBroken)
{
    const RunResult run = RunTool({"--self-test", ZTA_INCOMPLETE_MODULE, "--only", "registration.*"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(Lines(run.output).back().starts_with("verdict: failed (")) << run.output;
}

TEST_F(Validator, SkipsChecksThatNeedAFailedOne)
{
    const Json report = ReportOn(Link(ZTA_BROKEN_MODULE, "engine.creation"), false, {"--only", "engine.*"});
    for (const Json& check : report["checks"]) {
        EXPECT_EQ(check["result"], check["name"] == "engine.creation" ? "failed" : "skipped");
    }
}

TEST_F(Validator, RejectsAnInvalidCommandLineInOneLine)
{
    for (const Names& arguments : std::vector<Names>{{},
                                                     {"--no-such-option"},
                                                     {"/no/such/module.so"},
                                                     {folder_.Path().string()},
                                                     {ZTA_MODULE_PATH, "--only", "no.such.check"},
                                                     {ZTA_MODULE_PATH, "--only", ""},
                                                     {ZTA_MODULE_PATH, "--exclude", ""},
                                                     {ZTA_MODULE_PATH, "--only", "module.*", "--only", "no.such.check"},
                                                     {ZTA_MODULE_PATH, "--only", "module.*", "--exclude", "*"},
                                                     {""},
                                                     {ZTA_MODULE_PATH, "/no/such/module.so"},
                                                     {"--host", ""},
                                                     {ZTA_MODULE_PATH, "--jobs", "0"},
                                                     {ZTA_MODULE_PATH, "--junit", ""},
                                                     {"--self-test", "--json"},
                                                     {ZTA_MODULE_PATH, "--timeout", "never"},
                                                     {ZTA_MODULE_PATH, "--timeout", "0"},
                                                     {ZTA_MODULE_PATH, "--seed", "-1"},
                                                     {ZTA_MODULE_PATH, "--host", ZTA_BROKEN_HOST}}) {
        const RunResult run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.output, "");
        EXPECT_TRUE(run.errors.starts_with("ztvalidate: ")) << run.errors;
        EXPECT_EQ(std::ranges::count(run.errors, '\n'), 1) << run.errors;
    }
}

TEST_F(Validator, FailsWhenItsReportCannotBeWritten)
{
    if (!HasFullDevice()) {
        GTEST_SKIP() << "needs /dev/full";
    }
    const std::string command = std::string(ZTA_TOOL_PATH) + " " + ZTA_MODULE_PATH +
                                " --only module.entry >/dev/full 2>" + folder_.File("errors");
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(std::ranges::count(ReadTextFile(folder_.File("errors")), '\n'), 1);
}

} // namespace
