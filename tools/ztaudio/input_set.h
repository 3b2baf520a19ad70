/// Several sound files that are put together into one.
#pragma once

#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/padded_buffer.h"

#include <filesystem>
#include <memory>
#include <vector>

class InputSet {
public:
    /// Opens the files. Throws Failure when one cannot be read as a whole, is the output, or has another rate than the
    /// first.
    InputSet(const std::vector<std::filesystem::path>& paths, const std::filesystem::path& output);

    std::size_t Count() const { return sounds_.size(); }
    const SoundFileReader& Sound(std::size_t i) const { return *sounds_[i]; }
    std::uint32_t Rate() const { return sounds_[0]->Rate(); }

    /// Of the longest, as far as the headers tell.
    sf_count_t Frames() const;

    /// The word that all files have, 24-in-32 if they differ or have floats, which cannot be put together.
    SampleFormat CommonFormat() const;

    /// Begins the reading, as words of this kind. Throws Failure, with the engine's text, when the engine has no road.
    void Begin(EngineSession& engine, SampleFormat word);

    /// Reads the next block of every file. Gives the frames of the longest, 0 at the end of all.
    sf_count_t Next();

    /// Fills the buffer with frames of file i's block, with silence where the file has ended.
    void FillFrom(std::size_t i, sf_count_t first, sf_count_t frames, zta::host::AudioBuffer& buffer) const;

    /// Notes which files were continued with silence, and what was lost of them.
    void ReportLoss(const Context& context) const;

private:
    std::vector<std::unique_ptr<SoundFileReader>> sounds_;
    std::vector<std::unique_ptr<BlockConverter>> feeds_;
    std::vector<Block> blocks_;
};
