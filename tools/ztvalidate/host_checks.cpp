// What the engine relies on in a host's buffers.

#include "host/formats.h"
#include "host/ref.h"
#include "tools/ztvalidate/check.h"

#include <zta/host_plugin.h>
#include <zta/status.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include <dlfcn.h>

namespace zta::validate {

namespace {

using host::Ref;

constexpr _GUID kUnknownId = {0x5A544156, 0x0000, 0x0000, {1, 2, 3, 4, 5, 6, 7, 8}};

/// What every request of an engine asks for.
SZtCreateAudioSamplesDescription PoolRequest()
{
    SZtCreateAudioSamplesDescription request{};
    request.ulSize = sizeof(request);
    request.ui64BufferSize = 192000;
    request.ulHostAttribute = 1;
    request.sWaveFormat = host::MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 32);
    return request;
}

/// The loaded plugin. It stays in the process, as a host does.
class Plugin {
public:
    explicit Plugin(const Context& context) : handle_(dlopen(context.subject.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (handle_ == nullptr) {
            throw CheckFailure(dlerror());
        }
        create_ = Find<decltype(&ZtaHostCreateAudioSamples)>("ZtaHostCreateAudioSamples");
        announceRead_ = Find<decltype(&ZtaHostAnnounceRead)>("ZtaHostAnnounceRead");
        announceWrite_ = Find<decltype(&ZtaHostAnnounceWrite)>("ZtaHostAnnounceWrite");
        open_ = Find<decltype(&ZtaHostGetOpenAccesses)>("ZtaHostGetOpenAccesses");
        Require(create_ != nullptr, "it does not export ZtaHostCreateAudioSamples");
    }

    [[nodiscard]] Ref<IZtAudioSamples> Create(SZtCreateAudioSamplesDescription request = PoolRequest()) const
    {
        IZtAudioSamples* samples = nullptr;
        Require(create_(&request, &samples) >= 0, "ZtaHostCreateAudioSamples fails");
        Require(samples != nullptr, "ZtaHostCreateAudioSamples succeeds and gives nothing");
        return Ref<IZtAudioSamples>::Adopt(samples);
    }

    void RequireAnnouncements() const
    {
        if (announceRead_ == nullptr || announceWrite_ == nullptr || open_ == nullptr) {
            throw CheckSkipped("it does not export the functions that announce an access");
        }
    }
    void AnnounceRead(IZtAudioSamples& samples) const
    {
        Require(announceRead_(&samples) >= 0, "ZtaHostAnnounceRead fails");
    }
    void AnnounceWrite(IZtAudioSamples& samples) const
    {
        Require(announceWrite_(&samples) >= 0, "ZtaHostAnnounceWrite fails");
    }
    void RequireOpen(IZtAudioSamples& samples, unsigned long reads, unsigned long writes, const std::string& when) const
    {
        unsigned long openReads = ~0UL;
        unsigned long openWrites = ~0UL;
        Require(open_(&samples, &openReads, &openWrites) >= 0, "ZtaHostGetOpenAccesses fails");
        Require(openReads == reads && openWrites == writes,
                when + " " + std::to_string(openReads) + " reads and " + std::to_string(openWrites) +
                    " writes are open, not " + std::to_string(reads) + " and " + std::to_string(writes));
    }

private:
    template <class F>
    F Find(const char* name) const
    {
        return reinterpret_cast<F>(dlsym(handle_, name));
    }

    void* handle_;
    decltype(&ZtaHostCreateAudioSamples) create_;
    decltype(&ZtaHostAnnounceRead) announceRead_;
    decltype(&ZtaHostAnnounceWrite) announceWrite_;
    decltype(&ZtaHostGetOpenAccesses) open_;
};

SZtAudioSamplesDescription Describe(IZtAudioSamples& samples)
{
    SZtAudioSamplesDescription description;
    std::memset(static_cast<void*>(&description), 0xA5, sizeof(description));
    description.ulSize = sizeof(description);
    Require(samples.GetAudioSamplesDescription(&description) >= 0, "GetAudioSamplesDescription fails");
    return description;
}

struct Memory {
    unsigned char* address;
    unsigned long length;
};

Memory MemoryOf(IZtAudioSamples& samples)
{
    void* address = nullptr;
    unsigned long length = ~0UL;
    Require(samples.GetBufferAndLength(&address, &length) >= 0, "GetBufferAndLength fails");
    Require(address != nullptr, "GetBufferAndLength gives no address");
    return {static_cast<unsigned char*>(address), length};
}

unsigned long CapacityOf(IZtAudioSamples& samples)
{
    unsigned long capacity = ~0UL;
    Require(samples.GetBufferCapacity(&capacity) >= 0, "GetBufferCapacity fails");
    return capacity;
}

bool IsSameFormat(const SZtaWaveFormatInfo& first, const SZtaWaveFormatInfo& second)
{
    return std::memcmp(&first, &second, sizeof(first)) == 0;
}

/// The reference count that a buffer tells, for one that tells it.
unsigned long CountOf(IUnknown& object)
{
    const unsigned long more = object.AddRef();
    const unsigned long count = object.Release();
    if (more != count + 1) {
        throw CheckWarning("AddRef and Release do not give the count of references, so that it cannot be checked");
    }
    return count;
}

/// All operations that must not move or change the samples.
void CallEverything(IZtAudioSamples& samples)
{
    SZtaWaveFormatInfo format = host::Pcm16(1, 44100);
    int code = 0;
    unsigned long frames = 0;
    samples.SetWaveFormat(&format);
    samples.SetPolarity(1);
    samples.SetFadeIn(true);
    samples.SetFadeOut(true);
    samples.SetFadeIn(false);
    samples.SetFadeOut(false);
    samples.SetErrorCode(ZT_E_FAIL);
    samples.GetErrorCode(&code);
    samples.SetErrorCode(ZT_NOERROR);
    samples.MarkWriteStartTime();
    samples.MarkWriteStopTime();
    samples.SetLength(0);
    samples.GetLengthInSampleFrames(&frames);
    samples.SetLength(CapacityOf(samples));
    Describe(samples);
}

// ---- The checks ----

void CheckLoads(const Context& context)
{
    const Plugin plugin(context);
    static_cast<void>(plugin.Create());
}

void CheckCreates(const Context& context)
{
    const Plugin plugin(context);
    constexpr std::size_t kPool = 131;
    std::vector<Ref<IZtAudioSamples>> pool;
    pool.reserve(kPool);
    while (pool.size() < kPool) {
        pool.push_back(plugin.Create());
    }
    for (const auto& samples : pool) {
        const Memory memory = MemoryOf(*samples);
        Require(CapacityOf(*samples) >= 192000, "a buffer of the pool has less capacity than was asked for");
        for (const auto& other : pool) {
            const unsigned char* address = MemoryOf(*other).address;
            Require(other.Get() == samples.Get() || address + 192000 <= memory.address ||
                        memory.address + 192000 <= address,
                    "two buffers of the pool share memory");
        }
    }
}

void CheckRecord(const Context& context)
{
    void* handle = dlopen(context.subject.c_str(), RTLD_NOW | RTLD_LOCAL);
    const auto create =
        reinterpret_cast<decltype(&ZtaHostCreateAudioSamples)>(dlsym(handle, "ZtaHostCreateAudioSamples"));
    SZtCreateAudioSamplesDescription request = PoolRequest();
    using Image = std::array<std::byte, sizeof(request)>;
    const auto before = std::bit_cast<Image>(request);
    for (int i = 0; i < 2; ++i) {
        IZtAudioSamples* samples = nullptr;
        Require(create(&request, &samples) >= 0, "ZtaHostCreateAudioSamples fails");
        Ref<IZtAudioSamples>::Adopt(samples).Reset();
        Require(std::bit_cast<Image>(request) == before, "the request has been altered");
    }
}

void CheckContent(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    void* object = nullptr;
    Require(samples->QueryInterface(IID_IZtAVContent, &object) >= 0, "a query for IID_IZtAVContent fails");
    Require(object != nullptr, "a query for IID_IZtAVContent succeeds and gives nothing");
    const auto content = Ref<IZtAVContent>::Adopt(static_cast<IZtAVContent*>(object));
    content->SetErrorCode(ZT_E_FAIL);
    int code = 0;
    samples->GetErrorCode(&code);
    Require(code == ZT_E_FAIL, "the content that was asked for is not this buffer's");
}

void CheckQuery(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    for (const _GUID& id : {IID_IUnknown, IID_IZtAVContent, IID_IZtAudioSamples}) {
        void* object = nullptr;
        Require(samples->QueryInterface(id, &object) >= 0 && object != nullptr,
                "the buffer does not answer its interfaces");
        static_cast<IUnknown*>(object)->Release();
    }
    void* object = samples.Get();
    Require(samples->QueryInterface(kUnknownId, &object) < 0, "the buffer answers an interface that there is not");
    Require(object == nullptr, "a refused query does not clear its output");
}

void CheckReferences(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    const unsigned long count = CountOf(*samples);
    Require(count == 1, "a new buffer has not one reference");
    void* object = nullptr;
    samples->QueryInterface(IID_IZtAVContent, &object);
    Require(CountOf(*samples) == 2, "a query does not add one reference");
    static_cast<IUnknown*>(object)->Release();
    samples->AddRef();
    samples->AddRef();
    Require(samples->Release() == 2 && samples->Release() == 1, "references are not counted one by one");
}

void CheckDescription(const Context& context)
{
    const Plugin plugin(context);
    for (const SZtaWaveFormatInfo& format : {PoolRequest().sWaveFormat, host::Pcm16(1), host::Float32(2)}) {
        SZtCreateAudioSamplesDescription request = PoolRequest();
        request.sWaveFormat = format;
        const auto samples = plugin.Create(request);
        const SZtAudioSamplesDescription description = Describe(*samples);
        unsigned char flags[2];
        std::memcpy(flags, &description.bFadeIn, 1);
        std::memcpy(flags + 1, &description.bFadeOut, 1);
        Require(description.ulSize == 40, "the description's size has been altered");
        Require(IsSameFormat(description.sWaveFormat, format), "a new buffer has not the format that was asked for");
        Require(flags[0] == 0 && flags[1] == 0, "a new buffer asks for fades that were not asked for");
        Require(description.ePolarity == 0, "a new buffer has not the polarity that was asked for");
    }
}

void CheckFormat(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    Require(samples->SetLength(4800) >= 0, "SetLength fails");
    for (SZtaWaveFormatInfo format : {host::Pcm16(1, 44100), host::Pcm24In24(64), host::Float32(2), host::Multi16(1),
                                      host::Opaque(3), host::Pcm24In32(2)}) {
        Require(samples->SetWaveFormat(&format) >= 0, "SetWaveFormat fails for " + host::FormatName(format));
        Require(IsSameFormat(Describe(*samples).sWaveFormat, format),
                "the description has not the format that was set, " + host::FormatName(format));
        Require(MemoryOf(*samples).length == 4800, "SetWaveFormat changes the valid length");
    }
}

void CheckMemory(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    const Memory memory = MemoryOf(*samples);
    const unsigned long capacity = CapacityOf(*samples);
    const auto pattern = [](unsigned long i) { return static_cast<unsigned char>(i * 7 + i / 251); };
    for (unsigned long i = 0; i < capacity; ++i) {
        memory.address[i] = pattern(i);
    }
    CallEverything(*samples);
    Require(MemoryOf(*samples).address == memory.address, "the samples have moved to another address");
    for (unsigned long i = 0; i < capacity; ++i) {
        Require(memory.address[i] == pattern(i), "the samples have changed without being written");
    }
}

void CheckAlignment(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    if (reinterpret_cast<std::uintptr_t>(MemoryOf(*samples).address) % 64 != 0) {
        throw CheckWarning("samples do not begin at a multiple of 64: the engine copes, but vectors cross cache lines");
    }
}

void CheckCapacity(const Context& context)
{
    const Plugin plugin(context);
    for (const unsigned long asked : {192000UL, 4UL, 1000001UL}) {
        SZtCreateAudioSamplesDescription request = PoolRequest();
        request.ui64BufferSize = asked;
        const auto samples = plugin.Create(request);
        const unsigned long capacity = CapacityOf(*samples);
        Require(capacity >= asked,
                "a buffer of " + std::to_string(asked) + " bytes has a capacity of " + std::to_string(capacity));
        CallEverything(*samples);
        Require(CapacityOf(*samples) == capacity, "the capacity changes");
    }
}

void CheckLength(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    for (const unsigned long length : {0UL, 1UL, 8UL, 191999UL, CapacityOf(*samples), 0UL}) {
        Require(samples->SetLength(length) >= 0, "SetLength fails for " + std::to_string(length) + " bytes");
        const unsigned long told = MemoryOf(*samples).length;
        Require(told == length,
                "after SetLength of " + std::to_string(length) + " bytes the valid length is " + std::to_string(told));
    }
}

void CheckFrames(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    for (SZtaWaveFormatInfo format : {host::Pcm16(1), host::Pcm24In24(2), host::Multi16(1), host::Pcm24In32(16)}) {
        Require(samples->SetWaveFormat(&format) >= 0, "SetWaveFormat fails");
        const unsigned long frameBytes = host::BytesPerFrame(format);
        for (const unsigned long length : {0UL, frameBytes - 1, frameBytes, 10 * frameBytes + 1}) {
            Require(samples->SetLength(length) >= 0, "SetLength fails");
            unsigned long frames = ~0UL;
            Require(samples->GetLengthInSampleFrames(&frames) >= 0, "GetLengthInSampleFrames fails");
            Require(frames == length / frameBytes, std::to_string(length) + " bytes of " + host::FormatName(format) +
                                                       " are told as " + std::to_string(frames) + " frames");
        }
    }
}

void CheckFades(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    for (const bool fadeIn : {true, false}) {
        for (const bool fadeOut : {true, false}) {
            samples->SetFadeIn(fadeIn);
            samples->SetFadeOut(fadeOut);
            const SZtAudioSamplesDescription description = Describe(*samples);
            Require(description.bFadeIn == fadeIn && description.bFadeOut == fadeOut,
                    "the description has not the fade flags that were set");
        }
    }
}

void CheckPolarity(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    for (const std::uint32_t polarity : {1U, 0xFFFFFFFFU, 0U}) {
        samples->SetPolarity(polarity);
        Require(Describe(*samples).ePolarity == polarity, "the description has not the polarity that was set");
    }
}

void CheckErrorCode(const Context& context)
{
    const Plugin plugin(context);
    const auto samples = plugin.Create();
    int code = ZT_E_FAIL;
    samples->GetErrorCode(&code);
    Require(code == ZT_NOERROR, "a new buffer has the error code " + StatusText(code));
    for (const int set : {ZT_E_MODULE_BUSY, kZtSynchroStatusCancelled, ZT_E_FAIL}) {
        samples->SetErrorCode(set);
        samples->GetErrorCode(&code);
        Require(code == set, "after SetErrorCode of " + StatusText(set) + " the code is " + StatusText(code));
    }
}

void CheckReadSignals(const Context& context)
{
    const Plugin plugin(context);
    plugin.RequireAnnouncements();
    const auto samples = plugin.Create();
    plugin.AnnounceRead(*samples);
    plugin.AnnounceRead(*samples);
    plugin.AnnounceWrite(*samples);
    plugin.RequireOpen(*samples, 2, 1, "after two announced reads and a write");
    Require(samples->SignalReadCompletion() >= 0, "SignalReadCompletion fails");
    plugin.RequireOpen(*samples, 1, 1, "after one signal");
    Require(samples->SignalReadCompletion() >= 0, "SignalReadCompletion fails");
    plugin.RequireOpen(*samples, 0, 1, "after two signals");
}

void CheckWriteSignals(const Context& context)
{
    const Plugin plugin(context);
    plugin.RequireAnnouncements();
    const auto samples = plugin.Create();
    plugin.AnnounceRead(*samples);
    plugin.AnnounceWrite(*samples);
    samples->MarkWriteStartTime();
    samples->MarkWriteStartTime(); // as on the right output of a split stereo buffer
    samples->MarkWriteStopTime();
    plugin.RequireOpen(*samples, 1, 1, "after the marks");
    // What DuplicateAudioSamples returns.
    Require(samples->SignalWriteCompletion() == ZT_NOERROR, "SignalWriteCompletion of an announced write is not 0");
    plugin.RequireOpen(*samples, 1, 0, "after the write's signal");
}

void CheckIndependence(const Context& context)
{
    const Plugin plugin(context);
    const auto first = plugin.Create();
    const auto second = plugin.Create();
    const SZtAudioSamplesDescription before = Describe(*second);
    const unsigned long length = MemoryOf(*second).length;
    CallEverything(*first);
    first->SetPolarity(5);
    first->SetFadeIn(true);
    first->SetErrorCode(ZT_E_FAIL);
    const SZtAudioSamplesDescription after = Describe(*second);
    int code = 0;
    second->GetErrorCode(&code);
    Require(after.ePolarity == before.ePolarity && after.bFadeIn == before.bFadeIn &&
                IsSameFormat(after.sWaveFormat, before.sWaveFormat) && MemoryOf(*second).length == length &&
                code == ZT_NOERROR,
            "what was done to one buffer shows on another");
}

} // namespace

std::vector<Check> HostChecks()
{
    return {
        {"host.loads", "The plugin loads and makes buffers.", "", CheckLoads},
        {"host.pool", "131 buffers of 192000 bytes can be had at once, each with memory of its own.", "host.loads",
         CheckCreates},
        {"host.record", "The request for a buffer is not altered.", "host.loads", CheckRecord},
        {"buffer.content", "A query for IID_IZtAVContent gives the buffer's own content.", "host.loads", CheckContent},
        {"buffer.query", "A buffer answers its three interfaces and refuses others, with a null pointer.", "host.loads",
         CheckQuery},
        {"buffer.references", "References are counted, those of queries too.", "host.loads", CheckReferences},
        {"buffer.description", "A new buffer's description has every field as it was asked for.", "host.loads",
         CheckDescription},
        {"buffer.format", "SetWaveFormat relabels the buffer and nothing else.", "host.loads", CheckFormat},
        {"buffer.memory", "The memory can be written up to the capacity, stays at its address and keeps its content.",
         "host.loads", CheckMemory},
        {"buffer.alignment", "The samples begin at a multiple of 64.", "host.loads", CheckAlignment},
        {"buffer.capacity", "The capacity is what was asked for, or more, and does not change.", "host.loads",
         CheckCapacity},
        {"buffer.length", "SetLength sets the valid length, from 0 to the capacity.", "host.loads", CheckLength},
        {"buffer.frames", "The length in frames is the valid length over the bytes of a frame, rounded down.",
         "host.loads", CheckFrames},
        {"buffer.fades", "Both fade flags read as they were set.", "host.loads", CheckFades},
        {"buffer.polarity", "The polarity reads as it was set.", "host.loads", CheckPolarity},
        {"buffer.error-code", "A new buffer has no error code, and a code reads as it was set.", "host.loads",
         CheckErrorCode},
        {"buffer.read-signals", "A read's signal ends one announced read.", "host.loads", CheckReadSignals},
        {"buffer.write-signals", "A write's signal ends one announced write and gives 0; marks end nothing.",
         "host.loads", CheckWriteSignals},
        {"buffer.independence", "What is done to one buffer does not show on another.", "host.loads",
         CheckIndependence},
    };
}

} // namespace zta::validate
