#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gain_stage.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/guard.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/run_report.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <cmath>

namespace {

/// The largest magnitude that the gains make of the samples, full scale being 1.
double FindScaledPeak(const VolumeOptions& options, Gains gains)
{
    SoundFileReader in(options.in, options.files.input);
    const std::size_t channels = in.Channels();
    std::vector<std::byte> samples(static_cast<std::size_t>(kBlockFrames) * channels * BytesOf(in.Word()));
    const auto sample = [&](std::size_t i) -> double {
        switch (in.Word()) {
        case SampleFormat::Pcm16:
            return reinterpret_cast<const std::int16_t*>(samples.data())[i] * 0x1p-15;
        case SampleFormat::Float32:
            return static_cast<double>(reinterpret_cast<const float*>(samples.data())[i]);
        default:
            return reinterpret_cast<const std::int32_t*>(samples.data())[i] * 0x1p-31;
        }
    };
    double peak = 0.0;
    sf_count_t position = 0;
    while (const sf_count_t frames = in.Read(samples.data(), kBlockFrames)) {
        CheckInterruption();
        gains.ForConstantGains(position, frames, [&](sf_count_t first, sf_count_t span, std::span<const int> values) {
            for (std::size_t i = 0; i < static_cast<std::size_t>(span) * channels; ++i) {
                const double gain = static_cast<double>(values[i % channels]) / kUnityGain;
                peak = std::max(peak, std::abs(sample(static_cast<std::size_t>(first) * channels + i)) * gain);
            }
        });
        position += frames;
    }
    return peak;
}

/// Lowers the gains until no sample passes full scale. A ramp is rounded in each frame, so that lowering it once may
/// not be enough. Returns the factor.
double Guard(const VolumeOptions& options, const std::string& name, Gains& gains)
{
    double factor = 1.0;
    Gains lowered = gains;
    for (double peak = FindScaledPeak(options, lowered); peak > 1.0; peak = FindScaledPeak(options, lowered)) {
        factor = std::min(factor / peak, factor * (1.0 - 1.0 / kMaxGain));
        lowered = gains;
        lowered.Lower(factor);
    }
    if (factor < 1.0) {
        LowerForGuard(name, 1.0 / factor);
        gains = lowered;
    }
    return factor;
}

void ChangeVolume(const VolumeOptions& options, const Context& context)
{
    RequireOutputForReport(options.json, options.out);
    if (options.guard) {
        RequireFileForGuard(options.in);
    }
    SoundFileReader in(options.in, options.files.input);
    const std::string name = in.Path().string();
    in.RequireWhole();
    RequireChannels(in, name);
    RequireOtherFile(options.in, options.out);
    const SampleFormat to =
        options.format.empty() ? ScaledWord(in.Word(), context) : ParseSampleFormat(options.format).value();
    Gains gains(options.gains, in.Channels(), in.IsStream() ? kUnknownFrames : in.Frames());
    gains.NoteSilence(context);
    RunReport report(options.json);
    if (options.guard) {
        report.SetGuard(Guard(options, name, gains));
    }
    OverloadCounter overloads(name, options.overload);
    EngineSession engine(context);
    BlockConverter feed(engine, in, SampleFormat::Pcm24In32, overloads);
    GainStage stage(engine, in.Channels());
    Conversion conversion(engine, SampleFormat::Pcm24In32, to, in.Channels(), kBlockFrames, false, overloads);
    SoundFileWriter out(options.out, OutputFor(options.files, options.overload), to, in.Channels(), in.Rate(),
                        in.Frames(), IsExtensible(in));
    out.CopyTags(in);
    in.ReportLoss(context);
    NoteAdaptation(in, name, context);

    Progress progress(context, options.out.filename().string(), in.Frames(), in.Rate());
    std::vector<int> values;
    while (feed.Next() != 0) {
        CheckInterruption();
        gains.ForConstantGains(feed.TotalFrames() - feed.BlockFrames(), feed.BlockFrames(),
                               [&](sf_count_t first, sf_count_t span, std::span<const int> current) {
                                   values.assign(current.begin(), current.end());
                                   const std::byte* samples = feed.Convert(first, span, values);
                                   samples = stage.Run(samples, span, values);
                                   samples = conversion.Run({.words = samples, .frames = span});
                                   report.Measure(samples, static_cast<std::size_t>(span) * in.Channels(), to);
                                   out.Write(samples, span);
                               });
        progress.Advance(feed.BlockFrames());
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    overloads.Report();
    report.Print(name, in, options.out.string(), to, in.Rate(), overloads);
}

} // namespace

int RunCommand(const VolumeOptions& options, const Context& context)
{
    ChangeVolume(options, context);
    return 0;
}
