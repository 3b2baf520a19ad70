// The conversions with arithmetic, on all 32-bit words.

#include "kernels/loops/loops.h"
#include "testing/models/conversion_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

namespace {

// Optimized code needs about ten seconds for all words. Other code, coverage and sanitizers need minutes: they process
// every 61st range of words.
#if defined(__OPTIMIZE__) && !defined(ZTA_LOOPS_ARE_SLOW) && !defined(__SANITIZE_ADDRESS__) &&                         \
    !defined(__SANITIZE_THREAD__)
constexpr std::uint64_t kStride = 1;
#else
constexpr std::uint64_t kStride = 61;
#endif
constexpr std::uint32_t kRangeWords = 1u << 13;

std::uint32_t To32f(std::uint32_t word)
{
    return std::bit_cast<std::uint32_t>(
        models::Quotient(static_cast<float>(static_cast<std::int32_t>(word)), 2147483392.0));
}

/// Returns the same as models::TruncateToInt32. Compilers vectorize this form.
std::uint32_t TruncateToInt32(float product)
{
    const bool fits = product >= -2147483648.0f && product < 2147483648.0f;
    return fits ? static_cast<std::uint32_t>(static_cast<std::int64_t>(product)) : 0x80000000;
}

std::uint32_t To16(std::uint32_t word)
{
    return TruncateToInt32(std::bit_cast<float>(word) * 32767.0f) & 0xFFFF;
}

std::uint32_t To24(std::uint32_t word)
{
    return TruncateToInt32(std::bit_cast<float>(word) * 2147483648.0f);
}

/// Compares all variants with the op, bit-exactly.
template <class Output, class Op>
void ExpectOpOnAllWords(ZtaConversion SZtaSampleLoops::*loop, Op op)
{
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    std::vector<std::uint32_t> words(kRangeWords);
    std::vector<Output> expected(kRangeWords);
    std::vector<Output> actual(kRangeWords);
    std::uint64_t done = 0;
    for (std::uint64_t first = 0; first < std::uint64_t{1} << 32; first += kRangeWords * kStride) {
        for (std::uint32_t i = 0; i < kRangeWords; ++i) {
            words[i] = static_cast<std::uint32_t>(first) + i;
        }
        for (std::uint32_t i = 0; i < kRangeWords; ++i) {
            expected[i] = static_cast<Output>(op(words[i]));
        }
        for (const SZtaLoopVariant& variant : kLoopVariants) {
            if (!variant.IsSupported(features)) {
                continue;
            }
            (variant.psLoops->*loop)(words.data(), actual.data(), kRangeWords);
            if (std::memcmp(actual.data(), expected.data(), kRangeWords * sizeof(Output)) == 0) {
                continue;
            }
            const auto at = std::mismatch(actual.begin(), actual.end(), expected.begin()).first - actual.begin();
            FAIL() << variant.psLoops->pszName << " returns " << actual[static_cast<std::size_t>(at)] << " for word "
                   << words[static_cast<std::size_t>(at)] << ", expected " << expected[static_cast<std::size_t>(at)];
        }
        done += kRangeWords;
    }
    EXPECT_GE(done * kStride, std::uint64_t{1} << 32);
}

TEST(AllWords, BecomeTheCorrectlyRoundedQuotient)
{
    ExpectOpOnAllWords<std::uint32_t>(&SZtaSampleLoops::pfn24To32f, [](std::uint32_t word) { return To32f(word); });
}

TEST(AllWords, AsFloatsBecomeTheTruncated16BitProduct)
{
    ExpectOpOnAllWords<std::uint16_t>(&SZtaSampleLoops::pfn32fTo16, [](std::uint32_t word) { return To16(word); });
}

TEST(AllWords, AsFloatsBecomeTheTruncated32BitProduct)
{
    ExpectOpOnAllWords<std::uint32_t>(&SZtaSampleLoops::pfn32fTo24, [](std::uint32_t word) { return To24(word); });
}

TEST(AllWords, AreTruncatedLikeInTheModel)
{
    for (const float value : {0.0f, 0.99f, 1.5f, 65536.5f, 2147483520.0f, 2147483648.0f, 1e30f}) {
        EXPECT_EQ(TruncateToInt32(value), models::TruncateToInt32(value));
        EXPECT_EQ(TruncateToInt32(-value), models::TruncateToInt32(-value));
    }
    const float nan = std::bit_cast<float>(0x7FC00000u);
    EXPECT_EQ(TruncateToInt32(nan), models::TruncateToInt32(nan));
}

} // namespace
