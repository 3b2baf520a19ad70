/// The selection of a variant by CPU features: pure functions of two masks.
#pragma once

#include "signal/variant_list.h"

#include <zta/ipp.h>

/// A rule: a mask with all bits of ui64Required selects the variant of this index and gets the implied bits.
struct SZtaFeatureRule {
    std::uint64_t ui64Required;
    std::uint32_t ulIndex;
    std::uint64_t ui64Implied;
};

// The features that each step of the instruction sets implies, with itself.
inline constexpr std::uint64_t kUpToSse2 = keZtaFeatureMmx | keZtaFeatureSse | keZtaFeatureSse2;
inline constexpr std::uint64_t kUpToSse3 = kUpToSse2 | keZtaFeatureSse3;
inline constexpr std::uint64_t kUpToSsse3 = kUpToSse3 | keZtaFeatureSsse3;
inline constexpr std::uint64_t kUpToSse41 = kUpToSsse3 | keZtaFeatureSse41;
inline constexpr std::uint64_t kUpToSse42 = kUpToSse41 | keZtaFeatureSse42;
inline constexpr std::uint64_t kUpToAvx = kUpToSse42 | keZtaFeatureAvx;
inline constexpr std::uint64_t kUpToAvx2 = kUpToAvx | keZtaFeatureAvx2;

/// The first rule that matches applies.
inline constexpr SZtaFeatureRule kFeatureRules[] = {
    {kAvx512BwDqVlFeatures, 6, kUpToAvx2 | kAvx512BwDqVlFeatures},
    {kAvx512ErPfFeatures, 5, kUpToAvx2 | kAvx512ErPfFeatures},
    {keZtaFeatureAvx2, 4, kUpToAvx2},
    {keZtaFeatureAvx, 3, kUpToAvx},
    {keZtaFeatureSse42, 2, kUpToSse42},
    {keZtaFeatureSse41, 1, kUpToSse41},
    {keZtaFeatureMovbe, 1, kUpToSsse3 | keZtaFeatureMovbe},
    {keZtaFeatureSsse3, 1, kUpToSsse3},
    {keZtaFeatureSse3, 0, kUpToSse3},
    {keZtaFeatureSse2, 0, kUpToSse2},
};

/// The result of the rules for one mask.
struct SZtaSelection {
    std::uint64_t ui64Enabled; ///< the mask with the implied bits
    std::uint32_t ulIndex;     ///< of the variant
    IppStatus eStatus;
};

/// Bits that no feature has. Bit 63 is a command of ippSetCpuFeatures.
inline constexpr std::uint64_t kUnknownFeatures = 0x7FFFFFE000000000;

/// Features whose registers the operating system must enable. Avx512Ifma and Avx512Fp16 are not checked.
inline constexpr std::uint64_t kAvxFeatures = keZtaFeatureAvx | keZtaFeatureAvx2;
inline constexpr std::uint64_t kAvx512Features = kAvx512BwDqVlFeatures | kAvx512ErPfFeatures | keZtaFeatureAvx512Vbmi |
                                                 keZtaFeatureAvx5124Fmaps | keZtaFeatureAvx5124Vnniw |
                                                 keZtaFeatureAvx512Vpopcntdq | keZtaFeatureAvx512Bitalg;

/// Applies the rules to a mask that has been checked.
constexpr SZtaSelection ZtaSelectVariant(std::uint64_t ui64Mask) noexcept
{
    for (const SZtaFeatureRule& rsRule : kFeatureRules) {
        if ((ui64Mask & rsRule.ui64Required) == rsRule.ui64Required) {
            const bool bComplete = (ui64Mask & rsRule.ui64Implied) == rsRule.ui64Implied;
            return {ui64Mask | rsRule.ui64Implied, rsRule.ulIndex, bComplete ? ippStsNoErr : ippStsFeaturesCombination};
        }
    }
    const std::uint64_t ui64Implied = keZtaFeatureMmx | (ui64Mask & keZtaFeatureSse);
    return {ui64Mask | ui64Implied, 0, ippStsNotSupportedCpu};
}

/// Checks a mask against the detected features. Clears features whose registers the operating system does not enable.
/// All others stay, so a mask with more features than the processor has selects the requested variant. Returns the last
/// warning.
constexpr IppStatus ZtaCheckFeatures(std::uint64_t& rui64Mask, std::uint64_t ui64Detected) noexcept
{
    IppStatus eStatus = ippStsNoErr;
    if ((rui64Mask & kUnknownFeatures) != 0) {
        eStatus = ippStsUnknownFeature;
    }
    if ((rui64Mask & kAvxFeatures) != 0 && (ui64Detected & keZtaFeatureAvxEnabled) == 0) {
        rui64Mask &= ~kAvxFeatures;
        eStatus = ippStsFeatureNotSupported;
    }
    if ((rui64Mask & kAvx512Features) != 0 && (ui64Detected & keZtaFeatureAvx512Enabled) == 0) {
        rui64Mask &= ~kAvx512Features;
        eStatus = ippStsFeatureNotSupported;
    }
    if ((rui64Mask & ~ui64Detected) != 0) {
        eStatus = ippStsFeatureNotSupported;
    }
    return eStatus;
}

/// Returns true if CPUID leaf 0 has the vendor "GenuineIntel".
constexpr bool ZtaIsGenuineIntel(const SZtaCpuidLeaf& rsLeaf0) noexcept
{
    return rsLeaf0.ulEbx == 0x756E6547 && rsLeaf0.ulEdx == 0x49656E69 && rsLeaf0.ulEcx == 0x6C65746E;
}
