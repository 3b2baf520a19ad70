#pragma once

#include <zta/host_interfaces.h>

/// The host calls that the contract requires of a successful operation, as many of each kind on each buffer as the
/// engine makes, and the busy flag, without any check. Only CopyDirectly also copies the samples.
namespace bench {

/// A copy of equal formats, with the samples.
void CopyDirectly(IZtAudioSamples& source, IZtAudioSamples& destination);

/// The calls of a copy that converts.
void MakeConversionCalls(IZtAudioSamples& source, IZtAudioSamples& destination);

/// The calls of an interleave operation without gains and fades. It uses one scratch buffer for each input.
void MakeInterleaveCalls(IZtAudioSamples** inputs, IZtAudioSamples** scratchBuffers, unsigned long count,
                         IZtAudioSamples& mux);

/// The calls of a deinterleave operation without gains and fades.
void MakeDeinterleaveCalls(IZtAudioSamples& mux, IZtAudioSamples** outputs, unsigned long count);

} // namespace bench
