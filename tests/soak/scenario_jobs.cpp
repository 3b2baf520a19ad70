#include "testing/scenarios.h"
#include "tests/soak/job.h"

#include <cstddef>

namespace zta::test {
namespace {

/// A random scenario with each call: one job for all, so that the other jobs have their share of the calls.
class ScenarioJob : public Job {
public:
    std::string Run(IZtaAudioSamplesEngine& engine, Random& random, Latencies& latencies) override
    {
        const std::size_t index = Between(random, 0, Scenarios().size() - 1);
        const ScenarioCase& test = Scenarios()[index];
        if (test.leaksReference) {
            return ""; // it leaks its buffers by design
        }
        const Scenario scenario = test.Make();
        const int status = latencies.Time([&] { return RunAnnounced(scenario, engine); });
        if (status != test.status) {
            return test.name + ": status " + std::to_string(status);
        }
        if (!IsSignaled(scenario)) {
            return test.name + ": an access was not signaled once";
        }
        // The first result of a scenario is the expected one.
        expected_.resize(Scenarios().size());
        if (expected_[index].empty()) {
            expected_[index] = OutputBytes(scenario);
        }
        return OutputBytes(scenario) == expected_[index] ? "" : test.name + ": another result than the first time";
    }

private:
    std::vector<std::vector<std::vector<std::byte>>> expected_;
};

} // namespace

void AddScenarioJobs(Jobs& jobs)
{
    jobs.push_back(std::make_unique<ScenarioJob>());
}

} // namespace zta::test
