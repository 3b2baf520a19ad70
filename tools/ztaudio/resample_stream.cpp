#include "tools/ztaudio/resample_stream.h"

#include "host/formats.h"
#include "tools/common/failure.h"

#include <algorithm>
#include <cstring>

namespace host = zta::host;

namespace {

constexpr sf_count_t kSilenceFrames = 64; // more than the latency

} // namespace

sf_count_t ResampledFrames(sf_count_t frames, std::uint32_t from, std::uint32_t to)
{
    return (2 * frames * to + from) / (2 * sf_count_t{from});
}

ResampleStream::ResampleStream(EngineSession& engine, std::uint32_t channels, std::uint32_t from, std::uint32_t to,
                               sf_count_t maxFrames)
    : engine_(engine), from_(from), to_(to)
{
    // The engine requires the capacity of the input's frames, also if the output has fewer, and of one frame more than
    // it computes.
    const auto inFrames = static_cast<std::size_t>(std::max(maxFrames, kSilenceFrames));
    const std::size_t outFrames = std::max(inFrames, inFrames * to / std::max(from, 1U) + 1);
    const SZtaWaveFormatInfo inFormat = host::Pcm16(channels, from);
    const SZtaWaveFormatInfo outFormat = host::Pcm16(channels, to);
    input_ = host::AudioBuffer::Create(inFormat, inFrames * host::BytesPerFrame(inFormat));
    output_ = host::AudioBuffer::Create(outFormat, outFrames * host::BytesPerFrame(outFormat));
    resampler_ = engine.CreateResampler(*input_, *output_);
}

ResampleStream::Result ResampleStream::Next(sf_count_t frames)
{
    const Result result = Run(static_cast<std::size_t>(frames));
    given_ += frames;
    written_ += result.frames;
    return result;
}

bool ResampleStream::Tail(Result& result)
{
    const sf_count_t missing = ResampledFrames(given_, from_, to_) - written_;
    if (missing <= 0) {
        return false;
    }
    std::memset(input_->Data(), 0, input_->Capacity());
    result = Run(static_cast<std::size_t>(kSilenceFrames));
    if (result.frames == 0) {
        throw Failure("the engine does not drain the resampler");
    }
    result.frames = std::min(result.frames, missing);
    written_ += result.frames;
    return true;
}

ResampleStream::Result ResampleStream::Run(std::size_t frames)
{
    input_->SetValidLength(frames * host::BytesPerFrame(input_->Description().sWaveFormat));
    engine_.Resample(*input_, *output_, given_ == 0, *resampler_);
    return {output_->Data(), static_cast<sf_count_t>(FramesOf(*output_))};
}
