/// The module, found and loaded.
#pragma once

#include "host/audio_buffer.h"
#include "host/host_engine.h"
#include "host/module.h"
#include "tools/ztaudio/context.h"

#include <filesystem>
#include <span>

/// Returns the path of the module: the one that the user named, else the first one next to the tool or where a build or
/// an installation puts it. Throws Failure if there is none.
std::filesystem::path FindModule(const Context& context);

/// Selects the variant of the sample loops that the user named, if any. Throws Failure if it is not available.
void SelectLoops(const zta::host::Module& module, const Context& context);

using Buffers = std::span<zta::host::AudioBuffer* const>;
using Volumes = std::span<SZtAudioMonoVolumeInfo>;

/// Returns the valid length of the buffer in sample frames.
std::size_t FramesOf(const zta::host::AudioBuffer& buffer);

/// One engine on the reference host: its operations with their announcements. Most of them require the valid lengths of
/// the outputs before the call; here these are set to that of the first input, in sample frames. Each throws Failure,
/// with the engine's text, if the engine reports an error.
class EngineSession {
public:
    explicit EngineSession(const Context& context);

    void Copy(zta::host::AudioBuffer& source, zta::host::AudioBuffer& destination);
    void MonoToStereo(zta::host::AudioBuffer& left, zta::host::AudioBuffer& right, zta::host::AudioBuffer& stereo);
    void StereoToMono(zta::host::AudioBuffer& stereo, zta::host::AudioBuffer& left, zta::host::AudioBuffer& right);
    void ApplyVolume(zta::host::AudioBuffer& source, zta::host::AudioBuffer& destination, Volumes volumes);

    /// The mux operations, one volume for each channel of the mux or none.
    void MonoToMux(Buffers mono, zta::host::AudioBuffer& mux, Volumes volumes);
    void StereoToMux(Buffers stereo, zta::host::AudioBuffer& mux, Volumes volumes);
    void MuxToMono(zta::host::AudioBuffer& mux, Buffers mono, Volumes volumes);
    void MuxToStereo(zta::host::AudioBuffer& mux, Buffers stereo, Volumes volumes);

    /// DuplicateAudioSamples: `frames` sample frames, from the source's frame `first` on, become the content of the
    /// destination.
    void Extract(zta::host::AudioBuffer& source, std::size_t first, std::size_t frames,
                 zta::host::AudioBuffer& destination);

    /// The state of a stream from buffers like the input to buffers like the output.
    zta::host::Ref<IUnknown> CreateResampler(zta::host::AudioBuffer& input, zta::host::AudioBuffer& output);

    /// Resamples the next buffer of a stream; `first` begins the stream. Sets the valid length of the output.
    void Resample(zta::host::AudioBuffer& input, zta::host::AudioBuffer& output, bool first, IUnknown& resampler);

    /// Throws Failure with the engine's text for the status.
    [[noreturn]] void Refuse(int status, Buffers inputs, Buffers outputs) const;

private:
    template <typename Operation>
    void Announced(Buffers inputs, Buffers outputs, Operation operation);
    template <typename Operation>
    void Run(Buffers inputs, Buffers outputs, std::size_t frames, Operation operation);

    zta::host::Module module_; // outlives the engine
    zta::host::Ref<zta::host::HostEngine> host_;
    zta::host::Ref<IZtaAudioSamplesEngine> engine_;
};
