/// The accumulators of dot products with 16-bit taps. Accumulation is exact, so the order of summation does not matter.
///
/// The multiply-add of a pair of samples is exact in 32 bits unless both taps and both samples are -32768, and no
/// filter has a tap above 16384 in magnitude.
#pragma once

#include "signal/samples-inl.h"

#if defined(__AVX2__)
#include "signal/fir_simd_avx2-inl.h"
#else
#include "signal/fir_simd_sse2-inl.h"
#endif

#include <cstdint>

namespace {

/// Accumulates in 32 bits, for filters whose taps have magnitudes of at most kMaxTapSum in total: with samples of up to
/// 32768 no partial sum reaches 2^31.
struct Int32Accumulator {
    static constexpr int kMaxTapSum = 65535;

    FirSimd::IntVector avSums[FirSimd::kParallelOutputs];

    void Add(int k, FirSimd::IntVector vPairs) { avSums[k] = FirSimd::Add(avSums[k], vPairs); }
    FirSimd::VecF64 SumsAsDoubles() const { return FirSimd::ToDoubles(FirSimd::HorizontalSums(avSums)); }
};

/// Accumulates up to 32767 pairs in 48 bits. A pair is 65536 * high + low, with 0 <= low < 65536. The high halves are
/// summed separately and cannot exceed 2^30; the sum of the pairs wraps. That sum less 65536 * the sum of the high
/// halves is the sum of the low halves. It is below 32767 * 65536, so the wrapped difference is exact.
struct Int48Accumulator {
    static constexpr int kMaxPairs = 32767;

    FirSimd::IntVector avSums[FirSimd::kParallelOutputs];
    FirSimd::IntVector avHigh[FirSimd::kParallelOutputs];

    void Add(int k, FirSimd::IntVector vPairs)
    {
        avSums[k] = FirSimd::Add(avSums[k], vPairs);
        avHigh[k] = FirSimd::Add(avHigh[k], FirSimd::HighHalves(vPairs));
    }

    FirSimd::VecF64 SumsAsDoubles() const
    {
        const FirSimd::Sums vHigh = FirSimd::HorizontalSums(avHigh);
        const FirSimd::Sums vLow = FirSimd::LowHalves(FirSimd::HorizontalSums(avSums), vHigh);
        return FirSimd::MulAdd(FirSimd::ToDoubles(vHigh), 65536.0, FirSimd::ToDoubles(vLow));
    }

    std::int64_t FirstSum() const
    {
        const FirSimd::Sums vHigh = FirSimd::HorizontalSums(avHigh);
        int aiHigh[FirSimd::kParallelOutputs];
        int aiLow[FirSimd::kParallelOutputs];
        FirSimd::Store(vHigh, aiHigh);
        FirSimd::Store(FirSimd::LowHalves(FirSimd::HorizontalSums(avSums), vHigh), aiLow);
        return std::int64_t{aiHigh[0]} * 65536 + aiLow[0];
    }
};

/// Loads one vector of taps or samples, or a smaller multiple of four.
inline FirSimd::IntVector LoadTaps(const std::int16_t* ps, int iCount)
{
    return iCount >= FirSimd::kTapsPerVector ? FirSimd::Load(ps) : FirSimd::LoadPartial(ps, iCount);
}

/// Adds the products of one phase to accumulator k. The count of taps is a multiple of four.
template <typename Accumulator>
inline void AccumulateProducts(Accumulator& rsSums, int k, const std::int16_t* psSamples, const std::int16_t* psTaps,
                               int iTaps)
{
    for (int i = 0; i < iTaps; i += FirSimd::kTapsPerVector) {
        rsSums.Add(k, FirSimd::MulAddPairs(LoadTaps(psTaps + i, iTaps - i), LoadTaps(psSamples + i, iTaps - i)));
    }
}

} // namespace
