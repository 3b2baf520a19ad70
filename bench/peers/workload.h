/// The works that are compared: what is done, by whom, and how fast it shall be.
#pragma once

#include "bench/common/host.h"
#include "bench/common/measure.h"
#include "bench/peers/peer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

enum class Role {
    Library,  ///< the engine at its interface; the first contender of each work
    Bound,    ///< a copy of the bytes that the work reads and writes
    Peer,     ///< another library, to the same law or a better one
    Baseline, ///< what else the library is held against
    Calls,    ///< the host calls of the work, and nothing else
    Other     ///< shown, and not counted: another library that is worth less
};

/// Looks at the outputs after one call. Nothing if they are right, else what is wrong.
using Check = std::function<std::optional<std::string>()>;

struct Contender {
    std::string name;
    Role role;
    Timer timer;
    Job once; ///< one call, for the check
    Check check;
    std::string remark; ///< shown beside the name
};

/// The library's speed as a multiple of the fastest contender's of a role.
struct Target {
    Role against;
    double share;
};

struct Workload {
    std::string family; ///< a section of the report
    std::string name;
    std::vector<Contender> contenders;
    std::vector<Target> targets;
    Job prepare;                ///< before each check: inputs filled, outputs poisoned
    double sliceSeconds = 2e-4; ///< of one turn at least
    std::string amount;         ///< what one call does, for people
};

/// Makes a work when its turn comes, so that only its own memory is in use.
struct WorkloadFactory {
    std::string family;
    std::string name;
    std::function<Workload()> make;
};

/// What all works are made from.
struct Bench {
    zta::host::Module& module;
    Engine& spread;   ///< its pool lies spread
    Engine& samePage; ///< its pool's buffers all begin at a page
    const std::vector<std::unique_ptr<Peer>>& peers;
};

// The table of works, by family.
void AddConversions(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddMuxes(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddGains(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddMultiFormatsAndFades(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddResampling(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddCallCost(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddContents(std::vector<WorkloadFactory>& rows, const Bench& bench);
void AddEngines(std::vector<WorkloadFactory>& rows, const Bench& bench);

/// A contender whose call is a plain job.
Contender MakeContender(std::string name, Role role, Job job, Check check);

/// Adds the copies of these passes: as memcpy makes them, and in the widest registers.
struct Pass {
    std::byte* to;
    const std::byte* from;
    std::size_t bytes;
};
void AddBounds(Workload& work, const std::vector<Pass>& passes);

/// The passes of a work that reads `in` and writes `out` once: as many bytes as both sides have, half of them read,
/// half written, from the memory of one to the memory of the other. Each plane of the side with more planes is a pass.
std::vector<Pass> OnePass(const BufferLayout& in, const BufferLayout& out);

/// The room that a plane needs so that OnePass stays in it.
std::size_t PassCapacity(std::size_t inPlaneBytes, std::size_t outPlaneBytes);

/// True values of `out`, sample by sample, as long as `in` lies in the same channel order; the difference allowed is
/// `tolerance` at full scale 1.
Check WithinTolerance(const BufferLayout& in, const BufferLayout& out, double tolerance, double gain = 1.0);

/// The outputs are, byte for byte, what the model writes into its argument: one plane after the other.
Check EqualTo(const BufferLayout& out, std::function<std::vector<std::byte>()> model);

} // namespace bench
