#include "bench/common/copy_by_hand.h"

#include <atomic>
#include <cstring>

namespace bench {

// In a file of its own, where the compiler sees no buffer class that it could call directly.
void CopyByHand(IZtAudioSamples& source, IZtAudioSamples& destination)
{
    static std::atomic<std::uint32_t> latch;
    SZtAudioSamplesDescription description{};
    description.ulSize = sizeof description;
    void* content = nullptr;
    void* from = nullptr;
    void* to = nullptr;
    unsigned long length = 0;
    unsigned long ignored = 0;
    unsigned long capacity = 0;
    int code = 0;
    destination.QueryInterface(IID_IZtAVContent, &content);
    source.QueryInterface(IID_IZtAVContent, &content);
    source.GetErrorCode(&code);
    source.GetAudioSamplesDescription(&description);
    destination.GetAudioSamplesDescription(&description);
    latch.exchange(1);
    for (int reference = 0; reference < 2; ++reference) { // the saved operand's, and the worker's own
        source.AddRef();
        destination.AddRef();
    }
    destination.MarkWriteStartTime();
    source.GetAudioSamplesDescription(&description);
    destination.GetAudioSamplesDescription(&description);
    source.GetErrorCode(&code);
    source.GetBufferAndLength(&from, &length);
    destination.GetBufferCapacity(&capacity);
    destination.GetBufferAndLength(&to, &ignored);
    std::memcpy(to, from, length);
    source.Release();
    destination.Release();
    latch.exchange(0);
    source.SignalReadCompletion();
    destination.MarkWriteStopTime();
    destination.SignalWriteCompletion();
    for (int reference = 0; reference < 2; ++reference) { // the worker's, and the query's
        source.Release();
        destination.Release();
    }
}

} // namespace bench
