// A module that hands everything on to the real one, and breaks the one thing that its file's name tells.

#include "host/formats.h"
#include "tests/ztvalidate/fault.h"

#include <zta/engine_interfaces.h>
#include <zta/error_text.h>
#include <zta/module.h>
#include <zta/status.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// The name of the fault.
const std::string& Fault()
{
    static const std::string fault = FaultOf(reinterpret_cast<const void*>(&Fault));
    return fault;
}

bool Is(const char* fault)
{
    return Fault() == fault;
}

void* RealModule()
{
    static void* const handle = dlopen(ZTA_REAL_MODULE, RTLD_NOW | RTLD_LOCAL);
    return handle;
}

template <class F>
F Real(const char* name)
{
    return reinterpret_cast<F>(dlsym(RealModule(), name));
}

[[gnu::constructor]] void Load()
{
    if (Is("module.loads")) {
        std::abort();
    }
}

[[gnu::destructor]] void Unload()
{
    dlclose(RealModule());
}

// ---- Faults of operations ----

using Buffers = std::vector<IZtAudioSamples*>;

/// What an operation was called with.
struct Operands {
    const char* operation;
    Buffers in;
    Buffers out;
    bool hasNull;
    SZtAudioMonoVolumeInfo* volumes = nullptr;
    unsigned long volumeCount = 0;
    EZtAudioResamplerMode mode = keZtAudioResamplerModeRestart;
};

Buffers Entries(IZtAudioSamples** array, unsigned long count)
{
    return array == nullptr ? Buffers{} : Buffers(array, array + count);
}

Buffers AllOf(const Operands& operands)
{
    Buffers all = operands.in;
    all.insert(all.end(), operands.out.begin(), operands.out.end());
    std::erase(all, nullptr);
    return all;
}

bool IsMute(IZtAudioSamples* buffer)
{
    void* content = nullptr;
    if (buffer->QueryInterface(IID_IZtAVContent, &content) < 0) {
        return true;
    }
    static_cast<IUnknown*>(content)->Release();
    return false;
}

bool IsIndescribable(IZtAudioSamples* buffer)
{
    SZtAudioSamplesDescription description{};
    description.ulSize = sizeof(description);
    return buffer->GetAudioSamplesDescription(&description) < 0;
}

SZtAudioSamplesDescription Describe(IZtAudioSamples* buffer)
{
    SZtAudioSamplesDescription description{};
    description.ulSize = sizeof(description);
    buffer->GetAudioSamplesDescription(&description);
    return description;
}

int ErrorCode(IZtAudioSamples* buffer)
{
    int code = 0;
    buffer->GetErrorCode(&code);
    return code;
}

/// Spoils the last valid byte.
void Spoil(IZtAudioSamples* buffer)
{
    void* data = nullptr;
    unsigned long length = 0;
    buffer->GetBufferAndLength(&data, &length);
    if (length != 0) {
        static_cast<unsigned char*>(data)[length - 1] ^= 0x40;
    }
}

/// Which of the checks of samples a call belongs to.
std::string KindOf(const Operands& operands)
{
    const SZtAudioSamplesDescription in = Describe(operands.in[0]);
    const SZtaWaveFormatInfo out = Describe(operands.out[0]).sWaveFormat;
    const std::string operation = operands.operation;
    if (in.bFadeIn || in.bFadeOut) {
        return operation == "duplicate" ? "labels" : "fades";
    }
    if (operation == "volume") {
        const auto end = operands.volumes + operands.volumeCount;
        const bool atLimit = std::any_of(operands.volumes, end, [](const auto& v) { return v.fEndVolume >= 8.0F; });
        return operands.in[0] == operands.out[0] ? "in-place" : atLimit ? "limits" : "samples";
    }
    if (operation == "resample") {
        return operands.mode != keZtAudioResamplerModeRestart ? "cuts" : out.ulChannels == 2 ? "stereo" : "samples";
    }
    if (operands.volumeCount != 0) {
        return "volumes";
    }
    if (in.sWaveFormat.eDataType == keZtAudioDataTypeMultiFormat) {
        return "multi-format";
    }
    if (in.sWaveFormat.ulValidBitsPerSample == 20) {
        return "relabels";
    }
    if (operation == "mux-to-mono" && operands.out.size() == 16) {
        unsigned long frames = 0;
        operands.in[0]->GetLengthInSampleFrames(&frames);
        return frames % 4 == 3 ? "tail" : "samples";
    }
    return in.sWaveFormat.ulBitsPerSample != out.ulBitsPerSample || in.sWaveFormat.eDataType != out.eDataType
               ? "converts"
               : "samples";
}

