#pragma once

#include "signal/functions.h"

#include <ostream>
#include <string>
#include <vector>

namespace zta::test {

/// One variant of the signal functions: each function under its name without the prefix.
struct SignalVariant {
    const char* prefix;
    std::uint64_t features; ///< the CPU features that it requires
#define ZTA_TEST_MEMBER(result, name, prefix, parameters, arguments) decltype(&m7_##name) name;
    ZTA_IPP_DISPATCHED_LIST(ZTA_TEST_MEMBER, )
    ZTA_IPP_VARIANT_ONLY_LIST(ZTA_TEST_MEMBER, )
#undef ZTA_TEST_MEMBER
};

inline std::ostream& operator<<(std::ostream& stream, const SignalVariant& variant)
{
    return stream << variant.prefix;
}

inline const SignalVariant kSignalVariants[] = {
#define ZTA_TEST_POINTER(result, name, prefix, parameters, arguments) prefix##_##name,
#define ZTA_TEST_VARIANT(argument, prefix, features)                                                                   \
    {#prefix, (features),                                                                                              \
     ZTA_IPP_DISPATCHED_LIST(ZTA_TEST_POINTER, prefix) ZTA_IPP_VARIANT_ONLY_LIST(ZTA_TEST_POINTER, prefix)},
    ZTA_IPP_VARIANT_LIST(ZTA_TEST_VARIANT, )
#undef ZTA_TEST_VARIANT
#undef ZTA_TEST_POINTER
};

/// The variants whose instructions this CPU has. This includes n0, which requires more features than it uses.
inline std::vector<SignalVariant> SupportedSignalVariants()
{
    constexpr std::uint64_t groups = kAvx512ErPfFeatures & ~std::uint64_t{keZtaFeatureAvx512Er | keZtaFeatureAvx512Pf};
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    std::vector<SignalVariant> executable;
    for (const SignalVariant& variant : kSignalVariants) {
        const std::uint64_t needed = (variant.features & kAvx512ErPfFeatures) == kAvx512ErPfFeatures
                                         ? groups | kAvx512Prerequisites
                                         : variant.features;
        if ((features & needed) == needed) {
            executable.push_back(variant);
        }
    }
    return executable;
}

/// For parameterized tests: the variant's prefix as the name of the test case.
struct SignalVariantName {
    template <class Info>
    std::string operator()(const Info& info) const
    {
        return info.param.prefix;
    }
};

} // namespace zta::test
