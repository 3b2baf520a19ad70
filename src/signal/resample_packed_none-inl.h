/// For builds that have no use for prepared rows.
#pragma once

namespace {

struct PackedResampler {
    static constexpr bool kIsSupported = false;
    static constexpr long kBreakEvenPeriods = 0;

    static void PackFilterBank(const IppsResamplingPolyphaseFixed_16s&, int, SZtaPackedFilterBank& rsRows)
    {
        rsRows.lGroups = 0;
    }
    static bool SupportsGain(const SResampleState&) { return false; }
    static void Resample(const SZtaPackedFilterBank&, const SResampleState&) {}
};

} // namespace
