#include "tools/ztvalidate/host_plugin.h"

#include "host/formats.h"

#include <zta/status.h>

#include <chrono>
#include <cstring>
#include <thread>

namespace zta::validate {

using host::Ref;

SZtCreateAudioSamplesDescription PoolRequest()
{
    SZtCreateAudioSamplesDescription request{};
    request.ulSize = sizeof(request);
    request.ui64BufferSize = kPoolBytes;
    request.ulHostAttribute = 1;
    request.sWaveFormat = host::MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 32);
    return request;
}

Plugin::Plugin(const Context& context)
    : library_(context.subject, RTLD_NODELETE),
      create_(library_.Find<decltype(&ZtaHostCreateAudioSamples)>("ZtaHostCreateAudioSamples")),
      announceRead_(library_.Find<decltype(&ZtaHostAnnounceRead)>("ZtaHostAnnounceRead")),
      announceWrite_(library_.Find<decltype(&ZtaHostAnnounceWrite)>("ZtaHostAnnounceWrite")),
      getOpenAccesses_(library_.Find<decltype(&ZtaHostGetOpenAccesses)>("ZtaHostGetOpenAccesses"))
{
    Require(create_ != nullptr, "it does not export ZtaHostCreateAudioSamples");
}

Ref<IZtAudioSamples> Plugin::CreateFrom(SZtCreateAudioSamplesDescription& request) const
{
    IZtAudioSamples* samples = nullptr;
    Require(create_(&request, &samples) >= 0, "ZtaHostCreateAudioSamples fails");
    RequireObject(samples, "ZtaHostCreateAudioSamples");
    return Ref<IZtAudioSamples>::Adopt(samples);
}

Ref<IZtAudioSamples> Plugin::Create(SZtCreateAudioSamplesDescription request) const
{
    return CreateFrom(request);
}

bool Plugin::CanAnnounce() const
{
    return announceRead_ != nullptr && announceWrite_ != nullptr && getOpenAccesses_ != nullptr;
}

void Plugin::RequireAnnouncements() const
{
    if (!CanAnnounce()) {
        throw CheckSkipped("it does not export the functions that announce an access");
    }
}

void Plugin::AnnounceRead(IZtAudioSamples& samples) const
{
    Require(announceRead_(&samples) >= 0, "ZtaHostAnnounceRead fails");
}

void Plugin::AnnounceWrite(IZtAudioSamples& samples) const
{
    Require(announceWrite_(&samples) >= 0, "ZtaHostAnnounceWrite fails");
}

OpenAccesses Plugin::GetOpenAccesses(IZtAudioSamples& samples) const
{
    OpenAccesses open = {~0UL, ~0UL};
    Require(getOpenAccesses_(&samples, &open.reads, &open.writes) >= 0, "ZtaHostGetOpenAccesses fails");
    return open;
}

void Plugin::RequireOpen(IZtAudioSamples& samples, const OpenAccesses& expected, const std::string& when) const
{
    OpenAccesses open = GetOpenAccesses(samples);
    for (int attempt = 0; attempt < 50 && open != expected; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        open = GetOpenAccesses(samples);
    }
    Require(open == expected, when + " " + std::to_string(open.reads) + " reads and " + std::to_string(open.writes) +
                                  " writes are open, not " + std::to_string(expected.reads) + " and " +
                                  std::to_string(expected.writes));
}

SZtAudioSamplesDescription Describe(IZtAudioSamples& samples)
{
    SZtAudioSamplesDescription description;
    std::memset(static_cast<void*>(&description), 0xA5, sizeof(description));
    description.ulSize = sizeof(description);
    Require(samples.GetAudioSamplesDescription(&description) >= 0, "GetAudioSamplesDescription fails");
    return description;
}

Memory GetMemory(IZtAudioSamples& samples)
{
    void* address = nullptr;
    unsigned long length = ~0UL;
    Require(samples.GetBufferAndLength(&address, &length) >= 0, "GetBufferAndLength fails");
    RequireObject(address, "GetBufferAndLength");
    return {static_cast<unsigned char*>(address), length};
}

unsigned long GetCapacity(IZtAudioSamples& samples)
{
    unsigned long capacity = ~0UL;
    Require(samples.GetBufferCapacity(&capacity) >= 0, "GetBufferCapacity fails");
    return capacity;
}

void SetLength(IZtAudioSamples& samples, unsigned long length)
{
    Require(samples.SetLength(length) >= 0, "SetLength fails for " + std::to_string(length) + " bytes");
}

void SetFormat(IZtAudioSamples& samples, SZtaWaveFormatInfo format)
{
    Require(samples.SetWaveFormat(&format) >= 0, "SetWaveFormat fails for " + host::FormatName(format));
}

int GetErrorCode(IZtAudioSamples& samples)
{
    int code = ZT_E_FAIL;
    Require(samples.GetErrorCode(&code) >= 0, "GetErrorCode fails");
    return code;
}

unsigned long CountReferences(IUnknown& object)
{
    const unsigned long more = object.AddRef();
    const unsigned long count = object.Release();
    if (more != count + 1) {
        throw CheckWarning("AddRef and Release do not return the count of references: it cannot be checked");
    }
    return count;
}

Ref<IUnknown> QueryBuffer(IUnknown& samples, const _GUID& id)
{
    void* object = nullptr;
    Require(samples.QueryInterface(id, &object) >= 0 && object != nullptr, "the buffer lacks one of its interfaces");
    return Ref<IUnknown>::Adopt(static_cast<IUnknown*>(object));
}

bool IsSameFormat(const SZtaWaveFormatInfo& first, const SZtaWaveFormatInfo& second)
{
    return std::memcmp(&first, &second, sizeof(first)) == 0;
}

bool IsSameDescription(const SZtAudioSamplesDescription& first, const SZtAudioSamplesDescription& second)
{
    return first.ulSize == second.ulSize && first.ePolarity == second.ePolarity &&
           first.ulHostAttribute == second.ulHostAttribute && first.bFadeIn == second.bFadeIn &&
           first.bFadeOut == second.bFadeOut && IsSameFormat(first.sWaveFormat, second.sWaveFormat);
}

} // namespace zta::validate
