// The validator on the real module, on the reference host's buffers, and on fixtures that break one thing each.

#include "testing/temp_directory.h"
#include "tests/tools/run_tool.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
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
    const ResampleResult run = RunTool({"--list"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.errors, "");
    Names names;
    for (const std::string& line : Lines(run.output)) {
        names.push_back(line.substr(0, line.find(": ")));
        EXPECT_LT(names.back().size() + 2, line.size()) << "a check without a sentence: " << line;
    }
    return names;
}

bool IsHostCheck(const std::string& name)
{
    return name.starts_with("host.") || name.starts_with("buffer.");
}

class Validator : public ::testing::Test {
protected:
    /// The fixture that breaks `fault`, for a check of modules or of hosts.
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

    /// The report on a subject, which must be one of JSON, with an exit code that agrees with it.
    static Json ReportOn(const std::string& subject, bool host, Names more = {})
    {
        Names arguments = {"--json"};
        if (host) {
            arguments.emplace_back("--host");
        }
        arguments.push_back(subject);
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ResampleResult run = RunTool(arguments);
        EXPECT_EQ(run.errors, "");
        Json report = Json::parse(run.output, nullptr, false);
        EXPECT_FALSE(report.is_discarded()) << run.output;
        if (!report.is_discarded()) {
            EXPECT_EQ(run.exitCode, report["good"] ? 0 : 1);
        }
        return report;
    }

    /// What one check says of a fixture: its result and the detail.
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

// ---- What is good ----

TEST_F(Validator, FindsNothingWrongWithTheModule)
{
    const Json report = ReportOn(ZTA_MODULE_PATH, false);
    ASSERT_TRUE(report.is_object());
    EXPECT_TRUE(report["good"]);
    EXPECT_EQ(report["module"], ZTA_MODULE_PATH);
    EXPECT_GT(report["checks"].size(), 100U);
    for (const Json& check : report["checks"]) {
        EXPECT_EQ(check["result"], "passed") << check;
        EXPECT_EQ(check["output"], "") << check;
    }
}

TEST_F(Validator, FindsNothingWrongWithFixturesThatBreakNothing)
{
    for (const bool host : {false, true}) {
        const Json report = ReportOn(Link(host ? ZTA_BROKEN_HOST : ZTA_BROKEN_MODULE, "none"), host);
        for (const Json& check : report["checks"]) {
            EXPECT_EQ(check["result"], "passed") << check;
        }
    }
}

TEST_F(Validator, TakesOtherRandomSamplesWithAnotherSeed)
{
    const Json report = ReportOn(ZTA_MODULE_PATH, false, {"--seed", "987654321", "--only", "operation.*.samples"});
    EXPECT_TRUE(report["good"]) << report;
    EXPECT_EQ(report["seed"], 987654321U);
}

// ---- Each check fails when it should ----

/// The first parts of the checks' names; a test each, so that they run beside each other.
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

/// Faults beside those that bear a check's own name.
const char* const kMoreFaults[] = {"module.can-unload~never",
                                   "module.traces~file",
                                   "class.wrong-class~output",
                                   "class.wrong-interface~status",
                                   "class.instances~left-over",
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
                                   "buffer.error-code~kept"};

/// Checks whose fixtures get another result than "failed".
const std::map<std::string, std::string> kOtherResults = {
    {"module.loads", "crashed"},   {"module.reloads", "crashed"},   {"module.binding", "warning"},
    {"module.version", "warning"}, {"buffer.alignment", "warning"}, {"buffer.references~untold", "warning"}};

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

// ---- Subjects that do harm ----

TEST_F(Validator, TellsAFileThatIsNoSharedObject)
{
    const std::string file = folder_.File("text.so");
    WriteTextFile(file, "no shared object at all\n");
    const Json report = ReportOn(file, false);
    EXPECT_EQ(report["checks"][0]["name"], "module.loads");
    EXPECT_EQ(report["checks"][0]["result"], "failed");
    EXPECT_EQ(report["totals"]["skipped"], report["checks"].size() - 1);
    EXPECT_EQ(ReportOn(file, true)["checks"][0]["result"], "failed");
}

TEST_F(Validator, GoesOnAfterACheckThatLacksAnExport)
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

TEST_F(Validator, TellsEveryKindOfEnd)
{
    for (const auto& [fault, result, detail] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"crashes", "crashed", "ended by SIGABRT"},
             {"exits", "crashed", "ended the process with exit code 0"},
             {"throws", "failed", "an exception that is none of the standard library's came out of it"}}) {
        EXPECT_EQ(Verdict("operation.copy.signals", fault), std::pair(result, detail));
    }
    EXPECT_EQ(Verdict("engine.creation", "garbage").first, "crashed");
    EXPECT_EQ(Verdict("buffer.memory", "crashes").first, "crashed");
}

