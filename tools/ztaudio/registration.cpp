#include "host/module.h"
#include "tools/common/failure.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

// The file is text of lines in which a "[" begins a section, and the module writes it in ASCII only.
void RequirePlainPath(const std::string& path)
{
    if (std::ranges::any_of(path, [](char letter) { return letter < ' ' || letter > '~' || letter == '['; })) {
        throw Failure(path + ": the CLSIDs file cannot hold this path: only ASCII characters, and no \"[\"");
    }
}

// The class identifier as the file spells it: three hyphens, not four.
std::string ClassKey()
{
    const _GUID& id = CLSID_ZtaAudioSamplesEngine;
    char text[48];
    int length = std::snprintf(text, sizeof text, "{%08X-%04X-%04X-", id.Data1, id.Data2, id.Data3);
    for (const unsigned char byte : id.Data4) {
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), "%02X", byte);
    }
    return std::string(text) + "}=";
}

std::string LineOf(const std::filesystem::path& file, const std::string& key)
{
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(" " + key)) {
            return line.substr(1);
        }
    }
    return {};
}

// Runs one of the module's two registrations on the folder's CLSIDs file and checks what it did.
void Record(const std::filesystem::path& folder, const Context& context, bool registering)
{
    const std::string modulePath = FindModule(context).string();
    RequirePlainPath(modulePath);
    if (!std::filesystem::is_directory(folder)) {
        throw Failure(folder.string() + ": not a folder");
    }
    if (context.quiet && std::freopen("/dev/null", "w", stdout) == nullptr) {
        throw Failure("cannot silence standard output");
    }
    zta::host::Module module(modulePath);
    setenv("ORBUTILS", folder.c_str(), 1);
    if (registering) {
        module.Register(modulePath);
    } else {
        module.Unregister();
    }
    // The module reports a file that it could not write on standard output only, so the file is read back.
    const auto file = folder / "CLSIDs";
    const std::string key = ClassKey();
    if (LineOf(file, key) != (registering ? key + modulePath : "")) {
        throw Failure(file.string() + ": could not be brought up to date");
    }
}

} // namespace

int RunCommand(const RegisterOptions& options, const Context& context)
{
    Record(options.folder, context, true);
    return 0;
}

int RunCommand(const UnregisterOptions& options, const Context& context)
{
    Record(options.folder, context, false);
    return 0;
}
