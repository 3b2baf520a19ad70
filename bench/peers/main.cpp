/// The library beside its bounds and its peers: one process, one processor, interleaved slices. `make bench` runs it.
#include "bench/peers/result.h"
#include "bench/peers/workload_resampling.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace {

using namespace bench;

std::vector<WorkloadFactory> AllWorkloads(const Bench& bench)
{
    std::vector<WorkloadFactory> factories;
    for (const auto add : {AddConversions, AddLoops, AddMuxes, AddGains, AddMultiFormatsAndFades, AddResampling,
                           AddContents, AddCallCost, AddEngines}) {
        add(factories, bench);
    }
    return factories;
}

struct Options {
    std::string module = ZTA_MODULE_PATH;
    std::string revision = "revision unknown";
    double seconds = 1.0;
    std::vector<std::string> filters;
    std::string json;
    std::string document;
    bool list = false;
};

bool IsSelected(const WorkloadFactory& factory, const std::vector<std::string>& filters)
{
    const std::string text = factory.family + ": " + factory.name;
    return filters.empty() || std::any_of(filters.begin(), filters.end(), [&](const std::string& filter) {
               return text.find(filter) != std::string::npos;
           });
}

int Run(const Options& options)
{
    PinToProcessor(0);
    zta::host::Module module(options.module);
    const auto peers = MakePeers();
    Engine spread(module, Placement::Staggered);
    Engine samePage(module, Placement::SamePage);
    const Bench bench{module, spread, samePage, peers};
    const std::vector<WorkloadFactory> factories = AllWorkloads(bench);
    Report report;
    const std::vector<InstructionSet> sets = SupportedInstructionSets(module);
    sets.front().select();
    if (options.list) {
        for (const WorkloadFactory& factory : factories) {
            std::printf("%s: %s\n", factory.family.c_str(), factory.name.c_str());
        }
        return 0;
    }
    report.environment = CollectEnvironment(bench, options.revision);
    PrintHead(report.environment);
    for (const WorkloadFactory& factory : factories) {
        if (IsSelected(factory, options.filters)) {
            report.results.push_back(Measure(factory, sets, options.seconds));
            PrintResult(report.results.back());
        }
    }
    report.qualities = MeasureQualities(bench);
    PrintQualities(report.qualities);
    PrintSummary(report);
    if (!options.json.empty()) {
        WriteJson(report, options.json);
    }
    if (!options.document.empty()) {
        const std::filesystem::path here(ZTA_BENCH_PEERS_PATH);
        WriteDocument(report, here / "performance.md.in", here / "shortfalls.txt", options.document);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Measures the library beside copies of the same bytes and beside other libraries.");
    app.add_option("--module", options.module, "the library's file")->capture_default_str();
    app.add_option("--seconds", options.seconds, "time for each workload")->capture_default_str();
    app.add_option("--filter", options.filters, "only workloads whose name contains this text");
    app.add_option("--json", options.json, "write the results to this file");
    app.add_option("--document", options.document, "write the document to this file, its pages and charts beside it");
    app.add_option("--revision", options.revision, "the library's revision, for the document");
    app.add_flag("--list", options.list, "list the workloads, and measure nothing");
    CLI11_PARSE(app, argc, argv);
    try {
        return Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
