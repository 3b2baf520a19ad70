// Checks of the module as a file, of its entry point, its class objects, its engine, its registration, and its unload.

#include "tools/ztvalidate/library.h"
#include "tools/ztvalidate/operations.h"
#include "tools/ztvalidate/query_checks.h"
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
#include <new>

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

namespace zta::validate {

namespace {

using host::kInjectedFailure;
using host::Ref;

auto GetClassObject(const host::Module& module)
{
    return module.Symbol<decltype(&DllGetClassObject)>("DllGetClassObject");
}

Ref<IClassFactory> MakeClassFactory(const host::Module& module)
{
    void* object = nullptr;
    RequireStatus(GetClassObject(module)(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object), ZT_NOERROR,
                  "DllGetClassObject for the engine's class");
    RequireObject(object, "DllGetClassObject");
    return Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));
}

Ref<IZtaAudioSamplesEngineFactory> MakeEngineFactory(IClassFactory& classFactory)
{
    void* object = nullptr;
    RequireStatus(classFactory.CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &object), ZT_NOERROR,
                  "CreateInstance for the engine factory");
    RequireObject(object, "CreateInstance");
    return Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(object));
}

void RequireCanUnload(const host::Module& module, bool expected, const std::string& when)
{
    const int result = module.Symbol<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")();
    Require(result == (expected ? 0 : 1),
            "DllCanUnloadNow returns " + std::to_string(result) + " " + when + ", not " + (expected ? "0" : "1"));
}

// ---- The file ----

void CheckLoads(const Context& context)
{
    const Library library(context.subject);
}

void CheckExports(const Context& context)
{
    const Library library(context.subject);
    std::string missing;
    for (const char* name :
         {"DllEntryPoint", "DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer",
          "ZtInternalGetClassObject", "ZtInternalRegisterServer", "ZtInternalUnregisterServer",
          "ZtInternalRegisterAllServers", "ZtInternalUnregisterAllServers", "ztErrorToString", "g_achVersionInfo"}) {
        if (library.Find<void*>(name) == nullptr) {
            missing += std::string(missing.empty() ? "" : ", ") + name;
        }
    }
    Require(missing.empty(), "it does not export " + missing);
}

void CheckBinding(const Context& context)
{
    const Library library(context.subject);
    link_map* map = nullptr;
    Require(dlinfo(library.Handle(), RTLD_DI_LINKMAP, &map) == 0, "the loader has no record of it");
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_BIND_NOW || (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_BIND_NOW) != 0) ||
            (entry->d_tag == DT_FLAGS_1 && (entry->d_un.d_val & DF_1_NOW) != 0)) {
            return;
        }
    }
    throw CheckWarning("it is not linked with -z now: in a host that loads it lazily, the first call of a function "
                       "acquires the loader's lock on the calling thread");
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
                "the text of " + StatusText(static_cast<int>(code)) + " is wrong");
    };
    for (const auto& [code, expected] : kTexts) {
        require(code, expected);
    }
    require(2, L"Unknown error");
    require(0x7FFFFFFF, L"Unknown error");
}

// ---- Entry point and unload ----

void CheckEntryPoint(const Context& context)
{
    const host::Module module(context.subject);
    const auto enter = module.Symbol<decltype(&DllEntryPoint)>("DllEntryPoint");
    for (const unsigned long reason : {kZtModuleLoad, 2UL, kZtModuleUnload, kZtModuleLoad}) {
        const int result = enter(7, reinterpret_cast<void*>(reason));
        Require(result == 1,
                "DllEntryPoint returns " + std::to_string(result) + " for reason " + std::to_string(reason));
    }
}

