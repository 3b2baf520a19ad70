#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/input_set.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

namespace {

void Stereo(const StereoOptions& options, const Context& context)
{
    InputSet inputs({options.left, options.right}, options.out, options.overload, options.files.input);
    for (std::size_t i = 0; i < inputs.Count(); ++i) {
        const SoundFileReader& sound = inputs.Sound(i);
        if (sound.Channels() != 1) {
            throw Failure(sound.Path().string() + ": has " + std::to_string(sound.Channels()) +
                          " channels: a stereo file is interleaved from two mono files; split this file first");
        }
    }
    const SampleFormat format = inputs.CommonFormat();
    EngineSession engine(context);
    inputs.Begin(engine, format);
    const auto left = MakeBuffer(WaveFormat(format, 1));
    const auto right = MakeBuffer(WaveFormat(format, 1));
    const auto stereo = MakeBuffer(WaveFormat(format, 2));
    SoundFileWriter out(options.out, OutputFor(options.files, options.overload), format, 2, inputs.Rate(),
                        inputs.Frames(), false);
    NoteAdaptation(inputs.Sound(0), inputs.Sound(0).Path().string(), context);

    Progress progress(context, options.out.filename().string(), inputs.Frames(), inputs.Rate());
    while (const sf_count_t frames = inputs.Next()) {
        CheckInterruption();
        inputs.FillFrom(0, 0, frames, {}, *left);
        inputs.FillFrom(1, 0, frames, {}, *right);
        engine.MonoToStereo(*left, *right, *stereo);
        out.Write(stereo->Data(), frames);
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
