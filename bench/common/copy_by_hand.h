#pragma once

#include <zta/host_interfaces.h>

namespace bench {

/// What the contract demands of a copy of equal formats, and nothing else: the host calls, the latch, the copy.
void CopyByHand(IZtAudioSamples& source, IZtAudioSamples& destination);

} // namespace bench
