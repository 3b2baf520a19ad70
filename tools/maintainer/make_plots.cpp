/// make_plots FOLDER: measures the resampler of the module, draws the pictures of docs/plots and prints the figures.
#include "tools/common/failure.h"
#include "tools/common/spectrum_plot.h"
#include "tools/maintainer/sine.h"
#include "tools/ztaudio/resample_stream.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numbers>

namespace {

using Samples = std::vector<std::int16_t>;

constexpr double kFullScale = 32767;

struct Direction {
    std::uint32_t from;
    std::uint32_t to;
    std::size_t phases; ///< outputs of a period, after which an output coincides with an input again
    std::size_t period; ///< inputs of a period

    std::string Text() const { return std::to_string(from) + " to " + std::to_string(to) + " Hz"; }
    std::string File(std::string kind) const
    {
        return kind.append("-").append(std::to_string(from)).append("-").append(std::to_string(to)).append(".svg");
    }
};

constexpr Direction kDirections[] = {{44100, 48000, 160, 147}, {48000, 44100, 147, 160}};

Samples Resample(EngineSession& engine, const Direction& direction, const Samples& in)
{
    Samples out;
    const auto append = [&out](const ResampleStream::Result& result) {
        const std::size_t before = out.size();
        out.resize(before + static_cast<std::size_t>(result.frames));
        if (result.frames != 0) {
            std::memcpy(&out[before], result.samples, (out.size() - before) * sizeof out[0]);
        }
    };
    const auto frames = static_cast<sf_count_t>(in.size());
    ResampleStream stream(engine, 1, direction.from, direction.to, frames);
    std::memcpy(stream.Input(), in.data(), in.size() * sizeof in[0]);
    append(stream.Next(frames));
    for (ResampleStream::Result result{}; stream.Tail(result);) {
        append(result);
    }
    return out;
}

/// The filter's impulse response at steps of 1/phases of an input frame, around 0. The outputs sample the response to
/// one impulse at every period-th step. Each impulse of a train is one step later relative to the outputs, so a train
/// of `period` impulses gives all steps.
std::vector<double> MeasureImpulseResponse(EngineSession& engine, const Direction& direction)
{
    constexpr std::size_t kReach = 24; // input frames, more than the filter's half length
    const std::size_t spacing = direction.period + 1;
    Samples in((direction.period + 1) * spacing);
    for (std::size_t i = 1; i <= direction.period; ++i) {
        in[i * spacing] = static_cast<std::int16_t>(kFullScale);
    }
    const Samples out = Resample(engine, direction, in);
    const auto reach = static_cast<std::ptrdiff_t>(kReach * direction.phases);
    std::vector<double> response(static_cast<std::size_t>(2 * reach + 1));
    for (std::size_t n = 0; n < out.size(); ++n) {
        const std::size_t position = n * direction.period; // in steps
        const std::size_t impulse = (position / direction.phases + spacing / 2) / spacing * spacing;
        const auto step =
            static_cast<std::ptrdiff_t>(position) - static_cast<std::ptrdiff_t>(impulse * direction.phases);
        if (impulse != 0 && impulse < in.size() && std::abs(step) <= reach) {
            response[static_cast<std::size_t>(reach + step)] = out[n] / kFullScale;
        }
    }
    return response;
}

/// The gain by frequency, in decibels, up to `last` hertz.
std::vector<Point> ComputeFrequencyResponse(const std::vector<double>& impulse, const Direction& direction, double last)
{
    constexpr std::size_t kLength = 1 << 20;
    const std::vector<double> powers = TransformPowers(impulse, kLength);
    const double rate = static_cast<double>(direction.from) * static_cast<double>(direction.phases);
    std::vector<Point> points;
    for (std::size_t bin = 0; bin < powers.size(); ++bin) {
        const double hertz = static_cast<double>(bin) * rate / kLength;
        if (hertz > last) {
            break;
        }
        points.push_back(
            {hertz / 1000, PowerDecibels(powers[bin]) - AmplitudeDecibels(static_cast<double>(direction.phases))});
    }
    return points;
}

/// Prints the figures of a response that docs/resampler.md has.
void PrintResponse(const Direction& direction, std::span<const Point> points)
{
    double deviation = 0;
    double stop = -200;
    for (const Point& point : points) {
        deviation = std::max(deviation, point.x <= 18 ? std::abs(point.y) : 0);
        stop = std::max(stop, point.x >= 26.5 ? point.y : stop);
    }
    std::printf("%s: within %.4f dB up to 18 kHz, at most %.1f dB from 26.5 kHz on;", direction.Text().c_str(),
                deviation, stop);
    for (const double kilohertz : {19.0, 20.0, 21.0, 22.05, 24.0, 25.0, 26.0}) {
        const auto point = std::ranges::lower_bound(points, kilohertz, {}, &Point::x);
        std::printf(" %.2f dB at %g kHz", point->y, kilohertz);
    }
    std::printf("\n");
}

void PlotResponses(EngineSession& engine, const std::filesystem::path& folder)
{
    SvgPlot whole("Response of the filter", {.first = 0, .last = 44, .step = 4, .label = "frequency in kHz"},
                  {.first = -120, .last = 10, .step = 20, .label = "gain in dB"});
    SvgPlot close("Response of the filter, passband close up",
                  {.first = 0, .last = 22, .step = 2, .label = "frequency in kHz"},
                  {.first = -3, .last = 0.5, .step = 0.5, .label = "gain in dB", .decimals = 1});
    for (const Direction& direction : kDirections) {
        const auto points = ComputeFrequencyResponse(MeasureImpulseResponse(engine, direction), direction, 44000);
        PrintResponse(direction, points);
        whole.AddCurve(direction.Text(), points);
        close.AddCurve(direction.Text(), points);
    }
    WriteText(folder / "response.svg", whole.Text());
    WriteText(folder / "passband.svg", close.Text());
}

std::vector<double> ToAmplitudes(std::span<const std::int16_t> samples)
{
    std::vector<double> values(samples.size());
    std::ranges::transform(samples, values.begin(), [](std::int16_t sample) { return sample * 0x1p-15; });
    return values;
}

Spectrum ComputeSpectrum(std::span<const std::int16_t> samples, std::size_t segment)
{
    Spectrum spectrum(segment);
    spectrum.Add(ToAmplitudes(samples));
    return spectrum;
}

void PlotTone(EngineSession& engine, const std::filesystem::path& folder, const Direction& direction, double hertz)
{
    constexpr double kLevel = -1;
    const Samples in = MakeSine(hertz, kLevel, direction.from, std::size_t{6} * direction.from);
    const Samples out = Resample(engine, direction, in);
    const double rate = direction.to;
    char name[96];
    std::snprintf(name, sizeof name, "%g Hz at %g dBFS, ", hertz, kLevel);
    SvgPlot plot = SpectrumPlot(name + direction.Text(), rate, -160);
    constexpr std::size_t kEdge = 100; // frames at the beginning and the end, which are not measured
    const Spectrum before = ComputeSpectrum(std::span(in).subspan(kEdge, in.size() - 2 * kEdge), 1 << 16);
    const Spectrum after = ComputeSpectrum(std::span(out).subspan(kEdge, out.size() - 2 * kEdge), 1 << 16);
    AddSpectrum(plot, "output", after, rate);
    WriteText(folder / direction.File("tone-" + std::to_string(static_cast<int>(hertz))), plot.Text());
    for (const auto& [when, spectrum] : {std::pair("before", &before), {"after", &after}}) {
        const Tone tone = FindTone(spectrum->Powers()).value();
        std::printf("%s%s, %s: level %.3f dBFS, signal to noise %.2f dB, THD+N %.2f dB\n", name,
                    direction.Text().c_str(), when, PowerDecibels(2 * tone.power),
                    PowerDecibels(tone.power / tone.noise), PowerDecibels(tone.rest / tone.power));
    }
}

/// A sine whose frequency rises linearly from 0 to half the rate, as time by frequency.
void PlotSweep(EngineSession& engine, const std::filesystem::path& folder, const Direction& direction)
{
    constexpr double kSeconds = 8;
    constexpr std::size_t kColumns = 320;
    constexpr std::size_t kSegment = 1024;
    constexpr std::size_t kRows = 256;
    const auto frames = static_cast<std::size_t>(kSeconds * direction.from);
    Samples in(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const double n = static_cast<double>(i);
        const double turns = std::fmod(n * n / 4 / static_cast<double>(frames), 1.0); // half the rate at the end
        in[i] = static_cast<std::int16_t>(std::lround(29204 * std::sin(2 * std::numbers::pi * turns)));
    }
    const Samples out = Resample(engine, direction, in);
    std::vector<double> levels(kColumns * kRows);
    for (std::size_t column = 0; column < kColumns; ++column) {
        const std::size_t first = column * (out.size() - kSegment) / (kColumns - 1);
        const Spectrum spectrum = ComputeSpectrum(std::span(out).subspan(first, kSegment), kSegment);
        const std::vector<double> powers = spectrum.Powers();
        const double gain = 2 * spectrum.ToneGain();
        for (std::size_t row = 0; row < kRows; ++row) {
            const std::size_t bin = row * (kSegment / 2) / kRows;
            levels[row * kColumns + column] = PowerDecibels(std::max(powers[bin], powers[bin + 1]) * gain);
        }
    }
    SvgPlot plot("Sweep from 0 to " + std::to_string(direction.from / 2) + " Hz at -1 dBFS, " + direction.Text() +
                     "; level in dBFS",
                 {.first = 0, .last = kSeconds, .step = 1, .label = "time in s"},
                 {.first = 0, .last = direction.to / 2000.0, .step = 4, .label = "frequency in kHz"});
    plot.AddMap(levels, kColumns);
    WriteText(folder / direction.File("sweep"), plot.Text());
}

void MakePlots(const std::filesystem::path& folder)
{
    EngineSession engine(Context{});
    std::filesystem::create_directories(folder);
    PlotResponses(engine, folder);
    for (const Direction& direction : kDirections) {
        PlotSweep(engine, folder, direction);
        for (const double hertz : {997.0, 15000.0}) {
            PlotTone(engine, folder, direction, hertz);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_plots FOLDER\n");
        return 2;
    }
    try {
        MakePlots(argv[1]);
    } catch (const std::exception& error) {
        PrintError(error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
