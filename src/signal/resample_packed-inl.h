/// The packed path: the order of the groups of a packed filter bank (see packed_filter_bank.h). PackedSimd computes one
/// group; AVX2 and AVX-512 have their own.
///
///     period of outputs   | group 0: 16 outputs | group 1 | ... | last group | group 0 ...
///     a call              .....xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx
///                              StorePartial, then whole groups, then StorePartial
#pragma once

#include "signal/packed_filter_bank.h"
#include "signal/resample_state-inl.h"

#if defined(__AVX512BW__)
#include "signal/resample_packed_avx512-inl.h"
#else
#include "signal/resample_packed_avx2-inl.h"
#endif

#include <cstdint>

namespace {

class PackedResampler {
public:
    static constexpr bool kIsSupported = true;
    /// From this many periods on, packing the bank for one call costs less than it saves.
    static constexpr long kBreakEvenPeriods = PackedSimd::kBreakEvenPeriods;

    /// Produces no groups if the filter does not fit this form. If a period is not a multiple of the lanes, more than
    /// one period takes longer to pack and less time to use; otherwise iPeriods has no effect.
    static void PackFilterBank(const IppsResamplingPolyphaseFixed_16s& rsFilter, int iPeriods,
                               SZtaPackedFilterBank& rsBank)
    {
        rsBank.lGroups = 0;
        const unsigned int uiRate = static_cast<unsigned int>(rsFilter.outRate);
        if (2 * rsFilter.halfLen != Bank::kTaps || rsFilter.outRate < kMinPhases ||
            rsFilter.outRate > Bank::kMaxPhases ||
            static_cast<const std::int16_t*>(rsFilter.pRows[0])[Bank::kTaps] != 0) {
            return;
        }
        const unsigned int uiStep = static_cast<unsigned int>(rsFilter.inRate) % uiRate;
        unsigned int uiPhase = 0;
        int iLargest = 0;
        int iGroups = 0;
        const int iPositions = rsFilter.outRate * (rsFilter.outRate % kLanes == 0 ? 1 : iPeriods);
        for (int iPosition = 0; iPosition < iPositions; ++iGroups) {
            Group& rsGroup = rsBank.asGroups[iGroups];
            int iOffset = 0;
            int iQuad = 0;
            int iLane = 0;
            for (; iLane < kLanes && iPosition < iPositions; ++iLane, ++iPosition) {
                iQuad = iLane % 4 == 0 ? iOffset : iQuad;
                if (iOffset < 0 || iOffset > Bank::kMaxLaneOffset || iOffset < iQuad ||
                    iOffset - iQuad > Bank::kMaxQuadOffset) {
                    return;
                }
                const int iSum = PackLane(static_cast<const std::int16_t*>(rsFilter.pRows[uiPhase]), rsGroup, iLane);
                iLargest = iSum > iLargest ? iSum : iLargest;
                StoreOffsets(rsGroup, iLane, iOffset, iOffset - iQuad);
                if (iPosition < rsFilter.outRate) {
                    rsBank.aucPhasePositions[uiPhase] = static_cast<std::uint8_t>(iPosition);
                }
                iOffset += rsFilter.pStep[uiPhase];
                uiPhase = AddModuloRate(uiPhase, uiStep, uiRate);
            }
            rsGroup.lOutputs = iLane;
            rsGroup.lAdvance = iOffset;
            for (; iLane < kLanes; ++iLane) {
                PackLane(static_cast<const std::int16_t*>(rsFilter.pRows[0]), rsGroup, iLane);
                StoreOffsets(rsGroup, iLane, 0, 0);
            }
        }
        // The condition of Int32Accumulator.
        if (iLargest <= 65535 && PackAdvances(iGroups, rsBank)) {
            rsBank.lGroups = iGroups;
        }
    }

    /// Returns true if sums can be rounded before they are clamped: no sum times the gain exceeds 32 bits.
    static bool SupportsGain(const SResampleState& rsState)
    {
        return rsState.dGain >= -kMaxGain && rsState.dGain <= kMaxGain;
    }

    static void Resample(const SZtaPackedFilterBank& rsBank, const SResampleState& rsState)
    {
        PackedSimd::DispatchOnRounding(rsState.dGain,
                                       [&](auto fnRound) { ResampleWithRounding(rsBank, rsState, fnRound); });
    }

private:
    using Bank = SZtaPackedFilterBank;
    using Group = SZtaPackedFilterBank::SGroup;

    static constexpr int kLanes = Bank::kLanes;
    static constexpr int kMinPhases = 32; ///< with fewer, too many lanes of the last group are unused
    static constexpr double kMaxGain = 0.5;

