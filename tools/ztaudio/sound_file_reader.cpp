#include "tools/ztaudio/sound_file_reader.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/ztaudio/packing.h"
#include "tools/ztaudio/standard_error_mute.h"

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

constexpr std::string_view kEndsEarly = "ends before the length in its header, and is read to its end";
constexpr std::string_view kLacksLastPage = "ends before the last page of the sound, and is read to its end";
constexpr std::string_view kLacksLastFrame = "ends before the end of a FLAC frame, and is read to its end";
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

/// Returns whether the file, as libsndfile opened it, holds 24-bit samples of three bytes. Other containers compress
/// them or arrange them in blocks.
bool HoldsPackedSamples(int format)
{
    constexpr int kContainers[] = {SF_FORMAT_WAV,  SF_FORMAT_WAVEX, SF_FORMAT_W64, SF_FORMAT_RF64,
                                   SF_FORMAT_AIFF, SF_FORMAT_AU,    SF_FORMAT_CAF, SF_FORMAT_RAW};
    return (format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_24 &&
           std::ranges::find(kContainers, format & SF_FORMAT_TYPEMASK) != std::end(kContainers);
}

} // namespace

bool IsRawFormat(const std::string& text)
{
    return ParseRawFormat(text).has_value();
}

/// The bytes that libsndfile reads through OpenVirtual.
struct SoundFileReader::Stream {
    std::unique_ptr<ByteStream> bytes;
    std::uint64_t begin = 0;  ///< position of the first byte for libsndfile
    std::uint64_t length = 0; ///< more than any sound has if it is not known
    bool isOgg = false;
    std::size_t maxPartBytes = 0; ///< of a page or frame; 0 if the last one is not checked
    std::string lastBytes = {};   ///< at least as many bytes

    std::uint64_t Position() const { return bytes->Position() - begin; }

    std::size_t Read(void* to, std::size_t count)
    {
        const std::uint64_t left = length - std::min(length, Position());
        const std::size_t read = bytes->Read(to, static_cast<std::size_t>(std::min<std::uint64_t>(count, left)));
        if (maxPartBytes != 0) {
            lastBytes.append(static_cast<const char*>(to), read);
            if (lastBytes.size() > 4 * maxPartBytes) {
                lastBytes.erase(0, lastBytes.size() - 2 * maxPartBytes);
            }
        }
        return read;
    }

    /// Returns whether the bytes end before the sound does.
    bool HasEndedEarly() const
    {
        if (maxPartBytes == 0) {
            return length < kEndlessBytes && Position() < length;
        }
        return isOgg ? CheckLastOggPage(lastBytes, 0, lastBytes.size()).isTruncated : !EndsWithFlacFrame(lastBytes);
    }
};

SoundFileReader::~SoundFileReader() = default;

