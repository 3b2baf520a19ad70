/// The engine object of the reference host.
#pragma once

#include "ref.h"

#include <zta/host_interfaces.h>

#include <atomic>

namespace zta::host {

/// The engine object of the host: creates the scratch buffers of an engine as AudioBuffer objects.
///
/// It is needed only during the creation of an engine, which acquires no reference. [any thread]
class HostEngine : public IZtQuonEnginePrivate {
public:
    /// Creates an object; the caller owns the reference. Throws std::bad_alloc.
    [[nodiscard]] static Ref<HostEngine> Create();

    HostEngine(const HostEngine&) = delete;
    HostEngine& operator=(const HostEngine&) = delete;

    /// Supports IID_IUnknown and IID_IZtQuonEnginePrivate.
    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;

    /// On failure `*ppSamples` is null.
    /// Errors  ZT_E_INVALID_POINTER    a pointer is null
    ///         ZT_E_INVALID_PARAMETER  the record has another size
    ///         E_OUTOFMEMORY           an allocation failed
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples) override;

protected:
    /// The object has one reference, owned by its creator.
    HostEngine() = default;

    /// Declared after the operations of the interface, so that their slots do not move.
    virtual ~HostEngine() = default;

private:
    std::atomic<unsigned long> references_{1};
};

} // namespace zta::host
