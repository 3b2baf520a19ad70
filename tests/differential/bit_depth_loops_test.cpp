// The conversion loops of every variant that this CPU supports, compared with the reference models. Each is tested
// twice: with the size from which it uses streaming stores on this CPU, and with a size of 1.

#include "testing/guarded_buffer.h"
#include "testing/models/conversion_models.h"
#include "testing/random_seed.h"
#include "tests/differential/loop_test.h"

#include <limits>
#include <numeric>

namespace zta::test {
namespace {

struct Conversion {
    const char* name;
    std::size_t in;
    std::size_t out;
    ZtaConversion SZtaSampleLoops::*loop;
    void (*model)(const std::uint8_t* in, std::uint8_t* out);
};

constexpr Conversion kConversions[] = {
#define ZTA_TEST_ENTRY(name, in, out, op) {#name, in, out, &SZtaSampleLoops::pfn##name, &models::Convert##name},
    ZTA_CONVERSION_LIST(ZTA_TEST_ENTRY)
#undef ZTA_TEST_ENTRY
};

constexpr std::size_t kMaxSamples = 300;
/// More samples than a loop needs to use a streaming store, and every remainder.
constexpr std::size_t kMaxStreamedSamples = 1028;

/// Edge cases of conversions that read four bytes.
Bytes EdgeCases()
{
    std::vector<std::uint32_t> words;
    for (int bit = 0; bit < 32; ++bit) {
        for (std::uint32_t near : {0xFFFFFFFFu, 0u, 1u}) {
            words.push_back((1u << bit) + near);
            words.push_back(~((1u << bit) + near));
        }
    }
    using Limits = std::numeric_limits<float>;
    for (float value : {0.0f, 0.5f, 1.0f, 1.5f, 2.0f, 65536.0f, 65538.0f, 1e9f, 2147483520.0f, 2147483648.0f,
                        1.0f / 32767.0f, 32768.0f / 32767.0f, Limits::max(), Limits::min(), Limits::denorm_min(),
                        Limits::infinity(), Limits::quiet_NaN(), Limits::signaling_NaN()}) {
        std::uint8_t bytes[4];
        models::SetFloat(bytes, value);
        const std::uint32_t word = models::Word(bytes);
        for (std::uint32_t near : {0xFFFFFFFFu, 0u, 1u}) {
            words.push_back(word + near);
            words.push_back((word + near) ^ 0x80000000u);
        }
    }
    Bytes bytes(words.size() * 4);
    for (std::size_t i = 0; i < words.size(); ++i) {
        models::SetWord(&bytes[i * 4], words[i]);
    }
    return bytes;
}

/// Outputs of this size and more can use streaming stores.
constexpr std::size_t kVeryLargeBytes = std::size_t{32} << 20;
/// Very large buffers repeat this number of samples, which is not a multiple of a cache line.
constexpr std::size_t kPeriod = 4801;

void Repeat(const Bytes& period, std::size_t bytes, std::uint8_t* to)
{
    for (std::size_t i = 0; i < bytes; i += period.size()) {
        std::copy_n(period.begin(), std::min(period.size(), bytes - i), to + i);
    }
}

bool Repeats(const Bytes& period, std::size_t bytes, const std::uint8_t* from)
{
    for (std::size_t i = 0; i < bytes; i += period.size()) {
        if (!std::equal(from + i, from + std::min(i + period.size(), bytes), period.begin())) {
            return false;
        }
    }
    return true;
}

class ConversionLoop : public LoopTest {
protected:
    void SetUp() override
    {
        random_.seed(RandomSeed());
        LoopTest::SetUp();
        if (streams_) {
            SetMinStreamedBytes(1);
            EXPECT_EQ(ZtaMinStreamedBytes(), 1U);
        }
    }

    void TearDown() override { SetMinStreamedBytes(detected_); }

    static void SetMinStreamedBytes(unsigned long bytes)
    {
        __atomic_store_n(&g_ulMinStreamedBytes, bytes, __ATOMIC_RELAXED);
    }

