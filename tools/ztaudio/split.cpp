#include "host/formats.h"
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gain_stage.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/guard.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/ramp_length.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <memory>
#include <regex>

namespace host = zta::host;

namespace {

constexpr std::uint32_t kMinMuxChannels = 4;

/// The placeholder of a pattern.
const std::regex& Place()
{
    static const std::regex place(R"(\{\}|%d|%0([1-9])d)");
    return place;
}

std::ptrdiff_t Places(const std::string& pattern)
{
    return std::distance(std::sregex_iterator(pattern.begin(), pattern.end(), Place()), std::sregex_iterator());
}

std::filesystem::path NumberedPath(const std::string& pattern, std::size_t number)
{
    std::smatch place;
    std::regex_search(pattern, place, Place());
    std::string digits = std::to_string(number);
    const std::size_t width = place[1].matched ? std::stoul(place[1]) : 0;
    digits.insert(0, width - std::min(width, digits.size()), '0');
    return place.prefix().str() + digits + place.suffix().str();
}

/// The buffers between the blocks of the file and the outputs. Silent channels complete the mux to a width of the
/// engine.
class MuxReader {
public:
    MuxReader(EngineSession& engine, SampleFormat format, std::uint32_t channels, std::uint32_t planeChannels)
        : engine_(engine), channels_(channels), isStereo_(planeChannels == 2),
          width_(std::max(PaddedChannels(channels), kMinMuxChannels)), mux_(MakeBuffer(WaveFormat(format, width_)))
    {
        for (std::uint32_t channel = 0; channel < width_; channel += planeChannels) {
            planes_.push_back(buffers_.emplace_back(MakeBuffer(WaveFormat(format, planeChannels))).Get());
        }
    }

    /// Deinterleaves a block; see Plane.
    void Run(const std::byte* samples, sf_count_t frames, std::span<const int> gains)
    {
        Fill(*mux_, {samples, channels_, channels_}, frames, frames);
        const Volumes volumes = volumes_.Set(gains, width_);
        if (isStereo_) {
            engine_.MuxToStereo(*mux_, planes_, volumes);
        } else {
            engine_.MuxToMono(*mux_, planes_, volumes);
        }
    }

    const std::byte* Plane(std::size_t i) const { return planes_[i]->Data(); }

private:
    EngineSession& engine_;
    std::uint32_t channels_;
    bool isStereo_;
    std::uint32_t width_;
    VolumeRecords volumes_;
    host::Ref<host::AudioBuffer> mux_;
    std::vector<host::Ref<host::AudioBuffer>> buffers_;
    std::vector<host::AudioBuffer*> planes_;
};

void RequireSplittable(const SoundFileReader& in, const SplitOptions& options)
{
    const std::string name = in.Path().string();
    RequireChannels(in, name);
    if (in.Channels() == 1) {
        throw Failure(name + ": has 1 channel: there is nothing to deinterleave");
    }
    if (options.stereo && in.Channels() % 2 != 0) {
        throw Failure(name + ": has " + std::to_string(in.Channels()) +
                      " channels, which are no pairs: omit --stereo for mono files");
    }
}

/// The engine deinterleaves no floats, but 32-bit samples without looking at their bits.
SampleFormat PlaneFormat(SampleFormat format)
{
    return format == SampleFormat::Float32 ? SampleFormat::Pcm24In32 : format;
}

void Split(const SplitOptions& options, const Context& context)
{
    if (options.guard) {
        RequireFileForGuard(options.in);
    }
    SoundFileReader in(options.in, options.files.input);
    in.RequireWhole();
    RequireSplittable(in, options);
    const std::uint32_t planeChannels = options.stereo ? 2 : 1;
    const std::size_t count = in.Channels() / planeChannels;
    for (std::size_t i = 0; i < count; ++i) {
        RequireOtherFile(options.in, NumberedPath(options.pattern, i + 1));
    }
    const SampleFormat to = options.gains.empty() ? in.Format() : SampleFormat::Pcm24In32;
    Gains gains(options.gains, in.Channels(), FindRampFrames(in, options.files.input, options.gains));
    if (options.guard && gains.HasAny()) { // without gains, samples are copied
        LowerGains(in.Path().string(), {options.in}, options.files.input, gains);
    }
    OverloadCounter overloads(in.Path().string(), options.overload);
    EngineSession engine(context);
    BlockConverter feed(engine, in, to, overloads);
    MuxReader mux(engine, PlaneFormat(to), in.Channels(), planeChannels);
    std::vector<std::unique_ptr<SoundFileWriter>> outputs;
    for (std::size_t i = 0; i < count; ++i) {
        outputs.push_back(std::make_unique<SoundFileWriter>(NumberedPath(options.pattern, i + 1), options.files.output,
                                                            to, planeChannels, in.Rate(), in.Frames(), false));
        outputs.back()->CopyTags(in);
    }
    in.ReportLoss(context);
    gains.NoteSilence(context);
    if (gains.HasAny()) {
        NoteScaledFormat(in.Format(), context);
    }
    NoteAdaptation(in, in.Path().string(), context);

    Progress progress(context, in.Path().filename().string(), in.Frames(), in.Rate());
    while (feed.Next() != 0) {
        CheckInterruption();
        feed.ConvertSpans(gains, [&](const std::byte* samples, sf_count_t frames, std::span<const int> values) {
            mux.Run(samples, frames, values);
            for (std::size_t i = 0; i < count; ++i) {
                outputs[i]->Write(mux.Plane(i), frames);
            }
        });
        progress.Advance(feed.BlockFrames());
    }
    CheckInterruption();
    SoundFileWriter::Commit(outputs);
    progress.Finish();
    in.ReportEnd(context);
    overloads.Report();
}

} // namespace

int RunCommand(const SplitOptions& options, const Context& context)
{
    Split(options, context);
    return 0;
}

bool IsOutputPattern(const std::string& text)
{
    return Places(text) == 1;
}
