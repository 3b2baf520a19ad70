#include "bench/peers/call_counter.h"

#include <utility>

namespace bench {

// The order of the counts is that of the interface.

int TallyBuffer::QueryInterface(const _GUID& riid, void** ppv)
{
    ++counts_[0];
    return PlainBuffer::QueryInterface(riid, ppv);
}

unsigned long TallyBuffer::AddRef()
{
    ++counts_[1];
    return PlainBuffer::AddRef();
}

unsigned long TallyBuffer::Release()
{
    ++counts_[2];
    return PlainBuffer::Release();
}

int TallyBuffer::MarkWriteStartTime()
{
    ++counts_[3];
    return PlainBuffer::MarkWriteStartTime();
}

int TallyBuffer::MarkWriteStopTime()
{
    ++counts_[4];
    return PlainBuffer::MarkWriteStopTime();
}

int TallyBuffer::SignalReadCompletion()
{
    ++counts_[5];
    return PlainBuffer::SignalReadCompletion();
}

int TallyBuffer::SignalWriteCompletion()
{
    ++counts_[6];
    return PlainBuffer::SignalWriteCompletion();
}

int TallyBuffer::SetErrorCode(int code)
{
    ++counts_[7];
    return PlainBuffer::SetErrorCode(code);
}

int TallyBuffer::GetErrorCode(int* code)
{
    ++counts_[8];
    return PlainBuffer::GetErrorCode(code);
}

int TallyBuffer::SetPolarity(std::uint32_t polarity)
{
    ++counts_[9];
    return PlainBuffer::SetPolarity(polarity);
}

int TallyBuffer::SetWaveFormat(SZtaWaveFormatInfo* format)
{
    ++counts_[10];
    return PlainBuffer::SetWaveFormat(format);
}

int TallyBuffer::GetAudioSamplesDescription(SZtAudioSamplesDescription* description)
{
    ++counts_[11];
    return PlainBuffer::GetAudioSamplesDescription(description);
}

int TallyBuffer::GetBufferAndLength(void** data, unsigned long* length)
{
    ++counts_[12];
    return PlainBuffer::GetBufferAndLength(data, length);
}

int TallyBuffer::GetBufferCapacity(unsigned long* capacity)
{
    ++counts_[13];
    return PlainBuffer::GetBufferCapacity(capacity);
}

int TallyBuffer::GetLengthInSampleFrames(unsigned long* frames)
{
    ++counts_[14];
    return PlainBuffer::GetLengthInSampleFrames(frames);
}

int TallyBuffer::SetFadeIn(bool fadeIn)
{
    ++counts_[15];
    return PlainBuffer::SetFadeIn(fadeIn);
}

int TallyBuffer::SetFadeOut(bool fadeOut)
{
    ++counts_[16];
    return PlainBuffer::SetFadeOut(fadeOut);
}

int TallyBuffer::SetLength(unsigned long length)
{
    ++counts_[17];
    return PlainBuffer::SetLength(length);
}

TallySet::TallySet(const Side& side)
{
    for (std::byte* plane : side.planes) {
        buffers_.push_back(std::make_unique<TallyBuffer>(FormatOf(side.sample, side.channelsOfPlane), plane,
                                                         side.PlaneBytes(), side.PlaneBytes()));
        pointers_.push_back(buffers_.back().get());
    }
}

std::vector<TallyBuffer::Tally> TallySet::Take()
{
    std::vector<TallyBuffer::Tally> tallies;
    for (const auto& buffer : buffers_) {
        tallies.push_back(buffer->Counts());
        buffer->Clear();
    }
    return tallies;
}

std::optional<std::string> CompareCalls(TallySet& first, TallySet& second, const std::function<void()>& engine,
                                        const std::function<void()>& byHand)
{
    engine();
    const auto engines = std::pair(first.Take(), second.Take());
    byHand();
    if (engines != std::pair(first.Take(), second.Take())) {
        return "the engine makes other host calls than the yardstick";
    }
    return std::nullopt;
}

Contender MakeCallsAlone(Job byHand, Check check)
{
    return MakeContender("host calls alone", Role::Calls, std::move(byHand), std::move(check));
}

} // namespace bench
