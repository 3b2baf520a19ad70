#include "support/cpu_features.h"

#include <cpuid.h>

namespace {

template <class Register, class... Bits>
constexpr bool HasAllBits(Register value, Bits... bits)
{
    return (((value >> bits) & 1) && ...);
}

/// Returns the lower half: it has the bits of all register states that a feature needs.
std::uint32_t ReadXcr0() noexcept
{
    std::uint32_t ulLow = 0;
    __asm__ volatile("xgetbv" : "=a"(ulLow) : "c"(0) : "rdx");
    return ulLow;
}

/// Returns the bytes of the cache of the highest level in the sub-leaves of one leaf, 0 if there is none.
std::uint64_t LastLevelCacheBytes(ZtaCpuidReader pfnReadLeaf, std::uint32_t ulLeaf) noexcept
{
    enum { keNoCache, keData, keInstructions, keUnified };
    constexpr std::uint32_t kMaxCaches = 8; // processors have three or four
    std::uint64_t ui64Bytes = 0;
    std::uint32_t ulHighest = 0;
    for (std::uint32_t i = 0; i < kMaxCaches; ++i) {
        const SZtaCpuidLeaf s = pfnReadLeaf(ulLeaf, i);
        const std::uint32_t ulType = s.ulEax & 0x1F;
        const std::uint32_t ulLevel = s.ulEax >> 5 & 7;
        if (ulType == keNoCache) {
            break;
        }
        if (ulType != keInstructions && ulLevel > ulHighest) {
            const std::uint64_t ui64Ways = (s.ulEbx >> 22) + 1;
            const std::uint64_t ui64Partitions = (s.ulEbx >> 12 & 0x3FF) + 1;
            const std::uint64_t ui64LineBytes = (s.ulEbx & 0xFFF) + 1;
            ulHighest = ulLevel;
            ui64Bytes = ui64Ways * ui64Partitions * ui64LineBytes * (std::uint64_t{s.ulEcx} + 1);
        }
    }
    return ui64Bytes;
}

} // namespace

SZtaCpuidLeaf ZtaReadCpuidLeaf(std::uint32_t ulLeaf, std::uint32_t ulSubLeaf) noexcept
{
    SZtaCpuidLeaf sLeaf{};
    __cpuid_count(ulLeaf, ulSubLeaf, sLeaf.ulEax, sLeaf.ulEbx, sLeaf.ulEcx, sLeaf.ulEdx);
    return sLeaf;
}

SZtaCpuidLeaves ZtaReadCpuid() noexcept
{
    SZtaCpuidLeaves s{};
    s.sLeaf0 = ZtaReadCpuidLeaf(0, 0);
    s.sLeaf1 = ZtaReadCpuidLeaf(1, 0);
    s.sLeaf7 = ZtaReadCpuidLeaf(7, 0);
    s.sLeaf80000000 = ZtaReadCpuidLeaf(0x80000000, 0);
    s.sLeaf80000001 = ZtaReadCpuidLeaf(0x80000001, 0);
    if (HasAllBits(s.sLeaf1.ulEcx, 27)) { // xgetbv faults otherwise
        s.ui64Xcr0 = ReadXcr0();
    }
    return s;
}

std::uint64_t ZtaDetectCpuFeatures(const SZtaCpuidLeaves& rsLeaves) noexcept
{
    // A leaf that does not exist returns the registers of another leaf.
    SZtaCpuidLeaves s = rsLeaves;
    if (s.sLeaf0.ulEax < 7) {
        s.sLeaf7 = {};
    }
    if (s.sLeaf80000000.ulEax < 0x80000001) {
        s.sLeaf80000001 = {};
    }

    std::uint64_t ui64Features = 0;
#define ZTA_FEATURE_ENTRY(bit, name, condition) ui64Features |= (condition) ? keZtaFeature##name : std::uint64_t{0};
    ZTA_CPU_FEATURE_LIST(ZTA_FEATURE_ENTRY)
#undef ZTA_FEATURE_ENTRY
    return ui64Features;
}

std::uint64_t ZtaDetectLastLevelCache(ZtaCpuidReader pfnReadLeaf) noexcept
{
    // A leaf that does not exist returns the registers of another leaf.
    if (pfnReadLeaf(0, 0).ulEax >= 4) {
        if (const std::uint64_t ui64Bytes = LastLevelCacheBytes(pfnReadLeaf, 4); ui64Bytes != 0) {
            return ui64Bytes;
        }
    }
    const bool bHasCacheLeaf =
        pfnReadLeaf(0x80000000, 0).ulEax >= 0x8000001D && HasAllBits(pfnReadLeaf(0x80000001, 0).ulEcx, 22);
    return bHasCacheLeaf ? LastLevelCacheBytes(pfnReadLeaf, 0x8000001D) : 0;
}
