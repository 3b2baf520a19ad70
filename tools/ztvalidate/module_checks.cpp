// The module as a file, its entry, its class objects, its engine, its registration, and how it leaves.

#include "host/host_engine.h"
#include "tools/ztvalidate/operations.h"
#include "tools/ztvalidate/session.h"

#include <zta/error_text.h>
#include <zta/status.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

namespace zta::validate {

namespace {

using host::kInjectedFailure;
using host::Ref;

constexpr _GUID kUnknownId = {0x5A544156, 0x0000, 0x0000, {1, 2, 3, 4, 5, 6, 7, 8}};

/// What stands in an output that must be left alone.
void* const kUntouched = reinterpret_cast<void*>(std::uintptr_t{0x5A5A5A5A});

auto GetClassObject(const host::Module& module)
{
    return module.Symbol<decltype(&DllGetClassObject)>("DllGetClassObject");
}

Ref<IClassFactory> MakeClassFactory(const host::Module& module)
{
    void* object = nullptr;
    RequireStatus(GetClassObject(module)(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object), ZT_NOERROR,
                  "DllGetClassObject for the engine's class");
    Require(object != nullptr, "DllGetClassObject succeeds and gives nothing");
    return Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));
}

Ref<IZtaAudioSamplesEngineFactory> MakeEngineFactory(IClassFactory& classFactory)
{
    void* object = nullptr;
    RequireStatus(classFactory.CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &object), ZT_NOERROR,
                  "CreateInstance for the engine factory");
    Require(object != nullptr, "CreateInstance succeeds and gives nothing");
    return Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(object));
}

void RequireCanUnload(const host::Module& module, bool expected, const std::string& when)
{
    const int answer = module.Symbol<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")();
    Require(answer == (expected ? 0 : 1),
            "DllCanUnloadNow says " + std::to_string(answer) + " " + when + ", not " + (expected ? "0" : "1"));
}

// ---- The file ----

void CheckLoads(const Context& context)
{
    void* handle = dlopen(context.subject.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw CheckFailure(dlerror());
    }
}

void CheckExports(const Context& context)
{
    void* handle = dlopen(context.subject.c_str(), RTLD_NOW | RTLD_LOCAL);
    Require(handle != nullptr, "cannot be loaded");
    std::string missing;
    for (const char* name :
         {"DllEntryPoint", "DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer",
          "ZtInternalGetClassObject", "ZtInternalRegisterServer", "ZtInternalUnregisterServer",
          "ZtInternalRegisterAllServers", "ZtInternalUnregisterAllServers", "ztErrorToString", "g_achVersionInfo"}) {
        if (dlsym(handle, name) == nullptr) {
            missing += std::string(missing.empty() ? "" : ", ") + name;
        }
    }
    Require(missing.empty(), "it does not export " + missing);
}

void CheckBinding(const Context& context)
{
    void* handle = dlopen(context.subject.c_str(), RTLD_NOW | RTLD_LOCAL);
    link_map* map = nullptr;
    Require(handle != nullptr && dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0, "cannot be loaded");
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_BIND_NOW || (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_BIND_NOW) != 0) ||
            (entry->d_tag == DT_FLAGS_1 && (entry->d_un.d_val & DF_1_NOW) != 0)) {
            return;
        }
    }
    throw CheckWarning("it is not linked with -z now: in a host that loads it lazily, a first call takes the loader's "
                       "lock on whatever thread it is made");
}

