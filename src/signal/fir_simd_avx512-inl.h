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

struct RunVector {
    static constexpr int kiTaps = 32;
    static constexpr int kiOutputs = 8;
    using Register = __m512i; ///< taps, samples, or sums of 32 bits
    using Sums = __m256i;     ///< one sum for each output
    using Doubles = __m512d;

    static Register Load(const void* p) { return _mm512_loadu_si512(p); }

    /// `iTaps` below kiTaps; the others are 0.
    static Register LoadSome(const void* p, int iTaps) { return _mm512_maskz_loadu_epi16((1u << iTaps) - 1, p); }

    static Register FromInt(int i) { return _mm512_zextsi128_si512(_mm_cvtsi32_si128(i)); }
    static Register Products(Register vA, Register vB) { return _mm512_madd_epi16(vA, vB); }
    static Register Add(Register vA, Register vB) { return _mm512_add_epi32(vA, vB); }
    static Register High(Register vPairs) { return _mm512_srai_epi32(vPairs, 16); }

    static Register Magnitudes(Register vTaps)
    {
        return _mm512_max_epi16(vTaps, _mm512_subs_epi16(_mm512_setzero_si512(), vTaps));
    }

    static Register Larger(Register vA, Register vB) { return _mm512_max_epi16(vA, vB); }
    static Register Ones() { return _mm512_set1_epi16(1); }

    /// Adds up each register: a tree that adds and transposes at once.
    static Sums AddUp(const Register (&rav)[kiOutputs])
    {
        const __m512i vLower = AddFours(rav[0], rav[1], rav[2], rav[3]);
        const __m512i vUpper = AddFours(rav[4], rav[5], rav[6], rav[7]);
        const __m512i vQuarters =
            _mm512_add_epi32(_mm512_shuffle_i32x4(vLower, vUpper, 0x88), _mm512_shuffle_i32x4(vLower, vUpper, 0xDD));
        const __m256i vFirst = _mm512_castsi512_si256(vQuarters);
        const __m256i vSecond = _mm512_extracti64x4_epi64(vQuarters, 1);
        return _mm256_add_epi32(_mm256_permute2x128_si256(vFirst, vSecond, 0x20),
                                _mm256_permute2x128_si256(vFirst, vSecond, 0x31));
    }

    /// What is left of a sum when its high parts, in units of 2^16, are taken out.
    static Sums Low(Sums vSums, Sums vHigh) { return _mm256_sub_epi32(vSums, _mm256_slli_epi32(vHigh, 16)); }

    static Doubles ToDoubles(Sums vSums) { return _mm512_cvtepi32_pd(vSums); }

    static Doubles MultiplyAdd(Doubles vA, double dFactor, Doubles vB)
    {
        return _mm512_add_pd(_mm512_mul_pd(vA, _mm512_set1_pd(dFactor)), vB);
    }

    static void StoreRounded(Doubles vSums, double dGain, std::int16_t* psOutputs)
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
    static __m512i AddNeighbours(__m512i vA, __m512i vB)
    {
        return _mm512_add_epi32(_mm512_unpacklo_epi32(vA, vB), _mm512_unpackhi_epi32(vA, vB));
    }

    static __m512i AddFours(__m512i vA, __m512i vB, __m512i vC, __m512i vD)
    {
        const __m512i vLower = AddNeighbours(vA, vB);
        const __m512i vUpper = AddNeighbours(vC, vD);
        return _mm512_add_epi32(_mm512_unpacklo_epi64(vLower, vUpper), _mm512_unpackhi_epi64(vLower, vUpper));
    }
};

} // namespace

#pragma GCC diagnostic pop
