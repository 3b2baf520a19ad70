/// The functions that a shared library exports so that `ztvalidate --host` can check the buffers of a host.
///
/// Only the first function is required. The interfaces leave it to the host how an access is announced, so the other
/// three do it for the validator; unless all three are exported, completion signals are not checked. All return a
/// status code. The validator calls them from one thread at a time.
#pragma once

#include <zta/export.h>
#include <zta/host_interfaces.h>

extern "C" {

/// Creates a buffer as the host's IZtQuonEnginePrivate::CreateAudioSamples does: with this format and at least this
/// capacity in bytes. Does not modify the record.
/// ppSamples  receives the buffer with a reference that the caller owns
ZTA_API int ZtaHostCreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples);

/// Announces one read of a buffer, as the host does before it calls the engine.
ZTA_API int ZtaHostAnnounceRead(IZtAudioSamples* pSamples);

/// Announces one write to a buffer.
ZTA_API int ZtaHostAnnounceWrite(IZtAudioSamples* pSamples);

/// Stores how many announced reads and writes have no completion signal yet.
ZTA_API int ZtaHostGetOpenAccesses(IZtAudioSamples* pSamples, unsigned long* pulReads, unsigned long* pulWrites);

} // extern "C"
