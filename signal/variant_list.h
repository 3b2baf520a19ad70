#pragma once

#include "support/processor_features.h"

// clang-format off

/// The builds of the signal functions, in the order of their indexes, from 0 on:
/// ROW(argument, prefix, the features that it takes, the options that it is compiled with)
/// The argument of the list is handed through. Each build has a file variant_<prefix>.cpp; CMakeLists.txt reads the
/// options from here.
///
/// n8 is also what a processor with MOVBE or SSE4.1 gets: all that were made have SSSE3. n0 has no options for ER and PF:
/// newer compilers have dropped them, and no function here has a use for them.
#define ZTA_IPP_VARIANT_LIST(ROW, argument) \
    ROW(argument, m7, keZtaFeatureSse2, "-msse2") \
    ROW(argument, n8, keZtaFeatureSsse3, "-mssse3") \
    ROW(argument, y8, keZtaFeatureSse42, "-msse4.2") \
    ROW(argument, e9, keZtaFeatureAvx | keZtaFeatureAvxEnabled, "-mavx") \
    ROW(argument, l9, keZtaFeatureAvx2 | keZtaFeatureAvxEnabled, "-mavx2 -mfma") \
    ROW(argument, n0, kui64ZtaAvx512Many | kui64ZtaUnderAvx512, "-mavx2 -mfma -mavx512f -mavx512cd") \
    ROW(argument, k0, kui64ZtaAvx512Wide | kui64ZtaUnderAvx512, \
        "-mavx2 -mfma -mavx512f -mavx512cd -mavx512bw -mavx512dq -mavx512vl")

// clang-format on

/// The two groups of AVX-512 features that a build stands for, and what both take beside their own group.
inline constexpr std::uint64_t kui64ZtaAvx512Many =
    keZtaFeatureAvx512F | keZtaFeatureAvx512Cd | keZtaFeatureAvx512Er | keZtaFeatureAvx512Pf;
inline constexpr std::uint64_t kui64ZtaAvx512Wide =
    keZtaFeatureAvx512F | keZtaFeatureAvx512Cd | keZtaFeatureAvx512Bw | keZtaFeatureAvx512Dq | keZtaFeatureAvx512Vl;
inline constexpr std::uint64_t kui64ZtaUnderAvx512 =
    keZtaFeatureAvx2 | keZtaFeatureAvxEnabled | keZtaFeatureAvx512Enabled;