/// How many operations are running.
int g_depth = 0;

void BreakSamples(const std::string& aspect, const Operands& operands)
{
    if (aspect == "labels") {
        operands.out[0]->SetPolarity(0);
    } else if (aspect == "relabels") {
        SZtaWaveFormatInfo format = zta::host::Pcm20In32(2);
        operands.out[0]->SetWaveFormat(&format);
    } else if (aspect == "tail") {
        Spoil(operands.out[12]);
    } else {
        Spoil(operands.out.back());
    }
}

/// Runs the real operation with this aspect of it broken.
template <class Run>
int RunBroken(const std::string& aspect, const Operands& operands, Run run)
{
    if (g_depth > 1 && (aspect == "busy" || aspect == "completion")) {
        return ZT_E_FAIL;
    }
    const Buffers all = AllOf(operands);
    IZtAudioSamples* const last = all.empty() ? nullptr : all.back();
    const auto failsInput = [&](IZtAudioSamples* buffer) { return buffer != nullptr && ErrorCode(buffer) < 0; };
    const bool inputFails = (aspect == "tolerated" || aspect == "status-codes") &&
                            std::any_of(operands.in.begin(), operands.in.end(), failsInput);
    if (aspect == "tolerated" && inputFails) {
        return ErrorCode(operands.in[0]);
    }
    if (aspect == "order" && last != nullptr) {
        last->MarkWriteStopTime();
    }
    const bool whole = !operands.hasNull && std::none_of(all.begin(), all.end(), IsIndescribable);
    const std::string kind = whole ? KindOf(operands) : "";
    const int status = run();

    if (aspect == "signals" && last != nullptr) {
        last->SignalWriteCompletion();
    } else if (aspect == "signals~read" && last != nullptr) {
        operands.in[0]->SignalReadCompletion();
    } else if (aspect == "references" && last != nullptr) {
        last->AddRef();
    } else if (aspect == "references~guard" && last != nullptr && status >= 0) {
        void* data = nullptr;
        unsigned long capacity = 0;
        last->GetBufferAndLength(&data, &capacity);
        last->GetBufferCapacity(&capacity);
        static_cast<unsigned char*>(data)[capacity] ^= 1;
    } else if (aspect == "status-codes" && inputFails) {
        last->SetErrorCode(ZT_E_FAIL);
    } else if (aspect == "sizes" && !operands.hasNull && ErrorCode(last) < 0) {
        last->SetErrorCode(ZT_E_FAIL);
    } else if (aspect == "sizes~written" && !operands.hasNull && ErrorCode(last) < 0) {
        operands.in[0]->AddRef();
    } else if (status >= 0 && whole && aspect == kind) {
        BreakSamples(aspect, operands);
    } else if (aspect == "fades~flags" && whole && kind == "fades") {
        const bool set = Describe(last).bFadeOut;
        last->SetFadeOut(!set);
    } else if (aspect == "samples~length" && whole && kind == "samples" && status >= 0) {
        last->SetLength(0);
    }
    const bool fails = (aspect == "null-operands" && operands.hasNull) ||
                       (aspect == "no-content" && std::any_of(all.begin(), all.end(), IsMute)) ||
                       (aspect == "descriptions" && std::any_of(all.begin(), all.end(), IsIndescribable)) ||
                       aspect == "formats";
    return fails && status < 0 ? ZT_E_FAIL : status;
}

[[noreturn]] void Hang()
{
    std::signal(SIGTERM, SIG_IGN);
    if (fork() == 0) {
        setsid();
    }
    for (;;) {
        pause();
    }
}

[[noreturn]] void Flood()
{
    for (;;) {
        std::puts("a line of a module that never stops talking");
    }
}

