/// The table of operations and paths that the fault, real-time and concurrency tests drive.
#pragma once

#include "host/audio_buffer.h"
#include "host/ref.h"

#include <zta/engine_interfaces.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace zta::test {

/// Creates an empty buffer. The name is for the call log.
using BufferFactory = std::function<host::Ref<host::AudioBuffer>(const std::string& name,
                                                                 const SZtaWaveFormatInfo& format, std::size_t bytes)>;

/// One call of one operation with its buffers.
struct Scenario {
    std::vector<host::Ref<host::AudioBuffer>> inputs;
    std::vector<host::Ref<host::AudioBuffer>> outputs;
    std::function<int(IZtaAudioSamplesEngine&)> run;
};

/// One path through an operation; its name begins with the operation's name. `make` creates new buffers with the same
/// content each time.
struct ScenarioCase {
    std::string operation;
    std::string name;
    int status;                ///< result of the operation if no host call fails
    bool returnsSignalsStatus; ///< the result is that of the last signal, not of the work
    bool leaksReference;       ///< a byte copy that does not fit keeps a reference on its target
    std::string throwsOn;      ///< the host call whose failure the operation reports by CZtSmartPointerException, or ""
    std::function<Scenario(const BufferFactory&)> make;
};

/// For GoogleTest.
inline void PrintTo(const ScenarioCase& row, std::ostream* out)
{
    *out << row.name;
}

/// Announces every access, as a host does, and runs the scenario.
int RunAnnounced(const Scenario& scenario, IZtaAudioSamplesEngine& engine);

/// Every path of every operation.
const std::vector<ScenarioCase>& Scenarios();

} // namespace zta::test
