#include "tools/ztaudio/engine_session.h"

#include "host/formats.h"
#include "tools/common/failure.h"

#include <zta/sample_loops.h>

#include <string>
#include <vector>

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

void SelectLoops(const host::Module& module, const Context& context)
{
    if (context.loopVariant.empty()) {
        return;
    }
    const auto select = module.Symbol<decltype(&ztSelectSampleLoops)>("ztSelectSampleLoops");
    if (select(context.loopVariant.c_str()) < 0) {
        throw Failure("--loop-variant " + context.loopVariant + ": unknown, or not supported by this CPU");
    }
}

std::size_t FramesOf(const host::AudioBuffer& buffer)
{
    return buffer.Length() / host::BytesPerFrame(buffer.Description().sWaveFormat);
}

namespace {

std::vector<IZtAudioSamples*> Interfaces(Buffers buffers)
{
    return {buffers.begin(), buffers.end()};
}

std::string NameOf(Buffers buffers)
{
    std::vector<std::string> names;
    for (const host::AudioBuffer* buffer : buffers) {
        names.push_back(host::FormatName(buffer->Description().sWaveFormat));
    }
    if (names.size() == 2 && names[0] != names[1]) {
        return names[0] + ", and " + names[1];
    }
    return (names.size() == 1 ? "" : std::to_string(names.size()) + " x ") + names[0];
}

} // namespace

EngineSession::EngineSession(const Context& context)
    : module_(FindModule(context).string()), host_(host::HostEngine::Create()), engine_(module_.CreateEngine(*host_))
{
    SelectLoops(module_, context);
}

void EngineSession::Copy(host::AudioBuffer& source, host::AudioBuffer& destination)
{
    Run({{&source}}, {{&destination}}, FramesOf(source),
        [&] { return engine_->CopyAudioSamples(&source, &destination); });
}

void EngineSession::MonoToStereo(host::AudioBuffer& left, host::AudioBuffer& right, host::AudioBuffer& stereo)
{
    Run({{&left, &right}}, {{&stereo}}, FramesOf(left),
        [&] { return engine_->CopyAudioSamplesMonoToStereo(&left, &right, &stereo); });
}

void EngineSession::StereoToMono(host::AudioBuffer& stereo, host::AudioBuffer& left, host::AudioBuffer& right)
{
    Run({{&stereo}}, {{&left, &right}}, FramesOf(stereo),
        [&] { return engine_->CopyAudioSamplesStereoToMono(&stereo, &left, &right); });
}

void EngineSession::ApplyVolume(host::AudioBuffer& source, host::AudioBuffer& destination, Volumes volumes)
{
    Run({{&source}}, {{&destination}}, FramesOf(source),
        [&] { return engine_->ApplyVolume(&source, &destination, volumes.data(), volumes.size()); });
}

void EngineSession::MonoToMux(Buffers mono, host::AudioBuffer& mux, Volumes volumes)
{
    Run(mono, {{&mux}}, FramesOf(*mono[0]), [&] {
        return engine_->CopyAudioSamplesMonoToMux(Interfaces(mono).data(), mono.size(), &mux, volumes.data(),
                                                  volumes.size());
    });
}

void EngineSession::StereoToMux(Buffers stereo, host::AudioBuffer& mux, Volumes volumes)
{
    Run(stereo, {{&mux}}, FramesOf(*stereo[0]), [&] {
        return engine_->CopyAudioSamplesStereoToMux(Interfaces(stereo).data(), stereo.size(), &mux, volumes.data(),
                                                    volumes.size());
    });
}

void EngineSession::MuxToMono(host::AudioBuffer& mux, Buffers mono, Volumes volumes)
{
    Run({{&mux}}, mono, FramesOf(mux), [&] {
        return engine_->CopyAudioSamplesMuxToMono(&mux, Interfaces(mono).data(), mono.size(), volumes.data(),
                                                  volumes.size());
    });
}

void EngineSession::MuxToStereo(host::AudioBuffer& mux, Buffers stereo, Volumes volumes)
{
    Run({{&mux}}, stereo, FramesOf(mux), [&] {
        return engine_->CopyAudioSamplesMuxToStereo(&mux, Interfaces(stereo).data(), stereo.size(), volumes.data(),
                                                    volumes.size());
    });
}

void EngineSession::Extract(host::AudioBuffer& source, std::size_t first, std::size_t frames,
                            host::AudioBuffer& destination)
{
    const std::size_t frameBytes = host::BytesPerFrame(source.Description().sWaveFormat);
    Run({{&source}}, {{&destination}}, frames, [&] {
        return engine_->DuplicateAudioSamples(&source, first * frameBytes, &destination, 0, frames * frameBytes);
    });
}

host::Ref<IUnknown> EngineSession::CreateResampler(host::AudioBuffer& input, host::AudioBuffer& output)
{
    SZtaWaveFormatInfo from = input.Description().sWaveFormat;
    SZtaWaveFormatInfo to = output.Description().sWaveFormat;
    host::Ref<IUnknown> resampler;
    if (const int status = engine_->CreateAudioResampler(&from, &to, resampler.Put()); status < 0) {
        Refuse(status, {{&input}}, {{&output}});
    }
    return resampler;
}

void EngineSession::Resample(host::AudioBuffer& input, host::AudioBuffer& output, bool first, IUnknown& resampler)
{
    const auto mode = first ? keZtAudioResamplerModeRestart : keZtAudioResamplerModeContinue;
    Announced({{&input}}, {{&output}},
              [&] { return engine_->ProcessAudioResampler(&input, &output, mode, &resampler); });
}

template <typename Operation>
void EngineSession::Announced(Buffers inputs, Buffers outputs, Operation operation)
{
    for (host::AudioBuffer* input : inputs) {
        input->AnnounceRead();
    }
    for (host::AudioBuffer* output : outputs) {
        output->AnnounceWrite();
    }
    if (const int status = operation(); status < 0) {
        Refuse(status, inputs, outputs);
    }
}

template <typename Operation>
void EngineSession::Run(Buffers inputs, Buffers outputs, std::size_t frames, Operation operation)
{
    for (host::AudioBuffer* output : outputs) {
        output->SetValidLength(frames * host::BytesPerFrame(output->Description().sWaveFormat));
    }
    Announced(inputs, outputs, operation);
    for (const host::AudioBuffer* output : outputs) {
        if (output->ErrorCode() < 0) { // the only report of a failed duplicate
            Refuse(output->ErrorCode(), inputs, outputs);
        }
        if (FramesOf(*output) != frames) {
            throw Failure("the engine left " + std::to_string(FramesOf(*output)) + " sample frames where " +
                          std::to_string(frames) + " were due");
        }
    }
}

void EngineSession::Refuse(int status, Buffers inputs, Buffers outputs) const
{
    throw Failure("from " + NameOf(inputs) + " to " + NameOf(outputs) + ": " + module_.ErrorText(status));
}
