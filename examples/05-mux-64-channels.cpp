// Interleaves 64 mono buffers into a mux of 64 channels, with a gain for each channel, and prints one frame.
#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>
#include <zta/host/host_engine.h>
#include <zta/host/module.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace zta::host;

namespace {

constexpr std::uint32_t kChannels = 64;
constexpr std::size_t kFrames = 480; // 10 ms

Ref<AudioBuffer> MakeBuffer(std::uint32_t channels, std::int32_t level)
{
    const std::vector<std::int32_t> words(kFrames * channels, level);
    const std::size_t bytes = words.size() * sizeof words[0];
    auto buffer = AudioBuffer::Create(Pcm24In32(channels), bytes);
    std::memcpy(buffer->Data(), words.data(), bytes);
    buffer->SetValidLength(bytes); // a mux needs its valid length before it is written
    return buffer;
}

} // namespace

int main(int argc, char** argv)
try {
    Module module(argc > 1 ? argv[1] : "libZtaAudioSamplesEngine.so.1");
    const auto host = HostEngine::Create();
    const auto engine = module.CreateEngine(*host);

    // All channels have the constant 0.5; the gains are 1/64 to 1. Start and end are equal: no ramp.
    std::vector<Ref<AudioBuffer>> channels;
    std::vector<IZtAudioSamples*> entries; // entry c is channel c
    std::vector<SZtAudioMonoVolumeInfo> gains;
    for (std::uint32_t c = 0; c < kChannels; ++c) {
        channels.push_back(MakeBuffer(1, 0x40000000));
        channels.back()->AnnounceRead();
        entries.push_back(channels.back().Get());
        const float gain = static_cast<float>(c + 1) / kChannels;
        gains.push_back({.ulChannelRef = c, .fStartVolume = gain, .fEndVolume = gain});
    }
    const auto mux = MakeBuffer(kChannels, 0);
    mux->AnnounceWrite();
    const int status = engine->CopyAudioSamplesMonoToMux(entries.data(), kChannels, mux.Get(), gains.data(), kChannels);
    if (status < 0) {
        throw ModuleError(module.ErrorText(status), status);
    }

    std::array<std::int32_t, kChannels> frame;
    std::memcpy(frame.data(), mux->Data() + mux->Length() - sizeof frame, sizeof frame); // the last frame
    std::printf("%zu frames of %s\n", mux->Length() / sizeof frame, FormatName(mux->Description().sWaveFormat).c_str());
    for (std::size_t c = 0; c < frame.size(); ++c) {
        std::printf("%.4f%s", frame[c] / 2147483648.0, c % 8 == 7 ? "\n" : " ");
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "05-mux-64-channels: %s\n", error.what());
    return 1;
}
