#include "bench/peers/quality.h"

#include "tools/common/spectrum.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace bench {

ToneResult PlayTone(const StreamMaker& maker, const Rates& rates, std::size_t frames, double hertz, double seconds,
                    std::uint32_t channel)
{
    constexpr std::size_t kEdge = 4096; // the onset of the tone, and the resampler's latency
    constexpr std::size_t kSegment = 1 << 14;
    const Stream stream = maker.make(rates, frames);
    const std::size_t capacity = 2 * frames + 16384;
    std::vector<std::int16_t> in(frames * rates.channels);
    std::vector<std::int16_t> out(capacity * rates.channels);
    std::vector<double> values;
    const double amplitude = 32768 * std::pow(10.0, kToneLevel / 20);
    for (std::size_t frame = 0; static_cast<double>(frame) < seconds * rates.from;) {
        for (std::size_t i = 0; i < frames; ++i, ++frame) {
            const double turns = std::fmod(hertz * static_cast<double>(frame) / rates.from, 1.0);
            const double value = amplitude * std::sin(2 * std::numbers::pi * turns);
            std::fill_n(&in[i * rates.channels], rates.channels, static_cast<std::int16_t>(std::lround(value)));
        }
        const std::size_t made = stream(in.data(), frames, out.data(), capacity);
        for (std::size_t i = 0; i < made; ++i) {
            values.push_back(out[i * rates.channels + channel] * 0x1p-15);
        }
    }
    const double expected = seconds * rates.to;
    if (static_cast<double>(values.size()) < 0.8 * expected || values.size() < 2 * kEdge + kSegment) {
        throw std::runtime_error(maker.name + ": " + std::to_string(values.size()) + " frames came out");
    }
    Spectrum spectrum(kSegment);
    spectrum.Add(std::span(values).subspan(kEdge));
    const auto tone = FindTone(spectrum.Powers());
    const double found = tone ? tone->bin * rates.to / kSegment : 0.0;
    if (std::abs(found - hertz) > 1) {
        throw std::runtime_error(maker.name + ": the tone is at " + std::to_string(found) + " Hz");
    }
    return {PowerDecibels(2 * tone->power), PowerDecibels(tone->power / tone->noise)};
}

} // namespace bench
