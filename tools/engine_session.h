/// The module, found and loaded.
#pragma once

#include "host/audio_buffer.h"
#include "host/host_engine.h"
#include "host/module.h"
#include "tools/context.h"

#include <filesystem>

/// The module's file: the one that the user named, else the first that lies beside the tool or where a build or an
/// installation puts it. Throws Failure when there is none.
std::filesystem::path FindModule(const Context& context);

/// One engine on the reference host.
class EngineSession {
public:
    explicit EngineSession(const Context& context);

    /// CopyAudioSamples with its announcements. The destination's valid length is set beforehand, because a plain
    /// copy leaves it alone. Throws Failure, with the engine's text, when the engine refuses.
    void Copy(zta::host::AudioBuffer& source, zta::host::AudioBuffer& destination);

    /// Throws Failure with the engine's text for the status.
    [[noreturn]] void Refuse(int status, const zta::host::AudioBuffer& source,
                             const zta::host::AudioBuffer& destination) const;

private:
    zta::host::Module module_; // outlives the engine
    zta::host::Ref<zta::host::HostEngine> host_;
    zta::host::Ref<IZtaAudioSamplesEngine> engine_;
};
