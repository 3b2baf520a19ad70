/// Sixteen outputs in parallel with AVX-512 F, BW and DQ. A 64-bit lane of a vector multiplies four samples by four
/// taps of one output; the two sums of each output are added in the end.
#pragma once

#include "signal/biased_gain-inl.h"
#include "signal/packed_filter_bank.h"
#include "signal/samples-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace {

class PackedSimd {
    using Bank = SZtaPackedFilterBank;
    using Group = SZtaPackedFilterBank::SGroup;

    /// Saturates the outputs from 32 to 16 bits and restores their order: Sums leaves outputs 2i, 2i + 1, 2i + 8 and
    /// 2i + 9 in 128-bit lane i.
    static __m256i Limit(__m512i vOutputs)
    {
        const __m512i vPairs = _mm512_packs_epi32(vOutputs, vOutputs);
        const __m512i vOrder = _mm512_castsi256_si512(_mm256_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13));
        return _mm512_castsi512_si256(_mm512_permutexvar_epi32(vOrder, vPairs));
    }

    /// For sums in units of 2^-14: output rates at or above the input rate.
    struct RoundByShift {
        static constexpr double kGain = 0x1p-14;

        __m256i operator()(__m512i vSums) const
        {
            // Adds a half, less one unit for negative sums: the shift rounds down, and halves round away from 0. The
            // limit of the taps excludes overflow.
            const __m512i vHalves = _mm512_add_epi32(_mm512_set1_epi32(1 << 13), _mm512_srai_epi32(vSums, 31));
            return Limit(_mm512_srai_epi32(_mm512_add_epi32(vSums, vHalves), 14));
        }
    };

    /// See BiasedGain: fewer operations than RoundByGain, and no conversion of widths.
    struct RoundByBiasedGain {
        __m256i operator()(__m512i vSums) const
        {
            const __m512i vBias = _mm512_set1_epi64(BiasedGain::kInt32ToDoubleBits);
            const __m512i vEven = _mm512_xor_si512(_mm512_and_si512(vSums, _mm512_set1_epi64(0xFFFF'FFFF)), vBias);
            const __m512i vOdd = _mm512_xor_si512(_mm512_srli_epi64(vSums, 32), vBias);
            return Limit(_mm512_castps_si512(
                _mm512_mask_moveldup_ps(_mm512_castpd_ps(Round(vEven)), 0xAAAA, _mm512_castpd_ps(Round(vOdd)))));
        }

    private:
        static __m512d Round(__m512i vBiased)
        {
            const __m512d vSums =
                _mm512_sub_pd(_mm512_castsi512_pd(vBiased), _mm512_set1_pd(BiasedGain::kInt32ToDoubleBias));
            return _mm512_fmadd_round_pd(vSums, _mm512_set1_pd(BiasedGain::kBiasedGain),
                                         _mm512_set1_pd(BiasedGain::kRoundingMagic),
                                         _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        }
    };

    /// Like FirSimd::RoundAndStore, but clamps last.
    struct RoundByGain {
        double dGain;

        __m256i operator()(__m512i vSums) const
        {
            const __m256i vLower = Round(_mm512_castsi512_si256(vSums));
            const __m256i vUpper = Round(_mm512_extracti64x4_epi64(vSums, 1));
            return Limit(_mm512_inserti64x4(_mm512_castsi256_si512(vLower), vUpper, 1));
        }

    private:
        __m256i Round(__m256i vSums) const
        {
            const __m512d vValues = _mm512_mul_pd(_mm512_cvtepi32_pd(vSums), _mm512_set1_pd(dGain));
            const __m512d vSigns = _mm512_and_pd(vValues, _mm512_set1_pd(-0.0));
            return _mm512_cvttpd_epi32(_mm512_add_pd(vValues, _mm512_or_pd(vSigns, _mm512_set1_pd(0.5))));
        }
    };

public:
    template <typename Use>
    static void DispatchOnRounding(double dGain, Use fnUse)
    {
        if (dGain == RoundByShift::kGain) {
            fnUse(RoundByShift());
        } else if (dGain == BiasedGain::kGain) {
            fnUse(RoundByBiasedGain());
        } else {
            fnUse(RoundByGain{dGain});
        }
    }

    /// Computes a whole group. All samples of its blocks must be readable.
    static __m512i ComputeSums(const Group& rsGroup, const std::int16_t* psBase)
    {
        __m512i avSums[Bank::kHalves];
#pragma GCC unroll 16
        for (int k = 0; k < Bank::kBlocks; ++k) {
            const int iSample = k * Bank::kBlockSamples;
            const __m512i vBlock = _mm512_set1_epi64(LoadBlock(psBase + iSample));
#pragma GCC unroll 2
            for (int h = 0; h < Bank::kHalves; ++h) {
                const int iHalfBlock = k - h * Bank::kHalfFirstBlock;
                if (iHalfBlock >= 0 && iHalfBlock < Bank::kHalfBlocks) {
                    // GCC 12 takes only the second operand from memory.
                    const __m512i vProducts =
                        _mm512_madd_epi16(vBlock, _mm512_load_si512(rsGroup.asTaps[h][iHalfBlock]));
                    avSums[h] = iHalfBlock == 0 ? vProducts : _mm512_add_epi32(avSums[h], vProducts);
                }
            }
        }
        const __m512 vLower = _mm512_castsi512_ps(avSums[0]);
        const __m512 vUpper = _mm512_castsi512_ps(avSums[1]);
        return _mm512_add_epi32(_mm512_castps_si512(_mm512_shuffle_ps(vLower, vUpper, 0x88)),
                                _mm512_castps_si512(_mm512_shuffle_ps(vLower, vUpper, 0xDD)));
    }

    static void Store(__m256i vOutputs, std::int16_t* psOutput)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(psOutput), vOutputs);
    }

    /// Stores iOutputs outputs from iFirst on.
    static void StorePartial(__m256i vOutputs, int iFirst, int iOutputs, std::int16_t* psOutput)
    {
        const __m256i vIndices = _mm256_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        const __m256i vFrom = _mm256_add_epi16(_mm256_set1_epi16(static_cast<short>(iFirst)), vIndices);
        _mm256_mask_storeu_epi16(psOutput, static_cast<__mmask16>((1U << iOutputs) - 1),
                                 _mm256_permutexvar_epi16(vFrom, vOutputs));
    }
};

} // namespace