/// Runs the real operation, broken if the fault is one of it.
template <class Run>
int Through(const Operands& operands, Run run)
{
    if (Is("hangs")) {
        Hang();
    } else if (Is("floods")) {
        Flood();
    } else if (Is("exits")) {
        _exit(0);
    } else if (Is("throws")) {
        throw 1;
    } else if (Is("crashes")) {
        std::abort();
    }
    const std::string prefix = std::string("operation.") + operands.operation + ".";
    ++g_depth;
    const int status = Fault().starts_with(prefix) ? RunBroken(Fault().substr(prefix.size()), operands, run) : run();
    --g_depth;
    return status;
}

bool HasNull(const Buffers& buffers)
{
    return buffers.empty() || std::find(buffers.begin(), buffers.end(), nullptr) != buffers.end();
}

// ---- The objects ----

/// A buffer in front of another one, whose signals it keeps to itself.
class DeafBuffer : public IZtAudioSamples {
public:
    explicit DeafBuffer(IZtAudioSamples& real) : real_(real) {}
    virtual ~DeafBuffer() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = real_.QueryInterface(riid, ppv);
        if (status >= 0) {
            *ppv = static_cast<IZtAudioSamples*>(this);
        }
        return status;
    }
    unsigned long AddRef() override { return real_.AddRef(); }
    unsigned long Release() override { return real_.Release(); }
    int MarkWriteStartTime() override { return real_.MarkWriteStartTime(); }
    int MarkWriteStopTime() override { return real_.MarkWriteStopTime(); }
    int SignalReadCompletion() override { return ZT_NOERROR; }
    int SignalWriteCompletion() override { return ZT_NOERROR; }
    int SetErrorCode(int code) override { return real_.SetErrorCode(code); }
    int GetErrorCode(int* code) override { return real_.GetErrorCode(code); }
    int SetPolarity(std::uint32_t polarity) override { return real_.SetPolarity(polarity); }
    int SetWaveFormat(SZtaWaveFormatInfo* format) override { return real_.SetWaveFormat(format); }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        return real_.GetAudioSamplesDescription(description);
    }
    int GetBufferAndLength(void** data, unsigned long* length) override
    {
        return real_.GetBufferAndLength(data, length);
    }
    int GetBufferCapacity(unsigned long* capacity) override { return real_.GetBufferCapacity(capacity); }
    int GetLengthInSampleFrames(unsigned long* frames) override { return real_.GetLengthInSampleFrames(frames); }
    int SetFadeIn(bool fadeIn) override { return real_.SetFadeIn(fadeIn); }
    int SetFadeOut(bool fadeOut) override { return real_.SetFadeOut(fadeOut); }
    int SetLength(unsigned long length) override { return real_.SetLength(length); }

private:
    IZtAudioSamples& real_;
};

