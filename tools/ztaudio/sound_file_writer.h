/// Writing sound files.
#pragma once

#include "tools/common/output_file.h"
#include "tools/ztaudio/sample_format.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/stream_encoder.h"

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

/// How an output is written.
struct OutputOptions {
    std::string format;     ///< the extension of a container or "raw"; empty for that of the file's name
    bool noClobber = false; ///< do not replace an existing file
    bool isSpooled = false; ///< a stream gets nothing before the sound is complete
};

/// The extensions of the containers, for help texts.
std::string OutputExtensions();

/// Returns whether the name is that of a container that can be written.
bool IsOutputFormat(const std::string& name);

/// Throws UsageFailure if neither the options nor the extension of the path select a container.
void RequireContainer(const std::filesystem::path& path, const OutputOptions& options);

class SoundFileWriter {
public:
    /// Begins a file of the container that the options or the extension select, or writes to a stream; see
    /// IsStream. Throws Failure if the container does not hold such samples or cannot hold `expectedFrames` of them,
    /// or if the file cannot be made.
    ///
    /// expectedFrames  0 if not known
    /// extensibleWav   whether a WAV of up to two channels has the extensible format, which more channels always have
    SoundFileWriter(const std::filesystem::path& path, const OutputOptions& options, SampleFormat format,
                    std::uint32_t channels, std::uint32_t rate, sf_count_t expectedFrames, bool extensibleWav);
    ~SoundFileWriter();

    /// Copies what the source contains about its sound, as far as the container supports it. Before any Write.
    void CopyTags(const SoundFileReader& source);

    /// Copies only the texts of that, which do not refer to times or channels.
    void CopyTexts(const SoundFileReader& source);

    /// Writes sample frames, or holds them until there are more. Throws Failure if samples could not be
    /// written.
    void Write(const std::byte* samples, sf_count_t frames);

    /// Completes the files and gives them their names: all of them or, if this throws Failure, none.
    static void Commit(std::span<const std::unique_ptr<SoundFileWriter>> writers);

    /// The same for one file.
    void Commit();

private:
    void Close();
    void WritePending();
    sf_count_t WriteFrames(const std::byte* samples, sf_count_t frames);
    sf_count_t WritePacked(std::span<const std::byte> bytes);
    void RequireCapacity(sf_count_t frames) const;
    void OpenLibrary(int format, std::uint32_t rate);

    std::filesystem::path path_;
    SampleFormat format_;
    std::size_t samplesPerFrame_;
    std::uint64_t limit_ = 0; ///< bytes of samples
    sf_count_t framesTaken_ = 0;
    std::string emptyFailure_; ///< the message if no frames are written; empty if that is no failure
    std::vector<std::byte> pending_;
    bool isPacked_ = false; ///< the container holds the bytes of 24-in-24
    bool isMpeg_ = false;
    std::vector<std::byte> packed_;
    std::vector<std::int32_t> wide_;
    std::unique_ptr<OutputTarget> target_;
    std::unique_ptr<StreamEncoder> encoder_; ///< if libsndfile does not write the samples
    SoundHandle sound_;
};
