#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/clip_detector.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/conversion.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace {

constexpr sf_count_t kDefaultBlock = 4096;
constexpr sf_count_t kLargestBlock = 192000;

struct Options {
    std::filesystem::path in;
    std::filesystem::path out;
    std::string format;
    bool fadeIn = false;
    bool fadeOut = false;
    sf_count_t block = kDefaultBlock;
};

void Convert(const Options& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    RequireOtherFile(options.in, options.out);
    const SampleFormat to = options.format.empty() ? in.Word() : ParseSampleFormat(options.format).value();
    BlockReader blocks(in, options.block, options.fadeIn, options.fadeOut);
    EngineSession engine(context);
    Conversion conversion(engine, in.Word(), to, in.Channels(), in.Rate(), blocks.MaxFrames(),
                          options.fadeIn || options.fadeOut);
    const bool extensible = (in.Format() & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX;
    SoundFileWriter out(options.out, to, in.Channels(), in.Rate(), in.Frames(), extensible);
    out.CopyTags(in);
    in.ReportLoss(context);

    ClipDetector fullScale(in.Word(), to);
    Progress progress(context, options.out.filename().string(), in.Frames(), in.Rate());
    for (Block block; blocks.Next(block);) {
        CheckInterruption();
        fullScale.Scan(block.words, static_cast<std::size_t>(block.frames) * in.Channels());
        out.Write(conversion.Run(block), block.frames);
        progress.Advance(block.frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    fullScale.Report(context, in);
}

} // namespace

void AddConvertCommand(CLI::App& app, const Context& context)
{
    const auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("convert", "Copy a sound file, converting its sample format");
    command->add_option("IN", options->in, "the file to read: WAV, W64, RF64, AIFF, FLAC or Ogg")->required();
    command->add_option("OUT", options->out, "the file to write, its container by the extension: " + OutputExtensions())
        ->required();
    command->add_option("--format", options->format, "sample format of the output; that of the input if not given")
        ->check(CLI::IsMember(SampleWordNames()));
    command->add_flag("--fade-in", options->fadeIn, "fade in over the first 200 sample frames");
    command->add_flag("--fade-out", options->fadeOut, "fade out over the last 200 sample frames");
    command->add_option("--block", options->block, "sample frames per block; the result does not depend on it")
        ->capture_default_str()
        ->check(CLI::Range(sf_count_t{1}, kLargestBlock));
    command->footer("Conversions neither round, dither nor saturate. An existing OUT is replaced when the new file is\n"
                    "complete, and stays as it is when anything fails.\n"
                    "\n"
                    "Examples:\n"
                    "  ztaudio convert speech.wav speech.flac\n"
                    "  ztaudio convert mix.wav mix-float.wav --format float\n"
                    "  ztaudio convert take.aiff clip.wav --format 16 --fade-in --fade-out");
    command->callback([options, &context] { Convert(*options, context); });
}
