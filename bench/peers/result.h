/// The results of one execution.
#pragma once

#include "bench/peers/quality.h"
#include "bench/peers/workload.h"

#include <filesystem>
#include <iosfwd>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace bench {

struct Timed {
    std::string name;
    Role role;
    double seconds; ///< median of a call
};

struct Verdict {
    Target target;
    std::string instructionSet;
    double share;        ///< median of the ratios
    std::string against; ///< the fastest contender of the target's role

    bool Reached() const { return share >= target.share; }
};

struct Result {
    std::string family;
    std::string name;
    std::vector<Timed> contenders;
    std::vector<Verdict> verdicts;
    /// By instruction set: the share of the bound and the host calls together, where these were measured.
    std::map<std::string, double> withCalls;
    std::vector<std::string> excluded; ///< peers with wrong results, and what is wrong
};

/// Checks every contender of a workload, then measures all in interleaved slices: the library once for each instruction
/// set. Only a peer's result may be wrong, which excludes it.
Result Measure(const WorkloadFactory& factory, std::span<const InstructionSet> sets, double seconds);

/// Returns the text of a role in a table's head, such as "of the bound".
std::string RoleText(Role role);
/// Formats a ratio.
std::string Number(double share);

struct Environment {
    std::string machine;
    std::string system;
    std::string compiler;
    std::string date;
    std::string revision;
    std::vector<std::string> peers;
};
Environment CollectEnvironment(const Bench& bench, std::string revision);

struct Report {
    Environment environment;
    std::vector<Result> results;
    std::vector<Quality> qualities;
};

void PrintHead(const Environment& environment);
void PrintResult(const Result& result);
void PrintSummary(const Report& report);
void PrintQualities(std::span<const Quality> qualities);

void WriteJson(const Report& report, const std::filesystem::path& file);
/// Fills the template of the overview. Writes a page and charts for each family, and the page of targets, to a folder
/// beside the document that has the document's name.
void WriteDocument(const Report& report, const std::filesystem::path& templateFile,
                   const std::filesystem::path& shortfallsFile, const std::filesystem::path& document);

/// One bar of a chart. A target is drawn as a mark if it is above 0; a bar that misses it is red.
struct Bar {
    std::string label; ///< empty: the bar belongs to the label above
    double value;
    double target;
    std::string text;
    int color = 0; ///< index into the chart's legend
};
std::string BarChart(const std::string& title, std::span<const Bar> bars, std::span<const std::string> legend = {});

} // namespace bench
