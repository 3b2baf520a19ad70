#include "tools/ztaudio/analyze_report.h"

#include "tools/common/format_text.h"
#include "tools/common/spectrum.h"
#include "tools/ztaudio/json_text.h"

namespace {

double LevelOf(const LevelMeter& meter)
{
    return PowerDecibels(meter.MeanSquare());
}

double PeakOf(const LevelMeter& meter)
{
    return AmplitudeDecibels(meter.Peak());
}

struct ToneFigures {
    explicit ToneFigures(const ToneMeasurement& tone)
        : level(PowerDecibels(2 * tone.power)), signalToNoise(PowerDecibels(tone.power / tone.MeasurableNoise())),
          distortion(PowerDecibels(tone.MeasurableRest() / tone.power)), noise(PowerDecibels(tone.MeasurableNoise()))
    {
    }
    double level; ///< that of a full-scale sine is 0 dBFS
    double signalToNoise;
    double distortion; ///< THD+N
    double noise;      ///< as a mean square
};

std::string ToneText(const ToneMeasurement& tone)
{
    const ToneFigures figures(tone);
    const char* noiseLimit = tone.noise < tone.limit ? " (limit of the sample format)" : "";
    const char* restLimit = tone.rest < tone.limit ? " (limit)" : "";
    return FormatText(
        "    tone      %.3f Hz at %.2f dBFS%s, signal to noise %.2f dB%s, THD+N %.2f dB%s, noise %.2f dBFS\n",
        tone.frequency, figures.level, tone.IsSteady() ? "" : ", not steady", figures.signalToNoise, noiseLimit,
        figures.distortion, restLimit, figures.noise);
}

std::string LoudnessText(const Loudness& loudness)
{
    if (!loudness.maxMomentary) {
        return "";
    }
    std::string text = "  loudness    ";
    text += loudness.integrated ? FormatText("%.1f LUFS", *loudness.integrated) : "below -70 LUFS";
    if (loudness.range) {
        text += FormatText(", range %.1f LU", *loudness.range);
    }
    return text + FormatText(", loudest 400 ms %.1f LUFS\n", *loudness.maxMomentary);
}

std::string JsonTone(const ToneMeasurement& tone)
{
    const ToneFigures figures(tone);
    return "{\"frequency_hz\": " + JsonDecimal(tone.frequency, 4) +
           ", \"level_dbfs\": " + JsonDecimal(figures.level, 3) +
           ", \"signal_to_noise_db\": " + JsonDecimal(figures.signalToNoise, 3) +
           ", \"thd_n_db\": " + JsonDecimal(figures.distortion, 3) +
           ", \"noise_dbfs\": " + JsonDecimal(figures.noise, 3) +
           ", \"limit_db\": " + JsonDecimal(PowerDecibels(tone.power / tone.limit), 3) +
           ", \"at_limit\": " + JsonBool(tone.noise < tone.limit) + ", \"steady\": " + JsonBool(tone.IsSteady()) + "}";
}

} // namespace

std::string ReportText(const AnalysisReport& report)
{
    const Measurement& measurement = report.measurement;
    std::string text =
        report.file.string() +
        FormatText(": %llu sample frames at %u Hz\n", static_cast<unsigned long long>(measurement.frames), report.rate);
    for (std::size_t c = 0; c < measurement.channels.size(); ++c) {
        const ChannelMeasurement& channel = measurement.channels[c];
        text += FormatText("  channel %-3zu level %.2f dBFS, peak %.2f dBFS, true peak %.2f dBFS, DC offset %.6f\n",
                           c + 1, LevelOf(channel.level), PeakOf(channel.level), AmplitudeDecibels(channel.truePeak),
                           channel.level.Mean());
        text += channel.tone ? ToneText(*channel.tone) : "    tone      none\n";
        if (report.differences) {
            const LevelMeter& difference = (*report.differences)[c];
            text +=
                FormatText("    difference level %.2f dBFS, peak %.2f dBFS\n", LevelOf(difference), PeakOf(difference));
        }
    }
    return text + LoudnessText(measurement.loudness);
}

std::string ReportJson(const AnalysisReport& report)
{
    const Measurement& measurement = report.measurement;
    std::string text = "{\"file\": " + JsonString(report.file.string()) + ", \"rate\": " + std::to_string(report.rate) +
                       ", \"frames\": " + std::to_string(measurement.frames) + ", \"channels\": [";
    const char* comma = "";
    for (std::size_t c = 0; c < measurement.channels.size(); ++c) {
        const ChannelMeasurement& channel = measurement.channels[c];
        text += std::string(comma) + "\n  {\"level_dbfs\": " + JsonDecimal(LevelOf(channel.level), 3) +
                ", \"peak_dbfs\": " + JsonDecimal(PeakOf(channel.level), 3) +
                ", \"true_peak_dbfs\": " + JsonDecimal(AmplitudeDecibels(channel.truePeak), 3) +
                ", \"dc_offset\": " + JsonDecimal(channel.level.Mean(), 9) +
                ", \"tone\": " + (channel.tone ? JsonTone(*channel.tone) : "null");
        if (report.differences) {
            const LevelMeter& difference = (*report.differences)[c];
            text += ", \"difference\": {\"level_dbfs\": " + JsonDecimal(LevelOf(difference), 3) +
                    ", \"peak_dbfs\": " + JsonDecimal(PeakOf(difference), 3) + "}";
        }
        text += "}";
        comma = ",";
    }
    const Loudness& loudness = measurement.loudness;
    return text + "\n], \"loudness\": {\"integrated_lufs\": " + JsonDecimal(loudness.integrated, 2) +
           ", \"range_lu\": " + JsonDecimal(loudness.range, 2) +
           ", \"max_momentary_lufs\": " + JsonDecimal(loudness.maxMomentary, 2) + "}}\n";
}