void CheckVersion(const Context& context)
{
    const host::Module module(context.subject);
    const SZtVersionInfo info = module.VersionInfo();
    const bool hexadecimal = std::all_of(std::begin(info.achRevision), std::end(info.achRevision),
                                         [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
    const bool decimal = std::isdigit(static_cast<unsigned char>(info.achBuild[0])) != 0;
    if (!hexadecimal || !decimal || info.achRelease[0] == '\0' || std::end(info.achRelease)[-1] != '\0' ||
        std::end(info.achBuild)[-1] != '\0') {
        throw CheckWarning("the version record does not hold 40 hexadecimal digits, a release and a build number");
    }
}

const std::pair<std::uint32_t, const wchar_t*> kTexts[] = {
#define ZTA_STATUS_ENTRY(code, name, description) {code, L"" #name ": " description},
#include <zta/status_codes.def>
};

void CheckStatusTexts(const Context& context)
{
    const host::Module module(context.subject);
    const auto text = module.Symbol<decltype(&ztErrorToString)>("ztErrorToString");
    const auto require = [&](std::uint32_t code, const wchar_t* expected) {
        const wchar_t* actual = text(static_cast<int>(code));
        Require(actual != nullptr && std::wcscmp(actual, expected) == 0,
                "the text of " + StatusText(static_cast<int>(code)) + " is another");
    };
    for (const auto& [code, expected] : kTexts) {
        require(code, expected);
    }
    require(2, L"Unknown error");
    require(0x7FFFFFFF, L"Unknown error");
}

// ---- Entry and unload ----

void CheckEntry(const Context& context)
{
    const host::Module module(context.subject);
    const auto enter = module.Symbol<decltype(&DllEntryPoint)>("DllEntryPoint");
    for (const unsigned long reason : {kZtModuleLoad, 2UL, kZtModuleUnload, kZtModuleLoad}) {
        const int answer = enter(7, reinterpret_cast<void*>(reason));
        Require(answer == 1, "DllEntryPoint gives " + std::to_string(answer) + " for reason " + std::to_string(reason));
    }
}

void CheckCanUnload(const Context& context)
{
    const host::Module module(context.subject);
    RequireCanUnload(module, true, "when nothing has been made");
    auto classFactory = MakeClassFactory(module);
    RequireCanUnload(module, false, "while a class factory is alive");
    auto factory = MakeEngineFactory(*classFactory);
    classFactory.Reset();
    RequireCanUnload(module, false, "while an engine factory is alive");
    const auto host = host::HostEngine::Create();
    Ref<IZtaAudioSamplesEngine> engine;
    RequireStatus(factory->CreateAudioSamplesEngine(host.Get(), 0, engine.Put()), ZT_NOERROR,
                  "CreateAudioSamplesEngine");
    factory.Reset();
    RequireCanUnload(module, false, "while an engine is alive");
    auto stream = MakeStream(*engine, host::Pcm16(1, 44100), host::Pcm16(1, 48000));
    engine.Reset();
    RequireCanUnload(module, false, "while a resampler is alive");
    stream.Reset();
    RequireCanUnload(module, true, "when everything has been released");
}

void CheckLocks(const Context& context)
{
    const host::Module module(context.subject);
    auto classFactory = MakeClassFactory(module);
    RequireStatus(classFactory->LockServer(1), ZT_NOERROR, "LockServer(1)");
    RequireStatus(classFactory->LockServer(5), ZT_NOERROR, "LockServer(5)");
    classFactory.Reset();
    RequireCanUnload(module, false, "while two locks are in force");
    classFactory = MakeClassFactory(module);
    RequireStatus(classFactory->LockServer(0), ZT_NOERROR, "LockServer(0)");
    classFactory.Reset();
    RequireCanUnload(module, false, "while one lock is in force");
    classFactory = MakeClassFactory(module);
    RequireStatus(classFactory->LockServer(0), ZT_NOERROR, "LockServer(0)");
    classFactory.Reset();
    RequireCanUnload(module, true, "when the locks have been taken back");
}

bool IsMapped(const std::string& path)
{
    const std::string name = std::filesystem::canonical(path);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with(name)) {
            return true;
        }
    }
    return false;
}

void UseAndUnload(const Context& context)
{
    host::Module module(context.subject);
    const auto host = host::HostEngine::Create();
    module.CreateEngine(*host).Reset();
    RequireCanUnload(module, true, "when everything has been released");
    module.Unload();
}

void CheckUnloads(const Context& context)
{
    UseAndUnload(context);
    Require(!IsMapped(context.subject), "the file is still in the process after dlclose");
}

void CheckReloads(const Context& context)
{
    for (int round = 1; round <= 5; ++round) {
        UseAndUnload(context);
    }
}

