/// A buffer whose operations pass through a policy, which can count, log, change or fail them.
#pragma once

#include "audio_buffer.h"
#include "ref.h"

#include <zta/audio_records.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

namespace zta::host {

/// The operations of a buffer, in the order of their slots.
enum class BufferOperation {
    QueryInterface,
    AddRef,
    Release,
    MarkWriteStartTime,
    MarkWriteStopTime,
    SignalReadCompletion,
    SignalWriteCompletion,
    SetErrorCode,
    GetErrorCode,
    SetPolarity,
    SetWaveFormat,
    GetAudioSamplesDescription,
    GetBufferAndLength,
    GetBufferCapacity,
    GetLengthInSampleFrames,
    SetFadeIn,
    SetFadeOut,
    SetLength,
};

/// The names of the operations, by the value of their enumerator.
inline constexpr const char* kBufferOperationNames[] = {
    "QueryInterface",
    "AddRef",
    "Release",
    "MarkWriteStartTime",
    "MarkWriteStopTime",
    "SignalReadCompletion",
    "SignalWriteCompletion",
    "SetErrorCode",
    "GetErrorCode",
    "SetPolarity",
    "SetWaveFormat",
    "GetAudioSamplesDescription",
    "GetBufferAndLength",
    "GetBufferCapacity",
    "GetLengthInSampleFrames",
    "SetFadeIn",
    "SetFadeOut",
    "SetLength",
};

/// The number of operations.
inline constexpr std::size_t kBufferOperationCount = std::size(kBufferOperationNames);
static_assert(kBufferOperationCount == static_cast<std::size_t>(BufferOperation::SetLength) + 1);

/// One call, with the arguments that a policy can read or change. The pointers are those of the caller and valid during
/// the call; those that the operation lacks are null.
struct BufferCall {
    BufferOperation operation;                         ///< the operation
    unsigned long value = 0;                           ///< argument of a setter
    void** pointer = nullptr;                          ///< receives the interface or the address of the samples
    unsigned long* size = nullptr;                     ///< receives the length, in bytes or frames, or the capacity
    int* code = nullptr;                               ///< receives the error code
    SZtAudioSamplesDescription* description = nullptr; ///< receives the description
};

/// The policy that changes nothing. A policy derives from it and hides one function or both.
struct BufferPolicy {
    /// Makes a call and returns its status. `proceed` executes the operation of the buffer; without it, the call has no
    /// effect.
    template <class Proceed>
    int Call(const BufferCall& /*call*/, Proceed proceed)
    {
        return proceed();
    }

    /// The same for AddRef and Release. The object may no longer exist when Release returns.
    template <class Proceed>
    unsigned long CallReference(BufferOperation /*operation*/, Proceed proceed)
    {
        return proceed();
    }
};

/// A `Base` whose every operation passes once through `Policy`. The public members of the policy are members of the
/// buffer. Policies can be stacked: `Base` may be an InstrumentedBuffer.
template <class Policy, class Base = AudioBuffer>
class InstrumentedBuffer : public Base, public Policy {
public:
    /// Creates a buffer from the arguments of `Base`; the caller owns the reference.
    template <class... Arguments>
    [[nodiscard]] static Ref<InstrumentedBuffer> Create(Arguments&&... arguments)
    {
        return CreateWith(Policy(), std::forward<Arguments>(arguments)...);
    }

    /// Creates a buffer with a copy of the policy.
    template <class... Arguments>
    [[nodiscard]] static Ref<InstrumentedBuffer> CreateWith(Policy policy, Arguments&&... arguments)
    {
        return Ref<InstrumentedBuffer>::Adopt(
            new InstrumentedBuffer(std::move(policy), std::forward<Arguments>(arguments)...));
    }

    /// The object has one reference, owned by its creator.
    template <class... Arguments>
    explicit InstrumentedBuffer(Policy policy, Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...), Policy(std::move(policy))
    {
    }

