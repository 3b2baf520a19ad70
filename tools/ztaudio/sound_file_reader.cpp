#include "tools/ztaudio/sound_file_reader.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/ztaudio/truncation_check.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <span>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// More than any pipe delivers, and a number that libsndfile can calculate with.
constexpr std::uint64_t kEndlessBytes = std::uint64_t{1} << 60;

constexpr std::string_view kLosesLowByte = "32-bit integer samples: the low 8 bits are dropped";
constexpr std::string_view kLosesPrecision = "double-precision samples: rounded to single precision";

struct SubtypeEntry {
    int subtype;
    SampleFormat format;
    std::string_view loss;
};

// Narrower integers and companded samples fit into 16 bits; lossy codecs decode to floating point.
constexpr SubtypeEntry kSubtypes[] = {
    {SF_FORMAT_PCM_S8, SampleFormat::Pcm16, {}},
    {SF_FORMAT_PCM_U8, SampleFormat::Pcm16, {}},
    {SF_FORMAT_PCM_16, SampleFormat::Pcm16, {}},
    {SF_FORMAT_ULAW, SampleFormat::Pcm16, {}},
    {SF_FORMAT_ALAW, SampleFormat::Pcm16, {}},
    {SF_FORMAT_IMA_ADPCM, SampleFormat::Pcm16, {}},
    {SF_FORMAT_MS_ADPCM, SampleFormat::Pcm16, {}},
    {SF_FORMAT_GSM610, SampleFormat::Pcm16, {}},
    {SF_FORMAT_PCM_24, SampleFormat::Pcm24In32, {}},
    {SF_FORMAT_PCM_32, SampleFormat::Pcm24In32, kLosesLowByte},
    {SF_FORMAT_FLOAT, SampleFormat::Float32, {}},
    {SF_FORMAT_DOUBLE, SampleFormat::Float32, kLosesPrecision},
    {SF_FORMAT_VORBIS, SampleFormat::Float32, {}},
    {SF_FORMAT_OPUS, SampleFormat::Float32, {}},
    {SF_FORMAT_MPEG_LAYER_I, SampleFormat::Float32, {}},
    {SF_FORMAT_MPEG_LAYER_II, SampleFormat::Float32, {}},
    {SF_FORMAT_MPEG_LAYER_III, SampleFormat::Float32, {}},
    {SF_FORMAT_ALAC_16, SampleFormat::Pcm16, {}},
    {SF_FORMAT_ALAC_20, SampleFormat::Pcm24In32, {}},
    {SF_FORMAT_ALAC_24, SampleFormat::Pcm24In32, {}},
    {SF_FORMAT_ALAC_32, SampleFormat::Pcm24In32, kLosesLowByte},
    {SF_FORMAT_DPCM_8, SampleFormat::Pcm16, {}},
    {SF_FORMAT_DPCM_16, SampleFormat::Pcm16, {}},
    {SF_FORMAT_DWVW_12, SampleFormat::Pcm16, {}},
    {SF_FORMAT_DWVW_16, SampleFormat::Pcm16, {}},
    {SF_FORMAT_DWVW_24, SampleFormat::Pcm24In32, {}},
    {SF_FORMAT_G721_32, SampleFormat::Pcm16, {}},
    {SF_FORMAT_G723_24, SampleFormat::Pcm16, {}},
    {SF_FORMAT_G723_40, SampleFormat::Pcm16, {}},
    {SF_FORMAT_VOX_ADPCM, SampleFormat::Pcm16, {}},
    {SF_FORMAT_NMS_ADPCM_16, SampleFormat::Pcm16, {}},
    {SF_FORMAT_NMS_ADPCM_24, SampleFormat::Pcm16, {}},
    {SF_FORMAT_NMS_ADPCM_32, SampleFormat::Pcm16, {}},
};

struct TagEntry {
    int kind;
    std::string_view name;
};

constexpr TagEntry kTags[] = {
    {SF_STR_TITLE, "title"},       {SF_STR_ARTIST, "artist"},   {SF_STR_ALBUM, "album"},
    {SF_STR_DATE, "date"},         {SF_STR_GENRE, "genre"},     {SF_STR_TRACKNUMBER, "track"},
    {SF_STR_COMMENT, "comment"},   {SF_STR_LICENSE, "license"}, {SF_STR_COPYRIGHT, "copyright"},
    {SF_STR_SOFTWARE, "software"},
};

} // namespace

