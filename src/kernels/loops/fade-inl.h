/// The fades: one law of arithmetic for each kind of word, one walk over the frames, and one over vectors of words.
///
/// A law has a form for a single word, which is its meaning, and one for vectors.
#pragma once

#include "kernels/loops/simd_scalar-inl.h"

#include <cstddef>
#include <cstdint>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

/// A 16-bit sample. The product rounds towards minus infinity.
struct Sample16 {
    using Word = std::uint16_t;
    using Gain = std::uint16_t;

    static Word Apply(Word usSample, Gain usGain)
    {
        return static_cast<Word>(static_cast<std::int16_t>(usSample) * usGain >> 15);
    }

    template <class T>
    static Words<T> Apply(Words<T> vSamples, Words<T> vGains)
    {
        return T::Fade16(vSamples, vGains);
    }
};

/// A 16-bit stereo frame as one word, the left sample in the low half. Bit 31 of the left product falls onto the lowest
/// bit of the right sample: it is 1 whenever the left product is negative. Hosts compare against these very bits. Gains
/// are at most 32767.
struct StereoFrame16 {
    using Word = std::uint32_t;
    using Gain = std::uint16_t;

    static Word Apply(Word ulFrame, Gain usGain)
    {
        const std::int32_t iLeft = static_cast<std::int16_t>(ulFrame) * usGain;
        const std::int32_t iRight = static_cast<std::int16_t>(ulFrame >> 16) * usGain;
        return (static_cast<Word>(iRight) >> 15 << 16) | (static_cast<Word>(iLeft) >> 15);
    }

    template <class T>
    static Words<T> Apply(Words<T> vFrames, Words<T> vGains)
    {
        const Words<T> vFaded = T::Fade16(vFrames, vGains);
        return vFaded | (vFaded & 0x8000) << 1;
    }
};

/// A 24-in-32 sample through a 64-bit product. Bit 0 of the result is always 0.
struct Word24In32 {
    using Word = std::uint32_t;
    using Gain = std::uint32_t;

    static Word Apply(Word ulWord, Gain ulGain)
    {
        const std::int64_t iProduct =
            std::int64_t{static_cast<std::int32_t>(ulWord)} * static_cast<std::int32_t>(ulGain);
        return static_cast<Word>(iProduct >> 32) << 1;
    }

    template <class T>
    static Words<T> Apply(Words<T> vWords, Words<T> vGains)
    {
        return T::UpperProduct(vWords, vGains) << 1;
    }
};

/// A 24-in-32 sample of a mux buffer, by its 16-bit halves in 32-bit lanes; low bits can differ from Word24In32. The
/// low byte takes part. Sums wrap.
struct MuxWord24In32 {
    using Word = std::uint32_t;
    using Gain = std::uint32_t;

    static Word Apply(Word ulWord, Gain ulGain) { return Apply<Scalar>(ulWord, ulGain); }

    template <class T>
    static Words<T> Apply(Words<T> w, Words<T> vGains)
    {
        const Words<T> vLow = (w >> 1 & 0x7FFF) * vGains;
        return (T::ShiftSigned(w, 16) * vGains + T::ShiftSigned(vLow, 15)) << 1;
    }
};

/// Frames of `ulWords` words, one gain each, from pGains on in steps of iStep.
template <class Law>
void FadeSingly(std::uint8_t* pucWord, unsigned long ulWords, unsigned long ulFrames, const typename Law::Gain* pGains,
                std::ptrdiff_t iStep)
{
    for (unsigned long ulFrame = 0; ulFrame < ulFrames; ++ulFrame) {
        const typename Law::Gain gain = pGains[static_cast<std::ptrdiff_t>(ulFrame) * iStep];
        for (unsigned long i = 0; i < ulWords; ++i, pucWord += sizeof(typename Law::Word)) {
            typename Law::Word word;
            __builtin_memcpy(&word, pucWord, sizeof word);
            word = Law::Apply(word, gain);
            __builtin_memcpy(pucWord, &word, sizeof word);
        }
    }
}

/// Returns the frames that it has done: all, or all but less than a vector of them, or none where a vector is not of
/// whole frames with neighbouring gains.
template <class T, class Law>
unsigned long FadeByVectors(std::uint8_t* pucBuffer, unsigned long ulWords, unsigned long ulFrames,
                            const typename Law::Gain* pGains, std::ptrdiff_t iStep)
{
    constexpr unsigned long kWords = T::kLanes * 4 / sizeof(typename Law::Word);
    if ((iStep != 1 && iStep != -1) || ulWords == 0 || ulWords > kWords || (ulWords & (ulWords - 1)) != 0) {
        return 0;
    }
    // All are powers of two: a fade is too short to divide.
    const unsigned long ulFramesOfVector = kWords >> __builtin_ctzl(ulWords);
    const typename T::template GainLoader<typename Law::Gain> oLoader(ulWords * sizeof(typename Law::Word), iStep < 0);
    unsigned long ulFrame = 0;
    // The lowest in memory of the gains of a vector's frames.
    const auto Lowest = [=](unsigned long i) { return iStep > 0 ? pGains + i : pGains - (i + ulFramesOfVector - 1); };
    for (; ulFrame + ulFramesOfVector <= ulFrames; ulFrame += ulFramesOfVector) {
        const Words<T> vWords = T::template Load<4>(pucBuffer);
        T::template Store<4>(pucBuffer, Law::template Apply<T>(vWords, oLoader.Load(Lowest(ulFrame))));
        pucBuffer += T::kLanes * 4;
    }
    if constexpr (T::kHasParts) {
        if (ulFrame < ulFrames) {
            const unsigned long ulBytes = (ulFrames - ulFrame) * ulWords * sizeof(typename Law::Word);
            const Words<T> vGains = oLoader.LoadFirst(Lowest(ulFrame), ulFrames - ulFrame);
            T::StorePart(pucBuffer, ulBytes, Law::template Apply<T>(T::LoadPart(pucBuffer, ulBytes), vGains));
            return ulFrames;
        }
    }
    return ulFrame;
}

template <class T, class Law>
void Fade(void* pvBuffer, unsigned long ulWords, unsigned long ulFrames, const typename Law::Gain* pGains,
          std::ptrdiff_t iStep) noexcept
{
    auto* pucBuffer = static_cast<std::uint8_t*>(pvBuffer);
    unsigned long ulDone = 0;
    if constexpr (T::kLanes > 1) {
        ulDone = FadeByVectors<T, Law>(pucBuffer, ulWords, ulFrames, pGains, iStep);
    }
    FadeSingly<Law>(pucBuffer + ulDone * ulWords * sizeof(typename Law::Word), ulWords, ulFrames - ulDone,
                    pGains + static_cast<std::ptrdiff_t>(ulDone) * iStep, iStep);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