SoundFileReader::SoundFileReader(const std::filesystem::path& path, const InputOptions& options)
    : path_(path), options_(options)
{
    if (options.format == "raw" && options.raw.empty()) {
        throw UsageFailure("--input-format raw needs --raw to describe the samples");
    }
    if (!options.raw.empty() && !options.format.empty() && options.format != "raw") {
        throw UsageFailure("--raw describes samples without a header, so --input-format cannot be " + options.format);
    }
    if (path == "-") {
        path_ = "standard input";
        OpenPipe(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    } else {
        OpenFile();
    }
    RequireOpened();
    RequireNamedFormat();
}

void SoundFileReader::OpenFile()
{
    std::error_code error;
    const auto status = std::filesystem::status(path_, error);
    if (error) {
        throw Failure(path_.string() + ": " + error.message());
    }
    const bool isFifo = std::filesystem::is_fifo(status);
    if (!isFifo && !std::filesystem::is_regular_file(status)) {
        throw Failure(path_.string() + ": not a regular file");
    }
    // Without O_NONBLOCK, no signal ends the wait for a writer.
    const int file = open(path_.c_str(), O_RDONLY | O_CLOEXEC | (isFifo ? O_NONBLOCK : 0));
    if (file < 0) {
        throw Failure(path_.string() + ": " + std::generic_category().message(errno));
    }
    if (isFifo) {
        OpenPipe(file);
        return;
    }
    stream_ = std::make_unique<Stream>(Stream{.bytes = std::make_unique<ByteStream>(file)});
    auto format = options_.raw.empty() ? ParseStreamHeader(*stream_->bytes) : ParseRawFormat(options_.raw);
    length_ = options_.raw.empty() ? CheckLength(path_) : LengthCheck{};
    const std::uint64_t length = std::filesystem::file_size(path_);
    const std::uint64_t soundBytes = format ? length - std::min<std::uint64_t>(length, format->headerBytes) : 0;
    // libsndfile rejects a CAF file that is shorter than its header says.
    const bool isOpenEnded = format && !format->soundBytes && soundBytes != 0;
    const bool isSalvaged = format && format->container == SF_FORMAT_CAF && length_.isTruncated && options_.salvage;
    if (isOpenEnded || isSalvaged || !options_.raw.empty()) {
        isOpenEnded_ = options_.raw.empty() && !isSalvaged;
        format->soundBytes = soundBytes;
        OpenSamples(*format);
        return;
    }
    isOpenEnded_ = length_.isOpenEnded;
    stream_.reset();
    const StandardErrorMute mute;
    sound_.reset(sf_open(path_.c_str(), SFM_READ, &info_));
}

void SoundFileReader::OpenPipe(int file)
{
    if (file < 0) {
        throw Failure(path_.string() + ": cannot read: " + std::generic_category().message(errno));
    }
    isPipe_ = true;
    stream_ = std::make_unique<Stream>(Stream{.bytes = std::make_unique<ByteStream>(file)});
    ByteStream& bytes = *stream_->bytes;
    const auto format = options_.raw.empty() ? ParseStreamHeader(bytes) : ParseRawFormat(options_.raw);
    bytes.RequireRead(path_.string());
    if (format) {
        isOpenEnded_ = options_.raw.empty() && !format->soundBytes;
        OpenSamples(*format);
    } else if (IsDecodedInOrder(bytes)) {
        OpenDecoder();
    } else {
        OpenTemporaryCopy();
    }
    if (stream_) {
        stream_->bytes->RequireRead(path_.string());
    }
}

// libsndfile reads the samples as headerless ones. Seeking is not possible, and not needed.
void SoundFileReader::OpenSamples(const StreamFormat& format)
{
    const std::uint64_t frameBytes = std::uint64_t{format.sampleBytes} * format.channels;
    stream_->bytes->Skip(format.headerBytes);
    stream_->begin = stream_->bytes->Position();
    stream_->length = format.soundBytes.value_or(kEndlessBytes) / frameBytes * frameBytes;
    clearLowByte_ = format.clearsLowByte;
    container_ = format.container;
    info_.format = format.format;
    info_.channels = static_cast<int>(format.channels);
    info_.samplerate = static_cast<int>(format.rate);
    OpenVirtual();
}

// The decoders go back only while they read headers. They find the end of a sound by reading.
void SoundFileReader::OpenDecoder()
{
    stream_->length = kEndlessBytes;
    stream_->isOgg = stream_->bytes->Peek(0, 4) == "OggS";
    stream_->maxPartBytes = stream_->isOgg ? kMaxOggPageBytes : 0;
    stream_->bytes->Keep();
    OpenVirtual();
    stream_->bytes->Release();
    if ((info_.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC && info_.frames == SF_COUNT_MAX) {
        stream_->maxPartBytes = kMaxFlacFrameBytes;
    }
}

void SoundFileReader::OpenVirtual()
{
    static SF_VIRTUAL_IO io = {
        [](void* data) -> sf_count_t { return static_cast<sf_count_t>(static_cast<Stream*>(data)->length); },
        [](sf_count_t offset, int whence, void* data) -> sf_count_t {
            auto& stream = *static_cast<Stream*>(data);
            const sf_count_t target = whence == SEEK_SET   ? offset
                                      : whence == SEEK_CUR ? static_cast<sf_count_t>(stream.Position()) + offset
                                                           : static_cast<sf_count_t>(stream.length) + offset;
            // Not to the end of an endless stream, which would be read.
            const bool isInReach = target >= 0 && static_cast<std::uint64_t>(target) < kEndlessBytes / 2;
            return isInReach && stream.bytes->Seek(stream.begin + static_cast<std::uint64_t>(target)) ? target : -1;
        },
        [](void* to, sf_count_t bytes, void* data) -> sf_count_t {
            return static_cast<sf_count_t>(static_cast<Stream*>(data)->Read(to, static_cast<std::size_t>(bytes)));
        },
        nullptr,
        [](void* data) -> sf_count_t { return static_cast<sf_count_t>(static_cast<Stream*>(data)->Position()); },
    };
    const StandardErrorMute mute;
    sound_.reset(sf_open_virtual(&io, SFM_READ, &info_, stream_.get()));
}

// Other formats are read in any order, so the pipe is copied to a file without a name first.
void SoundFileReader::OpenTemporaryCopy()
{
    const int file = OpenTemporaryFile();
    if (file < 0) {
        throw Failure(path_.string() + ": cannot make a temporary file: " + std::generic_category().message(errno));
    }
    std::vector<std::byte> block(65536);
    while (const std::size_t count = stream_->bytes->Read(block.data(), block.size())) {
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
    stream_->bytes->RequireRead(path_.string());
    stream_.reset(); // a file from here on
    lseek(file, 0, SEEK_SET);
    length_ = CheckLength("/proc/self/fd/" + std::to_string(file));
    isOpenEnded_ = length_.isOpenEnded;
    const StandardErrorMute mute;
    sound_.reset(sf_open_fd(file, SFM_READ, &info_, SF_TRUE));
}

void SoundFileReader::RequireOpened()
{
    if (!sound_) {
        RequireWhole();
        std::error_code error;
        const bool isEmpty = std::filesystem::is_regular_file(path_, error) && std::filesystem::is_empty(path_, error);
        throw Failure(path_.string() +
                      ": cannot read this as a sound file: " + (isEmpty ? "the file is empty" : sf_strerror(nullptr)));
    }
    const int subtype = info_.format & SF_FORMAT_SUBMASK;
    const auto* entry = std::ranges::find(kSubtypes, subtype, &SubtypeEntry::subtype);
    if (entry == std::end(kSubtypes)) {
        throw Failure(path_.string() + ": samples of this kind are not supported");
    }
    container_ = container_ == 0 ? info_.format & SF_FORMAT_TYPEMASK : container_;
    const bool isMpeg =
        subtype == SF_FORMAT_MPEG_LAYER_I || subtype == SF_FORMAT_MPEG_LAYER_II || subtype == SF_FORMAT_MPEG_LAYER_III;
    const bool isEstimate = isMpeg && (container_ != SF_FORMAT_MPEG || length_.isEstimate || isPipe_);
    const bool isEndless = stream_ && stream_->length == kEndlessBytes && container_ != SF_FORMAT_FLAC;
    if (isEstimate || isEndless || info_.frames == SF_COUNT_MAX) {
        info_.frames = 0;
        isLengthKnown_ = false;
    }
    isLengthKnown_ = isLengthKnown_ && !(isPipe_ && stream_);
    if (HoldsPackedSamples(info_.format)) {
        const bool isSwapped = sf_command(sound_.get(), SFC_RAW_DATA_NEEDS_ENDSWAP, nullptr, 0) == SF_TRUE;
        packedOrder_ = isSwapped ? std::endian::big : std::endian::little;
    }
    format_ = entry->format;
    loss_ = clearLowByte_ ? std::string_view() : entry->loss;
    clearLowByte_ = clearLowByte_ || subtype == SF_FORMAT_PCM_32 || subtype == SF_FORMAT_ALAC_32;
}

void SoundFileReader::RequireNamedFormat() const
{
    struct NamedFormat {
        std::string_view name;
        std::vector<int> containers;
    };
    static const NamedFormat kFormats[] = {
        {"wav", {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64}}, {"flac", {SF_FORMAT_FLAC}}, {"au", {SF_FORMAT_AU}}};
    const auto* named = std::ranges::find(kFormats, options_.format, &NamedFormat::name);
    if (named != std::end(kFormats) && std::ranges::find(named->containers, container_) == named->containers.end()) {
        SF_FORMAT_INFO actual{};
        actual.format = container_;
        sf_command(nullptr, SFC_GET_FORMAT_INFO, &actual, sizeof actual);
        throw Failure(path_.string() + ": --input-format is " + options_.format + ", but this is " +
                      (actual.name == nullptr ? "another format" : actual.name));
    }
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
        context.Note(path_.string() + ": the header does not contain the length, so " +
                     (isPipe_ ? "the pipe" : "the file") + " is read to its end");
    } else if (isPipe_ && length_.isTruncated) {
        context.Note(path_.string() + ": " + std::string(kEndsEarly));
    } else if (options_.salvage && length_.isTruncated) {
        context.Note(path_.string() + ": truncated: the samples that are there are read");
    }
}

void SoundFileReader::ReportEnd(const Context& context) const
{
    if (!endNote_.empty()) {
        context.Note(path_.string() + ": " + endNote_);
    }
}

void SoundFileReader::RequireWhole() const
{
    if (options_.salvage || isPipe_ || !length_.isTruncated) {
        return;
    }
    const std::string missing =
        DescribeMissing(length_) + (length_.missingBytes == 0 ? "" : " that its header promises");
    throw Failure(path_.string() + ": truncated: " + missing + " (--salvage reads the others)");
}

sf_count_t SoundFileReader::Read(void* samples, sf_count_t frames)
{
    sf_count_t read = 0;
    {
        const StandardErrorMute mute(container_ == SF_FORMAT_MPEG);
        switch (format_) {
        case SampleFormat::Pcm16:
            read = sf_readf_short(sound_.get(), static_cast<short*>(samples), frames);
            break;
        case SampleFormat::Pcm24In32:
        case SampleFormat::Pcm24In24:
            read = packedOrder_ ? ReadPacked(static_cast<std::int32_t*>(samples), frames)
                                : sf_readf_int(sound_.get(), static_cast<int*>(samples), frames);
            break;
        case SampleFormat::Float32:
            read = sf_readf_float(sound_.get(), static_cast<float*>(samples), frames);
            break;
        }
    }
    if (clearLowByte_) {
        for (int& sample : std::span(static_cast<int*>(samples), static_cast<std::size_t>(read) * Channels())) {
            sample &= ~0xFF;
        }
    }
    framesRead_ += read;
    if (read < frames) {
        FinishRead();
    }
    return read;
}

// libsndfile converts each byte for itself; here it reads the bytes as they are.
sf_count_t SoundFileReader::ReadPacked(std::int32_t* samples, sf_count_t frames)
{
    const std::size_t frameBytes = kPackedBytes * Channels();
    packed_.resize(static_cast<std::size_t>(frames) * frameBytes);
    const sf_count_t bytes = sf_read_raw(sound_.get(), packed_.data(), static_cast<sf_count_t>(packed_.size()));
    const std::size_t read = static_cast<std::size_t>(bytes) / frameBytes;
    Unpack24Bits(packed_.data(), *packedOrder_, {samples, read * Channels()});
    return static_cast<sf_count_t>(read);
}

void SoundFileReader::FinishRead()
{
    // A decoder may report the bytes behind a complete sound as an error.
    bool isShort = info_.frames != 0 ? framesRead_ < info_.frames : sf_error(sound_.get()) != SF_ERR_NO_ERROR;
    if (stream_ && isPipe_) {
        if (stream_->HasEndedEarly()) {
            endNote_ = stream_->isOgg ? kLacksLastPage : stream_->maxPartBytes != 0 ? kLacksLastFrame : kEndsEarly;
            isShort = false;
        }
        stream_->bytes->Drain();
        stream_->bytes->RequireRead(path_.string());
    }
    if (!isShort) {
        return;
    }
    const std::string text = "damaged or truncated: ends after " + std::to_string(framesRead_) +
                             (info_.frames == 0 ? "" : " of " + std::to_string(info_.frames)) + " sample frames";
    if (!options_.salvage) {
        throw Failure(path_.string() + ": " + text);
    }
    if (!length_.isTruncated) { // which is noted already
        endNote_ = text;
    }
}
