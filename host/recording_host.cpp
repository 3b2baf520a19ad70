#include "host/recording_host.h"

#include <zta/status.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace zta::host {

int CallLog::Enter(const std::string& entry)
{
    calls_.push_back(entry);
    const bool fails = faults_.CountCall();
    if (hook) {
        hook(entry);
    }
    for (const auto& [failing, status] : failingEntries_) {
        if (failing == entry) {
            failed_ = true;
            return status;
        }
    }
    failed_ = failed_ || fails;
    return fails ? kInjectedFailure : 0;
}

void CallLog::Clear()
{
    calls_.clear();
}

int CallLog::Count(const std::string& entry) const
{
    return static_cast<int>(std::count(calls_.begin(), calls_.end(), entry));
}

void CallLog::FailCall(int n, bool persistent)
{
    faults_ = FaultCounter(n, persistent);
    failed_ = false;
}

void CallLog::FailCallsTo(const std::string& entry, int status)
{
    failingEntries_.emplace_back(entry, status);
    failed_ = false;
}

void CallLog::ClearFaults()
{
    faults_.Stop();
    failingEntries_.clear();
}

Ref<RecordingBuffer> RecordingBuffer::Create(CallLog& log, std::string name, const SZtaWaveFormatInfo& format,
                                             std::size_t capacityBytes)
{
    return Ref<RecordingBuffer>::Adopt(new RecordingBuffer(log, std::move(name), format, capacityBytes));
}

RecordingBuffer::RecordingBuffer(CallLog& log, std::string name, const SZtaWaveFormatInfo& format,
                                 std::size_t capacityBytes)
    : InstrumentedBuffer(CallRecorder(log, std::move(name)), format, capacityBytes)
{
}

namespace {

/// The argument of a setter in parentheses, or "".
std::string ArgumentText(const BufferCall& call)
{
    switch (call.operation) {
    case BufferOperation::SetErrorCode: {
        char text[16];
        std::snprintf(text, sizeof(text), "(0x%08lX)", call.value);
        return text;
    }
    case BufferOperation::SetPolarity:
    case BufferOperation::SetFadeIn:
    case BufferOperation::SetFadeOut:
    case BufferOperation::SetLength:
        return std::string("(").append(std::to_string(call.value)).append(")");
    default:
        return "";
    }
}

} // namespace

int CallRecorder::Enter(const BufferCall& call)
{
    return log_->Enter(name_ + "." + kBufferOperationNames[static_cast<std::size_t>(call.operation)] +
                       ArgumentText(call));
}

template class InstrumentedBuffer<CallRecorder>;

int RecordingHost::QueryInterface(const _GUID& /*riid*/, void** ppv)
{
    *ppv = nullptr;
    return E_NOINTERFACE;
}

int RecordingHost::CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples)
{
    requests_.push_back(*description);
    const int number = CreationCount();
    if (number == failAt_) {
        return kInjectedFailure;
    }
    const int index = number - 1;
    std::string name = "scratch" + std::to_string(index);
    if (index >= 3) {
        name = ((index - 3) % 2 == 0 ? "fade" : "convert") + std::to_string((index - 3) / 2);
    }
    RecordingBuffer* buffer =
        RecordingBuffer::Create(log_, name, description->sWaveFormat, description->ui64BufferSize).Detach();
    buffers_.push_back(buffer);
    *samples = buffer;
    return 0;
}

RecordingBuffer& RecordingHost::Buffer(const std::string& name) const
{
    for (RecordingBuffer* buffer : buffers_) {
        if (buffer->Name() == name) {
            return *buffer;
        }
    }
    throw std::out_of_range(name);
}

} // namespace zta::host
