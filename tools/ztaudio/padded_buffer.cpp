#include "tools/ztaudio/padded_buffer.h"

#include "host/formats.h"

#include <cstring>

namespace {

constexpr sf_count_t kMultiple = 4;

sf_count_t Padded(sf_count_t frames)
{
    return (frames + kMultiple - 1) / kMultiple * kMultiple;
}

template <std::size_t SampleBytes>
void CopySamples(const std::byte* from, std::size_t fromStride, std::byte* to, std::size_t toStride,
                 std::size_t channels, std::size_t frames)
{
    if (channels == 1) {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            std::memcpy(to + frame * toStride * SampleBytes, from + frame * fromStride * SampleBytes, SampleBytes);
        }
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            std::memcpy(to + channel * SampleBytes, from + channel * SampleBytes, SampleBytes);
        }
        from += fromStride * SampleBytes;
        to += toStride * SampleBytes;
    }
}

} // namespace

std::uint32_t PaddedChannels(std::uint32_t channels)
{
    std::uint32_t width = channels <= 2 ? channels : 4;
    while (width < channels) {
        width *= 2;
    }
    return width;
}

zta::host::Ref<zta::host::AudioBuffer> MakeBuffer(const SZtaWaveFormatInfo& format, sf_count_t frames)
{
    return zta::host::AudioBuffer::Create(format,
                                          static_cast<std::size_t>(Padded(frames)) * zta::host::BytesPerFrame(format));
}

void CopyChannels(const std::byte* from, std::uint32_t fromStride, std::byte* to, std::uint32_t toStride,
                  std::uint32_t channels, sf_count_t frames, std::size_t sampleBytes)
{
    const auto count = static_cast<std::size_t>(frames);
    if (count == 0) {
        return;
    }
    if (fromStride == channels && toStride == channels) {
        std::memcpy(to, from, count * channels * sampleBytes);
    } else if (sampleBytes == 2) {
        CopySamples<2>(from, fromStride, to, toStride, channels, count);
    } else if (sampleBytes == 3) {
        CopySamples<3>(from, fromStride, to, toStride, channels, count);
    } else {
        CopySamples<4>(from, fromStride, to, toStride, channels, count);
    }
}

void FillChannels(zta::host::AudioBuffer& buffer, const Interleaved& source, sf_count_t given, sf_count_t frames,
                  std::size_t sampleBytes)
{
    const std::uint32_t width = buffer.Description().sWaveFormat.ulChannels;
    const std::size_t length = static_cast<std::size_t>(frames) * width * sampleBytes;
    const std::size_t sound = static_cast<std::size_t>(given) * width * sampleBytes;
    if (width != source.channels) {
        std::memset(buffer.Data(), 0, sound);
    }
    CopyChannels(source.samples, source.stride, buffer.Data(), width, source.channels, given, sampleBytes);
    std::memset(buffer.Data() + sound, 0, length - sound);
    buffer.SetValidLength(length);
}

void Fill(zta::host::AudioBuffer& buffer, const Interleaved& source, sf_count_t given, sf_count_t frames)
{
    const SZtaWaveFormatInfo& format = buffer.Description().sWaveFormat;
    FillChannels(buffer, source, given, Padded(frames), format.ulBitsPerSample / 8);
}
