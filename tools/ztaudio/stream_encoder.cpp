#include "tools/ztaudio/stream_encoder.h"

#include "tools/ztaudio/packing.h"

#include <string>
#include <vector>

namespace {

constexpr std::uint64_t kOpenSize = 0xFFFFFFFF;
constexpr std::size_t kAuHeaderBytes = 28; // some readers require an annotation

std::string Number(std::uint64_t value, std::size_t bytes, bool isBigEndian)
{
    std::string text(bytes, '\0');
    for (std::size_t i = 0; i < bytes; ++i) {
        text[isBigEndian ? bytes - 1 - i : i] = static_cast<char>(value >> (8 * i));
    }
    return text;
}

std::size_t FileBytes(SampleFormat format)
{
    return format == SampleFormat::Pcm24In32 ? 3 : BytesOf(format);
}

/// How a stream holds the samples.
struct Layout {
    std::size_t sampleBytes;
    bool isBigEndian = false;
    bool isPadded = false; ///< to an even number of bytes
};

class Encoder : public StreamEncoder {
public:
    Encoder(OutputTarget& target, SampleFormat format, const Layout& layout, const std::string& header)
        : target_(target), layout_(layout), isPacked_(layout.sampleBytes < BytesOf(format))
    {
        target_.Write(header.data(), static_cast<std::int64_t>(header.size()));
    }

    void Write(std::span<const std::byte> samples) override
    {
        if (!isPacked_ && !layout_.isBigEndian) {
            WriteBytes(samples);
            return;
        }
        if (isPacked_) {
            const std::size_t count = samples.size() / sizeof(std::int32_t);
            bytes_.resize(count * kPackedBytes);
            Pack24Bits({reinterpret_cast<const std::int32_t*>(samples.data()), count}, bytes_.data());
        } else {
            bytes_.assign(samples.begin(), samples.end());
        }
        if (layout_.isBigEndian) {
            SwapBytes(bytes_, layout_.sampleBytes);
        }
        WriteBytes(bytes_);
    }

    void Finish() override
    {
        if (layout_.isPadded && written_ % 2 != 0) {
            WriteBytes(std::vector<std::byte>(1));
        }
    }

private:
    void WriteBytes(std::span<const std::byte> bytes)
    {
        target_.Write(bytes.data(), static_cast<std::int64_t>(bytes.size()));
        written_ += bytes.size();
    }

    OutputTarget& target_;
    Layout layout_;
    bool isPacked_; ///< the stream holds 24-in-32 without the low byte
    std::uint64_t written_ = 0;
    std::vector<std::byte> bytes_;
};

} // namespace

std::unique_ptr<StreamEncoder> MakeRawEncoder(OutputTarget& target, SampleFormat format)
{
    return std::make_unique<Encoder>(target, format, Layout{BytesOf(format)}, "");
}

std::unique_ptr<StreamEncoder> MakeWavEncoder(OutputTarget& target, SampleFormat format, std::uint32_t channels,
                                              std::uint32_t rate, sf_count_t frames)
{
    const auto little = [](std::uint64_t value, std::size_t bytes) { return Number(value, bytes, false); };
    const std::size_t sampleBytes = FileBytes(format);
    const std::uint64_t frameBytes = sampleBytes * channels;
    const std::uint64_t tag = format == SampleFormat::Float32 ? 3 : 1;
    const bool isExtensible = channels > 2;
    std::string body = "WAVEfmt " + little(isExtensible ? 40 : 16, 4) + little(isExtensible ? 0xFFFE : tag, 2) +
                       little(channels, 2) + little(rate, 4) + little(rate * frameBytes, 4) + little(frameBytes, 2) +
                       little(8 * sampleBytes, 2);
    if (isExtensible) {
        const std::string guidTail("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14);
        body += little(22, 2) + little(8 * sampleBytes, 2) + little(0, 4) + little(tag, 2) + guidTail;
    }
    const std::uint64_t sound = static_cast<std::uint64_t>(frames) * frameBytes;
    const std::uint64_t riff = body.size() + 8 + sound + sound % 2;
    const bool isOpen = frames == 0 || riff >= kOpenSize;
    return std::make_unique<Encoder>(target, format, Layout{sampleBytes, false, !isOpen},
                                     "RIFF" + little(isOpen ? kOpenSize : riff, 4) + body + "data" +
                                         little(isOpen ? kOpenSize : sound, 4));
}

std::unique_ptr<StreamEncoder> MakeAuEncoder(OutputTarget& target, SampleFormat format, std::uint32_t channels,
                                             std::uint32_t rate, sf_count_t frames)
{
    const auto big = [](std::uint64_t value) { return Number(value, 4, true); };
    const std::size_t sampleBytes = FileBytes(format);
    const std::uint64_t encoding = format == SampleFormat::Float32 ? 6 : sampleBytes == 2 ? 3 : 4;
    const std::uint64_t sound = static_cast<std::uint64_t>(frames) * sampleBytes * channels;
    const bool isOpen = frames == 0 || sound >= kOpenSize;
    return std::make_unique<Encoder>(target, format, Layout{sampleBytes, true},
                                     ".snd" + big(kAuHeaderBytes) + big(isOpen ? kOpenSize : sound) + big(encoding) +
                                         big(rate) + big(channels) + std::string(kAuHeaderBytes - 24, '\0'));
}
