/// The vectors of the vector path with SSE2: eight taps in the lanes, four outputs in parallel.
#pragma once

#include <cstdint>

#include <immintrin.h>

namespace {

struct FirSimd {
    static constexpr int kTapsPerVector = 8;
    static constexpr int kParallelOutputs = 4;
    using IntVector = __m128i; ///< taps, samples, or sums of 32 bits
    using Sums = __m128i;      ///< one sum for each output

    struct VecF64 {
        __m128d avHalf[2];
    };

    static IntVector Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

    /// `iTaps` below kTapsPerVector, a multiple of four; the others are 0.
    static IntVector LoadPartial(const void* p, [[maybe_unused]] int iTaps) { return _mm_loadu_si64(p); }

    static IntVector FromInt(int i) { return _mm_cvtsi32_si128(i); }
    static IntVector MulAddPairs(IntVector vA, IntVector vB) { return _mm_madd_epi16(vA, vB); }
    static IntVector Add(IntVector vA, IntVector vB) { return _mm_add_epi32(vA, vB); }
    static IntVector HighHalves(IntVector vPairs) { return _mm_srai_epi32(vPairs, 16); }

    static IntVector Abs(IntVector vTaps) { return _mm_max_epi16(vTaps, _mm_subs_epi16(_mm_setzero_si128(), vTaps)); }

    static IntVector Max(IntVector vA, IntVector vB) { return _mm_max_epi16(vA, vB); }
    static IntVector Ones() { return _mm_set1_epi16(1); }

    /// Returns the horizontal sums of all vectors: a tree that adds and transposes in one step.
    static Sums HorizontalSums(const IntVector (&rav)[kParallelOutputs])
    {
        const __m128i vLower = TransposeAdd2(rav[0], rav[1]);
        const __m128i vUpper = TransposeAdd2(rav[2], rav[3]);
        return _mm_add_epi32(_mm_unpacklo_epi64(vLower, vUpper), _mm_unpackhi_epi64(vLower, vUpper));
    }

    /// Returns a sum less its high parts, which are in units of 2^16.
    static Sums LowHalves(Sums vSums, Sums vHigh) { return _mm_sub_epi32(vSums, _mm_slli_epi32(vHigh, 16)); }

    static VecF64 ToDoubles(Sums vSums)
    {
        return {{_mm_cvtepi32_pd(vSums), _mm_cvtepi32_pd(_mm_unpackhi_epi64(vSums, vSums))}};
    }

    static VecF64 MulAdd(VecF64 sA, double dFactor, VecF64 sB)
    {
        const __m128d vFactor = _mm_set1_pd(dFactor);
        return {{_mm_add_pd(_mm_mul_pd(sA.avHalf[0], vFactor), sB.avHalf[0]),
                 _mm_add_pd(_mm_mul_pd(sA.avHalf[1], vFactor), sB.avHalf[1])}};
    }

    static void RoundAndStore(VecF64 sSums, double dGain, std::int16_t* psOutputs)
    {
        const __m128d vGain = _mm_set1_pd(dGain);
        const __m128i vLower = Round(_mm_mul_pd(sSums.avHalf[0], vGain));
        const __m128i vUpper = Round(_mm_mul_pd(sSums.avHalf[1], vGain));
        const __m128i vWords = _mm_unpacklo_epi64(vLower, vUpper);
        _mm_storeu_si64(psOutputs, _mm_packs_epi32(vWords, vWords));
    }

    static void Store(Sums vSums, int* piSums) { _mm_storeu_si128(reinterpret_cast<__m128i*>(piSums), vSums); }

private:
    static __m128i TransposeAdd2(__m128i vA, __m128i vB)
    {
        return _mm_add_epi32(_mm_unpacklo_epi32(vA, vB), _mm_unpackhi_epi32(vA, vB));
    }

    static __m128i Round(__m128d vValues)
    {
        const __m128d vClamped = _mm_max_pd(_mm_set1_pd(-32768.0), _mm_min_pd(_mm_set1_pd(32767.0), vValues));
        const __m128d vHalf = _mm_or_pd(_mm_and_pd(vClamped, _mm_set1_pd(-0.0)), _mm_set1_pd(0.5));
        return _mm_cvttpd_epi32(_mm_add_pd(vClamped, vHalf));
    }
};

} // namespace
