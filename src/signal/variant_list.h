#pragma once

#include "support/cpu_features.h"

// clang-format off

/// The variants of the signal functions, in the order of their indexes, from 0 on:
/// X(argument, prefix, the features that it requires)
/// The argument of the list is passed through. Each variant has a file variant_<prefix>.cpp; CMakeLists.txt has its
/// compiler options, and the file asserts them.
///
/// A processor with MOVBE or SSE4.1 also selects n8, and a virtual machine may have one of them without SSSE3: so n8 is
/// compiled for SSE2. n0 has no options for ER and PF: newer compilers do not support them, and no function uses them.
#define ZTA_IPP_VARIANT_LIST(X, argument) \
    X(argument, m7, keZtaFeatureSse2) \
    X(argument, n8, keZtaFeatureSsse3) \
    X(argument, y8, keZtaFeatureSse42) \
    X(argument, e9, keZtaFeatureAvx | keZtaFeatureAvxEnabled) \
    X(argument, l9, keZtaFeatureAvx2 | keZtaFeatureAvxEnabled) \
    X(argument, n0, kAvx512ErPfFeatures | kAvx512Prerequisites) \
    X(argument, k0, kAvx512BwDqVlFeatures | kAvx512Prerequisites)

// clang-format on

/// The two groups of AVX-512 features that select a variant, and the features that both require in addition.
inline constexpr std::uint64_t kAvx512ErPfFeatures =
    keZtaFeatureAvx512F | keZtaFeatureAvx512Cd | keZtaFeatureAvx512Er | keZtaFeatureAvx512Pf;
inline constexpr std::uint64_t kAvx512BwDqVlFeatures =
    keZtaFeatureAvx512F | keZtaFeatureAvx512Cd | keZtaFeatureAvx512Bw | keZtaFeatureAvx512Dq | keZtaFeatureAvx512Vl;
inline constexpr std::uint64_t kAvx512Prerequisites =
    keZtaFeatureAvx2 | keZtaFeatureAvxEnabled | keZtaFeatureAvx512Enabled;
