#include "signal/filter_rows.h"

#include "signal/filter_spec.h"
#include "signal/functions.h"
#include "signal/packed_filter_bank.h"

namespace {

/// Never written to.
SZtaPackedFilterBank s_sNoRows;

/// What ulRowsOf holds where the entry is set, which is never 0: blocks lie at multiples of 16.
std::uint32_t MarkOf(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pSpec) >> 3) | 1;
}

bool HasRows(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    return pSpec != nullptr && pSpec->ulRowsOf == MarkOf(pSpec);
}

} // namespace

void ZtaPrepareRowsOf(IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    void* const pvRows = ippMalloc(sizeof(SZtaPackedFilterBank));
    if (pvRows == nullptr) {
        return;
    }
    auto* const psRows = static_cast<SZtaPackedFilterBank*>(pvRows);
    ownPackFilterBank_16s(pSpec, psRows);
    if (psRows->lGroups == 0) {
        ippFree(pvRows);
        return;
    }
    pSpec->pRows[pSpec->outRate] = pvRows;
    pSpec->ulRowsOf = MarkOf(pSpec);
}

const SZtaPackedFilterBank& ZtaPreparedRowsOf(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    return HasRows(pSpec) ? *static_cast<const SZtaPackedFilterBank*>(pSpec->pRows[pSpec->outRate]) : s_sNoRows;
}

void ZtaFreePreparedRowsOf(IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    if (HasRows(pSpec)) {
        pSpec->ulRowsOf = 0;
        ippFree(pSpec->pRows[pSpec->outRate]);
    }
}
