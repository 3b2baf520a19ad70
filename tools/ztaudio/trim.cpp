#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <regex>

namespace {

/// A position in a sound: sample frames, or seconds with a fraction.
struct Position {
    std::int64_t whole;
    std::int64_t numerator;
    std::int64_t denominator; ///< 0 of sample frames

    /// The frame nearest to it.
    sf_count_t Frame(std::int64_t rate) const
    {
        return denominator == 0 ? whole : whole * rate + (2 * numerator * rate + denominator) / (2 * denominator);
    }
};

std::optional<Position> ParsePosition(const std::string& text)
{
    static const std::regex frames(R"((\d{1,15})s)");
    static const std::regex time(R"((?:(?:(\d{1,6}):)?(\d{1,9}):)?(\d{1,9})(?:\.(\d{1,9}))?)");
    std::smatch parts;
    if (std::regex_match(text, parts, frames)) {
        return Position{std::stoll(parts[1]), 0, 0};
    }
    if (!std::regex_match(text, parts, time)) {
        return std::nullopt;
    }
    const auto number = [&parts](std::size_t i) { return parts[i].matched ? std::stoll(parts[i]) : 0; };
    if ((parts[1].matched && number(2) > 59) || (parts[2].matched && number(3) > 59)) {
        return std::nullopt;
    }
    std::int64_t denominator = 1;
    for (std::ptrdiff_t digit = 0; digit < parts.length(4); ++digit) {
        denominator *= 10;
    }
    return Position{(number(1) * 60 + number(2)) * 60 + number(3), number(4), denominator};
}

/// The end of a sound of unknown length.
constexpr sf_count_t kToEnd = SF_COUNT_MAX;

/// Throws Failure if the sound has no frames from `from` on, or if it ends before `to`.
void RequireRange(const SoundFileReader& in, sf_count_t from, sf_count_t to, sf_count_t frames)
{
    const std::string ends = in.Path().string() + ": ends after " + std::to_string(frames) + " sample frames, before ";
    if (to != kToEnd && to > frames) {
        throw Failure(ends + "the end of the range at " + std::to_string(to));
    }
    if (to == kToEnd && from >= frames) {
        throw Failure(in.Path().string() + ": has " + std::to_string(frames) +
                      " sample frames: nothing to copy from sample frame " + std::to_string(from) + " on");
    }
    if (from >= to) {
        throw Failure("nothing to copy from sample frame " + std::to_string(from) + " to " + std::to_string(to));
    }
}

void Trim(const TrimOptions& options, const Context& context)
{
    SoundFileReader in(options.in, options.files.input);
    in.RequireWhole();
    RequireChannels(in, in.Path().string());
    RequireOtherFile(options.in, options.out);
    const sf_count_t from = ParsePosition(options.from).value().Frame(in.Rate());
    sf_count_t to = options.to.empty() ? kToEnd : ParsePosition(options.to).value().Frame(in.Rate());
    RequireRange(in, from, to, in.IsLengthKnown() ? in.Frames() : kToEnd);
    if (to == kToEnd && in.IsLengthKnown()) {
        to = in.Frames();
    }
    EngineSession engine(context);
    // The copy depends neither on the rate nor on the number of channels.
    const SZtaWaveFormatInfo format = WaveFormat(in.Format(), 1);
    const sf_count_t blockSamples = kBlockFrames * in.Channels();
    const auto source = MakeBuffer(format, blockSamples);
    const auto piece = MakeBuffer(format, blockSamples);
    SoundFileWriter out(options.out, options.files.output, in.Format(), in.Channels(), in.Rate(),
                        to == kToEnd ? 0 : to - from, IsExtensible(in));
    out.CopyTexts(in);
    in.ReportLoss(context);

    Progress progress(context, options.out.filename().string(), to == kToEnd ? 0 : to, in.Rate());
    BlockReader blocks(in, kBlockFrames, false, false);
    blocks.ReadInto(source->Data());
    sf_count_t done = 0;
    for (Block block; done < to && blocks.Next(block); done += block.frames) {
        CheckInterruption();
        const sf_count_t first = std::max(from - done, sf_count_t{0});
        const sf_count_t last = std::min(to - done, block.frames);
        if (first < last) {
            source->SetValidLength(static_cast<std::size_t>(block.frames * in.Channels()) * BytesOf(in.Format()));
            engine.Extract(*source, static_cast<std::size_t>(first) * in.Channels(),
                           static_cast<std::size_t>(last - first) * in.Channels(), *piece);
            out.Write(piece->Data(), last - first);
        }
        progress.Advance(block.frames);
    }
    if (done < to) { // the length was not known
        RequireRange(in, from, to, done);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
    in.ReportEnd(context);
}

} // namespace

int RunCommand(const TrimOptions& options, const Context& context)
{
    Trim(options, context);
    return 0;
}

bool IsPosition(const std::string& text)
{
    return ParsePosition(text).has_value();
}
