/// A host's plugin, and requests to its buffers that must not fail.
#pragma once

#include "host/ref.h"
#include "tools/ztvalidate/library.h"
#include "tools/ztvalidate/query_checks.h"

#include <zta/host_plugin.h>

namespace zta::validate {

constexpr unsigned long kPoolBytes = 192000;

/// The request of an engine for a buffer of its pool.
SZtCreateAudioSamplesDescription PoolRequest();

struct OpenAccesses {
    unsigned long reads;
    unsigned long writes;

    bool operator==(const OpenAccesses&) const = default;
};

/// The loaded plugin. It stays in the process, as a host does.
class Plugin {
public:
    explicit Plugin(const Context& context);

    /// Creates a buffer from a record that the plugin could alter.
    [[nodiscard]] host::Ref<IZtAudioSamples> CreateFrom(SZtCreateAudioSamplesDescription& request) const;
    [[nodiscard]] host::Ref<IZtAudioSamples> Create(SZtCreateAudioSamplesDescription request = PoolRequest()) const;

    [[nodiscard]] bool CanAnnounce() const;
    /// Throws CheckSkipped unless CanAnnounce.
    void RequireAnnouncements() const;
    void AnnounceRead(IZtAudioSamples& samples) const;
    void AnnounceWrite(IZtAudioSamples& samples) const;
    [[nodiscard]] OpenAccesses GetOpenAccesses(IZtAudioSamples& samples) const;

    /// Requires these counts of open accesses within half a second.
    void RequireOpen(IZtAudioSamples& samples, const OpenAccesses& expected, const std::string& when) const;

private:
    Library library_;
    decltype(&ZtaHostCreateAudioSamples) create_;
    decltype(&ZtaHostAnnounceRead) announceRead_;
    decltype(&ZtaHostAnnounceWrite) announceWrite_;
    decltype(&ZtaHostGetOpenAccesses) getOpenAccesses_;
};

struct Memory {
    unsigned char* address;
    unsigned long length;
};

SZtAudioSamplesDescription Describe(IZtAudioSamples& samples);
Memory GetMemory(IZtAudioSamples& samples);
unsigned long GetCapacity(IZtAudioSamples& samples);
void SetLength(IZtAudioSamples& samples, unsigned long length);
void SetFormat(IZtAudioSamples& samples, SZtaWaveFormatInfo format);
int GetErrorCode(IZtAudioSamples& samples);

/// The reference count of a buffer. Throws CheckWarning if AddRef and Release do not return it.
unsigned long CountReferences(IUnknown& object);

/// Queries a buffer for an interface that it must have. The caller owns the reference.
host::Ref<IUnknown> QueryBuffer(IUnknown& samples, const _GUID& id);

bool IsSameFormat(const SZtaWaveFormatInfo& first, const SZtaWaveFormatInfo& second);
bool IsSameDescription(const SZtAudioSamplesDescription& first, const SZtAudioSamplesDescription& second);

} // namespace zta::validate
