/// The run on rows that were prepared for it (see packed_filter_bank.h): which groups of outputs come when. How a group is
/// worked out is PreparedLanes' to know, of which each build that can do it has its own.
#pragma once

#include "signal/packed_filter_bank.h"

#include <cstdint>

namespace {

class PreparedRun {
public:
    static constexpr bool kbPossible = true;
    /// From so many periods on, to prepare the rows and to use them takes less than to use them as they are.
    static constexpr long kiWorthPeriods = PreparedLanes::kiWorthPeriods;

    /// Leaves no groups where this form cannot serve the filter. More than one period takes longer to prepare, and less
    /// to run where a period is no multiple of the lanes; where it is one, iPeriods does not matter.
    static void Prepare(const IppsResamplingPolyphaseFixed_16s& rsFilter, int iPeriods, SZtaPreparedRows& rsRows)
    {
        rsRows.lGroups = 0;
        const unsigned int uiRate = static_cast<unsigned int>(rsFilter.outRate);
        if (2 * rsFilter.halfLen != Rows::kiTaps || rsFilter.outRate < kiMinPhases ||
            rsFilter.outRate > Rows::kiMaxPhases ||
            static_cast<const std::int16_t*>(rsFilter.pRows[0])[Rows::kiTaps] != 0) {
            return;
        }
        const unsigned int uiStep = static_cast<unsigned int>(rsFilter.inRate) % uiRate;
        unsigned int uiPhase = 0;
        int iLargest = 0;
        int iGroups = 0;
        const int iPlaces = rsFilter.outRate * (rsFilter.outRate % kiLanes == 0 ? 1 : iPeriods);
        for (int iPlace = 0; iPlace < iPlaces; ++iGroups) {
            Group& rsGroup = rsRows.asGroups[iGroups];
            int iOffset = 0;
            int iQuad = 0;
            int iLane = 0;
            for (; iLane < kiLanes && iPlace < iPlaces; ++iLane, ++iPlace) {
                iQuad = iLane % 4 == 0 ? iOffset : iQuad;
                if (iOffset < 0 || iOffset > Rows::kiMaxOffset || iOffset < iQuad ||
                    iOffset - iQuad > Rows::kiMaxInQuad) {
                    return;
                }
                const int iSum = FillLane(static_cast<const std::int16_t*>(rsFilter.pRows[uiPhase]), rsGroup, iLane);
                iLargest = iSum > iLargest ? iSum : iLargest;
                rsGroup.aausOffsets[iLane][0] = static_cast<std::uint16_t>(iOffset);
                rsGroup.aausOffsets[iLane][1] = static_cast<std::uint16_t>(iOffset + 1);
                if (iPlace < rsFilter.outRate) {
                    rsRows.aucPlaces[uiPhase] = static_cast<std::uint8_t>(iPlace);
                }
                iOffset += rsFilter.pStep[uiPhase];
                uiPhase = AddPhases(uiPhase, uiStep, uiRate);
            }
            rsGroup.lOutputs = iLane;
            rsGroup.lAdvance = iOffset;
            for (; iLane < kiLanes; ++iLane) {
                FillLane(static_cast<const std::int16_t*>(rsFilter.pRows[0]), rsGroup, iLane);
                rsGroup.aausOffsets[iLane][0] = 0;
                rsGroup.aausOffsets[iLane][1] = 1;
            }
        }
        // What NarrowSums asks for.
        if (iLargest <= 65535 && PackAdvances(iGroups, rsRows)) {
            rsRows.lGroups = iGroups;
        }
    }

    /// Whether sums may be rounded before they are limited: whether none, times the gain, passes 32 bits.
    static bool Fits(const SRun& rsRun) { return rsRun.dGain >= -kdMostGain && rsRun.dGain <= kdMostGain; }

    static void Work(const SZtaPreparedRows& rsRows, const SRun& rsRun)
    {
        PreparedLanes::ChooseRounding(rsRun.dGain, [&](auto fnRound) { WorkWith(rsRows, rsRun, fnRound); });
    }

private:
    using Rows = SZtaPreparedRows;
    using Group = SZtaPreparedRows::SGroup;

    static constexpr int kiLanes = Rows::kiLanes;
    static constexpr int kiMinPhases = 32; ///< with fewer, the last group of a period leaves too many lanes unused
    static constexpr double kdMostGain = 0.5;