std::size_t EntriesOf(const char* folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

void CheckTraces(const Context& context)
{
    const std::size_t threads = EntriesOf("/proc/self/task");
    const std::size_t files = EntriesOf("/proc/self/fd");
    Session session(context);
    Call call(session, Operations().front(), Operations().front().shape);
    RequireStatus(call.Run(), ZT_NOERROR, "a copy");
    Require(EntriesOf("/proc/self/task") == threads, "it runs a thread of its own");
    Require(EntriesOf("/proc/self/fd") == files, "it keeps a file open");
}

// ---- Class objects ----

void CheckClassFactory(const Context& context)
{
    const host::Module module(context.subject);
    for (const _GUID& id : {IID_IClassFactory, IID_IUnknown}) {
        void* object = nullptr;
        RequireStatus(GetClassObject(module)(CLSID_ZtaAudioSamplesEngine, id, &object), ZT_NOERROR,
                      "DllGetClassObject");
        Require(object != nullptr, "DllGetClassObject succeeds and gives nothing");
        const auto factory = Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));
        Require(factory->AddRef() == 2 && factory->Release() == 1, "a new class factory has not one reference");
        for (const _GUID& answered : {IID_IClassFactory, IID_IUnknown}) {
            object = nullptr;
            RequireStatus(factory->QueryInterface(answered, &object), ZT_NOERROR, "a query of the class factory");
            Require(object == factory.Get(), "a query of the class factory gives another object");
            Require(factory->Release() == 1, "a query of the class factory does not add one reference");
        }
        object = kUntouched;
        RequireStatus(factory->QueryInterface(kUnknownId, &object), E_NOINTERFACE,
                      "a query of the class factory for an unknown interface");
    }
}

void CheckWrongClass(const Context& context)
{
    const host::Module module(context.subject);
    void* object = kUntouched;
    RequireStatus(GetClassObject(module)(kUnknownId, IID_IClassFactory, &object), CLASS_E_NOAGGREGATION,
                  "an unknown class");
    Require(object == kUntouched, "an unknown class changes the output");
    RequireStatus(GetClassObject(module)(kUnknownId, IID_IClassFactory, nullptr), CLASS_E_NOAGGREGATION,
                  "an unknown class with a null output");
    RequireCanUnload(module, true, "after a refusal");
}

void CheckWrongInterface(const Context& context)
{
    const host::Module module(context.subject);
    for (const _GUID& classId : {CLSID_ZtaAudioSamplesEngine, kUnknownId}) {
        void* object = kUntouched;
        RequireStatus(GetClassObject(module)(classId, kUnknownId, &object), E_NOINTERFACE, "an unknown interface");
        Require(object == kUntouched, "an unknown interface changes the output");
        RequireStatus(GetClassObject(module)(classId, kUnknownId, nullptr), E_NOINTERFACE,
                      "an unknown interface with a null output");
    }
    RequireCanUnload(module, true, "after a refusal");
}

void CheckInstances(const Context& context)
{
    const host::Module module(context.subject);
    auto classFactory = MakeClassFactory(module);
    auto factory = MakeEngineFactory(*classFactory);
    Require(factory->AddRef() == 2 && factory->Release() == 1, "a new engine factory has not one reference");
    void* object = nullptr;
    RequireStatus(factory->QueryInterface(IID_IZtaAudioSamplesEngineFactory, &object), ZT_NOERROR,
                  "a query of the engine factory");
    Require(object == factory.Get() && factory->Release() == 1, "a query of the engine factory is not counted");
    factory.Reset();

    object = kUntouched;
    RequireStatus(classFactory->CreateInstance(nullptr, kUnknownId, &object), E_NOINTERFACE,
                  "CreateInstance for an unknown interface");
    Require(object == nullptr, "CreateInstance for an unknown interface leaves the output as it was");
    classFactory.Reset();
    RequireCanUnload(module, true, "after a refused instance");
}

