/// Sixteen outputs in parallel with AVX2, one in each 32-bit lane of two vectors. The samples of a quad, four
/// neighboring outputs, lie in one window of eight samples: a byte shuffle selects the pair of each lane.
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

    static constexpr int kLanes = Bank::kLanes;
    static constexpr int kWindowSamples = 8;     ///< in a 128-bit lane
    static constexpr int kTapPairsPerWindow = 2; ///< of each output
    static constexpr int kWindows = Bank::kTapPairs / kTapPairsPerWindow;
    static_assert(Bank::kMaxQuadOffset == kWindowSamples - 2 * kTapPairsPerWindow);

    /// The lower and the upper eight lanes.
    struct Sums {
        __m256i vLower;
        __m256i vUpper;
    };

    /// Saturates 32-bit lanes to 16 bits and restores the order of the lanes.
    static __m256i Limit(__m256i vLower, __m256i vUpper)
    {
        return _mm256_permute4x64_epi64(_mm256_packs_epi32(vLower, vUpper), 0xD8);
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
    static constexpr long kBreakEvenPeriods = 20;
    /// The samples that all windows of a group span, including those that belong to no output.
    static constexpr int kGroupReadSamples =
        Bank::kMaxLaneOffset + (kWindows - 1) * 2 * kTapPairsPerWindow + kWindowSamples;

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

    /// Computes a whole group. All samples of its windows must be readable.
    static Sums ComputeSums(const Group& rsGroup, const std::int16_t* psSource)
    {
        return {ComputeHalfSums<0>(rsGroup, psSource), ComputeHalfSums<kLanes / 2>(rsGroup, psSource)};
    }

    static void Store(__m256i vOutputs, std::int16_t* psOutput)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(psOutput), vOutputs);
    }

    /// Computes the outputs of a group from lane iLane on, whose first sample is at psSource. Reads lReadable samples
    /// at most.
    template <typename Rounding>
    static void StorePartial(const Group& rsGroup, int iLane, const std::int16_t* psSource, long lReadable,
                             int iOutputs, std::int16_t* psOutput, Rounding fnRound)
    {
        // The results of the unused lanes are discarded.
        std::int16_t asSamples[kGroupReadSamples] = {};
        const long lSkipped = rsGroup.aausOffsets[iLane][0];
        const long lSamples = lReadable < kGroupReadSamples - lSkipped ? lReadable : kGroupReadSamples - lSkipped;
        CopySamples(asSamples + lSkipped, psSource, lSamples);
        std::int16_t asOutputs[kLanes];
        Store(fnRound(ComputeSums(rsGroup, asSamples)), asOutputs);
        CopySamples(psOutput, asOutputs + iLane, iOutputs);
    }

private:
    template <int iFirstLane>
    static __m256i ComputeHalfSums(const Group& rsGroup, const std::int16_t* psSource)
    {
        const std::int16_t* const psFirst = psSource + rsGroup.aausOffsets[iFirstLane][0];
        const std::int16_t* const psSecond = psSource + rsGroup.aausOffsets[iFirstLane + 4][0];
        __m256i avIndexes[kTapPairsPerWindow];
        avIndexes[0] = _mm256_load_si256(reinterpret_cast<const __m256i*>(rsGroup.aaucQuadBytes + iFirstLane));
        avIndexes[1] = _mm256_add_epi8(avIndexes[0], _mm256_set1_epi8(4));
        __m256i avSums[kTapPairsPerWindow];
        for (long w = 0; w < kWindows; ++w) {
            const __m256i vWindow =
                _mm256_inserti128_si256(_mm256_castsi128_si256(LoadWindow(psFirst + 2L * kTapPairsPerWindow * w)),
                                        LoadWindow(psSecond + 2L * kTapPairsPerWindow * w), 1);
            for (int k = 0; k < kTapPairsPerWindow; ++k) {
                const auto* pvPairs =
                    reinterpret_cast<const __m256i*>(rsGroup.aasTapPairs[w * kTapPairsPerWindow + k] + iFirstLane);
                const __m256i vProducts =
                    _mm256_madd_epi16(_mm256_load_si256(pvPairs), _mm256_shuffle_epi8(vWindow, avIndexes[k]));
                avSums[k] = w == 0 ? vProducts : _mm256_add_epi32(avSums[k], vProducts);
            }
        }
        return _mm256_add_epi32(avSums[0], avSums[1]);
    }

    static __m128i LoadWindow(const std::int16_t* ps) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(ps)); }
};

} // namespace
