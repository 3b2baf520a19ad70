/// Jobs of the soak test: calls of the engine whose results are known independently.
#pragma once

#include "tests/soak/latencies.h"

#include <zta/engine_interfaces.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace zta::test {

using Random = std::mt19937;

/// Returns a random number from `min` to `max`, inclusive.
inline std::size_t Between(Random& random, std::size_t min, std::size_t max)
{
    return std::uniform_int_distribution<std::size_t>(min, max)(random);
}

/// One kind of call, with its own buffers. Belongs to one thread.
class Job {
public:
    virtual ~Job() = default;

    /// Prepares a call from random data, makes it, and compares. The call alone is timed. Returns what is wrong, or "".
    virtual std::string Run(IZtaAudioSamplesEngine& engine, Random& random, Latencies& latencies) = 0;
};

using Jobs = std::vector<std::unique_ptr<Job>>;

/// Mux operations of 64 channels, and copies, duplicates and volumes of such buffers: compared with reference models.
void AddMuxJobs(Jobs& jobs);

/// Every path of every operation, compared with the result of a new engine before the run.
void AddScenarioJobs(Jobs& jobs);

/// An endless stereo stream, compared with the same stream in buffers of other lengths on another engine.
void AddStreamJob(Jobs& jobs, IZtQuonEnginePrivate& host);

} // namespace zta::test
