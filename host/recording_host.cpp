#include "host/recording_host.h"

#include <zta/status.h>

#include <algorithm>
#include <stdexcept>

namespace zta::host {

int CallLog::Enter(const std::string& entry)
{
    calls_.push_back(entry);
    ++callsSinceRequest_;
    if (hook) {
        hook(entry);
    }
    for (const auto& [failing, status] : failingEntries_) {
        if (failing == entry) {
            failed_ = true;
            return status;
        }
    }
    if (failAt_ != 0 && (callsSinceRequest_ == failAt_ || (persistent_ && callsSinceRequest_ > failAt_))) {
        failed_ = true;
        return kInjectedFailure;
    }
    return 0;
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
    failAt_ = n;
    persistent_ = persistent;
    callsSinceRequest_ = 0;
    failed_ = false;
}

void CallLog::FailCallsTo(const std::string& entry, int status)
{
    failingEntries_.emplace_back(entry, status);
    failed_ = false;
}

void CallLog::ClearFaults()
{
    failAt_ = 0;
    failingEntries_.clear();
}

Ref<RecordingBuffer> RecordingBuffer::Create(CallLog& log, std::string name, const SZtaWaveFormatInfo& format,
                                             std::size_t capacityBytes)
{
    return Ref<RecordingBuffer>::Adopt(new RecordingBuffer(log, std::move(name), format, capacityBytes));
}

RecordingBuffer::RecordingBuffer(CallLog& log, std::string name, const SZtaWaveFormatInfo& format,
                                 std::size_t capacityBytes)
    : AudioBuffer(format, capacityBytes), log_(log), name_(std::move(name))
{
}

// A failed call has no effect and writes no output.
#define ZTA_RECORD(text, call)                                                                                         \
    const int injected = log_.Enter(name_ + "." + (text));                                                             \
    return injected < 0 ? injected : AudioBuffer::call

namespace {

std::string WithValue(const char* operation, unsigned long value)
{
    return std::string(operation) + "(" + std::to_string(value) + ")";
}

} // namespace

int RecordingBuffer::QueryInterface(const _GUID& riid, void** ppv)
{
    ZTA_RECORD("QueryInterface", QueryInterface(riid, ppv));
}

unsigned long RecordingBuffer::AddRef()
{
    ++references_;
    return AudioBuffer::AddRef();
}

unsigned long RecordingBuffer::Release()
{
    --references_;
    return AudioBuffer::Release();
}

int RecordingBuffer::MarkWriteStartTime()
{
    ZTA_RECORD("MarkWriteStartTime", MarkWriteStartTime());
}

int RecordingBuffer::MarkWriteStopTime()
{
    ZTA_RECORD("MarkWriteStopTime", MarkWriteStopTime());
}

int RecordingBuffer::SignalReadCompletion()
{
    ZTA_RECORD("SignalReadCompletion", SignalReadCompletion());
}

int RecordingBuffer::SignalWriteCompletion()
{
    ZTA_RECORD("SignalWriteCompletion", SignalWriteCompletion());
}

int RecordingBuffer::SetErrorCode(int code)
{
    char text[32];
    std::snprintf(text, sizeof(text), "SetErrorCode(0x%08X)", static_cast<unsigned int>(code));
    ZTA_RECORD(text, SetErrorCode(code));
}

int RecordingBuffer::GetErrorCode(int* code)
{
    ZTA_RECORD("GetErrorCode", GetErrorCode(code));
}

int RecordingBuffer::SetPolarity(std::uint32_t polarity)
{
    ZTA_RECORD(WithValue("SetPolarity", polarity), SetPolarity(polarity));
}

int RecordingBuffer::SetWaveFormat(SZtaWaveFormatInfo* format)
{
    ZTA_RECORD("SetWaveFormat", SetWaveFormat(format));
}

int RecordingBuffer::GetAudioSamplesDescription(SZtAudioSamplesDescription* description)
{
    ZTA_RECORD("GetAudioSamplesDescription", GetAudioSamplesDescription(description));
}

int RecordingBuffer::GetBufferAndLength(void** data, unsigned long* lengthBytes)
{
    ZTA_RECORD("GetBufferAndLength", GetBufferAndLength(data, lengthBytes));
}

int RecordingBuffer::GetBufferCapacity(unsigned long* capacityBytes)
{
    ZTA_RECORD("GetBufferCapacity", GetBufferCapacity(capacityBytes));
}

int RecordingBuffer::GetLengthInSampleFrames(unsigned long* frames)
{
    ZTA_RECORD("GetLengthInSampleFrames", GetLengthInSampleFrames(frames));
}

int RecordingBuffer::SetFadeIn(bool fadeIn)
{
    ZTA_RECORD(WithValue("SetFadeIn", fadeIn), SetFadeIn(fadeIn));
}

int RecordingBuffer::SetFadeOut(bool fadeOut)
{
    ZTA_RECORD(WithValue("SetFadeOut", fadeOut), SetFadeOut(fadeOut));
}

int RecordingBuffer::SetLength(unsigned long lengthBytes)
{
    ZTA_RECORD(WithValue("SetLength", lengthBytes), SetLength(lengthBytes));
}

#undef ZTA_RECORD

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
