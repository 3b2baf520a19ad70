/// The run on rows that were prepared for it (see packed_filter_bank.h): which groups of outputs come when. How a group
/// is worked out is PackedSimd' to know, of which each build that can do it has its own.
#pragma once

#include "signal/packed_filter_bank.h"

#include <cstdint>

namespace {

class PackedResampler {
public:
    static constexpr bool kIsSupported = true;
    /// From so many periods on, to prepare the rows and to use them takes less than to use them as they are.
    static constexpr long kBreakEvenPeriods = PackedSimd::kBreakEvenPeriods;

    /// Leaves no groups where this form cannot serve the filter. More than one period takes longer to prepare, and less
    /// to run where a period is no multiple of the lanes; where it is one, iPeriods does not matter.
    static void PackFilterBank(const IppsResamplingPolyphaseFixed_16s& rsFilter, int iPeriods,
                               SZtaPackedFilterBank& rsRows)
    {
        rsRows.lGroups = 0;
        const unsigned int uiRate = static_cast<unsigned int>(rsFilter.outRate);
        if (2 * rsFilter.halfLen != Rows::kTaps || rsFilter.outRate < kMinPhases ||
            rsFilter.outRate > Rows::kMaxPhases ||
            static_cast<const std::int16_t*>(rsFilter.pRows[0])[Rows::kTaps] != 0) {
            return;
        }
        const unsigned int uiStep = static_cast<unsigned int>(rsFilter.inRate) % uiRate;
        unsigned int uiPhase = 0;
        int iLargest = 0;
        int iGroups = 0;
        const int iPlaces = rsFilter.outRate * (rsFilter.outRate % kLanes == 0 ? 1 : iPeriods);
        for (int iPlace = 0; iPlace < iPlaces; ++iGroups) {
            Group& rsGroup = rsRows.asGroups[iGroups];
            int iOffset = 0;
            int iQuad = 0;
            int iLane = 0;
            for (; iLane < kLanes && iPlace < iPlaces; ++iLane, ++iPlace) {
                iQuad = iLane % 4 == 0 ? iOffset : iQuad;
                if (iOffset < 0 || iOffset > Rows::kMaxLaneOffset || iOffset < iQuad ||
                    iOffset - iQuad > Rows::kMaxQuadOffset) {
                    return;
                }
                const int iSum = PackLane(static_cast<const std::int16_t*>(rsFilter.pRows[uiPhase]), rsGroup, iLane);
                iLargest = iSum > iLargest ? iSum : iLargest;
                rsGroup.aausOffsets[iLane][0] = static_cast<std::uint16_t>(iOffset);
                rsGroup.aausOffsets[iLane][1] = static_cast<std::uint16_t>(iOffset + 1);
                if (iPlace < rsFilter.outRate) {
                    rsRows.aucPhasePositions[uiPhase] = static_cast<std::uint8_t>(iPlace);
                }
                iOffset += rsFilter.pStep[uiPhase];
                uiPhase = AddModuloRate(uiPhase, uiStep, uiRate);
            }
            rsGroup.lOutputs = iLane;
            rsGroup.lAdvance = iOffset;
            for (; iLane < kLanes; ++iLane) {
                PackLane(static_cast<const std::int16_t*>(rsFilter.pRows[0]), rsGroup, iLane);
                rsGroup.aausOffsets[iLane][0] = 0;
                rsGroup.aausOffsets[iLane][1] = 1;
            }
        }
        // What Int32Accumulator asks for.
        if (iLargest <= 65535 && PackAdvances(iGroups, rsRows)) {
            rsRows.lGroups = iGroups;
        }
    }

    /// Whether sums may be rounded before they are limited: whether none, times the gain, passes 32 bits.
    static bool SupportsGain(const SResampleState& rsRun)
    {
        return rsRun.dGain >= -kMaxGain && rsRun.dGain <= kMaxGain;
    }

