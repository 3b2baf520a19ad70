#include "tools/ztvalidate/guarded_buffer.h"

#include <zta/status.h>

#include <algorithm>
#include <cstring>

namespace zta::validate {

namespace {

constexpr std::size_t kGuardBytes = 256;

std::uint8_t GuardByte(std::size_t position)
{
    return static_cast<std::uint8_t>(position * 37 + 11);
}

} // namespace

host::Ref<GuardedBuffer> GuardedBuffer::Create(host::CallLog& callLog, std::string name,
                                               const SZtaWaveFormatInfo& format, std::size_t capacityBytes,
                                               std::size_t shift)
{
    return host::Ref<GuardedBuffer>::Adopt(new GuardedBuffer(callLog, std::move(name), format, capacityBytes, shift));
}

GuardedBuffer::GuardedBuffer(host::CallLog& callLog, std::string name, const SZtaWaveFormatInfo& format,
                             std::size_t capacityBytes, std::size_t shift)
    : host::RecordingBuffer(callLog, std::move(name), format, capacityBytes + 2 * kGuardBytes),
      begin_(kGuardBytes - shift), size_(capacityBytes)
{
    for (std::size_t i = 0; i < Capacity(); ++i) {
        Data()[i] = static_cast<std::byte>(GuardByte(i));
    }
}

int GuardedBuffer::GetAudioSamplesDescription(SZtAudioSamplesDescription* description)
{
    ++descriptionRequests_;
    wrongRecordSizes_ += description != nullptr && description->ulSize != sizeof(*description) ? 1 : 0;
    const int status = RecordingBuffer::GetAudioSamplesDescription(description);
    if (status >= 0 && overwritesSizes_ && description != nullptr) {
        description->ulSize = 7;
    }
    return status;
}

int GuardedBuffer::GetBufferAndLength(void** data, unsigned long* lengthBytes)
{
    const int status = RecordingBuffer::GetBufferAndLength(data, lengthBytes);
    if (status >= 0) {
        *data = hasAddress_ ? Data() + begin_ : nullptr;
    }
    return status;
}

int GuardedBuffer::GetBufferCapacity(unsigned long* capacityBytes)
{
    const int status = RecordingBuffer::GetBufferCapacity(capacityBytes);
    if (status >= 0) {
        *capacityBytes = size_;
    }
    return status;
}

int GuardedBuffer::SetLength(unsigned long lengthBytes)
{
    const int status = lengthBytes > size_ ? ZT_E_INVALID_PARAMETER : RecordingBuffer::SetLength(lengthBytes);
    return status < 0 ? status : lengthStatus_;
}

Bytes GuardedBuffer::Content() const
{
    const auto* first = reinterpret_cast<const std::uint8_t*>(Data() + begin_);
    return {first, first + size_};
}

void GuardedBuffer::SetContent(const Bytes& bytes)
{
    std::memcpy(Data() + begin_, bytes.data(), std::min(bytes.size(), size_));
}

bool GuardedBuffer::IsGuardIntact() const
{
    for (std::size_t i = 0; i < Capacity(); ++i) {
        if ((i < begin_ || i >= begin_ + size_) && Data()[i] != static_cast<std::byte>(GuardByte(i))) {
            return false;
        }
    }
    return true;
}

Bytes RandomSamples(std::mt19937_64& random, const SZtaWaveFormatInfo& format, std::size_t bytes)
{
    Bytes samples(bytes);
    if (format.eDataType == keZtAudioDataTypeFloat) {
        for (std::size_t i = 0; i + sizeof(float) <= bytes; i += sizeof(float)) {
            const float sample = static_cast<float>(static_cast<std::int32_t>(random() >> 40) - (1 << 23)) * 0x1p-23F;
            std::memcpy(&samples[i], &sample, sizeof(float));
        }
    } else {
        std::generate(samples.begin(), samples.end(), [&] { return static_cast<std::uint8_t>(random() >> 56); });
    }
    return samples;
}

} // namespace zta::validate
