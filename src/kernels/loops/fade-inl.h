/// The fades: an op for each sample format, a scalar loop over frames, and a loop over vectors.
///
/// An op has an overload for a single element, which defines it, and one for vectors.
#pragma once

#include "kernels/loops/simd_scalar-inl.h"

#include <cstddef>
#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// A 16-bit sample. The product rounds towards minus infinity.
struct Int16 {
    using Element = std::uint16_t;
    using Gain = std::uint16_t;

    static Element Apply(Element usSample, Gain usGain)
    {
        return static_cast<Element>(static_cast<std::int16_t>(usSample) * usGain >> 15);
    }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> vSamples, VecU32<Simd> vGains)
    {
        return Simd::MulGain16(vSamples, vGains);
    }
};

/// A 16-bit stereo frame as one element, the left sample in the low half. Gains are at most 32767. Required behavior:
/// bit 31 of the left product is ORed into the lowest bit of the right sample, which is then 1 if the left product is
/// negative.
struct StereoInt16 {
    using Element = std::uint32_t;
    using Gain = std::uint16_t;

    static Element Apply(Element ulFrame, Gain usGain)
    {
        const std::int32_t iLeft = static_cast<std::int16_t>(ulFrame) * usGain;
        const std::int32_t iRight = static_cast<std::int16_t>(ulFrame >> 16) * usGain;
        return (static_cast<Element>(iRight) >> 15 << 16) | (static_cast<Element>(iLeft) >> 15);
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
    using Element = std::uint32_t;
    using Gain = std::uint32_t;

    static Element Apply(Element ulSample, Gain ulGain)
    {
        const std::int64_t iProduct =
            std::int64_t{static_cast<std::int32_t>(ulSample)} * static_cast<std::int32_t>(ulGain);
        return static_cast<Element>(iProduct >> 32) << 1;
    }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> vSamples, VecU32<Simd> vGains)
    {
        return Simd::MulHigh32(vSamples, vGains) << 1;
    }
};

/// A 24-in-32 sample of a mux buffer, with separate products of its 16-bit halves; low bits can differ from Int24In32.
/// The low byte is included. Sums wrap.
struct MuxInt24In32 {
    using Element = std::uint32_t;
    using Gain = std::uint32_t;

    static Element Apply(Element ulSample, Gain ulGain) { return Apply<Scalar>(ulSample, ulGain); }

    template <class Simd>
    static VecU32<Simd> Apply(VecU32<Simd> vSamples, VecU32<Simd> vGains)
    {
        const VecU32<Simd> vLow = (vSamples >> 1 & 0x7FFF) * vGains;
        return (Simd::ShiftRightArithmetic(vSamples, 16) * vGains + Simd::ShiftRightArithmetic(vLow, 15)) << 1;
    }
};

/// Fades frames of ulElements elements. The gain of frame n is pGains[n * iStep].
template <class Op>
void FadeScalar(std::uint8_t* pucElement, unsigned long ulElements, unsigned long ulFrames,
                const typename Op::Gain* pGains, std::ptrdiff_t iStep)
{
    for (unsigned long ulFrame = 0; ulFrame < ulFrames; ++ulFrame) {
        const typename Op::Gain gain = pGains[static_cast<std::ptrdiff_t>(ulFrame) * iStep];
        for (unsigned long i = 0; i < ulElements; ++i, pucElement += sizeof(typename Op::Element)) {
            typename Op::Element element;
            __builtin_memcpy(&element, pucElement, sizeof element);
            element = Op::Apply(element, gain);
            __builtin_memcpy(pucElement, &element, sizeof element);
        }
    }
}

/// Fades by vectors and returns the number of processed frames: all; all but less than a vector; or none, if a vector
/// does not hold whole frames or the gains are not adjacent.
template <class Simd, class Op>
unsigned long FadeSimd(std::uint8_t* pucBuffer, unsigned long ulElements, unsigned long ulFrames,
                       const typename Op::Gain* pGains, std::ptrdiff_t iStep)
{
    constexpr unsigned long kElements = Simd::kLanes * 4 / sizeof(typename Op::Element);
    if ((iStep != 1 && iStep != -1) || ulElements == 0 || ulElements > kElements ||
        (ulElements & (ulElements - 1)) != 0) {
        return 0;
    }
    // All are powers of two. A division would cost too much for a short fade.
    const unsigned long ulFramesOfVector = kElements >> __builtin_ctzl(ulElements);
    const typename Simd::template GainLoader<typename Op::Gain> oLoader(ulElements * sizeof(typename Op::Element),
                                                                        iStep < 0);
    unsigned long ulFrame = 0;
    // The first address of the gains of a vector.
    const auto GetFirstGain = [=](unsigned long i) {
        return iStep > 0 ? pGains + i : pGains - (i + ulFramesOfVector - 1);
    };
    for (; ulFrame + ulFramesOfVector <= ulFrames; ulFrame += ulFramesOfVector) {
        const VecU32<Simd> vElements = Simd::template Load<4>(pucBuffer);
        Simd::template Store<4>(pucBuffer, Op::template Apply<Simd>(vElements, oLoader.Load(GetFirstGain(ulFrame))));
        pucBuffer += Simd::kLanes * 4;
    }
    if constexpr (Simd::kHasMaskedAccess) {
        if (ulFrame < ulFrames) {
            const unsigned long ulBytes = (ulFrames - ulFrame) * ulElements * sizeof(typename Op::Element);
            const VecU32<Simd> vGains = oLoader.LoadPartialGains(GetFirstGain(ulFrame), ulFrames - ulFrame);
            Simd::StorePartial(pucBuffer, ulBytes,
                               Op::template Apply<Simd>(Simd::LoadPartial(pucBuffer, ulBytes), vGains));
            return ulFrames;
        }
    }
    return ulFrame;
}

template <class Simd, class Op>
void Fade(void* pvBuffer, unsigned long ulElements, unsigned long ulFrames, const typename Op::Gain* pGains,
          std::ptrdiff_t iStep) noexcept
{
    auto* pucBuffer = static_cast<std::uint8_t*>(pvBuffer);
    unsigned long ulDone = 0;
    if constexpr (Simd::kLanes > 1) {
        ulDone = FadeSimd<Simd, Op>(pucBuffer, ulElements, ulFrames, pGains, iStep);
    }
    FadeScalar<Op>(pucBuffer + ulDone * ulElements * sizeof(typename Op::Element), ulElements, ulFrames - ulDone,
                   pGains + static_cast<std::ptrdiff_t>(ulDone) * iStep, iStep);
}

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
