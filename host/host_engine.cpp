#include "host/host_engine.h"

#include "host/audio_buffer.h"

#include <zta/status.h>

#include <cstring>
#include <new>

namespace zta::host {

Ref<HostEngine> HostEngine::Create()
{
    return Ref<HostEngine>::Adopt(new HostEngine());
}

int HostEngine::QueryInterface(const _GUID& riid, void** ppv)
{
    if (ppv == nullptr) {
        return E_POINTER;
    }
    if (std::memcmp(&riid, &IID_IUnknown, sizeof(_GUID)) == 0 ||
        std::memcmp(&riid, &IID_IZtQuonEnginePrivate, sizeof(_GUID)) == 0) {
        *ppv = static_cast<IZtQuonEnginePrivate*>(this);
        AddRef();
        return ZT_NOERROR;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

unsigned long HostEngine::AddRef()
{
    return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

unsigned long HostEngine::Release()
{
    const unsigned long left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        delete this;
    }
    return left;
}

int HostEngine::CreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples)
{
    if (ppSamples == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    *ppSamples = nullptr;
    if (psDescription == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    if (psDescription->ulSize != sizeof(*psDescription)) {
        return ZT_E_INVALID_PARAMETER;
    }
    try {
        *ppSamples = AudioBuffer::Create(*psDescription).Detach();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return ZT_NOERROR;
}

} // namespace zta::host
