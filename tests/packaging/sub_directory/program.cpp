#include <zta/host/audio_buffer.h>
#include <zta/host/formats.h>

int main()
{
    return zta::host::AudioBuffer::Create(zta::host::Pcm16(2), 64)->Capacity() == 64 ? 0 : 1;
}
