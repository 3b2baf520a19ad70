/// A recording buffer of an unusual host.
#pragma once

#include "testing/buffer_policies.h"
#include "testing/recording_host.h"

namespace zta::test {

/// Behaves like RecordingBuffer until a field of Misbehavior says otherwise.
using MisbehavingBuffer = host::InstrumentedBuffer<Misbehavior, RecordingBuffer>;

} // namespace zta::test
