#include "tools/ztvalidate/pool_host.h"

#include "host/formats.h"
#include "host/recording_host.h"

#include <zta/status.h>

#include <new>

#include <sys/mman.h>

namespace zta::validate {

namespace {

void* MapMemory(std::size_t size)
{
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

PoolBuffer::PoolBuffer(std::string name, const SZtCreateAudioSamplesDescription& request)
    : AudioBuffer(request.sWaveFormat, 0), name_(std::move(name)), memory_(MapMemory(request.ui64BufferSize)),
      size_(request.ui64BufferSize)
{
    SetFades(request.bFadeIn, request.bFadeOut);
    AudioBuffer::SetPolarity(request.ePolarity);
}

PoolBuffer::~PoolBuffer()
{
    munmap(memory_, size_);
}

int PoolBuffer::GetBufferAndLength(void** data, unsigned long* lengthBytes)
{
    *data = memory_;
    *lengthBytes = validLength_;
    return ZT_NOERROR;
}

int PoolBuffer::GetBufferCapacity(unsigned long* capacityBytes)
{
    *capacityBytes = size_;
    return ZT_NOERROR;
}

int PoolBuffer::GetLengthInSampleFrames(unsigned long* frames)
{
    const std::size_t frameBytes = host::BytesPerFrame(Description().sWaveFormat);
    *frames = frameBytes == 0 ? 0 : validLength_ / frameBytes;
    return ZT_NOERROR;
}

int PoolBuffer::SetLength(unsigned long lengthBytes)
{
    if (lengthBytes > size_) {
        return ZT_E_INVALID_PARAMETER;
    }
    validLength_ = lengthBytes;
    return ZT_NOERROR;
}

int PoolHost::QueryInterface(const _GUID& /*riid*/, void** ppv)
{
    *ppv = nullptr;
    return E_NOINTERFACE;
}

int PoolHost::CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples)
{
    requests_.push_back(*description);
    if (CreationCount() == failingRequest_) {
        return host::kInjectedFailure;
    }
    auto* buffer = new PoolBuffer("pool buffer " + std::to_string(buffers_.size()), *description);
    buffers_.push_back(buffer);
    *samples = buffer;
    return ZT_NOERROR;
}

} // namespace zta::validate
