/// The vectors of the vector path with AVX2: sixteen taps in the lanes, four outputs in parallel.
#pragma once

#include <cstdint>

#include <immintrin.h>

namespace {

struct FirSimd {
    static constexpr int kTapsPerVector = 16;
    static constexpr int kParallelOutputs = 4;
    using IntVector = __m256i; ///< taps, samples, or sums of 32 bits
    using Sums = __m128i;      ///< one sum for each output
    using VecF64 = __m256d;

    static IntVector Load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }

    /// `iTaps` below kTapsPerVector, a multiple of four; the others are 0.
    static IntVector LoadPartial(const void* p, int iTaps)
    {
        const __m256i vQuarters = _mm256_cmpgt_epi64(_mm256_set1_epi64x(iTaps / 4), _mm256_setr_epi64x(0, 1, 2, 3));
        return _mm256_maskload_epi64(static_cast<const long long*>(p), vQuarters);
    }

    static IntVector FromInt(int i) { return _mm256_zextsi128_si256(_mm_cvtsi32_si128(i)); }
    static IntVector MulAddPairs(IntVector vA, IntVector vB) { return _mm256_madd_epi16(vA, vB); }
    static IntVector Add(IntVector vA, IntVector vB) { return _mm256_add_epi32(vA, vB); }
    static IntVector HighHalves(IntVector vPairs) { return _mm256_srai_epi32(vPairs, 16); }

    static IntVector Abs(IntVector vTaps)
    {
        return _mm256_max_epi16(vTaps, _mm256_subs_epi16(_mm256_setzero_si256(), vTaps));
    }

    static IntVector Max(IntVector vA, IntVector vB) { return _mm256_max_epi16(vA, vB); }
    static IntVector Ones() { return _mm256_set1_epi16(1); }

    /// Returns the horizontal sums of all vectors: a tree that adds and transposes in one step.
    static Sums HorizontalSums(const IntVector (&rav)[kParallelOutputs])
    {
        const __m256i vLower = TransposeAdd2(rav[0], rav[1]);
        const __m256i vUpper = TransposeAdd2(rav[2], rav[3]);
        const __m256i vSums =
            _mm256_add_epi32(_mm256_unpacklo_epi64(vLower, vUpper), _mm256_unpackhi_epi64(vLower, vUpper));
        return _mm_add_epi32(_mm256_castsi256_si128(vSums), _mm256_extracti128_si256(vSums, 1));
    }

    /// Returns a sum less its high parts, which are in units of 2^16.
    static Sums LowHalves(Sums vSums, Sums vHigh) { return _mm_sub_epi32(vSums, _mm_slli_epi32(vHigh, 16)); }

    static VecF64 ToDoubles(Sums vSums) { return _mm256_cvtepi32_pd(vSums); }

    static VecF64 MulAdd(VecF64 vA, double dFactor, VecF64 vB)
    {
        return _mm256_add_pd(_mm256_mul_pd(vA, _mm256_set1_pd(dFactor)), vB);
    }

    static void RoundAndStore(VecF64 vSums, double dGain, std::int16_t* psOutputs)
    {
        const __m256d vValues = _mm256_mul_pd(vSums, _mm256_set1_pd(dGain));
        const __m256d vClamped =
            _mm256_max_pd(_mm256_set1_pd(-32768.0), _mm256_min_pd(_mm256_set1_pd(32767.0), vValues));
        const __m256d vHalf = _mm256_or_pd(_mm256_and_pd(vClamped, _mm256_set1_pd(-0.0)), _mm256_set1_pd(0.5));
        const __m128i vWords = _mm256_cvttpd_epi32(_mm256_add_pd(vClamped, vHalf));
        _mm_storeu_si64(psOutputs, _mm_packs_epi32(vWords, vWords));
    }

    static void Store(Sums vSums, int* piSums) { _mm_storeu_si128(reinterpret_cast<__m128i*>(piSums), vSums); }

private:
    static __m256i TransposeAdd2(__m256i vA, __m256i vB)
    {
        return _mm256_add_epi32(_mm256_unpacklo_epi32(vA, vB), _mm256_unpackhi_epi32(vA, vB));
    }
};

} // namespace
