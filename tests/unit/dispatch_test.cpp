// The runtime dispatch of the signal functions, and the functions that query and change the selection.

#include "signal/variant_list.h"
#include "signal/variant_selection.h"
#include "testing/signal_spies.h"
#include "testing/signal_variants.h"

#include <gtest/gtest.h>

#include <cpuid.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string>
#include <tuple>

namespace zta::test {
namespace {

constexpr unsigned long kWithoutCheck = 1ul << 63;

/// Masks that select the variants, in their order.
constexpr unsigned long kCompleteMasks[] = {0x7, 0x1F, 0xDF, 0x1DF, 0x81DF, 0xF081DF, 0x73081DF};

std::uint64_t DetectedFeatures()
{
    return ZtaDetectCpuFeatures(ZtaReadCpuid());
}

// ---- The selection of a variant ----

struct Selection {
    unsigned index;
    unsigned long enabled;
    int status;
    bool operator==(const Selection&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Selection& selection)
{
    return stream << "index " << selection.index << ", enabled 0x" << std::hex << selection.enabled << std::dec
                  << ", status " << selection.status;
}

Selection Select(unsigned long mask)
{
    Selection selection{99, mask, 0};
    selection.status = ownFeaturesToIdx(&selection.enabled, &selection.index);
    return selection;
}

/// Reference model of the selection.
Selection ExpectedSelection(unsigned long mask)
{
    constexpr struct {
        unsigned long selecting; ///< all of these features
        unsigned index;
        unsigned long implied;
    } kRules[] = {
        {0x7300000, 6, 0x73081DF}, {0xF00000, 5, 0xF081DF}, {0x8000, 4, 0x81DF}, {0x100, 3, 0x1DF}, {0x80, 2, 0xDF},
        {0x40, 1, 0x5F},           {0x20, 1, 0x3F},         {0x10, 1, 0x1F},     {8, 0, 0xF},       {4, 0, 7}};
    for (const auto& rule : kRules) {
        if ((mask & rule.selecting) == rule.selecting) {
            return {rule.index, mask | rule.implied, (mask & rule.implied) == rule.implied ? 0 : 51};
        }
    }
    return {0, mask | (mask & 2 ? 3ul : 1ul), 36};
}

TEST(FeatureRules, EqualTheModelForAllMasksOfRelevantFeatures)
{
    constexpr int bits[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 15, 20, 21, 22, 23, 24, 25, 26};
    for (unsigned long subset = 0; subset < 1ul << std::size(bits); ++subset) {
        unsigned long mask = 0;
        for (std::size_t i = 0; i < std::size(bits); ++i) {
            mask |= (subset >> i & 1) << bits[i];
        }
        ASSERT_EQ(Select(mask), ExpectedSelection(mask)) << std::hex << mask;
    }
}

TEST(FeatureRules, IgnoreOtherFeaturesAndKeepThemInTheMask)
{
    constexpr unsigned long others = ~0x7F081FFul;
    for (const unsigned long mask : kCompleteMasks) {
        Selection expected = ExpectedSelection(mask);
        expected.enabled |= others;
        EXPECT_EQ(Select(mask | others), expected) << std::hex << mask;
    }
}

TEST(FeatureRules, SelectTheVariantsInTheirOrder)
{
    ASSERT_EQ(std::size(kCompleteMasks), std::size(kSignalVariants));
    for (unsigned index = 0; index < std::size(kCompleteMasks); ++index) {
        EXPECT_EQ(Select(kCompleteMasks[index]), (Selection{index, kCompleteMasks[index], 0}));
    }
    EXPECT_EQ(Select(0x7F081DF), (Selection{6, 0x7F081DF, 0})) << "the later of both AVX-512 groups";
    for (const unsigned long mask : {0x63081DFul, 0x7081DFul}) {
        EXPECT_EQ(Select(mask), (Selection{4, mask, 0})) << "AVX2 for a part of an AVX-512 group";
    }
}

// The features of a variant, and for wide registers the support by the operating system (bits 9 and 33).
TEST(SignalVariants, RequireTheirFeatures)
{
    constexpr std::uint64_t kRequired[] = {0x4, 0x10, 0x80, 0x300, 0x8200, 0x200F08200, 0x207308200};
    ASSERT_EQ(std::size(kRequired), std::size(kSignalVariants));
    for (std::size_t i = 0; i < std::size(kRequired); ++i) {
        EXPECT_EQ(kSignalVariants[i].features, kRequired[i]) << kSignalVariants[i].prefix;
    }
}

TEST(FeatureRules, SelectAvxForAvx2WithoutFma)
{
    SZtaCpuidLeaves leaves{};
    leaves.sLeaf0.ulEax = 7;
    leaves.sLeaf1.ulEdx = 0x7 << 24 | 1u << 23;
    leaves.sLeaf1.ulEcx = 1u << 0 | 1u << 9 | 1u << 19 | 1u << 20 | 1u << 27 | 1u << 28;
    leaves.sLeaf7.ulEbx = 1u << 3 | 1u << 5 | 1u << 8;
    leaves.ui64Xcr0 = 7;
    EXPECT_EQ(Select(ZtaDetectCpuFeatures(leaves)).index, 3u);
    leaves.sLeaf1.ulEcx |= 1u << 12;
    EXPECT_EQ(Select(ZtaDetectCpuFeatures(leaves)).index, 4u);
}

// ---- The check of a mask against the CPU ----

struct Check {
    std::uint64_t mask;
    int status;
    bool operator==(const Check&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Check& check)
{
    return stream << "mask 0x" << std::hex << check.mask << std::dec << ", status " << check.status;
}

Check CheckMask(std::uint64_t mask, std::uint64_t detected)
{
    const int status = ZtaCheckFeatures(mask, detected);
    return {mask, status};
}

TEST(FeatureCheck, HasTheKnownResults)
{
    const struct {
        std::uint64_t mask;
        std::uint64_t detected;
        std::uint64_t checked;
        int status;
    } cases[] = {
        {0, 0, 0, 0},
        {0x1F, 0xFF, 0x1F, 0},
        {0x2073081FF, 0x2073083FF, 0x2073081FF, 0},
        // AVX is removed if the operating system does not support it.
        {0x81FF, 0x81FF, 0xFF, 49},
        {0x1FF, 0x1FF, 0xFF, 49},
        {0x80FF, 0x80FF, 0xFF, 49},
        {0x81FF, 0x83FF, 0x81FF, 0},
        // Features that the CPU lacks are kept, with a warning.
        {0x1F, 0xF, 0x1F, 49},
        {0x81DF, 0x2DF, 0x81DF, 49},
        {0x1000, 0xFFF, 0x1000, 49},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CheckMask(c.mask, c.detected), (Check{c.checked, c.status})) << std::hex << c.mask;
    }
    // The operating system does not save the wide registers: SSE4.2 is selected.
    const Check check = CheckMask(0x81DF, 0x81DF);
    EXPECT_EQ(check.status, ippStsFeatureNotSupported);
    EXPECT_EQ(Select(check.mask), (Selection{2, 0xDF, 0}));
}

TEST(FeatureCheck, RemovesEachAvx512FeatureWithoutOperatingSystemSupport)
{
    constexpr std::uint64_t group = 0xC6FF00000;
    for (int bit = 0; bit < 37; ++bit) {
        const std::uint64_t feature = std::uint64_t{1} << bit;
        const bool inGroup = (group & feature) != 0;
        const std::uint64_t detected = (feature | 0x200) & ~0x200000000ul;
        const bool isSupportBit = bit == 33; // not in `detected`, so it is rejected
        EXPECT_EQ(CheckMask(feature, detected), (Check{inGroup ? 0 : feature, inGroup || isSupportBit ? 49 : 0}))
            << bit;
        EXPECT_EQ(CheckMask(feature, detected | 0x200000000), (Check{feature, 0})) << bit;
    }
    EXPECT_EQ(CheckMask(group | 0xFF, group | 0xFF), (Check{0xFF, 49}));
}

TEST(FeatureCheck, WarnsAboutUnknownFeaturesUnlessTheCpuLacksOne)
{
    for (int bit = 37; bit <= 62; ++bit) {
        const std::uint64_t unknown = std::uint64_t{1} << bit;
        EXPECT_EQ(CheckMask(unknown, unknown), (Check{unknown, 50})) << bit; // only possible without the check
        EXPECT_EQ(CheckMask(unknown, 0), (Check{unknown, 49})) << bit;
        EXPECT_EQ(CheckMask(unknown | 0x100, unknown | 0x100), (Check{unknown, 49})) << bit;
    }
}

TEST(Vendor, IsIntelOnlyIfAllThreeRegistersMatch)
{
    const SZtaCpuidLeaf intel = {0, 0x756E6547, 0x6C65746E, 0x49656E69};
    EXPECT_TRUE(ZtaIsGenuineIntel(intel));
    for (const auto word : {&SZtaCpuidLeaf::ulEbx, &SZtaCpuidLeaf::ulEcx, &SZtaCpuidLeaf::ulEdx}) {
        SZtaCpuidLeaf other = intel;
        other.*word ^= 1;
        EXPECT_FALSE(ZtaIsGenuineIntel(other));
    }
    SZtaCpuidLeaf more = intel;
    more.ulEax = 0x20;
    EXPECT_TRUE(ZtaIsGenuineIntel(more));
}

TEST(Vendor, IsReadFromThisCpu)
{
    unsigned eax = 0;
    char name[13] = {};
    ASSERT_TRUE(__get_cpuid(0, &eax, reinterpret_cast<unsigned*>(name), reinterpret_cast<unsigned*>(name + 8),
                            reinterpret_cast<unsigned*>(name + 4)));
    EXPECT_EQ(ipp_is_GenuineIntel(), std::string(name) == "GenuineIntel" ? 1 : 0);
}

// ---- The process-wide state ----

TEST(CpuFeatures, AreThoseOfTheCpu)
{
    unsigned expected[4] = {};
    ASSERT_TRUE(__get_cpuid(1, &expected[0], &expected[1], &expected[2], &expected[3]));
    unsigned words[4] = {};
    for (unsigned* const leaf1 : {words, static_cast<unsigned*>(nullptr)}) {
        unsigned long mask = 0;
        EXPECT_EQ(ippGetCpuFeatures(&mask, leaf1), ippStsNoErr);
        EXPECT_EQ(mask, DetectedFeatures());
    }
    words[1] &= 0xFFFFFF; // the highest byte is the number of the core
    expected[1] &= 0xFFFFFF;
    EXPECT_TRUE(std::equal(std::begin(words), std::end(words), std::begin(expected)));
    unsigned long mask = 0;
    EXPECT_EQ(ownGetMaskFeatures(&mask), 1);
    EXPECT_EQ(mask, DetectedFeatures());
}

TEST(CpuFeatures, RejectANullMask)
{
    unsigned words[4] = {1, 2, 3, 4};
    EXPECT_EQ(ippGetCpuFeatures(nullptr, words), ippStsNullPtrErr);
    EXPECT_EQ(words[0], 1u);
    EXPECT_EQ(words[3], 4u);
}

TEST(CpuFeatures, EnabledFeaturesAreStoredUnchecked)
{
    InFreshProcess([] {
        EXPECT_EQ(ippGetEnabledCpuFeatures(), 0u);
        ippSetCpuFeaturesMask(0x123456789ABCDEF);
        EXPECT_EQ(ippGetEnabledCpuFeatures(), 0x123456789ABCDEFu);
        EXPECT_EQ(ownGetFeature(0x0ABCDEF), 1);
        EXPECT_EQ(ownGetFeature(0x10), 0);
        EXPECT_EQ(ownGetFeature(0x1F), 0); // not all of it
        EXPECT_EQ(ownGetFeature(0), 1);
    });
}

TEST(CpuFeatures, EnabledFeaturesCanReplaceTheDetectedOnes)
{
    InFreshProcess([] {
        ippSetCpuFeaturesMask(0xDF);
        ownMaskIsFeatures();
        unsigned long mask = 0;
        EXPECT_EQ(ippGetCpuFeatures(&mask, nullptr), ippStsNoErr);
        EXPECT_EQ(mask, 0xDFu);
    });
}

TEST(SetCpuFeatures, ReturnsTheStatusOfTheCheckBeforeThatOfTheSelection)
{
    if ((DetectedFeatures() & 0x1F) != 0x1F) {
        GTEST_SKIP() << "this CPU has no SSSE3";
    }
    InFreshProcess([] {
        const struct {
            unsigned long mask;
            int status;
            unsigned long enabled;
        } cases[] = {{0x1F, 0, 0x1F},
                     {0x10, 51, 0x1F},
                     {0, 36, 1},
                     {2, 36, 3},
                     // Bit 12 has no meaning and is never detected: the warning of the check takes precedence.
                     {0x101F, 49, 0x101F},
                     {0x1010, 49, 0x101F}};
        for (const auto& c : cases) {
            EXPECT_EQ(ippSetCpuFeatures(c.mask), c.status) << std::hex << c.mask;
            EXPECT_EQ(ippGetEnabledCpuFeatures(), c.enabled) << std::hex << c.mask;
        }
        unsigned index = 99;
        EXPECT_EQ(ownSetCpuFeaturesAndIdx(0x7, &index), 0);
        EXPECT_EQ(index, 0u);
        EXPECT_EQ(ownSetCpuFeaturesAndIdx(0x1F, &index), 0);
        EXPECT_EQ(index, 1u);
    });
}

TEST(SetCpuFeatures, CanSkipTheCheck)
{
    InFreshProcess([] {
        ippSetCpuFeaturesMask(0x5);
        EXPECT_EQ(ippSetCpuFeatures(kWithoutCheck | 0x1F), 0);
        unsigned long detected = 0;
        ippGetCpuFeatures(&detected, nullptr);
        EXPECT_EQ(detected, 0x5u);
        EXPECT_EQ(ippGetEnabledCpuFeatures(), 0x1Fu);
        EXPECT_EQ(ippSetCpuFeatures(kWithoutCheck | 1ul << 40 | 0x10), 51);
        EXPECT_EQ(ippGetEnabledCpuFeatures(), 1ul << 40 | 0x1F);
    });
}

// ---- Dispatch ----

template <class T>
T SampleArgument(int number)
{
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(static_cast<std::uintptr_t>(4096 + 16 * number));
    } else if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(number) + T{0.25};
    } else {
        return static_cast<T>(number);
    }
}

/// Calls a function with distinct arguments and expects them in the spy of a variant.
template <auto Stub, int Variant, class Result, class... Arguments, std::size_t... Numbers>
void ExpectCallReaches(Result (*function)(Arguments...) noexcept, const char* name, std::index_sequence<Numbers...>)
{
    const std::tuple<Arguments...> arguments(SampleArgument<Arguments>(static_cast<int>(Numbers) + 3)...);
    using Spy = SignalSpy<Stub, Variant>;
    Spy::arguments = {};
    calledVariant = -1;
    std::apply(function, arguments);
    EXPECT_EQ(calledVariant, Variant) << name;
    EXPECT_TRUE(Spy::arguments == arguments) << name;
}

template <auto Stub, class Result, class... Arguments>
void ExpectReaches(Result (*function)(Arguments...) noexcept, unsigned variant, const char* name)
{
    constexpr auto numbers = std::index_sequence_for<Arguments...>();
    switch (variant) {
#define ZTA_TEST_CASE(index)                                                                                           \
    case index:                                                                                                        \
        return ExpectCallReaches<Stub, index>(function, name, numbers);
        ZTA_TEST_CASE(0)
        ZTA_TEST_CASE(1)
        ZTA_TEST_CASE(2)
        ZTA_TEST_CASE(3)
        ZTA_TEST_CASE(4)
        ZTA_TEST_CASE(5)
        ZTA_TEST_CASE(6)
#undef ZTA_TEST_CASE
    default:
        FAIL() << "no variant " << variant;
    }
}

TEST(Dispatch, EveryFunctionReachesEachVariantWithItsArguments)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        for (unsigned variant = 0; variant < std::size(kCompleteMasks); ++variant) {
            EXPECT_EQ(ippSetCpuFeatures(kWithoutCheck | kCompleteMasks[variant]), 0);
#define ZTA_TEST_CALL(result, name, prefix, parameters, arguments) ExpectReaches<&in_##name>(&name, variant, #name);
            ZTA_IPP_DISPATCHED_LIST(ZTA_TEST_CALL, )
#undef ZTA_TEST_CALL
        }
    });
}