class BrokenEngine : public IZtaAudioSamplesEngine {
public:
    explicit BrokenEngine(IZtaAudioSamplesEngine* real) : real_(real) {}
    virtual ~BrokenEngine() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = real_->QueryInterface(riid, ppv);
        if (status >= 0) {
            *ppv = static_cast<IUnknown*>(this);
        } else if (Is("engine.query")) {
            AddRef();
            *ppv = static_cast<IUnknown*>(this);
            return ZT_NOERROR;
        }
        return status;
    }
    unsigned long AddRef() override { return real_->AddRef(); }
    unsigned long Release() override
    {
        const unsigned long left = real_->Release();
        if (left == 0) {
            delete this;
        }
        return left + (Is("engine.references") ? 1 : 0);
    }

    int CopyAudioSamples(IZtAudioSamples* source, IZtAudioSamples* destination) override
    {
        if (Is("operation.copy.signals~missing-read")) {
            DeafBuffer deaf(*source);
            return real_->CopyAudioSamples(&deaf, destination);
        }
        if (Is("operation.copy.signals~missing-write")) {
            DeafBuffer deaf(*destination);
            return real_->CopyAudioSamples(source, &deaf);
        }
        return OneToOne("copy", source, destination, [&] { return real_->CopyAudioSamples(source, destination); });
    }
    int DuplicateAudioSamples(IZtAudioSamples* source, unsigned long from, IZtAudioSamples* destination,
                              unsigned long to, unsigned long length) override
    {
        return OneToOne("duplicate", source, destination,
                        [&] { return real_->DuplicateAudioSamples(source, from, destination, to, length); });
    }
    int CopyAudioSamplesMonoToStereo(IZtAudioSamples* left, IZtAudioSamples* right, IZtAudioSamples* stereo) override
    {
        return Through({"mono-to-stereo", {left, right}, {stereo}, HasNull({left, right, stereo})},
                       [&] { return real_->CopyAudioSamplesMonoToStereo(left, right, stereo); });
    }
    int CopyAudioSamplesStereoToMono(IZtAudioSamples* stereo, IZtAudioSamples* left, IZtAudioSamples* right) override
    {
        return Through({"stereo-to-mono", {stereo}, {left, right}, HasNull({left, right, stereo})},
                       [&] { return real_->CopyAudioSamplesStereoToMono(stereo, left, right); });
    }
    int CopyAudioSamplesMonoToMux(IZtAudioSamples** mono, unsigned long count, IZtAudioSamples* mux,
                                  SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount) override
    {
        return Mux("mono-to-mux", true, mono, count, mux, volumes, volumeCount,
                   [&] { return real_->CopyAudioSamplesMonoToMux(mono, count, mux, volumes, volumeCount); });
    }
    int CopyAudioSamplesStereoToMux(IZtAudioSamples** stereo, unsigned long count, IZtAudioSamples* mux,
                                    SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount) override
    {
        return Mux("stereo-to-mux", true, stereo, count, mux, volumes, volumeCount,
                   [&] { return real_->CopyAudioSamplesStereoToMux(stereo, count, mux, volumes, volumeCount); });
    }
    int CopyAudioSamplesMuxToMono(IZtAudioSamples* mux, IZtAudioSamples** mono, unsigned long count,
                                  SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount) override
    {
        return Mux("mux-to-mono", false, mono, count, mux, volumes, volumeCount,
                   [&] { return real_->CopyAudioSamplesMuxToMono(mux, mono, count, volumes, volumeCount); });
    }
    int CopyAudioSamplesMuxToStereo(IZtAudioSamples* mux, IZtAudioSamples** stereo, unsigned long count,
                                    SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount) override
    {
        return Mux("mux-to-stereo", false, stereo, count, mux, volumes, volumeCount,
                   [&] { return real_->CopyAudioSamplesMuxToStereo(mux, stereo, count, volumes, volumeCount); });
    }
    int ApplyVolume(IZtAudioSamples* input, IZtAudioSamples* output, SZtAudioMonoVolumeInfo* volumes,
                    unsigned long volumeCount) override
    {
        // The real one writes into its caller's records.
        std::vector<SZtAudioMonoVolumeInfo> given(volumes, volumes == nullptr ? volumes : volumes + volumeCount);
        const bool hasNull = HasNull({input, output}) || given.empty();
        return Through({"volume", {input}, {output}, hasNull, given.data(), given.size()},
                       [&] { return real_->ApplyVolume(input, output, volumes, volumeCount); });
    }
    int CreateAudioResampler(SZtaWaveFormatInfo* in, SZtaWaveFormatInfo* out, IUnknown** resampler) override
    {
        const int status = real_->CreateAudioResampler(in, out, resampler);
        return status < 0 && Is("operation.resample.creation") ? ZT_E_FAIL : status;
    }
    int ProcessAudioResampler(IZtAudioSamples* input, IZtAudioSamples* output, EZtAudioResamplerMode mode,
                              IUnknown* resampler) override
    {
        return Through({"resample", {input}, {output}, HasNull({input, output}), nullptr, 0, mode},
                       [&] { return real_->ProcessAudioResampler(input, output, mode, resampler); });
    }

private:
    template <class Run>
    static int OneToOne(const char* operation, IZtAudioSamples* in, IZtAudioSamples* out, Run run)
    {
        return Through({operation, {in}, {out}, HasNull({in, out})}, run);
    }

    template <class Run>
    static int Mux(const char* operation, bool assembly, IZtAudioSamples** array, unsigned long count,
                   IZtAudioSamples* mux, SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount, Run run)
    {
        const Buffers entries = Entries(array, count);
        const Buffers one = {mux};
        const bool hasNull = HasNull(entries) || mux == nullptr || (volumes == nullptr && volumeCount != 0);
        return Through({operation, assembly ? entries : one, assembly ? one : entries, hasNull, volumes, volumeCount},
                       run);
    }

    IZtaAudioSamplesEngine* real_;
};

