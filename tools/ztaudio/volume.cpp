#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <memory>

namespace {

void ChangeVolume(const VolumeOptions& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    RequireOtherFile(options.in, options.out);
    const SampleFormat word =
        options.format.empty() ? ScaledWord(in.Word(), context) : ParseSampleFormat(options.format).value();
    Gains gains(options.gains, in.Channels(), in.Frames());
    EngineSession engine(context);
    BlockConverter feed(engine, in, SampleFormat::Pcm24In32);
    const auto plain = MakeBuffer(WaveFormat(SampleFormat::Pcm24In32, in.Channels(), in.Rate()));
    const auto scaled = MakeBuffer(WaveFormat(SampleFormat::Pcm24In32, in.Channels(), in.Rate()));
    Conversion conversion(engine, SampleFormat::Pcm24In32, word, in.Channels(), in.Rate(), kBlockFrames, false);
    engine.ApplyVolume(*plain, *scaled, gains.At(0)); // what the engine refuses, it refuses before there is a file

    const std::size_t frameBytes = BytesOf(SampleFormat::Pcm24In32) * in.Channels();
    SoundFileWriter out(options.out, word, in.Channels(), in.Rate(), in.Frames(),
                        (in.Format() & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX);
    out.CopyTags(in);
    Progress progress(context, options.out.filename().string(), in.Frames(), in.Rate());
    for (Block block = feed.Next(); block.frames != 0; block = feed.Next()) {
        CheckInterruption();
        gains.ForSteadyRuns(feed.Given() - block.frames, block.frames,
                            [&](sf_count_t first, sf_count_t run, Volumes volumes) {
                                const std::byte* words = block.words + static_cast<std::size_t>(first) * frameBytes;
                                Fill(*plain, words, run, run);
                                engine.ApplyVolume(*plain, *scaled, volumes);
                                out.Write(conversion.Run({.words = scaled->Data(), .frames = run}), run);
                            });
        progress.Advance(block.frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    feed.ReportLoss(context);
}

} // namespace

int RunCommand(const VolumeOptions& options, const Context& context)
{
    ChangeVolume(options, context);
    return 0;
}
