#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/conversion.h"
#include "tools/ztaudio/float_gain.h"
#include "tools/ztaudio/guard.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/ramp_length.h"
#include "tools/ztaudio/resampled_source.h"
#include "tools/ztaudio/run_report.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <memory>

namespace {

/// The gains of the options, applied to floats before the conversion.
std::unique_ptr<FloatGain> MakeGain(SoundFileReader& in, const ConvertOptions& options, double factor)
{
    if (options.gains.empty() && factor == 1.0) {
        return nullptr;
    }
    const sf_count_t frames = FindRampFrames(in, options.files.input, options.gains);
    return std::make_unique<FloatGain>(in, Gains(options.gains, in.Channels(), frames), factor);
}

/// The factor that keeps the sound within full scale.
double GuardFactor(const ConvertOptions& options, const SoundFileReader& in)
{
    SoundFileReader again(options.in, options.files.input);
    const auto gain = MakeGain(again, options, 1.0);
    const double peak = FindPeak(gain ? static_cast<SampleSource&>(*gain) : again);
    return LowerForGuard(in.Path().string(), peak);
}

SampleFormat OutputFormat(const ConvertOptions& options, const SoundFileReader& in)
{
    return options.format.empty() ? in.Format() : ParseSampleFormat(options.format).value();
}

std::uint32_t OutputRate(const ConvertOptions& options, const SoundFileReader& in)
{
    return options.rate == 0 ? in.Rate() : options.rate;
}

bool NeedsResampling(const ConvertOptions& options, const SoundFileReader& in)
{
    return OutputRate(options, in) != in.Rate() || options.mustResample;
}

/// Throws Failure if the sound cannot be converted in the way of the options.
void RequireConvertible(const ConvertOptions& options, const SoundFileReader& in)
{
    in.RequireWhole();
    RequireChannels(in, in.Path().string());
    RequireOtherFile(options.in, options.out);
    if (NeedsResampling(options, in)) {
        RequireResamplable(in, in.Path().string(), OutputRate(options, in));
    }
    if (!options.gains.empty() && in.Format() != SampleFormat::Float32) {
        throw Failure(in.Path().string() + ": has integer samples: use ztaudio volume to apply a gain to them");
    }
}

/// The file, behind which there can be gains for floats and the resampler.
class SourceChain {
public:
    SourceChain(EngineSession& engine, SoundFileReader& in, const ConvertOptions& options, double factor,
                OverloadCounter& overloads)
        : in_(in), gain_(MakeGain(in, options, factor))
    {
        if (NeedsResampling(options, in)) {
            resampled_ =
                std::make_unique<ResampledSource>(engine, Scaled(), OutputRate(options, in), options.block, overloads);
        }
    }

    SampleSource& Last()
    {
        if (resampled_) {
            return *resampled_;
        }
        return Scaled();
    }

    /// The resampler; null if there is none.
    ResampledSource* Resampled() { return resampled_.get(); }

private:
    SampleSource& Scaled()
    {
        if (gain_) {
            return *gain_;
        }
        return in_;
    }

    SoundFileReader& in_;
    std::unique_ptr<FloatGain> gain_;
    std::unique_ptr<ResampledSource> resampled_;
};

void Convert(const ConvertOptions& options, const Context& context)
{
    RequireOutputForReport(options.json, options.out);
    if (options.guard) {
        RequireFileForGuard(options.in);
    }
    SoundFileReader in(options.in, options.files.input);
    RequireConvertible(options, in);
    const SampleFormat to = OutputFormat(options, in);
    const std::uint32_t rate = OutputRate(options, in);
    const bool resamples = NeedsResampling(options, in);
    const bool becomesInteger = in.Format() == SampleFormat::Float32 && (resamples || to != SampleFormat::Float32);
    const double factor = options.guard && becomesInteger ? GuardFactor(options, in) : 1.0;

    RunReport report(options.json);
    report.SetGuard(factor);
    OverloadCounter overloads(in.Path().string(), options.overload);
    EngineSession engine(context);
    SourceChain sources(engine, in, options, factor, overloads);
    SampleSource& source = sources.Last();
    const bool hasFades = options.fadeIn || options.fadeOut;
    const bool isComplete = resamples && to == SampleFormat::Pcm16 && !hasFades; // after resampling
    BlockReader blocks(source, options.block, options.fadeIn, options.fadeOut);
    Conversion conversion(engine, source.Format(), to, in.Channels(), blocks.MaxFrames(), hasFades, overloads);
    blocks.ReadInto(conversion.Input());
    SoundFileWriter out(options.out, OutputFor(options.files, options.overload), to, in.Channels(), rate,
                        source.Frames(), IsExtensible(in));
    resamples ? out.CopyTexts(in) : out.CopyTags(in);
    in.ReportLoss(context);
    if (resamples) {
        NoteResampling(in, in.Path().string(), to, context);
    } else {
        NoteAdaptation(in, in.Path().string(), context);
    }

    Progress progress(context, options.out.filename().string(), source.Frames(), rate);
    for (Block block; isComplete ? sources.Resampled()->Next(block) : blocks.Next(block);) {
        CheckInterruption();
        const std::byte* const samples = isComplete ? block.samples : conversion.Run(block);
        report.Measure(samples, static_cast<std::size_t>(block.frames) * in.Channels(), to);
        out.Write(samples, block.frames);
        progress.Advance(block.frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    in.ReportEnd(context);
    overloads.Report();
    report.Print(in.Path().string(), in, options.out.string(), to, rate, overloads);
}

} // namespace

int RunCommand(const ConvertOptions& options, const Context& context)
{
    Convert(options, context);
    return 0;
}
