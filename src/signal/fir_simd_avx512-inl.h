/// Thirty-two taps at a time, eight outputs abreast, by AVX-512 F, BW and DQ.
#pragma once

#include <cstdint>

#include <immintrin.h>

// The header of GCC 12 leaves the unused source of its masked forms uninitialised, and warns of itself.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace {

struct FirSimd {
    static constexpr int kTapsPerVector = 32;
    static constexpr int kParallelOutputs = 8;
    using IntVector = __m512i; ///< taps, samples, or sums of 32 bits
    using Sums = __m256i;      ///< one sum for each output
    using VecF64 = __m512d;

    static IntVector Load(const void* p) { return _mm512_loadu_si512(p); }

    /// `iTaps` below kTapsPerVector; the others are 0.
    static IntVector LoadPartial(const void* p, int iTaps) { return _mm512_maskz_loadu_epi16((1u << iTaps) - 1, p); }

    static IntVector FromInt(int i) { return _mm512_zextsi128_si512(_mm_cvtsi32_si128(i)); }
    static IntVector MulAddPairs(IntVector vA, IntVector vB) { return _mm512_madd_epi16(vA, vB); }
    static IntVector Add(IntVector vA, IntVector vB) { return _mm512_add_epi32(vA, vB); }
    static IntVector HighHalves(IntVector vPairs) { return _mm512_srai_epi32(vPairs, 16); }

    static IntVector Abs(IntVector vTaps)
    {
        return _mm512_max_epi16(vTaps, _mm512_subs_epi16(_mm512_setzero_si512(), vTaps));
    }

    static IntVector Max(IntVector vA, IntVector vB) { return _mm512_max_epi16(vA, vB); }
    static IntVector Ones() { return _mm512_set1_epi16(1); }

    /// Adds up each register: a tree that adds and transposes at once.
    static Sums HorizontalSums(const IntVector (&rav)[kParallelOutputs])
    {
        const __m512i vLower = TransposeAdd4(rav[0], rav[1], rav[2], rav[3]);
        const __m512i vUpper = TransposeAdd4(rav[4], rav[5], rav[6], rav[7]);
        const __m512i vQuarters =
            _mm512_add_epi32(_mm512_shuffle_i32x4(vLower, vUpper, 0x88), _mm512_shuffle_i32x4(vLower, vUpper, 0xDD));
        const __m256i vFirst = _mm512_castsi512_si256(vQuarters);
        const __m256i vSecond = _mm512_extracti64x4_epi64(vQuarters, 1);
        return _mm256_add_epi32(_mm256_permute2x128_si256(vFirst, vSecond, 0x20),
                                _mm256_permute2x128_si256(vFirst, vSecond, 0x31));
    }

    /// What is left of a sum when its high parts, in units of 2^16, are taken out.
    static Sums LowHalves(Sums vSums, Sums vHigh) { return _mm256_sub_epi32(vSums, _mm256_slli_epi32(vHigh, 16)); }

    static VecF64 ToDoubles(Sums vSums) { return _mm512_cvtepi32_pd(vSums); }

    static VecF64 MulAdd(VecF64 vA, double dFactor, VecF64 vB)
    {
        return _mm512_add_pd(_mm512_mul_pd(vA, _mm512_set1_pd(dFactor)), vB);
    }

    static void RoundAndStore(VecF64 vSums, double dGain, std::int16_t* psOutputs)
    {
        const __m512d vValues = _mm512_mul_pd(vSums, _mm512_set1_pd(dGain));
        const __m512d vClamped =
            _mm512_max_pd(_mm512_set1_pd(-32768.0), _mm512_min_pd(_mm512_set1_pd(32767.0), vValues));
        const __m512d vHalf = _mm512_or_pd(_mm512_and_pd(vClamped, _mm512_set1_pd(-0.0)), _mm512_set1_pd(0.5));
        const __m256i vWords = _mm512_cvttpd_epi32(_mm512_add_pd(vClamped, vHalf));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(psOutputs), _mm256_cvtsepi32_epi16(vWords));
    }

    static void Store(Sums vSums, int* piSums) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(piSums), vSums); }

private:
    static __m512i TransposeAdd2(__m512i vA, __m512i vB)
    {
        return _mm512_add_epi32(_mm512_unpacklo_epi32(vA, vB), _mm512_unpackhi_epi32(vA, vB));
    }

    static __m512i TransposeAdd4(__m512i vA, __m512i vB, __m512i vC, __m512i vD)
    {
        const __m512i vLower = TransposeAdd2(vA, vB);
        const __m512i vUpper = TransposeAdd2(vC, vD);
        return _mm512_add_epi32(_mm512_unpacklo_epi64(vLower, vUpper), _mm512_unpackhi_epi64(vLower, vUpper));
    }
};

} // namespace

#pragma GCC diagnostic pop
