/// Reading sound files.
#pragma once

#include "tools/ztaudio/context.h"
#include "tools/ztaudio/length_check.h"
#include "tools/ztaudio/sample_source.h"
#include "tools/ztaudio/stream_header.h"

#include <sndfile.h>

#include <bit>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct CloseSound {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
};
using SoundHandle = std::unique_ptr<SNDFILE, CloseSound>;

/// A text that a file carries about its sound.
struct Tag {
    int kind; ///< SF_STR_...
    std::string_view name;
    std::string text;
};

/// How an input is read.
struct InputOptions {
    std::string format;   ///< wav, flac, au or raw; empty to recognize it
    std::string raw;      ///< the description of raw samples, see IsRawFormat
    bool salvage = false; ///< read a damaged file as far as possible
};

/// Returns whether the text describes raw samples: "16|24in32|24in24|24|float,RATE,CHANNELS".
bool IsRawFormat(const std::string& text);

class SoundFileReader : public SampleSource {
public:
    /// Opens a file or a pipe, standard input if the path is "-". Throws Failure if the file is missing, is a folder or
    /// a device, has no sound that can be read, or has another format than the options say.
    explicit SoundFileReader(const std::filesystem::path& path, const InputOptions& options = {});
    ~SoundFileReader() override;

    const std::filesystem::path& Path() const { return path_; }
    std::uint32_t Channels() const override { return static_cast<std::uint32_t>(info_.channels); }
    std::uint32_t Rate() const override { return static_cast<std::uint32_t>(info_.samplerate); }
    /// As far as the header says; 0 if it does not.
    sf_count_t Frames() const override { return isLengthKnown_ ? info_.frames : 0; }
    bool IsLengthKnown() const { return isLengthKnown_; }
    int FileFormat() const { return container_ | (info_.format & SF_FORMAT_SUBMASK); }

    /// Returns whether the input can be read only once.
    bool IsPipe() const { return isPipe_; }

    const LengthCheck& Length() const { return length_; }

    SNDFILE* Handle() const { return sound_.get(); }
    std::vector<Tag> Tags() const;

    /// The sample format in which the engine processes the samples.
    SampleFormat Format() const override { return format_; }

    /// What is lost when the samples of the file get this format; empty if nothing is.
    std::string_view Loss() const { return loss_; }

    /// Notes the loss, if there is one, and whether the sound is read to the end of the file.
    void ReportLoss(const Context& context) const;

    /// Notes whether the sound ended before the length in its header. Only after the last Read.
    void ReportEnd(const Context& context) const;

    /// Throws Failure if the file is shorter than its header says, unless it is to be salvaged.
    void RequireWhole() const;

    /// Reads up to `frames` sample frames. Returns fewer only at the end of the sound; a pipe is then read to its end,
    /// so that its writer can finish.
    sf_count_t Read(void* samples, sf_count_t frames) override;

private:
    struct Stream;

    void OpenFile();
    void OpenPipe(int file);
    void OpenSamples(const StreamFormat& format);
    void OpenDecoder();
    void OpenTemporaryCopy();
    void OpenVirtual();
    void RequireOpened();
    void RequireNamedFormat() const;
    sf_count_t ReadPacked(std::int32_t* samples, sf_count_t frames);
    void FinishRead();

    std::filesystem::path path_;
    InputOptions options_;
    bool isPipe_ = false;
    bool isOpenEnded_ = false; ///< the header does not contain the length
    bool isLengthKnown_ = true;
    LengthCheck length_;             ///< of a file
    std::unique_ptr<Stream> stream_; ///< what libsndfile reads from, if it is no file; outlives `sound_`
    SF_INFO info_{};
    int container_ = 0; ///< SF_FORMAT_WAV, for example
    SoundHandle sound_;
    SampleFormat format_{};
    std::string_view loss_;
    bool clearLowByte_ = false;
    std::optional<std::endian> packedOrder_; ///< byte order of samples of three bytes, which are read as they are
    std::vector<std::byte> packed_;
    sf_count_t framesRead_ = 0;
    std::string endNote_;
};

/// Returns whether the file is a WAV with an extensible format.
inline bool IsExtensible(const SoundFileReader& sound)
{
    return (sound.FileFormat() & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX;
}
