// The numeric and memory primitives: each variant, and the dispatched functions.

#include "testing/guarded_buffer.h"
#include "testing/signal_variants.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace zta::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// Compares all bits: -0.0 differs from 0.0, and a NaN equals itself.
bool Same(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

class Primitives : public testing::TestWithParam<SignalVariant> {};

/// The variants, and one that calls the dispatched functions.
std::vector<SignalVariant> VariantsAndDispatch()
{
    std::vector<SignalVariant> variants = SupportedSignalVariants();
    SignalVariant dispatch = variants.back();
    dispatch.prefix = "dispatch";
    dispatch.ippsFree = ippsFree;
    dispatch.ippsMalloc_8u = ippsMalloc_8u;
    dispatch.ippsMove_16s = ippsMove_16s;
    dispatch.ippsSet_16s = ippsSet_16s;
    variants.push_back(dispatch);
    return variants;
}

INSTANTIATE_TEST_SUITE_P(Variants, Primitives, testing::ValuesIn(VariantsAndDispatch()), SignalVariantName());

TEST_P(Primitives, RejectNullThenCountsBelowOneAndWriteNothing)
{
    const SignalVariant& variant = GetParam();
    const std::int16_t source = 1;
    std::int16_t sample = 7;
    double value = 3.0;
    for (const int len : {1, 0, -1, std::numeric_limits<int>::min()}) {
        const auto expect = [&](int status, std::int16_t* samples, double* values) {
            EXPECT_EQ(variant.ippsSet_16s(1, samples, len), status);
            EXPECT_EQ(variant.ippsMove_16s(&source, samples, len), status);
            EXPECT_EQ(variant.ippsZero_64f(values, len), status);
            for (const double factor : {0.0, 1.0, 2.0}) {
                EXPECT_EQ(variant.ippsMulC_64f_I(factor, values, len), status);
            }
        };
        expect(ippStsNullPtrErr, nullptr, nullptr);
        EXPECT_EQ(variant.ippsMove_16s(nullptr, &sample, len), ippStsNullPtrErr);
        if (len < 1) {
            expect(ippStsSizeErr, &sample, &value);
        }
    }
    EXPECT_EQ(sample, 7);
    EXPECT_EQ(value, 3.0);
}

TEST_P(Primitives, SetFillsOnlyItsSamples)
{
    std::vector<std::int16_t> samples;
    for (int offset = 0; offset < 40; ++offset) {
        for (int len = 1; len < 200; ++len) {
            samples.assign(260, 99);
            ASSERT_EQ(GetParam().ippsSet_16s(-12345, samples.data() + offset, len), ippStsNoErr);
            for (int i = 0; i < 260; ++i) {
                ASSERT_EQ(samples[static_cast<std::size_t>(i)], i >= offset && i < offset + len ? -12345 : 99)
                    << "offset " << offset << ", length " << len << ", at " << i;
            }
        }
    }
}

/// Fails only under a sanitizer, if a variant assumes aligned samples.
TEST_P(Primitives, AcceptSamplesAtOddAddresses)
{
    constexpr std::size_t kBytes = 20001;
    for (const int len : {1, 2, 3, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 129, 1000, 9000}) {
        std::vector<std::uint8_t> bytes(kBytes, 0x5A);
        auto* const odd = reinterpret_cast<std::int16_t*>(bytes.data() + 1);
        ASSERT_EQ(GetParam().ippsSet_16s(0x1234, odd, len), ippStsNoErr);
        std::vector<std::uint8_t> expected(kBytes, 0x5A);
        for (std::size_t i = 0; i < static_cast<std::size_t>(len); ++i) {
            expected[1 + 2 * i] = 0x34;
            expected[2 + 2 * i] = 0x12;
        }
        ASSERT_EQ(bytes, expected) << len;

        for (std::size_t i = 0; i < kBytes; ++i) {
            bytes[i] = static_cast<std::uint8_t>(i * 37 + i / 256);
        }
        for (const auto& [from, to] : {std::pair{1, 7}, std::pair{7, 1}, std::pair{1, 2}, std::pair{2, 1}}) {
            expected = bytes;
            std::memmove(expected.data() + to, bytes.data() + from, static_cast<std::size_t>(len) * 2);
            ASSERT_EQ(GetParam().ippsMove_16s(reinterpret_cast<const std::int16_t*>(bytes.data() + from),
                                              reinterpret_cast<std::int16_t*>(bytes.data() + to), len),
                      ippStsNoErr);
            ASSERT_EQ(bytes, expected) << len << " from " << from << " to " << to;
        }
    }
}

/// Fails only under a sanitizer, if a variant assumes aligned doubles.
TEST_P(Primitives, AcceptDoublesAtOddAddresses)
{
    for (const int len : {1, 2, 3, 4, 7, 8, 9, 17, 100}) {
        const auto bytes = static_cast<std::size_t>(len) * sizeof(double);
        std::vector<double> values(static_cast<std::size_t>(len));
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = 0.3 * static_cast<double>(i) - 2.0;
        }
        std::vector<std::uint8_t> memory(bytes + 1);
        std::memcpy(memory.data() + 1, values.data(), bytes);
        auto* const odd = reinterpret_cast<double*>(memory.data() + 1);
        ASSERT_EQ(GetParam().ippsMulC_64f_I(1.7, odd, len), ippStsNoErr);
        for (double& value : values) {
            value *= 1.7;
        }
        ASSERT_EQ(std::memcmp(memory.data() + 1, values.data(), bytes), 0) << len;
        ASSERT_EQ(GetParam().ippsZero_64f(odd, len), ippStsNoErr);
        ASSERT_TRUE(std::all_of(memory.begin(), memory.end(), [](std::uint8_t byte) { return byte == 0; })) << len;
    }
}

