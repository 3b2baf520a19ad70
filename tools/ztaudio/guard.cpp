#include "tools/ztaudio/guard.h"

#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/context.h"
#include "tools/ztaudio/padded_buffer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>
#include <vector>

void RequireFileForGuard(const std::filesystem::path& in)
{
    if (in == "-") {
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
    char text[64];
    std::snprintf(text, sizeof text, ": level lowered by %.2f dB", -20.0 * std::log10(static_cast<double>(factor)));
    PrintError(name + text);
    return static_cast<double>(factor);
}
