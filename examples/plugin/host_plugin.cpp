// A plugin for `ztvalidate --host` with the buffers of the reference host. Replace them with yours.

#include <zta/host/audio_buffer.h>
#include <zta/host/host_engine.h>
#include <zta/host_plugin.h>
#include <zta/status.h>

namespace {

zta::host::AudioBuffer& Buffer(IZtAudioSamples* samples)
{
    return *static_cast<zta::host::AudioBuffer*>(samples);
}

} // namespace

int ZtaHostCreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples)
{
    return zta::host::HostEngine::Create()->CreateAudioSamples(description, samples);
}

int ZtaHostAnnounceRead(IZtAudioSamples* samples)
{
    Buffer(samples).AnnounceRead();
    return ZT_NOERROR;
}

int ZtaHostAnnounceWrite(IZtAudioSamples* samples)
{
    Buffer(samples).AnnounceWrite();
    return ZT_NOERROR;
}

int ZtaHostGetOpenAccesses(IZtAudioSamples* samples, unsigned long* reads, unsigned long* writes)
{
    *reads = static_cast<unsigned long>(Buffer(samples).ReadCount());
    *writes = static_cast<unsigned long>(Buffer(samples).WriteCount());
    return ZT_NOERROR;
}
