#include "tools/ztaudio/guard.h"

#include "tools/common/failure.h"
#include "tools/common/format_text.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/context.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/sample_value.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

namespace {

/// The largest magnitude that the gains from `firstGain` on make of the samples, full scale being 1.
double FindScaledPeak(SampleSource& in, Gains& gains, std::size_t firstGain)
{
    const std::size_t channels = in.Channels();
    std::vector<std::byte> samples(static_cast<std::size_t>(kBlockFrames) * channels * BytesOf(in.Format()));
    double peak = 0.0;
    sf_count_t position = 0;
    while (const sf_count_t frames = in.Read(samples.data(), kBlockFrames)) {
        CheckInterruption();
        gains.ForConstantGains(position, frames, [&](sf_count_t first, sf_count_t span, std::span<const int> values) {
            const std::span<const int> own = values.subspan(firstGain, channels);
            for (std::size_t i = 0; i < static_cast<std::size_t>(span) * channels; ++i) {
                const double gain = static_cast<double>(own[i % channels]) / kUnityGain;
                const std::size_t sample = static_cast<std::size_t>(first) * channels + i;
                peak = std::max(peak, std::abs(SampleAt(samples.data(), sample, in.Format())) * gain); // ignores a NaN
            }
        });
        position += frames;
    }
    return peak;
}

double FindScaledPeak(const std::vector<std::filesystem::path>& inputs, const InputOptions& options, Gains& gains)
{
    double peak = 0.0;
    std::size_t firstGain = 0;
    for (const auto& path : inputs) {
        SoundFileReader in(path, options);
        peak = std::max(peak, FindScaledPeak(in, gains, firstGain));
        firstGain += in.Channels();
    }
    return peak;
}

} // namespace

void RequireFileForGuard(const std::filesystem::path& in)
{
    std::error_code error;
    if (in == "-" || std::filesystem::is_fifo(std::filesystem::status(in, error))) {
        throw UsageFailure("--guard reads the input twice, so it needs a file");
    }
}

double FindPeak(SampleSource& source)
{
    std::vector<float> samples(static_cast<std::size_t>(kBlockFrames) * source.Channels());
    float peak = 0.0F;
    while (const sf_count_t frames = source.Read(samples.data(), kBlockFrames)) {
        CheckInterruption();
        for (const float sample : std::span(samples).first(static_cast<std::size_t>(frames) * source.Channels())) {
            peak = std::max(peak, std::abs(sample)); // ignores a NaN
        }
    }
    return static_cast<double>(peak);
}

double LowerForGuard(const std::string& name, double peak)
{
    if (!(peak > 1.0)) {
        return 1.0;
    }
    if (!std::isfinite(peak)) {
        throw Failure(name + ": has an infinite sample, which no level brings below full scale: use --overload clip");
    }
    // Rounded down, so that the rounding of a product does not pass full scale.
    const float factor = std::nextafter(static_cast<float>(1.0 / peak), 0.0F);
    PrintError(name + FormatText(": level lowered by %.2f dB", -20.0 * std::log10(static_cast<double>(factor))));
    return static_cast<double>(factor);
}

double LowerGains(const std::string& name, const std::vector<std::filesystem::path>& inputs,
                  const InputOptions& options, Gains& gains)
{
    double factor = 1.0;
    Gains lowered = gains;
    // A ramp is rounded in each frame, so that lowering it once may not be enough.
    double peak = FindScaledPeak(inputs, options, lowered);
    while (peak > 1.0) {
        factor = std::min(factor / peak, factor * (1.0 - 1.0 / kMaxGain));
        lowered = gains;
        lowered.Lower(factor);
        peak = FindScaledPeak(inputs, options, lowered);
    }
    if (factor < 1.0) {
        LowerForGuard(name, 1.0 / factor);
        gains = lowered;
    }
    return factor;
}
