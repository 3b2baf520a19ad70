/// A host for tests and for the validator: its buffers write down every call they receive, and fail a chosen one.
#pragma once

#include "audio_buffer.h"
#include "ref.h"

#include <zta/engine_interfaces.h>

#include <functional>
#include <string>
#include <vector>

namespace zta::host {

/// What an injected failure returns.
inline constexpr int kInjectedFailure = static_cast<int>(0x8999FACE);

/// The calls that a set of recording buffers received, in order, as "buffer.Operation" or "buffer.Operation(value)".
/// AddRef and Release are not among them.
class CallLog {
public:
    /// Writes a call down, runs the hook, and returns 0 or the failure to inject.
    int Enter(const std::string& entry);

    /// Forgets the calls so far.
    void Clear();

    /// The calls so far.
    [[nodiscard]] const std::vector<std::string>& Calls() const { return calls_; }

    /// How often an entry is among them.
    [[nodiscard]] int Count(const std::string& entry) const;

    /// Lets call number `n` from now on fail, counted from 1; with `lasting` every call after it, too.
    void FailCall(int n, bool persistent = false);
    /// Lets every call of an entry fail, for example "source.QueryInterface".
    void FailCallsTo(const std::string& entry, int status = kInjectedFailure);
    /// No call fails from now on.
    void ClearFaults();
    /// True once a call has been failed since the last request.
    [[nodiscard]] bool HasFailed() const { return failed_; }

    /// Runs inside each call, after it has been written down.
    std::function<void(const std::string& entry)> hook;

private:
    std::vector<std::string> calls_;
    int failAt_ = 0;
    int sinceRequest_ = 0;
    bool lasting_ = false;
    bool failed_ = false;
    std::vector<std::pair<std::string, int>> failingEntries_;
};

/// A buffer that enters each call in a journal before it carries it out; one that the journal fails has no effect.
class RecordingBuffer : public AudioBuffer {
public:
    /// As `AudioBuffer::Create`; the journal outlives the buffer.
    static Ref<RecordingBuffer> Create(CallLog& journal, std::string name, const SZtaWaveFormatInfo& format,
                                       std::size_t capacityBytes);

    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;
    int MarkWriteStartTime() override;
    int MarkWriteStopTime() override;
    int SignalReadCompletion() override;
    int SignalWriteCompletion() override;
    int SetErrorCode(int code) override;
    int GetErrorCode(int* code) override;
    int SetPolarity(std::uint32_t polarity) override;
    int SetWaveFormat(SZtaWaveFormatInfo* format) override;
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override;
    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override;
    int GetBufferCapacity(unsigned long* capacityBytes) override;
    int GetLengthInSampleFrames(unsigned long* frames) override;
    int SetFadeIn(bool fadeIn) override;
    int SetFadeOut(bool fadeOut) override;
    int SetLength(unsigned long lengthBytes) override;

    /// References that are held now.
    [[nodiscard]] long References() const { return references_; }
    /// What its entries begin with.
    [[nodiscard]] const std::string& Name() const { return name_; }

protected:
    /// The object starts with one reference, its creator's.
    RecordingBuffer(CallLog& journal, std::string name, const SZtaWaveFormatInfo& format, std::size_t capacityBytes);
    ~RecordingBuffer() override = default;

private:
    CallLog& journal_;
    std::string name_;
    long references_ = 1;
};

/// A host engine whose buffers record. The pool's buffers are named "scratch0" to "scratch2", "fade0", "convert0",
/// "fade1" ... in the order of their creation.
class RecordingHost : public IZtQuonEnginePrivate {
public:
    /// The journal is that of all buffers, and outlives the host.
    explicit RecordingHost(CallLog& journal) : journal_(journal) {}
    virtual ~RecordingHost() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override;

    /// Lets request number `n` fail, counted from 1; 0 for none.
    void FailRequest(int n) { failAt_ = n; }

    /// How many buffers have been asked for.
    [[nodiscard]] int CreationCount() const { return static_cast<int>(requests_.size()); }
    /// The records that they were asked for with.
    [[nodiscard]] const std::vector<SZtCreateAudioSamplesDescription>& CreationRequests() const { return requests_; }
    /// The pool's buffers, without references of their own: alive as long as the engine.
    [[nodiscard]] const std::vector<RecordingBuffer*>& Buffers() const { return buffers_; }
    /// The buffer of this name. Throws std::out_of_range if there is none.
    [[nodiscard]] RecordingBuffer& Buffer(const std::string& name) const;

private:
    CallLog& journal_;
    int failAt_ = 0;
    std::vector<SZtCreateAudioSamplesDescription> requests_;
    std::vector<RecordingBuffer*> buffers_;
};

} // namespace zta::host
