// Checks of the properties of a host's buffers that the engine relies on.

#include "host/formats.h"
#include "tools/ztvalidate/host_plugin.h"

#include <zta/status.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <fstream>

#include <dlfcn.h>
#include <unistd.h>

namespace zta::validate {

namespace {

using host::Ref;

/// Calls every operation that must neither move nor change the samples, each followed by `verify`.
void CallEverything(IZtAudioSamples& samples, const std::function<void(const char* operation)>& verify)
{
    const auto call = [&](const char* operation, auto run) {
        run();
        verify(operation);
    };
    int code = 0;
    unsigned long frames = 0;
    call("SetWaveFormat", [&] { SetFormat(samples, host::Pcm16(1, 44100)); });
    call("SetPolarity", [&] { samples.SetPolarity(1); });
    call("SetFadeIn", [&] { samples.SetFadeIn(true), samples.SetFadeIn(false); });
    call("SetFadeOut", [&] { samples.SetFadeOut(true), samples.SetFadeOut(false); });
    call("SetErrorCode", [&] { samples.SetErrorCode(ZT_E_FAIL), samples.SetErrorCode(ZT_NOERROR); });
    call("GetErrorCode", [&] { samples.GetErrorCode(&code); });
    call("MarkWriteStartTime", [&] { samples.MarkWriteStartTime(); });
    call("MarkWriteStopTime", [&] { samples.MarkWriteStopTime(); });
    call("SetLength", [&] { SetLength(samples, 0), SetLength(samples, GetCapacity(samples)); });
    call("GetLengthInSampleFrames", [&] { samples.GetLengthInSampleFrames(&frames); });
    call("GetAudioSamplesDescription", [&] { Describe(samples); });
    call("QueryInterface", [&] { QueryBuffer(samples, IID_IZtAVContent).Reset(); });
}

/// Bytes in use: of the sanitizer's allocator if the process has one, otherwise the resident memory.
unsigned long MeasureMemory()
{
    using CountBytes = std::size_t (*)();
    if (const auto count =
            reinterpret_cast<CountBytes>(dlsym(RTLD_DEFAULT, "__sanitizer_get_current_allocated_bytes"))) {
        return count();
    }
    std::ifstream file("/proc/self/statm");
    unsigned long total = 0;
    unsigned long resident = 0;
    file >> total >> resident;
    return resident * static_cast<unsigned long>(sysconf(_SC_PAGESIZE));
}

// ---- Checks of the plugin ----

void CheckLoads(const Plugin& plugin)
{
    static_cast<void>(plugin.Create());
}

void CheckPool(const Plugin& plugin)
{
    constexpr std::size_t kBuffers = 131;
    std::vector<Ref<IZtAudioSamples>> pool;
    while (pool.size() < kBuffers) {
        pool.push_back(plugin.Create());
    }
    for (const auto& samples : pool) {
        const unsigned char* first = GetMemory(*samples).address;
        Require(GetCapacity(*samples) >= kPoolBytes, "a buffer of the pool has less capacity than requested");
        for (const auto& other : pool) {
            const unsigned char* address = GetMemory(*other).address;
            Require(other.Get() == samples.Get() || address + kPoolBytes <= first || first + kPoolBytes <= address,
                    "two buffers of the pool share memory");
        }
    }
}

void CheckRecord(const Plugin& plugin)
{
    SZtCreateAudioSamplesDescription request = PoolRequest();
    using Image = std::array<std::byte, sizeof(request)>;
    const auto before = std::bit_cast<Image>(request);
    for (int i = 0; i < 2; ++i) {
        plugin.CreateFrom(request).Reset();
        Require(std::bit_cast<Image>(request) == before, "the request has been altered");
    }
}

void CheckFrees(const Plugin& plugin)
{
    constexpr unsigned long kRounds = 400;
    const auto use = [&] {
        const auto samples = plugin.Create();
        std::fill_n(GetMemory(*samples).address, kPoolBytes, static_cast<unsigned char>(1));
    };
    for (int i = 0; i < 8; ++i) { // a host may keep a few buffers for the next requests
        use();
    }
    const unsigned long before = MeasureMemory();
    for (unsigned long i = 0; i < kRounds; ++i) {
        use();
    }
    const unsigned long after = MeasureMemory();
    Require(after < before + kRounds * kPoolBytes / 2, std::to_string(kRounds) + " released buffers leave " +
                                                           std::to_string((after - before) / 1024) +
                                                           " KiB of memory in use");
}

void CheckDescription(const Plugin& plugin)
{
    for (const SZtaWaveFormatInfo& format : {PoolRequest().sWaveFormat, host::Pcm16(1), host::Float32(2)}) {
        SZtCreateAudioSamplesDescription request = PoolRequest();
        request.sWaveFormat = format;
        const auto samples = plugin.Create(request);
        const SZtAudioSamplesDescription description = Describe(*samples);
        const auto bytes = std::bit_cast<std::array<unsigned char, sizeof(description)>>(description);
        Require(description.ulSize == 40, "the size field of the description has been altered");
        Require(IsSameFormat(description.sWaveFormat, format), "a new buffer does not have the requested format");
        Require(bytes[offsetof(SZtAudioSamplesDescription, bFadeIn)] == 0 &&
                    bytes[offsetof(SZtAudioSamplesDescription, bFadeOut)] == 0,
                "a new buffer has fade flags that were not requested");
        Require(description.ePolarity == 0, "a new buffer does not have the requested polarity");
    }
}

void CheckCapacity(const Plugin& plugin)
{
    for (const unsigned long requested : {kPoolBytes, 4UL, 1000001UL}) {
        SZtCreateAudioSamplesDescription request = PoolRequest();
        request.ui64BufferSize = requested;
        const auto samples = plugin.Create(request);
        const unsigned long capacity = GetCapacity(*samples);
        Require(capacity >= requested,
                "a buffer of " + std::to_string(requested) + " bytes has a capacity of " + std::to_string(capacity));
        CallEverything(*samples, [&](const char* operation) {
            Require(GetCapacity(*samples) == capacity, std::string(operation) + " changes the capacity");
        });
    }
}

void CheckIndependence(const Plugin& plugin)
{
    const auto first = plugin.Create();
    const auto second = plugin.Create();
    const SZtAudioSamplesDescription before = Describe(*second);
    const unsigned long length = GetMemory(*second).length;
    CallEverything(*first, [](const char* /*operation*/) {});
    first->SetPolarity(5);
    first->SetFadeIn(true);
    first->SetErrorCode(ZT_E_FAIL);
    Require(IsSameDescription(Describe(*second), before) && GetMemory(*second).length == length &&
                GetErrorCode(*second) == ZT_NOERROR,
            "calls on one buffer change another");
}

// ---- Checks of one buffer ----

void CheckContent(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    void* object = nullptr;
    Require(samples.QueryInterface(IID_IZtAVContent, &object) >= 0, "a query for IID_IZtAVContent fails");
    RequireObject(object, "a query for IID_IZtAVContent");
    const auto content = Ref<IZtAVContent>::Adopt(static_cast<IZtAVContent*>(object));
    content->SetErrorCode(ZT_E_FAIL);
    Require(GetErrorCode(samples) == ZT_E_FAIL, "the queried content does not belong to this buffer");
}

void CheckQuery(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    for (const _GUID& id : {IID_IUnknown, IID_IZtAVContent, IID_IZtAudioSamples}) {
        static_cast<void>(QueryBuffer(samples, id));
    }
    void* object = &samples;
    Require(samples.QueryInterface(kUnknownId, &object) < 0, "the buffer has an interface that does not exist");
    Require(object == nullptr, "a rejected query does not clear its output");
}

void CheckIdentity(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    const auto identity = QueryBuffer(samples, IID_IUnknown);
    for (const _GUID& id : {IID_IUnknown, IID_IZtAVContent, IID_IZtAudioSamples}) {
        const auto object = QueryBuffer(samples, id);
        Require(QueryBuffer(samples, id).Get() == object.Get(), "two queries for one interface return two pointers");
        Require(QueryBuffer(*object, IID_IUnknown).Get() == identity.Get(),
                "two interfaces of a buffer return different pointers for IID_IUnknown");
        Require(QueryBuffer(*object, IID_IZtAudioSamples).Get() == static_cast<IUnknown*>(&samples),
                "an interface of a buffer does not lead back to the buffer");
    }
}

void CheckReferences(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    Require(CountReferences(samples) == 1, "a new buffer does not have one reference");
    const auto content = QueryBuffer(samples, IID_IZtAVContent);
    Require(CountReferences(samples) == 2, "a query does not add one reference");
    samples.AddRef();
    Require(samples.Release() == 2, "Release does not remove one reference");
}

void CheckCounts(const Plugin& plugin, IZtAudioSamples& samples)
{
    constexpr int kRounds = 1000;
    const unsigned long references = CountReferences(samples);
    for (int i = 0; i < kRounds; ++i) {
        samples.AddRef();
        samples.Release();
        QueryBuffer(samples, IID_IZtAVContent).Reset();
    }
    const unsigned long left = CountReferences(samples);
    Require(left == references, "after " + std::to_string(kRounds) +
                                    " rounds of equal AddRef and Release a buffer has " + std::to_string(left) +
                                    " references, not " + std::to_string(references));
    for (int i = 0; plugin.CanAnnounce() && i < kRounds; ++i) {
        plugin.AnnounceRead(samples);
        plugin.AnnounceWrite(samples);
        samples.SignalReadCompletion();
        samples.SignalWriteCompletion();
    }
    if (plugin.CanAnnounce()) {
        plugin.RequireOpen(samples, {0, 0}, "after " + std::to_string(kRounds) + " accesses, each signaled once,");
    }
}

void CheckReading(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    SetFormat(samples, host::Pcm16(2));
    SetLength(samples, 400);
    samples.SetPolarity(3);
    samples.SetFadeIn(true);
    const SZtAudioSamplesDescription before = Describe(samples);
    const unsigned long capacity = GetCapacity(samples);
    for (int i = 0; i < 100; ++i) {
        Require(IsSameDescription(Describe(samples), before), "the description changes when it is read");
        Require(GetMemory(samples).length == 400 && GetCapacity(samples) == capacity,
                "the length or the capacity changes when it is read");
        Require(GetErrorCode(samples) == ZT_NOERROR, "the error code changes when it is read");
    }
}

void CheckFormat(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    SetLength(samples, 4800);
    for (const SZtaWaveFormatInfo& format : {host::Pcm16(1, 44100), host::Pcm24In24(64), host::Float32(2),
                                             host::Multi16(1), host::Opaque(3), host::Pcm24In32(2)}) {
        SetFormat(samples, format);
        Require(IsSameFormat(Describe(samples).sWaveFormat, format),
                "the description does not have the format that was set, " + host::FormatName(format));
        Require(GetMemory(samples).length == 4800, "SetWaveFormat changes the valid length");
    }
}

void CheckMemory(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    const unsigned long capacity = GetCapacity(samples);
    const auto pattern = [](unsigned long i) { return static_cast<unsigned char>(i * 7 + i / 251); };
    unsigned char* bytes = GetMemory(samples).address;
    for (unsigned long i = 0; i < capacity; ++i) {
        bytes[i] = pattern(i);
    }
    CallEverything(samples, [&](const char* operation) {
        const unsigned char* now = GetMemory(samples).address;
        for (unsigned long i = 0; i < capacity; ++i) {
            Require(now[i] == pattern(i), std::string(operation) + " changes the sample byte " + std::to_string(i));
        }
    });
}

void CheckAddress(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    const unsigned char* address = GetMemory(samples).address;
    CallEverything(samples, [&](const char* operation) {
        Require(GetMemory(samples).address == address,
                std::string("the samples move to another address: ") + operation);
    });
}

void CheckAlignment(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    if (reinterpret_cast<std::uintptr_t>(GetMemory(samples).address) % 64 != 0) {
        throw CheckWarning("the address of the samples is not a multiple of 64: vectors cross cache lines");
    }
}

void CheckLength(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    for (const unsigned long length : {0UL, 1UL, 8UL, kPoolBytes - 1, GetCapacity(samples), 0UL}) {
        SetLength(samples, length);
        const unsigned long actual = GetMemory(samples).length;
        Require(actual == length, "after SetLength of " + std::to_string(length) + " bytes the valid length is " +
                                      std::to_string(actual));
    }
}

void CheckLengthLimit(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    const unsigned long capacity = GetCapacity(samples);
    SetLength(samples, 8);
    for (const unsigned long length : {capacity + 1, 2 * capacity, ~0UL}) {
        Require(samples.SetLength(length) < 0, "SetLength accepts " + std::to_string(length) +
                                                   " bytes with a capacity of " + std::to_string(capacity));
        Require(GetMemory(samples).length == 8, "a rejected SetLength changes the valid length");
    }
}

void CheckFrames(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    for (const SZtaWaveFormatInfo& format :
         {host::Pcm16(1), host::Pcm24In24(2), host::Multi16(1), host::Pcm24In32(16)}) {
        SetFormat(samples, format);
        const unsigned long frameBytes = host::BytesPerFrame(format);
        for (const unsigned long length : {0UL, frameBytes - 1, frameBytes, 10 * frameBytes + 1}) {
            SetLength(samples, length);
            unsigned long frames = ~0UL;
            Require(samples.GetLengthInSampleFrames(&frames) >= 0, "GetLengthInSampleFrames fails");
            Require(frames == length / frameBytes, std::to_string(length) + " bytes of " + host::FormatName(format) +
                                                       " are reported as " + std::to_string(frames) + " frames");
        }
    }
}

void CheckFades(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    for (const bool fadeIn : {true, false}) {
        for (const bool fadeOut : {true, false}) {
            samples.SetFadeIn(fadeIn);
            samples.SetFadeOut(fadeOut);
            const SZtAudioSamplesDescription description = Describe(samples);
            Require(description.bFadeIn == fadeIn && description.bFadeOut == fadeOut,
                    "the description does not have the fade flags that were set");
        }
    }
}

void CheckPolarity(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    for (const std::uint32_t polarity : {1U, 0xFFFFFFFFU, 0U}) {
        samples.SetPolarity(polarity);
        Require(Describe(samples).ePolarity == polarity, "the description does not have the polarity that was set");
    }
}

void CheckErrorCode(const Plugin& /*plugin*/, IZtAudioSamples& samples)
{
    const int first = GetErrorCode(samples);
    Require(first == ZT_NOERROR, "a new buffer has the error code " + StatusText(first));
    for (const int set : {ZT_E_MODULE_BUSY, kZtSynchroStatusCancelled, ZT_E_FAIL}) {
        samples.SetErrorCode(set);
        const int code = GetErrorCode(samples);
        Require(code == set, "after SetErrorCode of " + StatusText(set) + " the code is " + StatusText(code));
    }
}

// ---- Completion signals ----

void CheckReadSignals(const Plugin& plugin, IZtAudioSamples& samples)
{
    plugin.RequireAnnouncements();
    plugin.AnnounceRead(samples);
    plugin.AnnounceRead(samples);
    plugin.AnnounceWrite(samples);
    plugin.RequireOpen(samples, {2, 1}, "after the announcement of two reads and a write");
    Require(samples.SignalReadCompletion() >= 0, "SignalReadCompletion fails");
    plugin.RequireOpen(samples, {1, 1}, "after one signal");
    Require(samples.SignalReadCompletion() >= 0, "SignalReadCompletion fails");
    plugin.RequireOpen(samples, {0, 1}, "after two signals");
}

void CheckWriteSignals(const Plugin& plugin, IZtAudioSamples& samples)
{
    plugin.RequireAnnouncements();
    plugin.AnnounceRead(samples);
    plugin.AnnounceWrite(samples);
    samples.MarkWriteStartTime();
    samples.MarkWriteStartTime(); // as on the right output of a deinterleaved stereo buffer
    samples.MarkWriteStopTime();
    plugin.RequireOpen(samples, {1, 1}, "after the marks");
    // The result of DuplicateAudioSamples.
    Require(samples.SignalWriteCompletion() == ZT_NOERROR, "SignalWriteCompletion of an announced write is not 0");
    plugin.RequireOpen(samples, {1, 0}, "after the write's signal");
}

void CheckPromptSignals(const Plugin& plugin, IZtAudioSamples& samples)
{
    plugin.RequireAnnouncements();
    plugin.AnnounceRead(samples);
    samples.SignalReadCompletion();
    Require(plugin.GetOpenAccesses(samples).reads == 0, "a read is still open when its signal has returned");
    plugin.AnnounceWrite(samples);
    samples.SignalWriteCompletion();
    Require(plugin.GetOpenAccesses(samples).writes == 0, "a write is still open when its signal has returned");
}

Check PluginCheck(const char* name, const char* description, void (*run)(const Plugin& plugin))
{
    const std::string needs = "host.loads";
    return {name, description, name == needs ? "" : needs, [run](const Context& context) { run(Plugin(context)); }};
}

/// A check on a new buffer of the pool's size.
Check BufferCheck(const char* name, const char* description,
                  void (*run)(const Plugin& plugin, IZtAudioSamples& samples))
{
    return {name, description, "host.loads", [run](const Context& context) {
                const Plugin plugin(context);
                run(plugin, *plugin.Create());
            }};
}

} // namespace

std::vector<Check> HostChecks()
{
    return {
        PluginCheck("host.loads", "The plugin can be loaded and creates buffers.", CheckLoads),
        PluginCheck("host.pool", "131 buffers of 192000 bytes exist at a time, each with memory of its own.",
                    CheckPool),
        PluginCheck("host.record", "The request for a buffer is not altered.", CheckRecord),
        PluginCheck("host.frees", "The memory of a buffer is freed when its last reference is released.", CheckFrees),
        BufferCheck("buffer.content", "A query for IID_IZtAVContent returns the buffer's own content.", CheckContent),
        BufferCheck("buffer.query", "A buffer has its three interfaces, and rejects others with a null pointer.",
                    CheckQuery),
        BufferCheck("buffer.identity", "Every interface of a buffer leads to the same IUnknown and back.",
                    CheckIdentity),
        BufferCheck("buffer.references", "References are counted, those of queries also.", CheckReferences),
        BufferCheck("buffer.counts", "The counts of references and accesses do not drift in 1000 rounds.", CheckCounts),
        PluginCheck("buffer.description", "A new buffer's description has every field as requested.", CheckDescription),
        BufferCheck("buffer.reading", "Reading a buffer's properties does not change them.", CheckReading),
        BufferCheck("buffer.format", "SetWaveFormat changes the format and nothing else.", CheckFormat),
        BufferCheck("buffer.memory", "The memory can be written up to the capacity and keeps its content.",
                    CheckMemory),
        BufferCheck("buffer.address", "The address of the samples never changes.", CheckAddress),
        BufferCheck("buffer.alignment", "The address of the samples is a multiple of 64.", CheckAlignment),
        PluginCheck("buffer.capacity", "The capacity is the requested one or more, and does not change.",
                    CheckCapacity),
        BufferCheck("buffer.length", "SetLength sets the valid length, from 0 to the capacity.", CheckLength),
        BufferCheck("buffer.length-limit", "SetLength rejects a length beyond the capacity.", CheckLengthLimit),
        BufferCheck("buffer.frames", "The length in frames is the valid length divided by the bytes of a frame.",
                    CheckFrames),
        BufferCheck("buffer.fades", "Both fade flags read as they were set.", CheckFades),
        BufferCheck("buffer.polarity", "The polarity reads as it was set.", CheckPolarity),
        BufferCheck("buffer.error-code", "A new buffer has no error code, and a code reads as it was set.",
                    CheckErrorCode),
        BufferCheck("buffer.read-signals", "The signal of a read ends one announced read.", CheckReadSignals),
        BufferCheck("buffer.write-signals", "The signal of a write ends one announced write and returns 0.",
                    CheckWriteSignals),
        BufferCheck("buffer.prompt-signals", "An access has ended when its signal returns.", CheckPromptSignals),
        PluginCheck("buffer.independence", "Calls on one buffer do not change another.", CheckIndependence),
    };
}

} // namespace zta::validate
