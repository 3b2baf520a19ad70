// A stream of the engine in buffers of any length, with restarts. The output equals that of
// testing/models/resampler_model.h for each segment between restarts.

#include "fuzz/fuzz_input.h"
#include "host/audio_buffer.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "testing/filter_spec.h"
#include "testing/noise.h"
#include "testing/recording_host.h"

#include <zta/status.h>

#include <vector>

namespace {

using zta::fuzz::FuzzInput;
using zta::host::AudioBuffer;
using zta::host::Ref;
using zta::test::Noise;
using Samples = std::vector<std::int16_t>;

/// The filter of every stream between two rates. Each variant makes the same one.
zta::test::FilterBlock MakeFilter(int from, int to)
{
    return zta::test::MakeFilter(zta::test::kSignalVariants[0], {from, to, 32, models::TapKind::Int16});
}

/// One channel of a segment, after the first value or the silence that primes the history.
Samples Resampled(const zta::test::FilterBlock& filter, const Samples& segment, std::int16_t before)
{
    constexpr int kBefore = 17;
    const int len = static_cast<int>(segment.size()) - kBefore;
    if (len < 1) {
        return {};
    }
    Samples source(kBefore, before);
    source.insert(source.end(), segment.begin(), segment.end());
    return models::Run(source.data(), len, 1.0F, kBefore, filter.Get(), false).samples;
}

class Stream {
public:
    Stream(IZtaAudioSamplesEngine& engine, std::uint32_t channels, bool up)
        : engine_(engine), channels_(channels), up_(up), from_(zta::host::Pcm16(channels, up ? 44100 : 48000)),
          to_(zta::host::Pcm16(channels, up ? 48000 : 44100))
    {
        ZTA_FUZZ_CHECK(engine.CreateAudioResampler(&from_, &to_, stream_.Put()) == 0);
    }

    void Run(FuzzInput& choices)
    {
        Noise noise(choices.Any<std::uint16_t>());
        for (int piece = 0; piece < 24 && !choices.IsEmpty(); ++piece) {
            const std::size_t most = choices.ConsumeWithOdds(8) ? 9000 : choices.ConsumeWithOdds(3) ? 700 : 40;
            const std::size_t frames = choices.ConsumeIndex(most);
            if (choices.ConsumeWithOdds(8) || (piece == 0 && choices.ConsumeBool())) {
                Compare();
                restart_ = true;
            }
            const std::size_t least = up_ ? frames * 160 / 147 + 1 : std::max(frames * 147 / 160 + 1, frames);
            // In stereo the scratch buffers are large enough, and samples beyond the output are lost.
            const bool fits = channels_ == 2 || !choices.ConsumeWithOdds(8);
            Process(noise, frames, fits ? least + 1 + choices.ConsumeIndex(100) : choices.ConsumeIndex(least), choices);
        }
        Compare();
    }

private:
    void Process(Noise& noise, std::size_t frames, std::size_t capacity, FuzzInput& choices)
    {
        const std::size_t frameBytes = channels_ * sizeof(std::int16_t);
        if (frames == 0 && channels_ == 2) {
            return; // the scratch buffers count as full, and the output can be smaller
        }
        auto input = AudioBuffer::Create(from_, frames * frameBytes);
        auto output = AudioBuffer::Create(to_, capacity * frameBytes);
        Samples samples(frames * channels_);
        for (std::int16_t& sample : samples) {
            sample = static_cast<std::int16_t>(noise.Next());
        }
        if (frames != 0) {
            std::memcpy(input->Data(), samples.data(), frames * frameBytes);
        }
        input->SetValidLength(frames * frameBytes);
        input->AnnounceRead();
        output->AnnounceWrite();
        const auto continues = static_cast<EZtAudioResamplerMode>(choices.ConsumeBool() ? 1 : 7);
        const int status = engine_.ProcessAudioResampler(
            input.Get(), output.Get(), restart_ ? keZtAudioResamplerModeRestart : continues, stream_.Get());
        ZTA_FUZZ_CHECK(input->ReadCount() == 0 && output->WriteCount() == 0);
        ZTA_FUZZ_CHECK(input->PairingViolations() == 0 && output->PairingViolations() == 0);

        const bool fits = frames <= capacity && frames * to_.ulSamplesPerSec / from_.ulSamplesPerSec + 1 <= capacity;
        if (frames != 0 && !fits) {
            ZTA_FUZZ_CHECK(status == ZT_E_DESTINATION_BUFFER_TOO_SMALL);
            return;
        }
        ZTA_FUZZ_CHECK(status == 0);
        ZTA_FUZZ_CHECK(output->Length() <= output->Capacity() && output->Length() % frameBytes == 0);
        if (frames == 0) {
            ZTA_FUZZ_CHECK(output->Length() == output->Capacity());
            return;
        }
        if (restart_) {
            segment_.clear();
            found_.clear();
            restart_ = false;
            primed_ = true;
        }
        segment_.insert(segment_.end(), samples.begin(), samples.end());
        Samples made(output->Length() / sizeof(std::int16_t));
        if (!made.empty()) {
            std::memcpy(made.data(), output->Data(), output->Length());
        }
        found_.insert(found_.end(), made.begin(), made.end());
    }

    [[nodiscard]] Samples Channel(const Samples& interleaved, std::size_t channel) const
    {
        Samples samples;
        for (std::size_t i = channel; i < interleaved.size(); i += channels_) {
            samples.push_back(interleaved[i]);
        }
        return samples;
    }

    void Compare() const
    {
        static const auto up = MakeFilter(44100, 48000);
        static const auto down = MakeFilter(48000, 44100);
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            const Samples segment = Channel(segment_, channel);
            const std::int16_t before = primed_ && !segment.empty() ? segment.front() : std::int16_t{0};
            ZTA_FUZZ_CHECK(Channel(found_, channel) == Resampled(up_ ? up : down, segment, before));
        }
    }

    IZtaAudioSamplesEngine& engine_;
    std::uint32_t channels_;
    bool up_;
    SZtaWaveFormatInfo from_;
    SZtaWaveFormatInfo to_;
    Ref<IUnknown> stream_;
    bool restart_ = false;
    bool primed_ = false; ///< the segment began with a restart
    Samples segment_;     ///< since the restart
    Samples found_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto hostEngine = zta::host::HostEngine::Create();
    static const auto engine = zta::test::CreateEngine(*hostEngine);
    FuzzInput choices(data, size);
    const std::uint32_t channels = choices.ConsumeBool() ? 2 : 1;
    Stream(*engine, channels, choices.ConsumeBool()).Run(choices);
    return 0;
}
