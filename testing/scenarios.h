/// The table of operations and their paths, which the fault, real-time, concurrency and soak tests run.
#pragma once

#include "host/audio_buffer.h"
#include "host/ref.h"
#include "testing/operations.h"

#include <zta/engine_interfaces.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace zta::test {

/// Creates an empty buffer. The name is for the call log.
using BufferFactory = std::function<host::Ref<host::AudioBuffer>(const std::string& name,
                                                                 const SZtaWaveFormatInfo& format, std::size_t bytes)>;

/// The factory of the reference host's buffers.
host::Ref<host::AudioBuffer> MakeAudioBuffer(const std::string& name, const SZtaWaveFormatInfo& format,
                                             std::size_t bytes);

/// One call of one operation with its buffers.
struct Scenario {
    std::vector<host::Ref<host::AudioBuffer>> inputs;
    std::vector<host::Ref<host::AudioBuffer>> outputs;
    host::Ref<IUnknown> stream;
    OperationCall call;
};

/// Announces every access, as a host does.
void Announce(const Scenario& scenario);

/// Announces every access and makes the call.
int RunAnnounced(const Scenario& scenario, IZtaAudioSamplesEngine& engine);

/// Returns true if each announced access was signaled once, and no other.
bool IsSignaled(const Scenario& scenario);

/// Returns the memory of the outputs.
std::vector<std::vector<std::byte>> OutputBytes(const Scenario& scenario);

/// One buffer of a scenario.
struct BufferSetup {
    SZtaWaveFormatInfo format;
    std::size_t frames;
    bool fadeIn = false;
    bool fadeOut = false;
};

/// The arguments of a scenario besides its buffers, and its expected outcome.
struct ScenarioOptions {
    int status = 0;              ///< result of the operation if no host call fails
    std::size_t volumeCount = 0; ///< gain ramps, a different one for each channel
    unsigned long sourceOffset = 0;
    unsigned long destinationOffset = 0;
    unsigned long length = 0;
    bool hasPackedBank = true;   ///< of the resampler; variants without a packed path have none
    bool leaksReference = false; ///< a byte copy that does not fit keeps a reference on its target
};

/// One path through an operation.
struct ScenarioCase : ScenarioOptions {
    ScenarioCase(OperationKind kind, const std::string& path, std::vector<BufferSetup> inputs,
                 std::vector<BufferSetup> outputs, const ScenarioOptions& options = {});

    /// Creates new buffers with the same content each time.
    Scenario Make(const BufferFactory& factory = MakeAudioBuffer) const;

    OperationKind kind;
    std::string operation; ///< its name
    std::string name;      ///< the operation's name and the path
    std::vector<BufferSetup> inputs;
    std::vector<BufferSetup> outputs;
    bool returnsSignalsStatus; ///< the result is that of the last signal, not of the worker
    std::string throwsOn;      ///< the host call whose failure the operation reports by CZtSmartPointerException, or ""
};

/// For GoogleTest.
inline void PrintTo(OperationKind kind, std::ostream* out)
{
    *out << OperationName(kind);
}

/// For GoogleTest.
inline void PrintTo(const ScenarioCase& test, std::ostream* out)
{
    *out << test.name;
}

/// Every path of every operation.
const std::vector<ScenarioCase>& Scenarios();

} // namespace zta::test
