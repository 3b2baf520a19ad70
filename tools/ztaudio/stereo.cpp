#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gain_stage.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/guard.h"
#include "tools/ztaudio/input_set.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

namespace {

/// The gains with which no sample passes full scale, one for each channel; none if every gain would be 1.
std::vector<int> GuardGains(const StereoOptions& options, const InputSet& inputs)
{
    Gains gains({"1"}, inputs.Channels(), kUnknownFrames);
    const double factor = LowerGains(options.out.string(), {options.left, options.right}, options.files.input, gains);
    const std::span<const int> lowered = gains.At(0);
    return factor == 1.0 ? std::vector<int>() : std::vector(lowered.begin(), lowered.end());
}

void Stereo(const StereoOptions& options, const Context& context)
{
    if (options.guard) {
        RequireFileForGuard(options.left);
        RequireFileForGuard(options.right);
    }
    InputSet inputs({options.left, options.right}, options.out, options.overload, options.files.input);
    for (std::size_t i = 0; i < inputs.Count(); ++i) {
        const SoundFileReader& sound = inputs.Sound(i);
        if (sound.Channels() != 1) {
            throw Failure(sound.Path().string() + ": has " + std::to_string(sound.Channels()) +
                          " channels: a stereo file is interleaved from two mono files; split this file first");
        }
    }
    const SampleFormat format = inputs.CommonFormat();
    const std::vector<int> gains = options.guard ? GuardGains(options, inputs) : std::vector<int>();
    EngineSession engine(context);
    inputs.Begin(engine, format);
    const auto left = MakeBuffer(WaveFormat(format, 1));
    const auto right = MakeBuffer(WaveFormat(format, 1));
    const auto stereo = MakeBuffer(WaveFormat(format, 2));
    GainStage stage(engine, 2); // only floats need gains, and they are interleaved as 24-in-32
    SoundFileWriter out(options.out, OutputFor(options.files, options.overload), format, 2, inputs.Rate(),
                        inputs.Frames(), false);
    NoteAdaptation(inputs.Sound(0), inputs.Sound(0).Path().string(), context);

    Progress progress(context, options.out.filename().string(), inputs.Frames(), inputs.Rate());
    while (const sf_count_t frames = inputs.Next()) {
        CheckInterruption();
        std::vector<int> values = gains;
        const std::span<int> all(values);
        const std::size_t count = all.size() / 2; // for each input
        inputs.FillFrom(0, 0, frames, all.first(count), *left);
        inputs.FillFrom(1, 0, frames, all.last(count), *right);
        engine.MonoToStereo(*left, *right, *stereo);
        out.Write(values.empty() ? stereo->Data() : stage.Run(stereo->Data(), frames, values), frames);
        progress.Advance(frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    inputs.ReportLoss(context);
}

} // namespace

int RunCommand(const StereoOptions& options, const Context& context)
{
    Stereo(options, context);
    return 0;
}
