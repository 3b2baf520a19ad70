#include "tools/ztaudio/adaptation.h"

#include "host/formats.h"
#include "tools/common/failure.h"
#include "tools/ztaudio/padded_buffer.h"

void RequireChannels(const SampleSource& sound, const std::string& name)
{
    if (sound.Channels() > kMaxChannels) {
        throw Failure(name + ": has " + std::to_string(sound.Channels()) + " channels, and at most " +
                      std::to_string(kMaxChannels) + " are processed: select some of them with another program");
    }
}

void NoteAdaptation(const SampleSource& sound, const std::string& name, const Context& context)
{
    const bool hasRate = sound.Rate() == zta::host::kDefaultRate;
    const bool hasChannels = PaddedChannels(sound.Channels()) == sound.Channels();
    const bool hasFormat = sound.Format() != SampleFormat::Float32 || sound.Channels() <= 2;
    if (hasRate && hasChannels && hasFormat) {
        return;
    }
    const std::string format = zta::host::FormatName(WaveFormat(sound.Format(), sound.Channels(), sound.Rate()));
    context.Note(name + ": the engine has no operations for " + format +
                 "; the samples are processed as another format at 48000 Hz, and the output keeps rate and channels");
}
