/// Eight samples at a time, by AVX2 and FMA. The operations mean what those of Scalar mean.
#pragma once

#include <cstdint>

#include <immintrin.h>

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {

struct Avx2 {
    static constexpr unsigned long kLanes = 8;
    using Words = std::uint32_t __attribute__((vector_size(32)));
    using Floats = float __attribute__((vector_size(32)));

    template <int Bytes>
    static Words Load(const std::uint8_t* puc)
    {
        if constexpr (Bytes == 2) {
            return reinterpret_cast<Words>(_mm256_cvtepu16_epi32(Load16(puc))) << 16;
        } else if constexpr (Bytes == 3) {
            // Four samples, 12 bytes, for each half: the lower half's are its first 12, the upper half's its last 12,
            // so that exactly 24 bytes are read.
            const __m256i vBytes = _mm256_set_m128i(Load16(puc + 8), Load16(puc));
            return reinterpret_cast<Words>(_mm256_shuffle_epi8(
                vBytes, _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, //
                                         -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15)));
        } else {
            return reinterpret_cast<Words>(Load32(puc));
        }
    }

    template <int Bytes>
    static void Store(std::uint8_t* puc, Words vWords)
    {
        if constexpr (Bytes == 2) {
            Store16(puc, _mm256_castsi256_si128(Narrow(vWords, vWords)));
        } else if constexpr (Bytes == 3) {
            const __m256i vPacked = Pack24(vWords);
            Store16(puc, _mm256_castsi256_si128(vPacked));
            _mm_storeu_si64(puc + 16, _mm256_extracti128_si256(vPacked, 1));
        } else {
            Store32(puc, reinterpret_cast<__m256i>(vWords));
        }
    }

    /// Consecutive vectors, with stores of full width where single vectors do not fill them.
    template <int Bytes, unsigned long Count>
    static void StoreBlock(std::uint8_t* puc, const Words (&rav)[Count])
    {
        if constexpr (Bytes == 2) {
            static_assert(Count % 2 == 0);
            for (unsigned long i = 0; i < Count; i += 2) {
                Store32(puc + i * 16, Narrow(rav[i], rav[i + 1]));
            }
        } else if constexpr (Bytes == 3) {
            // The eight bytes too many that a full store writes are those of the next vector, which comes after.
            for (unsigned long i = 0; i + 1 < Count; ++i) {
                Store32(puc + i * 24, Pack24(rav[i]));
            }
            Store<3>(puc + (Count - 1) * 24, rav[Count - 1]);
        } else {
            for (unsigned long i = 0; i < Count; ++i) {
                Store<4>(puc + i * 32, rav[i]);
            }
        }
    }

    static Floats BitsToFloats(Words vWords) { return reinterpret_cast<Floats>(vWords); }
    static Words BitsToWords(Floats vValues) { return reinterpret_cast<Words>(vValues); }
    static Floats Convert(Words vWords) { return _mm256_cvtepi32_ps(reinterpret_cast<__m256i>(vWords)); }
    static Words Truncate(Floats vValues) { return reinterpret_cast<Words>(_mm256_cvttps_epi32(vValues)); }

    /// A product with the reciprocal, set right by its exact remainder: the bits of the division in a third of its
    /// time. The tests go through every value for the divisors in use.
    static Floats Divide(Floats vValues, float fDivisor)
    {
        const __m256 vDivisor = _mm256_set1_ps(fDivisor);
        const __m256 vReciprocal = _mm256_set1_ps(1.0f / fDivisor);
        const __m256 vEstimate = _mm256_mul_ps(vValues, vReciprocal);
        const __m256 vRemainder = _mm256_fnmadd_ps(vEstimate, vDivisor, vValues);
        return _mm256_fmadd_ps(vRemainder, vReciprocal, vEstimate);
    }

    /// For gains whose low 16 bits are 0 to 32767. The upper 16 bits of 2 * low * gain are low * gain >> 15.
    static Words Scale(Words vWords, Words vGains)
    {
        const __m256i vSamples = _mm256_srai_epi32(reinterpret_cast<__m256i>(vWords), 4);
        const __m256i vHigh = _mm256_madd_epi16(vSamples, reinterpret_cast<__m256i>(vGains << 16));
        const __m256i vLow = _mm256_mulhi_epu16(_mm256_and_si256(vSamples, _mm256_set1_epi32(0xFFFE)),
                                                reinterpret_cast<__m256i>(vGains));
        return reinterpret_cast<Words>(_mm256_add_epi32(vHigh, vLow));
    }

    static Words Limit(Words vWords, Words vUpper, Words vLower)
    {
        const __m256i vLimited = _mm256_min_epi32(reinterpret_cast<__m256i>(vWords), reinterpret_cast<__m256i>(vUpper));
        return reinterpret_cast<Words>(_mm256_max_epi32(vLimited, reinterpret_cast<__m256i>(vLower)));
    }

    template <int Bytes>
    static constexpr unsigned long kPairFrames = Bytes == 2 ? 16 : 8;

    template <int Bytes>
    static void InterleavePairs(const std::uint8_t* pucLeft, const std::uint8_t* pucRight, std::uint8_t* pucStereo)
    {
        if constexpr (Bytes == 2) {
            const __m256i vLeft = Load32(pucLeft);
            const __m256i vRight = Load32(pucRight);
            const __m256i vFirst = _mm256_unpacklo_epi16(vLeft, vRight);
            const __m256i vSecond = _mm256_unpackhi_epi16(vLeft, vRight);
            Store32(pucStereo, _mm256_permute2x128_si256(vFirst, vSecond, 0x20));
            Store32(pucStereo + 32, _mm256_permute2x128_si256(vFirst, vSecond, 0x31));
        } else {
            const __m256i vLeft = reinterpret_cast<__m256i>(Load<Bytes>(pucLeft));
            const __m256i vRight = reinterpret_cast<__m256i>(Load<Bytes>(pucRight));
            const __m256i vFirst = _mm256_unpacklo_epi32(vLeft, vRight);
            const __m256i vSecond = _mm256_unpackhi_epi32(vLeft, vRight);
            const Words avStereo[] = {reinterpret_cast<Words>(_mm256_permute2x128_si256(vFirst, vSecond, 0x20)),
                                      reinterpret_cast<Words>(_mm256_permute2x128_si256(vFirst, vSecond, 0x31))};
            StoreBlock<Bytes>(pucStereo, avStereo);
        }
    }

    template <int Bytes>
    static void SplitPairs(const std::uint8_t* pucStereo, std::uint8_t* pucLeft, std::uint8_t* pucRight)
    {
        if constexpr (Bytes == 2) {
            const Words vFirst = Load<4>(pucStereo); // of whole frames
            const Words vSecond = Load<4>(pucStereo + 32);
            Store32(pucLeft, Narrow(vFirst << 16, vSecond << 16));
            Store32(pucRight, Narrow(vFirst, vSecond));
        } else {
            const auto vFirst = reinterpret_cast<__m256>(Load<Bytes>(pucStereo));
            const auto vSecond = reinterpret_cast<__m256>(Load<Bytes>(pucStereo + 8 * Bytes));
            Store<Bytes>(pucLeft, InOrder(_mm256_shuffle_ps(vFirst, vSecond, 0b10001000)));
            Store<Bytes>(pucRight, InOrder(_mm256_shuffle_ps(vFirst, vSecond, 0b11011101)));
        }
    }

private:
    static __m128i Load16(const std::uint8_t* puc) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(puc)); }
    static __m256i Load32(const std::uint8_t* puc) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puc)); }
    static void Store16(std::uint8_t* puc, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(puc), v); }
    static void Store32(std::uint8_t* puc, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(puc), v); }

    /// The upper halves of the words, those of the first vector first.
    static __m256i Narrow(Words vFirst, Words vSecond)
    {
        const __m256i vHalves =
            _mm256_packus_epi32(reinterpret_cast<__m256i>(vFirst >> 16), reinterpret_cast<__m256i>(vSecond >> 16));
        return _mm256_permute4x64_epi64(vHalves, 0b11011000);
    }

    /// Pairs of words, in order again after an operation on the halves of two vectors.
    static Words InOrder(__m256 vPairs)
    {
        return reinterpret_cast<Words>(_mm256_permute4x64_epi64(reinterpret_cast<__m256i>(vPairs), 0b11011000));
    }

    /// The upper three bytes of the words as 24 bytes in a row.
    static __m256i Pack24(Words vWords)
    {
        const __m256i vHalves =
            _mm256_shuffle_epi8(reinterpret_cast<__m256i>(vWords),
                                _mm256_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1, 1, 2, 3, 5, 6,
                                                 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1));
        return _mm256_permutevar8x32_epi32(vHalves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    }
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET
