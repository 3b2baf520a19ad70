#pragma once

#include "support/processor_features.h"

// clang-format off

/// The builds of the signal functions, in the order of their indexes, from 0 on:
/// ROW(prefix, the features that it takes, the options that it is compiled with)
/// Each has a file variant_<prefix>.cpp; CMakeLists.txt reads the options from here. The build for SSSE3 is also what a
/// processor with MOVBE or SSE4.1 alone gets: all that were made have SSSE3. No option is told for AVX-512 ER and PF, which
/// newer compilers have dropped and no function here has a use for.
#define ZTA_IPP_VARIANT_LIST(ROW) \
    ROW(m7, keZtaFeatureSse2,                                                  "-msse2") \
    ROW(n8, keZtaFeatureSsse3,                                                 "-mssse3") \
    ROW(y8, keZtaFeatureSse42,                                                 "-msse4.2") \
    ROW(e9, keZtaFeatureAvx | keZtaFeatureAvxEnabled,                          "-mavx") \
    ROW(l9, keZtaFeatureAvx2 | keZtaFeatureAvxEnabled,                         "-mavx2 -mfma") \
    ROW(n0, kui64Avx512Many | keZtaFeatureAvx2 | keZtaFeatureAvx512Enabled, "-mavx2 -mfma -mavx512f -mavx512cd") \
    ROW(k0, kui64Avx512Wide | keZtaFeatureAvx2 | keZtaFeatureAvx512Enabled, "-mavx2 -mfma -mavx512f -mavx512cd -mavx512bw -mavx512dq -mavx512vl")

// clang-format on

/// The two groups of AVX-512 features that a build stands for.
inline constexpr std::uint64_t kui64Avx512Many =
    keZtaFeatureAvx512F | keZtaFeatureAvx512Cd | keZtaFeatureAvx512Er | keZtaFeatureAvx512Pf;
inline constexpr std::uint64_t kui64Avx512Wide =
    keZtaFeatureAvx512F | keZtaFeatureAvx512Cd | keZtaFeatureAvx512Bw | keZtaFeatureAvx512Dq | keZtaFeatureAvx512Vl;
