#include "kernels/loops/loops.h"
#include "support/cpu_features.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <tuple>
#include <utility>

namespace {

constexpr std::uint32_t Bit(int bit)
{
    return 1u << bit;
}

/// A CPU with both ranges of leaves and no feature.
SZtaCpuidLeaves Bare()
{
    SZtaCpuidLeaves leaves{};
    leaves.sLeaf0.ulEax = 7;
    leaves.sLeaf80000000.ulEax = 0x80000001;
    return leaves;
}

SZtaCpuidLeaves WithAvx2()
{
    SZtaCpuidLeaves leaves = Bare();
    leaves.sLeaf1.ulEcx = Bit(12) | Bit(27) | Bit(28);
    leaves.sLeaf7.ulEbx = Bit(3) | Bit(5) | Bit(8);
    leaves.ui64Xcr0 = 7;
    return leaves;
}

TEST(CpuFeatureDetection, ReadsTheLeavesOfThisCpu)
{
    const SZtaCpuidLeaves leaves = ZtaReadCpuid();
    for (const auto& [leaf, read] : {std::pair{0U, leaves.sLeaf0},
                                     {7U, leaves.sLeaf7},
                                     {0x80000000U, leaves.sLeaf80000000},
                                     {0x80000001U, leaves.sLeaf80000001}}) {
        const SZtaCpuidLeaf expected = ZtaReadCpuidLeaf(leaf, 0);
        EXPECT_EQ(std::tie(read.ulEax, read.ulEcx, read.ulEdx),
                  std::tie(expected.ulEax, expected.ulEcx, expected.ulEdx))
            << std::hex << leaf;
    }
    EXPECT_EQ(leaves.sLeaf1.ulEcx, ZtaReadCpuidLeaf(1, 0).ulEcx); // other registers depend on the core
}

TEST(CpuFeatureDetection, ReadsEachFeatureFromItsBit)
{
    struct Case {
        std::uint32_t SZtaCpuidLeaf::*reg;
        SZtaCpuidLeaf SZtaCpuidLeaves::*leaf;
        int bit;
        std::uint64_t feature;
    };
    constexpr auto leaf1 = &SZtaCpuidLeaves::sLeaf1;
    constexpr auto leaf7 = &SZtaCpuidLeaves::sLeaf7;
    constexpr auto leafE1 = &SZtaCpuidLeaves::sLeaf80000001;
    constexpr auto ebx = &SZtaCpuidLeaf::ulEbx;
    constexpr auto ecx = &SZtaCpuidLeaf::ulEcx;
    constexpr auto edx = &SZtaCpuidLeaf::ulEdx;
    const Case cases[] = {
        {edx, leaf1, 23, 0x1},         {edx, leaf1, 25, 0x2},          {edx, leaf1, 26, 0x4},
        {ecx, leaf1, 0, 0x8},          {ecx, leaf1, 9, 0x10},          {ecx, leaf1, 22, 0x20},
        {ecx, leaf1, 19, 0x40},        {ecx, leaf1, 20, 0x80},         {ecx, leaf1, 28, 0x100},
        {ecx, leaf1, 25, 0x400},       {ecx, leaf1, 1, 0x800},         {ecx, leaf1, 30, 0x2000},
        {ecx, leaf1, 29, 0x4000},      {ebx, leaf7, 19, 0x10000},      {ebx, leaf7, 18, 0x20000},
        {ecx, leafE1, 8, 0x40000},     {ebx, leaf7, 29, 0x80000},      {ebx, leaf7, 16, 0x100000},
        {ebx, leaf7, 28, 0x200000},    {ebx, leaf7, 27, 0x400000},     {ebx, leaf7, 26, 0x800000},
        {ebx, leaf7, 30, 0x1000000},   {ebx, leaf7, 17, 0x2000000},    {ebx, leaf7, 31, 0x4000000},
        {ecx, leaf7, 1, 0x8000000},    {ebx, leaf7, 14, 0x10000000},   {edx, leaf7, 3, 0x20000000},
        {edx, leaf7, 2, 0x40000000},   {ebx, leaf7, 21, 0x100000000},  {ecx, leaf7, 14, 0x400000000},
        {ecx, leaf7, 12, 0x800000000}, {edx, leaf7, 23, 0x1000000000},
    };
    for (const auto& leaf : {leaf1, leaf7, leafE1}) {
        for (const auto& reg : {&SZtaCpuidLeaf::ulEax, ebx, ecx, edx}) {
            for (int bit = 0; bit < 32; ++bit) {
                std::uint64_t expected = 0;
                for (const Case& c : cases) {
                    if (c.leaf == leaf && c.reg == reg && c.bit == bit) {
                        expected = c.feature;
                    }
                }
                SZtaCpuidLeaves leaves = Bare();
                leaves.*leaf.*reg = Bit(bit);
                EXPECT_EQ(ZtaDetectCpuFeatures(leaves), expected) << "bit " << bit;
            }
        }
    }
}

/// The features of the leaves without the bits `bits` of a register.
std::uint64_t FeaturesWithout(SZtaCpuidLeaves leaves, SZtaCpuidLeaf SZtaCpuidLeaves::*leaf,
                              std::uint32_t SZtaCpuidLeaf::*reg, std::uint32_t bits)
{
    leaves.*leaf.*reg &= ~bits;
    return ZtaDetectCpuFeatures(leaves);
}

std::uint64_t FeaturesWithXcr0(SZtaCpuidLeaves leaves, std::uint64_t xcr0)
{
    leaves.ui64Xcr0 = xcr0;
    return ZtaDetectCpuFeatures(leaves);
}

TEST(CpuFeatureDetection, RequiresFmaAndBothBitManipulationSetsForAvx2)
{
    EXPECT_TRUE(ZtaDetectCpuFeatures(WithAvx2()) & 0x8000);
    for (int bit : {3, 5, 8}) {
        EXPECT_FALSE(FeaturesWithout(WithAvx2(), &SZtaCpuidLeaves::sLeaf7, &SZtaCpuidLeaf::ulEbx, Bit(bit)) & 0x8000)
            << bit;
    }
    EXPECT_FALSE(FeaturesWithout(WithAvx2(), &SZtaCpuidLeaves::sLeaf1, &SZtaCpuidLeaf::ulEcx, Bit(12)) & 0x8000);
}

TEST(CpuFeatureDetection, EnablesWideRegistersOnlyIfTheOperatingSystemSupportsThem)
{
    EXPECT_TRUE(ZtaDetectCpuFeatures(WithAvx2()) & 0x200);
    for (std::uint64_t xcr0 : {0u, 1u, 2u, 3u, 4u, 5u}) {
        EXPECT_FALSE(FeaturesWithXcr0(WithAvx2(), xcr0) & 0x200) << xcr0;
    }
    for (int bit : {27, 28}) {
        EXPECT_FALSE(FeaturesWithout(WithAvx2(), &SZtaCpuidLeaves::sLeaf1, &SZtaCpuidLeaf::ulEcx, Bit(bit)) & 0x200)
            << bit;
    }

    SZtaCpuidLeaves leaves = Bare();
    EXPECT_EQ(FeaturesWithXcr0(leaves, 0xE0), 0u);
    leaves.sLeaf1.ulEcx = Bit(27);
    EXPECT_EQ(FeaturesWithXcr0(leaves, 0xE0), 0x200000000u);
    for (std::uint64_t xcr0 : {0x60u, 0xA0u, 0xC0u}) {
        EXPECT_EQ(FeaturesWithXcr0(leaves, xcr0), 0u) << xcr0;
    }
}

TEST(CpuFeatureDetection, RecognizesOneCpuByFamilyAndModel)
{
    SZtaCpuidLeaves leaves = Bare();
    leaves.sLeaf1.ulEax = 0x00010B1F;
    EXPECT_EQ(ZtaDetectCpuFeatures(leaves), 0x80000000u);
    leaves.sLeaf1.ulEax = 0x00010B3F;
    EXPECT_EQ(ZtaDetectCpuFeatures(leaves), 0u);
}

TEST(CpuFeatureDetection, IgnoresLeavesThatTheCpuDoesNotHave)
{
    SZtaCpuidLeaves leaves = WithAvx2();
    leaves.sLeaf80000001.ulEcx = Bit(8);
    EXPECT_EQ(ZtaDetectCpuFeatures(leaves), 0x48300u);
    leaves.sLeaf0.ulEax = 6;
    EXPECT_EQ(ZtaDetectCpuFeatures(leaves), 0x40300u);
    leaves.sLeaf80000000.ulEax = 0x80000000;
    EXPECT_EQ(ZtaDetectCpuFeatures(leaves), 0x300u);
}

TEST(CpuFeatureDetection, AgreesWithTheCompilersRuntime)
{
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    EXPECT_EQ((features & 0x4) != 0, __builtin_cpu_supports("sse2") != 0);
    EXPECT_EQ((features & 0x10) != 0, __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ((features & 0x80) != 0, __builtin_cpu_supports("sse4.2") != 0);
    EXPECT_EQ((features & 0x8200) == 0x8200, __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"));
    EXPECT_EQ((features & 0x200100000) == 0x200100000, __builtin_cpu_supports("avx512f") != 0);
}

TEST(LoopVariants, AreSelectedByTheirFeaturesInOrder)
{
    constexpr auto leaf1 = &SZtaCpuidLeaves::sLeaf1;
    constexpr auto leaf7 = &SZtaCpuidLeaves::sLeaf7;
    constexpr auto ebx = &SZtaCpuidLeaf::ulEbx;
    constexpr auto ecx = &SZtaCpuidLeaf::ulEcx;
    SZtaCpuidLeaves avx512 = WithAvx2();
    avx512.sLeaf7.ulEbx |= Bit(16) | Bit(17) | Bit(30) | Bit(31);
    avx512.sLeaf7.ulEcx |= Bit(1);
    avx512.ui64Xcr0 = 0xE7;
    const struct {
        const char* name;
        std::uint64_t features;
        const char* variant;
    } cases[] = {
        {"no leaves", 0, "scalar"},
        {"no feature", ZtaDetectCpuFeatures(Bare()), "scalar"},
        {"AVX2", ZtaDetectCpuFeatures(WithAvx2()), "avx2"},
        {"AVX2 without wide registers", FeaturesWithXcr0(WithAvx2(), 3), "scalar"},
        {"AVX2 without FMA", FeaturesWithout(WithAvx2(), leaf1, ecx, Bit(12)), "scalar"},
        {"AVX-512", ZtaDetectCpuFeatures(avx512), "avx512"},
        {"AVX-512 without F", FeaturesWithout(avx512, leaf7, ebx, Bit(16)), "avx2"},
        {"AVX-512 without DQ", FeaturesWithout(avx512, leaf7, ebx, Bit(17)), "avx2"},
        {"AVX-512 without BW", FeaturesWithout(avx512, leaf7, ebx, Bit(30)), "avx2"},
        {"AVX-512 without VL", FeaturesWithout(avx512, leaf7, ebx, Bit(31)), "avx2"},
        {"AVX-512 without VBMI", FeaturesWithout(avx512, leaf7, ecx, Bit(1)), "avx2"},
        {"AVX-512 without mask registers", FeaturesWithXcr0(avx512, 0xC7), "avx2"},
        {"AVX-512 without upper halves", FeaturesWithXcr0(avx512, 0xA7), "avx2"},
        {"AVX-512 without upper registers", FeaturesWithXcr0(avx512, 0x67), "avx2"},
        {"AVX-512 without FMA", FeaturesWithout(avx512, leaf1, ecx, Bit(12)), "scalar"},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(ZtaBestLoops(c.features).pszName, c.variant) << c.name;
    }
}

TEST(LoopVariants, AreFoundByNameIfTheCpuSupportsThem)
{
    for (const SZtaLoopVariant& variant : kLoopVariants) {
        EXPECT_EQ(ZtaFindLoops(variant.psLoops->pszName, variant.ui64Features), variant.psLoops);
        for (int bit = 0; bit < 64; ++bit) {
            const std::uint64_t needed = variant.ui64Features & std::uint64_t{1} << bit;
            if (needed != 0) {
                EXPECT_EQ(ZtaFindLoops(variant.psLoops->pszName, variant.ui64Features & ~needed), nullptr) << bit;
            }
        }
    }
    const std::uint64_t avx2 = ZtaDetectCpuFeatures(WithAvx2());
    EXPECT_EQ(ZtaFindLoops(nullptr, avx2), &ZtaBestLoops(avx2));
    EXPECT_EQ(ZtaFindLoops("avx512", avx2), nullptr);
    for (const char* name : {"", "avx", "avx22", "AVX2", "scalar ", "plain "}) {
        EXPECT_EQ(ZtaFindLoops(name, ~std::uint64_t{0}), nullptr) << name;
    }
}

TEST(LoopVariants, EndWithTheScalarVariantThatRequiresNothing)
{
    const SZtaLoopVariant& last = *std::prev(std::end(kLoopVariants));
    EXPECT_STREQ(last.psLoops->pszName, "scalar");
    EXPECT_TRUE(last.IsSupported(0));
    EXPECT_FALSE(kLoopVariants[0].IsSupported(0));
}

TEST(LoopVariants, AreSelectedOnce)
{
    const SZtaSampleLoops& loops = ZtaActiveLoops();
    EXPECT_EQ(&loops, &ZtaBestLoops(ZtaDetectCpuFeatures(ZtaReadCpuid())));
    EXPECT_EQ(&loops, &ZtaActiveLoops());
}

} // namespace
