#include "host/formats.h"
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/input_set.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <memory>

namespace host = zta::host;

namespace {

/// The buffers between the files' blocks and the mux. Stereo files among mono ones are taken apart first.
class MuxWriter {
public:
    MuxWriter(EngineSession& engine, const InputSet& inputs, SampleFormat word) : engine_(engine), inputs_(inputs)
    {
        for (std::size_t i = 0; i < inputs.Count(); ++i) {
            allStereo_ = allStereo_ && inputs.Sound(i).Channels() == 2;
        }
        std::uint32_t total = 0;
        for (std::size_t i = 0; i < inputs.Count(); ++i) {
            const std::uint32_t channels = inputs.Sound(i).Channels();
            if (channels != 1 && channels != 2) {
                throw Failure(inputs.Sound(i).Path().string() + ": has " + std::to_string(channels) +
                              " channels: a mux is put together from mono and stereo files");
            }
            total += channels;
            Source& source = sources_.emplace_back();
            source.file = MakeBuffer(WaveFormat(word, channels, inputs.Rate()));
            if (channels == 1 || allStereo_) {
                entries_.push_back(source.file.Get());
            } else {
                source.left = MakeBuffer(WaveFormat(word, 1, inputs.Rate()));
                source.right = MakeBuffer(WaveFormat(word, 1, inputs.Rate()));
                entries_.insert(entries_.end(), {source.left.Get(), source.right.Get()});
            }
        }
        mux_ = MakeBuffer(WaveFormat(word, total, inputs.Rate()));
    }

    std::uint32_t Channels() const { return mux_->Description().sWaveFormat.ulChannels; }

    /// Puts together frames of the inputs' blocks. The result is valid until the next call.
    const std::byte* Run(sf_count_t first, sf_count_t frames, Volumes volumes)
    {
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            const Source& source = sources_[i];
            inputs_.FillFrom(i, first, frames, *source.file);
            if (source.left) {
                engine_.StereoToMono(*source.file, *source.left, *source.right);
            }
        }
        if (allStereo_) {
            engine_.StereoToMux(entries_, *mux_, volumes);
        } else {
            engine_.MonoToMux(entries_, *mux_, volumes);
        }
        return mux_->Data();
    }

private:
    struct Source {
        host::Ref<host::AudioBuffer> file;
        host::Ref<host::AudioBuffer> left; ///< with `right` the file's sides, if it is taken apart
        host::Ref<host::AudioBuffer> right;
    };

    EngineSession& engine_;
    const InputSet& inputs_;
    bool allStereo_ = true;
    std::vector<Source> sources_;
    std::vector<host::AudioBuffer*> entries_; ///< what the engine assembles
    host::Ref<host::AudioBuffer> mux_;
};

SampleFormat OutputWord(const MuxOptions& options, const InputSet& inputs, const Context& context)
{
    if (!options.format.empty()) {
        return ParseSampleFormat(options.format).value();
    }
    return options.gains.empty() ? inputs.CommonFormat() : ScaledWord(inputs.CommonFormat(), context);
}

void Mux(const MuxOptions& options, const Context& context)
{
    InputSet inputs(options.in, options.out);
    const SampleFormat word = OutputWord(options, inputs, context);
    EngineSession engine(context);
    inputs.Begin(engine, word);
    MuxWriter assembly(engine, inputs, word);
    Gains gains(options.gains, assembly.Channels(), inputs.Frames());
    assembly.Run(0, 0, gains.At(0)); // what the engine refuses, it refuses before there is a file

    SoundFileWriter out(options.out, word, assembly.Channels(), inputs.Rate(), inputs.Frames(), false);
    Progress progress(context, options.out.filename().string(), inputs.Frames(), inputs.Rate());
    sf_count_t done = 0;
    while (const sf_count_t frames = inputs.Next()) {
        CheckInterruption();
        gains.ForSteadyRuns(done, frames, [&](sf_count_t first, sf_count_t run, Volumes volumes) {
            out.Write(assembly.Run(first, run, volumes), run);
        });
        done += frames;
        progress.Advance(frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    inputs.ReportLoss(context);
}

} // namespace

int RunCommand(const MuxOptions& options, const Context& context)
{
    Mux(options, context);
    return 0;
}
