#include "tools/ztaudio/input_set.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/ztaudio/adaptation.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/ramp_length.h"

#include <algorithm>

InputSet::InputSet(const std::vector<std::filesystem::path>& paths, const std::filesystem::path& output,
                   OverloadPolicy overload, const InputOptions& options)
    : options_(options)
{
    for (const auto& path : paths) {
        Input& input = inputs_.emplace_back();
        input.sound = std::make_unique<SoundFileReader>(path, options);
        input.overloads = std::make_unique<OverloadCounter>(path.string(), overload);
        input.sound->RequireWhole();
        RequireOtherFile(path, output);
        if (input.sound->Rate() != Rate()) {
            throw Failure(path.string() + ": has " + std::to_string(input.sound->Rate()) + " Hz, and " +
                          paths[0].string() + " has " + std::to_string(Rate()) + " Hz");
        }
    }
}

std::uint32_t InputSet::Channels() const
{
    std::uint32_t channels = 0;
    for (const Input& input : inputs_) {
        channels += input.sound->Channels();
    }
    return channels;
}

sf_count_t InputSet::Frames() const
{
    sf_count_t frames = 0;
    for (const Input& input : inputs_) {
        if (!input.sound->IsLengthKnown()) {
            return 0;
        }
        frames = std::max(frames, input.sound->Frames());
    }
    return frames;
}

sf_count_t InputSet::FindRampFrames(const std::vector<std::string>& gains) const
{
    sf_count_t longest = 0;
    for (const Input& input : inputs_) {
        const sf_count_t frames = ::FindRampFrames(*input.sound, options_, gains);
        if (frames == kUnknownFrames) {
            return kUnknownFrames;
        }
        longest = std::max(longest, frames);
    }
    return longest;
}

SampleFormat InputSet::CommonFormat() const
{
    const SampleFormat first = inputs_[0].sound->Format();
    const bool isCommon =
        std::ranges::all_of(inputs_, [first](const Input& input) { return input.sound->Format() == first; });
    return isCommon && first != SampleFormat::Float32 ? first : SampleFormat::Pcm24In32;
}

void InputSet::Begin(EngineSession& engine, SampleFormat format)
{
    for (Input& input : inputs_) {
        input.feed = std::make_unique<BlockConverter>(engine, *input.sound, format, *input.overloads);
    }
}

sf_count_t InputSet::Next()
{
    sf_count_t frames = 0;
    for (const Input& input : inputs_) {
        frames = std::max(frames, input.feed->Next());
    }
    return frames;
}

void InputSet::FillFrom(std::size_t i, sf_count_t first, sf_count_t frames, std::span<int> gains,
                        zta::host::AudioBuffer& buffer)
{
    const Input& input = inputs_[i];
    const sf_count_t given = std::clamp(input.feed->BlockFrames() - first, sf_count_t{0}, frames);
    const std::byte* const samples = given == 0 ? nullptr : input.feed->Convert(first, given, gains);
    Fill(buffer, {samples, input.sound->Channels(), input.sound->Channels()}, given, frames);
}

void InputSet::ReportLoss(const Context& context) const
{
    sf_count_t longest = 0;
    for (const Input& input : inputs_) {
        longest = std::max(longest, input.feed->TotalFrames());
    }
    for (const Input& input : inputs_) {
        input.sound->ReportLoss(context);
        input.sound->ReportEnd(context);
        input.overloads->Report();
        if (const sf_count_t missing = longest - input.feed->TotalFrames(); missing != 0) {
            context.Note(input.sound->Path().string() + ": continued with " + std::to_string(missing) +
                         " sample frames of silence to the length of the longest input");
        }
    }
}
