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

#include <algorithm>

namespace host = zta::host;

namespace {

constexpr std::uint32_t kMinMuxChannels = 4;

/// The buffers between the blocks of the files and the mux. If only some inputs are stereo, these are deinterleaved
/// first. Silent channels complete the mux to a width of the engine.
class MuxWriter {
public:
    MuxWriter(EngineSession& engine, InputSet& inputs, SampleFormat format)
        : engine_(engine), inputs_(inputs), format_(format), channels_(inputs.Channels()),
          width_(std::max(PaddedChannels(channels_), kMinMuxChannels)), mux_(MakeBuffer(WaveFormat(format, width_)))
    {
        for (std::size_t i = 0; i < inputs.Count(); ++i) {
            allStereo_ = allStereo_ && inputs.Sound(i).Channels() == 2;
        }
        for (std::size_t i = 0; i < inputs.Count(); ++i) {
            AddInput(inputs.Sound(i).Channels());
        }
        const std::uint32_t planeChannels = allStereo_ ? 2 : 1;
        for (std::size_t plane = planes_.size(); plane < width_ / planeChannels; ++plane) {
            padding_.push_back(MakeBuffer(WaveFormat(format, planeChannels)));
            planes_.push_back(padding_.back().Get());
        }
    }

    /// Interleaves frames of the blocks of the inputs. The result is valid until the next call.
    const std::byte* Run(sf_count_t first, sf_count_t frames, std::span<const int> gains)
    {
        gains_.assign(gains.begin(), gains.end());
        std::size_t channel = 0;
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            const Source& source = sources_[i];
            const std::uint32_t channels = inputs_.Sound(i).Channels();
            const std::span<int> own = gains.empty() ? std::span<int>() : std::span(gains_).subspan(channel, channels);
            inputs_.FillFrom(i, first, frames, own, *source.file);
            if (source.left) {
                engine_.StereoToMono(*source.file, *source.left, *source.right);
            }
            channel += channels;
        }
        for (const auto& buffer : padding_) {
            Fill(*buffer, {}, 0, frames);
        }
        const Volumes volumes = volumes_.Set(gains_, width_);
        if (allStereo_) {
            engine_.StereoToMux(planes_, *mux_, volumes);
        } else {
            engine_.MonoToMux(planes_, *mux_, volumes);
        }
        return Narrow(frames);
    }

private:
    struct Source {
        host::Ref<host::AudioBuffer> file;
        host::Ref<host::AudioBuffer> left; ///< with `right` the channels of the file, if it is deinterleaved
        host::Ref<host::AudioBuffer> right;
    };

    void AddInput(std::uint32_t channels)
    {
        Source& source = sources_.emplace_back();
        source.file = MakeBuffer(WaveFormat(format_, channels));
        if (channels == 1 || allStereo_) {
            planes_.push_back(source.file.Get());
        } else {
            source.left = MakeBuffer(WaveFormat(format_, 1));
            source.right = MakeBuffer(WaveFormat(format_, 1));
            planes_.insert(planes_.end(), {source.left.Get(), source.right.Get()});
        }
    }

    const std::byte* Narrow(sf_count_t frames)
    {
        if (width_ == channels_) {
            return mux_->Data();
        }
        const std::size_t sampleBytes = BytesOf(format_);
        result_.resize(static_cast<std::size_t>(frames) * channels_ * sampleBytes);
        CopyChannels(mux_->Data(), width_, result_.data(), channels_, channels_, frames, sampleBytes);
        return result_.data();
    }

    EngineSession& engine_;
    InputSet& inputs_;
    SampleFormat format_;
    std::uint32_t channels_;
    std::uint32_t width_;
    bool allStereo_ = true;
    std::vector<int> gains_;
    VolumeRecords volumes_;
    std::vector<Source> sources_;
    std::vector<host::Ref<host::AudioBuffer>> padding_;
    std::vector<host::AudioBuffer*> planes_; ///< what the engine interleaves
    host::Ref<host::AudioBuffer> mux_;
    std::vector<std::byte> result_;
};

void RequireMuxInputs(const InputSet& inputs)
{
    for (std::size_t i = 0; i < inputs.Count(); ++i) {
        const SoundFileReader& sound = inputs.Sound(i);
        if (sound.Channels() > 2) {
            throw Failure(sound.Path().string() + ": has " + std::to_string(sound.Channels()) +
                          " channels: a multichannel file is interleaved from mono and stereo files; split this file "
                          "first");
        }
    }
    if (inputs.Channels() < 2 || inputs.Channels() > kMaxChannels) {
        throw Failure("the inputs have " + std::to_string(inputs.Channels()) +
                      (inputs.Channels() == 1 ? " channel" : " channels") + " in all: a multichannel file has 2 to " +
                      std::to_string(kMaxChannels));
    }
}

SampleFormat OutputFormat(const MuxOptions& options, const InputSet& inputs)
{
    if (!options.format.empty()) {
        return ParseSampleFormat(options.format).value();
    }
    return options.gains.empty() ? inputs.CommonFormat() : SampleFormat::Pcm24In32;
}

/// The gains of the options, lowered if --guard requires it; none if there is nothing to apply.
Gains MakeGains(const MuxOptions& options, const InputSet& inputs)
{
    const sf_count_t frames = inputs.FindRampFrames(options.gains);
    Gains gains(options.gains, inputs.Channels(), frames);
    if (!options.guard) {
        return gains;
    }
    const bool isUnity = !gains.HasAny();
    Gains lowered = isUnity ? Gains({"1"}, inputs.Channels(), frames) : gains;
    const double factor = LowerGains(options.out.string(), options.in, options.files.input, lowered);
    return isUnity && factor == 1.0 ? gains : lowered;
}

void Mux(const MuxOptions& options, const Context& context)
{
    for (const auto& path : options.in) {
        if (options.guard) {
            RequireFileForGuard(path);
        }
    }
    InputSet inputs(options.in, options.out, options.overload, options.files.input);
    RequireMuxInputs(inputs);
    Gains gains = MakeGains(options, inputs);
    const SampleFormat to = OutputFormat(options, inputs);
    const SampleFormat format = gains.HasAny() ? SampleFormat::Pcm24In32 : to;
    EngineSession engine(context);
    inputs.Begin(engine, format);
    MuxWriter mux(engine, inputs, format);
    const std::uint32_t channels = inputs.Channels();
    OverloadCounter none(options.out.string(), options.overload); // the inputs count
    Conversion conversion(engine, format, to, channels, kBlockFrames, false, none);
    SoundFileWriter out(options.out, OutputFor(options.files, options.overload), to, channels, inputs.Rate(),
                        inputs.Frames(), false);
    gains.NoteSilence(context);
    if (!options.gains.empty() && options.format.empty()) {
        NoteScaledFormat(inputs.CommonFormat(), context);
    }
    NoteAdaptation(inputs.Sound(0), inputs.Sound(0).Path().string(), context);

    Progress progress(context, options.out.filename().string(), inputs.Frames(), inputs.Rate());
    sf_count_t position = 0;
    while (const sf_count_t frames = inputs.Next()) {
        CheckInterruption();
        gains.ForConstantGains(position, frames, [&](sf_count_t first, sf_count_t span, std::span<const int> values) {
            const std::byte* const samples = mux.Run(first, span, values);
            out.Write(format == to ? samples : conversion.Run({.samples = samples, .frames = span}), span);
        });
        position += frames;
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
