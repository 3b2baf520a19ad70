/// Gains for floats, applied before a conversion.
#pragma once

#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/sample_source.h"

/// Multiplies the floats of another source by the gains of an option and by a factor.
class FloatGain : public SampleSource {
public:
    FloatGain(SampleSource& source, Gains gains, double factor)
        : source_(source), gains_(std::move(gains)), factor_(static_cast<float>(factor))
    {
    }

    SampleFormat Format() const override { return SampleFormat::Float32; }
    std::uint32_t Channels() const override { return source_.Channels(); }
    std::uint32_t Rate() const override { return source_.Rate(); }
    sf_count_t Frames() const override { return source_.Frames(); }
    sf_count_t Read(void* samples, sf_count_t frames) override;

private:
    SampleSource& source_;
    Gains gains_;
    float factor_;
    sf_count_t position_ = 0;
};
