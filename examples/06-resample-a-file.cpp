// 06-resample-a-file IN OUT [MODULE]: resamples a 16-bit WAV file between 44100 and 48000 Hz, 1024 frames at a time.
#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>
#include <zta/host/host_engine.h>
#include <zta/host/module.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <sndfile.hh>

using namespace zta::host;

namespace {

constexpr sf_count_t kBlock = 1024;

void RequireOpen(const SndfileHandle& file, const char* path)
{
    if (file.error() != 0) {
        throw std::runtime_error(std::string(path) + ": " + file.strError());
    }
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc < 3) {
        throw std::runtime_error("usage: 06-resample-a-file IN OUT [MODULE]");
    }
    SndfileHandle in(argv[1]);
    RequireOpen(in, argv[1]);
    const auto channels = static_cast<std::uint32_t>(in.channels());
    const int rate = in.samplerate() == 44100 ? 48000 : 44100;

    Module module(argc > 3 ? argv[3] : "libZtaAudioSamplesEngine.so.1");
    const auto host = HostEngine::Create();
    const auto engine = module.CreateEngine(*host);
    const auto check = [&](int status) {
        if (status < 0) {
            throw ModuleError(module.ErrorText(status), status);
        }
    };
    // The stream has the history of the filter. Its reference is released before that of the engine.
    SZtaWaveFormatInfo from = Pcm16(channels, static_cast<std::uint32_t>(in.samplerate()));
    SZtaWaveFormatInfo to = Pcm16(channels, static_cast<std::uint32_t>(rate));
    const std::size_t frame = BytesPerFrame(from);
    const auto source = AudioBuffer::Create(from, kBlock * frame);
    const auto destination = AudioBuffer::Create(to, 2 * kBlock * frame); // more than 48000 / 44100 of a block
    Ref<IUnknown> stream;
    check(engine->CreateAudioResampler(&from, &to, stream.Put()));
    SndfileHandle out(argv[2], SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, in.channels(), rate);
    RequireOpen(out, argv[2]);

    const sf_count_t total = (in.frames() * rate + in.samplerate() / 2) / in.samplerate(); // to the nearest
    auto mode = keZtAudioResamplerModeRestart;
    for (sf_count_t written = 0; written < total; mode = keZtAudioResamplerModeContinue) {
        // The output has latency: silence after the last frame drains the stream.
        std::memset(source->Data(), 0, source->Capacity());
        in.readf(reinterpret_cast<short*>(source->Data()), kBlock);
        source->SetValidLength(source->Capacity());
        source->AnnounceRead();
        destination->AnnounceWrite();
        check(engine->ProcessAudioResampler(source.Get(), destination.Get(), mode, stream.Get()));
        const sf_count_t frames = std::min(static_cast<sf_count_t>(destination->Length() / frame), total - written);
        if (out.writef(reinterpret_cast<const short*>(destination->Data()), frames) != frames) {
            throw std::runtime_error(std::string(argv[2]) + ": " + out.strError());
        }
        written += frames;
    }
    std::printf("%lld frames at %d Hz, %lld frames at %d Hz\n", static_cast<long long>(in.frames()), in.samplerate(),
                static_cast<long long>(total), rate);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "06-resample-a-file: %s\n", error.what());
    return 1;
}
