#include "bench/peers/call_counter.h"

#include <utility>

namespace bench {

// The order of the counts is that of the interface.

int CountingBuffer::QueryInterface(const _GUID& riid, void** ppv)
{
    ++counts_[0];
    return PlainBuffer::QueryInterface(riid, ppv);
}

unsigned long CountingBuffer::AddRef()
{
    ++counts_[1];
    return PlainBuffer::AddRef();
}

unsigned long CountingBuffer::Release()
{
    ++counts_[2];
    return PlainBuffer::Release();
}

int CountingBuffer::MarkWriteStartTime()
{
    ++counts_[3];
    return PlainBuffer::MarkWriteStartTime();
}

int CountingBuffer::MarkWriteStopTime()
{
    ++counts_[4];
    return PlainBuffer::MarkWriteStopTime();
}

int CountingBuffer::SignalReadCompletion()
{
    ++counts_[5];
    return PlainBuffer::SignalReadCompletion();
}

int CountingBuffer::SignalWriteCompletion()
{
    ++counts_[6];
    return PlainBuffer::SignalWriteCompletion();
}

int CountingBuffer::SetErrorCode(int code)
{
    ++counts_[7];
    return PlainBuffer::SetErrorCode(code);
}

int CountingBuffer::GetErrorCode(int* code)
{
    ++counts_[8];
    return PlainBuffer::GetErrorCode(code);
}

int CountingBuffer::SetPolarity(std::uint32_t polarity)
{
    ++counts_[9];
    return PlainBuffer::SetPolarity(polarity);
}

int CountingBuffer::SetWaveFormat(SZtaWaveFormatInfo* format)
{
    ++counts_[10];
    return PlainBuffer::SetWaveFormat(format);
}

int CountingBuffer::GetAudioSamplesDescription(SZtAudioSamplesDescription* description)
{
    ++counts_[11];
    return PlainBuffer::GetAudioSamplesDescription(description);
}

int CountingBuffer::GetBufferAndLength(void** data, unsigned long* length)
{
    ++counts_[12];
    return PlainBuffer::GetBufferAndLength(data, length);
}

int CountingBuffer::GetBufferCapacity(unsigned long* capacity)
{
    ++counts_[13];
    return PlainBuffer::GetBufferCapacity(capacity);
}

int CountingBuffer::GetLengthInSampleFrames(unsigned long* frames)
{
    ++counts_[14];
    return PlainBuffer::GetLengthInSampleFrames(frames);
}

int CountingBuffer::SetFadeIn(bool fadeIn)
{
    ++counts_[15];
    return PlainBuffer::SetFadeIn(fadeIn);
}

int CountingBuffer::SetFadeOut(bool fadeOut)
{
    ++counts_[16];
    return PlainBuffer::SetFadeOut(fadeOut);
}

int CountingBuffer::SetLength(unsigned long length)
{
    ++counts_[17];
    return PlainBuffer::SetLength(length);
}

CountingBufferSet::CountingBufferSet(const BufferLayout& side)
{
    for (std::byte* plane : side.planes) {
        buffers_.push_back(std::make_unique<CountingBuffer>(FormatOf(side.sample, side.channelsOfPlane), plane,
                                                            side.PlaneBytes(), side.PlaneBytes()));
        pointers_.push_back(buffers_.back().get());
    }
}

std::vector<CountingBuffer::CallCounts> CountingBufferSet::TakeCounts()
{
    std::vector<CountingBuffer::CallCounts> counts;
    for (const auto& buffer : buffers_) {
        counts.push_back(buffer->Counts());
        buffer->Clear();
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
