#include "tools/ztaudio/float_gain.h"

sf_count_t FloatGain::Read(void* samples, sf_count_t frames)
{
    const sf_count_t read = source_.Read(samples, frames);
    auto* sample = static_cast<float*>(samples);
    if (gains_.HasAny()) {
        gains_.ForConstantGains(position_, read,
                                [&](sf_count_t /*first*/, sf_count_t span, std::span<const int> gains) {
                                    for (sf_count_t frame = 0; frame < span; ++frame) {
                                        for (const int gain : gains) {
                                            *sample++ *= static_cast<float>(gain) / kUnityGain;
                                        }
                                    }
                                });
    }
    position_ += read;
    if (factor_ != 1.0F) {
        for (float& value : std::span(static_cast<float*>(samples), static_cast<std::size_t>(read) * Channels())) {
            value *= factor_;
        }
    }
    return read;
}
