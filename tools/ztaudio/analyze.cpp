#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/common/signal_handling.h"
#include "tools/common/spectrum_plot.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace {

constexpr sf_count_t kSegment = 65536;
constexpr sf_count_t kShortestSegment = 512;

/// The samples of a sound, 1 being full scale, in blocks for each channel.
class SampleSource {
public:
    explicit SampleSource(SoundFileReader& sound)
        : sound_(sound), words_(static_cast<std::size_t>(kBlockFrames) * sound.Channels() * BytesOf(sound.Word()))
    {
    }

    /// Reads up to `frames` frames, at most a block, into one vector for each channel. False at the end.
    bool Next(sf_count_t frames, std::vector<std::vector<double>>& channels)
    {
        const auto count = static_cast<std::size_t>(sound_.Read(words_.data(), frames));
        channels.assign(sound_.Channels(), std::vector<double>(count));
        for (std::size_t i = 0; i < count * channels.size(); ++i) {
            channels[i % channels.size()][i / channels.size()] = Sample(i);
        }
        return count != 0;
    }

private:
    double Sample(std::size_t i) const
    {
        switch (sound_.Word()) {
        case SampleFormat::Pcm16:
            return reinterpret_cast<const std::int16_t*>(words_.data())[i] * 0x1p-15;
        case SampleFormat::Float32:
            return static_cast<double>(reinterpret_cast<const float*>(words_.data())[i]);
        default:
            return reinterpret_cast<const std::int32_t*>(words_.data())[i] * 0x1p-31;
        }
    }

    SoundFileReader& sound_;
    std::vector<std::byte> words_;
};

class Level {
public:
    void Add(double sample)
    {
        peak_ = std::max(peak_, std::abs(sample));
        squares_ += sample * sample;
        ++count_;
    }
    double Rms() const { return PowerDecibels(squares_ / std::max(count_, 1.0)); }
    double Peak() const { return AmplitudeDecibels(peak_); }

private:
    double peak_ = 0;
    double squares_ = 0;
    double count_ = 0;
};

struct Channel {
    Level level;
    Level difference;
    Spectrum spectrum;
};

struct Report {
    std::vector<Channel> channels;
    sf_count_t frames = 0;
};

/// Looks at the whole sound, and beside it at the reference as far as both go.
Report Analyse(SoundFileReader& in, SoundFileReader* reference)
{
    const sf_count_t frames = in.Frames() == 0 ? kSegment : in.Frames();
    const auto segment = static_cast<std::size_t>(std::clamp(frames / 2 * 2, kShortestSegment, kSegment));
    Report report{std::vector<Channel>(in.Channels(), Channel{{}, {}, Spectrum(segment)}), 0};
    SampleSource source(in);
    std::unique_ptr<SampleSource> other = reference != nullptr ? std::make_unique<SampleSource>(*reference) : nullptr;
    std::vector<std::vector<double>> samples;
    std::vector<std::vector<double>> others(in.Channels());
    while (source.Next(kBlockFrames, samples)) {
        CheckInterruption();
        if (other) {
            other->Next(kBlockFrames, others);
        }
        for (std::size_t c = 0; c < samples.size(); ++c) {
            Channel& channel = report.channels[c];
            std::ranges::for_each(samples[c], [&](double sample) { channel.level.Add(sample); });
            for (std::size_t i = 0; i < std::min(samples[c].size(), others[c].size()); ++i) {
                channel.difference.Add(samples[c][i] - others[c][i]);
            }
            channel.spectrum.Add(samples[c]);
        }
        report.frames += static_cast<sf_count_t>(samples[0].size());
    }
    return report;
}

/// What a report tells of a test tone.
struct ToneFigures {
    double hertz;
    double level;    ///< a full-scale sine being 0
    double noise;    ///< signal to noise: the tone over what is neither tone nor harmonic
    double thdNoise; ///< THD+N: all that is not the tone, over the tone
};

std::optional<ToneFigures> ToneOf(const Channel& channel, double rate)
{
    const auto tone = FindTone(channel.spectrum.Powers());
    if (!tone) {
        return std::nullopt;
    }
    return ToneFigures{.hertz = tone->bin * rate / static_cast<double>(channel.spectrum.Length()),
                       .level = PowerDecibels(2 * tone->power),
                       .noise = PowerDecibels(tone->power / tone->noise),
                       .thdNoise = PowerDecibels(tone->rest / tone->power)};
}

