/// The recording host of the tests, with an engine of the module that the test program links.
#pragma once

#include "host/recording_host.h"

namespace zta::test {

using host::CallLog;
using host::kInjectedFailure;
using host::RecordingBuffer;
using host::RecordingHost;

/// Creates an engine through the module's exports, on any host.
host::Ref<IZtaAudioSamplesEngine> CreateEngine(IZtQuonEnginePrivate& host, int* status = nullptr);

} // namespace zta::test
