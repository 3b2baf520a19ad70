#include "tools/ztaudio/sound_file_reader.h"

#include "tools/common/failure.h"
#include "tools/ztaudio/truncation_check.h"

#include <algorithm>
#include <span>

namespace {

constexpr std::string_view kLosesLowByte = "32-bit integer samples: the low 8 bits are dropped";
constexpr std::string_view kLosesPrecision = "double-precision samples: rounded to single precision";

struct SubtypeRow {
    int subtype;
    SampleFormat word;
    std::string_view loss;
};

// Narrower integers and companded samples fit into 16 bits; lossy codecs decode to floating point.
constexpr SubtypeRow kSubtypes[] = {
    {SF_FORMAT_PCM_S8, SampleFormat::Pcm16, {}},     {SF_FORMAT_PCM_U8, SampleFormat::Pcm16, {}},
    {SF_FORMAT_PCM_16, SampleFormat::Pcm16, {}},     {SF_FORMAT_ULAW, SampleFormat::Pcm16, {}},
    {SF_FORMAT_ALAW, SampleFormat::Pcm16, {}},       {SF_FORMAT_IMA_ADPCM, SampleFormat::Pcm16, {}},
    {SF_FORMAT_MS_ADPCM, SampleFormat::Pcm16, {}},   {SF_FORMAT_GSM610, SampleFormat::Pcm16, {}},
    {SF_FORMAT_PCM_24, SampleFormat::Pcm24In32, {}}, {SF_FORMAT_PCM_32, SampleFormat::Pcm24In32, kLosesLowByte},
    {SF_FORMAT_FLOAT, SampleFormat::Float32, {}},    {SF_FORMAT_DOUBLE, SampleFormat::Float32, kLosesPrecision},
    {SF_FORMAT_VORBIS, SampleFormat::Float32, {}},   {SF_FORMAT_OPUS, SampleFormat::Float32, {}},
};

struct TagRow {
    int kind;
    std::string_view name;
};

constexpr TagRow kTags[] = {
    {SF_STR_TITLE, "title"},       {SF_STR_ARTIST, "artist"},   {SF_STR_ALBUM, "album"},
    {SF_STR_DATE, "date"},         {SF_STR_GENRE, "genre"},     {SF_STR_TRACKNUMBER, "track"},
    {SF_STR_COMMENT, "comment"},   {SF_STR_LICENSE, "license"}, {SF_STR_COPYRIGHT, "copyright"},
    {SF_STR_SOFTWARE, "software"},
};

} // namespace

SoundFileReader::SoundFileReader(const std::filesystem::path& path) : path_(path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error) {
        throw Failure(path.string() + ": " + error.message());
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw Failure(path.string() + ": not a regular file");
    }
    sound_.reset(sf_open(path.c_str(), SFM_READ, &info_));
    if (!sound_) {
        throw Failure(path.string() + ": cannot read this as a sound file: " + sf_strerror(nullptr));
    }
    if (info_.frames == SF_COUNT_MAX) {
        info_.frames = 0; // an encoder that could not seek back to tell
    }
    const int subtype = info_.format & SF_FORMAT_SUBMASK;
    const auto* row = std::ranges::find(kSubtypes, subtype, &SubtypeRow::subtype);
    if (row == std::end(kSubtypes)) {
        throw Failure(path.string() + ": samples of this kind are not supported");
    }
    word_ = row->word;
    loss_ = row->loss;
    clearLowByte_ = subtype == SF_FORMAT_PCM_32;
}

std::vector<Tag> SoundFileReader::Tags() const
{
    std::vector<Tag> tags;
    for (const TagRow& row : kTags) {
        const char* text = sf_get_string(sound_.get(), row.kind);
        if (text != nullptr && *text != '\0') {
            tags.push_back({row.kind, row.name, text});
        }
    }
    return tags;
}

void SoundFileReader::ReportLoss(const Context& context) const
{
    if (!loss_.empty()) {
        context.Note(path_.string() + ": " + std::string(loss_));
    }
}

void SoundFileReader::RequireWhole() const
{
    if (const std::uint64_t missing = MissingBytes(path_); missing != 0) {
        throw Failure(path_.string() + ": truncated: " + std::to_string(missing) +
                      " bytes of samples are missing that its header promises");
    }
}

sf_count_t SoundFileReader::Read(void* words, sf_count_t frames)
{
    sf_count_t read = 0;
    switch (word_) {
    case SampleFormat::Pcm16:
        read = sf_readf_short(sound_.get(), static_cast<short*>(words), frames);
        break;
    case SampleFormat::Pcm24In32:
    case SampleFormat::Pcm24In24:
        read = sf_readf_int(sound_.get(), static_cast<int*>(words), frames);
        break;
    case SampleFormat::Float32:
        read = sf_readf_float(sound_.get(), static_cast<float*>(words), frames);
        break;
    }
    if (clearLowByte_) {
        for (int& word : std::span(static_cast<int*>(words), static_cast<std::size_t>(read) * Channels())) {
            word &= ~0xFF;
        }
    }
    framesRead_ += read;
    if (read < frames && (sf_error(sound_.get()) != SF_ERR_NO_ERROR || framesRead_ < info_.frames)) {
        throw Failure(path_.string() + ": damaged or truncated: ends after " + std::to_string(framesRead_) + " of " +
                      std::to_string(info_.frames) + " sample frames");
    }
    return read;
}
