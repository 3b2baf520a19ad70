/// Several sound files that are interleaved into one.
#pragma once

#include "tools/ztaudio/block_converter.h"
#include "tools/ztaudio/overload.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

class InputSet {
public:
    /// Opens the files. Throws Failure if one cannot be read completely, is the output, or has another rate than the
    /// first.
    InputSet(const std::vector<std::filesystem::path>& paths, const std::filesystem::path& output,
             OverloadPolicy overload, const InputOptions& options);

    std::size_t Count() const { return inputs_.size(); }
    const SoundFileReader& Sound(std::size_t i) const { return *inputs_[i].sound; }
    std::uint32_t Rate() const { return inputs_[0].sound->Rate(); }
    std::uint32_t Channels() const; ///< of all files

    /// The length of the longest, 0 if one is not known.
    sf_count_t Frames() const;

    /// The length over which gain ramps run; see ramp_length.h.
    sf_count_t FindRampFrames(const std::vector<std::string>& gains) const;

    /// The sample format of all files, or 24-in-32 if they differ or have floats, which are not interleaved.
    SampleFormat CommonFormat() const;

    /// Begins the reading. Samples are converted to `format`.
    void Begin(EngineSession& engine, SampleFormat format);

    /// Reads the next block of every file. Returns the frames of the longest, 0 at the end of all.
    sf_count_t Next();

    /// Fills the buffer with frames of file i's block, and with silence after the end of the file.
    /// gains  those of the file's channels, or none; see BlockConverter::Convert
    void FillFrom(std::size_t i, sf_count_t first, sf_count_t frames, std::span<int> gains,
                  zta::host::AudioBuffer& buffer);

    /// Notes which files were continued with silence, what was lost of them, and which sample counts passed full scale.
    void ReportLoss(const Context& context) const;

private:
    struct Input {
        std::unique_ptr<SoundFileReader> sound;
        std::unique_ptr<OverloadCounter> overloads;
        std::unique_ptr<BlockConverter> feed;
    };

    InputOptions options_;
    std::vector<Input> inputs_;
};
