#include "tools/ztaudio/analyze_plots.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/common/spectrum_plot.h"
#include "tools/ztaudio/measure/spectrogram.h"
#include "tools/ztaudio/measure/waveform.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>

namespace {

constexpr std::uint64_t kSpectrumSegment = 65536;
constexpr std::uint64_t kShortestSpectrumSegment = 512;
constexpr std::uint64_t kSpectrogramSegment = 2048;
constexpr std::uint64_t kShortestSpectrogramSegment = 64;
constexpr double kLowestLevel = -160; // dBFS
constexpr std::size_t kRows = 256;    // of a spectrogram

/// The largest power of 2 in the range that is not above `frames`; the last of the range if the length is not known.
std::size_t SegmentFor(std::uint64_t frames, std::uint64_t first, std::uint64_t last)
{
    return frames == 0 ? last : std::bit_floor(std::clamp(frames, first, last));
}

std::string ChannelName(std::size_t channel)
{
    return "channel " + std::to_string(channel + 1);
}

Axis TimeAxis(double seconds)
{
    constexpr double kLongest = 300;
    return seconds > kLongest ? LinearAxis(0, seconds / 60, "time in min")
                              : LinearAxis(0, std::max(seconds, 1e-3), "time in s");
}

void RequireSvg(const std::filesystem::path& path)
{
    std::string extension = path.extension().string();
    std::ranges::transform(extension, extension.begin(), [](unsigned char letter) { return std::tolower(letter); });
    if (!path.empty() && extension != ".svg") {
        throw UsageFailure(path.string() + ": a picture is an SVG file: use the extension .svg");
    }
}

/// The y axis of waveforms in lanes one above the other, channel 1 at the top.
Axis LaneAxis(std::size_t channels)
{
    if (channels == 1) {
        return {.first = -1, .last = 1, .step = 0.5, .label = "amplitude", .decimals = 1};
    }
    Axis axis{.first = 0, .last = static_cast<double>(channels), .step = 1, .label = "channel"};
    const std::size_t step = channels > 16 ? channels / 8 : 1;
    for (std::size_t c = 0; c < channels; c += step) {
        axis.ticks.emplace_back(static_cast<double>(channels - c) - 0.5, std::to_string(c + 1));
    }
    return axis;
}

} // namespace

struct AnalysisPlots::Data {
    AnalyzeOptions options;
    double rate;
    std::uint64_t frames = 0;
    std::vector<Spectrum> spectra;
    std::vector<Spectrogram> spectrograms;
    std::vector<Waveform> waveforms;

    FrequencyScale Scale() const
    {
        return options.axis == "log" ? FrequencyScale::Logarithmic : FrequencyScale::Linear;
    }
    double Seconds() const { return static_cast<double>(frames) / rate; }
    std::string Title() const { return options.in.filename().string(); }

    void DrawSpectrum();
    void DrawSpectrogram();
    void DrawWaveform();
    double CellPower(std::size_t column, double first, double last) const;
};

AnalysisPlots::AnalysisPlots(const AnalyzeOptions& options, std::size_t channels, double rate, std::uint64_t frames)
    : data_(std::make_unique<Data>())
{
    for (const auto& file : {options.plot, options.spectrogram, options.waveform}) {
        RequireSvg(file);
    }
    data_->options = options;
    data_->rate = rate;
    const std::uint64_t known = frames != 0 ? 1 : 0;
    if (!options.plot.empty()) {
        data_->spectra.assign(channels,
                              Spectrum(SegmentFor(frames / 8 + known, kShortestSpectrumSegment, kSpectrumSegment)));
    }
    if (!options.spectrogram.empty()) {
        data_->spectrograms.assign(
            channels, Spectrogram(SegmentFor(frames / 16 + known, kShortestSpectrogramSegment, kSpectrogramSegment)));
    }
    if (!options.waveform.empty()) {
        data_->waveforms.resize(channels);
    }
}

AnalysisPlots::~AnalysisPlots() = default;

bool AnalysisPlots::AreWanted() const
{
    return !data_->spectra.empty() || !data_->spectrograms.empty() || !data_->waveforms.empty();
}