TEST_P(Primitives, SetFillsLargeBlocksToTheEndOfMemory)
{
    const GuardedBuffer memory(5'000'000);
    const auto len = static_cast<int>(memory.Size() / 2);
    auto* const samples = reinterpret_cast<std::int16_t*>(memory.Begin());
    EXPECT_EQ(GetParam().ippsSet_16s(0x1234, samples, len), ippStsNoErr);
    EXPECT_EQ(std::count(samples, samples + len, 0x1234), len);
    EXPECT_EQ(GetParam().ippsSet_16s(-1, samples + 1, len - 1), ippStsNoErr);
    EXPECT_EQ(std::count(samples + 1, samples + len, -1), len - 1);
    EXPECT_EQ(samples[0], 0x1234);
}

TEST_P(Primitives, MoveCopiesOverlappingSamplesEitherWay)
{
    std::vector<std::int16_t> start(300);
    for (std::size_t i = 0; i < start.size(); ++i) {
        start[i] = static_cast<std::int16_t>(i * 211 + 5);
    }
    for (const int from : {0, 1, 2, 7, 40, 63, 64}) {
        for (const int to : {0, 1, 3, 8, 41, 63, 64}) {
            for (const int len : {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 64, 65, 100, 129, 200}) {
                std::vector<std::int16_t> samples = start;
                ASSERT_EQ(GetParam().ippsMove_16s(samples.data() + from, samples.data() + to, len), ippStsNoErr);
                std::vector<std::int16_t> expected = start;
                std::copy_n(start.begin() + from, len, expected.begin() + to);
                ASSERT_EQ(samples, expected) << "from " << from << " to " << to << ", length " << len;
            }
        }
    }
}

TEST_P(Primitives, ZeroClearsOnlyItsValues)
{
    for (int offset = 0; offset < 9; ++offset) {
        for (int len = 1; len < 70; ++len) {
            std::vector<double> values(90, kNan);
            ASSERT_EQ(GetParam().ippsZero_64f(values.data() + offset, len), ippStsNoErr);
            for (int i = 0; i < 90; ++i) {
                const bool inside = i >= offset && i < offset + len;
                ASSERT_TRUE(Same(values[static_cast<std::size_t>(i)], inside ? 0.0 : kNan))
                    << "offset " << offset << ", length " << len << ", at " << i;
            }
        }
    }
}

