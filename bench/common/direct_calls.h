#pragma once

#include <zta/host_interfaces.h>

/// What the contract demands of an operation that goes well, made by hand: the host calls, as many of each kind on each
/// buffer as the engine makes, and the latch, without any check. Where it says so, the samples are moved as well.
namespace bench {

/// A copy of equal formats, with the samples.
void CopyDirectly(IZtAudioSamples& source, IZtAudioSamples& destination);

/// The calls of a copy that converts.
void MakeConversionCalls(IZtAudioSamples& source, IZtAudioSamples& destination);

/// The calls of an assembly without volumes and fades. Stages are buffers of the pool, one for each input.
void MakeInterleaveCalls(IZtAudioSamples** inputs, IZtAudioSamples** stages, unsigned long count, IZtAudioSamples& mux);

/// The calls of a split without volumes and fades.
void MakeDeinterleaveCalls(IZtAudioSamples& mux, IZtAudioSamples** outputs, unsigned long count);

} // namespace bench
