#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/clip_detector.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/conversion.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <memory>

namespace {

void Convert(const ConvertOptions& options, const Context& context)
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

int RunCommand(const ConvertOptions& options, const Context& context)
{
    Convert(options, context);
    return 0;
}