TEST_P(Primitives, MulCScalesOnlyItsValues)
{
    for (const double factor : {16384.0, -0.3, 1.0 / 3, 5e-324, kInfinity}) {
        for (int offset = 0; offset < 9; ++offset) {
            for (int len = 1; len < 70; ++len) {
                std::vector<double> values(90);
                for (std::size_t i = 0; i < values.size(); ++i) {
                    values[i] = 0.1 * static_cast<double>(i + 1) - 4.0;
                }
                std::vector<double> expected = values;
                for (int i = offset; i < offset + len; ++i) {
                    expected[static_cast<std::size_t>(i)] *= factor;
                }
                ASSERT_EQ(GetParam().ippsMulC_64f_I(factor, values.data() + offset, len), ippStsNoErr);
                ASSERT_TRUE(std::equal(values.begin(), values.end(), expected.begin(), Same))
                    << "factor " << factor << ", offset " << offset << ", length " << len;
            }
        }
    }
}

TEST_P(Primitives, MulCByOneKeepsSignalingNaN)
{
    const auto signaling = std::bit_cast<double>(std::uint64_t{0x7FF0000000000001});
    std::vector<double> values(20, signaling);
    EXPECT_EQ(GetParam().ippsMulC_64f_I(1.0, values.data(), 20), ippStsNoErr);
    for (const double& value : values) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        EXPECT_EQ(bits, 0x7FF0000000000001u);
    }
}

TEST_P(Primitives, MulCByZeroLeavesNoNaN)
{
    for (const double zero : {0.0, -0.0}) {
        std::vector<double> values = {kNan, kInfinity, -kInfinity, -1.0, 5.0, kNan, 1.0, 2.0, 3.0};
        EXPECT_EQ(GetParam().ippsMulC_64f_I(zero, values.data(), 8), ippStsNoErr);
        EXPECT_TRUE(std::all_of(values.begin(), values.begin() + 8, [](double value) { return Same(value, 0.0); }));
        EXPECT_EQ(values[8], 3.0);
    }
}

TEST_P(Primitives, MallocAlignsEveryLengthTo64AndStoresTheStartBelowTheBlock)
{
    const SignalVariant& variant = GetParam();
    std::vector<unsigned char*> blocks;
    for (int len = 1; len <= 1000; ++len) {
        unsigned char* const block = variant.ippsMalloc_8u(len);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u);
        std::uintptr_t start = 0;
        std::memcpy(&start, block - sizeof(start), sizeof(start));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block), (start + 71) & ~std::uintptr_t{63});
        std::memset(block, len & 0xFF, static_cast<std::size_t>(len));
        blocks.push_back(block);
    }
    for (int len = 1; len <= 1000; ++len) {
        unsigned char* const block = blocks[static_cast<std::size_t>(len - 1)];
        EXPECT_EQ(std::count(block, block + len, len & 0xFF), len);
        variant.ippsFree(block);
    }
    variant.ippsFree(nullptr); // does nothing
}

TEST_P(Primitives, MallocRejectsInvalidLengths)
{
    const SignalVariant& variant = GetParam();
    constexpr int highest = std::numeric_limits<int>::max();
    for (const int len : {0, -1, std::numeric_limits<int>::min(), highest, highest - 71}) {
        EXPECT_EQ(variant.ippsMalloc_8u(len), nullptr) << len;
    }
    unsigned char* const largest = variant.ippsMalloc_8u(highest - 72);
    ASSERT_NE(largest, nullptr) << "not rejected for its length";
    variant.ippsFree(largest);
}

TEST(Malloc, AllocatesLikeTheTypedFunction)
{
    EXPECT_EQ(ippMalloc(0), nullptr);
    EXPECT_EQ(ippMalloc(std::numeric_limits<int>::max() - 71), nullptr);
    void* const block = ippMalloc(100);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u);
    ippsFree(block);
    ippFree(ippsMalloc_8u(100));
    ippFree(nullptr);
}

// The square root.

TEST_P(Primitives, SqrtOneIsTheCorrectlyRoundedRoot)
{
    const SignalVariant& variant = GetParam();
    for (const double x : {0.0, -0.0, 1.0, 2.0, 0.5, 1e-320, 5e-324, 1e308, kInfinity, 0.1, 1.0 - 1e-16}) {
        EXPECT_TRUE(Same(variant.ippsSqrtOne(x), std::sqrt(x))) << x;
    }
    for (const double x : {-1.0, -5e-324, -kInfinity, kNan}) {
        EXPECT_TRUE(std::isnan(variant.ippsSqrtOne(x))) << x;
    }
    const double quieted = variant.ippsSqrtOne(std::bit_cast<double>(std::uint64_t{0x7FF0000000000001}));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(quieted), 0x7FF8000000000001u);
    std::mt19937_64 random(5);
    for (int i = 0; i < 10000; ++i) {
        const auto x = std::bit_cast<double>(random() >> 1);
        if (!std::isnan(x)) {
            ASSERT_TRUE(Same(variant.ippsSqrtOne(x), std::sqrt(x))) << x;
        }
    }
}

