/// A filter bank reordered for the variants that compute sixteen outputs in parallel.
#pragma once

#include "signal/filter_spec.h"

#include <cstdint>

/// The taps of one period of outputs, from phase 0 on, in groups of up to sixteen outputs.
///
/// The samples of a group are read in blocks of four. A block is broadcast to all lanes, so no samples have to be
/// permuted; instead the taps of each output are moved to where its samples lie, with zeros before and after them:
///
///     samples from the base   0123 4567 89..               ..47
///     block                   0    1    2    3  ..  8    9    10   11
///     outputs 0 to 3          xxxx xxxx xxxx xxxx   xxxx
///     outputs 4 to 7               xxxx xxxx xxxx   xxxx xxxx
///     outputs 8 to 11                   xxxx xxxx   xxxx xxxx xxxx
///     outputs 12 to 15                       xxxx   xxxx xxxx xxxx xxxx
///
/// Four outputs, a quad, use nine blocks. The 32 samples of each of them begin 0 to 4 samples after the start of these
/// blocks. The base of a group is the first sample of its first output, or as many samples before it as this condition
/// requires. A group has fewer outputs if the last ones do not meet the condition.
///
/// A lane of 64 bits multiplies a block by the four taps of one output:
///
///     asTaps[half][block][output][tap]   half 0 has outputs 0 to 7 and blocks 0 to 9,
///                                        half 1 has outputs 8 to 15 and blocks 2 to 11
///
/// If a period ends within a group, two consecutive periods are packed, so that fewer lanes are unused.
///
/// Every variant accepts a bank that another variant packed: the variants that use it produce the same bank, the others
/// produce an empty one and ignore it.
struct SZtaPackedFilterBank {
    static constexpr int kOutputs = 16; ///< of a group, at most
    static constexpr int kTaps = 32;    ///< of a phase; the additional tap of phase 0 must be 0
    static constexpr int kMaxPhases = 160;
    static constexpr int kMaxPeriods = 2;
    static constexpr int kMinGroupOutputs = 15; ///< of all groups but the last
    static constexpr int kAdvanceBits = 3;

    static constexpr int kBlockSamples = 4;
    static constexpr int kQuadOutputs = 4;
    static constexpr int kQuadBlocks = kTaps / kBlockSamples + 1;
    static constexpr int kHalves = 2;
    static constexpr int kHalfOutputs = kOutputs / kHalves;
    static constexpr int kHalfFirstBlock = kHalfOutputs / kQuadOutputs; ///< of half 1
    static constexpr int kHalfBlocks = kQuadBlocks + kHalfFirstBlock - 1;
    static constexpr int kBlocks = kHalfBlocks + kHalfFirstBlock;
    static constexpr int kGroupSamples = kBlocks * kBlockSamples;

    struct SGroup {
        alignas(64) std::int16_t asTaps[kHalves][kHalfBlocks][kHalfOutputs][kBlockSamples];
        std::uint8_t aucOffsets[kOutputs]; ///< from the base to the first sample of each output
        std::int32_t lOutputs;
        std::int32_t lAdvance; ///< samples from the base of this group to that of the next
    };

    static constexpr int kMaxGroups = (kMaxPeriods * kMaxPhases + kMinGroupOutputs - 1) / kMinGroupOutputs;
    static_assert((kMaxGroups - 1) * kAdvanceBits <= 64);

    SGroup asGroups[kMaxGroups];
    /// The group of each phase in the first period, and the index of its output in the group.
    struct SPosition {
        std::uint8_t ucGroup;
        std::uint8_t ucOutput;
    } asPhasePositions[kMaxPhases];
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
namespace { // NOLINT(cert-dcl59-cpp)

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
