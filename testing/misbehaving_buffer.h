/// A recording buffer of an unusual host: it breaks the buffer contract, or uses a freedom that few hosts use.
#pragma once

#include "testing/recording_host.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace zta::test {

/// Behaves like RecordingBuffer until a field says otherwise.
class MisbehavingBuffer : public RecordingBuffer {
public:
    static host::Ref<MisbehavingBuffer> Create(CallLog& journal, std::string name, const SZtaWaveFormatInfo& format,
                                               std::size_t capacityBytes)
    {
        return host::Ref<MisbehavingBuffer>::Adopt(
            new MisbehavingBuffer(journal, std::move(name), format, capacityBytes));
    }

    /// A query succeeds without a pointer.
    bool hasNoContent = false;
    /// What a query for the content returns beside the pointer.
    int queryStatus = 0;
    /// The samples have no address; length and capacity stay.
    bool hasNoAddress = false;
    /// The capacity that the buffer reports.
    std::optional<unsigned long> reportedCapacity;
    /// What SetLength returns after it has succeeded.
    int lengthStatus = 0;
    /// What every operation returns after it has succeeded.
    int successStatus = 0;
    /// A description comes back with this in its size field.
    std::optional<std::uint32_t> returnedSize;
    /// Receives the size field of each request for a description.
    std::function<void(std::uint32_t size)> onDescription;
    /// Run before a reference is taken, and after one was released.
    std::function<void()> onAddRef;
    std::function<void()> onReleased;

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = RecordingBuffer::QueryInterface(riid, ppv);
        if (hasNoContent && status >= 0) {
            Release();
            *ppv = nullptr;
        }
        return status >= 0 && queryStatus != 0 ? queryStatus : Returned(status);
    }

    unsigned long AddRef() override
    {
        if (onAddRef) {
            onAddRef();
        }
        return RecordingBuffer::AddRef();
    }

    unsigned long Release() override
    {
        const std::function<void()> released = onReleased;
        const unsigned long references = RecordingBuffer::Release();
        if (released) {
            released();
        }
        return references;
    }

    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        if (onDescription) {
            onDescription(description->ulSize);
        }
        const int status = RecordingBuffer::GetAudioSamplesDescription(description);
        if (status >= 0 && returnedSize) {
            description->ulSize = *returnedSize;
        }
        return Returned(status);
    }

    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override
    {
        const int status = RecordingBuffer::GetBufferAndLength(data, lengthBytes);
        if (status >= 0 && hasNoAddress) {
            *data = nullptr;
        }
        return Returned(status);
    }

    int GetBufferCapacity(unsigned long* capacityBytes) override
    {
        const int status = RecordingBuffer::GetBufferCapacity(capacityBytes);
        if (status >= 0 && reportedCapacity) {
            *capacityBytes = *reportedCapacity;
        }
        return Returned(status);
    }

    int SetLength(unsigned long lengthBytes) override
    {
        const int status = RecordingBuffer::SetLength(lengthBytes);
        return status >= 0 && lengthStatus != 0 ? lengthStatus : Returned(status);
    }

    int MarkWriteStartTime() override { return Returned(RecordingBuffer::MarkWriteStartTime()); }
    int MarkWriteStopTime() override { return Returned(RecordingBuffer::MarkWriteStopTime()); }
    int SignalReadCompletion() override { return Returned(RecordingBuffer::SignalReadCompletion()); }
    int SignalWriteCompletion() override { return Returned(RecordingBuffer::SignalWriteCompletion()); }
    int SetErrorCode(int code) override { return Returned(RecordingBuffer::SetErrorCode(code)); }
    int GetErrorCode(int* code) override { return Returned(RecordingBuffer::GetErrorCode(code)); }
    int SetPolarity(std::uint32_t polarity) override { return Returned(RecordingBuffer::SetPolarity(polarity)); }
    int SetWaveFormat(SZtaWaveFormatInfo* format) override { return Returned(RecordingBuffer::SetWaveFormat(format)); }
    int SetFadeIn(bool fadeIn) override { return Returned(RecordingBuffer::SetFadeIn(fadeIn)); }
    int SetFadeOut(bool fadeOut) override { return Returned(RecordingBuffer::SetFadeOut(fadeOut)); }

private:
    using RecordingBuffer::RecordingBuffer;

    [[nodiscard]] int Returned(int status) const { return status >= 0 ? successStatus : status; }
};

} // namespace zta::test
