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
    : source_(source), rate_(rate), blockFrames_(std::min(blockFrames, kMostResampledFrames)),
      channelsPerStream_(source.Channels() <= 2 ? source.Channels() : 1)
{
    if (source.Format() != SampleFormat::Pcm16) {
        feed_.emplace(engine, source, SampleFormat::Pcm16, overloads, blockFrames_);
    }
    for (std::uint32_t first = 0; first < source.Channels(); first += channelsPerStream_) {
        streams_.emplace_back(engine, channelsPerStream_, source.Rate(), rate, blockFrames_);
    }
    if (streams_.size() > 1 && !feed_) {
        input_.resize(static_cast<std::size_t>(blockFrames_) * source.Channels() * kSampleBytes);
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
        if (readFrames_ == block_.frames) {
            readFrames_ = 0;
            if (!Next(block_)) {
                break;
            }
        }
        const sf_count_t count = std::min(frames - read, block_.frames - readFrames_);
        to = std::copy_n(block_.samples + static_cast<std::size_t>(readFrames_) * frameBytes,
                         static_cast<std::size_t>(count) * frameBytes, to);
        readFrames_ += count;
        read += count;
    }
    return read;
}

bool ResampledSource::Next(Block& block)
{
    block = {};
    while (block.frames == 0) {
        const sf_count_t frames = isAtEnd_ ? 0 : FillInputs();
        isAtEnd_ = frames == 0;
        for (std::size_t i = 0; i < streams_.size(); ++i) {
            ResampleStream::Result result{};
            if (!isAtEnd_) {
                result = streams_[i].Next(frames);
            } else if (!streams_[i].Tail(result)) {
                return false;
            }
            if (i == 0) {
                block.frames = result.frames;
            }
            if (result.frames != block.frames) {
                throw Failure("the streams of the channels have different lengths");
            }
            Store(i, result);
            block.samples = streams_.size() == 1 ? result.samples : output_.data();
        }
    }
    return true;
}

sf_count_t ResampledSource::FillInputs()
{
    if (!feed_ && streams_.size() == 1) {
        return source_.Read(streams_[0].Input(), blockFrames_);
    }
    const sf_count_t frames = feed_ ? feed_->Next() : source_.Read(input_.data(), blockFrames_);
    if (frames != 0) {
        Distribute(feed_ ? feed_->Convert(0, frames) : input_.data(), frames);
    }
    return frames;
}

void ResampledSource::Distribute(const std::byte* samples, sf_count_t frames)
{
    for (ResampleStream& stream : streams_) {
        CopyChannels(samples, Channels(), stream.Input(), channelsPerStream_, channelsPerStream_, frames, kSampleBytes);
        samples += channelsPerStream_ * kSampleBytes;
    }
}

void ResampledSource::Store(std::size_t stream, const ResampleStream::Result& result)
{
    if (streams_.size() == 1) {
        return;
    }
    output_.resize(static_cast<std::size_t>(result.frames) * Channels() * kSampleBytes);
    CopyChannels(result.samples, channelsPerStream_, output_.data() + stream * channelsPerStream_ * kSampleBytes,
                 Channels(), channelsPerStream_, result.frames, kSampleBytes);
}