void CheckCanUnload(const Context& context)
{
    const host::Module module(context.subject);
    RequireCanUnload(module, true, "before an object has been created");
    auto classFactory = MakeClassFactory(module);
    RequireCanUnload(module, false, "while a class factory is alive");
    auto factory = MakeEngineFactory(*classFactory);
    classFactory.Reset();
    RequireCanUnload(module, false, "while an engine factory is alive");
    PoolHost host;
    Ref<IZtaAudioSamplesEngine> engine;
    RequireStatus(factory->CreateAudioSamplesEngine(&host, 0, engine.Put()), ZT_NOERROR, "CreateAudioSamplesEngine");
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
    RequireCanUnload(module, true, "when the locks have been released");
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
    PoolHost host;
    module.CreateEngine(host).Reset();
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

std::size_t CountEntries(const char* folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

void CheckTraces(const Context& context)
{
    const std::size_t threads = CountEntries("/proc/self/task");
    const std::size_t files = CountEntries("/proc/self/fd");
    Session session(context);
    Call call(session, Operations().front(), Operations().front().shape);
    RequireStatus(call.Run(), ZT_NOERROR, "a copy");
    Require(CountEntries("/proc/self/task") == threads, "it runs a thread of its own");
    Require(CountEntries("/proc/self/fd") == files, "it keeps a file open");
}

// ---- Class objects ----

void CheckClassFactory(const Context& context)
{
    const host::Module module(context.subject);
    for (const _GUID& id : {IID_IClassFactory, IID_IUnknown}) {
        void* object = nullptr;
        RequireStatus(GetClassObject(module)(CLSID_ZtaAudioSamplesEngine, id, &object), ZT_NOERROR,
                      "DllGetClassObject");
        RequireObject(object, "DllGetClassObject");
        const auto factory = Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));
        RequireOneReference(*factory, "a new class factory");
        RequireInterfaces(*factory, {IID_IClassFactory, IID_IUnknown}, "the class factory", true);
        RequireNoOtherInterface(*factory, "the class factory", RejectedOutput::Free);
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
    RequireCanUnload(module, true, "after a rejection");
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
    RequireCanUnload(module, true, "after a rejection");
}

void CheckInstances(const Context& context)
{
    const host::Module module(context.subject);
    auto classFactory = MakeClassFactory(module);
    auto factory = MakeEngineFactory(*classFactory);
    RequireOneReference(*factory, "a new engine factory");
    RequireInterfaces(*factory, {IID_IZtaAudioSamplesEngineFactory}, "the engine factory", true);
    factory.Reset();

    void* object = kUntouched;
    RequireStatus(classFactory->CreateInstance(nullptr, kUnknownId, &object), E_NOINTERFACE,
                  "CreateInstance for an unknown interface");
    Require(object == nullptr, "CreateInstance for an unknown interface does not clear its output");
    classFactory.Reset();
    RequireCanUnload(module, true, "after a rejected request for an instance");
}

/// An outer object that is never deleted.
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
    RequireObject(object, "aggregation");
    Ref<IUnknown>::Adopt(static_cast<IUnknown*>(object)).Reset();
    classFactory.Reset();
    RequireCanUnload(module, true, "after an aggregated object has been released");
}

/// One line of the module's class table, as programs define it that use the exported class factory.
struct ClassTemplate {
    const wchar_t* name;
    const _GUID* classId;
    void* (*create)(IUnknown* outer, int* status);
    void (*initialize)(bool isLoading, const _GUID* classId);
    int (*registerClass)(bool registers, const _GUID* classId);
};

/// An object as another compiler may lay it out: a pointer to a table of three operations and two destructors, without
/// type information. Its construction fails.
struct FailedObject {
    const void* const* slots;
    int calls;
    int completeDestructions;
    int deletingDestructions;
};

FailedObject failedObject;

int FailingOperation(FailedObject* object)
{
    return ++object->calls;
}

const void* const kFailedObjectTable[] = {
    nullptr, // the offset to the top
    nullptr, // the type information
    reinterpret_cast<const void*>(&FailingOperation),
    reinterpret_cast<const void*>(&FailingOperation),
    reinterpret_cast<const void*>(&FailingOperation),
    reinterpret_cast<const void*>(+[](FailedObject* object) { ++object->completeDestructions; }),
    reinterpret_cast<const void*>(+[](FailedObject* object) { ++object->deletingDestructions; }),
};

void* CreateFailedObject(IUnknown* /*outer*/, int* status)
{
    failedObject = {&kFailedObjectTable[2], 0, 0, 0};
    *status = ZT_E_INVALID_POINTER;
    return &failedObject;
}

