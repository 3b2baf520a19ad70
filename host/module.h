/// Loads the module.
#pragma once

#include "ref.h"

#include <zta/engine_interfaces.h>
#include <zta/module.h>

#include <stdexcept>
#include <string>

namespace zta::host {

/// A function of the module failed.
class ModuleError : public std::runtime_error {
public:
    /// `what` is the message, `status` the status code.
    ModuleError(const std::string& what, int status) : std::runtime_error(what), status_(status) {}

    /// Returns the negative status code of the module.
    [[nodiscard]] int Status() const noexcept { return status_; }

private:
    int status_;
};

/// The loaded module, from dlopen to dlclose.
///
/// Release every object of the module before unloading it; the module counts its objects. Serialize loading and
/// unloading; CreateEngine and ErrorText are [any thread]. Texts are UTF-8.
class Module {
public:
    /// Loads the module and calls DllEntryPoint. Throws std::runtime_error with the file and the reason in one line.
    explicit Module(const std::string& path);

    /// Unloads the module unless it is in use: code of objects that are alive may still run.
    ~Module();

    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// Creates an engine and its scratch buffers; `host` is used during this call only. Throws ModuleError with the
    /// status code of the module or the host, after releasing all objects.
    [[nodiscard]] Ref<IZtaAudioSamplesEngine> CreateEngine(IZtQuonEnginePrivate& host);

    /// Returns false while an object of the module is alive or a lock is set.
    [[nodiscard]] bool CanUnload() const;

    /// Calls DllEntryPoint and unloads the module. Throws std::logic_error without any effect if the module is in use
    /// or unloaded.
    void Unload();

    /// Returns the text of a status code, or "Unknown error".
    [[nodiscard]] std::string ErrorText(int status) const;

    /// Adds the classes of the module, with `path` as its path, to the file `CLSIDs` in the directory that the
    /// environment variable ORBUTILS names, and prints a line. Throws ModuleError. See DllRegisterServer for a file
    /// that cannot be written.
    void Register(const std::string& path);

    /// Removes the classes of the module from the file `CLSIDs` and prints a line. Throws ModuleError.
    void Unregister();

    /// Returns the version record of the module.
    [[nodiscard]] SZtVersionInfo VersionInfo() const;

    /// Returns the address of an exported symbol as type F. Throws std::runtime_error if it does not exist.
    template <class F>
    [[nodiscard]] F Symbol(const char* name) const
    {
        return reinterpret_cast<F>(Address(name));
    }

private:
    void* Address(const char* name) const;
    void Check(int status, const char* what) const;

    std::string path_;
    void* handle_;
};

} // namespace zta::host
