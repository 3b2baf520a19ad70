#include "tools/ztaudio/analyze_input.h"

#include "tools/common/failure.h"
#include "tools/common/output_file.h"
#include "tools/common/signal_handling.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace {

constexpr double k16BitStep = 0x1p-15;
constexpr double k24BitStep = 0x1p-23;

template <typename Sample>
void Scale(const std::byte* samples, double step, std::span<double> values)
{
    const auto* first = reinterpret_cast<const Sample*>(samples);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<double>(first[i]) * step;
    }
}

} // namespace

FileInput::FileInput(const std::filesystem::path& path, const InputOptions& options)
    : path_(path), options_(options), file_(std::make_unique<SoundFileReader>(path, options))
{
    file_->RequireWhole();
    if (file_->IsPipe()) {
        const int file = OpenTemporaryFile();
        copy_.reset(file < 0 ? nullptr : fdopen(file, "w+b"));
        if (!copy_) {
            throw Failure(std::string("cannot create a temporary file: ") + std::strerror(errno));
        }
    }
}

double FileInput::QuantizationStep() const
{
    switch (file_->Format()) {
    case SampleFormat::Pcm16:
        return k16BitStep;
    case SampleFormat::Float32:
        return 0;
    default:
        return k24BitStep;
    }
}

/// Reads up to `frames` frames into samples_.
std::size_t FileInput::ReadSamples(std::size_t frames)
{
    const std::size_t frameBytes = BytesOf(file_->Format()) * ChannelCount();
    samples_.resize(frames * frameBytes);
    if (hasCopy_) {
        const std::size_t read = std::fread(samples_.data(), frameBytes, frames, copy_.get());
        if (std::ferror(copy_.get()) != 0) {
            throw Failure("cannot read the temporary file");
        }
        return read;
    }
    const auto read = static_cast<std::size_t>(file_->Read(samples_.data(), static_cast<sf_count_t>(frames)));
    if (copy_ && std::fwrite(samples_.data(), frameBytes, read, copy_.get()) != read) {
        throw Failure(std::string("cannot write a temporary file: ") + std::strerror(errno));
    }
    return read;
}

std::size_t FileInput::Read(std::span<double> interleaved)
{
    CheckInterruption();
    atStart_ = false;
    const std::size_t channels = ChannelCount();
    const std::size_t frames = ReadSamples(interleaved.size() / channels);
    const auto values = interleaved.first(frames * channels);
    switch (file_->Format()) {
    case SampleFormat::Pcm16:
        Scale<std::int16_t>(samples_.data(), k16BitStep, values);
        break;
    case SampleFormat::Float32:
        Scale<float>(samples_.data(), 1, values);
        break;
    default:
        Scale<std::int32_t>(samples_.data(), 0x1p-31, values);
    }
    return frames;
}

void FileInput::Rewind()
{
    if (atStart_) {
        return;
    }
    if (copy_) {
        if (std::fflush(copy_.get()) != 0 || std::fseek(copy_.get(), 0, SEEK_SET) != 0) {
            throw Failure(std::string("cannot write a temporary file: ") + std::strerror(errno));
        }
        hasCopy_ = true;
    } else {
        file_ = std::make_unique<SoundFileReader>(path_, options_);
    }
    atStart_ = true;
}
