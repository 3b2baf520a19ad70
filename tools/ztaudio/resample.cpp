#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/resample_stream.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

namespace {

constexpr sf_count_t kLargestBlock = 192000;

struct Options {
    std::filesystem::path in;
    std::filesystem::path out;
    std::uint32_t rate = 0;
    sf_count_t block = kBlockFrames;
};

void RequireMonoOrStereo(const SoundFileReader& in)
{
    if (in.Channels() > 2) {
        throw Failure(in.Path().string() + ": has " + std::to_string(in.Channels()) +
                      " channels: mono and stereo are resampled, and nothing joins more channels at 44100 Hz; split "
                      "the file first");
    }
}

void Resample(const Options& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    RequireOtherFile(options.in, options.out);
    RequireMonoOrStereo(in);
    EngineSession engine(context);
    const sf_count_t block = std::min(options.block, kMostResampledFrames);
    ResampleStream stream(engine, in.Channels(), in.Rate(), options.rate, block);
    BlockConverter feed(engine, in, SampleFormat::Pcm16, block);

    const sf_count_t expected = ResampledFrames(in.Frames(), in.Rate(), options.rate);
    SoundFileWriter out(options.out, SampleFormat::Pcm16, in.Channels(), options.rate, expected,
                        (in.Format() & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX);
    out.CopyTexts(in);
    if (in.Word() != SampleFormat::Pcm16) {
        context.Note("16-bit samples are resampled, so " + options.in.string() + " is converted to 16 bits first");
    }
    Progress progress(context, options.out.filename().string(), in.Frames(), in.Rate());
    ResampleStream::Result result{};
    for (Block words = feed.Next(); words.frames != 0; words = feed.Next()) {
        CheckInterruption();
        result = stream.Next(words.words, words.frames);
        out.Write(result.words, result.frames);
        progress.Advance(words.frames);
    }
    while (stream.Tail(result)) {
        out.Write(result.words, result.frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    feed.ReportLoss(context);
}

} // namespace

void AddResampleCommand(CLI::App& app, const Context& context)
{
    const auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("resample", "Bring a sound file from 44100 to 48000 Hz or back");
    command->add_option("IN", options->in, "the file to read, mono or stereo")->required();
    command->add_option("OUT", options->out, "the file to write, its container by the extension: " + OutputExtensions())
        ->required();
    command->add_option("--rate", options->rate, "the rate of the output: 44100 or 48000")
        ->required()
        ->check(CLI::Range(1U, 768000U))
        ->type_name("HZ");
    command->add_option("--block", options->block, "sample frames per block; the result does not depend on it")
        ->capture_default_str()
        ->check(CLI::Range(sf_count_t{1}, kLargestBlock));
    command->footer(
        "The output has 16 bits and the duration of the input, to the nearest sample frame. Its first frame stands at\n"
        "the time of the input's first; before and after the sound the filter sees its first sample, and silence.\n"
        "Files of other sample formats are converted to 16 bits first, at 48000 Hz.\n"
        "\n"
        "Examples:\n"
        "  ztaudio resample speech.wav speech-44.wav --rate 44100\n"
        "  ztaudio resample disc.flac video.wav --rate 48000");
    command->callback([options, &context] { Resample(*options, context); });
}
