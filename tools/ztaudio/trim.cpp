#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <regex>

namespace {

/// A place in a sound: sample frames, or seconds with a fraction.
struct Place {
    std::int64_t whole;
    std::int64_t numerator;
    std::int64_t denominator; ///< 0 of sample frames

    /// The frame nearest to it.
    sf_count_t Frame(std::int64_t rate) const
    {
        return denominator == 0 ? whole : whole * rate + (2 * numerator * rate + denominator) / (2 * denominator);
    }
};

std::optional<Place> ParsePlace(const std::string& text)
{
    static const std::regex frames(R"((\d{1,15})s)");
    static const std::regex time(R"((?:(?:(\d{1,6}):)?(\d{1,9}):)?(\d{1,9})(?:\.(\d{1,9}))?)");
    std::smatch parts;
    if (std::regex_match(text, parts, frames)) {
        return Place{std::stoll(parts[1]), 0, 0};
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
    return Place{(number(1) * 60 + number(2)) * 60 + number(3), number(4), denominator};
}

void RequireWithinFile(const TrimOptions& options, sf_count_t to, sf_count_t frames)
{
    if (to > frames) {
        throw Failure(options.in.string() + ": ends after " + std::to_string(frames) +
                      " sample frames, before the end of the range at " + std::to_string(to));
    }
}

void Trim(const TrimOptions& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    RequireOtherFile(options.in, options.out);
    const sf_count_t from = ParsePlace(options.from).value().Frame(in.Rate());
    const sf_count_t to = options.to.empty() ? in.Frames() : ParsePlace(options.to).value().Frame(in.Rate());
    RequireWithinFile(options, to, in.Frames());
    if (from >= to) {
        throw Failure("nothing to copy from sample frame " + std::to_string(from) + " to " + std::to_string(to));
    }
    EngineSession engine(context);
    const SZtaWaveFormatInfo format = WaveFormat(in.Word(), in.Channels(), in.Rate());
    const auto source = MakeBuffer(format);
    const auto piece = MakeBuffer(format);
    SoundFileWriter out(options.out, in.Word(), in.Channels(), in.Rate(), to - from,
                        (in.Format() & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX);
    out.CopyTexts(in);
    in.ReportLoss(context);

    Progress progress(context, options.out.filename().string(), to, in.Rate());
    BlockReader blocks(in, kBlockFrames, false, false);
    sf_count_t done = 0;
    for (Block block; done < to && blocks.Next(block); done += block.frames) {
        CheckInterruption();
        const sf_count_t first = std::max(from - done, sf_count_t{0});
        const sf_count_t last = std::min(to - done, block.frames);
        if (first < last) {
            Fill(*source, block.words, block.frames, block.frames);
            engine.Extract(*source, static_cast<std::size_t>(first), static_cast<std::size_t>(last - first), *piece);
            out.Write(piece->Data(), last - first);
        }
        progress.Advance(block.frames);
    }
    CheckInterruption();
    out.Commit();
    progress.Finish();
}

} // namespace

int RunCommand(const TrimOptions& options, const Context& context)
{
    Trim(options, context);
    return 0;
}

bool IsPosition(const std::string& text)
{
    return ParsePlace(text).has_value();
}
