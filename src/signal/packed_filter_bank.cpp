#include "signal/packed_filter_bank.h"

#include "signal/functions.h"

#include <limits>

namespace {

/// Never written to.
SZtaPackedFilterBank s_sEmptyBank;

constexpr std::uintptr_t kBankAlignment = alignof(SZtaPackedFilterBank);

/// Blocks are aligned to 16 bytes, so the key is never 0.
std::uint32_t PackedBankKey(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pSpec) >> 3) | 1;
}

} // namespace

int ZtaAddPackedFilterBankBytes(int iFilterBytes, int iTapCount, int iPhaseCount) noexcept
{
    constexpr int kExtraBytes = static_cast<int>(sizeof(SZtaPackedFilterBank) + kBankAlignment);
    const bool bCanPack = iTapCount == SZtaPackedFilterBank::kTaps && iPhaseCount <= SZtaPackedFilterBank::kMaxPhases;
    return bCanPack && iFilterBytes > 0 && iFilterBytes <= std::numeric_limits<int>::max() - kExtraBytes
               ? iFilterBytes + kExtraBytes
               : iFilterBytes;
}

void ZtaPackFilterBank(IppsResamplingPolyphaseFixed_16s* pSpec, int iFilterBytes, int iBlockBytes) noexcept
{
    if (iBlockBytes == iFilterBytes) {
        return;
    }
    const std::uintptr_t ulEnd = reinterpret_cast<std::uintptr_t>(pSpec) + static_cast<unsigned int>(iFilterBytes);
    auto* const psBank = reinterpret_cast<SZtaPackedFilterBank*>((ulEnd + kBankAlignment - 1) & ~(kBankAlignment - 1));
    ownPackFilterBank_16s(pSpec, psBank);
    if (psBank->lGroups != 0) {
        pSpec->pRows[pSpec->outRate] = psBank;
        pSpec->ulPackedBankKey = PackedBankKey(pSpec);
    }
}

const SZtaPackedFilterBank& ZtaGetPackedFilterBank(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept
{
    return pSpec != nullptr && pSpec->ulPackedBankKey == PackedBankKey(pSpec)
               ? *static_cast<const SZtaPackedFilterBank*>(pSpec->pRows[pSpec->outRate])
               : s_sEmptyBank;
}
