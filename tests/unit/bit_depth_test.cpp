#include "kernels/bit_depth.h"
#include "testing/fake_audio_samples.h"
#include "testing/models/conversion_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kFormatNotSupported = static_cast<int>(0x8999803A);
constexpr int kProcessingFormatNotSupported = static_cast<int>(0x8999803D);
constexpr int kDestinationTooSmall = static_cast<int>(0x8999803E);
constexpr int kSizeMismatch = static_cast<int>(0x8999803F);

/// Lets a test see the rows that searches go through.
struct OpenConvertBitDepth : CZtaConvertBitDepth {
    using CZtaAudioProcessingUtil::m_psProcessingFormats;
};

using Kernel = int (CZtaConvertBitDepth::*)(unsigned long, void*, void*);
using Model = void (*)(const std::uint8_t*, std::uint8_t*);

struct Row {
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
const Row kRows[] = {
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

SZtaWaveFormatInfo FormatOf(int property)
{
    constexpr std::uint32_t kMux[] = {1, 2, 4, 8, 16, 32, 64};
    if (property >= 20) {
        return WaveFormat(1, 24, 24, 48000, kMux[property - 20]);
    }
    if (property >= 16) {
        return WaveFormat(2, 32, 32, 48000, kMux[property - 16]);
    }
    if (property >= 8) {
        return WaveFormat(1, 32, 24, 48000, kMux[property - 8]);
    }
    return WaveFormat(1, 16, 16, 48000, kMux[property - 1]);
}

Bytes RandomBytes(std::size_t count)
{
    static std::mt19937 random(20);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

Bytes Expected(const Row& row, const Bytes& input, unsigned long frames)
{
    Bytes output(frames * row.samplesPerFrame * row.outputBytes);
    for (unsigned long i = 0; i < frames * row.samplesPerFrame; ++i) {
        row.model(&input[i * row.inputBytes], &output[i * row.outputBytes]);
    }
    return output;
}

std::uint32_t OneWord(Kernel kernel, std::uint32_t input)
{
    CZtaConvertBitDepth converter;
    std::uint32_t output = 0;
    EXPECT_EQ((converter.*kernel)(1, &input, &output), 0);
    return output;
}

TEST(ConvertBitDepth, HasItsTableEntriesInOrder)
{
    OpenConvertBitDepth converter;
    ASSERT_EQ(converter.m_psProcessingFormats->iFormatCount, 36);
    ASSERT_EQ(std::size(kRows), 36u);
    for (int i = 0; i < 36; ++i) {
        const SZtAProcessingFormatAndFunctionIndex& row = converter.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(row.eInputFormat), kRows[i].input) << i;
        EXPECT_EQ(static_cast<int>(row.eOutputFormat), kRows[i].output) << i;
        EXPECT_EQ(row.iFunctionIndex, i);
    }
}

TEST(ConvertBitDepth, RunsEachKernelOverItsSamplesAndNoMore)
{
    CZtaConvertBitDepth converter;
    for (const Row& row : kRows) {
        for (unsigned long frames : {0ul, 1ul, 3ul, 37ul}) {
            const std::size_t index = static_cast<std::size_t>(&row - kRows);
            Bytes input = RandomBytes((frames + 1) * row.samplesPerFrame * row.inputBytes);
            Bytes output((frames + 1) * row.samplesPerFrame * row.outputBytes, 0xA5);
            Bytes expected = Expected(row, input, frames);
            expected.resize(output.size(), 0xA5);
            EXPECT_EQ((converter.*row.kernel)(frames, input.data(), output.data()), 0);
            EXPECT_EQ(output, expected) << "row " << index << ", " << frames << " frames";
        }
    }
}

TEST(ConvertBitDepth, ConvertsEachPairOfItsTableAndSetsTheOutputsLength)
{
    CZtaConvertBitDepth converter;
    for (const Row& row : kRows) {
        FakeAudioSamples input(FormatOf(row.input), 11, 12);
        FakeAudioSamples output(FormatOf(row.output), 2, 11);
        input.data = RandomBytes(input.data.size());
        EXPECT_EQ(converter.ConvertBitDepth(&input, &output), 0);
        EXPECT_EQ(output.data, Expected(row, input.data, 11)) << &row - kRows;
        EXPECT_EQ(output.lengthsSet, std::vector<unsigned long>{11 * row.samplesPerFrame * row.outputBytes});
        EXPECT_TRUE(input.lengthsSet.empty());
    }
}

TEST(ConvertBitDepth, AsksInputThenOutputWithTheRecordSizeSet)
{
    CZtaConvertBitDepth converter;
    FakeAudioSamples input(FormatOf(1), 4, 4);
    FakeAudioSamples output(FormatOf(8), 0, 4);
    EXPECT_EQ(converter.ConvertBitDepth(&input, &output), 0);
    const std::vector<std::string> digest = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"};
    EXPECT_EQ(input.calls, digest);
    std::vector<std::string> outputCalls = digest;
    outputCalls.emplace_back("SetLength");
    EXPECT_EQ(output.calls, outputCalls);
    EXPECT_EQ(input.descriptionSizes, std::vector<std::uint32_t>{40});
    EXPECT_EQ(output.descriptionSizes, std::vector<std::uint32_t>{40});
}

TEST(ConvertBitDepth, PassesOnWhatTheBuffersReport)
{
    using Status = int FakeAudioSamples::*;
    for (Status call :
         {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus, &FakeAudioSamples::capacityStatus}) {
        for (bool ofInput : {true, false}) {
            CZtaConvertBitDepth converter;
            FakeAudioSamples input(FormatOf(1), 4, 4);
            FakeAudioSamples output(FormatOf(8), 0, 4);
            input.data = RandomBytes(input.data.size());
            (ofInput ? input : output).*call = -77;
            EXPECT_EQ(converter.ConvertBitDepth(&input, &output), -77);
            EXPECT_EQ(output.calls.empty(), ofInput);
            EXPECT_EQ(output.data, Bytes(16));
            EXPECT_TRUE(output.lengthsSet.empty());

            (ofInput ? input : output).*call = 5; // any status from 0 up is success
            EXPECT_EQ(converter.ConvertBitDepth(&input, &output), 0);
            EXPECT_EQ(output.length, 16u);
        }
    }
}

TEST(ConvertBitDepth, EndsWithTheStatusOfSettingTheLength)
{
    CZtaConvertBitDepth converter;
    for (int status : {-5, 3}) {
        FakeAudioSamples input(FormatOf(1), 4, 4);
        FakeAudioSamples output(FormatOf(8), 0, 4);
        input.data = RandomBytes(input.data.size());
        output.setLengthStatus = status;
        EXPECT_EQ(converter.ConvertBitDepth(&input, &output), status);
        EXPECT_EQ(output.data, Expected(kRows[0], input.data, 4));
    }
}

TEST(ConvertBitDepth, RejectsFormatsThatCannotBeClassified)
{
    CZtaConvertBitDepth converter;
    for (bool badInput : {true, false}) {
        FakeAudioSamples input(FormatOf(1), 4, 4);
        FakeAudioSamples output(FormatOf(8), 0, 4);
        (badInput ? input : output).format.ulSamplesPerSec = 96000;
        (badInput ? input : output).format.ulValidBitsPerSample = 16;
        EXPECT_EQ(converter.ConvertBitDepth(&input, &output), kFormatNotSupported);
        EXPECT_EQ(output.calls.empty(), badInput);
        EXPECT_TRUE(output.lengthsSet.empty());
    }
}

TEST(ConvertBitDepth, RejectsAnOutputOneFrameTooSmallThoughItHasMoreBytes)
{
    CZtaConvertBitDepth converter;
    FakeAudioSamples input(FormatOf(2), 8, 8);
    FakeAudioSamples output(FormatOf(9), 3, 7);
    input.data = RandomBytes(input.data.size());
    ASSERT_GT(output.capacity, input.length);
    EXPECT_EQ(converter.ConvertBitDepth(&input, &output), kDestinationTooSmall);
    EXPECT_EQ(output.data, Bytes(output.data.size()));
    EXPECT_TRUE(output.lengthsSet.empty());
}

TEST(ConvertBitDepth, ChecksTheCapacityBeforeThePair)
{
    CZtaConvertBitDepth converter;
    FakeAudioSamples input(FormatOf(11), 2, 2);
    FakeAudioSamples output(FormatOf(16), 0, 1);
    EXPECT_EQ(converter.ConvertBitDepth(&input, &output), kDestinationTooSmall);
}

TEST(ConvertBitDepth, HasNoTableEntryForOtherPairs)
{
    CZtaConvertBitDepth converter;
    SZtaWaveFormatInfo formats[26];
    for (int property : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 17, 20, 21, 22, 23, 24, 25, 26}) {
        formats[property - 1] = FormatOf(property);
    }
    formats[14] = WaveFormat(1, 32, 24, 96000, 2);
    formats[17] = WaveFormat(1, 16, 16, 44100, 1);
    formats[18] = WaveFormat(1, 16, 16, 44100, 2);
    int converted = 0;
    for (int in = 1; in <= 26; ++in) {
        for (int out = 1; out <= 26; ++out) {
            FakeAudioSamples input(formats[in - 1], 1, 1);
            FakeAudioSamples output(formats[out - 1], 0, 1);
            const bool hasRow = std::any_of(std::begin(kRows), std::end(kRows),
                                            [=](const Row& row) { return row.input == in && row.output == out; });
            converted += hasRow;
            EXPECT_EQ(converter.ConvertBitDepth(&input, &output), hasRow ? 0 : kProcessingFormatNotSupported)
                << in << " to " << out;
            EXPECT_EQ(output.lengthsSet.empty(), !hasRow);
        }
    }
    EXPECT_EQ(converted, 36);
}

TEST(ConvertBitDepth, RejectsMux8ToFloat)
{
    CZtaConvertBitDepth converter;
    FakeAudioSamples input(FormatOf(11), 0, 2);
    FakeAudioSamples output(FormatOf(17), 0, 20);
    EXPECT_EQ(converter.ConvertBitDepth(&input, &output), kProcessingFormatNotSupported);
}

TEST(ConvertBitDepth, LeavesTheOutputOfAnEmptyInputEmpty)
{
    CZtaConvertBitDepth converter;
    FakeAudioSamples input(FormatOf(1), 0, 4);
    FakeAudioSamples output(FormatOf(8), 4, 4);
    output.data = RandomBytes(16);
    const Bytes before = output.data;
    EXPECT_EQ(converter.ConvertBitDepth(&input, &output), 0);
    EXPECT_EQ(output.lengthsSet, std::vector<unsigned long>{0});
    EXPECT_EQ(output.data, before);
}

TEST(ConvertBitDepth, CountsWholeFramesOfTheInput)
{
    CZtaConvertBitDepth converter;
    FakeAudioSamples input(FormatOf(2), 2, 4);
    FakeAudioSamples output(FormatOf(9), 0, 2);
    input.data = RandomBytes(input.data.size());
    input.length = 11; // two frames and three bytes
    output.capacity = 23;
    EXPECT_EQ(converter.ConvertBitDepth(&input, &output), 0);
    EXPECT_EQ(output.data, Expected(kRows[1], input.data, 2));
    EXPECT_EQ(output.lengthsSet, std::vector<unsigned long>{16});
}

TEST(ConvertBitDepth, ReportsWhichPairsItSupports)
{
    CZtaConvertBitDepth converter;
    SZtaWaveFormatInfo mono16 = FormatOf(1);
    SZtaWaveFormatInfo mono24 = FormatOf(8);
    SZtaWaveFormatInfo stereo24 = FormatOf(9);
    SZtaWaveFormatInfo unknown = WaveFormat(1, 8, 8, 48000, 1);
    bool supported = false;
    EXPECT_EQ(converter.QueryFormatSupported(&mono16, &mono24, &supported), 0);
    EXPECT_TRUE(supported);
    EXPECT_EQ(converter.QueryFormatSupported(&mono16, &stereo24, &supported), 0);
    EXPECT_FALSE(supported);
    supported = true;
    EXPECT_EQ(converter.QueryFormatSupported(&mono16, &mono16, &supported), 0);
    EXPECT_FALSE(supported);
    supported = true;
    EXPECT_EQ(converter.QueryFormatSupported(&unknown, &mono24, &supported), kFormatNotSupported);
    EXPECT_FALSE(supported);
}

TEST(ConvertBitDepth, WidensAndNarrowsWithoutRounding)
{
    EXPECT_EQ(OneWord(&K::ConvertBitDepthMono16To24, 0xFFFF), 0xFFFF0000);
    EXPECT_EQ(OneWord(&K::ConvertBitDepthMono24To16, 0xFFFF0000), 0xFFFFu);
    EXPECT_EQ(OneWord(&K::ConvertBitDepthMono24To16, 0x00FFFF00), 0x00FFu);
    EXPECT_EQ(OneWord(&K::ConvertBitDepthMono24To32, 0xEE332211), 0x33221100u);
    EXPECT_EQ(OneWord(&K::ConvertBitDepthMono32To24, 0x33221100), 0x00332211u);
}

float FloatOf(Kernel kernel, std::uint32_t word)
{
    const std::uint32_t bits = OneWord(kernel, word);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(ConvertBitDepth, ScalesIntegersByTheirLargestValue)
{
    EXPECT_EQ(FloatOf(&K::ConvertBitDepthMono16To32f, 32767), 1.0f);
    EXPECT_EQ(FloatOf(&K::ConvertBitDepthMono16To32f, 0x8000), -32768.0f / 32767.0f);
    EXPECT_LT(FloatOf(&K::ConvertBitDepthMono16To32f, 0x8000), -1.0f);
    EXPECT_EQ(FloatOf(&K::ConvertBitDepthMono24To32f, 0x7FFFFF00), 1.0f);
    EXPECT_EQ(FloatOf(&K::ConvertBitDepthMono24To32f, 0x80000000), std::nextafter(-1.0f, -2.0f));
    EXPECT_EQ(OneWord(&K::ConvertBitDepthMono24To32f, 0), 0u);
}

std::uint32_t WordOf(Kernel kernel, float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return OneWord(kernel, bits);
}

TEST(ConvertBitDepth, WrapsFloatsBeyond16Bits)
{
    constexpr Kernel kernel = &K::ConvertBitDepthMono32fTo16;
    EXPECT_EQ(WordOf(kernel, 1.0f), 32767u);
    EXPECT_EQ(WordOf(kernel, -1.0f), 0x8001u);
    EXPECT_EQ(WordOf(kernel, 1.5f), 49150u);
    EXPECT_EQ(WordOf(kernel, 2.0f), 65534u);
    EXPECT_EQ(WordOf(kernel, std::nextafter(65538.0f, 0.0f)), 0xFF00u); // 0x7FFFFF00 fits into 32 bits
    EXPECT_EQ(WordOf(kernel, 65538.0f), 0u);                            // the product rounds up to 2 to the 31
    EXPECT_EQ(WordOf(kernel, -1e30f), 0u);
    EXPECT_EQ(WordOf(kernel, std::nanf("")), 0u);
    EXPECT_EQ(WordOf(kernel, 1.9f / 32767.0f), 1u);
    EXPECT_EQ(WordOf(kernel, -1.9f / 32767.0f), 0xFFFFu);
}

TEST(ConvertBitDepth, MakesTheMostNegativeWordOfFloatsOutOfRange)
{
    constexpr Kernel kernel = &K::ConvertBitDepthMono32fTo24;
    EXPECT_EQ(WordOf(kernel, 0.5f), 0x40000000u);
    EXPECT_EQ(WordOf(kernel, 1.0f), 0x80000000u);
    EXPECT_EQ(WordOf(kernel, -1.0f), 0x80000000u);
    EXPECT_EQ(WordOf(kernel, -2.0f), 0x80000000u);
    EXPECT_EQ(WordOf(kernel, std::nanf("")), 0x80000000u);
    EXPECT_EQ(WordOf(kernel, INFINITY), 0x80000000u);
    EXPECT_EQ(WordOf(kernel, std::nextafter(1.0f, 0.0f)), 0x7FFFFF80u); // the low byte keeps what the product has
}

// The three conversions by bytes.

using ByteWise = int (CZtaConvertBitDepth::*)(unsigned long, unsigned long, void*, unsigned long, void*, bool);

struct ByteWiseRow {
    ByteWise operation;
    unsigned long in;
    unsigned long out;
    Model high;
    Model low;
};

const ByteWiseRow kByteWise[] = {
    {&K::ConvertBitDepth16To32, 2, 4, models::Convert16To32, models::Convert16To32LsbAligned},
    {&K::ConvertBitDepth24To32, 3, 4, models::Convert24To32, models::Convert24To32LsbAligned},
    {&K::ConvertBitDepth32To24, 4, 3, models::Convert32To24, models::Convert32To24LsbAligned},
};

TEST(ConvertBitDepthByBytes, PlacesTheBytesOfOneSample)
{
    CZtaConvertBitDepth converter;
    Bytes input = {0x11, 0x22, 0x33, 0x44};
    const auto Convert = [&](ByteWise operation, unsigned long in, unsigned long out, bool low) {
        Bytes output(out);
        EXPECT_EQ((converter.*operation)(1, in, input.data(), out, output.data(), low), 0);
        return output;
    };
    EXPECT_EQ(Convert(&K::ConvertBitDepth16To32, 2, 4, false), (Bytes{0, 0x11, 0x11, 0x22}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth16To32, 2, 4, true), (Bytes{0x11, 0x22, 0, 0}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth24To32, 3, 4, false), (Bytes{0, 0x11, 0x22, 0x33}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth24To32, 3, 4, true), (Bytes{0x11, 0x22, 0x33, 0}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth32To24, 4, 3, false), (Bytes{0x22, 0x33, 0x44}));
    EXPECT_EQ(Convert(&K::ConvertBitDepth32To24, 4, 3, true), (Bytes{0x44, 0x33, 0x22}));
}

/// Converts `inputBytes` of buffers with capacity for ten frames and compares what is written with the model's first
/// `framesDone` frames.
void ExpectByteWise(const ByteWiseRow& row, unsigned long channels, unsigned long inputBytes, unsigned long outputBytes,
                    unsigned long framesDone, int status)
{
    CZtaConvertBitDepth converter;
    for (bool low : {false, true}) {
        Bytes input = RandomBytes(10 * channels * row.in);
        Bytes output(10 * channels * row.out, 0xA5);
        Bytes expected = output;
        for (unsigned long i = 0; i < framesDone * channels; ++i) {
            (low ? row.low : row.high)(&input[i * row.in], &expected[i * row.out]);
        }
        EXPECT_EQ((converter.*row.operation)(channels, inputBytes, input.data(), outputBytes, output.data(), low),
                  status);
        EXPECT_EQ(output, expected) << row.in << " to " << row.out << ", " << channels << " channels, " << inputBytes;
    }
}

TEST(ConvertBitDepthByBytes, ConvertsWholeFrames)
{
    for (const ByteWiseRow& row : kByteWise) {
        for (unsigned long channels : {1ul, 2ul, 5ul, 64ul}) {
            ExpectByteWise(row, channels, 0, 0, 0, 0);
            ExpectByteWise(row, channels, 7 * channels * row.in, 7 * channels * row.out, 7, 0);
        }
    }
}

TEST(ConvertBitDepthByBytes, RunsToTheEndOfABrokenFrameAndThenFails)
{
    for (const ByteWiseRow& row : kByteWise) {
        for (unsigned long over : {1ul, 3 * row.in - 1}) {
            ExpectByteWise(row, 3, 2 * 3 * row.in + over, 3 * 3 * row.out, 3, kSizeMismatch);
        }
        // A broken frame fails also where the samples come out whole.
        ExpectByteWise(row, 3, 2 * 3 * row.in + row.in, (2 * 3 + 1) * row.out, 3, kSizeMismatch);
    }
}

TEST(ConvertBitDepthByBytes, FailsAfterItsWorkWhenTheOutputsBytesDiffer)
{
    for (const ByteWiseRow& row : kByteWise) {
        const unsigned long right = 4 * 2 * row.out;
        for (unsigned long wrong : {0ul, right - 1, right + 1, right + 2 * row.out}) {
            ExpectByteWise(row, 2, 4 * 2 * row.in, wrong, 4, kSizeMismatch);
        }
        ExpectByteWise(row, 2, 0, 1, 0, kSizeMismatch);
    }
}

TEST(ConvertBitDepthByBytes, ConsumesNothingWithoutChannels)
{
    CZtaConvertBitDepth converter;
    for (const ByteWiseRow& row : kByteWise) {
        Bytes input(24);
        Bytes output(24, 0xA5);
        EXPECT_EQ((converter.*row.operation)(0, 12, input.data(), 12, output.data(), false), kSizeMismatch);
        EXPECT_EQ((converter.*row.operation)(0, 12, input.data(), 0, output.data(), true), kSizeMismatch);
        EXPECT_EQ((converter.*row.operation)(0, 0, input.data(), 0, output.data(), false), 0);
        EXPECT_EQ(output, Bytes(24, 0xA5));
    }
}

} // namespace
