#include "tools/ztaudio/sound_file_writer.h"

#include "host/formats.h"
#include "tools/common/failure.h"
#include "tools/ztaudio/packing.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <string>

namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
// Their sizes have 32 bits; the headers and tags take a little of that.
constexpr std::uint64_t kLimit32 = 0xFFFFFFFF - 0x100000;

// Each call of libsndfile is a call of the system.
constexpr std::size_t kBatchBytes = 65536;

constexpr unsigned kNeedsFrames = 1;  // the container cannot hold an empty sound
constexpr unsigned kNeedsSeeking = 2; // readers require sizes in its header, which the encoder writes at the end

struct Container {
    std::string_view extension;
    std::string_view name;
    std::uint64_t limit; ///< bytes of samples
    int format;
    unsigned needs = 0; ///< kNeeds...
};

constexpr Container kContainers[] = {
    {".wav", "WAV", kLimit32, SF_FORMAT_WAV},
    {".w64", "W64", kNoLimit, SF_FORMAT_W64, kNeedsSeeking},
    {".rf64", "RF64", kNoLimit, SF_FORMAT_RF64, kNeedsSeeking},
    {".aiff", "AIFF", kLimit32, SF_FORMAT_AIFF, kNeedsSeeking},
    {".aif", "AIFF", kLimit32, SF_FORMAT_AIFF, kNeedsSeeking},
    {".flac", "FLAC", kNoLimit, SF_FORMAT_FLAC, kNeedsFrames},
    {".au", "AU", kLimit32, SF_FORMAT_AU},
    {".caf", "CAF", kNoLimit, SF_FORMAT_CAF, kNeedsSeeking},
    {".ogg", "Ogg", kNoLimit, SF_FORMAT_OGG | SF_FORMAT_VORBIS},
    {".opus", "Opus", kNoLimit, SF_FORMAT_OGG | SF_FORMAT_OPUS, kNeedsFrames},
    {".mp3", "MP3", kNoLimit, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, kNeedsFrames},
    {".raw", "raw", kNoLimit, SF_FORMAT_RAW},
};

const Container& ContainerOf(const std::filesystem::path& path, const OutputOptions& options)
{
    std::string extension = options.format.empty() ? path.extension().string() : "." + options.format;
    if (extension.empty() && IsStream(path)) {
        extension = ".wav";
    }
    std::ranges::transform(extension, extension.begin(), [](unsigned char letter) { return std::tolower(letter); });
    const auto* container = std::ranges::find(kContainers, extension, &Container::extension);
    if (container == std::end(kContainers)) {
        throw UsageFailure(path.string() + ": the extension selects no container: use " + OutputExtensions());
    }
    return *container;
}

// libsndfile writes through these, so that no failed write goes unnoticed, also not one from inside sf_close.
SF_VIRTUAL_IO kThroughOutputFile = {
    [](void* file) -> sf_count_t { return static_cast<OutputTarget*>(file)->Length(); },
    [](sf_count_t offset, int whence, void* file) -> sf_count_t {
        return static_cast<OutputTarget*>(file)->Seek(offset, whence);
    },
    [](void* data, sf_count_t bytes, void* file) -> sf_count_t {
        return static_cast<OutputTarget*>(file)->Read(data, bytes);
    },
    [](const void* data, sf_count_t bytes, void* file) -> sf_count_t {
        return static_cast<OutputTarget*>(file)->Write(data, bytes);
    },
    [](void* file) -> sf_count_t { return static_cast<OutputTarget*>(file)->Seek(0, SEEK_CUR); },
};

/// What the user can do if a container does not hold samples of this kind.
std::string SuggestOutput(SF_INFO info)
{
    info.format = (info.format & SF_FORMAT_TYPEMASK) | SF_FORMAT_PCM_24;
    return sf_format_check(&info) == SF_TRUE ? "convert with --format 24, or write .wav" : "write .wav";
}

/// The message of libsndfile about its last failure to open a file.
std::string LibraryError()
{
    constexpr std::string_view kPrefix = "Error : ";
    const std::string text = sf_strerror(nullptr);
    return text.starts_with(kPrefix) ? text.substr(kPrefix.size()) : text;
}

bool IsLittleEndian(int format)
{
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_W64:
    case SF_FORMAT_RF64:
        return true;
    default:
        return false;
    }
}

using Broadcast = SF_BROADCAST_INFO_VAR(16000); // libsndfile takes less than 16 KiB of history
using Cues = SF_CUES_VAR(256);

template <typename Record>
void CopyRecord(SNDFILE* from, SNDFILE* to, int get, int set)
{
    Record record{};
    if (sf_command(from, get, &record, sizeof record) == SF_TRUE) {
        sf_command(to, set, &record, sizeof record);
    }
}

} // namespace

