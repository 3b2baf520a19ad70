/// A host for tests and for the validator: its buffers log every call and can fail a chosen one.
#pragma once

#include "fault_counter.h"
#include "instrumented_buffer.h"
#include "ref.h"

#include <zta/engine_interfaces.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zta::host {

/// Status code of an injected failure.
inline constexpr int kInjectedFailure = static_cast<int>(0x8999FACE);

/// The calls of a set of buffers, in order, as "buffer.Operation" or "buffer.Operation(value)", without AddRef and
/// Release.
class CallLog {
public:
    /// Logs a call, runs the hook, and returns 0 or the failure to inject.
    int Enter(const std::string& entry);

    /// Clears the log.
    void Clear();

    /// Returns the logged calls.
    [[nodiscard]] const std::vector<std::string>& Calls() const { return calls_; }

    /// Returns how often the log contains an entry.
    [[nodiscard]] int Count(const std::string& entry) const;

    /// Makes the n-th call from now on fail, counted from 1; if `persistent`, also every later call.
    void FailCall(int n, bool persistent = false);
    /// Makes every call with this entry fail, for example "source.QueryInterface".
    void FailCallsTo(const std::string& entry, int status = kInjectedFailure);
    /// Removes all injected failures.
    void ClearFaults();
    /// Returns true if a call has failed since the last FailCall or FailCallsTo.
    [[nodiscard]] bool HasFailed() const { return failed_; }

    /// Runs inside each call, after it was logged.
    std::function<void(const std::string& entry)> hook;

private:
    std::vector<std::string> calls_;
    FaultCounter faults_;
    bool failed_ = false;
    std::vector<std::pair<std::string, int>> failingEntries_;
};

/// The policy of a buffer that logs each call before it executes it; a call that the log fails has no effect.
class CallRecorder : public BufferPolicy {
public:
    /// The log must outlive the buffer.
    CallRecorder(CallLog& log, std::string name) : log_(&log), name_(std::move(name)) {}

    /// Logs the call. Executes it unless the log fails it.
    template <class Proceed>
    int Call(const BufferCall& call, Proceed proceed)
    {
        const int injected = Enter(call);
        return injected < 0 ? injected : proceed();
    }

    /// Returns the name that the entries of the buffer begin with.
    [[nodiscard]] const std::string& Name() const { return name_; }

private:
    int Enter(const BufferCall& call);

    CallLog* log_;
    std::string name_;
};

extern template class InstrumentedBuffer<CallRecorder>;

/// A buffer with a CallRecorder.
class RecordingBuffer : public InstrumentedBuffer<CallRecorder> {
public:
    /// As `AudioBuffer::Create`; the log must outlive the buffer.
    static Ref<RecordingBuffer> Create(CallLog& log, std::string name, const SZtaWaveFormatInfo& format,
                                       std::size_t capacityBytes);

protected:
    /// The object has one reference, owned by its creator.
    RecordingBuffer(CallLog& log, std::string name, const SZtaWaveFormatInfo& format, std::size_t capacityBytes);
    ~RecordingBuffer() override = default;
};

/// A host engine that creates recording buffers. The scratch buffers are named "scratch0" to "scratch2", "fade0",
/// "convert0", "fade1" ... in the order of their creation. The object is not reference-counted: it must outlive the
/// creation of the engine.
class RecordingHost : public IZtQuonEnginePrivate {
public:
    /// All buffers use this log, which must outlive the host.
    explicit RecordingHost(CallLog& log) : log_(log) {}
    virtual ~RecordingHost() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override;

    /// Makes the n-th creation fail, counted from 1; 0 for none.
    void FailRequest(int n) { failAt_ = n; }

    /// Returns the number of requested buffers.
    [[nodiscard]] int CreationCount() const { return static_cast<int>(requests_.size()); }
    /// Returns the records of the requests.
    [[nodiscard]] const std::vector<SZtCreateAudioSamplesDescription>& CreationRequests() const { return requests_; }
    /// Returns the scratch buffers, without a reference: they live as long as the engine.
    [[nodiscard]] const std::vector<RecordingBuffer*>& Buffers() const { return buffers_; }
    /// Returns the buffer with this name. Throws std::out_of_range if it does not exist.
    [[nodiscard]] RecordingBuffer& Buffer(const std::string& name) const;

private:
    CallLog& log_;
    int failAt_ = 0;
    std::vector<SZtCreateAudioSamplesDescription> requests_;
    std::vector<RecordingBuffer*> buffers_;
};

} // namespace zta::host
