/// Sixteen outputs abreast, one in each 32-bit lane of two registers, by AVX2. The samples of four neighbouring outputs
/// lie in one window of eight, out of which each lane takes its own pair, and the next by looking two samples further.
#pragma once

#include "signal/packed_filter_bank.h"
#include "signal/samples-inl.h"

#include <cstdint>

#include <immintrin.h>

namespace {

class PackedSimd {
    using Rows = SZtaPackedFilterBank;
    using Group = SZtaPackedFilterBank::SGroup;

    static constexpr int kLanes = Rows::kLanes;
    static constexpr int kWindowSamples = 8;     ///< samples of half a register
    static constexpr int kTapPairsPerWindow = 2; ///< how many pairs of a row are taken out of one window
    static constexpr int kiWindows = Rows::kTapPairs / kTapPairsPerWindow;
    static_assert(Rows::kMaxQuadOffset == kWindowSamples - 2 * kTapPairsPerWindow);

    /// The first eight lanes and the others.
    struct Sums {
        __m256i vLower;
        __m256i vUpper;
    };

    /// Limits the words of 32 bits and brings them into the order of the lanes.
    static __m256i Limit(__m256i vLower, __m256i vUpper)
    {
        return _mm256_permute4x64_epi64(_mm256_packs_epi32(vLower, vUpper), 0xD8);
    }

    /// Sums in units of 2^-14, which is what they are in where the rate goes up.
    struct RoundByShift {
        static constexpr double kdGain = 0x1p-14;

        __m256i operator()(Sums sSums) const { return Limit(Round(sSums.vLower), Round(sSums.vUpper)); }

    private:
        static __m256i Round(__m256i vSums)
        {
            // A half, and below 0 one unit less: a shift goes down, and halves go away from 0. Sums of rows that fit
            // leave room for it.
            const __m256i vHalves = _mm256_add_epi32(_mm256_set1_epi32(1 << 13), _mm256_srai_epi32(vSums, 31));
            return _mm256_srai_epi32(_mm256_add_epi32(vSums, vHalves), 14);
        }
    };

    /// See BiasedGain: less to do than by the gain, and nothing that goes from one width to another. Only for a host
    /// that rounds to the nearest.
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

    /// As RunVector::StoreRounded does, but limits come last.
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
    /// Samples that all windows of a group span, whether or not they belong to an output.
    static constexpr int kGroupReadSamples =
        Rows::kMaxLaneOffset + (kiWindows - 1) * 2 * kTapPairsPerWindow + kWindowSamples;

    template <typename Use>
    static void DispatchOnRounding(double dGain, Use fnUse)
    {
        if (dGain == RoundByShift::kdGain) {
            fnUse(RoundByShift());
        } else if (dGain == BiasedGain::kdGain && (_mm_getcsr() & _MM_ROUND_MASK) == _MM_ROUND_NEAREST) {
            fnUse(RoundByBiasedGain());
        } else {
            fnUse(RoundByGain{dGain});
        }
    }

    /// The sums of a whole group, all of whose windows may be read.
    static Sums ComputeSums(const Group& rsGroup, const std::int16_t* psSource)
    {
        return {ComputeHalfSums<0>(rsGroup, psSource), ComputeHalfSums<kLanes / 2>(rsGroup, psSource)};
    }

    static void Store(__m256i vOutputs, std::int16_t* psOutput)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(psOutput), vOutputs);
    }

    /// The outputs of a group from lane iLane on, whose first sample is at psSource. None of the samples from lReadable
    /// on is read.
    template <typename Rounding>
    static void StorePartial(const Group& rsGroup, int iLane, const std::int16_t* psSource, long lReadable,
                             int iOutputs, std::int16_t* psOutput, Rounding fnRound)
    {
        // What the other lanes make of the zeros is of no account.
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
        // The places of each lane's bytes, from those of its quad on.
        const __m256i vOffsets = _mm256_load_si256(reinterpret_cast<const __m256i*>(rsGroup.aausOffsets + iFirstLane));
        const __m256i vInQuad = _mm256_sub_epi16(vOffsets, _mm256_shuffle_epi32(vOffsets, 0));
        __m256i avPlaces[kTapPairsPerWindow];
        avPlaces[0] =
            _mm256_add_epi16(_mm256_mullo_epi16(vInQuad, _mm256_set1_epi16(0x0202)), _mm256_set1_epi32(0x03020100));
        avPlaces[1] = _mm256_add_epi8(avPlaces[0], _mm256_set1_epi8(4));
        __m256i avSums[kTapPairsPerWindow];
        for (long w = 0; w < kiWindows; ++w) {
            const __m256i vWindow =
                _mm256_inserti128_si256(_mm256_castsi128_si256(LoadWindow(psFirst + 2L * kTapPairsPerWindow * w)),
                                        LoadWindow(psSecond + 2L * kTapPairsPerWindow * w), 1);
            for (int k = 0; k < kTapPairsPerWindow; ++k) {
                const auto* pvPairs =
                    reinterpret_cast<const __m256i*>(rsGroup.aasTapPairs[w * kTapPairsPerWindow + k] + iFirstLane);
                const __m256i vProducts =
                    _mm256_madd_epi16(_mm256_load_si256(pvPairs), _mm256_shuffle_epi8(vWindow, avPlaces[k]));
                avSums[k] = w == 0 ? vProducts : _mm256_add_epi32(avSums[k], vProducts);
            }
        }
        return _mm256_add_epi32(avSums[0], avSums[1]);
    }

    static __m128i LoadWindow(const std::int16_t* ps) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(ps)); }
};

} // namespace
