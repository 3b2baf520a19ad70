#include "kernels/data_type.h"
#include "testing/models/conversion_models.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

namespace zta::test {
namespace {

using Kernel = int (CZtaConvertDataType::*)(unsigned long, void*, void*);
using Model = void (*)(const std::uint8_t*, std::uint8_t*);
using K = CZtaConvertDataType;

struct Case {
    int property;
    Kernel kernel;
    unsigned long samplesPerFrame;
    Model model;
};

// clang-format off
const Case kCases[] = {
    { 1, &K::ConvertDataTypeMMFToPCM16bitMono,       1, models::ConvertMultiFormatTo16},
    { 2, &K::ConvertDataTypeMMFToPCM16bitStereo,     2, models::ConvertMultiFormatTo16},
    { 3, &K::ConvertDataTypeMMFToPCM16bitMux4,       4, models::ConvertMultiFormatTo16},
    { 4, &K::ConvertDataTypeMMFToPCM16bitMux8,       8, models::ConvertMultiFormatTo16},
    { 5, &K::ConvertDataTypeMMFToPCM16bitMux16,     16, models::ConvertMultiFormatTo16},
    { 8, &K::ConvertDataTypeMMFToPCM24In32bitMono,   1, models::ConvertMultiFormatTo24},
    { 9, &K::ConvertDataTypeMMFToPCM24In32bitStereo, 2, models::ConvertMultiFormatTo24},
    {10, &K::ConvertDataTypeMMFToPCM24In32bitMux4,   4, models::ConvertMultiFormatTo24},
    {11, &K::ConvertDataTypeMMFToPCM24In32bitMux8,   8, models::ConvertMultiFormatTo24},
    {12, &K::ConvertDataTypeMMFToPCM24In32bitMux16, 16, models::ConvertMultiFormatTo24},
};
// clang-format on

SZtaWaveFormatInfo MultiFormat(std::uint32_t valid, std::uint32_t channels)
{
    return WaveFormat(3, 32, valid, 48000, channels);
}

SZtaWaveFormatInfo Pcm(std::uint32_t valid, std::uint32_t channels)
{
    return WaveFormat(1, 32, valid, 48000, channels);
}

Bytes Expected(Model model, const Bytes& input, unsigned long samples, unsigned long outputBytes = 4)
{
    Bytes output(samples * outputBytes);
    for (unsigned long i = 0; i < samples; ++i) {
        model(&input[i * 4], &output[i * outputBytes]);
    }
    return output;
}

class ConvertDataType : public testing::Test {
protected:
    CZtaConvertDataType converter_;
};

TEST_F(ConvertDataType, HasItsTableEntriesInOrder)
{
    ASSERT_EQ(std::size(kCases), 10u);
    ExpectTableEntries<CZtaConvertDataType>(kCases, &Case::property, &Case::property);
}

TEST_F(ConvertDataType, ConvertsTheSamplesOfEachKernelAndNoMore)
{
    for (const Case& conversion : kCases) {
        for (unsigned long frames : {0ul, 1ul, 3ul, 37ul}) {
            const std::size_t size = (frames + 1) * conversion.samplesPerFrame * 4;
            Bytes input = RandomBytes(size);
            Bytes output(size, kPoison);
            const Bytes expected = Expected(conversion.model, input, frames * conversion.samplesPerFrame);
            EXPECT_EQ((converter_.*conversion.kernel)(frames, input.data(), output.data()), 0);
            EXPECT_EQ(output, PadWithPoison(expected, size))
                << "case " << &conversion - kCases << ", " << frames << " frames";

            EXPECT_EQ((converter_.*conversion.kernel)(frames, input.data(), input.data()), 0);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), input.begin())) << "in place";
        }
    }
}

TEST_F(ConvertDataType, DropsTheBitsOutsideTheAudioField)
{
    const auto Convert = [&](Kernel kernel, std::uint32_t word) {
        std::uint32_t output = 0;
        EXPECT_EQ((converter_.*kernel)(1, &word, &output), 0);
        return output;
    };
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM24In32bitMono, 0xF123456A), 0x12345600u);
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM16bitMono, 0xF123456A), 0x12340000u);
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM24In32bitMono, 0x08000000), 0x80000000u);
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM16bitMono, 0x08000000), 0x80000000u);
}

