/// A host engine whose buffers cost no time until they are used.
#pragma once

#include "host/audio_buffer.h"

#include <string>
#include <vector>

namespace zta::validate {

/// A buffer of the pool. The system maps its memory page by page at the first access: an engine creates 25 MB of
/// buffers, of which most checks use nothing.
class PoolBuffer : public host::AudioBuffer {
public:
    PoolBuffer(std::string name, const SZtCreateAudioSamplesDescription& request);

    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override;
    int GetBufferCapacity(unsigned long* capacityBytes) override;
    int GetLengthInSampleFrames(unsigned long* frames) override;
    int SetLength(unsigned long lengthBytes) override;

    [[nodiscard]] const std::string& Name() const { return name_; }

protected:
    ~PoolBuffer() override;

private:
    std::string name_;
    void* memory_;
    std::size_t size_;
    std::size_t validLength_ = 0;
};

/// Creates PoolBuffers, and records the requests.
class PoolHost : public IZtQuonEnginePrivate {
public:
    PoolHost() = default;
    virtual ~PoolHost() = default;

    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override;

    /// Makes request number `n` fail, counted from 1; 0 for none.
    void FailRequest(int n) { failingRequest_ = n; }

    /// The number of requested buffers.
    [[nodiscard]] int CreationCount() const { return static_cast<int>(requests_.size()); }
    [[nodiscard]] const std::vector<SZtCreateAudioSamplesDescription>& CreationRequests() const { return requests_; }
    /// The buffers, without references of their own: alive as long as the engine.
    [[nodiscard]] const std::vector<PoolBuffer*>& Buffers() const { return buffers_; }

private:
    int failingRequest_ = 0;
    std::vector<SZtCreateAudioSamplesDescription> requests_;
    std::vector<PoolBuffer*> buffers_;
};

} // namespace zta::validate