// The sine.

/// Arguments in small steps, arguments close to the zeros and to the steps of the table, and those of every magnitude.
const std::vector<double>& SineArguments()
{
    static const std::vector<double> arguments = [] {
        std::vector<double> all;
        const auto add = [&all](double x) {
            all.push_back(x);
            all.push_back(-x);
        };
        for (int i = 0; i <= 200'000; ++i) {
            add(i * (16 * M_PI / 200'000)); // all arguments of the filter bank
            add(i * 0.4505437);             // up to the limit of the fast path
        }
        for (int step = 1; step < 920'000; step += step < 5000 ? 1 : 37) {
            const double x = static_cast<double>(step * (3.14159265358979323846264338327950288L / 64));
            add(x); // angles of the table, and the midpoints between them
            add(std::nextafter(x, 0.0));
            add(std::nextafter(x, kInfinity));
        }
        for (const double edge : {90112.0, std::ldexp(1.0, -252), std::ldexp(1.0, 1023), 0x1.fffffffffffffp1023}) {
            add(edge);
            add(std::nextafter(edge, 0.0));
        }
        std::mt19937_64 random(7);
        for (int i = 0; i < 200'000; ++i) {
            const auto x = std::bit_cast<double>(random() >> 1);
            if (std::isfinite(x)) {
                add(x);
            }
            add(std::ldexp(1.0 + static_cast<double>(random() >> 12) * 0x1p-52, static_cast<int>(random() % 100) - 40));
        }
        return all;
    }();
    return arguments;
}

/// Returns the error of a result in units in the last place.
double ErrorInUnits(double result, double x)
{
    const long double sine = sinl(static_cast<long double>(x));
    const int exponent = std::max(std::ilogb(sine), -1022);
    return static_cast<double>(std::ldexp(fabsl(static_cast<long double>(result) - sine), 52 - exponent));
}

/// Expects no error above `limit` for arguments of a magnitude below `end`.
void ExpectSineErrors(double limit, double end)
{
    double maxError = 0.0;
    double argument = 0.0;
    for (const double x : SineArguments()) {
        const double error = std::abs(x) < end ? ErrorInUnits(m7_ippsSinOne(x), x) : 0.0;
        if (error > maxError) {
            maxError = error;
            argument = x;
        }
    }
    EXPECT_LE(maxError, limit) << "at " << argument;
}

TEST(SinOne, HasAnErrorOfAtMostOneUnitInTheLastPlace)
{
    ExpectSineErrors(1.0, kInfinity);
}

// Half a unit is the rounding of the result. The computation adds almost nothing.
TEST(SinOne, IsAlmostCorrectlyRoundedInTheFastPath)
{
    ExpectSineErrors(0.51, 90112.0);
}

TEST_P(Primitives, SinOneIsTheSameInAllVariants)
{
    for (const double x : SineArguments()) {
        ASSERT_TRUE(Same(GetParam().ippsSinOne(x), m7_ippsSinOne(x))) << x;
    }
}

TEST_P(Primitives, SinOneHandlesEdgeCases)
{
    const SignalVariant& variant = GetParam();
    for (const double x : {0.0, -0.0, 1e-300, -1e-300, 5e-324, std::ldexp(1.0, -253)}) {
        EXPECT_TRUE(Same(variant.ippsSinOne(x), x)) << x;
    }
    for (const double x : {kInfinity, -kInfinity, kNan}) {
        EXPECT_TRUE(std::isnan(variant.ippsSinOne(x))) << x;
    }
    EXPECT_EQ(variant.ippsSinOne(M_PI / 2), 1.0);
    EXPECT_EQ(variant.ippsSinOne(M_PI), 1.2246467991473532e-16);
    EXPECT_EQ(variant.ippsSinOne(1e22), -0.8522008497671888);
}

} // namespace
} // namespace zta::test