TEST_F(ConvertDataType, ConvertsEveryMultiFormatLayoutAndSetsNoLength)
{
    const struct {
        std::uint32_t valid;
        std::uint32_t channels;
        Model model;
    } layouts[] = {{16, 1, models::ConvertMultiFormatTo16}, {16, 2, models::ConvertMultiFormatTo16},
                   {24, 1, models::ConvertMultiFormatTo24}, {24, 2, models::ConvertMultiFormatTo24},
                   {24, 4, models::ConvertMultiFormatTo24}, {24, 8, models::ConvertMultiFormatTo24},
                   {24, 16, models::ConvertMultiFormatTo24}};
    for (const auto& layout : layouts) {
        FakeAudioSamples input = RandomSamples(MultiFormat(layout.valid, layout.channels), 11, 12);
        FakeAudioSamples output(Pcm(layout.valid, layout.channels), 2, 11);
        const unsigned long lengthBefore = output.length;
        EXPECT_EQ(converter_.ConvertDataType(&input, &output), 0);
        EXPECT_EQ(output.data, Expected(layout.model, input.data, 11ul * layout.channels));
        EXPECT_EQ(output.length, lengthBefore);
        EXPECT_TRUE(output.lengthsSet.empty());
        EXPECT_EQ(input.descriptionSizes, kDescriptionSize);
        EXPECT_EQ(output.descriptionSizes, kDescriptionSize);
    }
}

TEST_F(ConvertDataType, AcceptsAnInputThatIsNotMultiFormat)
{
    FakeAudioSamples input = RandomSamples(Pcm(24, 2), 3, 3);
    FakeAudioSamples output(MultiFormat(24, 2), 0, 3);
    EXPECT_EQ(converter_.ConvertDataType(&input, &output), 0);
    EXPECT_EQ(output.data, Expected(models::ConvertMultiFormatTo24, input.data, 6));
}

TEST_F(ConvertDataType, AcceptsFourToSixteenChannelsOf16BitsIn16In16Only)
{
    for (std::uint32_t channels : {4u, 8u, 16u}) {
        FakeAudioSamples input(MultiFormat(16, channels), 0, 1);
        FakeAudioSamples output(MultiFormat(16, channels), 0, 1);
        EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_FORMAT_NOT_SUPPORTED);
        input.format = output.format = WaveFormat(1, 16, 16, 48000, channels);
        EXPECT_EQ(converter_.ConvertDataType(&input, &output), 0);
    }
}

TEST_F(ConvertDataType, RejectsAnOutputOneFrameTooSmallBeforeFormats)
{
    FakeAudioSamples input = RandomSamples(MultiFormat(24, 1), 8, 8);
    FakeAudioSamples output(Pcm(24, 2), 0, 7);
    EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    output.format = Pcm(24, 1);
    output.capacity = 7 * 4 + 3;
    EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(output.data, Bytes(output.data.size()));
}

TEST_F(ConvertDataType, RejectsBuffersThatDiffer)
{
    const auto Convert = [&](const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out) {
        FakeAudioSamples input(in, 1, 1);
        FakeAudioSamples output(out, 0, 1);
        return converter_.ConvertDataType(&input, &output);
    };
    EXPECT_EQ(Convert(MultiFormat(24, 1), MultiFormat(16, 1)), ZT_E_BUFFER_FORMAT_MISMATCH);              // properties
    EXPECT_EQ(Convert(MultiFormat(16, 1), WaveFormat(1, 16, 16, 48000, 1)), ZT_E_BUFFER_FORMAT_MISMATCH); // frame sizes
    EXPECT_EQ(Convert(MultiFormat(24, 4), MultiFormat(24, 8)),
              ZT_E_BUFFER_FORMAT_MISMATCH); // channel counts with properties
    // All other channel counts share one property: rejected for the counts before the missing table entry.
    EXPECT_EQ(Convert(MultiFormat(24, 3), Pcm(24, 5)), ZT_E_BUFFER_FORMAT_MISMATCH);
}

TEST_F(ConvertDataType, RejectsDifferentChannelCountsWithEqualPropertiesAndFrameSizes)
{
    FakeAudioSamples input(WaveFormat(1, 32, 24, 44100, 1), 1, 1);
    FakeAudioSamples output(WaveFormat(1, 32, 24, 44100, 1), 0, 1);
    EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    output.format.ulChannels = 0x40000001; // times four bytes is four, modulo 2^32
    EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_BUFFER_FORMAT_MISMATCH);
}

TEST_F(ConvertDataType, HasNoTableEntryForOtherProperties)
{
    for (const SZtaWaveFormatInfo& format :
         {WaveFormat(1, 16, 16, 48000, 32), WaveFormat(1, 16, 16, 48000, 64), MultiFormat(24, 32), MultiFormat(24, 64),
          MultiFormat(24, 3), WaveFormat(2, 32, 32, 48000, 1), WaveFormat(2, 32, 32, 48000, 2),
          WaveFormat(1, 16, 16, 44100, 1), WaveFormat(1, 16, 16, 44100, 2), WaveFormat(1, 24, 24, 48000, 1),
          WaveFormat(1, 24, 24, 48000, 64)}) {
        FakeAudioSamples input(format, 1, 1);
        FakeAudioSamples output(format, 0, 1);
        EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    }
}

// ---- 16-bit multi-format words to 16-bit samples ----

struct Narrowing {
    explicit Narrowing(std::uint32_t channels, unsigned long frames = 5)
        : input(RandomSamples(MultiFormat(16, channels), frames, frames + 1)),
          output(WaveFormat(1, 16, 16, 48000, channels), frames, frames)
    {
        description.ulSize = 40;
        description.sWaveFormat = input.format;
    }

