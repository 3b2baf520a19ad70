#include "tools/ztaudio/resampled_source.h"

#include "tools/common/failure.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kLowRate = 44100;
constexpr std::uint32_t kHighRate = 48000;
constexpr std::size_t kSampleBytes = 2;

} // namespace

void RequireResamplable(const SampleSource& sound, const std::string& name, std::uint32_t rate)
{
    if (rate != kLowRate && rate != kHighRate) {
        throw Failure("--rate " + std::to_string(rate) +
                      ": the engine resamples between 44100 and 48000 Hz only: use one of them");
    }
    if (sound.Rate() == rate) {
        throw Failure(name + ": has " + std::to_string(rate) + " Hz already: use ztaudio convert to copy it");
    }
    if (sound.Rate() != kLowRate && sound.Rate() != kHighRate) {
        throw Failure(name + ": has " + std::to_string(sound.Rate()) +
                      " Hz, and the engine resamples between 44100 and 48000 Hz only: resample it to one of them with "
                      "another program, or omit the rate to keep it");
    }
}

void NoteResampling(const SampleSource& sound, const std::string& name, SampleFormat to, const Context& context)
{
    if (sound.Format() != SampleFormat::Pcm16) {
        context.Note("16-bit samples are resampled, so " + name + " is converted to 16 bits first");
    } else if (to != SampleFormat::Pcm16) {
        context.Note("16-bit samples are resampled, so the output has the precision of 16 bits");
    }
}

ResampledSource::ResampledSource(EngineSession& engine, SampleSource& source, std::uint32_t rate,
                                 sf_count_t blockFrames, OverloadCounter& overloads)
    : source_(source), rate_(rate),
      feed_(engine, source, SampleFormat::Pcm16, overloads, std::min(blockFrames, kMostResampledFrames)),
      channelsPerStream_(source.Channels() <= 2 ? source.Channels() : 1)
{
    const sf_count_t maxFrames = std::min(std::max(blockFrames, 2 * kFadeFrames), kMostResampledFrames);
    for (std::uint32_t first = 0; first < source.Channels(); first += channelsPerStream_) {
        streams_.emplace_back(engine, channelsPerStream_, source.Rate(), rate, maxFrames);
    }
}

sf_count_t ResampledSource::Frames() const
{
    return ResampledFrames(source_.Frames(), source_.Rate(), rate_);
}

sf_count_t ResampledSource::Read(void* samples, sf_count_t frames)
{
    const std::size_t frameBytes = kSampleBytes * Channels();
    auto* to = static_cast<std::byte*>(samples);
    sf_count_t read = 0;
    while (read < frames) {
        if (readFrames_ == outputFrames_ && !Refill()) {
            break;
        }
        const sf_count_t count = std::min(frames - read, outputFrames_ - readFrames_);
        const auto from =
            output_.begin() + static_cast<std::ptrdiff_t>(readFrames_ * static_cast<sf_count_t>(frameBytes));
        to = std::copy_n(from, static_cast<std::size_t>(count) * frameBytes, to);
        readFrames_ += count;
        read += count;
    }
    return read;
}

bool ResampledSource::Refill()
{
    readFrames_ = 0;
    outputFrames_ = 0;
    while (outputFrames_ == 0) {
        const sf_count_t frames = isAtEnd_ ? 0 : feed_.Next();
        isAtEnd_ = frames == 0;
        const std::byte* const samples = isAtEnd_ ? nullptr : feed_.Convert(0, frames);
        for (std::size_t i = 0; i < streams_.size(); ++i) {
            ResampleStream::Result result{};
            if (!isAtEnd_) {
                plane_.resize(static_cast<std::size_t>(frames) * channelsPerStream_ * kSampleBytes);
                CopyChannels(samples + i * channelsPerStream_ * kSampleBytes, Channels(), plane_.data(),
                             channelsPerStream_, channelsPerStream_, frames, kSampleBytes);
                result = streams_[i].Next(plane_.data(), frames);
            } else if (!streams_[i].Tail(result)) {
                return false;
            }
            Store(i, result);
        }
    }
    return true;
}

void ResampledSource::Store(std::size_t stream, const ResampleStream::Result& result)
{
    if (stream == 0) {
        outputFrames_ = result.frames;
        output_.resize(static_cast<std::size_t>(result.frames) * Channels() * kSampleBytes);
    }
    if (result.frames != outputFrames_) {
        throw Failure("the streams of the channels have different lengths");
    }
    CopyChannels(result.samples, channelsPerStream_, output_.data() + stream * channelsPerStream_ * kSampleBytes,
                 Channels(), channelsPerStream_, result.frames, kSampleBytes);
}
