// The public functions, the stubs of first calls, and the selection of a variant.

#include "signal/functions.h"
#include "signal/variant_selection.h"

#include <atomic>

namespace {

/// In a mask for ippSetCpuFeatures: use the mask without detection.
constexpr std::uint64_t kOverrideDetectionBit = std::uint64_t{1} << 63;

/// The selected variant; -1 before the first call. It is stored once, so a call loads -1 or a valid index. No thread
/// blocks: concurrent first calls store the same values.
constinit std::atomic<std::int32_t> s_lVariant = -1;

constinit std::atomic<std::uint64_t> s_ui64Detected = 0;
constinit std::atomic<bool> s_bDetected = false;
constinit std::atomic<std::uint64_t> s_ui64Enabled = 0;

void StoreDetected(std::uint64_t ui64Features) noexcept
{
    s_ui64Detected.store(ui64Features, std::memory_order_relaxed);
    s_bDetected.store(true, std::memory_order_release);
}

} // namespace

// Each public function: one load of the index, one of the function, one jump. A stub runs if nothing is selected; it
// selects a variant and calls the public function again.
// NOLINTBEGIN(bugprone-macro-parentheses): names are passed through
#define ZTA_IPP_VARIANT_FUNCTION(name, prefix, features) prefix##_##name,
#define ZTA_IPP_DISPATCHER(result, name, argument, parameters, arguments)                                              \
    result name parameters noexcept                                                                                    \
    {                                                                                                                  \
        static constexpr decltype(&in_##name) kapfn[] = {in_##name,                                                    \
                                                         ZTA_IPP_VARIANT_LIST(ZTA_IPP_VARIANT_FUNCTION, name)};        \
        return kapfn[s_lVariant.load(std::memory_order_relaxed) + 1] arguments;                                        \
    }                                                                                                                  \
    result in_##name parameters noexcept                                                                               \
    {                                                                                                                  \
        ippSafeInit();                                                                                                 \
        return name arguments;                                                                                         \
    }
ZTA_IPP_DISPATCHED_LIST(ZTA_IPP_DISPATCHER, )
ZTA_IPP_INTERNAL_LIST(ZTA_IPP_DISPATCHER, )
#undef ZTA_IPP_DISPATCHER
#undef ZTA_IPP_VARIANT_FUNCTION
// NOLINTEND(bugprone-macro-parentheses)

// x86-64 has CPUID, so detection cannot fail.
IppStatus ippInit() noexcept
{
    unsigned long ulMask = 0;
    ippGetCpuFeatures(&ulMask, nullptr);
    const IppStatus eStatus = ippSetCpuFeatures(ulMask);
    return ipp_is_GenuineIntel() != 0 ? eStatus : ippStsNonIntelCpu;
}

// Keeps all registers that can hold arguments, for callers that are in the middle of a call.
[[gnu::naked, gnu::no_instrument_function, gnu::no_profile_instrument_function]] IppStatus ippSafeInit() noexcept
{
    // 6 integer and 8 floating-point arguments. 8 + 6 * 8 + 136 bytes keep the stack aligned to 16 bytes at the call.
    asm(R"(
        push %rdi
        .cfi_adjust_cfa_offset 8
        push %rsi
        .cfi_adjust_cfa_offset 8
        push %rdx
        .cfi_adjust_cfa_offset 8
        push %rcx
        .cfi_adjust_cfa_offset 8
        push %r8
        .cfi_adjust_cfa_offset 8
        push %r9
        .cfi_adjust_cfa_offset 8
        sub $136, %rsp
        .cfi_adjust_cfa_offset 136
        movups %xmm0, (%rsp)
        movups %xmm1, 16(%rsp)
        movups %xmm2, 32(%rsp)
        movups %xmm3, 48(%rsp)
        movups %xmm4, 64(%rsp)
        movups %xmm5, 80(%rsp)
        movups %xmm6, 96(%rsp)
        movups %xmm7, 112(%rsp)
        call ippInit@PLT
        movups (%rsp), %xmm0
        movups 16(%rsp), %xmm1
        movups 32(%rsp), %xmm2
        movups 48(%rsp), %xmm3
        movups 64(%rsp), %xmm4
        movups 80(%rsp), %xmm5
        movups 96(%rsp), %xmm6
        movups 112(%rsp), %xmm7
        add $136, %rsp
        .cfi_adjust_cfa_offset -136
        pop %r9
        .cfi_adjust_cfa_offset -8
        pop %r8
        .cfi_adjust_cfa_offset -8
        pop %rcx
        .cfi_adjust_cfa_offset -8
        pop %rdx
        .cfi_adjust_cfa_offset -8
        pop %rsi
        .cfi_adjust_cfa_offset -8
        pop %rdi
        .cfi_adjust_cfa_offset -8
        ret
    )");
}

