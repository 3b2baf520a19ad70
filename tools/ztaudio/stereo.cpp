#include "tools/common/signal_handling.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/input_set.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace {

struct Options {
    std::filesystem::path left;
    std::filesystem::path right;
    std::filesystem::path out;
};

void Stereo(const Options& options, const Context& context)
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

void AddStereoCommand(CLI::App& app, const Context& context)
{
    const auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("stereo", "Put two mono files together into a stereo file");
    command->add_option("LEFT", options->left, "the mono file of the left channel")->required();
    command->add_option("RIGHT", options->right, "the mono file of the right channel")->required();
    command->add_option("OUT", options->out, "the file to write, its container by the extension: " + OutputExtensions())
        ->required();
    command->footer("The output has the sample format of the inputs, 24in32 if they differ or are floating point. A\n"
                    "shorter input is continued with silence.\n"
                    "\n"
                    "Example:\n"
                    "  ztaudio stereo left.wav right.wav both.wav");
    command->callback([options, &context] { Stereo(*options, context); });
}
