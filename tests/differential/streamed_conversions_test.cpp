// The conversion loops with streaming stores, which the other tests reach with very large buffers only: here the size
// from which they are used is 1.

#include "kernels/loops/loops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct Conversion {
    const char* name;
    std::size_t inBytes;
    std::size_t outBytes;
    ZtaConversion SZtaSampleLoops::*loop;
};

constexpr Conversion kConversions[] = {
#define ZTA_TEST_ENTRY(name, in, out, op) {#name, in, out, &SZtaSampleLoops::pfn##name},
    ZTA_CONVERSION_LIST(ZTA_TEST_ENTRY)
#undef ZTA_TEST_ENTRY
};

constexpr std::size_t kMinSamples = 900; ///< more than a loop needs to use a streaming store
constexpr std::size_t kBlockSamples = 64;
constexpr std::size_t kMaxSamples = kMinSamples + 2 * kBlockSamples;
constexpr std::size_t kGuardBytes = 128;
constexpr std::uint8_t kGuard = 0xA5;

class StreamedConversion : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
protected:
    void SetUp() override
    {
        if (!variant_.IsSupported(ZtaDetectCpuFeatures(ZtaReadCpuid()))) {
            GTEST_SKIP() << "not supported by this CPU: " << variant_.psLoops->pszName;
        }
        detected_ = ZtaMinStreamedBytes();
        SetMinStreamedBytes(1);
        ASSERT_EQ(ZtaMinStreamedBytes(), 1U);
        std::generate(samples_.begin(), samples_.end(), std::minstd_rand(7));
    }

    void TearDown() override
    {
        if (detected_ != 0) {
            SetMinStreamedBytes(detected_);
        }
    }

    static void SetMinStreamedBytes(unsigned long bytes)
    {
        __atomic_store_n(&g_ulMinStreamedBytes, bytes, __ATOMIC_RELAXED);
    }

    std::vector<std::uint8_t> ScalarResult(std::size_t count) const
    {
        std::vector<std::uint8_t> result(count * conversion_.outBytes);
        (std::prev(std::end(kLoopVariants))->psLoops->*conversion_.loop)(samples_.data(), result.data(), count);
        return result;
    }

    void ExpectScalarResult(std::size_t count, std::size_t inputOffset, std::size_t outputOffset)
    {
        const std::vector<std::uint8_t> expected = ScalarResult(count);
        std::copy_n(samples_.begin(), count * conversion_.inBytes, &input_[inputOffset]);
        std::fill(output_.begin(), output_.end(), kGuard);
        const auto first = output_.begin() + static_cast<std::ptrdiff_t>(kGuardBytes + outputOffset);
        const auto last = first + static_cast<std::ptrdiff_t>(expected.size());
        (variant_.psLoops->*conversion_.loop)(&input_[inputOffset], &*first, count);
        const auto IsGuard = [](std::uint8_t byte) { return byte == kGuard; };
        ASSERT_TRUE(std::equal(first, last, expected.begin())) << count << " " << inputOffset << " " << outputOffset;
        ASSERT_TRUE(std::all_of(output_.begin(), first, IsGuard)) << count << " " << inputOffset << " " << outputOffset;
        ASSERT_TRUE(std::all_of(last, output_.end(), IsGuard)) << count << " " << inputOffset << " " << outputOffset;
    }

    const SZtaLoopVariant& variant_ = kLoopVariants[std::get<0>(GetParam())];
    const Conversion& conversion_ = kConversions[std::get<1>(GetParam())];
    unsigned long detected_ = 0;
    std::vector<std::uint8_t> samples_ = std::vector<std::uint8_t>(kMaxSamples * 4);
    std::vector<std::uint8_t> input_ = std::vector<std::uint8_t>(kMaxSamples * 4 + 64);
    std::vector<std::uint8_t> output_ = std::vector<std::uint8_t>(kMaxSamples * 4 + 64 + 2 * kGuardBytes);
};

/// Conversions whose buffers may overlap.
class StreamedConversionOfOneSize : public StreamedConversion {};

TEST_P(StreamedConversion, EqualsTheScalarReferenceForEveryRemainder)
{
    for (std::size_t count = kMinSamples; count < kMaxSamples; ++count) {
        ASSERT_NO_FATAL_FAILURE(ExpectScalarResult(count, count % 5, count * 4 % 64));
        ASSERT_NO_FATAL_FAILURE(ExpectScalarResult(count, 0, count % 64));
    }
}

TEST_P(StreamedConversion, EqualsTheScalarReferenceAtEveryAlignment)
{
    for (std::size_t offset = 0; offset < 64; ++offset) {
        ASSERT_NO_FATAL_FAILURE(ExpectScalarResult(kMinSamples + offset, offset, 0));
        ASSERT_NO_FATAL_FAILURE(ExpectScalarResult(kMinSamples + offset, 3, offset));
        ASSERT_NO_FATAL_FAILURE(ExpectScalarResult(kMinSamples, offset, offset));
    }
}

TEST_P(StreamedConversion, EqualsTheScalarReferenceForFewSamples)
{
    for (std::size_t count = 0; count < kMinSamples; ++count) {
        ASSERT_NO_FATAL_FAILURE(ExpectScalarResult(count, count % 3, count * 4 % 64));
    }
}

TEST_P(StreamedConversionOfOneSize, EqualsTheScalarReferenceWhereBuffersOverlap)
{
    for (const std::size_t distance : {0U, 4U, 32U, 64U, 1000U, 1024U, 4000U}) {
        const std::vector<std::uint8_t> expected = ScalarResult(kMaxSamples);
        std::vector<std::uint8_t> memory(distance + samples_.size());
        std::copy(samples_.begin(), samples_.end(), memory.begin() + static_cast<std::ptrdiff_t>(distance));
        (variant_.psLoops->*conversion_.loop)(&memory[distance], memory.data(), kMaxSamples);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), memory.begin())) << distance;
    }
}

std::string NameOf(const testing::TestParamInfo<std::tuple<std::size_t, std::size_t>>& param)
{
    return std::string(kLoopVariants[std::get<0>(param.param)].psLoops->pszName) + "_" +
           kConversions[std::get<1>(param.param)].name;
}

std::vector<std::size_t> ConversionsOfOneSize()
{
    std::vector<std::size_t> indices;
    for (std::size_t i = 0; i < std::size(kConversions); ++i) {
        if (kConversions[i].inBytes == kConversions[i].outBytes) {
            indices.push_back(i);
        }
    }
    return indices;
}

// The last variant is the scalar reference.
const auto kSimdVariants = testing::Range(std::size_t{0}, std::size(kLoopVariants) - 1);

INSTANTIATE_TEST_SUITE_P(All, StreamedConversion,
                         testing::Combine(kSimdVariants, testing::Range(std::size_t{0}, std::size(kConversions))),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(All, StreamedConversionOfOneSize,
                         testing::Combine(kSimdVariants, testing::ValuesIn(ConversionsOfOneSize())), NameOf);

} // namespace
