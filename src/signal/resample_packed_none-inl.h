/// For the variants without a packed path.
#pragma once

#include "signal/packed_filter_bank.h"
#include "signal/resample_state-inl.h"

namespace {

struct PackedResampler {
    static constexpr bool kIsSupported = false;
    static constexpr long kBreakEvenPeriods = 0;

    static void PackFilterBank(const IppsResamplingPolyphaseFixed_16s&, int, SZtaPackedFilterBank& rsBank)
    {
        rsBank.lGroups = 0;
    }
    static bool SupportsGain(const SResampleState&) { return false; }
    static void Resample(const SZtaPackedFilterBank&, const SResampleState&) {}
};

} // namespace
