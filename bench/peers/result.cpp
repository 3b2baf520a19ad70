#include "bench/peers/result.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <limits>
#include <stdexcept>

#include <sys/utsname.h>
#include <unistd.h>

namespace bench {

namespace {

/// Returns what is wrong with the contender's result, if anything.
std::optional<std::string> WrongResult(const Workload& workload, const Contender& contender)
{
    if (!contender.check) {
        return std::nullopt;
    }
    workload.prepare();
    try {
        contender.once();
        return contender.check();
    } catch (const std::exception& error) {
        return error.what();
    }
}

std::string Line(const char* path, const char* key)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) {
            const std::size_t colon = line.find_first_of(":=");
            const std::size_t start = line.find_first_not_of(" \t\"", colon + 1);
            const std::size_t end = line.find_last_not_of(" \t\"");
            return start == std::string::npos ? "" : line.substr(start, end - start + 1);
        }
    }
    return "unknown";
}

std::string Cache(int name)
{
    const long bytes = sysconf(name);
    return bytes > 0 ? std::to_string(bytes / 1024) + " KiB" : "unknown";
}

const char* WidestInstructions()
{
    if (__builtin_cpu_supports("avx512bw")) {
        return "AVX-512";
    }
    return __builtin_cpu_supports("avx2") ? "AVX2" : "no AVX2";
}

std::vector<double> Sums(std::vector<double> first, const std::vector<double>& second)
{
    std::transform(first.begin(), first.end(), second.begin(), first.begin(), std::plus());
    return first;
}

/// Measures the library, and baselines that are made of its code, once for each instruction set. Copies of a contender
/// differ in the set that is selected during their slices; the first set is selected at all other times.
void AddInstructionSets(Workload& workload, std::span<const InstructionSet> sets)
{
    if (workload.fixedVariant) {
        return;
    }
    const auto during = [&](const InstructionSet& set, auto call) {
        return [call, select = set.select, restore = sets.front().select](auto... arguments) {
            select();
            struct Restore {
                const std::function<void()>& set;
                ~Restore() { set(); }
            } const guard{restore};
            return call(arguments...);
        };
    };
    std::vector<Contender> contenders;
    for (const Contender& contender : workload.contenders) {
        if (contender.role != Role::Library && contender.role != Role::Baseline) {
            contenders.push_back(contender);
            continue;
        }
        for (const InstructionSet& set : sets) {
            Contender variant = contender;
            variant.name = contender.name + ", " + set.name;
            variant.instructionSet = set.name;
            variant.timer = during(set, contender.timer);
            variant.once = during(set, contender.once);
            if (contender.check) {
                variant.check = during(set, contender.check);
            }
            contenders.push_back(std::move(variant));
        }
    }
    workload.contenders = std::move(contenders);
}

/// Compares one contender of the library with all others, round by round.
void AddVerdicts(Result& result, const std::vector<Target>& targets, const std::vector<Contender>& contenders,
                 const Rounds& rounds, std::size_t library)
{
    const std::string& set = contenders[library].instructionSet;
    for (const Target& target : targets) {
        Verdict verdict{target, set, std::numeric_limits<double>::infinity(), ""};
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const double ratio = MedianRatio(rounds[i], rounds[library]);
            const bool isOfSet = contenders[i].instructionSet.empty() || contenders[i].instructionSet == set;
            if (contenders[i].role == target.against && isOfSet && ratio < verdict.share) {
                verdict.share = ratio;
                verdict.against = contenders[i].name;
            }
        }
        if (!verdict.against.empty()) {
            result.verdicts.push_back(verdict);
        }
    }
    for (std::size_t calls = 0; calls < contenders.size(); ++calls) {
        for (std::size_t bound = 0; contenders[calls].role == Role::Calls && bound < contenders.size(); ++bound) {
            if (contenders[bound].role == Role::Bound) {
                const double ratio = MedianRatio(Sums(rounds[bound], rounds[calls]), rounds[library]);
                const auto entry = result.withCalls.try_emplace(set, ratio).first;
                entry->second = std::min(entry->second, ratio);
            }
        }
    }
}

} // namespace

Result Measure(const WorkloadFactory& factory, std::span<const InstructionSet> sets, double seconds)
{
    Workload workload = factory.make();
    AddInstructionSets(workload, sets);
    Result result{factory.family, factory.name, {}, {}, {}, {}};
    std::vector<Contender> accepted;
    for (Contender& contender : workload.contenders) {
        const auto wrong = WrongResult(workload, contender);
        if (!wrong) {
            accepted.push_back(std::move(contender));
        } else if (contender.role != Role::Peer && contender.role != Role::Other) {
            throw std::runtime_error(factory.family + ", " + factory.name + ", " + contender.name +
                                     ": wrong result: " + *wrong);
        } else {
            result.excluded.push_back(contender.name + ": " + *wrong);
        }
    }
    if (accepted.empty()) {
        return result;
    }
    workload.prepare();
    std::vector<Timer> timers;
    for (const Contender& contender : accepted) {
        timers.push_back(contender.timer);
    }
    const Rounds rounds = RunInterleaved(timers, {.seconds = seconds, .sliceSeconds = workload.sliceSeconds});
    for (std::size_t i = 0; i < accepted.size(); ++i) {
        result.contenders.push_back({accepted[i].name, accepted[i].role, Median(rounds[i])});
    }
    for (std::size_t library = 0; library < accepted.size() && accepted[library].role == Role::Library; ++library) {
        AddVerdicts(result, workload.targets, accepted, rounds, library);
    }
    return result;
}

std::string RoleText(Role role)
{
    switch (role) {
    case Role::Bound:
        return "of the bound";
    case Role::Peer:
        return "times the fastest peer";
    default:
        return "of the baseline";
    }
}

std::string Number(double share)
{
    char text[32];
    std::snprintf(text, sizeof text, share < 10 ? "%.2f" : "%.1f", share);
    return text;
}

Environment CollectEnvironment(const Bench& bench, std::string revision)
{
    Environment found;
    found.machine = Line("/proc/cpuinfo", "model name") + ", family " + Line("/proc/cpuinfo", "cpu family") +
                    ", model " + Line("/proc/cpuinfo", "model\t") + ", " + std::to_string(ProcessorCount()) +
                    " processors, " + WidestInstructions() + "; caches " + Cache(_SC_LEVEL1_DCACHE_SIZE) + ", " +
                    Cache(_SC_LEVEL2_CACHE_SIZE) + ", " + Cache(_SC_LEVEL3_CACHE_SIZE);
    utsname name{};
    uname(&name);
    found.system = Line("/etc/os-release", "PRETTY_NAME") + ", " + name.sysname + " " + name.release;
    found.compiler = ZTA_COMPILER;
    char date[32];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&now));
    found.date = date;
    found.revision = std::move(revision);
    for (const auto& peer : bench.peers) {
        found.peers.push_back(peer->Version());
    }
    return found;
}

} // namespace bench
