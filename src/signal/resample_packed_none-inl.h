/// For builds that have no use for prepared rows.
#pragma once

namespace {

struct PreparedRun {
    static constexpr bool kbPossible = false;
    static constexpr long kiWorthPeriods = 0;

    static void Prepare(const IppsResamplingPolyphaseFixed_16s&, int, SZtaPreparedRows& rsRows) { rsRows.lGroups = 0; }
    static bool Fits(const SRun&) { return false; }
    static void Work(const SZtaPreparedRows&, const SRun&) {}
};

} // namespace
