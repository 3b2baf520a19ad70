#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "version_values.h"

#include <cstdio>
#include <string>

namespace {

// A field of the version record ends at its length or at the first NUL.
template <std::size_t N>
std::string FieldText(const char (&field)[N])
{
    const std::string text(field, N);
    return text.substr(0, text.find('\0'));
}

} // namespace

int RunCommand(const VersionOptions& /*options*/, const Context& context)
{
    std::printf("ztaudio %s, revision %s\n", ZTA_RELEASE, ZTA_REVISION);
    const std::string path = FindModule(context).string();
    const SZtVersionInfo info = zta::host::Module(path).VersionInfo();
    std::printf("module  %s, revision %s, build %s, %s\n", FieldText(info.achRelease).c_str(),
                FieldText(info.achRevision).c_str(), FieldText(info.achBuild).c_str(), path.c_str());
    return 0;
}