    /// The sum of the row's magnitudes.
    static int FillLane(const std::int16_t* psTaps, Group& rsGroup, int iLane)
    {
        int iSum = 0;
        for (int k = 0; k < Rows::kiTaps; ++k) {
            iSum += psTaps[k] < 0 ? -psTaps[k] : psTaps[k];
        }
        for (long k = 0; k < Rows::kiPairs; ++k) {
            rsGroup.aasPairs[k][iLane][0] = psTaps[2 * k];
            rsGroup.aasPairs[k][iLane][1] = psTaps[2 * k + 1];
        }
        return iSum;
    }

    /// False if the advances of the groups differ by too much.
    static bool PackAdvances(int iGroups, SZtaPreparedRows& rsRows)
    {
        rsRows.lLeastAdvance = rsRows.asGroups[0].lAdvance;
        for (int i = 1; i < iGroups - 1; ++i) {
            const std::int32_t lAdvance = rsRows.asGroups[i].lAdvance;
            rsRows.lLeastAdvance = lAdvance < rsRows.lLeastAdvance ? lAdvance : rsRows.lLeastAdvance;
        }
        rsRows.ulAdvances = 0;
        for (int i = iGroups - 2; i >= 0; --i) {
            const auto ulMore = static_cast<std::uint64_t>(rsRows.asGroups[i].lAdvance - rsRows.lLeastAdvance);
            if (ulMore >> Rows::kiAdvanceBits != 0) {
                return false;
            }
            rsRows.ulAdvances = rsRows.ulAdvances << Rows::kiAdvanceBits | ulMore;
        }
        return true;
    }

    template <typename Rounding>
    static void WorkWith(const SZtaPreparedRows& rsRows, const SRun& rsRun, Rounding fnRound)
    {
        const Group* const psFirst = rsRows.asGroups;
        const Group* const psLast = psFirst + rsRows.lGroups - 1;
        const long lLeastAdvance = rsRows.lLeastAdvance;
        const std::int16_t* const psEnd = rsRun.psEnd;
        const int iPlace = rsRows.aucPlaces[rsRun.uiPhase];
        const Group* psGroup = psFirst + iPlace / kiLanes;
        std::uint64_t ulAdvances = rsRows.ulAdvances >> (iPlace / kiLanes * Rows::kiAdvanceBits);
        const std::int16_t* psSource = rsRun.psSource;
        std::int16_t* psOutput = rsRun.psOutput;
        long lCount = rsRun.lCount;
        const auto GoOn = [&](int iOutputs) {
            if (psGroup != psLast) {
                psSource += lLeastAdvance + static_cast<long>(ulAdvances % (1U << Rows::kiAdvanceBits));
                ulAdvances >>= Rows::kiAdvanceBits;
                psOutput += iOutputs;
                lCount -= iOutputs;
                ++psGroup;
            } else {
                const int iLess = iOutputs < psLast->lOutputs ? iOutputs : psLast->lOutputs;
                psSource += psLast->lAdvance;
                ulAdvances = rsRows.ulAdvances;
                psOutput += iLess;
                lCount -= iLess;
                psGroup = psFirst;
            }
        };
        int iLane = iPlace % kiLanes;
        // NOLINTNEXTLINE(bugprone-infinite-loop): GoOn counts
        while (lCount > 0) {
            if (iLane == 0 && lCount >= kiLanes && psEnd - psSource >= PreparedLanes::kiSamplesRead) {
                do {
                    // Lanes beyond a group's outputs are stored, too, and overwritten by the next group.
                    PreparedLanes::Store(fnRound(PreparedLanes::SumsOf(*psGroup, psSource)), psOutput);
                    GoOn(kiLanes);
                } while (lCount >= kiLanes && psEnd - psSource >= PreparedLanes::kiSamplesRead);
            } else {
                const int iRest = (psGroup == psLast ? psLast->lOutputs : kiLanes) - iLane;
                const int iOutputs = lCount < iRest ? static_cast<int>(lCount) : iRest;
                PreparedLanes::StorePart(*psGroup, iLane, psSource, psEnd - psSource, iOutputs, psOutput, fnRound);
                psSource -= psGroup->aausOffsets[iLane][0];
                iLane = 0;
                GoOn(iOutputs);
            }
        }
    }
};

} // namespace
