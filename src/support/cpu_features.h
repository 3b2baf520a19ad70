#pragma once

#include <cstdint>

// clang-format off

/// The CPU features: X(bit of the mask, name, condition), in ascending order; bit 12 has no meaning.
/// `s` are the registers that the condition reads. HasAllBits(register, bits...) is true if all of the bits are set.
#define ZTA_CPU_FEATURE_LIST(X) \
    X( 0, Mmx,             HasAllBits(s.sLeaf1.ulEdx, 23)) \
    X( 1, Sse,             HasAllBits(s.sLeaf1.ulEdx, 25)) \
    X( 2, Sse2,            HasAllBits(s.sLeaf1.ulEdx, 26)) \
    X( 3, Sse3,            HasAllBits(s.sLeaf1.ulEcx, 0)) \
    X( 4, Ssse3,           HasAllBits(s.sLeaf1.ulEcx, 9)) \
    X( 5, Movbe,           HasAllBits(s.sLeaf1.ulEcx, 22)) \
    X( 6, Sse41,           HasAllBits(s.sLeaf1.ulEcx, 19)) \
    X( 7, Sse42,           HasAllBits(s.sLeaf1.ulEcx, 20)) \
    X( 8, Avx,             HasAllBits(s.sLeaf1.ulEcx, 28)) \
    X( 9, AvxEnabled,      HasAllBits(s.sLeaf1.ulEcx, 27, 28) && HasAllBits(s.ui64Xcr0, 1, 2)) \
    X(10, Aes,             HasAllBits(s.sLeaf1.ulEcx, 25)) \
    X(11, Pclmulqdq,       HasAllBits(s.sLeaf1.ulEcx, 1)) \
    X(13, Rdrand,          HasAllBits(s.sLeaf1.ulEcx, 30)) \
    X(14, F16c,            HasAllBits(s.sLeaf1.ulEcx, 29)) \
    X(15, Avx2,            HasAllBits(s.sLeaf1.ulEcx, 12) && HasAllBits(s.sLeaf7.ulEbx, 3, 5, 8)) /* with FMA, BMI1 and BMI2 */ \
    X(16, Adx,             HasAllBits(s.sLeaf7.ulEbx, 19)) \
    X(17, Rdseed,          HasAllBits(s.sLeaf7.ulEbx, 18)) \
    X(18, Prefetchw,       HasAllBits(s.sLeaf80000001.ulEcx, 8)) \
    X(19, Sha,             HasAllBits(s.sLeaf7.ulEbx, 29)) \
    X(20, Avx512F,         HasAllBits(s.sLeaf7.ulEbx, 16)) \
    X(21, Avx512Cd,        HasAllBits(s.sLeaf7.ulEbx, 28)) \
    X(22, Avx512Er,        HasAllBits(s.sLeaf7.ulEbx, 27)) \
    X(23, Avx512Pf,        HasAllBits(s.sLeaf7.ulEbx, 26)) \
    X(24, Avx512Bw,        HasAllBits(s.sLeaf7.ulEbx, 30)) \
    X(25, Avx512Dq,        HasAllBits(s.sLeaf7.ulEbx, 17)) \
    X(26, Avx512Vl,        HasAllBits(s.sLeaf7.ulEbx, 31)) \
    X(27, Avx512Vbmi,      HasAllBits(s.sLeaf7.ulEcx, 1)) \
    X(28, Mpx,             HasAllBits(s.sLeaf7.ulEbx, 14)) \
    X(29, Avx5124Fmaps,    HasAllBits(s.sLeaf7.ulEdx, 3)) \
    X(30, Avx5124Vnniw,    HasAllBits(s.sLeaf7.ulEdx, 2)) \
    X(31, ModelB1,         (s.sLeaf1.ulEax & 0xFF0) == 0xB10) \
    X(32, Avx512Ifma,      HasAllBits(s.sLeaf7.ulEbx, 21)) \
    X(33, Avx512Enabled,   HasAllBits(s.sLeaf1.ulEcx, 27) && HasAllBits(s.ui64Xcr0, 5, 6, 7)) \
    X(34, Avx512Vpopcntdq, HasAllBits(s.sLeaf7.ulEcx, 14)) \
    X(35, Avx512Bitalg,    HasAllBits(s.sLeaf7.ulEcx, 12)) \
    X(36, Avx512Fp16,      HasAllBits(s.sLeaf7.ulEdx, 23))

// clang-format on

/// The features as bits of a mask. "Enabled" means that the operating system saves the wide registers on a context
/// switch.
enum EZtaCpuFeature : std::uint64_t {
#define ZTA_FEATURE_ENTRY(bit, name, condition) keZtaFeature##name = std::uint64_t{1} << (bit),
    ZTA_CPU_FEATURE_LIST(ZTA_FEATURE_ENTRY)
#undef ZTA_FEATURE_ENTRY
};

/// The four registers that CPUID fills for one leaf.
struct SZtaCpuidLeaf {
    std::uint32_t ulEax;
    std::uint32_t ulEbx;
    std::uint32_t ulEcx;
    std::uint32_t ulEdx;
};

/// The registers that determine the features. Leaves are read with sub-leaf 0.
struct SZtaCpuidLeaves {
    SZtaCpuidLeaf sLeaf0; ///< ulEax is the highest basic leaf
    SZtaCpuidLeaf sLeaf1;
    SZtaCpuidLeaf sLeaf7;        ///< valid if the highest basic leaf is 7 or above
    SZtaCpuidLeaf sLeaf80000000; ///< ulEax is the highest extended leaf
    SZtaCpuidLeaf sLeaf80000001; ///< valid if that leaf exists
    std::uint64_t ui64Xcr0;      ///< the register states that the operating system saves; 0 if it cannot be read
};

/// Reads the registers of this CPU. [any thread] [no allocation, no lock; slow in a virtual machine]
SZtaCpuidLeaves ZtaReadCpuid() noexcept;

/// Returns the features as a mask of EZtaCpuFeature. Depends on the argument only.
std::uint64_t ZtaDetectCpuFeatures(const SZtaCpuidLeaves& rsLeaves) noexcept;

/// Reads the registers of one sub-leaf of this CPU. [any thread] [no allocation, no lock; slow in a virtual machine]
SZtaCpuidLeaf ZtaReadCpuidLeaf(std::uint32_t ulLeaf, std::uint32_t ulSubLeaf) noexcept;

using ZtaCpuidReader = SZtaCpuidLeaf (*)(std::uint32_t ulLeaf, std::uint32_t ulSubLeaf) noexcept;

/// Returns the bytes of the last-level cache: that of the highest level in leaf 4 or, if it describes no cache, in leaf
/// 8000001D. Intel's processors have the first, AMD's the second. Returns 0 if neither describes a cache.
std::uint64_t ZtaDetectLastLevelCache(ZtaCpuidReader pfnReadLeaf) noexcept;