bool IsRawFormat(const std::string& text)
{
    return ParseRawFormat(text).has_value();
}

struct SoundFileReader::Stream {
    std::unique_ptr<ByteStream> bytes;
    std::uint64_t length = 0; ///< of the samples; more than any sound has if it is not known
    std::uint64_t position = 0;
};

SoundFileReader::~SoundFileReader() = default;

SoundFileReader::SoundFileReader(const std::filesystem::path& path, const InputOptions& options)
    : path_(path), options_(options)
{
    if (options.format == "raw" && options.raw.empty()) {
        throw UsageFailure("--input-format raw needs --raw to describe the samples");
    }
    if (path == "-") {
        path_ = "standard input";
        isPipe_ = true;
        OpenPipe();
    } else {
        OpenFile();
    }
    RequireOpened();
}

void SoundFileReader::OpenFile()
{
    std::error_code error;
    const auto status = std::filesystem::status(path_, error);
    if (error) {
        throw Failure(path_.string() + ": " + error.message());
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw Failure(path_.string() + ": not a regular file");
    }
    const int file = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        throw Failure(path_.string() + ": " + std::generic_category().message(errno));
    }
    auto bytes = std::make_unique<ByteStream>(file);
    auto format = options_.raw.empty() ? ParseStreamHeader(*bytes) : ParseRawFormat(options_.raw);
    const std::uint64_t length = std::filesystem::file_size(path_);
    const bool isWav = format && (format->format & SF_FORMAT_ENDMASK) == SF_ENDIAN_LITTLE;
    const std::uint64_t soundBytes = format ? length - std::min<std::uint64_t>(length, format->headerBytes) : 0;
    if (format && (!options_.raw.empty() || (isWav && !format->soundBytes && soundBytes != 0))) {
        isOpenEnded_ = options_.raw.empty();
        format->soundBytes = soundBytes;
        stream_ = std::make_unique<Stream>(Stream{std::move(bytes), 0, 0});
        OpenStream(*format);
        return;
    }
    sound_.reset(sf_open(path_.c_str(), SFM_READ, &info_));
}

void SoundFileReader::OpenPipe()
{
    auto bytes = std::make_unique<ByteStream>(dup(STDIN_FILENO));
    auto format = options_.raw.empty() ? ParseStreamHeader(*bytes) : ParseRawFormat(options_.raw);
    bytes->RequireRead(path_.string());
    if (!format) {
        OpenSpooled(std::move(bytes));
        return;
    }
    stream_ = std::make_unique<Stream>(Stream{std::move(bytes), 0, 0});
    OpenStream(*format);
}

// libsndfile reads the samples as headerless ones. Seeking is not possible, and not needed.
void SoundFileReader::OpenStream(const StreamFormat& format)
{
    static SF_VIRTUAL_IO io = {
        [](void* data) -> sf_count_t { return static_cast<sf_count_t>(static_cast<Stream*>(data)->length); },
        [](sf_count_t offset, int whence, void* data) -> sf_count_t {
            auto& stream = *static_cast<Stream*>(data);
            const auto position = static_cast<sf_count_t>(stream.position);
            const sf_count_t target = whence == SEEK_SET   ? offset
                                      : whence == SEEK_CUR ? position + offset
                                                           : static_cast<sf_count_t>(stream.length) + offset;
            return target == position ? position : -1;
        },
        [](void* to, sf_count_t bytes, void* data) -> sf_count_t {
            auto& stream = *static_cast<Stream*>(data);
            const std::uint64_t count = std::min(static_cast<std::uint64_t>(bytes), stream.length - stream.position);
            const std::size_t read = stream.bytes->Read(to, count);
            stream.position += read;
            return static_cast<sf_count_t>(read);
        },
        nullptr,
        [](void* data) -> sf_count_t { return static_cast<sf_count_t>(static_cast<Stream*>(data)->position); },
    };
    const std::uint64_t frameBytes = std::uint64_t{format.sampleBytes} * format.channels;
    stream_->bytes->Skip(format.headerBytes);
    stream_->length = format.soundBytes.value_or(kEndlessBytes) / frameBytes * frameBytes;
    clearLowByte_ = format.clearsLowByte;
    info_.format = format.format;
    info_.channels = static_cast<int>(format.channels);
    info_.samplerate = static_cast<int>(format.rate);
    sound_.reset(sf_open_virtual(&io, SFM_READ, &info_, stream_.get()));
}

