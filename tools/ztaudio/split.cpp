#include "host/formats.h"
#include "tools/common/failure.h"
#include "tools/common/signal_handling.h"
#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <algorithm>
#include <memory>
#include <regex>

namespace host = zta::host;

namespace {

/// Where a pattern has the number.
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

void Split(const SplitOptions& options, const Context& context)
{
    SoundFileReader in(options.in);
    in.RequireWhole();
    const std::uint32_t width = options.stereo ? 2 : 1;
    const std::size_t count = std::max(1U, in.Channels() / width);
    for (std::size_t i = 0; i < count; ++i) {
        RequireOtherFile(options.in, NumberedPath(options.pattern, i + 1));
    }
    const SampleFormat word = options.gains.empty() ? in.Word() : ScaledWord(in.Word(), context);
    Gains gains(options.gains, in.Channels(), in.Frames());
    EngineSession engine(context);
    BlockConverter feed(engine, in, word);
    const auto mux = MakeBuffer(WaveFormat(word, in.Channels(), in.Rate()));
    std::vector<host::Ref<host::AudioBuffer>> parts;
    std::vector<host::AudioBuffer*> entries;
    for (std::size_t i = 0; i < count; ++i) {
        entries.push_back(parts.emplace_back(MakeBuffer(WaveFormat(word, width, in.Rate()))).Get());
    }
    const auto run = [&](const std::byte* words, sf_count_t frames, Volumes volumes) {
        Fill(*mux, words, frames, frames);
        if (options.stereo) {
            engine.MuxToStereo(*mux, entries, volumes);
        } else {
            engine.MuxToMono(*mux, entries, volumes);
        }
    };
    run(nullptr, 0, gains.At(0)); // what the engine refuses, it refuses before there is a file

    std::vector<std::unique_ptr<SoundFileWriter>> outputs;
    for (std::size_t i = 0; i < count; ++i) {
        outputs.push_back(std::make_unique<SoundFileWriter>(NumberedPath(options.pattern, i + 1), word, width,
                                                            in.Rate(), in.Frames(), false));
        outputs.back()->CopyTags(in);
    }
    const std::size_t frameBytes = BytesOf(word) * in.Channels();
    Progress progress(context, options.in.filename().string(), in.Frames(), in.Rate());
    for (Block block = feed.Next(); block.frames != 0; block = feed.Next()) {
        CheckInterruption();
        gains.ForSteadyRuns(feed.Given() - block.frames, block.frames,
                            [&](sf_count_t first, sf_count_t frames, Volumes volumes) {
                                run(block.words + static_cast<std::size_t>(first) * frameBytes, frames, volumes);
                                for (std::size_t i = 0; i < count; ++i) {
                                    outputs[i]->Write(entries[i]->Data(), frames);
                                }
                            });
        progress.Advance(block.frames);
    }
    CheckInterruption();
    SoundFileWriter::Commit(outputs);
    progress.Finish();
    feed.ReportLoss(context);
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
