/// The vector path: any filter with 16-bit taps that is not very long. Several outputs are computed in parallel, each
/// with its own accumulator; the lanes of a vector hold the taps of one phase. No sample is read that does not belong
/// to an output.
#pragma once

#include "signal/fir_accumulators-inl.h"
#include "signal/resample_state-inl.h"
#include "signal/samples-inl.h"

#include <cstdint>

namespace {

/// Computes the next outputs: as many as there are accumulators, or fewer at the end of the call.
template <typename Accumulator, int iFixedTaps, bool bAll>
[[gnu::always_inline]] inline void ResampleGroup(SResampleState& rsState,
                                                 const unsigned int (&raAhead)[FirSimd::kParallelOutputs + 1])
{
    Accumulator sSums{};
    const int iTaps = iFixedTaps != 0 ? iFixedTaps : rsState.TapCount();
    for (int k = 0; k < FirSimd::kParallelOutputs; ++k) {
        if (!bAll && k >= rsState.lCount) {
            break;
        }
        const unsigned int uiPhase = rsState.PhaseAhead(raAhead[k]);
        const auto* psTaps = static_cast<const std::int16_t*>(rsState.psFilter->pRows[uiPhase]);
        AccumulateProducts(sSums, k, rsState.psSource, psTaps, iTaps);
        if (uiPhase == 0) {
            sSums.Add(k, FirSimd::FromInt(AtAnyAddress(rsState.psSource)[iTaps] * psTaps[iTaps]));
        }
        rsState.psSource += rsState.psFilter->pStep[uiPhase];
    }
    if (bAll) {
        FirSimd::RoundAndStore(sSums.SumsAsDoubles(), rsState.dGain, rsState.psOutput);
        rsState.psOutput += FirSimd::kParallelOutputs;
        rsState.lCount -= FirSimd::kParallelOutputs;
        rsState.uiPhase = rsState.PhaseAhead(raAhead[FirSimd::kParallelOutputs]);
    } else {
        std::int16_t asOutputs[FirSimd::kParallelOutputs];
        FirSimd::RoundAndStore(sSums.SumsAsDoubles(), rsState.dGain, asOutputs);
        CopySamples(rsState.psOutput, asOutputs, rsState.lCount);
    }
}

template <typename Accumulator, int iFixedTaps>
void ResampleInParallel(SResampleState sState)
{
    // The distance from the first phase of a group to that of each output.
    unsigned int auiAhead[FirSimd::kParallelOutputs + 1] = {};
    const unsigned int uiRate = static_cast<unsigned int>(sState.psFilter->outRate);
    const unsigned int uiPhaseStep = PhaseStep(*sState.psFilter);
    for (int k = 0; k < FirSimd::kParallelOutputs; ++k) {
        auiAhead[k + 1] = AddModuloRate(auiAhead[k], uiPhaseStep, uiRate);
    }
    while (sState.lCount >= FirSimd::kParallelOutputs) {
        ResampleGroup<Accumulator, iFixedTaps, true>(sState, auiAhead);
    }
    ResampleGroup<Accumulator, iFixedTaps, false>(sState, auiAhead);
}

/// The filter length of the streams has loops of its own.
template <typename Accumulator>
void DispatchOnTapCount(const SResampleState& rsState)
{
    if (rsState.TapCount() == 32) {
        ResampleInParallel<Accumulator, 32>(rsState);
    } else {
        ResampleInParallel<Accumulator, 0>(rsState);
    }
}

/// Returns true if every phase allows Int32Accumulator. Sums the largest tap of each index over all phases.
bool FitsInt32Accumulator(const IppsResamplingPolyphaseFixed_16s& rsFilter)
{
    const int iTaps = 2 * rsFilter.halfLen;
    Int32Accumulator sSums{};
    for (int i = 0; i < iTaps; i += FirSimd::kTapsPerVector) {
        FirSimd::IntVector vLargest{};
        for (int p = 0; p < rsFilter.outRate; ++p) {
            const auto* psTaps = static_cast<const std::int16_t*>(rsFilter.pRows[p]) + i;
            vLargest = FirSimd::Max(vLargest, FirSimd::Abs(LoadTaps(psTaps, iTaps - i)));
        }
        sSums.Add(0, FirSimd::MulAddPairs(vLargest, FirSimd::Ones()));
    }
    int aiSums[FirSimd::kParallelOutputs];
    FirSimd::Store(FirSimd::HorizontalSums(sSums.avSums), aiSums);
    const int iOuterTap = static_cast<const std::int16_t*>(rsFilter.pRows[0])[iTaps];
    const int iSlack = iTaps; // FirSimd::Abs returns 32767 for -32768
    return aiSums[0] + (iOuterTap < 0 ? -iOuterTap : iOuterTap) + iSlack <= Int32Accumulator::kMaxTapSum;
}

void ResampleVector(const SResampleState& rsState)
{
    // The check of all taps costs less than the wider accumulator if each phase is used about twice.
    if (rsState.lCount >= 2L * rsState.psFilter->outRate && FitsInt32Accumulator(*rsState.psFilter)) {
        DispatchOnTapCount<Int32Accumulator>(rsState);
    } else {
        DispatchOnTapCount<Int48Accumulator>(rsState);
    }
}

} // namespace
