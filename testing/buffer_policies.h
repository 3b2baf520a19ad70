/// Policies of buffers (host/instrumented_buffer.h) that tests and benchmarks share.
#pragma once

#include "host/formats.h"
#include "host/instrumented_buffer.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zta::test {

using host::BufferCall;
using host::BufferOperation;

/// The marks count and do not read the clock, which is a system call of the host on some machines.
struct NoClock : host::BufferPolicy {
    int marks = 0; ///< start and stop marks together

    template <class Proceed>
    int Call(const BufferCall& call, Proceed proceed)
    {
        if (call.operation == BufferOperation::MarkWriteStartTime ||
            call.operation == BufferOperation::MarkWriteStopTime) {
            ++marks;
            return 0;
        }
        return proceed();
    }
};

using ClocklessBuffer = host::InstrumentedBuffer<NoClock>;

/// A ClocklessBuffer, or one with a policy on top, with `frames` valid frames.
template <class Buffer = ClocklessBuffer>
[[nodiscard]] host::Ref<Buffer> MakeClockless(const SZtaWaveFormatInfo& format, std::size_t frames)
{
    auto buffer = Buffer::Create(format, frames * host::BytesPerFrame(format));
    buffer->SetValidLength(buffer->Capacity());
    return buffer;
}

/// A BufferFactory (testing/scenarios.h).
inline host::Ref<host::AudioBuffer> MakeClocklessBuffer(const std::string& /*name*/, const SZtaWaveFormatInfo& format,
                                                        std::size_t bytes)
{
    return ClocklessBuffer::Create(format, bytes);
}

/// A buffer that breaks the buffer contract, or uses a freedom that few hosts use, as soon as a field says so.
struct Misbehavior : host::BufferPolicy {
    /// A query succeeds without a pointer.
    bool hasNoContent = false;
    /// The status of a successful query. If it is negative, the caller receives a pointer nevertheless.
    int queryStatus = 0;
    /// The samples have no address; length and capacity stay.
    bool hasNoAddress = false;
    /// The capacity that the buffer reports.
    std::optional<unsigned long> reportedCapacity;
    /// The status of a successful SetLength.
    int lengthStatus = 0;
    /// The status of every other successful operation.
    int successStatus = 0;
    /// The size field of a returned description.
    std::optional<std::uint32_t> returnedSize;
    /// Receives the size field of each request for a description.
    std::function<void(std::uint32_t size)> onDescription;
    /// Runs before each operation.
    std::function<void(BufferOperation)> onCall;
    /// Runs after each Release.
    std::function<void()> onReleased;

    template <class Proceed>
    int Call(const BufferCall& call, Proceed proceed)
    {
        if (onCall) {
            onCall(call.operation);
        }
        if (call.description != nullptr && onDescription) {
            onDescription(call.description->ulSize);
        }
        const int status = proceed();
        return status < 0 ? status : ChangeResult(call);
    }

    template <class Proceed>
    unsigned long CallReference(BufferOperation operation, Proceed proceed)
    {
        if (onCall) {
            onCall(operation);
        }
        // The last Release destroys the policy.
        const auto released = operation == BufferOperation::Release ? onReleased : nullptr;
        const unsigned long references = proceed();
        if (released) {
            released();
        }
        return references;
    }

private:
    /// Changes the results of a successful call. Returns its status.
    [[nodiscard]] int ChangeResult(const BufferCall& call) const
    {
        int status = 0;
        switch (call.operation) {
        case BufferOperation::QueryInterface:
            if (hasNoContent) {
                static_cast<IZtAudioSamples*>(*call.pointer)->Release();
                *call.pointer = nullptr;
            }
            status = queryStatus;
            break;
        case BufferOperation::GetAudioSamplesDescription:
            call.description->ulSize = returnedSize.value_or(call.description->ulSize);
            break;
        case BufferOperation::GetBufferAndLength:
            *call.pointer = hasNoAddress ? nullptr : *call.pointer;
            break;
        case BufferOperation::GetBufferCapacity:
            *call.size = reportedCapacity.value_or(*call.size);
            break;
        case BufferOperation::SetLength:
            status = lengthStatus;
            break;
        default:
            break;
        }
        return status != 0 ? status : successStatus;
    }
};

} // namespace zta::test
