/// A host whose calls cost next to nothing, so that the engine is measured and not the host: buffers over memory of the
/// benchmark's own, plain counts instead of atomic ones, no clock.
#pragma once

#include "bench/common/test_signal.h"
#include "host/module.h"

#include <zta/host_interfaces.h>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// The second base of an InstrumentedBuffer, beside host::AudioBuffer: atomic counts and memory of its own would be
/// measured with the engine.
class PlainBuffer : public IZtAudioSamples {
public:
    PlainBuffer(const SZtaWaveFormatInfo& format, std::byte* data, std::size_t capacity, std::size_t length);
    virtual ~PlainBuffer() = default;
    PlainBuffer(const PlainBuffer&) = delete;
    PlainBuffer& operator=(const PlainBuffer&) = delete;

    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override { return ++references_; }
    unsigned long Release() override { return --references_; }
    int MarkWriteStartTime() override { return 0; }
    int MarkWriteStopTime() override { return 0; }
    int SignalReadCompletion() override { return 0; }
    int SignalWriteCompletion() override { return 0; }
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

    std::byte* Data() const { return data_; }
    std::size_t Length() const { return length_; }

private:
    unsigned long references_ = 1;
    SZtAudioSamplesDescription description_{};
    std::byte* data_;
    std::size_t capacity_;
    std::size_t length_;
    int error_ = 0;
};

/// The planes of a layout as buffers of a host. The layout in memory is measured, so the comparisons create their
/// buffers themselves instead of by testing/operations.h.
class BufferSet {
public:
    explicit BufferSet(const BufferLayout& layout, std::uint32_t rate = 48000);

    IZtAudioSamples* One() const { return buffers_.front().get(); }
    PlainBuffer& First() const { return *buffers_.front(); }
    IZtAudioSamples** Array() { return pointers_.data(); }
    unsigned long Count() const { return pointers_.size(); }
    void RequestFades(bool in, bool out);

private:
    std::vector<std::unique_ptr<PlainBuffer>> buffers_;
    std::vector<IZtAudioSamples*> pointers_;
    std::shared_ptr<Memory> memory_;
};

/// An engine whose pool has the given placement.
class Engine {
public:
    Engine(zta::host::Module& module, Placement placement);
    ~Engine();

    IZtaAudioSamplesEngine* operator->() const { return engine_.Get(); }
    IZtaAudioSamplesEngine& Get() const { return *engine_; }

    /// Throws with the engine's text for a status that is a failure.
    void Require(int status) const
    {
        if (status < 0) {
            ThrowFailure(status);
        }
    }

private:
    class Pool;
    [[noreturn]] void ThrowFailure(int status) const;

    zta::host::Module& module_;
    std::unique_ptr<Pool> pool_;
    zta::host::Ref<IZtaAudioSamplesEngine> engine_;
};

} // namespace bench
