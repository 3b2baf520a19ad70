// A host as a stranger would write it. It loads, uses and unloads the module ten times and checks each step. It exits
// with 0 on success; otherwise it prints the first failed check to standard error and exits with 1.
//
// It stays independent of the shared test harness on purpose. It includes the public headers only, links no library of
// this project, finds the module's functions by dlopen and dlsym, defines no ZtLogger, and has its own buffer. The
// other tests share `host/` and `testing/`: a wrong assumption that this code has in common with the module passes all
// of them. Do not replace the buffer or the checks by shared ones. slots.c is the counterpart in C, which does not even
// share the headers.

#include <zta/zta.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include <dlfcn.h>

namespace {

int step = 0;

void Expect(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "round %d: check failed: %s\n", step, what);
        std::exit(1);
    }
}

bool SameId(const _GUID& first, const _GUID& second)
{
    return std::memcmp(&first, &second, sizeof(_GUID)) == 0;
}

/// A minimal buffer.
class Buffer final : public IZtAudioSamples {
public:
    Buffer(const SZtaWaveFormatInfo& format, unsigned long capacity)
        : format_(format), data_(static_cast<unsigned char*>(std::calloc(1, capacity))), capacity_(capacity)
    {
        ++alive;
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const bool known = SameId(riid, IID_IZtAVContent);
        *ppv = known ? this : nullptr;
        references_ += known ? 1 : 0;
        return known ? ZT_NOERROR : E_NOINTERFACE;
    }
    unsigned long AddRef() override { return ++references_; }
    unsigned long Release() override
    {
        const unsigned long left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    int MarkWriteStartTime() override { return ZT_NOERROR; }
    int MarkWriteStopTime() override { return ZT_NOERROR; }
    int SignalReadCompletion() override { return --open_reads, ZT_NOERROR; }
    int SignalWriteCompletion() override { return --open_writes, ZT_NOERROR; }
    int SetErrorCode(int code) override { return error = code, ZT_NOERROR; }
    int GetErrorCode(int* code) override { return *code = error, ZT_NOERROR; }

    int SetPolarity(std::uint32_t) override { return ZT_NOERROR; }
    int SetWaveFormat(SZtaWaveFormatInfo* format) override { return format_ = *format, ZT_NOERROR; }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        *description = {sizeof(SZtAudioSamplesDescription), 0, 0, false, false, format_};
        return ZT_NOERROR;
    }
    int GetBufferAndLength(void** data, unsigned long* length) override
    {
        *data = data_;
        *length = length_;
        return ZT_NOERROR;
    }
    int GetBufferCapacity(unsigned long* capacity) override { return *capacity = capacity_, ZT_NOERROR; }
    int GetLengthInSampleFrames(unsigned long* frames) override
    {
        *frames = length_ / ((format_.ulBitsPerSample >> 3) * format_.ulChannels);
        return ZT_NOERROR;
    }
    int SetFadeIn(bool) override { return ZT_NOERROR; }
    int SetFadeOut(bool) override { return ZT_NOERROR; }
    int SetLength(unsigned long length) override { return length_ = length, ZT_NOERROR; }

    unsigned char* Data() { return data_; }

    int open_reads = 0;
    int open_writes = 0;
    int error = 0;
    static inline int alive = 0;

private:
    ~Buffer()
    {
        std::free(data_);
        --alive;
    }

    SZtaWaveFormatInfo format_;
    unsigned char* data_;
    unsigned long capacity_;
    unsigned long length_ = 0;
    unsigned long references_ = 1;
};

class Host final : public IZtQuonEnginePrivate {
public:
    int QueryInterface(const _GUID&, void** ppv) override { return *ppv = nullptr, E_NOINTERFACE; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* request, IZtAudioSamples** samples) override
    {
        *samples = new Buffer(request->sWaveFormat, request->ui64BufferSize);
        return ZT_NOERROR;
    }
};

void CopyBuffers(IZtaAudioSamplesEngine* engine)
{
    const SZtaWaveFormatInfo format = {sizeof(format), 2, keZtAudioDataTypePcm, 48000, 16, 16};
    auto* source = new Buffer(format, 4096);
    auto* destination = new Buffer(format, 4096);
    auto* small = new Buffer(format, 4092);
    for (int i = 0; i < 4096; ++i) {
        source->Data()[i] = static_cast<unsigned char>(i * 7);
    }
    source->SetLength(4096);

    source->open_reads = 1;
    destination->open_writes = 1;
    Expect(engine->CopyAudioSamples(source, destination) == ZT_NOERROR, "a copy succeeds");
    Expect(std::memcmp(source->Data(), destination->Data(), 4096) == 0, "the copy holds the source's bytes");
    Expect(source->open_reads == 0 && destination->open_writes == 0, "each announced access is signaled once");

    // On a failure the module checks for a logger; this program has none.
    source->open_reads = 1;
    small->open_writes = 1;
    Expect(engine->CopyAudioSamples(source, small) == ZT_E_DESTINATION_BUFFER_TOO_SMALL,
           "a copy that does not fit is rejected");
    Expect(small->error == ZT_E_DESTINATION_BUFFER_TOO_SMALL, "the failure is recorded on the destination");
    Expect(source->open_reads == 0 && small->open_writes == 0, "a failed copy signals its buffers");

    Expect(source->Release() == 0, "the source has no other reference");
    Expect(destination->Release() == 0, "the destination has no other reference");
    // The failed byte copy leaks a reference of the destination.
    Expect(small->Release() == 1 && small->Release() == 0, "one reference of the failed destination is leaked");
}

