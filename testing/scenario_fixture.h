/// Fixture for tests of the paths of testing/scenarios.h, on a recording host and with recording buffers.
#pragma once

#include "testing/engine_fixture.h"
#include "testing/scenarios.h"

#include <string>
#include <vector>

namespace zta::test {

class ScenarioTest : public EngineTest {
protected:
    /// New buffers. `configure` receives each before it is filled.
    template <class Buffer = RecordingBuffer, class Configure>
    Scenario MakeScenario(const ScenarioCase& test, Configure configure)
    {
        Scenario scenario =
            test.Make([&](const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes) {
                auto buffer = Buffer::Create(callLog_, name, format, bytes);
                configure(*buffer);
                return buffer;
            });
        callLog_.Clear();
        return scenario;
    }

    template <class Buffer = RecordingBuffer>
    Scenario MakeScenario(const ScenarioCase& test)
    {
        return MakeScenario<Buffer>(test, [](const Buffer&) {});
    }

    static RecordingBuffer& Recording(const host::Ref<host::AudioBuffer>& buffer)
    {
        return static_cast<RecordingBuffer&>(*buffer);
    }

    /// The inputs, then the outputs.
    static std::vector<RecordingBuffer*> BuffersOf(const Scenario& scenario)
    {
        std::vector<RecordingBuffer*> all;
        for (const auto* buffers : {&scenario.inputs, &scenario.outputs}) {
            for (const auto& buffer : *buffers) {
                all.push_back(&Recording(buffer));
            }
        }
        return all;
    }

    void ExpectScenarioAtRest(const Scenario& scenario) { ExpectAtRest(BuffersOf(scenario)); }

    /// Every access was signaled once, and the engine is at rest.
    void ExpectSettled(const Scenario& scenario)
    {
        EXPECT_TRUE(IsSignaled(scenario));
        ExpectScenarioAtRest(scenario);
    }
};

/// The first successful path of each operation.
inline std::vector<ScenarioCase> FirstPaths()
{
    std::vector<ScenarioCase> paths;
    for (const OperationKind kind : kOperationKinds) {
        for (const ScenarioCase& path : Scenarios()) {
            if (path.kind == kind && path.status == 0) {
                paths.push_back(path);
                break;
            }
        }
    }
    return paths;
}

/// For parameterized tests: the operation as the name of the test case.
struct OperationOfPath {
    template <class Info>
    std::string operator()(const Info& info) const
    {
        return info.param.operation;
    }
};

} // namespace zta::test