    int Run() { return converter.ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(&input, &description, &output); }

    CZtaConvertDataType converter;
    FakeAudioSamples input;
    FakeAudioSamples output;
    SZtAudioSamplesDescription description{};
};

TEST(ConvertMultiFormatTo16In16, ReturnsTheUpper16BitsOfTheAudioField)
{
    Narrowing narrowing(1, 2);
    models::SetWord(&narrowing.input.data[0], 0xF123456A);
    models::SetWord(&narrowing.input.data[4], 0x08000000);
    EXPECT_EQ(narrowing.Run(), 0);
    EXPECT_EQ(narrowing.output.data, (Bytes{0x34, 0x12, 0x00, 0x80}));
}

TEST(ConvertMultiFormatTo16In16, ConvertsInPlace)
{
    for (unsigned long samples = 0; samples < 500; ++samples) {
        Narrowing narrowing(1, samples);
        FakeAudioSamples buffer(narrowing.input.format, samples, samples);
        for (std::size_t i = 0; i < buffer.data.size(); ++i) {
            buffer.data[i] = static_cast<std::uint8_t>(i * 151 + i / 256);
        }
        const Bytes expected = Expected(models::ConvertMultiFormatTo16In16, buffer.data, samples, 2);
        EXPECT_EQ(narrowing.converter.ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(&buffer, &narrowing.description,
                                                                                      &buffer),
                  0);
        buffer.data.resize(expected.size());
        ASSERT_EQ(buffer.data, expected) << samples;
    }
}

TEST(ConvertMultiFormatTo16In16, ConvertsAllChannelsOfTheDescriptionAndSetsNoLength)
{
    for (std::uint32_t channels : {1u, 2u, 7u}) {
        Narrowing narrowing(channels);
        EXPECT_EQ(narrowing.Run(), 0);
        EXPECT_EQ(narrowing.output.data,
                  Expected(models::ConvertMultiFormatTo16In16, narrowing.input.data, 5ul * channels, 2));
        EXPECT_TRUE(narrowing.output.lengthsSet.empty());
        const Calls calls = {"GetBufferAndLength", "GetLengthInSampleFrames"};
        EXPECT_EQ(narrowing.input.calls, calls);
        EXPECT_EQ(narrowing.output.calls, calls);
    }
}

TEST(ConvertMultiFormatTo16In16, ConvertsNothingOfEmptyBuffers)
{
    Narrowing narrowing(2);
    narrowing.input.lengthInFrames = narrowing.output.lengthInFrames = 0;
    EXPECT_EQ(narrowing.Run(), 0);
    EXPECT_EQ(narrowing.output.data, Bytes(narrowing.output.data.size()));
}

TEST(ConvertMultiFormatTo16In16, RejectsDifferentFrameCounts)
{
    for (unsigned long frames : {4ul, 6ul}) {
        Narrowing narrowing(2);
        narrowing.output.lengthInFrames = frames;
        EXPECT_EQ(narrowing.Run(), ZT_E_BUFFER_SIZE_MISMATCH);
        EXPECT_EQ(narrowing.output.data, Bytes(narrowing.output.data.size()));
    }
}

TEST(ConvertMultiFormatTo16In16, ReturnsTheStatusOfTheFirstFailedQuery)
{
    int expected = -11;
    for (int FakeAudioSamples::*call : {&FakeAudioSamples::framesStatus, &FakeAudioSamples::bufferStatus}) {
        for (bool ofInput : {false, true}) {
            Narrowing narrowing(2);
            (ofInput ? narrowing.input : narrowing.output).*call = --expected;
            EXPECT_EQ(narrowing.Run(), expected);
            EXPECT_EQ(narrowing.output.data, Bytes(narrowing.output.data.size()));
        }
    }
    Narrowing narrowing(2);
    narrowing.input.bufferStatus = -1;
    narrowing.output.bufferStatus = -2;
    narrowing.input.framesStatus = -3;
    narrowing.output.framesStatus = -4;
    EXPECT_EQ(narrowing.Run(), -1);
    narrowing.input.bufferStatus = 0;
    EXPECT_EQ(narrowing.Run(), -2);
    narrowing.output.bufferStatus = 0;
    EXPECT_EQ(narrowing.Run(), -3);
    narrowing.input.framesStatus = 0;
    EXPECT_EQ(narrowing.Run(), -4);
}

TEST(ConvertMultiFormatTo16In16, EndsWithTheStatusOfTheOutputsFrameCount)
{
    Narrowing narrowing(2);
    narrowing.input.bufferStatus = 7;
    narrowing.output.bufferStatus = 8;
    narrowing.input.framesStatus = 9;
    narrowing.output.framesStatus = 10;
    EXPECT_EQ(narrowing.Run(), 10);
    EXPECT_EQ(narrowing.output.data, Expected(models::ConvertMultiFormatTo16In16, narrowing.input.data, 10, 2));
}

} // namespace
} // namespace zta::test
