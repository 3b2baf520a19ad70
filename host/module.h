/// Loading of the module.
#pragma once

#include "ref.h"

#include <zta/engine_interfaces.h>
#include <zta/module.h>

#include <stdexcept>
#include <string>

namespace zta::host {

/// An operation of the module failed.
class ModuleError : public std::runtime_error {
public:
    /// `what` is a line for people.
    ModuleError(const std::string& what, int status) : std::runtime_error(what), status_(status) {}

    /// The negative status that the module returned.
    [[nodiscard]] int Status() const noexcept { return status_; }

private:
    int status_;
};

/// The loaded module, from dlopen to dlclose.
///
/// Everything that comes out of the module must be released before it is unloaded; the module itself counts. Loading
/// and unloading belong to one thread at a time, CreateEngine and ErrorText may be used from any. Texts are UTF-8.
class Module {
public:
    /// Loads the module and tells it so. Throws std::runtime_error, with one line that names the file and the reason.
    explicit Module(const std::string& path);

    /// Unloads if the module allows it. A module that is still in use stays in the process: its code may yet run.
    ~Module();

    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// Creates an engine with its pool of buffers from `host`, which is needed during this call only.
    /// Throws ModuleError with what the module or the host reported; nothing is left over then.
    [[nodiscard]] Ref<IZtaAudioSamplesEngine> CreateEngine(IZtQuonEnginePrivate& host);

    /// False while an object of the module is alive or a lock is in force.
    [[nodiscard]] bool CanUnload() const;

    /// Tells the module and takes it out of the process; once only. Throws std::logic_error, and changes nothing, if
    /// the module is still in use or has been unloaded before.
    void Unload();

    /// The text of a status, "Unknown error" if it has none.
    [[nodiscard]] std::string ErrorText(int status) const;

    /// Records the module's classes in the CLSIDs file, in the directory named by the environment variable ORBUTILS,
    /// with `path` as the module's, and prints a line. Throws ModuleError.
    void Register(const std::string& path);

    /// Takes the module's classes out of the CLSIDs file and prints a line. Throws ModuleError.
    void Unregister();

    /// What the module says of its build.
    [[nodiscard]] SZtVersionInfo VersionInfo() const;

    /// The address of an exported name, as a pointer of type F. Throws std::runtime_error if there is none.
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
