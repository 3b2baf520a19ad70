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

/// Makes an empty buffer; the name is for a journal.
using BufferFactory = std::function<host::Ref<host::AudioBuffer>(const std::string& name,
                                                                 const SZtaWaveFormatInfo& format, std::size_t bytes)>;

/// One call of one operation with its buffers.
struct Scenario {
    std::vector<host::Ref<host::AudioBuffer>> inputs;
    std::vector<host::Ref<host::AudioBuffer>> outputs;
    std::function<int(IZtaAudioSamplesEngine&)> run;
};

/// One path through an operation; the name begins with the operation's. `make` builds its buffers afresh, filled the
/// same each time.
struct ScenarioCase {
    std::string operation;
    std::string name;
    int status;                ///< what the operation returns while the host does its part
    bool returnsSignalsStatus; ///< the operation returns what its last signal returned, whatever became of the work
    bool leaksReference;  ///< a byte copy does not fit: it keeps one reference on its target, beyond the engine's end
    std::string throwsOn; ///< the host call whose failure the operation reports by CZtSmartPointerException, or ""
    std::function<Scenario(const BufferFactory&)> make;
};

/// How GoogleTest shows a row.
inline void PrintTo(const ScenarioCase& row, std::ostream* out)
{
    *out << row.name;
}

/// Announces every access, as a host does, and runs.
int RunAnnounced(const Scenario& scenario, IZtaAudioSamplesEngine& engine);

/// Every path of every operation.
const std::vector<ScenarioCase>& Scenarios();

} // namespace zta::test
