#include "tools/ztaudio/conversion.h"

#include "tools/ztaudio/padded_buffer.h"

#include <algorithm>
#include <cstring>

namespace {

// The engine does not convert 16-in-16 or floating point to 24-in-24 in one step; 24-in-32 loses nothing between them.
std::vector<SampleFormat> PlainFormats(SampleFormat from, SampleFormat to)
{
    if (to == SampleFormat::Pcm24In24 && from != SampleFormat::Pcm24In32) {
        return {from, SampleFormat::Pcm24In32, to};
    }
    return {from, to};
}

// Fades exist for 16-in-16 and 24-in-32.
SampleFormat FadedFormat(SampleFormat to)
{
    return to == SampleFormat::Pcm16 ? to : SampleFormat::Pcm24In32;
}

std::vector<SampleFormat> FadedFormats(SampleFormat from, SampleFormat to)
{
    std::vector<SampleFormat> formats = {from, FadedFormat(to)};
    if (to != formats.back()) {
        formats.push_back(to);
    }
    return formats;
}

} // namespace

Conversion::Conversion(EngineSession& engine, SampleFormat from, SampleFormat to, std::uint32_t channels,
                       sf_count_t maxFrames, bool hasFades, OverloadCounter& overloads)
    : engine_(engine), channels_(channels), overloads_(overloads), plain_(MakeChain(PlainFormats(from, to), maxFrames))
{
    if (hasFades) {
        faded_ = MakeChain(FadedFormats(from, to), maxFrames);
        fader_.emplace(engine, FadedFormat(to), channels, maxFrames);
    }
}

Conversion::Chain Conversion::MakeChain(std::vector<SampleFormat> formats, sf_count_t maxFrames) const
{
    Chain chain;
    for (const SampleFormat format : formats) {
        chain.buffers.push_back(MakeBuffer(WaveFormat(format, 1), maxFrames * channels_));
    }
    chain.formats = std::move(formats);
    return chain;
}

const std::byte* Conversion::Run(const Block& block)
{
    const bool hasFade = block.fadeIn || block.fadeOut;
    const Chain& chain = hasFade ? faded_ : plain_;
    const std::size_t samples = static_cast<std::size_t>(block.frames) * channels_;
    zta::host::AudioBuffer& first = *chain.buffers.front();
    if (samples == 0) {
        return first.Data();
    }
    if (block.samples != first.Data()) {
        std::memmove(first.Data(), block.samples, samples * BytesOf(chain.formats[0])); // may be a part of Input()
    }
    first.SetValidLength(samples * BytesOf(chain.formats[0]));
    for (std::size_t step = 1; step < chain.buffers.size(); ++step) {
        if (chain.formats[step - 1] == SampleFormat::Float32 && chain.formats[step] != SampleFormat::Float32) {
            overloads_.Prepare({reinterpret_cast<float*>(chain.buffers[step - 1]->Data()), samples},
                               chain.formats[step]);
        }
        engine_.Copy(*chain.buffers[step - 1], *chain.buffers[step]);
        if (hasFade && step == 1) {
            fader_->Run(chain.buffers[step]->Data(), block.frames, block.fadeIn, block.fadeOut);
        }
    }
    return chain.buffers.back()->Data();
}