std::string OutputExtensions()
{
    std::string list;
    for (const Container& container : kContainers) {
        list += (list.empty() ? "" : ", ") + std::string(container.extension);
    }
    return list;
}

bool IsOutputFormat(const std::string& name)
{
    return std::ranges::find(kContainers, "." + name, &Container::extension) != std::end(kContainers);
}

void RequireContainer(const std::filesystem::path& path, const OutputOptions& options)
{
    ContainerOf(path, options);
}

SoundFileWriter::SoundFileWriter(const std::filesystem::path& path, const OutputOptions& options, SampleFormat format,
                                 std::uint32_t channels, std::uint32_t rate, sf_count_t expectedFrames,
                                 bool extensibleWav)
    : format_(format), samplesPerFrame_(channels)
{
    const Container& container = ContainerOf(path, options);
    const bool isStream = IsStream(path);
    path_ = path == "-" ? "standard output" : path;
    const bool isSpooled = isStream && (options.isSpooled || (container.needs & kNeedsSeeking) != 0);
    limit_ = isStream && (container.needs & kNeedsSeeking) == 0 ? kNoLimit : container.limit;
    const bool isExtensible = (extensibleWav || channels > 2) && container.format == SF_FORMAT_WAV;
    const bool isLossy = (container.format & SF_FORMAT_SUBMASK) != 0;
    SF_INFO info{};
    info.format = (isExtensible ? SF_FORMAT_WAVEX : container.format) | (isLossy ? 0 : FileSubtype(format));
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(rate);
    if (sf_format_check(&info) == SF_FALSE) {
        throw Failure(path_.string() + ": " + std::string(container.name) + " cannot hold " +
                      zta::host::FormatName(WaveFormat(format, channels, rate)) + ": " + SuggestOutput(info));
    }
    RequireCapacity(expectedFrames);
    if ((container.needs & kNeedsFrames) != 0) {
        emptyFailure_ =
            path_.string() + ": " + std::string(container.name) + " cannot hold a sound without sample frames";
    }
    if (isSpooled) {
        target_ = std::make_unique<SpooledOutput>(path);
    } else if (isStream) {
        target_ = std::make_unique<StreamOutput>(path);
    } else {
        target_ =
            std::make_unique<OutputFile>(path, options.noClobber ? ExistingOutput::Refuse : ExistingOutput::Replace);
    }
    if (container.format == SF_FORMAT_RAW) {
        encoder_ = MakeRawEncoder(*target_, format);
    } else if (isStream && container.format == SF_FORMAT_WAV) {
        encoder_ = MakeWavEncoder(*target_, format, channels, rate, expectedFrames);
    } else if (isStream && container.format == SF_FORMAT_AU) {
        encoder_ = MakeAuEncoder(*target_, format, channels, rate, expectedFrames);
    } else {
        OpenLibrary(info.format, rate);
    }
}

SoundFileWriter::~SoundFileWriter() = default;