    Bytes RandomSamples(std::size_t count)
    {
        Bytes bytes = RandomBytes(count * conversion_.in);
        if (conversion_.in == 4) { // every other sample is a float close to the limits of the range
            for (std::size_t i = 0; i < count; i += 2) {
                const auto exponent = static_cast<std::uint32_t>(100 + random_() % 60);
                const std::uint32_t word = models::Word(&bytes[i * 4]);
                models::SetWord(&bytes[i * 4], (word & 0x807FFFFFu) | exponent << 23);
            }
        }
        return bytes;
    }

    Bytes Expected(const Bytes& input) const
    {
        const std::size_t count = input.size() / conversion_.in;
        Bytes output(count * conversion_.out);
        for (std::size_t i = 0; i < count; ++i) {
            conversion_.model(&input[i * conversion_.in], &output[i * conversion_.out]);
        }
        return output;
    }

    /// The loop's result for all of the input. The addresses are odd, so no vector is aligned.
    Bytes Result(const Bytes& input) const
    {
        const std::size_t count = input.size() / conversion_.in;
        Bytes unaligned(input.size() + 1);
        std::copy(input.begin(), input.end(), unaligned.begin() + 1);
        Bytes output(count * conversion_.out + 1);
        loop_(unaligned.data() + 1, output.data() + 1, count);
        output.erase(output.begin());
        return output;
    }

    void ExpectSame(const Bytes& input) const
    {
        const Bytes expected = Expected(input);
        const Bytes result = Result(input);
        if (expected == result) {
            return;
        }
        const auto at = static_cast<std::size_t>(std::mismatch(expected.begin(), expected.end(), result.begin()).first -
                                                 expected.begin());
        ADD_FAILURE() << "sample " << at / conversion_.out << " of " << input.size() / conversion_.in << ", byte "
                      << at % conversion_.out << ": expected " << int{expected[at]} << ", got " << int{result[at]};
    }

