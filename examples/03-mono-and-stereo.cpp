// Interleaves two mono buffers into a stereo buffer and deinterleaves it with the channels exchanged.
#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>
#include <zta/host/host_engine.h>
#include <zta/host/module.h>

#include <cstdio>
#include <cstring>

using namespace zta::host;

namespace {

constexpr std::size_t kFrames = 4;

Ref<AudioBuffer> MakeBuffer(std::uint32_t channels)
{
    return AudioBuffer::Create(Pcm16(channels), kFrames * BytesPerFrame(Pcm16(channels)));
}

void Fill(AudioBuffer& buffer, std::int16_t first)
{
    for (std::size_t i = 0; i < kFrames; ++i) {
        const auto sample = static_cast<std::int16_t>(first + static_cast<int>(i));
        std::memcpy(buffer.Data() + i * sizeof sample, &sample, sizeof sample);
    }
    buffer.SetValidLength(kFrames * sizeof(std::int16_t));
}

void Print(const char* name, const AudioBuffer& buffer)
{
    std::printf("%-6s", name);
    for (std::size_t i = 0; i < buffer.Length(); i += sizeof(std::int16_t)) {
        std::int16_t sample = 0;
        std::memcpy(&sample, buffer.Data() + i, sizeof sample);
        std::printf(" %4d", sample);
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv)
try {
    Module module(argc > 1 ? argv[1] : "libZtaAudioSamplesEngine.so.1");
    const auto host = HostEngine::Create();
    const auto engine = module.CreateEngine(*host);
    const auto check = [&](int status) {
        if (status < 0) {
            throw ModuleError(module.ErrorText(status), status);
        }
    };
    const auto left = MakeBuffer(1), right = MakeBuffer(1), stereo = MakeBuffer(2);
    Fill(*left, 100);
    Fill(*right, -200);

    left->AnnounceRead();
    right->AnnounceRead();
    stereo->AnnounceWrite();
    check(engine->CopyAudioSamplesMonoToStereo(left.Get(), right.Get(), stereo.Get()));
    Print("stereo", *stereo);

    // The operation sets the valid lengths of the outputs.
    stereo->AnnounceRead();
    left->AnnounceWrite();
    right->AnnounceWrite();
    check(engine->CopyAudioSamplesStereoToMono(stereo.Get(), right.Get(), left.Get())); // exchanges the channels
    Print("left", *left);
    Print("right", *right);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "03-mono-and-stereo: %s\n", error.what());
    return 1;
}