/// An outer object that never goes away.
class Outer : public IUnknown {
public:
    int QueryInterface(const _GUID& /*riid*/, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

void CheckAggregation(const Context& context)
{
    const host::Module module(context.subject);
    auto classFactory = MakeClassFactory(module);
    Outer outer;
    void* object = nullptr;
    RequireStatus(classFactory->CreateInstance(&outer, IID_IZtaAudioSamplesEngineFactory, &object), E_NOINTERFACE,
                  "aggregation with another interface than IID_IUnknown");
    RequireStatus(classFactory->CreateInstance(&outer, IID_IUnknown, &object), ZT_NOERROR,
                  "aggregation with IID_IUnknown");
    Require(object != nullptr, "aggregation succeeds and gives nothing");
    Ref<IUnknown>::Adopt(static_cast<IUnknown*>(object)).Reset();
    classFactory.Reset();
    RequireCanUnload(module, true, "after an aggregated object has gone");
}

// ---- The engine ----

void CheckCreation(const Context& context)
{
    Session session(context);
    Require(session.engine.Get() != nullptr, "CreateAudioSamplesEngine succeeds and gives nothing");
    Require(session.engine->AddRef() == 2 && session.engine->Release() == 1, "a new engine has not one reference");
}

void CheckPool(const Context& context)
{
    const long before = host::AudioBuffer::LiveCount();
    Session session(context);
    const auto& requests = session.host.CreationRequests();
    Require(requests.size() == 131, "an engine asks for " + std::to_string(requests.size()) + " buffers, not 131");
    SZtCreateAudioSamplesDescription expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.ulSize = sizeof(expected);
    expected.ui64BufferSize = 192000;
    expected.ulHostAttribute = 1;
    expected.sWaveFormat = host::MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 32);
    for (const SZtCreateAudioSamplesDescription& request : requests) {
        // Field by field: what stands between the fields does not matter.
        Require(request.ulSize == expected.ulSize && request.ui64BufferSize == expected.ui64BufferSize &&
                    request.ePolarity == expected.ePolarity && request.ulHostAttribute == expected.ulHostAttribute &&
                    !request.bFadeIn && !request.bFadeOut &&
                    std::memcmp(&request.sWaveFormat, &expected.sWaveFormat, sizeof(expected.sWaveFormat)) == 0,
                "a request for a buffer has other values than those that hosts know");
    }
    for (const Operation& operation : Operations()) {
        Call call(session, operation, operation.shape);
        RequireStatus(call.Run(), ZT_NOERROR, operation.name);
    }
    Require(session.host.CreationCount() == 131, "an operation asks the host for a buffer");
    session.engine.Reset();
    Require(host::AudioBuffer::LiveCount() == before, "the engine does not give all buffers of its pool back");
}

/// A host engine that counts what is done to it.
class CountingHost : public IZtQuonEnginePrivate {
public:
    int QueryInterface(const _GUID& /*riid*/, void** ppv) override
    {
        ++uses;
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return static_cast<unsigned long>(++uses); }
    unsigned long Release() override { return static_cast<unsigned long>(++uses); }
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override
    {
        ++requests;
        *samples = host::AudioBuffer::Create(*description).Detach();
        return ZT_NOERROR;
    }

    int uses = 0;
    int requests = 0;
};

void CheckHostUse(const Context& context)
{
    host::Module module(context.subject);
    CountingHost host;
    auto engine = module.CreateEngine(host);
    engine.Reset();
    Require(host.uses == 0, "the engine queries the host object or counts references on it");
    Require(host.requests > 0, "the engine asks its host for no buffer");
}

void CheckRefusedBuffer(const Context& context)
{
    const host::Module module(context.subject);
    const long before = host::AudioBuffer::LiveCount();
    auto classFactory = MakeClassFactory(module);
    const auto factory = MakeEngineFactory(*classFactory);
    for (const int failing : {1, 4, 131}) {
        const std::string what = "the refusal of buffer " + std::to_string(failing);
        host::CallLog journal;
        host::RecordingHost host(journal);
        host.FailRequest(failing);
        Ref<IZtaAudioSamplesEngine> engine;
        RequireStatus(factory->CreateAudioSamplesEngine(&host, 0, engine.Put()), kInjectedFailure, what);
        Require(host.CreationCount() == failing, what + " does not end the creation");
        Require(static_cast<bool>(engine), what + ": no engine is handed out");
        engine.Reset();
        Require(host::AudioBuffer::LiveCount() == before, what + ": buffers of the pool are left over");
    }
}

void CheckEngineQuery(const Context& context)
{
    Session session(context);
    for (const _GUID& id : {IID_IZtaAudioSamplesEngine, IID_IUnknown}) {
        void* object = nullptr;
        RequireStatus(session.engine->QueryInterface(id, &object), ZT_NOERROR, "a query of the engine");
        Require(object != nullptr, "a query of the engine succeeds and gives nothing");
        Require(static_cast<IUnknown*>(object)->Release() == 1, "a query of the engine does not add one reference");
    }
    void* object = kUntouched;
    RequireStatus(session.engine->QueryInterface(kUnknownId, &object), E_NOINTERFACE,
                  "a query of the engine for an unknown interface");
    Require(object == nullptr, "a refused query of the engine does not clear its output");
}

void CheckEngineReferences(const Context& context)
{
    Session session(context);
    const long whole = host::AudioBuffer::LiveCount();
    session.engine->AddRef();
    session.engine->AddRef();
    Require(session.engine->Release() == 2, "Release gives another count than that of the references");
    Require(session.engine->Release() == 1, "Release gives another count than that of the references");
    Require(host::AudioBuffer::LiveCount() == whole, "an engine with references gives buffers back");
    session.engine.Reset();
    Require(host::AudioBuffer::LiveCount() == whole - 131, "an engine without references keeps its buffers");
    RequireCanUnload(session.module, true, "when the engine has been released");
}

// ---- Registration ----

constexpr char kClassLine[] = " {45F20097-F519-4DCF-80D8CC0D06CBF259}=";

/// The registration file in the check's folder, and what the module prints.
class Registry {
public:
    explicit Registry(const Context& context) : module(context.subject), file_(context.folder + "/CLSIDs")
    {
        setenv("ORBUTILS", context.folder.c_str(), 1);
    }

