/// The fades: an op for each sample format, a scalar loop over frames, and a loop over vectors.
///
/// An op has an overload for a single word, which defines it, and one for vectors.
#pragma once

#include "kernels/loops/simd_scalar-inl.h"

#include <cstddef>
#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// A 16-bit sample. The product rounds towards minus infinity.
struct Int16 {
    using Word = std::uint16_t;
    using Gain = std::uint16_t;

    static Word Apply(Word usSample, Gain usGain)
    {
        return static_cast<Word>(static_cast<std::int16_t>(usSample) * usGain >> 15);
    }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> vSamples, VecU32<Simd> vGains)
    {
        return Simd::MulGain16(vSamples, vGains);
    }
};

/// A 16-bit stereo frame as one word, the left sample in the low half. Required behavior: bit 31 of the left product is
/// ORed into the lowest bit of the right sample, which is 1 if the left product is negative. Gains are at most 32767.
struct StereoInt16 {
    using Word = std::uint32_t;
    using Gain = std::uint16_t;

    static Word Apply(Word ulFrame, Gain usGain)
    {
        const std::int32_t iLeft = static_cast<std::int16_t>(ulFrame) * usGain;
        const std::int32_t iRight = static_cast<std::int16_t>(ulFrame >> 16) * usGain;
        return (static_cast<Word>(iRight) >> 15 << 16) | (static_cast<Word>(iLeft) >> 15);
    }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> vFrames, VecU32<Simd> vGains)
    {
        const VecU32<Simd> vFaded = Simd::MulGain16(vFrames, vGains);
        return vFaded | (vFaded & 0x8000) << 1;
    }
};

/// A 24-in-32 sample with a 64-bit product. Bit 0 of the result is always 0.
struct Int24In32 {
    using Word = std::uint32_t;
    using Gain = std::uint32_t;

    static Word Apply(Word ulWord, Gain ulGain)
    {
        const std::int64_t iProduct =
            std::int64_t{static_cast<std::int32_t>(ulWord)} * static_cast<std::int32_t>(ulGain);
        return static_cast<Word>(iProduct >> 32) << 1;
    }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> vWords, VecU32<Simd> vGains)
    {
        return Simd::MulHigh32(vWords, vGains) << 1;
    }
};

/// A 24-in-32 sample of a mux buffer, with separate products of its 16-bit halves; low bits can differ from Int24In32.
/// The low byte is included. Sums wrap.
struct MuxInt24In32 {
    using Word = std::uint32_t;
    using Gain = std::uint32_t;

    static Word Apply(Word ulWord, Gain ulGain) { return Apply<Scalar>(ulWord, ulGain); }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> w, VecU32<Simd> vGains)
    {
        const VecU32<Simd> vLow = (w >> 1 & 0x7FFF) * vGains;
        return (Simd::ShiftRightArithmetic(w, 16) * vGains + Simd::ShiftRightArithmetic(vLow, 15)) << 1;
    }
};

/// Fades frames of ulWords words. The gain of frame n is pGains[n * iStep].
template <class Op>
void FadeScalar(std::uint8_t* pucWord, unsigned long ulWords, unsigned long ulFrames, const typename Op::Gain* pGains,
                std::ptrdiff_t iStep)
{
    for (unsigned long ulFrame = 0; ulFrame < ulFrames; ++ulFrame) {
        const typename Op::Gain gain = pGains[static_cast<std::ptrdiff_t>(ulFrame) * iStep];
        for (unsigned long i = 0; i < ulWords; ++i, pucWord += sizeof(typename Op::Word)) {
            typename Op::Word word;
            __builtin_memcpy(&word, pucWord, sizeof word);
            word = Op::Apply(word, gain);
            __builtin_memcpy(pucWord, &word, sizeof word);
        }
    }
}

/// Returns the number of processed frames: all; all but less than a vector; or none if a vector does not hold whole
/// frames with adjacent gains.
template <class Simd, class Op>
unsigned long FadeSimd(std::uint8_t* pucBuffer, unsigned long ulWords, unsigned long ulFrames,
                       const typename Op::Gain* pGains, std::ptrdiff_t iStep)
{
    constexpr unsigned long kWords = Simd::kLanes * 4 / sizeof(typename Op::Word);
    if ((iStep != 1 && iStep != -1) || ulWords == 0 || ulWords > kWords || (ulWords & (ulWords - 1)) != 0) {
        return 0;
    }
    // All are powers of two. A division would cost too much for a short fade.
    const unsigned long ulFramesOfVector = kWords >> __builtin_ctzl(ulWords);
    const typename Simd::template GainLoader<typename Op::Gain> oLoader(ulWords * sizeof(typename Op::Word), iStep < 0);
    unsigned long ulFrame = 0;
    // The first address of the gains of a vector.
    const auto GetFirstGain = [=](unsigned long i) {
        return iStep > 0 ? pGains + i : pGains - (i + ulFramesOfVector - 1);
    };
    for (; ulFrame + ulFramesOfVector <= ulFrames; ulFrame += ulFramesOfVector) {
        const VecU32<Simd> vWords = Simd::template Load<4>(pucBuffer);
        Simd::template Store<4>(pucBuffer, Op::template Apply<Simd>(vWords, oLoader.Load(GetFirstGain(ulFrame))));
        pucBuffer += Simd::kLanes * 4;
    }
    if constexpr (Simd::kHasMaskedAccess) {
        if (ulFrame < ulFrames) {
            const unsigned long ulBytes = (ulFrames - ulFrame) * ulWords * sizeof(typename Op::Word);
            const VecU32<Simd> vGains = oLoader.LoadPartialGains(GetFirstGain(ulFrame), ulFrames - ulFrame);
            Simd::StorePartial(pucBuffer, ulBytes,
                               Op::template Apply<Simd>(Simd::LoadPartial(pucBuffer, ulBytes), vGains));
            return ulFrames;
        }
    }
    return ulFrame;
}

template <class Simd, class Op>
void Fade(void* pvBuffer, unsigned long ulWords, unsigned long ulFrames, const typename Op::Gain* pGains,
          std::ptrdiff_t iStep) noexcept
{
    auto* pucBuffer = static_cast<std::uint8_t*>(pvBuffer);
    unsigned long ulDone = 0;
    if constexpr (Simd::kLanes > 1) {
        ulDone = FadeSimd<Simd, Op>(pucBuffer, ulWords, ulFrames, pGains, iStep);
    }
    FadeScalar<Op>(pucBuffer + ulDone * ulWords * sizeof(typename Op::Word), ulWords, ulFrames - ulDone,
                   pGains + static_cast<std::ptrdiff_t>(ulDone) * iStep, iStep);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
