/// A host whose calls can fail, or call the engine again, at any point, and whose buffers count the engine's calls.
#pragma once

#include "host/audio_buffer.h"
#include "host/host_engine.h"

#include <zta/status.h>

#include <functional>
#include <vector>

namespace zta::fuzz {

/// Injects faults into the calls of one host, counted from the last Begin.
class FaultInjector {
public:
    static constexpr int kStatus = static_cast<int>(0x80004005);

    /// Call number `failAt` fails, and all after it if `lasting`; at call number `callAt` the host calls back. 0 is no
    /// call.
    void Begin(int failAt, bool persistent, int callAt, std::function<void()> callBack)
    {
        *this = FaultInjector();
        failAt_ = failAt;
        lasting_ = persistent;
        callAt_ = callAt;
        callBack_ = std::move(callBack);
    }

    void End()
    {
        failAt_ = 0;
        callAt_ = 0;
    }

    /// During a nested call of the host.
    [[nodiscard]] bool IsInHostCall() const { return isInside_; }

    [[nodiscard]] bool HasFailed() const { return hasFailed_; }
    [[nodiscard]] bool HasQueryFailed() const { return hasQueryFailed_; }

    /// The status of the call that begins.
    int Enter(bool isQuery)
    {
        if (isInside_) {
            return 0; // nested calls of the host succeed
        }
        const int call = ++calls_;
        if (call == callAt_) {
            isInside_ = true;
            callBack_();
            isInside_ = false;
        }
        if (failAt_ == 0 || call < failAt_ || (call > failAt_ && !lasting_)) {
            return 0;
        }
        hasFailed_ = true;
        hasQueryFailed_ = hasQueryFailed_ || isQuery;
        return kStatus;
    }

private:
    int failAt_ = 0;
    bool lasting_ = false;
    int callAt_ = 0;
    std::function<void()> callBack_;
    int calls_ = 0;
    bool isInside_ = false;
    bool hasFailed_ = false;
    bool hasQueryFailed_ = false;
};

class FaultyBuffer final : public host::AudioBuffer {
public:
    static host::Ref<FaultyBuffer> Create(FaultInjector& faults, const SZtaWaveFormatInfo& format, std::size_t bytes)
    {
        return host::Ref<FaultyBuffer>::Adopt(new FaultyBuffer(faults, format, bytes));
    }

    [[nodiscard]] long References() const { return references_; }

    /// How often a byte copy did not fit: each may have kept the reference of its query.
    [[nodiscard]] long Rejections() const { return refusals_; }

    /// The error code that the operation last received, or none if that call failed.
    [[nodiscard]] int ReportedCode() const { return told_; }
    void ClearReportedCode() { told_ = 0; }

    /// Releases kept references.
    void ReleaseKept(long count)
    {
        for (; count > 0; --count) {
            Release();
        }
        refusals_ = 0;
    }

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        const int status = faults_.Enter(true);
        isQueried_ = status >= 0;
        return status < 0 ? status : host::AudioBuffer::QueryInterface(riid, ppv);
    }
    unsigned long AddRef() override
    {
        ++references_;
        return host::AudioBuffer::AddRef();
    }
    unsigned long Release() override
    {
        --references_;
        return host::AudioBuffer::Release();
    }
    int SetErrorCode(int code) override
    {
        refusals_ += isQueried_ && code == ZT_E_DESTINATION_BUFFER_TOO_SMALL ? 1 : 0;
        return Call([&] { return host::AudioBuffer::SetErrorCode(code); });
    }
    int MarkWriteStartTime() override
    {
        return Call([&] { return host::AudioBuffer::MarkWriteStartTime(); });
    }
    int MarkWriteStopTime() override
    {
        return Call([&] { return host::AudioBuffer::MarkWriteStopTime(); });
    }
    // A failing signal counts as received.
    int SignalReadCompletion() override
    {
        const int status = host::AudioBuffer::SignalReadCompletion();
        const int injected = Call([] { return 0; });
        return injected < 0 ? injected : status;
    }
    int SignalWriteCompletion() override
    {
        const int status = host::AudioBuffer::SignalWriteCompletion();
        const int injected = Call([] { return 0; });
        return injected < 0 ? injected : status;
    }
    int GetErrorCode(int* code) override
    {
        const bool isOperations = !faults_.IsInHostCall();
        const int status = Call([&] { return host::AudioBuffer::GetErrorCode(code); });
        if (isOperations) {
            told_ = status < 0 ? 0 : *code;
        }
        return status;
    }
    int SetPolarity(std::uint32_t polarity) override
    {
        return Call([&] { return host::AudioBuffer::SetPolarity(polarity); });
    }
    int SetWaveFormat(SZtaWaveFormatInfo* format) override
    {
        return Call([&] { return host::AudioBuffer::SetWaveFormat(format); });
    }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        return Call([&] { return host::AudioBuffer::GetAudioSamplesDescription(description); });
    }
    int GetBufferAndLength(void** data, unsigned long* length) override
    {
        return Call([&] { return host::AudioBuffer::GetBufferAndLength(data, length); });
    }
    int GetBufferCapacity(unsigned long* capacity) override
    {
        return Call([&] { return host::AudioBuffer::GetBufferCapacity(capacity); });
    }
    int GetLengthInSampleFrames(unsigned long* frames) override
    {
        return Call([&] { return host::AudioBuffer::GetLengthInSampleFrames(frames); });
    }
    int SetFadeIn(bool fadeIn) override
    {
        return Call([&] { return host::AudioBuffer::SetFadeIn(fadeIn); });
    }
    int SetFadeOut(bool fadeOut) override
    {
        return Call([&] { return host::AudioBuffer::SetFadeOut(fadeOut); });
    }
    int SetLength(unsigned long length) override
    {
        return Call([&] { return host::AudioBuffer::SetLength(length); });
    }

private:
    FaultyBuffer(FaultInjector& faults, const SZtaWaveFormatInfo& format, std::size_t bytes)
        : host::AudioBuffer(format, bytes), faults_(faults)
    {
    }

    /// A failing call has no effect and writes no output.
    template <class Body>
    int Call(Body body)
    {
        const int status = faults_.Enter(false);
        isQueried_ = false;
        return status < 0 ? status : body();
    }

    FaultInjector& faults_;
    long references_ = 1;
    long refusals_ = 0;
    bool isQueried_ = false; ///< the last call was a query
    int told_ = 0;
};

/// Creates the pool of one engine.
class FaultyHost final : public host::HostEngine {
public:
    explicit FaultyHost(FaultInjector& faults) : faults_(faults) {}

    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override
    {
        FaultyBuffer* const buffer =
            FaultyBuffer::Create(faults_, description->sWaveFormat, description->ui64BufferSize).Detach();
        pool_.push_back(buffer);
        *samples = buffer;
        return 0;
    }

    [[nodiscard]] const std::vector<FaultyBuffer*>& Pool() const { return pool_; }

    /// Resets the pool to its initial state, except the samples, so that inputs are independent.
    void ResetPool()
    {
        for (FaultyBuffer* buffer : pool_) {
            buffer->SetValidLength(0);
            buffer->SetFades(false, false);
            buffer->ClearErrorCode();
        }
    }

private:
    FaultInjector& faults_;
    std::vector<FaultyBuffer*> pool_;
};

} // namespace zta::fuzz
