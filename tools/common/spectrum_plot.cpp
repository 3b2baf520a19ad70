#include "tools/common/spectrum_plot.h"

#include <cmath>

SvgPlot SpectrumPlot(std::string_view title, double rate, double lowest)
{
    const double kilohertz = rate / 2000;
    const double step = std::pow(10.0, std::floor(std::log10(kilohertz / 4)));
    return {title,
            {.first = 0,
             .last = kilohertz,
             .step = kilohertz / step > 12 ? 2 * step : step,
             .label = "frequency in kHz",
             .decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step))))},
            {.first = lowest, .last = 0, .step = 20, .label = "level in dBFS"}};
}

void AddSpectrum(SvgPlot& plot, std::string_view name, const Spectrum& spectrum, double rate)
{
    const std::vector<double> powers = spectrum.Powers();
    const double gain = 2 * spectrum.ToneGain(); // a full-scale sine has a mean square of one half
    std::vector<Point> points;
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        points.push_back({static_cast<double>(bin) * rate / static_cast<double>(spectrum.Length()) / 1000,
                          PowerDecibels(powers[bin] * gain)});
    }
    plot.AddCurve(name, points);
}
