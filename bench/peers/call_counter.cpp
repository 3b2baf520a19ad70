#include "bench/peers/call_counter.h"

#include <utility>

namespace bench {

CountingBufferSet::CountingBufferSet(const BufferLayout& layout)
{
    for (std::byte* plane : layout.planes) {
        buffers_.push_back(std::make_unique<CountingBuffer>(CallCounter(),
                                                            FormatOf(layout.sample, layout.channelsOfPlane), plane,
                                                            layout.PlaneBytes(), layout.PlaneBytes()));
        pointers_.push_back(buffers_.back().get());
    }
}

std::vector<CallCounts> CountingBufferSet::TakeCounts()
{
    std::vector<CallCounts> counts;
    for (const auto& buffer : buffers_) {
        counts.push_back(std::exchange(buffer->counts, {}));
    }
    return counts;
}

std::optional<std::string> CompareCalls(CountingBufferSet& first, CountingBufferSet& second,
                                        const std::function<void()>& engine, const std::function<void()>& direct)
{
    engine();
    const auto engines = std::pair(first.TakeCounts(), second.TakeCounts());
    direct();
    if (engines != std::pair(first.TakeCounts(), second.TakeCounts())) {
        return "the engine makes other host calls than the baseline";
    }
    return std::nullopt;
}

Contender MakeHostCallsOnly(Job direct, Check check)
{
    return MakeContender("host calls alone", Role::Calls, std::move(direct), std::move(check));
}

} // namespace bench