/// Returns the variant for this CPU by the reference model.
unsigned VariantOfThisCpu()
{
    std::uint64_t mask = DetectedFeatures();
    ZtaCheckFeatures(mask, mask);
    return ExpectedSelection(mask).index;
}

// One process for each function: the first call selects the variant and passes its arguments.
#define ZTA_TEST_FIRST_CALL(result, name, prefix, parameters, arguments)                                               \
    TEST(FirstCall, Of_##name)                                                                                         \
    {                                                                                                                  \
        InFreshProcess([] {                                                                                            \
            RedirectAllToSpies();                                                                                      \
            ExpectReaches<&in_##name>(&name, VariantOfThisCpu(), #name);                                               \
            EXPECT_EQ(ippGetEnabledCpuFeatures(), Select(DetectedFeatures()).enabled);                                 \
        });                                                                                                            \
    }
ZTA_IPP_DISPATCHED_LIST(ZTA_TEST_FIRST_CALL, )
#undef ZTA_TEST_FIRST_CALL

TEST(Dispatch, StubsSelectAgainAfterAnySelection)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        EXPECT_EQ(ippSetCpuFeatures(0x7), 0);
#define ZTA_TEST_CALL(result, name, prefix, parameters, arguments)                                                     \
    ippSetCpuFeatures(0x7);                                                                                            \
    ExpectReaches<&in_##name>(&name, 0, #name);                                                                        \
    ExpectReaches<&in_##name>(&in_##name, VariantOfThisCpu(), "in_" #name);
        ZTA_IPP_DISPATCHED_LIST(ZTA_TEST_CALL, )
#undef ZTA_TEST_CALL
    });
}