    static void Resample(const SZtaPackedFilterBank& rsRows, const SResampleState& rsRun)
    {
        PackedSimd::DispatchOnRounding(rsRun.dGain,
                                       [&](auto fnRound) { ResampleWithRounding(rsRows, rsRun, fnRound); });
    }

private:
    using Rows = SZtaPackedFilterBank;
    using Group = SZtaPackedFilterBank::SGroup;

    static constexpr int kLanes = Rows::kLanes;
    static constexpr int kMinPhases = 32; ///< with fewer, the last group of a period leaves too many lanes unused
    static constexpr double kMaxGain = 0.5;

    /// The sum of the row's magnitudes.
    static int PackLane(const std::int16_t* psTaps, Group& rsGroup, int iLane)
    {
        int iSum = 0;
        for (int k = 0; k < Rows::kTaps; ++k) {
            iSum += psTaps[k] < 0 ? -psTaps[k] : psTaps[k];
        }
        for (long k = 0; k < Rows::kTapPairs; ++k) {
            rsGroup.aasTapPairs[k][iLane][0] = psTaps[2 * k];
            rsGroup.aasTapPairs[k][iLane][1] = psTaps[2 * k + 1];
        }
        return iSum;
    }

    /// False if the advances of the groups differ by too much.
    static bool PackAdvances(int iGroups, SZtaPackedFilterBank& rsRows)
    {
        rsRows.lMinAdvance = rsRows.asGroups[0].lAdvance;
        for (int i = 1; i < iGroups - 1; ++i) {
            const std::int32_t lAdvance = rsRows.asGroups[i].lAdvance;
            rsRows.lMinAdvance = lAdvance < rsRows.lMinAdvance ? lAdvance : rsRows.lMinAdvance;
        }
        rsRows.ulPackedAdvances = 0;
        for (int i = iGroups - 2; i >= 0; --i) {
            const auto ulMore = static_cast<std::uint64_t>(rsRows.asGroups[i].lAdvance - rsRows.lMinAdvance);
            if (ulMore >> Rows::kAdvanceBits != 0) {
                return false;
            }
            rsRows.ulPackedAdvances = rsRows.ulPackedAdvances << Rows::kAdvanceBits | ulMore;
        }
        return true;
    }

    template <typename Rounding>
    static void ResampleWithRounding(const SZtaPackedFilterBank& rsRows, const SResampleState& rsRun, Rounding fnRound)
    {
        const Group* const psFirst = rsRows.asGroups;
        const Group* const psLast = psFirst + rsRows.lGroups - 1;
        const long lMinAdvance = rsRows.lMinAdvance;
        const std::int16_t* const psEnd = rsRun.psEnd;
        const int iPlace = rsRows.aucPhasePositions[rsRun.uiPhase];
        const Group* psGroup = psFirst + iPlace / kLanes;
        std::uint64_t ulPackedAdvances = rsRows.ulPackedAdvances >> (iPlace / kLanes * Rows::kAdvanceBits);
        const std::int16_t* psSource = rsRun.psSource;
        std::int16_t* psOutput = rsRun.psOutput;
        long lCount = rsRun.lCount;
        const auto Advance = [&](int iOutputs) {
            if (psGroup != psLast) {
                psSource += lMinAdvance + static_cast<long>(ulPackedAdvances % (1U << Rows::kAdvanceBits));
                ulPackedAdvances >>= Rows::kAdvanceBits;
                psOutput += iOutputs;
                lCount -= iOutputs;
                ++psGroup;
            } else {
                const int iLess = iOutputs < psLast->lOutputs ? iOutputs : psLast->lOutputs;
                psSource += psLast->lAdvance;
                ulPackedAdvances = rsRows.ulPackedAdvances;
                psOutput += iLess;
                lCount -= iLess;
                psGroup = psFirst;
            }
        };
        int iLane = iPlace % kLanes;
        // NOLINTNEXTLINE(bugprone-infinite-loop): Advance counts
        while (lCount > 0) {
            if (iLane == 0 && lCount >= kLanes && psEnd - psSource >= PackedSimd::kGroupReadSamples) {
                do {
                    // Lanes beyond a group's outputs are stored, too, and overwritten by the next group.
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