void Print(const AnalyzeOptions& options, const SoundFileReader& in, const Report& report)
{
    std::printf("%s: %lld sample frames at %u Hz\n", options.in.c_str(), static_cast<long long>(report.frames),
                in.Rate());
    for (std::size_t c = 0; c < report.channels.size(); ++c) {
        const Channel& channel = report.channels[c];
        std::printf("  channel %-3zu level %.2f dBFS, peak %.2f dBFS\n", c + 1, channel.level.Rms(),
                    channel.level.Peak());
        if (const auto tone = ToneOf(channel, in.Rate())) {
            std::printf("    tone      %.3f Hz at %.2f dBFS, signal to noise %.2f dB, THD+N %.2f dB\n", tone->hertz,
                        tone->level, tone->noise, tone->thdNoise);
        } else {
            std::printf("    tone      none\n");
        }
        if (!options.reference.empty()) {
            std::printf("    difference level %.2f dBFS, peak %.2f dBFS\n", channel.difference.Rms(),
                        channel.difference.Peak());
        }
    }
}

std::string JsonNumber(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return std::isfinite(value) ? text : "null";
}

std::string JsonText(const std::string& text)
{
    std::string result = "\"";
    for (const char letter : text) {
        if (static_cast<unsigned char>(letter) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(letter));
            result += escape;
        } else {
            result += letter == '"' || letter == '\\' ? "\\" : "";
            result += letter;
        }
    }
    return result + '"';
}

void PrintJson(const AnalyzeOptions& options, const SoundFileReader& in, const Report& report)
{
    std::string text = "{\"file\": " + JsonText(options.in.string()) + ", \"rate\": " + std::to_string(in.Rate()) +
                       ", \"frames\": " + std::to_string(report.frames) + ", \"channels\": [";
    const char* comma = "";
    for (const Channel& channel : report.channels) {
        text += std::string(comma) + "\n  {\"level_dbfs\": " + JsonNumber(channel.level.Rms(), 3) +
                ", \"peak_dbfs\": " + JsonNumber(channel.level.Peak(), 3) + ", \"tone\": ";
        if (const auto tone = ToneOf(channel, in.Rate())) {
            text += "{\"frequency_hz\": " + JsonNumber(tone->hertz, 4) +
                    ", \"level_dbfs\": " + JsonNumber(tone->level, 3) +
                    ", \"signal_to_noise_db\": " + JsonNumber(tone->noise, 3) +
                    ", \"thd_n_db\": " + JsonNumber(tone->thdNoise, 3) + "}";
        } else {
            text += "null";
        }
        if (!options.reference.empty()) {
            text += ", \"difference\": {\"level_dbfs\": " + JsonNumber(channel.difference.Rms(), 3) +
                    ", \"peak_dbfs\": " + JsonNumber(channel.difference.Peak(), 3) + "}";
        }
        text += "}";
        comma = ",";
    }
    std::printf("%s\n]}\n", text.c_str());
}

void RequireLike(const SoundFileReader& in, const SoundFileReader& reference)
{
    if (in.Channels() != reference.Channels() || in.Rate() != reference.Rate()) {
        throw Failure(reference.Path().string() + ": is no reference for " + in.Path().string() +
                      ", which has another rate or other channels");
    }
}

void Plot(const AnalyzeOptions& options, const SoundFileReader& in, const Report& report)
{
    SvgPlot plot = SpectrumPlot(options.in.filename().string(), in.Rate(), -160);
    for (std::size_t c = 0; c < report.channels.size(); ++c) {
        AddSpectrum(plot, "channel " + std::to_string(c + 1), report.channels[c].spectrum, in.Rate());
    }
    WriteText(options.plot, plot.Text());
}

void RunAnalysis(const AnalyzeOptions& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    std::unique_ptr<SoundFileReader> reference;
    if (!options.reference.empty()) {
        reference = std::make_unique<SoundFileReader>(options.reference);
        reference->RequireWhole();
        RequireLike(in, *reference);
    }
    for (const auto& file : {options.in, options.reference}) {
        RequireOtherFile(file, options.plot);
    }
    const Report report = Analyse(in, reference.get());
    if (!options.plot.empty()) {
        Plot(options, in, report);
    }
    in.ReportLoss(context);
    if (reference && reference->Frames() != report.frames) {
        context.Note(options.reference.string() + ": has " + std::to_string(reference->Frames()) +
                     " sample frames; the difference is that of the frames that both have");
    }
    (options.json ? PrintJson : Print)(options, in, report);
}

} // namespace

int RunCommand(const AnalyzeOptions& options, const Context& context)
{
    RunAnalysis(options, context);
    return 0;
}