/// How many processes run that were started from a file in the folder or hold it open.
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
    // A file of its own: its processes can be told by it.
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
    EXPECT_TRUE(output.starts_with("a line of a module that never stops talking\n")) << output;
    EXPECT_LE(output.size(), 2000U);
}

TEST_F(Validator, LeavesNoProcessWhenItIsInterrupted)
{
    std::filesystem::copy_file(ZTA_BROKEN_MODULE, folder_.File("hangs.so"));
    const std::string command = std::string("timeout --preserve-status -s TERM 2 ") + ZTA_TOOL_PATH + " " +
                                folder_.File("hangs.so") + " --only operation.copy.signals 2>" + folder_.File("errors");
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(ReadTextFile(folder_.File("errors")), "ztvalidate: interrupted\n");
    EXPECT_EQ(ProcessesOf(folder_.Path().string()), 0);
}

// ---- The command line ----

TEST_F(Validator, RunsOnlyWhatIsAskedFor)
{
    const ResampleResult run = RunTool({ZTA_MODULE_PATH, "--only", "class.f*", "--only", "module.entry"});
    EXPECT_EQ(run.exitCode, 0);
    const Names lines = Lines(run.output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[0].starts_with("passed   module.entry: ")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("passed   class.factory: ")) << lines[1];
    EXPECT_EQ(lines[2], "2 checks: 2 passed, 0 warning, 0 failed, 0 crashed, 0 skipped");
}

TEST_F(Validator, SaysWhatIsWrongInText)
{
    const ResampleResult run = RunTool({Link(ZTA_BROKEN_MODULE, "module.texts"), "--only", "module.texts"});
    EXPECT_EQ(run.exitCode, 1);
    const Names lines = Lines(run.output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[0].starts_with("failed   module.texts: ")) << lines[0];
    EXPECT_EQ(lines[1], "         > the text of 0x8999802F (ZT_E_MODULE_BUSY) is another");
}

TEST_F(Validator, SkipsWhatMeansNothingAfterAFailure)
{
    const Json report = ReportOn(Link(ZTA_BROKEN_MODULE, "engine.creation"), false, {"--only", "engine.*"});
    for (const Json& check : report["checks"]) {
        EXPECT_EQ(check["result"], check["name"] == "engine.creation" ? "failed" : "skipped");
    }
}

TEST_F(Validator, RefusesABadCommandLineInOneLine)
{
    for (const Names& arguments : std::vector<Names>{{},
                                                     {"--no-such-option"},
                                                     {"/no/such/module.so"},
                                                     {folder_.Path().string()},
                                                     {ZTA_MODULE_PATH, "--only", "no.such.check"},
                                                     {ZTA_MODULE_PATH, "--timeout", "never"},
                                                     {ZTA_MODULE_PATH, "--timeout", "0"},
                                                     {ZTA_MODULE_PATH, "--seed", "-1"},
                                                     {ZTA_MODULE_PATH, "--host", ZTA_BROKEN_HOST}}) {
        const ResampleResult run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.output, "");
        EXPECT_TRUE(run.errors.starts_with("ztvalidate: ")) << run.errors;
        EXPECT_EQ(std::ranges::count(run.errors, '\n'), 1) << run.errors;
    }
}

TEST_F(Validator, FailsWhenItsReportCannotBeWritten)
{
    const std::string command = std::string(ZTA_TOOL_PATH) + " " + ZTA_MODULE_PATH +
                                " --only module.entry >/dev/full 2>" + folder_.File("errors");
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(std::ranges::count(ReadTextFile(folder_.File("errors")), '\n'), 1);
}

} // namespace
