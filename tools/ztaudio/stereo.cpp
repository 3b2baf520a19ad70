#include "tools/common/signal_handling.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/input_set.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <memory>

namespace {

void Stereo(const StereoOptions& options, const Context& context)
{
    InputSet inputs({options.left, options.right}, options.out);
    const SampleFormat word = inputs.CommonFormat();
    EngineSession engine(context);
    inputs.Begin(engine, word);
    const auto left = MakeBuffer(WaveFormat(word, inputs.Sound(0).Channels(), inputs.Rate()));
    const auto right = MakeBuffer(WaveFormat(word, inputs.Sound(1).Channels(), inputs.Rate()));
    const auto stereo = MakeBuffer(WaveFormat(word, 2, inputs.Rate()));
    const auto run = [&](sf_count_t frames) {
        inputs.FillFrom(0, 0, frames, *left);
        inputs.FillFrom(1, 0, frames, *right);
        engine.MonoToStereo(*left, *right, *stereo);
        return stereo->Data();
    };
    run(0); // what the engine refuses, it refuses before there is a file

    SoundFileWriter out(options.out, word, 2, inputs.Rate(), inputs.Frames(), false);
    Progress progress(context, options.out.filename().string(), inputs.Frames(), inputs.Rate());
    while (const sf_count_t frames = inputs.Next()) {
        CheckInterruption();
        out.Write(run(frames), frames);
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
