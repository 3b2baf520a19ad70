/// A sound file as the input of a measurement.
#pragma once

#include "tools/ztaudio/measure/analysis_input.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

/// The frames of a pipe are kept in a temporary file, for the readings after the first.
class FileInput : public AnalysisInput {
public:
    /// Throws Failure if the file cannot be read as a sound, or is shorter than its header says.
    FileInput(const std::filesystem::path& path, const InputOptions& options);

    const SoundFileReader& File() const { return *file_; }

    std::size_t ChannelCount() const override { return file_->Channels(); }
    double Rate() const override { return file_->Rate(); }
    double QuantizationStep() const override;
    std::size_t Read(std::span<double> interleaved) override;
    void Rewind() override;

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::size_t ReadSamples(std::size_t frames);

    std::filesystem::path path_;
    InputOptions options_;
    std::unique_ptr<SoundFileReader> file_;
    std::unique_ptr<std::FILE, CloseFile> copy_; ///< of the samples of a pipe
    bool hasCopy_ = false;                       ///< whether the copy is complete
    std::vector<std::byte> samples_;
    bool atStart_ = true;
};
