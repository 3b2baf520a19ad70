#include "tools/ztaudio/clip_detector.h"

#include <cmath>
#include <span>
#include <string>

ClipDetector::ClipDetector(SampleFormat from, SampleFormat to) : watching_(from == SampleFormat::Float32 && to != from)
{
    if (to == SampleFormat::Pcm16) {
        scale_ = 32767.0F;
        lowest_ = std::nextafter(-32769.0F, 0.0F);
        limit_ = 32768.0F;
    }
}

void ClipDetector::Scan(const std::byte* words, std::size_t samples)
{
    if (!watching_) {
        return;
    }
    for (const float sample : std::span(reinterpret_cast<const float*>(words), samples)) {
        const float scaled = sample * scale_;
        count_ += scaled >= lowest_ && scaled < limit_ ? 0 : 1; // a NaN counts
    }
}

void ClipDetector::Report(const Context& context, const SoundFileReader& sound) const
{
    if (count_ != 0) {
        context.Note(sound.Path().string() + ": " + std::to_string(count_) +
                     " samples beyond full scale wrapped around; lower the level before converting");
    }
}
