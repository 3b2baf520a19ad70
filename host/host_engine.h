/// The host's engine object.
#pragma once

#include "ref.h"

#include <zta/host_interfaces.h>

#include <atomic>

namespace zta::host {

/// The host's engine object: it creates the AudioBuffers of an engine's pool.
///
/// Needed only while an engine is being created; the engine keeps no reference. [any thread]
class HostEngine : public IZtQuonEnginePrivate {
public:
    /// The caller owns the reference. Throws std::bad_alloc.
    [[nodiscard]] static Ref<HostEngine> Create();

    HostEngine(const HostEngine&) = delete;
    HostEngine& operator=(const HostEngine&) = delete;

    /// Answers IID_IUnknown and IID_IZtQuonEnginePrivate.
    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;

    /// Errors  ZT_E_INVALID_POINTER: a null pointer; ZT_E_INVALID_PARAMETER: the record's size is not set;
    ///         E_OUTOFMEMORY. `*ppSamples` is null then, if it can be written.
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples) override;

protected:
    /// The object starts with one reference, its creator's.
    HostEngine() = default;

    /// Declared behind the interface's operations and nowhere above: it must not move their slots.
    virtual ~HostEngine() = default;

private:
    std::atomic<unsigned long> references_{1};
};

} // namespace zta::host
