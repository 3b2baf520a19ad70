#include "tools/common/spectrum_plot.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kLowestHertz = 20;

/// Hertz in the unit of the axis.
double UnitOf(FrequencyScale scale)
{
    return scale == FrequencyScale::Linear ? 1000 : 1;
}

} // namespace

Axis FrequencyAxis(double rate, FrequencyScale scale)
{
    if (scale == FrequencyScale::Logarithmic) {
        return {.first = std::min(kLowestHertz, rate / 20),
                .last = rate / 2,
                .step = 0,
                .label = "frequency in Hz",
                .logarithmic = true};
    }
    const double kilohertz = rate / 2 / UnitOf(scale);
    const double step = std::pow(10.0, std::floor(std::log10(kilohertz / 4)));
    return {.first = 0,
            .last = kilohertz,
            .step = kilohertz / step > 12 ? 2 * step : step,
            .label = "frequency in kHz",
            .decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step))))};
}

SvgPlot SpectrumPlot(std::string_view title, double rate, double lowest, FrequencyScale scale)
{
    return {title, FrequencyAxis(rate, scale), {.first = lowest, .last = 0, .step = 20, .label = "level in dBFS"}};
}

void AddSpectrum(SvgPlot& plot, std::string_view name, const Spectrum& spectrum, double rate, FrequencyScale scale)
{
    const std::vector<double> powers = spectrum.Powers();
    const double gain = 2 * spectrum.ToneGain(); // a full-scale sine has a mean square of one half
    const double first = FrequencyAxis(rate, scale).first;
    std::vector<Point> points;
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        const double frequency =
            static_cast<double>(bin) * rate / static_cast<double>(spectrum.Length()) / UnitOf(scale);
        if (frequency >= first) {
            points.push_back({frequency, PowerDecibels(powers[bin] * gain)});
        }
    }
    plot.AddCurve(name, points);
}