void CheckFailedInstance(const Context& context)
{
    const host::Module module(context.subject);
    const Library library(context.subject);
    const auto construct = library.Find<void (*)(void* factory, const ClassTemplate* entry)>(
        "_ZN15CZtClassFactoryC1EPK18CZtFactoryTemplate");
    if (construct == nullptr) {
        throw CheckSkipped("it does not export the class CZtClassFactory");
    }
    const ClassTemplate entry = {L"Failing", &kUnknownId, CreateFailedObject, nullptr, nullptr};
    // The object's pointer to its operations, the class and the reference count. The last Release frees it.
    void* const memory = ::operator new(3 * sizeof(void*));
    construct(memory, &entry);
    const auto factory = Ref<IClassFactory>::Retain(static_cast<IClassFactory*>(memory));
    void* object = kUntouched;
    const int status = factory->CreateInstance(nullptr, IID_IUnknown, &object);
    RequireStatus(status, ZT_E_INVALID_POINTER, "CreateInstance of a class whose construction fails");
    Require(object == kUntouched, "CreateInstance of a class whose construction fails changes its output");
    Require(failedObject.deletingDestructions == 1 && failedObject.completeDestructions == 0,
            "an object whose construction failed is destroyed " + std::to_string(failedObject.deletingDestructions) +
                " times through the slot of its deleting destructor, not once");
    Require(failedObject.calls == 0, "an operation of an object whose construction failed is called");
}

// ---- The engine ----

void CheckCreation(const Context& context)
{
    Session session(context);
    RequireObject(session.engine.Get(), "CreateAudioSamplesEngine");
    RequireOneReference(*session.engine, "a new engine");
}

void CheckPool(const Context& context)
{
    const long before = host::AudioBuffer::LiveCount();
    Session session(context);
    const auto& requests = session.host.CreationRequests();
    Require(requests.size() == 131, "an engine requests " + std::to_string(requests.size()) + " buffers, not 131");
    SZtCreateAudioSamplesDescription expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.ulSize = sizeof(expected);
    expected.ui64BufferSize = 192000;
    expected.ulHostAttribute = 1;
    expected.sWaveFormat = host::MakeFormat(2, keZtAudioDataTypePcm, 48000, 32, 32);
    for (const SZtCreateAudioSamplesDescription& request : requests) {
        // Field by field: the bytes between the fields have no meaning.
        Require(request.ulSize == expected.ulSize && request.ui64BufferSize == expected.ui64BufferSize &&
                    request.ePolarity == expected.ePolarity && request.ulHostAttribute == expected.ulHostAttribute &&
                    !request.bFadeIn && !request.bFadeOut &&
                    std::memcmp(&request.sWaveFormat, &expected.sWaveFormat, sizeof(expected.sWaveFormat)) == 0,
                "a request for a buffer has other values than hosts expect");
    }
    for (const Operation& operation : Operations()) {
        Call call(session, operation, operation.shape);
        RequireStatus(call.Run(), ZT_NOERROR, operation.name);
    }
    Require(session.host.CreationCount() == 131, "an operation requests a buffer from the host");
    session.engine.Reset();
    Require(host::AudioBuffer::LiveCount() == before, "the engine does not release all buffers of its pool");
}

/// A host engine that counts its calls.
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
    Require(host.requests > 0, "the engine requests no buffer from its host");
}

void CheckRejectedBuffer(const Context& context)
{
    const host::Module module(context.subject);
    const long before = host::AudioBuffer::LiveCount();
    auto classFactory = MakeClassFactory(module);
    const auto factory = MakeEngineFactory(*classFactory);
    for (const int failing : {1, 4, 131}) {
        const std::string what = "the rejection of buffer " + std::to_string(failing);
        PoolHost host;
        host.FailRequest(failing);
        Ref<IZtaAudioSamplesEngine> engine;
        RequireStatus(factory->CreateAudioSamplesEngine(&host, 0, engine.Put()), kInjectedFailure, what);
        Require(host.CreationCount() == failing, what + " does not end the creation");
        Require(static_cast<bool>(engine), what + ": no engine is returned");
        engine.Reset();
        Require(host::AudioBuffer::LiveCount() == before, what + ": buffers of the pool stay alive");
    }
}

void CheckEngineQuery(const Context& context)
{
    Session session(context);
    RequireInterfaces(*session.engine, {IID_IZtaAudioSamplesEngine, IID_IUnknown}, "the engine", true);
    RequireNoOtherInterface(*session.engine, "the engine", RejectedOutput::Cleared);
}

