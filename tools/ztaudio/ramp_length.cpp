#include "tools/ztaudio/ramp_length.h"

#include "tools/common/signal_handling.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/padded_buffer.h"

namespace {

sf_count_t CountFrames(SampleSource& source)
{
    std::vector<std::byte> samples(static_cast<std::size_t>(kBlockFrames) * source.Channels() *
                                   BytesOf(source.Format()));
    sf_count_t frames = 0;
    while (const sf_count_t read = source.Read(samples.data(), kBlockFrames)) {
        CheckInterruption();
        frames += read;
    }
    return frames;
}

} // namespace

sf_count_t FindRampFrames(const SoundFileReader& in, const InputOptions& options, const std::vector<std::string>& gains)
{
    if (in.IsLengthKnown()) {
        return in.Frames();
    }
    if (in.IsPipe() || !HasRamp(gains)) {
        return kUnknownFrames;
    }
    SoundFileReader again(in.Path(), options);
    return CountFrames(again);
}
