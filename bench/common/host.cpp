#include "bench/common/host.h"

#include <zta/status.h>

#include <cstring>
#include <stdexcept>

namespace bench {

PlainBuffer::PlainBuffer(const SZtaWaveFormatInfo& format, std::byte* data, std::size_t capacity, std::size_t length)
    : data_(data), capacity_(capacity), length_(length)
{
    description_.ulSize = sizeof description_;
    description_.sWaveFormat = format;
}

int PlainBuffer::QueryInterface(const _GUID& riid, void** ppv)
{
    for (const _GUID* known : {&IID_IZtAVContent, &IID_IZtAudioSamples, &IID_IUnknown}) {
        if (std::memcmp(&riid, known, sizeof riid) == 0) {
            *ppv = static_cast<IZtAudioSamples*>(this);
            AddRef();
            return ZT_NOERROR;
        }
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

int PlainBuffer::SetErrorCode(int code)
{
    error_ = code;
    return ZT_NOERROR;
}

int PlainBuffer::GetErrorCode(int* code)
{
    *code = error_;
    return ZT_NOERROR;
}

int PlainBuffer::SetPolarity(std::uint32_t polarity)
{
    description_.ePolarity = polarity;
    return ZT_NOERROR;
}

int PlainBuffer::SetWaveFormat(SZtaWaveFormatInfo* format)
{
    description_.sWaveFormat = *format;
    return ZT_NOERROR;
}

int PlainBuffer::GetAudioSamplesDescription(SZtAudioSamplesDescription* description)
{
    *description = description_;
    return ZT_NOERROR;
}

int PlainBuffer::GetBufferAndLength(void** data, unsigned long* length)
{
    *data = data_;
    *length = length_;
    return ZT_NOERROR;
}

int PlainBuffer::GetBufferCapacity(unsigned long* capacity)
{
    *capacity = capacity_;
    return ZT_NOERROR;
}

int PlainBuffer::GetLengthInSampleFrames(unsigned long* frames)
{
    const SZtaWaveFormatInfo& format = description_.sWaveFormat;
    *frames = length_ / (std::size_t{format.ulBitsPerSample >> 3} * format.ulChannels);
    return ZT_NOERROR;
}

int PlainBuffer::SetFadeIn(bool fadeIn)
{
    description_.bFadeIn = fadeIn;
    return ZT_NOERROR;
}

int PlainBuffer::SetFadeOut(bool fadeOut)
{
    description_.bFadeOut = fadeOut;
    return ZT_NOERROR;
}

int PlainBuffer::SetLength(unsigned long length)
{
    if (length > capacity_) {
        return ZT_E_INVALID_PARAMETER;
    }
    length_ = length;
    return ZT_NOERROR;
}

BufferSet::BufferSet(const BufferLayout& layout, std::uint32_t rate) : memory_(layout.memory)
{
    const SZtaWaveFormatInfo format = FormatOf(layout.sample, layout.channelsOfPlane, rate);
    for (std::byte* plane : layout.planes) {
        buffers_.push_back(std::make_unique<PlainBuffer>(format, plane, layout.PlaneBytes(), layout.PlaneBytes()));
        pointers_.push_back(buffers_.back().get());
    }
}

void BufferSet::RequestFades(bool in, bool out)
{
    for (IZtAudioSamples* buffer : pointers_) {
        buffer->SetFadeIn(in);
        buffer->SetFadeOut(out);
    }
}

/// Creates the buffers of one engine's pool and keeps them.
class Engine::Pool : public IZtQuonEnginePrivate {
public:
    explicit Pool(Placement placement)
        : placement_(placement), memory_(kBuffers * Memory::RequiredBytes(kBytes, placement))
    {
    }
    virtual ~Pool() = default;

    int QueryInterface(const _GUID&, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return 2; }
    unsigned long Release() override { return 1; }

    int CreateAudioSamples(SZtCreateAudioSamplesDescription* request, IZtAudioSamples** samples) override
    {
        buffers_.push_back(std::make_unique<PlainBuffer>(
            request->sWaveFormat, memory_.Allocate(request->ui64BufferSize, placement_), request->ui64BufferSize, 0));
        *samples = buffers_.back().get();
        return ZT_NOERROR;
    }

private:
    static constexpr std::size_t kBuffers = 131;
    static constexpr std::size_t kBytes = 192000;

    Placement placement_;
    Memory memory_;
    std::vector<std::unique_ptr<PlainBuffer>> buffers_;
};

Engine::Engine(zta::host::Module& module, Placement placement)
    : module_(module), pool_(std::make_unique<Pool>(placement)), engine_(module.CreateEngine(*pool_))
{
}

Engine::~Engine() = default;

void Engine::ThrowFailure(int status) const
{
    throw std::runtime_error("the engine failed: " + module_.ErrorText(status));
}

} // namespace bench