void CheckEngineReferences(const Context& context)
{
    Session session(context);
    const long whole = host::AudioBuffer::LiveCount();
    session.engine->AddRef();
    session.engine->AddRef();
    Require(session.engine->Release() == 2, "Release does not return the count of references");
    Require(session.engine->Release() == 1, "Release does not return the count of references");
    Require(host::AudioBuffer::LiveCount() == whole, "an engine with references releases buffers");
    session.engine.Reset();
    Require(host::AudioBuffer::LiveCount() == whole - 131, "an engine without references keeps its buffers");
    RequireCanUnload(session.module, true, "when the engine has been released");
}

// ---- Registration ----

constexpr char kClassLine[] = " {45F20097-F519-4DCF-80D8CC0D06CBF259}=";

/// The registration file in the check's folder. The module finds the folder by an environment variable.
class Registry {
public:
    explicit Registry(const Context& context) : module(context.subject), file_(context.folder + "/CLSIDs")
    {
        if (const char* folder = getenv("ORBUTILS")) {
            folderBefore_ = folder;
        }
        setenv("ORBUTILS", context.folder.c_str(), 1);
    }
    ~Registry()
    {
        if (folderBefore_.empty()) {
            unsetenv("ORBUTILS");
        } else {
            setenv("ORBUTILS", folderBefore_.c_str(), 1);
        }
    }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

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
    std::string folderBefore_;
};

void RequireText(const Registry& registry, const std::string& expected, const std::string& when)
{
    Require(registry.Text() == expected, "the file CLSIDs has other lines than expected " + when);
}

void CheckRegisters(const Context& context)
{
    const Registry registry(context);
    for (const auto& [path, text] : {std::pair{L"/somewhere/first.so", "/somewhere/first.so"},
                                     std::pair{L"/somewhere/second.so", "/somewhere/second.so"}}) {
        RequireStatus(registry.Register(path), ZT_NOERROR, "DllRegisterServer");
        RequireText(registry, std::string(" [CLSID]\n") + kClassLine + text + "\n", "after a registration");
    }
    Require(CountEntries(context.folder.c_str()) == 1, "there are other files than CLSIDs in the folder");
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
    RequireText(registry, head + kClassLine + "/somewhere/first.so\n" + other,
                "after a registration beside another class");
    RequireStatus(registry.Unregister(), ZT_NOERROR, "DllUnregisterServer");
    RequireText(registry, head + other, "after the other class has become the only one");
}

void CheckWithoutFolder(const Context& context)
{
    const Registry registry(context);
    unsetenv("ORBUTILS");
    RequireStatus(registry.Register(L"/somewhere/first.so"), E_FAIL, "DllRegisterServer without ORBUTILS");
    RequireStatus(registry.Unregister(), E_FAIL, "DllUnregisterServer without ORBUTILS");
    Require(CountEntries(context.folder.c_str()) == 0, "a failed registration writes a file");
}

/// A path that the C locale cannot express. If the module cannot write it, the lines of other modules must survive.
void CheckNonAscii(const Context& context)
{
    const Registry registry(context);
    const std::string others = " [CLSID]\n {00000000-0000-0000-0000000000000001}=/somewhere/other.so\n"
                               " [Other]\n key=value\n";
    registry.Write(others);
    RequireStatus(registry.Register(L"/somewhere/m\u00e9dias/first.so"), ZT_NOERROR,
                  "DllRegisterServer with a path outside ASCII");
    std::string text = registry.Text();
    if (const auto line = text.find(kClassLine); line != std::string::npos) {
        text.erase(line, text.find('\n', line) + 1 - line);
    }
    Require(text == others, "a registration with a path outside ASCII changes the lines of other modules");
}

/// Leads standard output into a file while it lives.
class PrintedText {
public:
    explicit PrintedText(const std::string& name) : name_(name), before_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        std::fflush(stdout);
        const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const bool isOpen = before_ >= 0 && file >= 0 && dup2(file, STDOUT_FILENO) >= 0;
        close(file);
        if (!isOpen) {
            close(before_);
            throw CheckFailure("cannot write " + name);
        }
    }
    ~PrintedText()
    {
        std::fflush(stdout);
        dup2(before_, STDOUT_FILENO);
        close(before_);
    }
    PrintedText(const PrintedText&) = delete;
    PrintedText& operator=(const PrintedText&) = delete;

    [[nodiscard]] std::string Read() const
    {
        std::fflush(stdout);
        std::ifstream file(name_);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string name_;
    int before_;
};

