#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/resample_stream.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <memory>

namespace {

void RequireMonoOrStereo(const SoundFileReader& in)
{
    if (in.Channels() > 2) {
        throw Failure(in.Path().string() + ": has " + std::to_string(in.Channels()) +
                      " channels: mono and stereo are resampled, and nothing joins more channels at 44100 Hz; split "
                      "the file first");
    }
}

void Resample(const ResampleOptions& options, const Context& context)
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

int RunCommand(const ResampleOptions& options, const Context& context)
{
    Resample(options, context);
    return 0;
}
