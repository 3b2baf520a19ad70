#include "support/cpu_features.h"

#include <cpuid.h>

namespace {

template <class Word, class... Bits>
constexpr bool HasAllBits(Word word, Bits... bits)
{
    return (((word >> bits) & 1) && ...);
}

SZtaCpuidLeaf ReadLeaf(std::uint32_t ulLeaf) noexcept
{
    SZtaCpuidLeaf sLeaf{};
    __cpuid_count(ulLeaf, 0, sLeaf.ulEax, sLeaf.ulEbx, sLeaf.ulEcx, sLeaf.ulEdx);
    return sLeaf;
}

std::uint64_t ReadXcr0() noexcept
{
    std::uint32_t ulLow = 0;
    std::uint32_t ulHigh = 0;
    __asm__ volatile("xgetbv" : "=a"(ulLow), "=d"(ulHigh) : "c"(0));
    return (std::uint64_t{ulHigh} << 32) | ulLow;
}

} // namespace

SZtaCpuidLeaves ZtaReadCpuid() noexcept
{
    SZtaCpuidLeaves s{};
    s.sLeaf0 = ReadLeaf(0);
    s.sLeaf1 = ReadLeaf(1);
    s.sLeaf7 = ReadLeaf(7);
    s.sLeaf80000000 = ReadLeaf(0x80000000);
    s.sLeaf80000001 = ReadLeaf(0x80000001);
    if (HasAllBits(s.sLeaf1.ulEcx, 27)) { // xgetbv faults otherwise
        s.ui64Xcr0 = ReadXcr0();
    }
    return s;
}

std::uint64_t ZtaDetectCpuFeatures(const SZtaCpuidLeaves& rsWords) noexcept
{
    // A leaf that does not exist returns the registers of another leaf.
    SZtaCpuidLeaves s = rsWords;
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