class BrokenEngineFactory : public IZtaAudioSamplesEngineFactory {
public:
    explicit BrokenEngineFactory(IZtaAudioSamplesEngineFactory* real) : real_(real) {}
    virtual ~BrokenEngineFactory() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = real_->QueryInterface(riid, ppv);
        if (status >= 0) {
            *ppv = static_cast<IUnknown*>(this);
        }
        return status;
    }
    unsigned long AddRef() override { return real_->AddRef(); }
    unsigned long Release() override
    {
        const unsigned long left = real_->Release();
        if (left == 0) {
            delete this;
        }
        return left;
    }

    int CreateAudioSamplesEngine(IZtQuonEnginePrivate* host, unsigned long reserved,
                                 IZtaAudioSamplesEngine** engine) override
    {
        IZtaAudioSamplesEngine* real = nullptr;
        if (Is("garbage")) {
            *engine = reinterpret_cast<IZtaAudioSamplesEngine*>(std::uintptr_t{0x123456});
            return ZT_NOERROR;
        }
        const int status = real_->CreateAudioSamplesEngine(host, reserved, &real);
        if (status < 0 && Is("engine.refused-buffer")) {
            real->Release();
            return status;
        }
        *engine = new BrokenEngine(real);
        if (Is("engine.creation")) {
            real->AddRef();
        } else if (Is("engine.host")) {
            host->AddRef();
        } else if (Is("engine.pool")) {
            AskForOneMore(*host);
        }
        return status;
    }

private:
    static void AskForOneMore(IZtQuonEnginePrivate& host)
    {
        SZtCreateAudioSamplesDescription request{};
        request.ulSize = sizeof(request);
        request.ui64BufferSize = 192000;
        request.ulHostAttribute = 1;
        request.sWaveFormat = zta::host::MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 32);
        IZtAudioSamples* samples = nullptr;
        if (host.CreateAudioSamples(&request, &samples) >= 0) {
            samples->Release();
        }
    }

    IZtaAudioSamplesEngineFactory* real_;
};

class BrokenClassFactory : public IClassFactory {
public:
    explicit BrokenClassFactory(IClassFactory* real) : real_(real) {}
    virtual ~BrokenClassFactory() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = real_->QueryInterface(riid, ppv);
        if (status >= 0) {
            *ppv = static_cast<IUnknown*>(this);
            if (Is("class.factory")) {
                real_->AddRef();
            }
        }
        return status;
    }
    unsigned long AddRef() override { return real_->AddRef(); }
    unsigned long Release() override
    {
        const unsigned long left = real_->Release();
        if (left == 0) {
            delete this;
        }
        return left;
    }

    int CreateInstance(IUnknown* outer, const _GUID& riid, void** ppv) override
    {
        const int status = real_->CreateInstance(Is("class.aggregation") ? nullptr : outer, riid, ppv);
        const bool isFactory = std::memcmp(&riid, &IID_IZtaAudioSamplesEngineFactory, sizeof(riid)) == 0;
        if (status >= 0 && isFactory) {
            *ppv = new BrokenEngineFactory(static_cast<IZtaAudioSamplesEngineFactory*>(*ppv));
        } else if (status < 0 && Is("class.instances")) {
            *ppv = this;
        } else if (status < 0 && Is("class.instances~left-over")) {
            real_->AddRef();
        }
        return status;
    }
    int LockServer(int lock) override { return Is("module.locks") ? ZT_NOERROR : real_->LockServer(lock); }

private:
    IClassFactory* real_;
};

/// How often a module has been loaded into this process, told from one time to the next.
int CountLoads()
{
    const char* before = std::getenv("BROKEN_MODULE_LOADS");
    const int loads = (before != nullptr ? std::atoi(before) : 0) + 1;
    setenv("BROKEN_MODULE_LOADS", std::to_string(loads).c_str(), 1);
    return loads;
}

