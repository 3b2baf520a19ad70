/// Sixteen outputs abreast, one in each lane, by AVX-512 F, BW and DQ. The samples of sixteen neighbouring outputs lie
/// in one window of thirty-two, out of which each lane takes its own pair, and the next by looking two samples further.
#pragma once

#include "signal/packed_filter_bank.h"

#include <cstdint>

#include <immintrin.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace {

class PackedSimd {
    using Rows = SZtaPackedFilterBank;
    using Group = SZtaPackedFilterBank::SGroup;

    static constexpr int kLanes = Rows::kLanes;
    static constexpr int kWindowSamples = 32;    ///< samples of a register
    static constexpr int kTapPairsPerWindow = 4; ///< how many pairs of a row are taken out of one window
    static constexpr int kiWindows = Rows::kTapPairs / kTapPairsPerWindow;
    static_assert(Rows::kMaxLaneOffset == kWindowSamples - 2 * kTapPairsPerWindow);

    /// Sums in units of 2^-14, which is what they are in where the rate goes up.
    struct RoundByShift {
        static constexpr double kdGain = 0x1p-14;

        __m256i operator()(__m512i vSums) const
        {
            // A half, and below 0 one unit less: a shift goes down, and halves go away from 0. Sums of rows that fit
            // leave room for it.
            const __m512i vHalves = _mm512_add_epi32(_mm512_set1_epi32(1 << 13), _mm512_srai_epi32(vSums, 31));
            return _mm512_cvtsepi32_epi16(_mm512_srai_epi32(_mm512_add_epi32(vSums, vHalves), 14));
        }
    };

    /// See BiasedGain: less to do than by the gain, and nothing that goes from one width to another.
    struct RoundByBiasedGain {
        __m256i operator()(__m512i vSums) const
        {
            const __m512i vBias = _mm512_set1_epi64(BiasedGain::kInt32ToDoubleBits);
            const __m512i vEven = _mm512_xor_si512(_mm512_and_si512(vSums, _mm512_set1_epi64(0xFFFF'FFFF)), vBias);
            const __m512i vOdd = _mm512_xor_si512(_mm512_srli_epi64(vSums, 32), vBias);
            return _mm512_cvtsepi32_epi16(_mm512_castps_si512(
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

    /// As RunVector::StoreRounded does, but limits come last.
    struct RoundByGain {
        double dGain;

        __m256i operator()(__m512i vSums) const
        {
            const __m256i vLower = Round(_mm512_castsi512_si256(vSums));
            const __m256i vUpper = Round(_mm512_extracti64x4_epi64(vSums, 1));
            return _mm512_cvtsepi32_epi16(_mm512_inserti64x4(_mm512_castsi256_si512(vLower), vUpper, 1));
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
    static constexpr long kBreakEvenPeriods = 5;
    /// Samples that all windows of a group span, whether or not they belong to an output.
    static constexpr int kGroupReadSamples = (kiWindows - 1) * 2 * kTapPairsPerWindow + kWindowSamples;

    template <typename Use>
    static void DispatchOnRounding(double dGain, Use fnUse)
    {
        if (dGain == RoundByShift::kdGain) {
            fnUse(RoundByShift());
        } else if (dGain == BiasedGain::kdGain) {
            fnUse(RoundByBiasedGain());
        } else {
            fnUse(RoundByGain{dGain});
        }
    }

    /// The sums of a whole group, all of whose windows may be read.
    [[gnu::always_inline]] static __m512i ComputeSums(const Group& rsGroup, const std::int16_t* psSource)
    {
        return Sums(rsGroup, _mm512_load_si512(rsGroup.aausOffsets),
                    [=](int iFirst) { return _mm512_loadu_si512(psSource + iFirst); });
    }

    static void Store(__m256i vOutputs, std::int16_t* psOutput)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(psOutput), vOutputs);
    }

    /// The outputs of a group from lane iLane on, whose first sample is at psSource. None of the samples from lReadable
    /// on is read.
    template <typename Rounding>
    [[gnu::always_inline]] static void StorePartial(const Group& rsGroup, int iLane, const std::int16_t* psSource,
                                                    long lReadable, int iOutputs, std::int16_t* psOutput,
                                                    Rounding fnRound)
    {
        const __m512i vSkipped = _mm512_set1_epi16(static_cast<short>(rsGroup.aausOffsets[iLane][0]));
        const __m512i vOffsets = _mm512_sub_epi16(_mm512_load_si512(rsGroup.aausOffsets), vSkipped);
        const __m512i vSums = Sums(rsGroup, vOffsets, [=](int iFirst) {
            return _mm512_maskz_loadu_epi16(FirstLanesMask(lReadable - iFirst), psSource + iFirst);
        });
        const __m256i vFromLane = _mm256_add_epi16(_mm256_set1_epi16(static_cast<short>(iLane)), LaneIndices());
        _mm256_mask_storeu_epi16(psOutput, static_cast<__mmask16>(FirstLanesMask(iOutputs)),
                                 _mm256_permutexvar_epi16(vFromLane, fnRound(vSums)));
    }

private:
    static __m256i LaneIndices() { return _mm256_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15); }

    /// One sum for each lane. vOffsets are those of the first pairs, and fnWindow(i) loads the samples from i on.
    template <typename Window>
    [[gnu::always_inline]] static __m512i Sums(const Group& rsGroup, __m512i vOffsets, Window fnWindow)
    {
        __m512i avOffsets[kTapPairsPerWindow];
        avOffsets[0] = vOffsets;
        for (int k = 1; k < kTapPairsPerWindow; ++k) {
            avOffsets[k] = _mm512_add_epi16(avOffsets[k - 1], _mm512_set1_epi16(2));
        }
        __m512i avSums[kTapPairsPerWindow];
        for (int w = 0; w < kiWindows; ++w) {
            const __m512i vWindow = fnWindow(w * 2 * kTapPairsPerWindow);
            for (int k = 0; k < kTapPairsPerWindow; ++k) {
                const __m512i vSamples = _mm512_permutexvar_epi16(avOffsets[k], vWindow);
                const __m512i vPairs = _mm512_load_si512(rsGroup.aasTapPairs[w * kTapPairsPerWindow + k]);
                const __m512i vProducts = _mm512_madd_epi16(vPairs, vSamples);
                avSums[k] = w == 0 ? vProducts : _mm512_add_epi32(avSums[k], vProducts);
            }
        }
        return _mm512_add_epi32(_mm512_add_epi32(avSums[0], avSums[1]), _mm512_add_epi32(avSums[2], avSums[3]));
    }

    /// A mask of the first lCount words.
    static __mmask32 FirstLanesMask(long lCount)
    {
        const long lWords = lCount < 0 ? 0 : lCount < kWindowSamples ? lCount : kWindowSamples;
        return static_cast<__mmask32>((std::uint64_t{1} << lWords) - 1);
    }
};

} // namespace

#pragma GCC diagnostic pop
