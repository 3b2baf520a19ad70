#pragma once

#include "kernels/loops/fade_gains.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The sample loops of the fades: one law of arithmetic for each kind of word, and one walk over the frames.
namespace fade_loops {

/// A 16-bit sample. The product rounds towards minus infinity.
struct Sample16 {
    using Word = std::int16_t;
    static constexpr auto& kGains = kausFadeGains16;

    static Word Apply(Word sSample, std::uint16_t usGain) { return static_cast<Word>(sSample * usGain >> 15); }
};

/// A 16-bit stereo frame as one word, the left sample in the low half. Bit 31 of the left product falls onto the lowest
/// bit of the right sample: it is 1 whenever the left product is negative. Hosts compare against these very bits.
struct StereoFrame16 {
    using Word = std::uint32_t;
    static constexpr auto& kGains = kausFadeGains16;

    static Word Apply(Word ulFrame, std::uint16_t usGain)
    {
        const std::int32_t iLeft = static_cast<std::int16_t>(ulFrame) * usGain;
        const std::int32_t iRight = static_cast<std::int16_t>(ulFrame >> 16) * usGain;
        return (static_cast<Word>(iRight) >> 15 << 16) | (static_cast<Word>(iLeft) >> 15);
    }
};

/// A 24-in-32 sample through a 64-bit product. Bit 0 of the result is always 0.
struct Word24In32 {
    using Word = std::uint32_t;
    static constexpr auto& kGains = kaulFadeGains32;

    static Word Apply(Word ulWord, std::uint32_t ulGain)
    {
        const std::int64_t iProduct =
            std::int64_t{static_cast<std::int32_t>(ulWord)} * static_cast<std::int32_t>(ulGain);
        return static_cast<Word>(iProduct >> 32) << 1;
    }
};

/// A 24-in-32 sample of a mux buffer, by its 16-bit halves in 32-bit lanes; low bits can differ from Word24In32. The
/// low byte takes part. Sums wrap.
struct MuxWord24In32 {
    using Word = std::uint32_t;
    static constexpr auto& kGains = kaulFadeGainsVector;

    static Word Apply(Word ulWord, std::uint32_t ulGain)
    {
        const auto ulHigh = static_cast<Word>(static_cast<std::int32_t>(ulWord) >> 16);
        const Word ulLow = (ulWord & 0xFFFF) >> 1;
        const auto iLowProduct = static_cast<std::int32_t>(ulLow * ulGain);
        return (ulHigh * ulGain + static_cast<Word>(iLowProduct >> 15)) << 1;
    }
};

/// Fades frames of `ulWords` words in place: frame n takes the gain n * iStep entries from pGains. Words may have any
/// alignment.
template <class Law, class Gain>
void Ramp(void* pvBuffer, unsigned long ulWords, unsigned long ulFrames, const Gain* pGains, std::ptrdiff_t iStep)
{
    using Word = typename Law::Word;
    auto* pbWord = static_cast<unsigned char*>(pvBuffer);
    for (unsigned long ulFrame = 0; ulFrame < ulFrames; ++ulFrame) {
        const Gain gain = pGains[static_cast<std::ptrdiff_t>(ulFrame) * iStep];
        for (unsigned long i = 0; i < ulWords; ++i, pbWord += sizeof(Word)) {
            Word word;
            std::memcpy(&word, pbWord, sizeof word);
            word = Law::Apply(word, gain);
            std::memcpy(pbWord, &word, sizeof word);
        }
    }
}

} // namespace fade_loops
