/// The scalar path, one output per step: filters with single-precision taps, and very long ones. The dot products that
/// it uses are exported.
#pragma once

#include "signal/fir_accumulators-inl.h"
#include "signal/functions.h"
#include "signal/resample_state-inl.h"
#include "signal/samples-inl.h"
#include "signal/variant_name-inl.h"

#include <cstdint>

#include <immintrin.h>

/// The variants up to SSSE3 and the later ones have different names for the 16-bit dot product, and round that of
/// single-precision taps differently.
#if defined(__SSE4_2__)
#define ZTA_IPP_DOT_PRODUCT ZTA_IPP(ownDotProd16_16s64s)
#else
#define ZTA_IPP_DOT_PRODUCT ZTA_IPP(ownDotProd16_16s64s_M7)
#endif

extern "C" void ZTA_IPP_DOT_PRODUCT(const std::int16_t* pSamples, const std::int16_t* pTaps, std::int64_t* pResult,
                                    int n) noexcept
{
    constexpr int kBlockTaps = 2 * Int48Accumulator::kMaxPairs / FirSimd::kTapsPerVector * FirSimd::kTapsPerVector;
    std::int64_t llSum = 0;
    for (; n > 0 && n % 4 != 0; --n) {
        llSum += std::int64_t{AtAnyAddress(pSamples)[n - 1]} * AtAnyAddress(pTaps)[n - 1];
    }
    while (n > 0) {
        const int iTaps = n < kBlockTaps ? n : kBlockTaps;
        Int48Accumulator sSums{};
        AccumulateProducts(sSums, 0, pSamples, pTaps, iTaps);
        llSum += sSums.FirstSum();
        pSamples += iTaps;
        pTaps += iTaps;
        n -= iTaps;
    }
    *pResult = llSum;
}

#if defined(__SSE4_2__)
/// Products are rounded to float, except those of the last pair and of the last single sample.
extern "C" void ZTA_IPP(ownsDotProd_16s32f64f)(const std::int16_t* pSamples, const float* pTaps, int n,
                                               double* pResult) noexcept
{
    const UnalignedSample* const psSamples = AtAnyAddress(pSamples);
    const UnalignedFloat* const pfTaps = AtAnyAddress(pTaps);
    double adSums[4] = {};
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        for (int k = 0; k < 4; ++k) {
            adSums[k] += static_cast<double>(static_cast<float>(psSamples[i + k]) * pfTaps[i + k]);
        }
    }
    if (i + 2 <= n) {
        adSums[0] += static_cast<double>(psSamples[i]) * static_cast<double>(pfTaps[i]);
        adSums[1] += static_cast<double>(psSamples[i + 1]) * static_cast<double>(pfTaps[i + 1]);
        i += 2;
    }
    if (i < n) {
        adSums[0] += static_cast<double>(psSamples[i]) * static_cast<double>(pfTaps[i]);
    }
    *pResult = (adSums[0] + adSums[2]) + (adSums[1] + adSums[3]);
}
#endif

namespace {

double DotProductFloat(const std::int16_t* psSamples, const void* pTaps, int iTaps)
{
    const float* pfTaps = static_cast<const float*>(pTaps);
#if defined(__SSE4_2__)
    double dSum;
    ZTA_IPP(ownsDotProd_16s32f64f)(psSamples, pfTaps, iTaps, &dSum);
    return dSum;
#else
    double adSums[2] = {};
    for (int i = 0; i < iTaps; ++i) {
        adSums[i % 2] += static_cast<double>(static_cast<float>(AtAnyAddress(psSamples)[i]) * AtAnyAddress(pfTaps)[i]);
    }
    return static_cast<double>(static_cast<float>(adSums[0] + adSums[1]));
#endif
}

double DotProductInt64(const std::int16_t* psSamples, const void* pTaps, int iTaps)
{
    std::int64_t llSum;
    ZTA_IPP_DOT_PRODUCT(psSamples, static_cast<const std::int16_t*>(pTaps), &llSum, iTaps);
    return static_cast<double>(llSum);
}

std::int16_t RoundToInt16(double dValue)
{
    // NaN gives -32768, as in the vectors.
    const double dClamped = dValue > 32767.0 ? 32767.0 : dValue < -32768.0 ? -32768.0 : dValue;
    const __m128i vWord = _mm_cvtsi32_si128(_mm_cvttsd_si32(_mm_set_sd(dClamped + (dClamped >= 0.0 ? 0.5 : -0.5))));
    return static_cast<std::int16_t>(_mm_cvtsi128_si32(_mm_packs_epi32(vWord, vWord)));
}

template <typename DotProduct>
void ResampleScalarWith(SResampleState sState, DotProduct fnDotProduct)
{
    const unsigned int uiPhaseStep = PhaseStep(*sState.psFilter);
    for (; sState.lCount > 0; --sState.lCount) {
        const double dSum = fnDotProduct(sState.psSource, sState.psFilter->pRows[sState.uiPhase],
                                         sState.TapCount() + (sState.uiPhase == 0 ? 1 : 0));
        *AtAnyAddress(sState.psOutput++) = RoundToInt16(dSum * sState.dGain);
        sState.psSource += sState.psFilter->pStep[sState.uiPhase];
        sState.uiPhase = sState.PhaseAhead(uiPhaseStep);
    }
}

void ResampleScalar(const SResampleState& rsState)
{
    if (HasFloatTaps(*rsState.psFilter)) {
        ResampleScalarWith(rsState, DotProductFloat);
    } else {
        ResampleScalarWith(rsState, DotProductInt64);
    }
}

} // namespace
