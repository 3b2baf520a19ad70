/// The rows of a filter in the order in which a run uses them, for those builds that work out sixteen outputs abreast.
#pragma once

#include "signal/filter_spec.h"

#include <cstdint>

/// A period of outputs, from phase 0 on, in groups of sixteen. The pairs of taps at one place in sixteen rows lie side
/// by side, so that each lane of a register works for one output and no sum is added up across a register. Where a
/// period ends within a group, two may follow one another, so that fewer lanes go unused.
///
/// Every variant accepts a bank that another variant packed: the variants that use it produce the same bank, the others
/// produce an empty one and ignore it.
struct SZtaPackedFilterBank {
    static constexpr int kLanes = 16;
    static constexpr int kTaps = 32; ///< of a row; that of phase 0 has one more, which must be 0
    static constexpr int kTapPairs = kTaps / 2;
    static constexpr int kMaxPhases = 160;
    static constexpr int kMaxPeriods = 2;
    static constexpr int kMaxLaneOffset = 24; ///< of a lane's samples from those of its group's first lane
    static constexpr int kMaxQuadOffset = 4;  ///< of a lane's samples from those of the first of its four neighbours
    static constexpr int kAdvanceBits = 3;

    struct SGroup {
        alignas(64) std::int16_t aasTapPairs[kTapPairs][kLanes][2];
        /// Of the first two samples of each lane's row, from the first one of lane 0's.
        alignas(64) std::uint16_t aausOffsets[kLanes][2];
        std::int32_t lOutputs; ///< fewer than the lanes in the last group alone
        std::int32_t lAdvance; ///< samples from the first one of this group to that of the next
    };

    static constexpr int kiMaxGroups = kMaxPeriods * kMaxPhases / kLanes;
    static_assert((kiMaxGroups - 1) * kAdvanceBits <= 64);

    SGroup asGroups[kiMaxGroups];
    std::uint8_t aucPhasePositions[kMaxPhases]; ///< each phase's place in the first period
    /// By how much the advance of each group but the last is above the least of them, the first in the lowest bits: a
    /// run that reads each advance from memory waits for it before it can ask for samples.
    std::uint64_t ulPackedAdvances;
    std::int32_t lMinAdvance;
    std::int32_t lGroups; ///< 0 where there are none, or where this form cannot serve the filter
};

// The packed bank of a filter lies behind the filter's tables, in the same block. One entry more than the phases need
// in the table of row pointers points to it; this entry always exists. The key in the header is derived from the
// address of the block.
//
// ippsResamplePolyphaseFixedInit_16s clears the key, so a filter that is initialized again in place has no packed bank,
// and a copy of a filter has none because its address differs. ippsFree of the filter frees both.

/// Returns the size of a block for a filter of iFilterBytes and its packed bank, or iFilterBytes if such a filter
/// cannot have one.
int ZtaAddPackedFilterBankBytes(int iFilterBytes, int iTapCount, int iPhaseCount) noexcept;

/// Packs the bank of an initialized filter into the block that contains it. Does nothing if the block has no space for
/// it, if the filter does not fit the packed form, or if the selected variant does not use it: the filter then gives
/// the same samples without it.
void ZtaPackFilterBank(IppsResamplingPolyphaseFixed_16s* pSpec, int iFilterBytes, int iBlockBytes) noexcept;

/// Returns the packed bank of a filter, which is empty if the filter has none or if pSpec is null.
/// [no allocation] [no lock]
const SZtaPackedFilterBank& ZtaGetPackedFilterBank(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept;
