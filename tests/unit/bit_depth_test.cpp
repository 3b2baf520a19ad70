#include "kernels/bit_depth.h"
#include "testing/models/conversion_models.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

namespace zta::test {
namespace {

using Kernel = int (CZtaConvertBitDepth::*)(unsigned long, void*, void*);
using Model = void (*)(const std::uint8_t*, std::uint8_t*);

struct Case {
    int input;
    int output;
    Kernel kernel;
    unsigned long samplesPerFrame;
    unsigned long inputBytes;
    unsigned long outputBytes;
    Model model;
};

using K = CZtaConvertBitDepth;
// clang-format off
const Case kCases[] = {
    { 1,  8, &K::ConvertBitDepthMono16To24,     1, 2, 4, models::Convert16To24},
    { 2,  9, &K::ConvertBitDepthStereo16To24,   2, 2, 4, models::Convert16To24},
    { 1, 16, &K::ConvertBitDepthMono16To32f,    1, 2, 4, models::Convert16To32f},
    { 2, 17, &K::ConvertBitDepthStereo16To32f,  2, 2, 4, models::Convert16To32f},
    { 8,  1, &K::ConvertBitDepthMono24To16,     1, 4, 2, models::Convert24To16},
    { 9,  2, &K::ConvertBitDepthStereo24To16,   2, 4, 2, models::Convert24To16},
    { 8, 16, &K::ConvertBitDepthMono24To32f,    1, 4, 4, models::Convert24To32f},
    { 9, 17, &K::ConvertBitDepthStereo24To32f,  2, 4, 4, models::Convert24To32f},
    {16,  1, &K::ConvertBitDepthMono32fTo16,    1, 4, 2, models::Convert32fTo16},
    {17,  2, &K::ConvertBitDepthStereo32fTo16,  2, 4, 2, models::Convert32fTo16},
    {16,  8, &K::ConvertBitDepthMono32fTo24,    1, 4, 4, models::Convert32fTo24},
    {17,  9, &K::ConvertBitDepthStereo32fTo24,  2, 4, 4, models::Convert32fTo24},
    {20,  8, &K::ConvertBitDepthMono24To32,     1, 3, 4, models::Convert24To32},
    {21,  9, &K::ConvertBitDepthStereo24To32,   2, 3, 4, models::Convert24To32},
    {22, 10, &K::ConvertBitDepthMux4_24To32,    4, 3, 4, models::Convert24To32},
    {23, 11, &K::ConvertBitDepthMux8_24To32,    8, 3, 4, models::Convert24To32},
    {24, 12, &K::ConvertBitDepthMux16_24To32,  16, 3, 4, models::Convert24To32},
    {25, 13, &K::ConvertBitDepthMux32_24To32,  32, 3, 4, models::Convert24To32},
    {26, 14, &K::ConvertBitDepthMux64_24To32,  64, 3, 4, models::Convert24To32},
    { 8, 20, &K::ConvertBitDepthMono32To24,     1, 4, 3, models::Convert32To24},
    { 9, 21, &K::ConvertBitDepthStereo32To24,   2, 4, 3, models::Convert32To24},
    {10, 22, &K::ConvertBitDepthMux4_32To24,    4, 4, 3, models::Convert32To24},
    {11, 23, &K::ConvertBitDepthMux8_32To24,    8, 4, 3, models::Convert32To24},
    {12, 24, &K::ConvertBitDepthMux16_32To24,  16, 4, 3, models::Convert32To24},
    {13, 25, &K::ConvertBitDepthMux32_32To24,  32, 4, 3, models::Convert32To24},
    {14, 26, &K::ConvertBitDepthMux64_32To24,  64, 4, 3, models::Convert32To24},
    {10,  3, &K::ConvertBitDepthMux4_24To16,    4, 4, 2, models::Convert24To16},
    {11,  4, &K::ConvertBitDepthMux8_24To16,    8, 4, 2, models::Convert24To16},
    {12,  5, &K::ConvertBitDepthMux16_24To16,  16, 4, 2, models::Convert24To16},
    {13,  6, &K::ConvertBitDepthMux32_24To16,  32, 4, 2, models::Convert24To16},
    {14,  7, &K::ConvertBitDepthMux64_24To16,  64, 4, 2, models::Convert24To16},
    { 3, 10, &K::ConvertBitDepthMux4_16To24,    4, 2, 4, models::Convert16To24},
    { 4, 11, &K::ConvertBitDepthMux8_16To24,    8, 2, 4, models::Convert16To24},
    { 5, 12, &K::ConvertBitDepthMux16_16To24,  16, 2, 4, models::Convert16To24},
    { 6, 13, &K::ConvertBitDepthMux32_16To24,  32, 2, 4, models::Convert16To24},
    { 7, 14, &K::ConvertBitDepthMux64_16To24,  64, 2, 4, models::Convert16To24},
};
// clang-format on

Bytes Expected(const Case& conversion, const Bytes& input, unsigned long frames)
{
    Bytes output(frames * conversion.samplesPerFrame * conversion.outputBytes);
    for (unsigned long i = 0; i < frames * conversion.samplesPerFrame; ++i) {
        conversion.model(&input[i * conversion.inputBytes], &output[i * conversion.outputBytes]);
    }
    return output;
}

class ConvertBitDepth : public testing::Test {
protected:
    CZtaConvertBitDepth converter_;
};

using ConvertBitDepthByBytes = ConvertBitDepth;

TEST_F(ConvertBitDepth, HasItsTableEntriesInOrder)
{
    ASSERT_EQ(std::size(kCases), 36u);
    ExpectTableEntries<CZtaConvertBitDepth>(kCases, &Case::input, &Case::output);
}

TEST_F(ConvertBitDepth, ConvertsEachPairOfItsTableAndSetsTheOutputsLength)
{
    for (const Case& conversion : kCases) {
        for (unsigned long frames : {0ul, 1ul, 3ul, 11ul, 37ul}) {
            SCOPED_TRACE(testing::Message() << "case " << &conversion - kCases << ", " << frames << " frames");
            FakeAudioSamples input = RandomSamples(FormatOfProperty(conversion.input), frames, frames + 1);
            FakeAudioSamples output = RandomSamples(FormatOfProperty(conversion.output), 2, frames + 1);
            std::fill(output.data.begin(), output.data.end(), kPoison);
            Bytes direct = output.data;
            const Bytes expected = PadWithPoison(Expected(conversion, input.data, frames), direct.size());
            EXPECT_EQ(converter_.ConvertBitDepth(&input, &output), 0);
            EXPECT_EQ(output.data, expected);
            EXPECT_EQ(output.lengthsSet, Lengths{frames * conversion.samplesPerFrame * conversion.outputBytes});
            EXPECT_TRUE(input.lengthsSet.empty());

            EXPECT_EQ((converter_.*conversion.kernel)(frames, input.data.data(), direct.data()), 0);
            EXPECT_EQ(direct, expected);
        }
    }
}

TEST_F(ConvertBitDepth, RejectsAnOutputOneFrameTooSmallEvenWithMoreBytes)
{
    for (const int property : {9, 16}) { // the second pair has no table entry
        FakeAudioSamples input = RandomSamples(FormatOfProperty(2), 8, 8);
        FakeAudioSamples output(FormatOfProperty(property), 3, 7);
        ASSERT_TRUE(property != 9 || output.capacity > input.length);
        EXPECT_EQ(converter_.ConvertBitDepth(&input, &output), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(output.data, Bytes(output.data.size()));
        EXPECT_TRUE(output.lengthsSet.empty());
    }
}

TEST_F(ConvertBitDepth, HasNoTableEntryForOtherPairs)
{
    int converted = 0;
    for (int in = 1; in <= 26; ++in) {
        for (int out = 1; out <= 26; ++out) {
            FakeAudioSamples input(FormatOfProperty(in), 1, 1);
            FakeAudioSamples output(FormatOfProperty(out), 0, 1);
            const bool hasEntry = std::any_of(std::begin(kCases), std::end(kCases), [=](const Case& conversion) {
                return conversion.input == in && conversion.output == out;
            });
            converted += hasEntry;
            EXPECT_EQ(converter_.ConvertBitDepth(&input, &output), hasEntry ? 0 : ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED)
                << in << " to " << out;
            EXPECT_EQ(output.lengthsSet.empty(), !hasEntry);
        }
    }
    EXPECT_EQ(converted, 36);
}

TEST_F(ConvertBitDepth, CountsWholeFramesOfTheInput)
{
    FakeAudioSamples input = RandomSamples(FormatOfProperty(2), 2, 4);
    FakeAudioSamples output(FormatOfProperty(9), 0, 2);
    input.length = 11; // two frames and three bytes
    output.capacity = 23;
    EXPECT_EQ(converter_.ConvertBitDepth(&input, &output), 0);
    EXPECT_EQ(output.data, Expected(kCases[1], input.data, 2));
    EXPECT_EQ(output.lengthsSet, Lengths{16});
}

TEST_F(ConvertBitDepth, HasTheKnownResults)
{
    const auto Word = [](float value) { return std::bit_cast<std::uint32_t>(value); };
    const struct {
        Kernel kernel;
        std::uint32_t input;
        std::uint32_t output;
    } cases[] = {
        // Bytes are added and removed without rounding.
        {&K::ConvertBitDepthMono16To24, 0xFFFF, 0xFFFF0000},
        {&K::ConvertBitDepthMono24To16, 0xFFFF0000, 0xFFFF},
        {&K::ConvertBitDepthMono24To16, 0x00FFFF00, 0x00FF},
        {&K::ConvertBitDepthMono24To32, 0xEE332211, 0x33221100},
        {&K::ConvertBitDepthMono32To24, 0x33221100, 0x00332211},
        // Integers are scaled by their largest value, so the smallest one is below -1.
        {&K::ConvertBitDepthMono16To32f, 32767, Word(1.0f)},
        {&K::ConvertBitDepthMono16To32f, 0x8000, Word(-32768.0f / 32767.0f)},
        {&K::ConvertBitDepthMono24To32f, 0x7FFFFF00, Word(1.0f)},
        {&K::ConvertBitDepthMono24To32f, 0x80000000, Word(std::nextafter(-1.0f, -2.0f))},
        {&K::ConvertBitDepthMono24To32f, 0, 0},
        // Floats beyond 16 bits wrap. Up to 0x7FFFFF00, the product fits into 32 bits; 65538 times 32767 is 2^31.
        {&K::ConvertBitDepthMono32fTo16, Word(1.0f), 32767},
        {&K::ConvertBitDepthMono32fTo16, Word(-1.0f), 0x8001},
        {&K::ConvertBitDepthMono32fTo16, Word(1.5f), 49150},
        {&K::ConvertBitDepthMono32fTo16, Word(2.0f), 65534},
        {&K::ConvertBitDepthMono32fTo16, Word(std::nextafter(65538.0f, 0.0f)), 0xFF00},
        {&K::ConvertBitDepthMono32fTo16, Word(65538.0f), 0},
        {&K::ConvertBitDepthMono32fTo16, Word(-1e30f), 0},
        {&K::ConvertBitDepthMono32fTo16, Word(std::nanf("")), 0},
        {&K::ConvertBitDepthMono32fTo16, Word(1.9f / 32767.0f), 1},
        {&K::ConvertBitDepthMono32fTo16, Word(-1.9f / 32767.0f), 0xFFFF},
        // Floats beyond 24 bits become the most negative sample. The low byte is that of the product.
        {&K::ConvertBitDepthMono32fTo24, Word(0.5f), 0x40000000},
        {&K::ConvertBitDepthMono32fTo24, Word(1.0f), 0x80000000},
        {&K::ConvertBitDepthMono32fTo24, Word(-1.0f), 0x80000000},
        {&K::ConvertBitDepthMono32fTo24, Word(-2.0f), 0x80000000},
        {&K::ConvertBitDepthMono32fTo24, Word(std::nanf("")), 0x80000000},
        {&K::ConvertBitDepthMono32fTo24, Word(INFINITY), 0x80000000},
        {&K::ConvertBitDepthMono32fTo24, Word(std::nextafter(1.0f, 0.0f)), 0x7FFFFF80},
    };
    for (const auto& c : cases) {
        std::uint32_t input = c.input;
        std::uint32_t output = 0;
        EXPECT_EQ((converter_.*c.kernel)(1, &input, &output), 0);
        EXPECT_EQ(output, c.output) << &c - cases;
    }
}

// ---- The three conversions by bytes ----

using ByteWise = int (CZtaConvertBitDepth::*)(unsigned long, unsigned long, void*, unsigned long, void*, bool);

struct ByteWiseCase {
    ByteWise operation;
    unsigned long in;
    unsigned long out;
    Model msbAligned;
    Model lsbAligned;
};

const ByteWiseCase kByteWise[] = {
    {&K::ConvertBitDepth16To32, 2, 4, models::Convert16To32, models::Convert16To32LsbAligned},
    {&K::ConvertBitDepth24To32, 3, 4, models::Convert24To32, models::Convert24To32LsbAligned},
    {&K::ConvertBitDepth32To24, 4, 3, models::Convert32To24, models::Convert32To24LsbAligned},
};

TEST_F(ConvertBitDepthByBytes, PlacesTheBytesOfOneSample)
{
    Bytes input = {0x11, 0x22, 0x33, 0x44};
    const auto Convert = [&](ByteWise operation, unsigned long in, unsigned long out, bool lsbAligned) {
        Bytes output(out);
        EXPECT_EQ((converter_.*operation)(1, in, input.data(), out, output.data(), lsbAligned), 0);
        return output;
    };
    EXPECT_EQ(Convert(&K::ConvertBitDepth16To32, 2, 4, false), (Bytes{0, 0x11, 0x11, 0x22}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth16To32, 2, 4, true), (Bytes{0x11, 0x22, 0, 0}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth24To32, 3, 4, false), (Bytes{0, 0x11, 0x22, 0x33}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth24To32, 3, 4, true), (Bytes{0x11, 0x22, 0x33, 0}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth32To24, 4, 3, false), (Bytes{0x22, 0x33, 0x44}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth32To24, 4, 3, true), (Bytes{0x44, 0x33, 0x22}));
}

/// Converts `inputBytes` of buffers with capacity for ten frames. Expects the first `convertedFrames` frames of the
/// model and nothing behind them.
void ExpectByteWise(const ByteWiseCase& conversion, unsigned long channels, unsigned long inputBytes,
                    unsigned long outputBytes, unsigned long convertedFrames, int status)
{
    CZtaConvertBitDepth converter;
    for (bool lsbAligned : {false, true}) {
        Bytes input = RandomBytes(10 * channels * conversion.in + 24);
        Bytes output(10 * channels * conversion.out + 24, kPoison);
        Bytes expected = output;
        for (unsigned long i = 0; i < convertedFrames * channels; ++i) {
            (lsbAligned ? conversion.lsbAligned : conversion.msbAligned)(&input[i * conversion.in],
                                                                         &expected[i * conversion.out]);
        }
        EXPECT_EQ((converter.*conversion.operation)(channels, inputBytes, input.data(), outputBytes, output.data(),
                                                    lsbAligned),
                  status);
        EXPECT_EQ(output, expected) << conversion.in << " to " << conversion.out << ", " << channels << " channels, "
                                    << inputBytes;
    }
}

TEST_F(ConvertBitDepthByBytes, ConvertsToTheEndOfAnIncompleteFrameAndFailsIfTheBytesDoNotMatch)
{
    for (const ByteWiseCase& conversion : kByteWise) {
        const unsigned long in = conversion.in;
        const unsigned long out = conversion.out;
        for (unsigned long channels : {1ul, 2ul, 5ul, 64ul}) {
            ExpectByteWise(conversion, channels, 0, 0, 0, 0);
            ExpectByteWise(conversion, channels, 7 * channels * in, 7 * channels * out, 7, 0);
        }
        // Two frames and a part of the third: first bytes, then a whole sample.
        for (unsigned long over : {1ul, 3 * in - 1}) {
            ExpectByteWise(conversion, 3, 2 * 3 * in + over, 3 * 3 * out, 3, ZT_E_BUFFER_SIZE_MISMATCH);
        }
        ExpectByteWise(conversion, 3, 2 * 3 * in + in, (2 * 3 + 1) * out, 3, ZT_E_BUFFER_SIZE_MISMATCH);
        // Other bytes of the output: the conversion precedes the failure.
        const unsigned long right = 4 * 2 * out;
        for (unsigned long wrong : {0ul, right - 1, right + 1, right + 2 * out}) {
            ExpectByteWise(conversion, 2, 4 * 2 * in, wrong, 4, ZT_E_BUFFER_SIZE_MISMATCH);
        }
        ExpectByteWise(conversion, 2, 0, 1, 0, ZT_E_BUFFER_SIZE_MISMATCH);
        // Without channels, nothing is consumed.
        ExpectByteWise(conversion, 0, 12, 12, 0, ZT_E_BUFFER_SIZE_MISMATCH);
        ExpectByteWise(conversion, 0, 12, 0, 0, ZT_E_BUFFER_SIZE_MISMATCH);
        ExpectByteWise(conversion, 0, 0, 0, 0, 0);
    }
}

} // namespace
} // namespace zta::test
