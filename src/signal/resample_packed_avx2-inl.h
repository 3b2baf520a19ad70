/// Sixteen outputs in parallel with AVX2, a quad of four in each vector. A 64-bit lane of a vector multiplies four
/// samples by four taps of one output; the two sums of each output are added in the end.
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

    static constexpr int kQuads = Bank::kOutputs / Bank::kQuadOutputs;

    /// The lower and the upper eight outputs.
    struct Sums {
        __m256i vLower;
        __m256i vUpper;
    };

    /// Saturates the outputs from 32 to 16 bits and restores their order: the horizontal sums leave outputs 0, 1, 4 and
    /// 5 in the lower 128-bit lane, 2, 3, 6 and 7 in the upper one.
    static __m256i Limit(__m256i vLower, __m256i vUpper)
    {
        const __m256i vOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        return _mm256_permutevar8x32_epi32(_mm256_packs_epi32(vLower, vUpper), vOrder);
    }

    /// For sums in units of 2^-14: output rates at or above the input rate.
    struct RoundByShift {
        static constexpr double kGain = 0x1p-14;

        __m256i operator()(Sums sSums) const { return Limit(Round(sSums.vLower), Round(sSums.vUpper)); }

    private:
        static __m256i Round(__m256i vSums)
        {
            // Adds a half, less one unit for negative sums: the shift rounds down, and halves round away from 0. The
            // limit of the taps excludes overflow.
            const __m256i vHalves = _mm256_add_epi32(_mm256_set1_epi32(1 << 13), _mm256_srai_epi32(vSums, 31));
            return _mm256_srai_epi32(_mm256_add_epi32(vSums, vHalves), 14);
        }
    };

    /// See BiasedGain: fewer operations than RoundByGain, and no conversion of widths. Requires the rounding mode
    /// "to nearest".
    struct RoundByBiasedGain {
        __m256i operator()(Sums sSums) const { return Limit(Round(sSums.vLower), Round(sSums.vUpper)); }

    private:
        static __m256i Round(__m256i vSums)
        {
            const __m256i vBias = _mm256_set1_epi64x(BiasedGain::kInt32ToDoubleBits);
            const __m256i vEven = _mm256_xor_si256(_mm256_blend_epi32(vSums, _mm256_setzero_si256(), 0xAA), vBias);
            const __m256i vOdd = _mm256_xor_si256(_mm256_srli_epi64(vSums, 32), vBias);
            const __m256 vOddUp = _mm256_moveldup_ps(_mm256_castpd_ps(ApplyBiasedGain(vOdd)));
            return _mm256_castps_si256(_mm256_blend_ps(_mm256_castpd_ps(ApplyBiasedGain(vEven)), vOddUp, 0xAA));
        }

        static __m256d ApplyBiasedGain(__m256i vBiased)
        {
            const __m256d vSums =
                _mm256_sub_pd(_mm256_castsi256_pd(vBiased), _mm256_set1_pd(BiasedGain::kInt32ToDoubleBias));
            return _mm256_fmadd_pd(vSums, _mm256_set1_pd(BiasedGain::kBiasedGain),
                                   _mm256_set1_pd(BiasedGain::kRoundingMagic));
        }
    };

    /// Like FirSimd::RoundAndStore, but clamps last.
    struct RoundByGain {
        double dGain;

        __m256i operator()(Sums sSums) const { return Limit(Round(sSums.vLower), Round(sSums.vUpper)); }

    private:
        __m256i Round(__m256i vSums) const
        {
            return _mm256_set_m128i(Round(_mm256_extracti128_si256(vSums, 1)), Round(_mm256_castsi256_si128(vSums)));
        }

        __m128i Round(__m128i vSums) const
        {
            const __m256d vValues = _mm256_mul_pd(_mm256_cvtepi32_pd(vSums), _mm256_set1_pd(dGain));
            const __m256d vSigns = _mm256_and_pd(vValues, _mm256_set1_pd(-0.0));
            return _mm256_cvttpd_epi32(_mm256_add_pd(vValues, _mm256_or_pd(vSigns, _mm256_set1_pd(0.5))));
        }
    };

public:
    template <typename Use>
    static void DispatchOnRounding(double dGain, Use fnUse)
    {
        if (dGain == RoundByShift::kGain) {
            fnUse(RoundByShift());
        } else if (dGain == BiasedGain::kGain && (_mm_getcsr() & _MM_ROUND_MASK) == _MM_ROUND_NEAREST) {
            fnUse(RoundByBiasedGain());
        } else {
            fnUse(RoundByGain{dGain});
        }
    }

    /// Computes a whole group. All samples of its blocks must be readable.
    static Sums ComputeSums(const Group& rsGroup, const std::int16_t* psBase)
    {
        __m256i avSums[kQuads];
#pragma GCC unroll 16
        for (int k = 0; k < Bank::kBlocks; ++k) {
            const int iSample = k * Bank::kBlockSamples;
            const __m256i vBlock = _mm256_set1_epi64x(LoadBlock(psBase + iSample));
#pragma GCC unroll 4
            for (int q = 0; q < kQuads; ++q) {
                if (k >= q && k < q + Bank::kQuadBlocks) {
                    const __m256i vProducts = _mm256_madd_epi16(vBlock, LoadTaps(rsGroup, q, k));
                    avSums[q] = k == q ? vProducts : _mm256_add_epi32(avSums[q], vProducts);
                    // GCC would sum in another order, in which most products are in memory for a while.
                    asm("" : "+x"(avSums[q]));
                }
            }
        }
        return {_mm256_hadd_epi32(avSums[0], avSums[1]), _mm256_hadd_epi32(avSums[2], avSums[3])};
    }

    static void Store(__m256i vOutputs, std::int16_t* psOutput)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(psOutput), vOutputs);
    }

    /// Stores iOutputs outputs from iFirst on.
    static void StorePartial(__m256i vOutputs, int iFirst, int iOutputs, std::int16_t* psOutput)
    {
        std::int16_t asOutputs[Bank::kOutputs];
        Store(vOutputs, asOutputs);
        CopySamples(psOutput, asOutputs + iFirst, iOutputs);
    }

private:
    static __m256i LoadTaps(const Group& rsGroup, int iQuad, int iBlock)
    {
        constexpr int kHalfQuads = kQuads / Bank::kHalves;
        const int iHalf = iQuad / kHalfQuads;
        const auto& raBlock = rsGroup.asTaps[iHalf][iBlock - iHalf * Bank::kHalfFirstBlock];
        const int iOutput = iQuad % kHalfQuads * Bank::kQuadOutputs;
        return _mm256_load_si256(reinterpret_cast<const __m256i*>(raBlock[iOutput]));
    }
};

} // namespace
