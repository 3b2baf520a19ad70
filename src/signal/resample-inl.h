/// The polyphase filter: for each output, the dot product of the taps of its phase and the samples around it.
///
/// There are three paths with the same results:
///   packed  sixteen outputs in parallel, from a packed filter bank (packed_filter_bank.h); AVX2 and AVX-512 only
///   vector  any filter with 16-bit taps, several outputs in parallel
///   scalar  single-precision taps, and very long filters
#pragma once

#include "signal/functions.h"
#include "signal/packed_filter_bank.h"
#include "signal/resample_scalar-inl.h"
#include "signal/resample_state-inl.h"
#include "signal/resample_vector-inl.h"
#include "signal/variant_name-inl.h"

#if defined(__AVX2__)
#include "signal/resample_packed-inl.h"
#else
#include "signal/resample_packed_none-inl.h"
#endif

#include <cstdint>

namespace {

/// Packs the filter bank for one long call alone, on the stack. A function of its own, so that other calls do not need
/// the stack; inline, so that variants that do not call it omit it.
[[gnu::noinline]] inline bool PackAndResample(const SResampleState& rsState)
{
    SZtaPackedFilterBank sBank;
    PackedResampler::PackFilterBank(*rsState.psFilter, 1, sBank);
    if (sBank.lGroups == 0) {
        return false;
    }
    PackedResampler::Resample(sBank, rsState);
    return true;
}

/// Returns false if the packed path does not apply. A filter whose packed bank is empty belongs to a stream: it is not
/// packed here, because a real-time thread may have a small stack.
bool ResamplePacked(const SResampleState& rsState)
{
    const IppsResamplingPolyphaseFixed_16s& rsFilter = *rsState.psFilter;
    if (!PackedResampler::kIsSupported || HasFloatTaps(rsFilter) || !PackedResampler::SupportsGain(rsState)) {
        return false;
    }
    if (const SZtaPackedFilterBank* const psBank = GetPackedFilterBank(rsFilter)) {
        if (psBank->lGroups != 0) {
            PackedResampler::Resample(*psBank, rsState);
        }
        return psBank->lGroups != 0;
    }
    return rsState.lCount >= PackedResampler::kBreakEvenPeriods * rsFilter.outRate && PackAndResample(rsState);
}

} // namespace

extern "C" void ZTA_IPP(ownPackFilterBank_16s)(const IppsResamplingPolyphaseFixed_16s* pSpec,
                                               SZtaPackedFilterBank* pBank) noexcept
{
    pBank->lGroups = 0;
    if (!HasFloatTaps(*pSpec)) {
        PackedResampler::PackFilterBank(*pSpec, SZtaPackedFilterBank::kMaxPeriods, *pBank);
    }
}

extern "C" IppStatus ZTA_IPP(ippsResamplePolyphaseFixed_16s)(const std::int16_t* pSrc, int len, std::int16_t* pDst,
                                                             float norm, double* pTime, int* pOutlen,
                                                             const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    if (pSpec == nullptr || pSrc == nullptr || pDst == nullptr || pOutlen == nullptr || pTime == nullptr) {
        return ippStsNullPtrErr;
    }
    if (len < 1) {
        return ippStsSizeErr;
    }
    const SResampleState sState = BeginResampling(pSrc, len, pDst, norm, *pTime, *pSpec);
    if (!ResamplePacked(sState)) {
        if (HasFloatTaps(*pSpec) || pSpec->halfLen >= Int48Accumulator::kMaxPairs) {
            ResampleScalar(sState);
        } else {
            ResampleVector(sState);
        }
    }
    *pOutlen = static_cast<int>(sState.lCount);
    *pTime = TimeAfter(*pTime, sState.lCount, *pSpec);
    return ippStsNoErr;
}