void SoundFileWriter::OpenLibrary(int format, std::uint32_t rate)
{
    SF_INFO info{};
    info.format = format;
    info.channels = static_cast<int>(samplesPerFrame_);
    info.samplerate = static_cast<int>(rate);
    sound_.reset(sf_open_virtual(&kThroughOutputFile, SFM_WRITE, &info, target_.get()));
    if (!sound_) {
        target_->RequireWritten();
        throw Failure(path_.string() + ": cannot write " +
                      zta::host::FormatName(WaveFormat(format_, static_cast<std::uint32_t>(samplesPerFrame_), rate)) +
                      ": " + LibraryError());
    }
    isPacked_ = IsLittleEndian(format) && (format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_24;
    isMpeg_ = (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
    // The chunk of peaks has the time of writing: without it, equal input gives equal files.
    sf_command(sound_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

void SoundFileWriter::CopyTexts(const SoundFileReader& source)
{
    if (!sound_) {
        return;
    }
    for (const Tag& tag : source.Tags()) {
        sf_set_string(sound_.get(), tag.kind, tag.text.c_str());
    }
}

void SoundFileWriter::CopyTags(const SoundFileReader& source)
{
    CopyTexts(source);
    if (!sound_) {
        return;
    }
    SNDFILE* from = source.Handle();
    SNDFILE* to = sound_.get();
    std::vector<int> channelMap(samplesPerFrame_);
    const int mapBytes = static_cast<int>(channelMap.size() * sizeof(int));
    if (sf_command(from, SFC_GET_CHANNEL_MAP_INFO, channelMap.data(), mapBytes) == SF_TRUE) {
        sf_command(to, SFC_SET_CHANNEL_MAP_INFO, channelMap.data(), mapBytes);
    }
    CopyRecord<Broadcast>(from, to, SFC_GET_BROADCAST_INFO, SFC_SET_BROADCAST_INFO);
    CopyRecord<Cues>(from, to, SFC_GET_CUE, SFC_SET_CUE);
    CopyRecord<SF_INSTRUMENT>(from, to, SFC_GET_INSTRUMENT, SFC_SET_INSTRUMENT);
}

void SoundFileWriter::RequireCapacity(sf_count_t frames) const
{
    const std::uint64_t sampleBytes = format_ == SampleFormat::Pcm24In32 ? 3 : BytesOf(format_);
    if (static_cast<std::uint64_t>(frames) > limit_ / (samplesPerFrame_ * sampleBytes)) {
        throw Failure(path_.string() + ": longer than the 4 GiB of its container: use .w64, .rf64 or .flac");
    }
}

void SoundFileWriter::Write(const std::byte* samples, sf_count_t frames)
{
    RequireCapacity(framesTaken_ + frames);
    pending_.insert(pending_.end(), samples,
                    samples + static_cast<std::size_t>(frames) * samplesPerFrame_ * BytesOf(format_));
    framesTaken_ += frames;
    if (pending_.size() >= kBatchBytes) {
        WritePending();
    }
}

void SoundFileWriter::WritePending()
{
    if (encoder_) {
        encoder_->Write(pending_);
        target_->RequireWritten();
        pending_.clear();
        return;
    }
    const auto frames = static_cast<sf_count_t>(pending_.size() / (samplesPerFrame_ * BytesOf(format_)));
    const sf_count_t written = WriteFrames(pending_.data(), frames);
    target_->RequireWritten();
    if (written != frames) {
        throw Failure(path_.string() + ": cannot write: " + sf_strerror(sound_.get()));
    }
    pending_.clear();
}

sf_count_t SoundFileWriter::WriteFrames(const std::byte* samples, sf_count_t frames)
{
    const std::size_t count = static_cast<std::size_t>(frames) * samplesPerFrame_;
    switch (format_) {
    case SampleFormat::Pcm16: {
        const auto* const narrow = reinterpret_cast<const short*>(samples);
        if (!isMpeg_) {
            return sf_writef_short(sound_.get(), narrow, frames);
        }
        // libsndfile 1.2.0 encodes 16-bit stereo samples to MP3 from memory that it has not initialized.
        wide_.resize(count);
        std::transform(narrow, narrow + count, wide_.begin(), [](short sample) { return sample * 65536; });
        return sf_writef_int(sound_.get(), wide_.data(), frames);
    }
    case SampleFormat::Pcm24In32: {
        const auto* const wide = reinterpret_cast<const std::int32_t*>(samples);
        if (!isPacked_) {
            return sf_writef_int(sound_.get(), wide, frames);
        }
        packed_.resize(kPackedBytes * count);
        Pack24Bits({wide, count}, packed_.data());
        return WritePacked(packed_);
    }
    case SampleFormat::Pcm24In24:
        if (isPacked_) {
            return WritePacked({samples, kPackedBytes * count});
        }
        wide_.resize(count);
        Unpack24Bits(samples, std::endian::little, wide_);
        return sf_writef_int(sound_.get(), wide_.data(), frames);
    case SampleFormat::Float32:
        break;
    }
    return sf_writef_float(sound_.get(), reinterpret_cast<const float*>(samples), frames);
}

// libsndfile converts each byte for itself; here it writes the bytes as they are.
sf_count_t SoundFileWriter::WritePacked(std::span<const std::byte> bytes)
{
    const sf_count_t written = sf_write_raw(sound_.get(), bytes.data(), static_cast<sf_count_t>(bytes.size()));
    return written / static_cast<sf_count_t>(kPackedBytes * samplesPerFrame_);
}

void SoundFileWriter::Commit(std::span<const std::unique_ptr<SoundFileWriter>> writers)
{
    for (const auto& writer : writers) {
        writer->Close();
    }
    for (const auto& writer : writers) {
        writer->target_->Publish();
    }
    for (const auto& writer : writers) {
        writer->target_->Keep();
    }
}

void SoundFileWriter::Commit()
{
    Close();
    target_->Publish();
    target_->Keep();
}

void SoundFileWriter::Close()
{
    WritePending();
    if (framesTaken_ == 0 && !emptyFailure_.empty()) {
        throw Failure(emptyFailure_);
    }
    if (encoder_) {
        encoder_->Finish();
    }
    const int error = sound_ ? sf_close(sound_.release()) : SF_ERR_NO_ERROR;
    if (error != SF_ERR_NO_ERROR) {
        throw Failure(path_.string() + ": cannot write: " + sf_error_number(error));
    }
    target_->Close();
}
