/// Sixteen outputs in parallel with AVX-512 F, BW and DQ, one in each 32-bit lane. The samples of all outputs lie in
/// one window of 32 samples: a permutation selects the pair of each lane.
#pragma once

#include "signal/biased_gain-inl.h"
#include "signal/packed_filter_bank.h"

#include <cstdint>

#include <immintrin.h>

// The intrinsics of GCC 12 use an uninitialized source for their masked forms, and warn about it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace {

class PackedSimd {
    using Bank = SZtaPackedFilterBank;
    using Group = SZtaPackedFilterBank::SGroup;

    static constexpr int kLanes = Bank::kLanes;
    static constexpr int kWindowSamples = 32;    ///< in a vector
    static constexpr int kTapPairsPerWindow = 4; ///< of each output
    static constexpr int kWindows = Bank::kTapPairs / kTapPairsPerWindow;
    static_assert(Bank::kMaxLaneOffset == kWindowSamples - 2 * kTapPairsPerWindow);

    /// For sums in units of 2^-14: output rates at or above the input rate.
    struct RoundByShift {
        static constexpr double kGain = 0x1p-14;

        __m256i operator()(__m512i vSums) const
        {
            // Adds a half, less one unit for negative sums: the shift rounds down, and halves round away from 0. The
            // limit of the taps excludes overflow.
            const __m512i vHalves = _mm512_add_epi32(_mm512_set1_epi32(1 << 13), _mm512_srai_epi32(vSums, 31));
            return _mm512_cvtsepi32_epi16(_mm512_srai_epi32(_mm512_add_epi32(vSums, vHalves), 14));
        }
    };

    /// See BiasedGain: fewer operations than RoundByGain, and no conversion of widths.
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

    /// Like FirSimd::RoundAndStore, but clamps last.
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
    /// The samples that all windows of a group span, including those that belong to no output.
    static constexpr int kGroupReadSamples = (kWindows - 1) * 2 * kTapPairsPerWindow + kWindowSamples;

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

    /// Computes a whole group. All samples of its windows must be readable.
    [[gnu::always_inline]] static __m512i ComputeSums(const Group& rsGroup, const std::int16_t* psSource)
    {
        return Sums(rsGroup, _mm512_load_si512(rsGroup.aausOffsets),
                    [=](int iFirst) { return _mm512_loadu_si512(psSource + iFirst); });
    }

    static void Store(__m256i vOutputs, std::int16_t* psOutput)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(psOutput), vOutputs);
    }

    /// Computes the outputs of a group from lane iLane on, whose first sample is at psSource. Reads lReadable samples
    /// at most.
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

    /// Returns one sum in each lane. vOffsets are those of the first pairs; fnWindow(i) loads the window from sample i
    /// on.
    template <typename Window>
    [[gnu::always_inline]] static __m512i Sums(const Group& rsGroup, __m512i vOffsets, Window fnWindow)
    {
        __m512i avOffsets[kTapPairsPerWindow];
        avOffsets[0] = vOffsets;
        for (int k = 1; k < kTapPairsPerWindow; ++k) {
            avOffsets[k] = _mm512_add_epi16(avOffsets[k - 1], _mm512_set1_epi16(2));
        }
        __m512i avSums[kTapPairsPerWindow];
        for (int w = 0; w < kWindows; ++w) {
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

    /// Returns a mask of the first lCount 16-bit lanes.
    static __mmask32 FirstLanesMask(long lCount)
    {
        const long lWords = lCount < 0 ? 0 : lCount < kWindowSamples ? lCount : kWindowSamples;
        return static_cast<__mmask32>((std::uint64_t{1} << lWords) - 1);
    }
};

} // namespace

#pragma GCC diagnostic pop
