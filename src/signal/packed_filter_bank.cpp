#include "signal/packed_filter_bank.h"

#include "signal/functions.h"

#include <limits>

namespace {

constexpr std::uintptr_t kBankAlignment = alignof(SZtaPackedFilterBank);

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
    SetPackedFilterBank(*pSpec, psBank);
}
