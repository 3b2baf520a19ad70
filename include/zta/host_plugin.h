/// What a shared object exports so that `ztvalidate --host` can check a host's buffers.
///
/// The first function is all that is needed. Announcing an access is a host's own affair, so the other three let the
/// validator do it; without all three of them the signals are not checked.
#pragma once

#include <zta/export.h>
#include <zta/host_interfaces.h>

extern "C" {

/// Makes a buffer of the host's, as its engine object's CreateAudioSamples does: of this format and at least this
/// capacity, without altering the record.
/// ppSamples  receives the buffer with a reference that the caller owns
ZTA_API int ZtaHostCreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples);

/// Announces one read of a buffer, as the host does before it calls the engine.
ZTA_API int ZtaHostAnnounceRead(IZtAudioSamples* pSamples);

/// Announces one write.
ZTA_API int ZtaHostAnnounceWrite(IZtAudioSamples* pSamples);

/// Tells how many announced accesses have not been signalled yet.
ZTA_API int ZtaHostGetOpenAccesses(IZtAudioSamples* pSamples, unsigned long* pulReads, unsigned long* pulWrites);

} // extern "C"
