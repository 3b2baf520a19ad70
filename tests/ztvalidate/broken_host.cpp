// A host's plugin on the reference buffers that breaks the one thing that its file's name tells.

#include "host/audio_buffer.h"
#include "host/formats.h"
#include "tests/ztvalidate/fault.h"

#include <zta/host_plugin.h>
#include <zta/status.h>

#include <cstdlib>
#include <cstring>

namespace {

const std::string& Fault()
{
    static const std::string fault = FaultOf(reinterpret_cast<const void*>(&Fault));
    return fault;
}

bool Is(const char* fault)
{
    return Fault() == fault;
}

/// The memory that all buffers share where they should not.
unsigned char g_shared[2000000];

class BrokenBuffer : public zta::host::AudioBuffer {
public:
    explicit BrokenBuffer(const SZtCreateAudioSamplesDescription& request)
        : AudioBuffer(request.sWaveFormat, Is("buffer.capacity") ? request.ui64BufferSize / 2 : request.ui64BufferSize)
    {
        if (Is("buffer.description")) {
            SetFormat(zta::host::Pcm16(2));
        } else if (Is("buffer.error-code")) {
            AudioBuffer::SetErrorCode(ZT_E_FAIL);
        }
    }

    int QueryInterface(const _GUID& riid, void** ppv) override
    {
        if (Is("buffer.content") && std::memcmp(&riid, &IID_IZtAVContent, sizeof(riid)) == 0) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        const int status = AudioBuffer::QueryInterface(riid, ppv);
        if (status < 0 && Is("buffer.query")) {
            *ppv = this;
        } else if (status >= 0 && Is("buffer.references")) {
            AudioBuffer::AddRef();
        }
        return status;
    }
    unsigned long AddRef() override
    {
        const unsigned long count = AudioBuffer::AddRef();
        return Is("buffer.references~untold") ? 1 : count;
    }
    int SetErrorCode(int code) override
    {
        return Is("buffer.error-code~kept") ? ZT_NOERROR : AudioBuffer::SetErrorCode(code);
    }
    int SetPolarity(std::uint32_t polarity) override
    {
        return AudioBuffer::SetPolarity(Is("buffer.polarity") ? polarity & 0xFF : polarity);
    }
    int SetWaveFormat(SZtaWaveFormatInfo* format) override
    {
        if (Is("buffer.format")) {
            SetValidLength(0);
        } else if (Is("buffer.independence")) {
            g_shared[0] = 1;
        }
        return AudioBuffer::SetWaveFormat(format);
    }
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override
    {
        const int status = AudioBuffer::GetAudioSamplesDescription(description);
        if (Is("buffer.independence") && g_shared[0] != 0) {
            description->ePolarity = 77;
        }
        return status;
    }
    int GetBufferAndLength(void** data, unsigned long* length) override
    {
        const int status = AudioBuffer::GetBufferAndLength(data, length);
        if (Is("host.pool")) {
            *data = g_shared;
        } else if (Is("buffer.alignment")) {
            *data = static_cast<char*>(*data) + 4;
        } else if (Is("buffer.memory")) {
            *data = ++calls_ == 1 ? *data : g_shared;
        } else if (Is("crashes")) {
            std::abort();
        }
        return status;
    }
    int GetLengthInSampleFrames(unsigned long* frames) override
    {
        const int status = AudioBuffer::GetLengthInSampleFrames(frames);
        *frames += Is("buffer.frames") ? 1 : 0;
        return status;
    }
    int SetFadeOut(bool fadeOut) override
    {
        return Is("buffer.fades") ? AudioBuffer::SetFadeIn(fadeOut) : AudioBuffer::SetFadeOut(fadeOut);
    }
    int SetLength(unsigned long length) override
    {
        return AudioBuffer::SetLength(Is("buffer.length") ? length & ~3UL : length);
    }
    int SignalReadCompletion() override
    {
        return Is("buffer.read-signals") ? ZT_NOERROR : AudioBuffer::SignalReadCompletion();
    }
    int SignalWriteCompletion() override
    {
        const int status = AudioBuffer::SignalWriteCompletion();
        return Is("buffer.write-signals") ? ZT_FALSE : status;
    }

private:
    int calls_ = 0;
};

BrokenBuffer& Of(IZtAudioSamples* samples)
{
    return *static_cast<BrokenBuffer*>(samples);
}

} // namespace

extern "C" {

int ZtaHostCreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples)
{
    if (Is("host.loads")) {
        return ZT_E_FAIL;
    }
    *samples = new BrokenBuffer(*description);
    if (Is("host.record")) {
        description->ui64BufferSize = 0;
    }
    return ZT_NOERROR;
}

int ZtaHostAnnounceRead(IZtAudioSamples* samples)
{
    Of(samples).AnnounceRead();
    return ZT_NOERROR;
}

int ZtaHostAnnounceWrite(IZtAudioSamples* samples)
{
    Of(samples).AnnounceWrite();
    return ZT_NOERROR;
}

int ZtaHostGetOpenAccesses(IZtAudioSamples* samples, unsigned long* reads, unsigned long* writes)
{
    *reads = static_cast<unsigned long>(Of(samples).ReadCount());
    *writes = static_cast<unsigned long>(Of(samples).WriteCount());
    return ZT_NOERROR;
}

} // extern "C"