    /// The same with the default policy, as a base of another policy. A template, because not every policy has a
    /// default.
    template <std::same_as<SZtaWaveFormatInfo> Format>
    InstrumentedBuffer(const Format& format, std::size_t capacityBytes) : Base(format, capacityBytes)
    {
    }

    /// @cond The operations of the interface.
    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        return Policy::Call({.operation = BufferOperation::QueryInterface, .pointer = ppv},
                            [&] { return Base::QueryInterface(riid, ppv); });
    }
    unsigned long AddRef() override
    {
        return Policy::CallReference(BufferOperation::AddRef, [&] { return Base::AddRef(); });
    }
    unsigned long Release() override
    {
        return Policy::CallReference(BufferOperation::Release, [&] { return Base::Release(); });
    }
    int MarkWriteStartTime() override
    {
        return Policy::Call({BufferOperation::MarkWriteStartTime}, [&] { return Base::MarkWriteStartTime(); });
    }
    int MarkWriteStopTime() override
    {
        return Policy::Call({BufferOperation::MarkWriteStopTime}, [&] { return Base::MarkWriteStopTime(); });
    }
    int SignalReadCompletion() override
    {
        return Policy::Call({BufferOperation::SignalReadCompletion}, [&] { return Base::SignalReadCompletion(); });
    }
    int SignalWriteCompletion() override
    {
        return Policy::Call({BufferOperation::SignalWriteCompletion}, [&] { return Base::SignalWriteCompletion(); });
    }
    int SetErrorCode(int code) override
    {
        return Policy::Call({BufferOperation::SetErrorCode, static_cast<std::uint32_t>(code)},
                            [&] { return Base::SetErrorCode(code); });
    }
    int GetErrorCode(int* code) override
    {
        return Policy::Call({.operation = BufferOperation::GetErrorCode, .code = code},
                            [&] { return Base::GetErrorCode(code); });
    }
    int SetPolarity(std::uint32_t polarity) override
    {
        return Policy::Call({BufferOperation::SetPolarity, polarity}, [&] { return Base::SetPolarity(polarity); });
    }
    int SetWaveFormat(SZtaWaveFormatInfo* format) override
    {
        return Policy::Call({BufferOperation::SetWaveFormat}, [&] { return Base::SetWaveFormat(format); });
    }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        return Policy::Call({.operation = BufferOperation::GetAudioSamplesDescription, .description = description},
                            [&] { return Base::GetAudioSamplesDescription(description); });
    }
    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override
    {
        return Policy::Call({.operation = BufferOperation::GetBufferAndLength, .pointer = data, .size = lengthBytes},
                            [&] { return Base::GetBufferAndLength(data, lengthBytes); });
    }
    int GetBufferCapacity(unsigned long* capacityBytes) override
    {
        return Policy::Call({.operation = BufferOperation::GetBufferCapacity, .size = capacityBytes},
                            [&] { return Base::GetBufferCapacity(capacityBytes); });
    }
    int GetLengthInSampleFrames(unsigned long* frames) override
    {
        return Policy::Call({.operation = BufferOperation::GetLengthInSampleFrames, .size = frames},
                            [&] { return Base::GetLengthInSampleFrames(frames); });
    }
    int SetFadeIn(bool fadeIn) override
    {
        return Policy::Call({BufferOperation::SetFadeIn, fadeIn}, [&] { return Base::SetFadeIn(fadeIn); });
    }
    int SetFadeOut(bool fadeOut) override
    {
        return Policy::Call({BufferOperation::SetFadeOut, fadeOut}, [&] { return Base::SetFadeOut(fadeOut); });
    }
    int SetLength(unsigned long lengthBytes) override
    {
        return Policy::Call({BufferOperation::SetLength, lengthBytes}, [&] { return Base::SetLength(lengthBytes); });
    }
    /// @endcond
};

} // namespace zta::host
