#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_reader.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <optional>
#include <regex>

namespace {

struct Options {
    std::filesystem::path in;
    std::filesystem::path out;
    std::string from = "0";
    std::string to;
};

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

std::string CheckPlace(const std::string& text)
{
    return ParsePlace(text) ? "" : text + " is no time: 1.5, 0:01.500 or, in sample frames, 72000s";
}

void RequireWithinFile(const Options& options, sf_count_t to, sf_count_t frames)
{
    if (to > frames) {
        throw Failure(options.in.string() + ": ends after " + std::to_string(frames) +
                      " sample frames, before the end of the cut at " + std::to_string(to));
    }
}

void Cut(const Options& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    RequireOtherFile(options.in, options.out);
    const sf_count_t from = ParsePlace(options.from).value().Frame(in.Rate());
    const sf_count_t to = options.to.empty() ? in.Frames() : ParsePlace(options.to).value().Frame(in.Rate());
    RequireWithinFile(options, to, in.Frames());
    if (from >= to) {
        throw Failure("nothing to cut from sample frame " + std::to_string(from) + " to " + std::to_string(to));
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

void AddCutCommand(CLI::App& app, const Context& context)
{
    const auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("cut", "Copy a piece of a sound file, exact to the sample frame");
    command->add_option("IN", options->in, "the file to read")->required();
    command->add_option("OUT", options->out, "the file to write, its container by the extension: " + OutputExtensions())
        ->required();
    command->add_option("--from", options->from, "where the piece begins")
        ->type_name("T")
        ->capture_default_str()
        ->check(CheckPlace);
    command
        ->add_option("--to", options->to,
                     "where it ends: the first sample frame that is not copied; the file's end "
                     "if not given")
        ->type_name("T")
        ->check(CheckPlace);
    command->footer(
        "A time is in seconds, 1.5, with minutes or hours, 0:01.500 or 1:02:03, or a count of sample frames,\n"
        "72000s. A time between two sample frames is the nearer one. Samples are copied as they are. Texts\n"
        "like the title are carried over; what refers to times in the old file is not.\n"
        "\n"
        "Examples:\n"
        "  ztaudio cut speech.wav word.wav --from 0.25 --to 1.5\n"
        "  ztaudio cut take.wav tail.wav --from 1:30\n"
        "  ztaudio cut take.wav second.wav --from 48000s --to 96000s");
    command->callback([options, &context] { Cut(*options, context); });
}
