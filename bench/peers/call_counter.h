/// Compares the calls of bench/common/direct_calls.h with those that the engine makes.
#pragma once

#include "bench/common/host.h"
#include "bench/peers/workload.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// A buffer that counts the calls of each kind.
class CountingBuffer : public PlainBuffer {
public:
    using PlainBuffer::PlainBuffer;
    using CallCounts = std::array<int, 18>;

    const CallCounts& Counts() const { return counts_; }
    void Clear() { counts_ = {}; }

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
    int GetBufferAndLength(void** data, unsigned long* length) override;
    int GetBufferCapacity(unsigned long* capacity) override;
    int GetLengthInSampleFrames(unsigned long* frames) override;
    int SetFadeIn(bool fadeIn) override;
    int SetFadeOut(bool fadeOut) override;
    int SetLength(unsigned long length) override;

private:
    CallCounts counts_{};
};

/// The planes of a layout as counting buffers.
class CountingBufferSet {
public:
    explicit CountingBufferSet(const BufferLayout& side);

    IZtAudioSamples* One() const { return pointers_.front(); }
    IZtAudioSamples** Array() { return pointers_.data(); }
    unsigned long Count() const { return pointers_.size(); }
    std::vector<CountingBuffer::CallCounts> TakeCounts();

private:
    std::vector<std::unique_ptr<CountingBuffer>> buffers_;
    std::vector<IZtAudioSamples*> pointers_;
};

/// Returns nothing if both leave the same counts on every buffer.
std::optional<std::string> CompareCalls(CountingBufferSet& first, CountingBufferSet& second,
                                        const std::function<void()>& engine, const std::function<void()>& direct);

/// Returns a contender that only makes an operation's host calls.
Contender MakeHostCallsOnly(Job direct, Check check);

} // namespace bench
