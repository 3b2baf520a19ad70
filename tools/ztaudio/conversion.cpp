#include "tools/ztaudio/conversion.h"

#include "host/formats.h"
#include "tools/common/failure.h"

#include <zta/status.h>

#include <cstring>

namespace host = zta::host;

namespace {

// The engine has no step between 16-in-16 or floating point and 24-in-24: 24-in-32 lies between them, without loss.
std::vector<SampleFormat> PlainRoad(SampleFormat from, SampleFormat to)
{
    if (to == SampleFormat::Pcm24In24 && from != SampleFormat::Pcm24In32) {
        return {from, SampleFormat::Pcm24In32, to};
    }
    return {from, to};
}

// The fade runs in the first step. Where that step led from 24-in-32 to a word that takes no fades, the engine would
// fade a stage copy whose length is that of its last use; so such a road begins with a copy of its own.
std::vector<SampleFormat> FadedRoad(SampleFormat from, SampleFormat to)
{
    if (from == SampleFormat::Pcm24In32 && (to == SampleFormat::Pcm24In24 || to == SampleFormat::Float32)) {
        return {from, from, to};
    }
    return PlainRoad(from, to);
}

// Of other buffers the engine may report a fade as done and give nothing.
bool TakesFades(std::uint32_t channels, std::uint32_t rate)
{
    return rate == host::kDefaultRate &&
           (channels == 1 || channels == 2 || channels == 4 || channels == 8 || channels == 16);
}

} // namespace

Conversion::Conversion(EngineSession& engine, SampleFormat from, SampleFormat to, std::uint32_t channels,
                       std::uint32_t rate, sf_count_t maxFrames, bool fades)
    : engine_(engine)
{
    const auto build = [&](const std::vector<SampleFormat>& words) {
        BufferChain road;
        for (const SampleFormat word : words) {
            const SZtaWaveFormatInfo format = WaveFormat(word, channels, rate);
            road.push_back(
                host::AudioBuffer::Create(format, static_cast<std::size_t>(maxFrames) * host::BytesPerFrame(format)));
        }
        return road;
    };
    plain_ = build(PlainRoad(from, to));
    ProcessChain(plain_, {});
    if (fades) {
        faded_ = build(FadedRoad(from, to));
        if (!TakesFades(channels, rate)) {
            engine.Refuse(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, {{faded_.front().Get()}}, {{faded_.back().Get()}});
        }
        ProcessChain(faded_, {.fadeIn = true, .fadeOut = true});
    }
}

const std::byte* Conversion::Run(const Block& block)
{
    const BufferChain& road = block.fadeIn || block.fadeOut ? faded_ : plain_;
    ProcessChain(road, block);
    return road.back()->Data();
}

void Conversion::ProcessChain(const BufferChain& road, const Block& block)
{
    host::AudioBuffer& first = *road.front();
    const std::size_t bytes =
        static_cast<std::size_t>(block.frames) * host::BytesPerFrame(first.Description().sWaveFormat);
    if (bytes != 0) {
        std::memcpy(first.Data(), block.words, bytes);
    }
    first.SetValidLength(bytes);
    first.SetFades(block.fadeIn, block.fadeOut);
    for (std::size_t step = 1; step < road.size(); ++step) {
        engine_.Copy(*road[step - 1], *road[step]);
    }
}
