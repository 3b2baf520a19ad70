#include "host/module.h"

#include <zta/error_text.h>
#include <zta/status.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>

#include <dlfcn.h>

namespace zta::host {

namespace {

/// The number passed to DllEntryPoint. The module stores it and does not use it.
constexpr unsigned int kInstance = 1;

std::string LastLoaderError()
{
    const char* text = dlerror();
    return text != nullptr ? text : "unknown reason";
}

void AppendUtf8(std::string& text, char32_t code)
{
    const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xC0 | code >> 6);
        append(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        append(0xE0 | code >> 12);
        append(0x80 | (code >> 6 & 0x3F));
        append(0x80 | (code & 0x3F));
    } else {
        append(0xF0 | code >> 18);
        append(0x80 | (code >> 12 & 0x3F));
        append(0x80 | (code >> 6 & 0x3F));
        append(0x80 | (code & 0x3F));
    }
}

std::string ToUtf8(const wchar_t* wide)
{
    std::string text;
    for (; *wide != L'\0'; ++wide) {
        AppendUtf8(text, static_cast<char32_t>(*wide));
    }
    return text;
}

/// Converts UTF-8. An invalid byte becomes the character of the same value, so that every file name has a result.
std::wstring ToWide(const std::string& text)
{
    std::wstring wide;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 1;
        char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
        std::size_t used = 1;
        for (; used < length && i + used < text.size() && (text[i + used] & 0xC0) == 0x80; ++used) {
            code = code << 6 | (text[i + used] & 0x3F);
        }
        if (used != length) {
            code = lead;
            used = 1;
        }
        wide.push_back(static_cast<wchar_t>(code));
        i += used;
    }
    return wide;
}

} // namespace

Module::Module(const std::string& path) : path_(path), handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (handle_ == nullptr) {
        throw std::runtime_error("cannot load " + path_ + ": " + LastLoaderError());
    }
    try {
        const auto enter = Symbol<decltype(&DllEntryPoint)>("DllEntryPoint");
        enter(kInstance, reinterpret_cast<void*>(kZtModuleLoad));
    } catch (...) {
        dlclose(handle_);
        throw;
    }
}

Module::~Module()
{
    if (handle_ == nullptr) {
        return;
    }
    try {
        if (CanUnload()) {
            Unload();
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
}

void* Module::Address(const char* name) const
{
    if (handle_ == nullptr) {
        throw std::logic_error(path_ + " has been unloaded");
    }
    void* address = dlsym(handle_, name);
    if (address == nullptr) {
        throw std::runtime_error(path_ + " does not export " + name);
    }
    return address;
}

void Module::Check(int status, const char* what) const
{
    if (status < 0) {
        char code[16];
        std::snprintf(code, sizeof(code), "0x%08X", static_cast<unsigned int>(status));
        throw ModuleError(path_ + ": " + what + " failed with " + code + " (" + ErrorText(status) + ")", status);
    }
}

Ref<IZtaAudioSamplesEngine> Module::CreateEngine(IZtQuonEnginePrivate& host)
{
    const auto getClassObject = Symbol<decltype(&DllGetClassObject)>("DllGetClassObject");
    void* object = nullptr;
    Check(getClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object), "DllGetClassObject");
    const auto classFactory = Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));

    object = nullptr;
    Check(classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &object), "CreateInstance");
    const auto factory = Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(object));

    // An engine is returned even if the host failed; the reference releases it then.
    Ref<IZtaAudioSamplesEngine> engine;
    Check(factory->CreateAudioSamplesEngine(&host, 0, engine.Put()), "CreateAudioSamplesEngine");
    return engine;
}

bool Module::CanUnload() const
{
    return Symbol<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")() == 0;
}

void Module::Unload()
{
    if (!CanUnload()) {
        throw std::logic_error(path_ + " is still in use");
    }
    const auto enter = Symbol<decltype(&DllEntryPoint)>("DllEntryPoint");
    enter(kInstance, reinterpret_cast<void*>(kZtModuleUnload));
    dlclose(handle_);
    handle_ = nullptr;
}

std::string Module::ErrorText(int status) const
{
    return ToUtf8(Symbol<decltype(&ztErrorToString)>("ztErrorToString")(status));
}

void Module::Register(const std::string& path)
{
    Check(Symbol<decltype(&DllRegisterServer)>("DllRegisterServer")(ToWide(path).c_str()), "DllRegisterServer");
}

void Module::Unregister()
{
    Check(Symbol<decltype(&DllUnregisterServer)>("DllUnregisterServer")(), "DllUnregisterServer");
}

SZtVersionInfo Module::VersionInfo() const
{
    return *Symbol<const SZtVersionInfo*>("g_achVersionInfo");
}

} // namespace zta::host
