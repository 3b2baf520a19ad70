/// Reading sound files.
#pragma once

#include "tools/ztaudio/context.h"
#include "tools/ztaudio/sample_source.h"

#include <sndfile.h>

#include <filesystem>
#include <memory>
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

class SoundFileReader : public SampleSource {
public:
    /// Throws Failure when the file is missing, not a regular file, or holds no sound that can be read.
    explicit SoundFileReader(const std::filesystem::path& path);

    const std::filesystem::path& Path() const { return path_; }
    std::uint32_t Channels() const override { return static_cast<std::uint32_t>(info_.channels); }
    std::uint32_t Rate() const override { return static_cast<std::uint32_t>(info_.samplerate); }
    /// As far as the header tells; 0 if it does not.
    sf_count_t Frames() const override { return info_.frames; }
    int Format() const { return info_.format; }

    /// Returns whether the input is a stream, whose length is not known.
    bool IsStream() const { return false; }

    SNDFILE* Handle() const { return sound_.get(); }
    std::vector<Tag> Tags() const;

    /// The word in which the file's samples meet the engine.
    SampleFormat Word() const override { return word_; }

    /// What is lost when the file's samples become such words; empty if nothing is.
    std::string_view Loss() const { return loss_; }

    /// Notes the loss, if there is one.
    void ReportLoss(const Context& context) const;

    /// Throws Failure when the file is shorter than its header promises.
    void RequireWhole() const;

    /// Reads up to `frames` sample frames of words. Fewer come at the end of the file only.
    sf_count_t Read(void* words, sf_count_t frames) override;

private:
    std::filesystem::path path_;
    SF_INFO info_{};
    SoundHandle sound_;
    SampleFormat word_{};
    std::string_view loss_;
    bool clearLowByte_ = false;
    sf_count_t framesRead_ = 0;
};

/// Returns whether the file is a WAV with an extensible format.
inline bool IsExtensible(const SoundFileReader& sound)
{
    return (sound.Format() & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX;
}
