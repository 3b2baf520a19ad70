#include "tools/ztaudio/sound_file_writer.h"

#include "host/formats.h"
#include "tools/common/failure.h"

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

struct Container {
    std::string_view extension;
    std::string_view name;
    int format;
    std::uint64_t limit; ///< bytes of samples
};

constexpr Container kContainers[] = {
    {".wav", "WAV", SF_FORMAT_WAV, kLimit32},    {".w64", "W64", SF_FORMAT_W64, kNoLimit},
    {".rf64", "RF64", SF_FORMAT_RF64, kNoLimit}, {".aiff", "AIFF", SF_FORMAT_AIFF, kLimit32},
    {".aif", "AIFF", SF_FORMAT_AIFF, kLimit32},  {".flac", "FLAC", SF_FORMAT_FLAC, kNoLimit},
};

const Container& ContainerOf(const std::filesystem::path& path)
{
    std::string extension = path.extension().string();
    std::ranges::transform(extension, extension.begin(), [](unsigned char letter) { return std::tolower(letter); });
    const auto* container = std::ranges::find(kContainers, extension, &Container::extension);
    if (container == std::end(kContainers)) {
        throw UsageFailure(path.string() + ": the extension names no container to write: use " + OutputExtensions());
    }
    return *container;
}

// libsndfile writes through these, so that no failed write goes unnoticed, also not one from inside sf_close.
SF_VIRTUAL_IO kThroughOutputFile = {
    [](void* file) -> sf_count_t { return static_cast<OutputFile*>(file)->Length(); },
    [](sf_count_t offset, int whence, void* file) -> sf_count_t {
        return static_cast<OutputFile*>(file)->Seek(offset, whence);
    },
    [](void* data, sf_count_t bytes, void* file) -> sf_count_t {
        return static_cast<OutputFile*>(file)->Read(data, bytes);
    },
    [](const void* data, sf_count_t bytes, void* file) -> sf_count_t {
        return static_cast<OutputFile*>(file)->Write(data, bytes);
    },
    [](void* file) -> sf_count_t { return static_cast<OutputFile*>(file)->Seek(0, SEEK_CUR); },
};

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

SoundFileWriter::SoundFileWriter(const std::filesystem::path& path, SampleFormat word, std::uint32_t channels,
                                 std::uint32_t rate, sf_count_t expectedFrames, bool extensibleWav)
    : path_(path), word_(word), samplesPerFrame_(channels), limit_(ContainerOf(path).limit), file_(path)
{
    const Container& container = ContainerOf(path);
    const bool extensible = extensibleWav && container.format == SF_FORMAT_WAV;
    SF_INFO info{};
    info.format = (extensible ? SF_FORMAT_WAVEX : container.format) | FileSubtype(word);
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(rate);
    if (sf_format_check(&info) == SF_FALSE) {
        throw Failure(path.string() + ": " + std::string(container.name) + " cannot hold " +
                      zta::host::FormatName(WaveFormat(word, channels, rate)));
    }
    RequireRoom(expectedFrames);
    sound_.reset(sf_open_virtual(&kThroughOutputFile, SFM_WRITE, &info, &file_));
    if (!sound_) {
        file_.RequireWritten();
        throw Failure(path.string() + ": cannot write: " + sf_strerror(nullptr));
    }
    // The chunk of peaks carries the time of writing: without it, equal input gives equal files.
    sf_command(sound_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

void SoundFileWriter::CopyTexts(const SoundFileReader& source)
{
    for (const Tag& tag : source.Tags()) {
        sf_set_string(sound_.get(), tag.kind, tag.text.c_str());
    }
}

void SoundFileWriter::CopyTags(const SoundFileReader& source)
{
    CopyTexts(source);
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

void SoundFileWriter::RequireRoom(sf_count_t frames) const
{
    const std::uint64_t sampleBytes = word_ == SampleFormat::Pcm24In32 ? 3 : BytesOf(word_);
    if (static_cast<std::uint64_t>(frames) > limit_ / (samplesPerFrame_ * sampleBytes)) {
        throw Failure(path_.string() + ": longer than the 4 GiB of its container: use .w64, .rf64 or .flac");
    }
}

void SoundFileWriter::Write(const std::byte* words, sf_count_t frames)
{
    RequireRoom(framesTaken_ + frames);
    pending_.insert(pending_.end(), words,
                    words + static_cast<std::size_t>(frames) * samplesPerFrame_ * BytesOf(word_));
    framesTaken_ += frames;
    if (pending_.size() >= kBatchBytes) {
        WritePending();
    }
}

void SoundFileWriter::WritePending()
{
    const void* words = pending_.data();
    const auto frames = static_cast<sf_count_t>(pending_.size() / (samplesPerFrame_ * BytesOf(word_)));
    sf_count_t written = 0;
    switch (word_) {
    case SampleFormat::Pcm16:
        written = sf_writef_short(sound_.get(), static_cast<const short*>(words), frames);
        break;
    case SampleFormat::Pcm24In32:
        written = sf_writef_int(sound_.get(), static_cast<const int*>(words), frames);
        break;
    case SampleFormat::Pcm24In24: {
        const auto* bytes = static_cast<const unsigned char*>(words);
        unpacked_.resize(static_cast<std::size_t>(frames) * samplesPerFrame_);
        for (int& sample : unpacked_) {
            sample = static_cast<int>(static_cast<unsigned>(bytes[0]) << 8 | static_cast<unsigned>(bytes[1]) << 16 |
                                      static_cast<unsigned>(bytes[2]) << 24);
            bytes += 3;
        }
        written = sf_writef_int(sound_.get(), unpacked_.data(), frames);
        break;
    }
    case SampleFormat::Float32:
        written = sf_writef_float(sound_.get(), static_cast<const float*>(words), frames);
        break;
    }
    file_.RequireWritten();
    if (written != frames) {
        throw Failure(path_.string() + ": cannot write: " + sf_strerror(sound_.get()));
    }
    pending_.clear();
}

void SoundFileWriter::Commit(std::span<const std::unique_ptr<SoundFileWriter>> writers)
{
    for (const auto& writer : writers) {
        writer->Close();
    }
    for (const auto& writer : writers) {
        writer->file_.Publish();
    }
    for (const auto& writer : writers) {
        writer->file_.Keep();
    }
}

void SoundFileWriter::Commit()
{
    Close();
    file_.Publish();
    file_.Keep();
}

void SoundFileWriter::Close()
{
    WritePending();
    const int error = sf_close(sound_.release());
    if (error != SF_ERR_NO_ERROR) {
        throw Failure(path_.string() + ": cannot write: " + sf_error_number(error));
    }
    file_.Close();
}