IppStatus ippGetCpuFeatures(unsigned long* pFeaturesMask, unsigned int* pCpuidInfoRegs) noexcept
{
    if (pFeaturesMask == nullptr) {
        return ippStsNullPtrErr;
    }
    ownGetMaskFeatures(pFeaturesMask);
    if (pCpuidInfoRegs != nullptr) {
        const SZtaCpuidLeaf sLeaf1 = ZtaReadCpuid().sLeaf1;
        pCpuidInfoRegs[0] = sLeaf1.ulEax;
        pCpuidInfoRegs[1] = sLeaf1.ulEbx;
        pCpuidInfoRegs[2] = sLeaf1.ulEcx;
        pCpuidInfoRegs[3] = sLeaf1.ulEdx;
    }
    return ippStsNoErr;
}

IppStatus ippSetCpuFeatures(unsigned long mask) noexcept
{
    unsigned int uIndex = 0;
    const IppStatus eStatus = ownSetCpuFeaturesAndIdx(mask, &uIndex);
    s_lVariant.store(static_cast<std::int32_t>(uIndex), std::memory_order_relaxed);
    return eStatus;
}

void ippSetCpuFeaturesMask(unsigned long mask) noexcept
{
    s_ui64Enabled.store(mask, std::memory_order_relaxed);
}

unsigned long ippGetEnabledCpuFeatures() noexcept
{
    return s_ui64Enabled.load(std::memory_order_relaxed);
}

int ownGetMaskFeatures(unsigned long* pMask) noexcept
{
    if (!s_bDetected.load(std::memory_order_acquire)) {
        StoreDetected(ZtaDetectCpuFeatures(ZtaReadCpuid()));
    }
    *pMask = s_ui64Detected.load(std::memory_order_relaxed);
    return 1;
}

IppStatus ownFeaturesToIdx(unsigned long* pMask, unsigned int* pIdx) noexcept
{
    const SZtaSelection sSelection = ZtaSelectVariant(*pMask);
    *pMask = sSelection.ui64Enabled;
    *pIdx = sSelection.ulIndex;
    return sSelection.eStatus;
}

IppStatus ownSetCpuFeaturesAndIdx(unsigned long mask, unsigned int* pIdx) noexcept
{
    IppStatus eStatus = ippStsNoErr;
    if ((mask & kOverrideDetectionBit) != 0) {
        mask &= ~kOverrideDetectionBit;
        ownMaskIsFeatures();
    } else {
        unsigned long ulDetected = 0;
        ownGetMaskFeatures(&ulDetected);
        eStatus = ZtaCheckFeatures(mask, ulDetected);
    }
    const IppStatus eSelection = ownFeaturesToIdx(&mask, pIdx);
    ippSetCpuFeaturesMask(mask);
    return eStatus != ippStsNoErr ? eStatus : eSelection;
}

void ownMaskIsFeatures() noexcept
{
    StoreDetected(ippGetEnabledCpuFeatures());
}

int ownGetFeature(unsigned long mask) noexcept
{
    return (ippGetEnabledCpuFeatures() & mask) == mask ? 1 : 0;
}

int ipp_is_GenuineIntel() noexcept
{
    return ZtaIsGenuineIntel(ZtaReadCpuid().sLeaf0) ? 1 : 0;
}
