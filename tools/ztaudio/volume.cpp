#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gain_stage.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/guard.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/ramp_length.h"
#include "tools/ztaudio/run_report.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

namespace {

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
        options.format.empty() ? SampleFormat::Pcm24In32 : ParseSampleFormat(options.format).value();
    Gains gains(options.gains, in.Channels(), FindRampFrames(in, options.files.input, options.gains));
    RunReport report(options.json);
    if (options.guard) {
        report.SetGuard(LowerGains(name, {options.in}, options.files.input, gains));
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
    gains.NoteSilence(context);
    if (options.format.empty()) {
        NoteScaledFormat(in.Format(), context);
    }
    NoteAdaptation(in, name, context);

    Progress progress(context, options.out.filename().string(), in.Frames(), in.Rate());
    while (feed.Next() != 0) {
        CheckInterruption();
        feed.ConvertSpans(gains, [&](const std::byte* samples, sf_count_t frames, std::span<const int> values) {
            samples = stage.Run(samples, frames, values);
            if (to != SampleFormat::Pcm24In32) {
                samples = conversion.Run({.samples = samples, .frames = frames});
            }
            report.Measure(samples, static_cast<std::size_t>(frames) * in.Channels(), to);
            out.Write(samples, frames);
        });
        progress.Advance(feed.BlockFrames());
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    in.ReportEnd(context);
    overloads.Report();
    report.Print(name, in, options.out.string(), to, in.Rate(), overloads);
}

} // namespace

int RunCommand(const VolumeOptions& options, const Context& context)
{
    ChangeVolume(options, context);
    return 0;
}
