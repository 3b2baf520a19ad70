/// The recording host of the tests, with an engine of the module that the test program links.
#pragma once

#include "host/recording_host.h"

namespace zta::test {

using host::CallLog;
using host::kInjectedFailure;
using host::RecordingBuffer;
using host::RecordingHost;

/// The class factory of the module. Throws std::runtime_error if there is none.
host::Ref<IClassFactory> ModuleClassFactory();

/// A new engine factory of the module. Throws std::runtime_error if it cannot be created.
host::Ref<IZtaAudioSamplesEngineFactory> CreateEngineFactory();

/// Creates an engine through the module's exports, on any host.
host::Ref<IZtaAudioSamplesEngine> CreateEngine(IZtQuonEnginePrivate& host, int* status = nullptr);

} // namespace zta::test
