/// The packed path: the order of the groups of a packed filter bank (see packed_filter_bank.h). PackedSimd computes one
/// group; AVX2 and AVX-512 have their own.
///
///     period of outputs   | group 0: 16 outputs | group 1 | ... | last group | group 0 ...
///     a call              .....xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx
///                              StorePartial, then whole groups, then StorePartial
#pragma once

#include "signal/fir_accumulators-inl.h"
#include "signal/packed_filter_bank.h"
#include "signal/resample_state-inl.h"
#include "signal/samples-inl.h"

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
    static constexpr long kBreakEvenPeriods = 10;

    /// Packs the bank, or leaves it without groups if the filter does not fit. A period that is a multiple of the
    /// outputs of a group is packed once, another one iPeriods times: more periods take longer to pack and less time to
    /// use.
    static void PackFilterBank(const IppsResamplingPolyphaseFixed_16s& rsFilter, int iPeriods,
                               SZtaPackedFilterBank& rsBank)
    {
        rsBank.lGroups = 0;
        if (2 * rsFilter.halfLen != Bank::kTaps || rsFilter.outRate < kMinPhases ||
            rsFilter.outRate > Bank::kMaxPhases ||
            static_cast<const std::int16_t*>(rsFilter.pRows[0])[Bank::kTaps] != 0) {
            return;
        }
        OutputPosition sNext{0, PhaseStep(rsFilter)};
        int iLargest = 0;
        int iGroups = 0;
        const int iPositions = rsFilter.outRate * (rsFilter.outRate % Bank::kOutputs == 0 ? 1 : iPeriods);
        for (int iPosition = 0; iPosition < iPositions; ++iGroups) {
            Group& rsGroup = rsBank.asGroups[iGroups];
            const int iRemaining = iPositions - iPosition;
            PlaceOutputs(rsFilter, sNext, iRemaining < Bank::kOutputs ? iRemaining : Bank::kOutputs, rsGroup);
            if (rsGroup.lOutputs < Bank::kMinGroupOutputs && rsGroup.lOutputs < iRemaining) {
                return;
            }
            for (int i = 0; i < rsGroup.lOutputs; ++i, ++iPosition) {
                const int iSum = PackTaps(sNext.Taps(rsFilter), rsGroup, i);
                iLargest = iSum > iLargest ? iSum : iLargest;
                if (iPosition < rsFilter.outRate) {
                    rsBank.asPhasePositions[sNext.uiPhase] = {static_cast<std::uint8_t>(iGroups),
                                                              static_cast<std::uint8_t>(i)};
                }
                sNext.Advance(rsFilter);
            }
            for (int i = rsGroup.lOutputs; i < Bank::kOutputs; ++i) {
                ClearTaps(rsGroup, i);
            }
        }
        // PackedSimd also accumulates in 32 bits.
        if (iLargest <= Int32Accumulator::kMaxTapSum && PackAdvances(iGroups, rsBank)) {
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

    static constexpr int kMinPhases = 32; ///< with fewer, too many lanes of the last group are unused
    static constexpr double kMaxGain = 0.5;

    /// An output while the bank is packed.
    struct OutputPosition {
        unsigned int uiPhase;
        unsigned int uiPhaseStep;

        const std::int16_t* Taps(const IppsResamplingPolyphaseFixed_16s& rsFilter) const
        {
            return static_cast<const std::int16_t*>(rsFilter.pRows[uiPhase]);
        }

        /// Returns the samples from this output to the next.
        int Advance(const IppsResamplingPolyphaseFixed_16s& rsFilter)
        {
            const int iSamples = rsFilter.pStep[uiPhase];
            uiPhase = AddModuloRate(uiPhase, uiPhaseStep, static_cast<unsigned int>(rsFilter.outRate));
            return iSamples;
        }
    };

    /// Chooses the base of a group so that as many of the next outputs as possible fit in it. Stores their number,
    /// their offsets from the base and, as lAdvance, the samples from the first output to the one after the last.
    static void PlaceOutputs(const IppsResamplingPolyphaseFixed_16s& rsFilter, OutputPosition sOutput, int iMaxOutputs,
                             Group& rsGroup)
    {
        // All outputs so far fit if the first of them begins iMin to iMax samples after the base.
        int iMin = 0;
        int iMax = Bank::kBlockSamples;
        int iOffset = 0;
        int iOutputs = 0;
        for (; iOutputs < iMaxOutputs; ++iOutputs) {
            const int iQuadMin = iOutputs / Bank::kQuadOutputs * Bank::kBlockSamples - iOffset;
            const int iQuadMax = iQuadMin + Bank::kBlockSamples;
            if (iQuadMin > iMax || iQuadMax < iMin) {
                break;
            }
            iMin = iQuadMin > iMin ? iQuadMin : iMin;
            iMax = iQuadMax < iMax ? iQuadMax : iMax;
            rsGroup.aucOffsets[iOutputs] = static_cast<std::uint8_t>(iOffset);
            iOffset += sOutput.Advance(rsFilter);
        }
        for (int i = 0; i < iOutputs; ++i) {
            rsGroup.aucOffsets[i] = static_cast<std::uint8_t>(rsGroup.aucOffsets[i] + iMin);
        }
        rsGroup.lOutputs = iOutputs;
        rsGroup.lAdvance = iOffset;
    }

    /// Stores the taps of one output in the blocks of its quad. Returns the sum of their magnitudes.
    static int PackTaps(const std::int16_t* psTaps, Group& rsGroup, int iOutput)
    {
        constexpr int kLastBlock = Bank::kQuadBlocks - 1;
        constexpr int kTapBits = 16;
        const int iQuad = iOutput / Bank::kQuadOutputs;
        const int iHalf = iOutput / Bank::kHalfOutputs;
        const int iFirstBlock = iQuad - iHalf * Bank::kHalfFirstBlock;
        const int iShift = rsGroup.aucOffsets[iOutput] - iQuad * Bank::kBlockSamples; // in taps, 0 to 4
        const auto Store = [&](int iBlock, std::uint64_t ulTaps) {
            __builtin_memcpy(rsGroup.asTaps[iHalf][iBlock][iOutput % Bank::kHalfOutputs], &ulTaps, sizeof(ulTaps));
        };
        const auto Load = [&](int iTap) { return static_cast<std::uint64_t>(LoadBlock(psTaps + iTap)); };
        Store(iFirstBlock == 0 ? Bank::kHalfBlocks - 1 : 0, 0); // the quad does not use this block
        // The first and the last block have four taps in total. No shift exceeds 63 bits.
        Store(iFirstBlock, iShift < Bank::kBlockSamples ? Load(0) << (iShift * kTapBits) : 0);
        for (int k = 1; k < kLastBlock; ++k) {
            Store(iFirstBlock + k, Load(k * Bank::kBlockSamples - iShift));
        }
        Store(iFirstBlock + kLastBlock,
              iShift > 0 ? Load(Bank::kTaps - Bank::kBlockSamples) >> ((Bank::kBlockSamples - iShift) * kTapBits) : 0);
        int iSum = 0;
        for (int k = 0; k < Bank::kTaps; ++k) {
            iSum += psTaps[k] < 0 ? -psTaps[k] : psTaps[k];
        }
        return iSum;
    }

    /// The lanes of outputs that do not exist.
    static void ClearTaps(Group& rsGroup, int iOutput)
    {
        for (auto& raBlock : rsGroup.asTaps[iOutput / Bank::kHalfOutputs]) {
            __builtin_memset(raBlock[iOutput % Bank::kHalfOutputs], 0, sizeof(raBlock[0]));
        }
    }

    /// Changes the advances, which count from output to output, to those from base to base, and packs them. Returns
    /// false if they differ too much for kAdvanceBits.
    static bool PackAdvances(int iGroups, SZtaPackedFilterBank& rsBank)
    {
        for (int i = 0; i < iGroups; ++i) {
            const Group& rsNext = rsBank.asGroups[i + 1 < iGroups ? i + 1 : 0];
            rsBank.asGroups[i].lAdvance += rsBank.asGroups[i].aucOffsets[0] - rsNext.aucOffsets[0];
        }
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
        const std::int16_t* const psBegin = rsState.psSource;
        const std::int16_t* const psEnd = rsState.psEnd;
        const Bank::SPosition sPosition = rsBank.asPhasePositions[rsState.uiPhase];
        const Group* psGroup = psFirst + sPosition.ucGroup;
        std::uint64_t ulPackedAdvances = rsBank.ulPackedAdvances >> (sPosition.ucGroup * Bank::kAdvanceBits);
        int iFirstOutput = sPosition.ucOutput;
        const std::int16_t* psBase = psBegin - psGroup->aucOffsets[iFirstOutput];
        std::int16_t* psOutput = rsState.psOutput;
        long lCount = rsState.lCount;
        const auto Advance = [&](int iOutputs) {
            psOutput += iOutputs;
            lCount -= iOutputs;
            if (psGroup != psLast) {
                psBase += lMinAdvance + static_cast<long>(ulPackedAdvances % (1U << Bank::kAdvanceBits));
                ulPackedAdvances >>= Bank::kAdvanceBits;
                ++psGroup;
            } else {
                psBase += psLast->lAdvance;
                ulPackedAdvances = rsBank.ulPackedAdvances;
                psGroup = psFirst;
            }
        };
        // Cleared here and not before each use: loads of bytes from several stores that are still pending are slow.
        alignas(64) std::int16_t asSamples[Bank::kGroupSamples] = {};
        // NOLINTNEXTLINE(bugprone-infinite-loop): Advance changes lCount
        while (lCount > 0) {
            if (iFirstOutput == 0 && psBase >= psBegin && lCount >= Bank::kOutputs &&
                psEnd - psBase >= Bank::kGroupSamples) {
                do { // all samples of the group are readable
                    // The unused lanes of a group are stored, too; the next group overwrites them.
                    PackedSimd::Store(fnRound(PackedSimd::ComputeSums(*psGroup, psBase)), psOutput);
                    Advance(psGroup->lOutputs);
                } while (lCount >= Bank::kOutputs && psEnd - psBase >= Bank::kGroupSamples);
            } else {
                const int iRemaining = psGroup->lOutputs - iFirstOutput;
                const int iOutputs = lCount < iRemaining ? static_cast<int>(lCount) : iRemaining;
                CopyGroupSamples(asSamples, psGroup->aucOffsets[iFirstOutput], psBase, psEnd);
                PackedSimd::StorePartial(fnRound(PackedSimd::ComputeSums(*psGroup, asSamples)), iFirstOutput, iOutputs,
                                         psOutput);
                iFirstOutput = 0;
                Advance(iOutputs);
            }
        }
    }

    /// Copies the samples of a group from lFirst on that are before psEnd: 32 or more. The others are multiplied by 0,
    /// or belong to no output.
    static void CopyGroupSamples(std::int16_t (&rasSamples)[Bank::kGroupSamples], long lFirst,
                                 const std::int16_t* psBase, const std::int16_t* psEnd)
    {
        // In two parts of fixed sizes that overlap.
        constexpr long kSecondPart = Bank::kGroupSamples - Bank::kTaps;
        const long lReadable = psEnd - psBase;
        const long lSecond = (lReadable < Bank::kGroupSamples ? lReadable : Bank::kGroupSamples) - kSecondPart;
        CopySamples(rasSamples + lFirst, psBase + lFirst, Bank::kTaps);
        CopySamples(rasSamples + lSecond, psBase + lSecond, kSecondPart);
    }
};

} // namespace
