// Applies a gain ramp from 1.0 to 0.5, a fade-in and a fade-out to a buffer, in place.
#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>
#include <zta/host/host_engine.h>
#include <zta/host/module.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace zta::host;

int main(int argc, char** argv)
try {
    Module module(argc > 1 ? argv[1] : "libZtaAudioSamplesEngine.so.1");
    const auto host = HostEngine::Create();
    const auto engine = module.CreateEngine(*host);

    // The constant 0.5. Gain ramps require 24-in-32, which has full scale at 2^31.
    std::vector<std::int32_t> words(1024, 0x40000000);
    const std::size_t bytes = words.size() * sizeof words[0];
    const auto buffer = AudioBuffer::Create(Pcm24In32(1), bytes);
    std::memcpy(buffer->Data(), words.data(), bytes);
    buffer->SetValidLength(bytes);

    // The ramp covers the whole buffer; each fade has 200 frames, and its flag is false afterwards.
    SZtAudioMonoVolumeInfo volume = {.ulChannelRef = 0, .fStartVolume = 1.0F, .fEndVolume = 0.5F};
    buffer->SetFades(true, true);

    // Input and output may be the same buffer. Announce both accesses.
    buffer->AnnounceRead();
    buffer->AnnounceWrite();
    const int status = engine->ApplyVolume(buffer.Get(), buffer.Get(), &volume, 1);
    if (status < 0) {
        throw ModuleError(module.ErrorText(status), status);
    }
    std::memcpy(words.data(), buffer->Data(), bytes);
    for (std::size_t frame = 0; frame < words.size(); frame += 64) {
        const double level = words[frame] / 2147483648.0;
        std::printf("%4zu  %.4f  %s\n", frame, level,
                    std::string(static_cast<std::size_t>(level * 80) + 1, '#').c_str());
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "04-fade-and-volume: %s\n", error.what());
    return 1;
}
