// Loads the module, creates an engine, converts one buffer from 16 to 24 bits and prints what came out.
#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>
#include <zta/host/host_engine.h>
#include <zta/host/module.h>

#include <cstdio>
#include <cstring>

using namespace zta::host;

int main(int argc, char** argv)
try {
    Module module(argc > 1 ? argv[1] : "libZtaAudioSamplesEngine.so.1");
    const auto host = HostEngine::Create();
    const auto engine = module.CreateEngine(*host);

    const std::int16_t samples[] = {0, 1, -1, 12345, 32767, -32768};
    const auto source = AudioBuffer::Create(Pcm16(1), sizeof samples);
    std::memcpy(source->Data(), samples, sizeof samples);
    source->SetValidLength(sizeof samples);
    const auto destination = AudioBuffer::Create(Pcm24In32(1), 2 * sizeof samples);

    source->AnnounceRead();
    destination->AnnounceWrite();
    const int status = engine->CopyAudioSamples(source.Get(), destination.Get());
    if (status < 0) {
        std::fprintf(stderr, "01-copy: %s\n", module.ErrorText(status).c_str());
        return 1;
    }
    for (std::size_t i = 0; i < destination->Length() / 4; ++i) {
        std::uint32_t word = 0;
        std::memcpy(&word, destination->Data() + 4 * i, sizeof word);
        std::printf("%6d becomes 0x%08X\n", samples[i], word);
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "01-copy: %s\n", error.what());
    return 1;
}
