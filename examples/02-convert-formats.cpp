// Converts four samples from format to format and prints their bytes in memory order.
#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>
#include <zta/host/host_engine.h>
#include <zta/host/module.h>

#include <cstdio>
#include <cstring>

using namespace zta::host;

namespace {

void Print(const AudioBuffer& buffer)
{
    const SZtaWaveFormatInfo format = buffer.Description().sWaveFormat;
    std::printf("%-26s", FormatName(format).c_str());
    for (std::size_t i = 0; i < buffer.Length(); ++i) {
        const bool first = i % BytesPerFrame(format) == 0;
        std::printf("%s%02X", first ? "  " : " ", std::to_integer<unsigned>(buffer.Data()[i]));
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv)
try {
    Module module(argc > 1 ? argv[1] : "libZtaAudioSamplesEngine.so.1");
    const auto host = HostEngine::Create();
    const auto engine = module.CreateEngine(*host);

    const std::int16_t samples[] = {0, 16384, -16384, 12345};
    auto source = AudioBuffer::Create(Pcm16(1), sizeof samples);
    std::memcpy(source->Data(), samples, sizeof samples);
    source->SetValidLength(sizeof samples);
    Print(*source);

    // The engine has a conversion for each step. 24-in-24 and float have one to and from 24-in-32.
    for (const auto& format : {Pcm24In32(1), Pcm24In24(1), Pcm24In32(1), Float32(1), Pcm16(1)}) {
        const auto destination = AudioBuffer::Create(format, std::size(samples) * BytesPerFrame(format));
        source->AnnounceRead();
        destination->AnnounceWrite();
        const int status = engine->CopyAudioSamples(source.Get(), destination.Get());
        if (status < 0) {
            throw ModuleError(module.ErrorText(status), status);
        }
        Print(*destination);
        source = destination; // releases the previous buffer
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "02-convert-formats: %s\n", error.what());
    return 1;
}
