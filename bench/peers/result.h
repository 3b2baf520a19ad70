/// What a run has found.
#pragma once

#include "bench/peers/quality.h"
#include "bench/peers/workload.h"

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace bench {

struct Timed {
    std::string name;
    Role role;
    double seconds; ///< the median of a call
};

struct Verdict {
    Target target;
    double share;        ///< the median of the ratios
    std::string against; ///< the fastest of the target's role

    bool Reached() const { return share >= target.share; }
};

struct Result {
    std::string family;
    std::string name;
    std::vector<Timed> contenders;
    std::vector<Verdict> verdicts;
    std::optional<double> withCalls;   ///< of the limit and the host calls together, where these were measured
    std::vector<std::string> excluded; ///< peers whose results were wrong, and how
};

/// Checks every contender of a work, then measures them. Only a peer's result may be wrong, which leaves it out.
Result Measure(const WorkloadFactory& row, double seconds);

/// What a role is called where its target is told, such as "of the limit".
std::string RoleText(Role role);
/// A ratio in the manner of its role: a share of the limit, or times the peer.
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
    Environment surroundings;
    std::vector<Result> results;
    std::vector<Quality> qualities;
};

void PrintHead(const Environment& surroundings);
void PrintResult(const Result& result);
void PrintSummary(const Report& report);
void PrintQualities(std::span<const Quality> qualities);

void WriteJson(const Report& report, const std::filesystem::path& file);
/// Fills the template's fields; the charts go into a folder beside the document, with the document's name.
void WriteDocument(const Report& report, const std::filesystem::path& templateFile,
                   const std::filesystem::path& distancesFile, const std::filesystem::path& document);

/// A chart of one bar for each row, with a mark at what each row shall reach.
struct Bar {
    std::string label;
    double value;
    double target;
    std::string text;
};
std::string BarChart(const std::string& title, std::span<const Bar> bars);

} // namespace bench
