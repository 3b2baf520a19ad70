#include "bench/peers/result.h"

#include <algorithm>
#include <cstdio>

namespace bench {

void PrintHead(const Environment& environment)
{
    std::printf("%s\n%s\n%s; %s, %s\n", environment.machine.c_str(), environment.system.c_str(),
                environment.compiler.c_str(), environment.date.c_str(), environment.revision.c_str());
    for (const std::string& peer : environment.peers) {
        std::printf("%s%s", &peer == &environment.peers.front() ? "peers: " : ", ", peer.c_str());
    }
    std::printf("\n");
}

void PrintResult(const Result& result)
{
    static std::string family;
    if (family != result.family) {
        family = result.family;
        std::printf("\n%s\n", family.c_str());
    }
    std::printf("  %-52s", result.name.c_str());
    if (result.contenders.empty()) {
        std::printf(" not on this processor\n");
        return;
    }
    std::printf("\n");
    for (const Timed& timed : result.contenders) {
        std::printf("    %-28s %10.3f us\n", timed.name.c_str(), timed.seconds * 1e6);
    }
    for (const Verdict& verdict : result.verdicts) {
        std::printf("    %-8s %6s %s (%s), target %s: %s\n", verdict.instructionSet.c_str(),
                    Number(verdict.share).c_str(), RoleText(verdict.target.against).c_str(), verdict.against.c_str(),
                    Number(verdict.target.share).c_str(), verdict.Reached() ? "reached" : "NOT REACHED");
    }
    for (const auto& [set, share] : result.withCalls) {
        std::printf("    %-8s %6s of the bound and the host calls\n", set.c_str(), Number(share).c_str());
    }
    for (const std::string& text : result.excluded) {
        std::printf("    excluded: %s\n", text.c_str());
    }
    std::fflush(stdout);
}

void PrintQualities(std::span<const Quality> qualities)
{
    std::printf("\nSignal to noise of tones of %g dBFS, in dB (a peer has both at %g or more)\n", kToneLevel,
                kLeastQuality);
    for (const Quality& quality : qualities) {
        std::printf("  %-28s %u to %u: %6.1f at %g Hz, %6.1f at %g Hz\n", quality.name.c_str(), quality.from,
                    quality.to, quality.low, kLowTone, quality.high, kHighTone);
    }
}

void PrintSummary(const Report& report)
{
    std::size_t reached = 0;
    std::size_t all = 0;
    for (const Result& result : report.results) {
        for (const Verdict& verdict : result.verdicts) {
            ++all;
            reached += verdict.Reached() ? 1U : 0U;
        }
    }
    std::printf("\n%zu of %zu targets reached\n", reached, all);
}

} // namespace bench
