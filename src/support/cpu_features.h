#pragma once

#include <cstdint>

// clang-format off

/// What a processor can do, one row each: ROW(bit of the mask, name, condition)
/// A condition reads the words `s` of the processor. All(word, bits...) is true if the word has all of the bits.
/// Rows stand in the order of their bits; bit 12 has no meaning.
#define ZTA_PROCESSOR_FEATURE_LIST(ROW) \
    ROW( 0, Mmx,             All(s.sLeaf1.ulEdx, 23)) \
    ROW( 1, Sse,             All(s.sLeaf1.ulEdx, 25)) \
    ROW( 2, Sse2,            All(s.sLeaf1.ulEdx, 26)) \
    ROW( 3, Sse3,            All(s.sLeaf1.ulEcx, 0)) \
    ROW( 4, Ssse3,           All(s.sLeaf1.ulEcx, 9)) \
    ROW( 5, Movbe,           All(s.sLeaf1.ulEcx, 22)) \
    ROW( 6, Sse41,           All(s.sLeaf1.ulEcx, 19)) \
    ROW( 7, Sse42,           All(s.sLeaf1.ulEcx, 20)) \
    ROW( 8, Avx,             All(s.sLeaf1.ulEcx, 28)) \
    ROW( 9, AvxEnabled,      All(s.sLeaf1.ulEcx, 27, 28) && All(s.ui64Xcr0, 1, 2)) \
    ROW(10, Aes,             All(s.sLeaf1.ulEcx, 25)) \
    ROW(11, Pclmulqdq,       All(s.sLeaf1.ulEcx, 1)) \
    ROW(13, Rdrand,          All(s.sLeaf1.ulEcx, 30)) \
    ROW(14, F16c,            All(s.sLeaf1.ulEcx, 29)) \
    ROW(15, Avx2,            All(s.sLeaf1.ulEcx, 12) && All(s.sLeaf7.ulEbx, 3, 5, 8)) /* with FMA, BMI1 and BMI2 */ \
    ROW(16, Adx,             All(s.sLeaf7.ulEbx, 19)) \
    ROW(17, Rdseed,          All(s.sLeaf7.ulEbx, 18)) \
    ROW(18, Prefetchw,       All(s.sLeaf80000001.ulEcx, 8)) \
    ROW(19, Sha,             All(s.sLeaf7.ulEbx, 29)) \
    ROW(20, Avx512F,         All(s.sLeaf7.ulEbx, 16)) \
    ROW(21, Avx512Cd,        All(s.sLeaf7.ulEbx, 28)) \
    ROW(22, Avx512Er,        All(s.sLeaf7.ulEbx, 27)) \
    ROW(23, Avx512Pf,        All(s.sLeaf7.ulEbx, 26)) \
    ROW(24, Avx512Bw,        All(s.sLeaf7.ulEbx, 30)) \
    ROW(25, Avx512Dq,        All(s.sLeaf7.ulEbx, 17)) \
    ROW(26, Avx512Vl,        All(s.sLeaf7.ulEbx, 31)) \
    ROW(27, Avx512Vbmi,      All(s.sLeaf7.ulEcx, 1)) \
    ROW(28, Mpx,             All(s.sLeaf7.ulEbx, 14)) \
    ROW(29, Avx5124Fmaps,    All(s.sLeaf7.ulEdx, 3)) \
    ROW(30, Avx5124Vnniw,    All(s.sLeaf7.ulEdx, 2)) \
    ROW(31, ModelB1,         (s.sLeaf1.ulEax & 0xFF0) == 0xB10) \
    ROW(32, Avx512Ifma,      All(s.sLeaf7.ulEbx, 21)) \
    ROW(33, Avx512Enabled,   All(s.sLeaf1.ulEcx, 27) && All(s.ui64Xcr0, 5, 6, 7)) \
    ROW(34, Avx512Vpopcntdq, All(s.sLeaf7.ulEcx, 14)) \
    ROW(35, Avx512Bitalg,    All(s.sLeaf7.ulEcx, 12)) \
    ROW(36, Avx512Fp16,      All(s.sLeaf7.ulEdx, 23))

// clang-format on

/// The features as bits of a mask. "Enabled" is the operating system's consent to the wide registers: what the
/// instructions of a feature are is one question, whether their registers survive a context switch another.
enum EZtaProcessorFeature : std::uint64_t {
#define ZTA_FEATURE_ROW(bit, name, condition) keZtaFeature##name = std::uint64_t{1} << (bit),
    ZTA_PROCESSOR_FEATURE_LIST(ZTA_FEATURE_ROW)
#undef ZTA_FEATURE_ROW
};

/// The four registers that CPUID fills for one leaf.
struct SZtaCpuidLeaf {
    std::uint32_t ulEax;
    std::uint32_t ulEbx;
    std::uint32_t ulEcx;
    std::uint32_t ulEdx;
};

/// All words that the features are told from. Leaves are read with sub-leaf 0.
struct SZtaProcessorWords {
    SZtaCpuidLeaf sLeaf0; ///< ulEax is the highest basic leaf
    SZtaCpuidLeaf sLeaf1;
    SZtaCpuidLeaf sLeaf7;        ///< counts only where the highest basic leaf is 7 or above
    SZtaCpuidLeaf sLeaf80000000; ///< ulEax is the highest extended leaf
    SZtaCpuidLeaf sLeaf80000001; ///< counts only where that leaf exists
    std::uint64_t ui64Xcr0;      ///< the register states that the operating system keeps; 0 where it cannot be read
};

/// Asks this processor. [any thread] [no allocation] [no lock]
SZtaProcessorWords ZtaReadProcessorWords() noexcept;

/// The features, as a mask of EZtaProcessorFeature, that the words tell. Depends on nothing but them.
std::uint64_t ZtaFeaturesOfProcessor(const SZtaProcessorWords& rsWords) noexcept;