void AnalysisPlots::Add(const Planes& samples)
{
    const auto add = [&samples](auto& targets) {
        for (std::size_t c = 0; c < targets.size(); ++c) {
            targets[c].Add(samples[c]);
        }
    };
    add(data_->spectra);
    add(data_->spectrograms);
    add(data_->waveforms);
    data_->frames += samples[0].size();
}

void AnalysisPlots::Write()
{
    if (!data_->spectra.empty()) {
        data_->DrawSpectrum();
    }
    if (!data_->spectrograms.empty()) {
        data_->DrawSpectrogram();
    }
    if (!data_->waveforms.empty()) {
        data_->DrawWaveform();
    }
}

void AnalysisPlots::Data::DrawSpectrum()
{
    SvgPlot plot = SpectrumPlot(Title(), rate, kLowestLevel, Scale());
    for (std::size_t c = 0; c < spectra.size(); ++c) {
        spectra[c].Finish();
        AddSpectrum(plot, ChannelName(c), spectra[c], rate, Scale());
    }
    WriteText(options.plot, plot.Text());
}

/// The largest power of any channel in the bins from one frequency to the next, in Hz.
double AnalysisPlots::Data::CellPower(std::size_t column, double first, double last) const
{
    const double bins = 2 * static_cast<double>(spectrograms[0].BinCount() - 1) / rate;
    const auto firstBin = static_cast<std::size_t>(std::lround(first * bins));
    const auto lastBin = std::min(static_cast<std::size_t>(std::lround(last * bins)), spectrograms[0].BinCount() - 1);
    double power = 0;
    for (const Spectrogram& spectrogram : spectrograms) {
        for (std::size_t bin = firstBin; bin <= lastBin; ++bin) {
            power = std::max(power, spectrogram.Power(column, bin));
        }
    }
    return power;
}

void AnalysisPlots::Data::DrawSpectrogram()
{
    std::ranges::for_each(spectrograms, &Spectrogram::Finish);
    const Axis frequencies = FrequencyAxis(rate, Scale());
    const std::size_t columns = spectrograms[0].ColumnCount();
    std::vector<double> levels(columns * kRows);
    const auto frequencyAt = [&](std::size_t row) {
        const double part = static_cast<double>(row) / kRows;
        return frequencies.logarithmic ? frequencies.first * std::pow(frequencies.last / frequencies.first, part)
                                       : part * rate / 2;
    };
    for (std::size_t row = 0; row < kRows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            levels[row * columns + column] = PowerDecibels(CellPower(column, frequencyAt(row), frequencyAt(row + 1)));
        }
    }
    const char* note = spectrograms.size() == 1 ? "; level in dBFS" : "; level of the loudest channel in dBFS";
    const double seconds = static_cast<double>(columns * (columns == 0 ? 0 : spectrograms[0].FramesPerColumn())) / rate;
    SvgPlot plot(Title() + note, TimeAxis(seconds), frequencies);
    if (columns != 0) {
        plot.AddMap(levels, columns);
    }
    WriteText(options.spectrogram, plot.Text());
}

void AnalysisPlots::Data::DrawWaveform()
{
    const std::size_t channels = waveforms.size();
    const Axis time = TimeAxis(Seconds());
    const double unit = Seconds() > 0 ? time.last / Seconds() : 1;
    SvgPlot plot(Title(), time, LaneAxis(channels));
    for (std::size_t c = 0; c < channels; ++c) {
        const double center = channels == 1 ? 0 : static_cast<double>(channels - c) - 0.5;
        const double height = channels == 1 ? 1 : 0.48;
        const double step = static_cast<double>(waveforms[c].FramesPerColumn()) / rate * unit;
        std::vector<Band> bands;
        for (const auto& [low, high] : waveforms[c].Columns()) {
            bands.push_back({(static_cast<double>(bands.size()) + 0.5) * step,
                             center + height * std::clamp(low, -1.0, 1.0),
                             center + height * std::clamp(high, -1.0, 1.0)});
        }
        plot.AddBands(ChannelName(c), bands);
    }
    WriteText(options.waveform, plot.Text());
}
