/// Compares the calls of bench/common/direct_calls.h with those that the engine makes.
#pragma once

#include "bench/common/host.h"
#include "bench/peers/workload.h"
#include "host/instrumented_buffer.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// The number of calls of each operation.
using CallCounts = std::array<int, zta::host::kBufferOperationCount>;

/// The policy of a buffer that counts the calls of each operation.
struct CallCounter : zta::host::BufferPolicy {
    CallCounts counts{};

    template <class Proceed>
    int Call(const zta::host::BufferCall& call, Proceed proceed)
    {
        ++counts[static_cast<std::size_t>(call.operation)];
        return proceed();
    }

    template <class Proceed>
    unsigned long CallReference(zta::host::BufferOperation operation, Proceed proceed)
    {
        ++counts[static_cast<std::size_t>(operation)];
        return proceed();
    }
};

using CountingBuffer = zta::host::InstrumentedBuffer<CallCounter, PlainBuffer>;

/// The planes of a layout as counting buffers.
class CountingBufferSet {
public:
    explicit CountingBufferSet(const BufferLayout& layout);

    IZtAudioSamples* One() const { return pointers_.front(); }
    IZtAudioSamples** Array() { return pointers_.data(); }
    unsigned long Count() const { return pointers_.size(); }
    std::vector<CallCounts> TakeCounts();

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