void CheckPrints(const Context& context)
{
    const Registry registry(context);
    const PrintedText printed(context.folder + "/printed");
    registry.Register(L"/somewhere/first.so");
    registry.Unregister();
    Require(printed.Read() ==
                "- - Register KelvarVideo AudioSamples Engine\n- - Unregister KelvarVideo AudioSamples Engine\n",
            "it prints other lines than installers expect");
}

} // namespace

std::vector<Check> ModuleChecks()
{
    const std::string loads = "module.loads";
    const std::string creation = "engine.creation";
    std::vector<Check> checks = {
        {"module.loads", "The file is a shared object whose imported names are all resolved.", "", CheckLoads},
        {"module.exports", "It exports every function that a host looks up, under its plain name.", loads,
         CheckExports},
        {"module.binding", "Its calls are bound when it is loaded.", loads, CheckBinding},
        {"module.version", "The version record contains a revision, a release and a build number.", loads,
         CheckVersion},
        {"module.texts", "Every status code has its text, and any other value is \"Unknown error\".", loads,
         CheckStatusTexts},
        {"module.entry", "DllEntryPoint returns 1 for load, for unload and for any other reason.", loads,
         CheckEntryPoint},
        {"module.can-unload", "DllCanUnloadNow is right while objects of each kind are created and released.", loads,
         CheckCanUnload},
        {"module.locks", "LockServer keeps the module loaded, once for each lock.", loads, CheckLocks},
        {"module.unloads", "After its unload the file is no longer mapped.", loads, CheckUnloads},
        {"module.reloads", "It can be loaded, used and unloaded five times.", loads, CheckReloads},
        {"module.traces", "It has no thread of its own and keeps no file open.", loads, CheckTraces},
        {"class.factory", "DllGetClassObject returns the class factory, which counts its references.", loads,
         CheckClassFactory},
        {"class.wrong-class", "An unknown class is rejected, and the output does not change.", loads, CheckWrongClass},
        {"class.wrong-interface",
         "An unknown interface is rejected before the class is compared, and the output does not change.", loads,
         CheckWrongInterface},
        {"class.instances", "CreateInstance creates engine factories, and a rejected request leaves nothing behind.",
         loads, CheckInstances},
        {"class.aggregation", "An outer object is accepted with IID_IUnknown only.", loads, CheckAggregation},
        {"class.failed-instance",
         "The exported class factory deletes an object whose construction failed, once, through its slot.", loads,
         CheckFailedInstance},
        {"engine.creation", "CreateAudioSamplesEngine returns an engine with one reference.", loads, CheckCreation},
        {"engine.pool", "An engine requests 131 buffers of 192000 bytes, once, and releases them.", creation,
         CheckPool},
        {"engine.host", "The engine neither queries the host object nor keeps it.", creation, CheckHostUse},
        {"engine.rejected-buffer",
         "The status of a rejected buffer is that of the creation, and the engine can be released.", creation,
         CheckRejectedBuffer},
        {"engine.query", "The engine has its two interfaces and rejects all others.", creation, CheckEngineQuery},
        {"engine.references", "The engine lives as long as it has references, and no longer.", creation,
         CheckEngineReferences},
        {"registration.writes", "DllRegisterServer writes the class with its path, on one line.", loads, CheckRegisters,
         true},
        {"registration.removes", "DllUnregisterServer removes the class, and succeeds if it is not registered.", loads,
         CheckUnregisters, true},
        {"registration.keeps-others", "The classes of other modules stay in the file.", loads, CheckKeepsOthers, true},
        {"registration.needs-folder", "Without ORBUTILS both functions fail and write nothing.", loads,
         CheckWithoutFolder, true},
        {"registration.non-ascii", "With a path outside ASCII it returns, and the file's other lines stay.", loads,
         CheckNonAscii, true},
        {"registration.prints", "Both functions print their line.", loads, CheckPrints, true},
    };
    for (const auto& group : {OperationChecks(), RejectionChecks(), SampleChecks(), UnusualHostChecks()}) {
        checks.insert(checks.end(), group.begin(), group.end());
    }
    return checks;
}

} // namespace zta::validate
