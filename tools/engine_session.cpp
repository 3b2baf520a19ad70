#include "tools/engine_session.h"

#include "host/formats.h"
#include "tools/failure.h"

#include <string>

namespace host = zta::host;

std::filesystem::path FindModule(const Context& context)
{
    if (!context.module.empty()) {
        return std::filesystem::absolute(context.module);
    }
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const char* place : {".", "../lib", ZTA_LIBDIR_FROM_BINDIR, ".."}) {
        for (const char* name : {"libZtaAudioSamplesEngine.so", "libZtaAudioSamplesEngine.so.1"}) {
            std::error_code error;
            auto path = (folder / place / name).lexically_normal();
            if (std::filesystem::is_regular_file(path, error)) {
                return path;
            }
        }
    }
    throw Failure("libZtaAudioSamplesEngine.so not found near " + folder.string() + ": name it with --module PATH");
}

EngineSession::EngineSession(const Context& context)
    : module_(FindModule(context).string()), host_(host::HostEngine::Create()), engine_(module_.CreateEngine(*host_))
{
}

void EngineSession::Copy(host::AudioBuffer& source, host::AudioBuffer& destination)
{
    const std::size_t frames = source.Length() / host::BytesPerFrame(source.Description().sWaveFormat);
    const std::size_t length = frames * host::BytesPerFrame(destination.Description().sWaveFormat);
    destination.SetValidLength(length);
    source.AnnounceRead();
    destination.AnnounceWrite();
    if (const int status = engine_->CopyAudioSamples(&source, &destination); status < 0) {
        Refuse(status, source, destination);
    }
    if (destination.Length() != length) {
        throw Failure("the engine left " + std::to_string(destination.Length()) + " bytes where " +
                      std::to_string(length) + " were due");
    }
}

void EngineSession::Refuse(int status, const host::AudioBuffer& source, const host::AudioBuffer& destination) const
{
    throw Failure("from " + host::FormatName(source.Description().sWaveFormat) + " to " +
                  host::FormatName(destination.Description().sWaveFormat) + ": " + module_.ErrorText(status));
}