    const Conversion& conversion_ = kConversions[CaseIndex() % std::size(kConversions)];
    const bool streams_ = CaseIndex() >= std::size(kConversions);
    const std::size_t maxSamples_ = streams_ ? kMaxStreamedSamples : kMaxSamples;
    const ZtaConversion loop_ = loops_.*conversion_.loop;
    const unsigned long detected_ = ZtaMinStreamedBytes();
};

class ConversionLoopOfOneSize : public ConversionLoop {};

/// The tests with the size from which the loops stream on this CPU.
class VeryLargeConversion : public ConversionLoop {};
class VeryLargeConversionOfOneSize : public ConversionLoop {};

TEST_P(ConversionLoop, EqualsTheModelAtEveryLengthAndAlignmentAndWritesNothingElse)
{
    const Bytes samples = RandomSamples(maxSamples_);
    const Bytes expected = Expected(samples);
    Bytes input(samples.size() + 64);
    const auto Check = [&](std::size_t count, std::size_t inputOffset, std::size_t outputOffset) {
        std::copy_n(samples.begin(), count * conversion_.in, input.begin() + static_cast<std::ptrdiff_t>(inputOffset));
        PoisonedBuffer output(count * conversion_.out, outputOffset);
        loop_(input.data() + inputOffset, output.Data(), count);
        const auto end = expected.begin() + static_cast<std::ptrdiff_t>(count * conversion_.out);
        ASSERT_TRUE(output.Holds({expected.begin(), end})) << count << " " << inputOffset << " " << outputOffset;
    };
    for (std::size_t count = 0; count <= maxSamples_; ++count) {
        for (std::size_t k = 0; k < 4; ++k) {
            ASSERT_NO_FATAL_FAILURE(Check(count, random_() % 64, random_() % 64));
        }
    }
    for (std::size_t count : {std::size_t{1}, std::size_t{9}, std::size_t{75}, maxSamples_}) {
        for (std::size_t offset = 0; offset < 64; ++offset) {
            ASSERT_NO_FATAL_FAILURE(Check(count, offset, random_() % 64));
            ASSERT_NO_FATAL_FAILURE(Check(count, random_() % 64, offset));
            ASSERT_NO_FATAL_FAILURE(Check(count, offset, offset));
        }
    }
}

TEST_P(VeryLargeConversion, EqualsTheModelAndWritesNothingElse)
{
    const Bytes samples = RandomSamples(kPeriod);
    const Bytes expected = Expected(samples);
    const std::size_t minCount = (kVeryLargeBytes + conversion_.out - 1) / conversion_.out;
    const std::size_t maxCount = minCount + 131;
    const GuardedBuffer input(maxCount * conversion_.in);
    const GuardedBuffer output(maxCount * conversion_.out + 1);
    const auto Check = [&](std::size_t count, std::size_t bytesToTheEnd) {
        std::uint8_t* in = input.End() - count * conversion_.in;
        std::uint8_t* out = output.End() - bytesToTheEnd - count * conversion_.out;
        Repeat(samples, count * conversion_.in, in);
        std::fill(output.Begin(), output.End(), kPoison);
        loop_(in, out, count);
        ASSERT_TRUE(Repeats(expected, count * conversion_.out, out)) << count << " " << bytesToTheEnd;
        ASSERT_TRUE(std::all_of(output.Begin(), out, IsPoison)) << count << " " << bytesToTheEnd;
        ASSERT_TRUE(std::all_of(output.End() - bytesToTheEnd, output.End(), IsPoison)) << count << " " << bytesToTheEnd;
    };
    ASSERT_NO_FATAL_FAILURE(Check(minCount - 1, 0));
    ASSERT_NO_FATAL_FAILURE(Check(minCount, 0));
    ASSERT_NO_FATAL_FAILURE(Check(minCount + 8, 1)); // no sample begins at a cache line
    ASSERT_NO_FATAL_FAILURE(Check(maxCount, 0));
}

TEST_P(ConversionLoop, ReadsAndWritesNothingOutsideItsSamples)
{
    const Bytes samples = RandomSamples(maxSamples_);
    const Bytes expected = Expected(samples);
    const GuardedBuffer input(samples.size());
    const GuardedBuffer output(expected.size());
    for (std::size_t count = 0; count <= maxSamples_; ++count) {
        const std::size_t inputBytes = count * conversion_.in;
        const std::size_t outputBytes = count * conversion_.out;
        for (bool inputAtEnd : {false, true}) {
            for (bool outputAtEnd : {false, true}) {
                std::uint8_t* in = inputAtEnd ? input.End() - inputBytes : input.Begin();
                std::uint8_t* out = outputAtEnd ? output.End() - outputBytes : output.Begin();
                std::copy_n(samples.begin(), inputBytes, in);
                loop_(in, out, count);
                ASSERT_TRUE(std::equal(out, out + outputBytes, expected.begin())) << count;
            }
        }
    }
}

TEST_P(ConversionLoop, ConvertsASampleAloneAsAtEveryIndexOfABuffer)
{
    const Bytes samples = RandomSamples(3 * maxSamples_);
    const Bytes all = Result(samples);
    for (std::size_t first = 0; first < 2 * kMaxSamples; ++first) {
        const auto at = samples.begin() + static_cast<std::ptrdiff_t>(first * conversion_.in);
        for (const std::size_t count : {std::size_t{1}, 5 + first % 90}) {
            const Bytes part = Result(Bytes(at, at + static_cast<std::ptrdiff_t>(count * conversion_.in)));
            const auto expected = all.begin() + static_cast<std::ptrdiff_t>(first * conversion_.out);
            ASSERT_TRUE(std::equal(part.begin(), part.end(), expected)) << count << " samples from index " << first;
        }
    }
}

TEST_P(ConversionLoop, DoesNotChangeItsInput)
{
    const Bytes samples = RandomSamples(maxSamples_);
    Bytes input = samples;
    Bytes output(maxSamples_ * conversion_.out);
    loop_(input.data(), output.data(), maxSamples_);
    EXPECT_EQ(input, samples);
}

TEST_P(ConversionLoop, EqualsTheModelForEdgeCasesAndManyRandomSamples)
{
    if (conversion_.in == 2) { // all samples
        Bytes all(65536 * 2);
        for (std::size_t i = 0; i < 65536; ++i) {
            all[i * 2] = static_cast<std::uint8_t>(i % 256);
            all[i * 2 + 1] = static_cast<std::uint8_t>(i / 256);
        }
        ExpectSame(all);
        return;
    }
    if (conversion_.in == 4) {
        const Bytes words = EdgeCases();
        ExpectSame(words);
        for (std::size_t i = 0; i < words.size(); i += 4) { // alone, so that they are also in the remainder
            ExpectSame(Bytes(words.begin() + static_cast<std::ptrdiff_t>(i),
                             words.begin() + static_cast<std::ptrdiff_t>(i + 4)));
        }
    }
    ExpectSame(RandomSamples(200'000));
}

TEST_P(ConversionLoopOfOneSize, WorksInPlaceAndWhereBuffersOverlap)
{
    constexpr std::ptrdiff_t kMaxShift = 150;
    for (std::ptrdiff_t shift = -kMaxShift; shift <= kMaxShift; ++shift) {
        const std::size_t count = shift == 0 ? 257 : random_() % 100;
        Bytes memory = RandomBytes(2 * kMaxShift + 257 * 4);
        Bytes expected = memory;
        for (std::size_t i = 0; i < count; ++i) {
            std::uint8_t* in = expected.data() + kMaxShift + i * 4;
            std::uint8_t converted[4];
            conversion_.model(in, converted);
            std::copy_n(converted, 4, in + shift);
        }
        loop_(memory.data() + kMaxShift, memory.data() + kMaxShift + shift, count);
        ASSERT_EQ(memory, expected) << "output " << shift << " bytes behind the input, " << count << " samples";
    }
    for (std::size_t count = 0; count <= maxSamples_; ++count) {
        Bytes memory = RandomSamples(count);
        const Bytes expected = Expected(memory);
        loop_(memory.data(), memory.data(), count);
        ASSERT_EQ(memory, expected) << count << " samples in place";
    }
    const Bytes samples = RandomSamples(maxSamples_);
    const Bytes expected = Expected(samples);
    for (const std::size_t before : {4U, 32U, 64U, 1000U, 1024U, 4000U}) {
        Bytes memory(before + samples.size());
        std::copy(samples.begin(), samples.end(), memory.begin() + static_cast<std::ptrdiff_t>(before));
        loop_(&memory[before], memory.data(), maxSamples_);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), memory.begin())) << before << " bytes before";
    }
}

TEST_P(VeryLargeConversionOfOneSize, WorksInPlaceAndWhereBuffersOverlap)
{
    constexpr std::size_t kCount = kVeryLargeBytes / 4 + 77;
    const Bytes samples = RandomSamples(kPeriod);
    const Bytes expected = Expected(samples);
    for (const std::size_t before : {std::size_t{0}, std::size_t{4}, std::size_t{4096}, kVeryLargeBytes}) {
        const GuardedBuffer memory(before + kCount * 4);
        std::uint8_t* in = memory.End() - kCount * 4;
        Repeat(samples, kCount * 4, in);
        loop_(in, in - before, kCount);
        ASSERT_TRUE(Repeats(expected, kCount * 4, in - before)) << "output " << before << " bytes before the input";
    }
}

/// The indexes of the conversions between samples of one size, then those of their streamed cases.
std::vector<std::size_t> CasesOfOneSize(std::size_t end)
{
    std::vector<std::size_t> indexes(end);
    std::iota(indexes.begin(), indexes.end(), std::size_t{0});
    std::erase_if(indexes, [](std::size_t i) {
        const Conversion& conversion = kConversions[i % std::size(kConversions)];
        return conversion.in != conversion.out;
    });
    return indexes;
}

constexpr std::size_t kCount = std::size(kConversions);
const auto kVariants = testing::Range(std::size_t{0}, std::size(kLoopVariants));
const auto kName = VariantAnd(
    [](std::size_t i) { return std::string(kConversions[i % kCount].name) + (i < kCount ? "" : "_Streamed"); });

INSTANTIATE_TEST_SUITE_P(All, ConversionLoop, AllVariants(2 * kCount), kName);
INSTANTIATE_TEST_SUITE_P(All, ConversionLoopOfOneSize,
                         testing::Combine(kVariants, testing::ValuesIn(CasesOfOneSize(2 * kCount))), kName);
INSTANTIATE_TEST_SUITE_P(All, VeryLargeConversion, AllVariants(kCount), kName);
INSTANTIATE_TEST_SUITE_P(All, VeryLargeConversionOfOneSize,
                         testing::Combine(kVariants, testing::ValuesIn(CasesOfOneSize(kCount))), kName);

} // namespace
} // namespace zta::test