    /// Returns the sum of the magnitudes of the taps.
    static int PackLane(const std::int16_t* psTaps, Group& rsGroup, int iLane)
    {
        int iSum = 0;
        for (int k = 0; k < Bank::kTaps; ++k) {
            iSum += psTaps[k] < 0 ? -psTaps[k] : psTaps[k];
        }
        for (long k = 0; k < Bank::kTapPairs; ++k) {
            rsGroup.aasTapPairs[k][iLane][0] = psTaps[2 * k];
            rsGroup.aasTapPairs[k][iLane][1] = psTaps[2 * k + 1];
        }
        return iSum;
    }

    static void StoreOffsets(Group& rsGroup, int iLane, int iOffset, int iInQuad)
    {
        rsGroup.aausOffsets[iLane][0] = static_cast<std::uint16_t>(iOffset);
        rsGroup.aausOffsets[iLane][1] = static_cast<std::uint16_t>(iOffset + 1);
        for (int i = 0; i < 4; ++i) {
            rsGroup.aaucQuadBytes[iLane][i] = static_cast<std::uint8_t>(2 * iInQuad + i);
        }
    }

    /// Returns false if the advances of the groups differ too much for kAdvanceBits.
    static bool PackAdvances(int iGroups, SZtaPackedFilterBank& rsBank)
    {
        rsBank.lMinAdvance = rsBank.asGroups[0].lAdvance;
        for (int i = 1; i < iGroups - 1; ++i) {
            const std::int32_t lAdvance = rsBank.asGroups[i].lAdvance;
            rsBank.lMinAdvance = lAdvance < rsBank.lMinAdvance ? lAdvance : rsBank.lMinAdvance;
        }
        rsBank.ulPackedAdvances = 0;
        for (int i = iGroups - 2; i >= 0; --i) {
            const auto ulMore = static_cast<std::uint64_t>(rsBank.asGroups[i].lAdvance - rsBank.lMinAdvance);
            if (ulMore >> Bank::kAdvanceBits != 0) {
                return false;
            }
            rsBank.ulPackedAdvances = rsBank.ulPackedAdvances << Bank::kAdvanceBits | ulMore;
        }
        return true;
    }

    template <typename Rounding>
    static void ResampleWithRounding(const SZtaPackedFilterBank& rsBank, const SResampleState& rsState,
                                     Rounding fnRound)
    {
        const Group* const psFirst = rsBank.asGroups;
        const Group* const psLast = psFirst + rsBank.lGroups - 1;
        const long lMinAdvance = rsBank.lMinAdvance;
        const std::int16_t* const psEnd = rsState.psEnd;
        const int iPosition = rsBank.aucPhasePositions[rsState.uiPhase];
        const Group* psGroup = psFirst + iPosition / kLanes;
        std::uint64_t ulPackedAdvances = rsBank.ulPackedAdvances >> (iPosition / kLanes * Bank::kAdvanceBits);
        const std::int16_t* psSource = rsState.psSource;
        std::int16_t* psOutput = rsState.psOutput;
        long lCount = rsState.lCount;
        const auto Advance = [&](int iOutputs) {
            if (psGroup != psLast) {
                psSource += lMinAdvance + static_cast<long>(ulPackedAdvances % (1U << Bank::kAdvanceBits));
                ulPackedAdvances >>= Bank::kAdvanceBits;
                psOutput += iOutputs;
                lCount -= iOutputs;
                ++psGroup;
            } else {
                const int iStored = iOutputs < psLast->lOutputs ? iOutputs : psLast->lOutputs;
                psSource += psLast->lAdvance;
                ulPackedAdvances = rsBank.ulPackedAdvances;
                psOutput += iStored;
                lCount -= iStored;
                psGroup = psFirst;
            }
        };
        int iLane = iPosition % kLanes;
        // NOLINTNEXTLINE(bugprone-infinite-loop): Advance changes lCount
        while (lCount > 0) {
            if (iLane == 0 && lCount >= kLanes && psEnd - psSource >= PackedSimd::kGroupReadSamples) {
                do {
                    // The unused lanes of the last group are stored, too; the next group overwrites them.
                    PackedSimd::Store(fnRound(PackedSimd::ComputeSums(*psGroup, psSource)), psOutput);
                    Advance(kLanes);
                } while (lCount >= kLanes && psEnd - psSource >= PackedSimd::kGroupReadSamples);
            } else {
                const int iRest = (psGroup == psLast ? psLast->lOutputs : kLanes) - iLane;
                const int iOutputs = lCount < iRest ? static_cast<int>(lCount) : iRest;
                PackedSimd::StorePartial(*psGroup, iLane, psSource, psEnd - psSource, iOutputs, psOutput, fnRound);
                psSource -= psGroup->aausOffsets[iLane][0];
                iLane = 0;
                Advance(iOutputs);
            }
        }
    }
};

} // namespace
