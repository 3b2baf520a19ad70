#include "tools/ztaudio/input_set.h"

#include "host/formats.h"
#include "tools/common/failure.h"
#include "tools/common/output_file.h"

#include <algorithm>

InputSet::InputSet(const std::vector<std::filesystem::path>& paths, const std::filesystem::path& output)
{
    for (const auto& path : paths) {
        const auto& sound = sounds_.emplace_back(std::make_unique<SoundFileReader>(path));
        sound->RequireWhole();
        RequireOtherFile(path, output);
        if (sound->Rate() != Rate()) {
            throw Failure(path.string() + ": has " + std::to_string(sound->Rate()) + " Hz, and " + paths[0].string() +
                          " has " + std::to_string(Rate()) + " Hz");
        }
    }
    blocks_.resize(sounds_.size());
}

sf_count_t InputSet::Frames() const
{
    sf_count_t frames = 0;
    for (const auto& sound : sounds_) {
        frames = std::max(frames, sound->Frames());
    }
    return frames;
}

SampleFormat InputSet::CommonFormat() const
{
    const SampleFormat first = sounds_[0]->Word();
    const bool same = std::ranges::all_of(sounds_, [first](const auto& sound) { return sound->Word() == first; });
    return same && first != SampleFormat::Float32 ? first : SampleFormat::Pcm24In32;
}

void InputSet::Begin(EngineSession& engine, SampleFormat word)
{
    for (const auto& sound : sounds_) {
        feeds_.push_back(std::make_unique<BlockConverter>(engine, *sound, word));
    }
}

sf_count_t InputSet::Next()
{
    sf_count_t frames = 0;
    for (std::size_t i = 0; i < feeds_.size(); ++i) {
        blocks_[i] = feeds_[i]->Next();
        frames = std::max(frames, blocks_[i].frames);
    }
    return frames;
}

void InputSet::FillFrom(std::size_t i, sf_count_t first, sf_count_t frames, zta::host::AudioBuffer& buffer) const
{
    const sf_count_t given = std::clamp(blocks_[i].frames - first, sf_count_t{0}, frames);
    const std::size_t offset =
        static_cast<std::size_t>(first) * zta::host::BytesPerFrame(buffer.Description().sWaveFormat);
    Fill(buffer, given == 0 ? nullptr : blocks_[i].words + offset, given, frames);
}

void InputSet::ReportLoss(const Context& context) const
{
    sf_count_t longest = 0;
    for (const auto& feed : feeds_) {
        longest = std::max(longest, feed->Given());
    }
    for (std::size_t i = 0; i < feeds_.size(); ++i) {
        feeds_[i]->ReportLoss(context);
        if (const sf_count_t missing = longest - feeds_[i]->Given(); missing != 0) {
            context.Note(sounds_[i]->Path().string() + ": continued with " + std::to_string(missing) +
                         " sample frames of silence to the length of the longest input");
        }
    }
}
