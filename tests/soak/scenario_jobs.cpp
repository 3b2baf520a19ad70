#include "host/audio_buffer.h"
#include "testing/scenarios.h"
#include "tests/soak/job.h"

#include <cstddef>

namespace zta::test {
namespace {

host::Ref<host::AudioBuffer> MakeBuffer(const std::string& /*name*/, const SZtaWaveFormatInfo& format,
                                        std::size_t bytes)
{
    return host::AudioBuffer::Create(format, bytes);
}

std::vector<std::vector<std::byte>> Contents(const Scenario& scenario)
{
    std::vector<std::vector<std::byte>> contents;
    for (const auto& output : scenario.outputs) {
        contents.emplace_back(output->Data(), output->Data() + output->Capacity());
    }
    return contents;
}

/// All scenarios in turn, so that the other jobs have their share of the calls.
class ScenarioJob : public Job {
public:
    std::string Run(IZtaAudioSamplesEngine& engine, Random& random, Latencies& latencies) override
    {
        const std::size_t index = Between(random, 0, Scenarios().size() - 1);
        const ScenarioCase& row = Scenarios()[index];
        if (row.leaksReference) {
            return ""; // it leaks its buffers by design
        }
        const Scenario scenario = row.make(MakeBuffer);
        const int status = latencies.Time([&] { return RunAnnounced(scenario, engine); });
        if (status != row.status) {
            return row.name + ": status " + std::to_string(status);
        }
        for (const auto& input : scenario.inputs) {
            if (input->ReadCount() != 0 || input->PairingViolations() != 0) {
                return row.name + ": an input's reads do not add up";
            }
        }
        for (const auto& output : scenario.outputs) {
            if (output->WriteCount() != 0 || output->PairingViolations() != 0) {
                return row.name + ": an output's writes do not add up";
            }
        }
        // The first result of a scenario is the expected one.
        expected_.resize(Scenarios().size());
        if (expected_[index].empty()) {
            expected_[index] = Contents(scenario);
        }
        return Contents(scenario) == expected_[index] ? "" : row.name + ": another result than the first time";
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