TEST(Dispatch, EnabledFeaturesAloneDoNotSelectAVariant)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        EXPECT_EQ(ippSetCpuFeatures(0x7), 0);
        ippSetCpuFeaturesMask(0x73081DF);
        ExpectReaches<&in_ippsSet_16s>(&ippsSet_16s, 0, "ippsSet_16s");
    });
}

TEST(Init, SelectsTheVariantOfThisCpuAndReportsTheVendor)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        const Selection expected = ExpectedSelection(DetectedFeatures());
        const int status = ipp_is_GenuineIntel() != 0 ? expected.status : 20;
        EXPECT_EQ(ippInit(), status);
        EXPECT_EQ(ippGetEnabledCpuFeatures(), expected.enabled);
        ExpectReaches<&in_ippsSet_16s>(&ippsSet_16s, VariantOfThisCpu(), "ippsSet_16s");
        EXPECT_EQ(ippSetCpuFeatures(0x7), 0);
        EXPECT_EQ(ippSafeInit(), status);
        ExpectReaches<&in_ippsSet_16s>(&ippsSet_16s, VariantOfThisCpu(), "ippsSet_16s");
    });
}

/// The registers of arguments.
struct ArgumentRegisters {
    std::uint64_t integers[6];
    double doubles[8];
};

/// Calls a function with these registers and stores their values after the call.
int CallWithRegisters(IppStatus (*function)() noexcept, ArgumentRegisters& registers)
{
    ArgumentRegisters* const pointer = &registers;
    register IppStatus (*target)() noexcept asm("r12") = function;
    register ArgumentRegisters* memory asm("r13") = pointer;
    int status = 0;
    // Below the red zone of this function.
    asm volatile(R"(
        mov %%rsp, %%r14
        sub $256, %%rsp
        and $-64, %%rsp
        mov (%%r13), %%rdi
        mov 8(%%r13), %%rsi
        mov 16(%%r13), %%rdx
        mov 24(%%r13), %%rcx
        mov 32(%%r13), %%r8
        mov 40(%%r13), %%r9
        movsd 48(%%r13), %%xmm0
        movsd 56(%%r13), %%xmm1
        movsd 64(%%r13), %%xmm2
        movsd 72(%%r13), %%xmm3
        movsd 80(%%r13), %%xmm4
        movsd 88(%%r13), %%xmm5
        movsd 96(%%r13), %%xmm6
        movsd 104(%%r13), %%xmm7
        call *%%r12
        mov %%r14, %%rsp
        mov %%rdi, (%%r13)
        mov %%rsi, 8(%%r13)
        mov %%rdx, 16(%%r13)
        mov %%rcx, 24(%%r13)
        mov %%r8, 32(%%r13)
        mov %%r9, 40(%%r13)
        movsd %%xmm0, 48(%%r13)
        movsd %%xmm1, 56(%%r13)
        movsd %%xmm2, 64(%%r13)
        movsd %%xmm3, 72(%%r13)
        movsd %%xmm4, 80(%%r13)
        movsd %%xmm5, 88(%%r13)
        movsd %%xmm6, 96(%%r13)
        movsd %%xmm7, 104(%%r13)
    )"
                 : "=a"(status)
                 : "r"(target), "r"(memory)
                 : "rdi", "rsi", "rdx", "rcx", "r8", "r9", "r10", "r11", "r14", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4",
                   "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15",
                   "memory", "cc");
    return status;
}

