/// A host whose calls can fail, or call the engine again, at any point, and whose buffers count the engine's calls.
#pragma once

#include "host/fault_counter.h"
#include "host/host_engine.h"
#include "host/instrumented_buffer.h"

#include <zta/status.h>

#include <functional>
#include <utility>
#include <vector>

namespace zta::fuzz {

/// Injects faults into the calls of one host, counted from the last Begin.
class FaultInjector {
public:
    static constexpr int kStatus = static_cast<int>(0x80004005);

    /// Calls fail as `faults` says; during call number `callAt` the host makes a nested call. 0 is no call.
    void Begin(host::FaultCounter faults, int callAt, std::function<void()> callBack)
    {
        *this = FaultInjector();
        faults_ = faults;
        callAt_ = callAt;
        callBack_ = std::move(callBack);
    }

    void End()
    {
        faults_.Stop();
        callAt_ = 0;
    }

    /// During a nested call of the host.
    [[nodiscard]] bool IsInHostCall() const { return isInside_; }

    [[nodiscard]] bool HasQueryFailed() const { return hasQueryFailed_; }

    /// The status of the call that begins.
    int Enter(bool isQuery)
    {
        if (isInside_) {
            return 0; // nested calls of the host succeed
        }
        const bool fails = faults_.CountCall();
        if (faults_.Calls() == callAt_) {
            isInside_ = true;
            callBack_();
            isInside_ = false;
        }
        hasQueryFailed_ = hasQueryFailed_ || (fails && isQuery);
        return fails ? kStatus : 0;
    }

private:
    host::FaultCounter faults_;
    int callAt_ = 0;
    std::function<void()> callBack_;
    bool isInside_ = false;
    bool hasQueryFailed_ = false;
};

/// The policy of a buffer whose calls fail as its FaultInjector says. A failing call has no effect and writes no
/// output, except that a failing signal counts as received.
class FaultPolicy : public host::BufferPolicy {
public:
    explicit FaultPolicy(FaultInjector& faults) : faults_(&faults) {}

    /// How often a byte copy did not fit: each may have kept the reference of its query.
    long rejections = 0;

    /// The error code that the operation last received, or 0 if that call failed.
    int reportedCode = 0;

    template <class Proceed>
    int Call(const host::BufferCall& call, Proceed proceed)
    {
        using enum host::BufferOperation;
        const bool isQuery = call.operation == QueryInterface;
        const bool isSignal = call.operation == SignalReadCompletion || call.operation == SignalWriteCompletion;
        const bool isReport = call.operation == GetErrorCode && !faults_->IsInHostCall();
        if (call.operation == SetErrorCode && wasQuery_) {
            rejections += static_cast<int>(call.value) == ZT_E_DESTINATION_BUFFER_TOO_SMALL ? 1 : 0;
        }
        int status = isSignal ? proceed() : 0;
        const int injected = faults_->Enter(isQuery);
        wasQuery_ = isQuery && injected >= 0;
        if (injected < 0) {
            status = injected;
        } else if (!isSignal) {
            status = proceed();
        }
        if (isReport) {
            reportedCode = status < 0 ? 0 : *call.code;
        }
        return status;
    }

private:
    FaultInjector* faults_;
    bool wasQuery_ = false; ///< the last call was a successful query
};

using FaultyBuffer = host::InstrumentedBuffer<FaultPolicy>;

/// Creates the pool of one engine.
class FaultyHost final : public host::HostEngine {
public:
    explicit FaultyHost(FaultInjector& faults) : faults_(faults) {}

    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override
    {
        FaultyBuffer* const buffer =
            FaultyBuffer::CreateWith(FaultPolicy(faults_), description->sWaveFormat, description->ui64BufferSize)
                .Detach();
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