// Other formats are read in any order, so the pipe is copied to a file without a name first.
void SoundFileReader::OpenSpooled(std::unique_ptr<ByteStream> bytes)
{
    const int file = OpenTemporaryFile();
    if (file < 0) {
        throw Failure(path_.string() + ": cannot make a temporary file: " + std::generic_category().message(errno));
    }
    std::vector<std::byte> block(65536);
    while (const std::size_t count = bytes->Read(block.data(), block.size())) {
        std::size_t written = 0;
        while (written < count) {
            const ssize_t result = write(file, block.data() + written, count - written);
            if (result < 0 && errno != EINTR) {
                const int error = errno;
                close(file);
                throw Failure(path_.string() +
                              ": cannot write a temporary file: " + std::generic_category().message(error));
            }
            written += result < 0 ? 0 : static_cast<std::size_t>(result);
        }
    }
    bytes->RequireRead(path_.string());
    lseek(file, 0, SEEK_SET);
    isPipe_ = false; // from here on it is a file
    sound_.reset(sf_open_fd(file, SFM_READ, &info_, SF_TRUE));
}

void SoundFileReader::RequireOpened()
{
    if (!sound_) {
        throw Failure(path_.string() + ": cannot read this as a sound file: " + sf_strerror(nullptr));
    }
    if (isPipe_ || info_.frames == SF_COUNT_MAX) {
        info_.frames = 0; // not known
    }
    const int subtype = info_.format & SF_FORMAT_SUBMASK;
    const auto* entry = std::ranges::find(kSubtypes, subtype, &SubtypeEntry::subtype);
    if (entry == std::end(kSubtypes)) {
        throw Failure(path_.string() + ": samples of this kind are not supported");
    }
    format_ = entry->format;
    loss_ = clearLowByte_ ? std::string_view() : entry->loss;
    clearLowByte_ = clearLowByte_ || subtype == SF_FORMAT_PCM_32 || subtype == SF_FORMAT_ALAC_32;
}

std::vector<Tag> SoundFileReader::Tags() const
{
    std::vector<Tag> tags;
    for (const TagEntry& entry : kTags) {
        const char* text = sf_get_string(sound_.get(), entry.kind);
        if (text != nullptr && *text != '\0') {
            tags.push_back({entry.kind, entry.name, text});
        }
    }
    return tags;
}

void SoundFileReader::ReportLoss(const Context& context) const
{
    if (!loss_.empty()) {
        context.Note(path_.string() + ": " + std::string(loss_));
    }
    if (isOpenEnded_) {
        context.Note(path_.string() + ": the header does not contain the length, so the file is read to its end");
    }
    if (options_.salvage && MissingBytes(path_) != 0) {
        context.Note(path_.string() + ": truncated: the samples that are there are read");
    }
}

void SoundFileReader::RequireWhole() const
{
    if (options_.salvage || stream_ || path_ == "standard input") {
        return;
    }
    if (const std::uint64_t missing = MissingBytes(path_); missing != 0) {
        throw Failure(path_.string() + ": truncated: " + std::to_string(missing) +
                      " bytes of samples are missing that its header promises (--salvage reads the others)");
    }
}

sf_count_t SoundFileReader::Read(void* samples, sf_count_t frames)
{
    sf_count_t read = 0;
    switch (format_) {
    case SampleFormat::Pcm16:
        read = sf_readf_short(sound_.get(), static_cast<short*>(samples), frames);
        break;
    case SampleFormat::Pcm24In32:
    case SampleFormat::Pcm24In24:
        read = sf_readf_int(sound_.get(), static_cast<int*>(samples), frames);
        break;
    case SampleFormat::Float32:
        read = sf_readf_float(sound_.get(), static_cast<float*>(samples), frames);
        break;
    }
    if (clearLowByte_) {
        for (int& sample : std::span(static_cast<int*>(samples), static_cast<std::size_t>(read) * Channels())) {
            sample &= ~0xFF;
        }
    }
    framesRead_ += read;
    if (read < frames && stream_) {
        stream_->bytes->RequireRead(path_.string());
    }
    if (read < frames && !options_.salvage &&
        (sf_error(sound_.get()) != SF_ERR_NO_ERROR || framesRead_ < info_.frames)) {
        throw Failure(path_.string() + ": damaged or truncated: ends after " + std::to_string(framesRead_) + " of " +
                      std::to_string(info_.frames) + " sample frames");
    }
    return read;
}
