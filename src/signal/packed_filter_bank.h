/// A filter bank reordered for the variants that compute sixteen outputs in parallel.
#pragma once

#include "signal/filter_spec.h"

#include <cstdint>

/// The taps of one period of outputs, from phase 0 on, in groups of sixteen outputs. Each lane computes one output, so
/// no horizontal sums are needed: one load brings the same pair of taps of sixteen phases.
///
///     aasTapPairs[0]   taps 0, 1 of output 0 | taps 0, 1 of output 1 | ... | taps 0, 1 of output 15
///     aasTapPairs[1]   taps 2, 3 of output 0 | taps 2, 3 of output 1 | ... | taps 2, 3 of output 15
///     ...
///
/// If a period ends within a group, two consecutive periods are packed, so that fewer lanes are unused.
///
/// Every variant accepts a bank that another variant packed: the variants that use it produce the same bank, the others
/// produce an empty one and ignore it.
struct SZtaPackedFilterBank {
    static constexpr int kLanes = 16;
    static constexpr int kTaps = 32; ///< of a phase; the additional tap of phase 0 must be 0
    static constexpr int kTapPairs = kTaps / 2;
    static constexpr int kMaxPhases = 160;
    static constexpr int kMaxPeriods = 2;
    static constexpr int kMaxLaneOffset = 24; ///< from the first sample of lane 0 to that of another lane
    static constexpr int kMaxQuadOffset = 4;  ///< the same within a quad of neighboring lanes
    static constexpr int kAdvanceBits = 3;

    struct SGroup {
        alignas(64) std::int16_t aasTapPairs[kTapPairs][kLanes][2];
        /// The first two samples of each lane, counted from the first sample of lane 0.
        alignas(64) std::uint16_t aausOffsets[kLanes][2];
        /// The bytes of the first two samples of each lane, counted from the first sample of its quad.
        alignas(64) std::uint8_t aaucQuadBytes[kLanes][4];
        std::int32_t lOutputs; ///< below kLanes in the last group only
        std::int32_t lAdvance; ///< samples from lane 0 of this group to lane 0 of the next
    };

    static constexpr int kMaxGroups = kMaxPeriods * kMaxPhases / kLanes;
    static_assert((kMaxGroups - 1) * kAdvanceBits <= 64);

    SGroup asGroups[kMaxGroups];
    std::uint8_t aucPhasePositions[kMaxPhases]; ///< the index of the output of each phase in the first period
    /// The advances of all groups but the last, less the smallest of them, the first in the lowest bits. They fit a
    /// register: an advance loaded from memory would delay the loads of the samples.
    std::uint64_t ulPackedAdvances;
    std::int32_t lMinAdvance;
    std::int32_t lGroups; ///< 0 if the filter does not fit this form
};

// The packed bank of a filter lies behind the filter's tables, in the same block:
//
//     header | steps | phase 0, phase 1, ... , packed bank | taps and scratch of Init | packed bank
//                      \___ table of row pointers ______/                               \_ 64-byte aligned
//
// One entry more than the phases need in the table of row pointers points to it; this entry always exists. The key in
// the header is derived from the address of the block, and says that the entry is set.
//
// ippsResamplePolyphaseFixedInit_16s clears the key, so a filter that is initialized again in place has no packed bank.
// A copy of a filter has none because its address differs. ippsFree of the filter frees both.

/// Returns the size of a block for a filter of iFilterBytes and its packed bank, or iFilterBytes if such a filter
/// cannot have one.
int ZtaAddPackedFilterBankBytes(int iFilterBytes, int iTapCount, int iPhaseCount) noexcept;

/// Packs the bank of an initialized filter into the block that contains it, if the block has space for it. The bank is
/// empty if the filter does not fit this form, or if the selected variant does not use it.
void ZtaPackFilterBank(IppsResamplingPolyphaseFixed_16s* pSpec, int iFilterBytes, int iBlockBytes) noexcept;

// In an anonymous namespace because the variants must not share code.
namespace {

/// Blocks are aligned to 16 bytes, so the key is never 0.
inline std::uint32_t PackedBankKey(const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&rsFilter) >> 3) | 1;
}

inline void SetPackedFilterBank(IppsResamplingPolyphaseFixed_16s& rsFilter, SZtaPackedFilterBank* psBank)
{
    rsFilter.pRows[rsFilter.outRate] = psBank;
    rsFilter.ulPackedBankKey = PackedBankKey(rsFilter);
}

/// Returns null if the filter has no packed bank.
inline const SZtaPackedFilterBank* GetPackedFilterBank(const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    return rsFilter.ulPackedBankKey == PackedBankKey(rsFilter)
               ? static_cast<const SZtaPackedFilterBank*>(rsFilter.pRows[rsFilter.outRate])
               : nullptr;
}

} // namespace
