/// Writing sound files.
#pragma once

#include "tools/common/output_file.h"
#include "tools/ztaudio/sample_format.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <sndfile.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

/// The extensions that name a container to write, for help texts.
std::string OutputExtensions();

class SoundFileWriter {
public:
    /// Begins a file of the container that the extension names. Throws Failure when the container does not hold such
    /// samples or cannot hold `expectedFrames` of them, or when the file cannot be made.
    SoundFileWriter(const std::filesystem::path& path, SampleFormat word, std::uint32_t channels, std::uint32_t rate,
                    sf_count_t expectedFrames, bool extensibleWav);

    /// Carries over what the source tells about its sound, as far as the container has room for it. Before any Write.
    void CopyTags(const SoundFileReader& source);

    /// Of that, the texts only: what does not refer to times or channels.
    void CopyTexts(const SoundFileReader& source);

    /// Writes whole sample frames of words, or keeps them until there are more. Throws Failure when words could not be
    /// written.
    void Write(const std::byte* words, sf_count_t frames);

    /// Completes the files and gives them their names: all of them or, when this throws Failure, none.
    static void Commit(std::span<const std::unique_ptr<SoundFileWriter>> writers);

    /// The same for one file.
    void Commit();

private:
    void Close();
    void WritePending();
    void RequireRoom(sf_count_t frames) const;

    std::filesystem::path path_;
    SampleFormat word_;
    std::size_t samplesPerFrame_;
    std::uint64_t limit_;
    sf_count_t framesTaken_ = 0;
    std::vector<std::byte> pending_;
    std::vector<int> unpacked_;
    OutputFile file_;
    SoundHandle sound_;
};