void BreakLoad()
{
    Dl_info info{};
    if (Is("module.unloads")) {
        dladdr(reinterpret_cast<const void*>(&BreakLoad), &info);
        dlopen(info.dli_fname, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    } else if (Is("module.reloads") && CountLoads() > 2) {
        std::abort();
    } else if (Is("module.traces")) {
        std::thread([] { pause(); }).detach();
    } else if (Is("module.traces~file")) {
        static_cast<void>(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
}

SZtVersionInfo MakeVersion()
{
    SZtVersionInfo info = *Real<const SZtVersionInfo*>("g_achVersionInfo");
    if (Is("module.version")) {
        info.achRevision[0] = 'x';
    }
    return info;
}

std::string RegistrationFile()
{
    const char* folder = std::getenv("ORBUTILS");
    return folder != nullptr ? std::string(folder) + "/CLSIDs" : "";
}

} // namespace

const SZtVersionInfo g_achVersionInfo = MakeVersion();

extern "C" {

int DllEntryPoint(unsigned int instance, void* reason)
{
    if (reason == reinterpret_cast<void*>(kZtModuleLoad)) {
        BreakLoad();
    }
    const int answer = Real<decltype(&DllEntryPoint)>("DllEntryPoint")(instance, reason);
    return Is("module.entry") ? 0 : answer;
}

int DllCanUnloadNow()
{
    if (Is("module.can-unload") || Is("module.can-unload~never")) {
        return Is("module.can-unload") ? 0 : 1;
    }
    return Real<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")();
}

int DllGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv)
{
    const int status = Real<decltype(&DllGetClassObject)>("DllGetClassObject")(rclsid, riid, ppv);
    if (status >= 0) {
        *ppv = new BrokenClassFactory(static_cast<IClassFactory*>(*ppv));
    } else if (Is("class.wrong-class")) {
        return E_NOINTERFACE;
    } else if (Is("class.wrong-class~output") || Is("class.wrong-interface")) {
        *ppv = nullptr;
    } else if (Is("class.wrong-interface~status")) {
        return CLASS_E_NOAGGREGATION;
    }
    return status;
}

int DllUnregisterServer()
{
    if (Is("registration.removes")) {
        return ZT_NOERROR;
    }
    const int status = Real<decltype(&DllUnregisterServer)>("DllUnregisterServer")();
    return Is("registration.needs-folder") ? ZT_NOERROR : status;
}

int DllRegisterServer(const wchar_t* path)
{
    const std::string file = RegistrationFile();
    if (Is("registration.keeps-others")) {
        unlink(file.c_str());
    } else if (Is("registration.prints")) {
        std::fputws(L"registering\n", stdout);
    }
    const int status = Real<decltype(&DllRegisterServer)>("DllRegisterServer")(path);
    if (Is("registration.writes")) {
        if (std::FILE* more = std::fopen(file.c_str(), "ae")) {
            std::fputs(" one=more\n", more);
            std::fclose(more);
        }
    }
    return status;
}

int ZtInternalGetClassObject(const _GUID& rclsid, const _GUID& riid, void** ppv)
{
    return Real<decltype(&ZtInternalGetClassObject)>("ZtInternalGetClassObject")(rclsid, riid, ppv);
}

int ZtInternalRegisterServer(_GUID clsid, const wchar_t* name, const wchar_t* path)
{
    return Real<decltype(&ZtInternalRegisterServer)>("ZtInternalRegisterServer")(clsid, name, path);
}

int ZtInternalUnregisterServer(_GUID clsid)
{
    return Real<decltype(&ZtInternalUnregisterServer)>("ZtInternalUnregisterServer")(clsid);
}

int ZtInternalRegisterAllServers(const wchar_t* path)
{
    return Real<decltype(&ZtInternalRegisterAllServers)>("ZtInternalRegisterAllServers")(path);
}

int ZtInternalUnregisterAllServers()
{
    return Real<decltype(&ZtInternalUnregisterAllServers)>("ZtInternalUnregisterAllServers")();
}

const wchar_t* ztErrorToString(int code)
{
    if (Is("module.texts") && code == ZT_E_MODULE_BUSY) {
        return L"ZT_E_MODULE_BUSY: busy";
    }
    return Real<decltype(&ztErrorToString)>("ztErrorToString")(code);
}

} // extern "C"