TEST(Init, KeepsTheArgumentsOfTheInterruptedCall)
{
    InFreshProcess([] {
        for (int call = 0; call < 2; ++call) {
            ArgumentRegisters registers{};
            std::iota(std::begin(registers.integers), std::end(registers.integers), 0x1111'2222'3333'4444U);
            std::iota(std::begin(registers.doubles), std::end(registers.doubles), 0.25);
            const ArgumentRegisters before = registers;
            EXPECT_EQ(CallWithRegisters(&ippSafeInit, registers), ippInit());
            EXPECT_EQ(std::memcmp(&registers, &before, sizeof(registers)), 0) << call;
        }
    });
}

TEST(Init, SelectsFromTheDetectedFeatures)
{
    InFreshProcess([] {
        RedirectAllToSpies();
        ippSetCpuFeaturesMask(0xDF);
        ownMaskIsFeatures();
        EXPECT_EQ(ippInit(), ipp_is_GenuineIntel() != 0 ? 0 : 20);
        ExpectReaches<&in_ippsSet_16s>(&ippsSet_16s, 2, "ippsSet_16s");
    });
}

// A caller can select a variant that the CPU does not support, but the first call never does.
TEST(Init, SelectsASupportedVariant)
{
    const std::uint64_t needed = kSignalVariants[VariantOfThisCpu()].features;
    EXPECT_EQ(DetectedFeatures() & needed, needed);
}

} // namespace
} // namespace zta::test