    [[nodiscard]] std::string Text() const
    {
        std::ifstream file(file_, std::ios::binary);
        Require(file.is_open(), "there is no file CLSIDs in the folder");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void Write(const std::string& text) const { std::ofstream(file_, std::ios::binary) << text; }

    int Register(const wchar_t* path) const
    {
        return module.Symbol<decltype(&DllRegisterServer)>("DllRegisterServer")(path);
    }

    int Unregister() const { return module.Symbol<decltype(&DllUnregisterServer)>("DllUnregisterServer")(); }

    host::Module module;

private:
    std::string file_;
};

void RequireText(const Registry& registry, const std::string& expected, const std::string& when)
{
    Require(registry.Text() == expected, "the file CLSIDs is not as it should be " + when);
}

void CheckRegisters(const Context& context)
{
    const Registry registry(context);
    for (const auto& [path, text] : {std::pair{L"/somewhere/first.so", "/somewhere/first.so"},
                                     std::pair{L"/somewhere/second.so", "/somewhere/second.so"}}) {
        RequireStatus(registry.Register(path), ZT_NOERROR, "DllRegisterServer");
        RequireText(registry, std::string(" [CLSID]\n") + kClassLine + text + "\n", "after a registration");
    }
    Require(EntriesOf(context.folder.c_str()) == 1, "there are other files than CLSIDs in the folder");
}

void CheckUnregisters(const Context& context)
{
    const Registry registry(context);
    RequireStatus(registry.Unregister(), ZT_NOERROR, "DllUnregisterServer without a registration");
    RequireStatus(registry.Register(L"/somewhere/first.so"), ZT_NOERROR, "DllRegisterServer");
    RequireStatus(registry.Unregister(), ZT_NOERROR, "DllUnregisterServer");
    Require(registry.Text().find("45F20097") == std::string::npos, "the class is still in the file CLSIDs");
}

void CheckKeepsOthers(const Context& context)
{
    const Registry registry(context);
    const std::string head = "# shared\n [CLSID]\n";
    const std::string other = " {00000000-0000-0000-0000000000000001}=/somewhere/other.so\n";
    registry.Write(head + other);
    RequireStatus(registry.Register(L"/somewhere/first.so"), ZT_NOERROR, "DllRegisterServer");
    RequireText(registry, head + kClassLine + "/somewhere/first.so\n" + other, "with a second class");
    RequireStatus(registry.Unregister(), ZT_NOERROR, "DllUnregisterServer");
    RequireText(registry, head + other, "when the other class is alone again");
}

void CheckNeedsFolder(const Context& context)
{
    const Registry registry(context);
    unsetenv("ORBUTILS");
    RequireStatus(registry.Register(L"/somewhere/first.so"), E_FAIL, "DllRegisterServer without ORBUTILS");
    RequireStatus(registry.Unregister(), E_FAIL, "DllUnregisterServer without ORBUTILS");
    Require(EntriesOf(context.folder.c_str()) == 0, "a failed registration writes a file");
}

void CheckPrints(const Context& context)
{
    // The module chooses how it writes, and the first write settles how the stream can be written from then on: so the
    // stream itself is led into a file, and the module's text is all that comes out.
    const std::string name = context.folder + "/printed";
    const Registry registry(context);
    Require(std::freopen(name.c_str(), "w", stdout) != nullptr, "cannot write " + name);
    registry.Register(L"/somewhere/first.so");
    registry.Unregister();
    std::fflush(stdout);
    std::ifstream file(name);
    const std::string printed{std::istreambuf_iterator<char>(file), {}};
    Require(printed == "- - Register KelvarVideo AudioSamples Engine\n- - Unregister KelvarVideo AudioSamples Engine\n",
            "it prints other lines than those that installers know");
}

} // namespace

std::vector<Check> ModuleChecks()
{
    std::vector<Check> checks = {
        {"module.loads", "The file is a shared object with all its names bound.", "", CheckLoads},
        {"module.exports", "Every function that a host looks up is there under its plain name.", "module.loads",
         CheckExports},
        {"module.binding", "Its own calls are bound when it is loaded.", "module.loads", CheckBinding},
        {"module.version", "The version record holds a revision, a release and a build number.", "module.loads",
         CheckVersion},
        {"module.texts", "Every status has its text, and everything else is \"Unknown error\".", "module.loads",
         CheckStatusTexts},
        {"module.entry", "DllEntryPoint answers 1 to load, to unload and to any other reason.", "module.loads",
         CheckEntry},
        {"module.can-unload", "DllCanUnloadNow tells the truth while objects of each kind come and go.", "module.loads",
         CheckCanUnload},
        {"module.locks", "LockServer keeps the module, once for each lock.", "module.loads", CheckLocks},
        {"module.unloads", "After its unload the file is gone from the process.", "module.loads", CheckUnloads},
        {"module.reloads", "It can be loaded, used and unloaded again and again.", "module.loads", CheckReloads},
        {"module.traces", "It has no thread of its own and keeps no file open.", "module.loads", CheckTraces},
        {"class.factory", "DllGetClassObject gives the class factory, which counts its references.", "module.loads",
         CheckClassFactory},
        {"class.wrong-class", "An unknown class is refused, and the output is left alone.", "module.loads",
         CheckWrongClass},
        {"class.wrong-interface",
         "An unknown interface is refused before the class is looked at, and the output is left alone.", "module.loads",
         CheckWrongInterface},
        {"class.instances", "CreateInstance makes engine factories, and nothing is left of a refused one.",
         "module.loads", CheckInstances},
        {"class.aggregation", "An outer object is taken with IID_IUnknown only.", "module.loads", CheckAggregation},
        {"engine.creation", "CreateAudioSamplesEngine gives an engine with one reference.", "module.loads",
         CheckCreation},
        {"engine.pool", "An engine asks for 131 buffers of 192000 bytes, once, and gives them back.", "engine.creation",
         CheckPool},
        {"engine.host", "The host object is neither queried nor kept.", "engine.creation", CheckHostUse},
        {"engine.refused-buffer", "A refused buffer is the status of the creation, and the engine can be released.",
         "engine.creation", CheckRefusedBuffer},
        {"engine.query", "The engine answers its two interfaces and refuses all others.", "engine.creation",
         CheckEngineQuery},
        {"engine.references", "The engine lives as long as it has references, and no longer.", "engine.creation",
         CheckEngineReferences},
        {"registration.writes", "DllRegisterServer writes the class with its path, and one line for it.",
         "module.loads", CheckRegisters, true},
        {"registration.removes", "DllUnregisterServer takes the class out, and does not mind if it is not there.",
         "module.loads", CheckUnregisters, true},
        {"registration.keeps-others", "The classes of other modules stay in the file.", "module.loads",
         CheckKeepsOthers, true},
        {"registration.needs-folder", "Without ORBUTILS both fail and write nothing.", "module.loads", CheckNeedsFolder,
         true},
        {"registration.prints", "Both print their line.", "module.loads", CheckPrints, true},
    };
    for (const auto& group : {OperationChecks(), RejectionChecks(), SampleChecks()}) {
        checks.insert(checks.end(), group.begin(), group.end());
    }
    return checks;
}

} // namespace zta::validate
