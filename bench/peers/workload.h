/// Workloads: the task, its contenders and its performance targets.
#pragma once

#include "bench/common/host.h"
#include "bench/common/instruction_set.h"
#include "bench/common/measure.h"
#include "bench/peers/peer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

enum class Role {
    Library,  ///< the engine at its interface; the first contender of each workload
    Bound,    ///< a copy of the bytes that the workload reads and writes
    Peer,     ///< another library with the same result or a better one
    Baseline, ///< another measure that the library is compared with
    Calls,    ///< the host calls of the workload, and nothing else
    Other     ///< shown but not counted: a library of lower quality
};

/// Checks the outputs after one call. Returns what is wrong, if anything.
using Check = std::function<std::optional<std::string>()>;

struct Contender {
    std::string name;
    Role role;
    Timer timer;
    Job once; ///< one call, for the check
    Check check;
    std::string instructionSet; ///< of the library, as it is selected during the contender's slices
};

/// The required speed of the library, as a multiple of the fastest contender of a role.
struct Target {
    Role against;
    double share;
};

struct Workload {
    std::string family; ///< a page of the report
    std::string name;
    std::vector<Contender> contenders;
    std::vector<Target> targets;
    Job prepare;                ///< before each check: inputs filled, outputs poisoned
    double sliceSeconds = 2e-4; ///< minimum length of one slice
    bool fixedVariant = false;  ///< the contender calls one variant by its name
};

/// Makes a workload when it is measured, so that only its own memory is in use.
struct WorkloadFactory {
    std::string family;
    std::string name;
    std::function<Workload()> make;
};

/// What all workloads are made from.
struct Bench {
    zta::host::Module& module;
    Engine& spread;   ///< its pool buffers have different page offsets
    Engine& samePage; ///< its pool buffers are page-aligned
    const std::vector<std::unique_ptr<Peer>>& peers;
};

// The table of workloads, by family.
void AddConversions(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddLoops(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddMuxes(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddGains(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddMultiFormatsAndFades(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddResampling(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddCallCost(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddContents(std::vector<WorkloadFactory>& factories, const Bench& bench);
void AddEngines(std::vector<WorkloadFactory>& factories, const Bench& bench);

/// Returns a contender whose call is a job.
Contender MakeContender(std::string name, Role role, Job job, Check check);

/// Adds the copies of these passes: with memcpy, and with the widest registers.
struct Pass {
    std::byte* to;
    const std::byte* from;
    std::size_t bytes;
};
void AddBounds(Workload& workload, const std::vector<Pass>& passes);

/// Returns the passes of a workload that reads `in` and writes `out` once: the bytes of both, half of them read and
/// half written, from the memory of one to the memory of the other. Each plane of the one with more planes is a pass.
std::vector<Pass> OnePass(const BufferLayout& in, const BufferLayout& out);

/// Returns the capacity that a plane needs for OnePass.
std::size_t PassCapacity(std::size_t inPlaneBytes, std::size_t outPlaneBytes);

/// Compares each sample of `out` with the value of `in`; the channel order is the same. `tolerance` is relative to full
/// scale 1.
Check WithinTolerance(const BufferLayout& in, const BufferLayout& out, double tolerance, double gain = 1.0);

/// Compares the outputs with the model's bytes: one plane after the other.
Check EqualTo(const BufferLayout& out, std::function<std::vector<std::byte>()> model);

} // namespace bench