bool IsMapped(const char* path)
{
    std::FILE* maps = std::fopen("/proc/self/maps", "re");
    Expect(maps != nullptr, "/proc/self/maps is readable");
    char resolved[4096];
    Expect(realpath(path, resolved) != nullptr, "the module's path resolves");
    bool found = false;
    char line[8192];
    while (std::fgets(line, sizeof(line), maps) != nullptr) {
        found = found || std::strstr(line, resolved) != nullptr;
    }
    std::fclose(maps);
    return found;
}

template <class Function>
Function Find(void* module, const char* name)
{
    void* address = dlsym(module, name);
    Expect(address != nullptr, name);
    return reinterpret_cast<Function>(address);
}

void UseModule(const char* path)
{
    Expect(!IsMapped(path), "the module is not mapped before it is loaded");
    void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
    Expect(IsMapped(path), "the module is mapped after it is loaded");

    const auto enter = Find<decltype(&DllEntryPoint)>(module, "DllEntryPoint");
    const auto canUnload = Find<decltype(&DllCanUnloadNow)>(module, "DllCanUnloadNow");
    const auto getClassObject = Find<decltype(&DllGetClassObject)>(module, "DllGetClassObject");
    const auto errorToString = Find<decltype(&ztErrorToString)>(module, "ztErrorToString");
    const auto& version = *Find<const SZtVersionInfo*>(module, "g_achVersionInfo");

    Expect(enter(42, reinterpret_cast<void*>(kZtModuleLoad)) == 1, "DllEntryPoint returns 1 at load");
    Expect(*Find<unsigned int*>(module, "g_hInst") == 42, "the module stores its number");
    Expect(version.achBuild[sizeof(version.achBuild) - 1] == '\0', "the version record ends in NUL");
    Expect(std::wcscmp(errorToString(0), L"ZT_NOERROR: No error") == 0, "the module has the texts of the status codes");
    Expect(canUnload() == 0, "a new module can be unloaded");

    void* object = nullptr;
    Expect(getClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object) == ZT_NOERROR, "the class is known");
    auto* classFactory = static_cast<IClassFactory*>(object);
    Expect(canUnload() == 1, "a class factory keeps the module");
    Expect(classFactory->LockServer(1) == ZT_NOERROR, "the module can be locked");

    Expect(classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &object) == ZT_NOERROR,
           "the class factory creates the engine factory");
    auto* factory = static_cast<IZtaAudioSamplesEngineFactory*>(object);
    Expect(classFactory->Release() == 0, "the class factory has no other reference");
    Expect(canUnload() == 1, "the engine factory keeps the module");

    {
        Host host;
        IZtaAudioSamplesEngine* engine = nullptr;
        Expect(factory->CreateAudioSamplesEngine(&host, 0, &engine) == ZT_NOERROR, "an engine is created");
        Expect(Buffer::alive == 131, "the engine has its scratch buffers");
        Expect(factory->Release() == 0, "the engine factory has no other reference");
        Expect(canUnload() == 1, "an engine keeps the module");

        CopyBuffers(engine);
        Expect(engine->Release() == 0, "the engine has no other reference");
    }
    Expect(Buffer::alive == 0, "the engine releases its scratch buffers");

    Expect(canUnload() == 1, "a lock keeps the module");
    Expect(getClassObject(CLSID_ZtaAudioSamplesEngine, IID_IUnknown, &object) == ZT_NOERROR,
           "the class is still known");
    classFactory = static_cast<IClassFactory*>(object);
    Expect(classFactory->LockServer(0) == ZT_NOERROR, "the lock can be removed");
    Expect(canUnload() == 1, "the second class factory keeps the module");
    Expect(classFactory->Release() == 0, "the second class factory has no other reference");
    Expect(canUnload() == 0, "a module without objects and locks can be unloaded");

    Expect(enter(42, reinterpret_cast<void*>(kZtModuleUnload)) == 1, "DllEntryPoint returns 1 at unload");
    Expect(dlclose(module) == 0, "the module can be closed");
    Expect(!IsMapped(path), "the module is not mapped after it is closed");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s MODULE\n", argv[0]);
        return 2;
    }
    for (step = 1; step <= 10; ++step) {
        UseModule(argv[1]);
    }
    return 0;
}
