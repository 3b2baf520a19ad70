#include "tools/ztaudio/padded_buffer.h"

#include "host/formats.h"

#include <cstring>

namespace {

constexpr sf_count_t kMultiple = 4;

sf_count_t Padded(sf_count_t frames)
{
    return (frames + kMultiple - 1) / kMultiple * kMultiple;
}

} // namespace

zta::host::Ref<zta::host::AudioBuffer> MakeBuffer(const SZtaWaveFormatInfo& format, sf_count_t frames)
{
    return zta::host::AudioBuffer::Create(format,
                                          static_cast<std::size_t>(Padded(frames)) * zta::host::BytesPerFrame(format));
}

void Fill(zta::host::AudioBuffer& buffer, const std::byte* words, sf_count_t given, sf_count_t frames)
{
    const std::size_t frameBytes = zta::host::BytesPerFrame(buffer.Description().sWaveFormat);
    const std::size_t length = static_cast<std::size_t>(Padded(frames)) * frameBytes;
    const std::size_t sound = static_cast<std::size_t>(given) * frameBytes;
    if (sound != 0) {
        std::memcpy(buffer.Data(), words, sound);
    }
    std::memset(buffer.Data() + sound, 0, length - sound);
    buffer.SetValidLength(length);
}
