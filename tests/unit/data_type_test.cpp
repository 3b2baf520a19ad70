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
    const struct {
        std::uint32_t word;
        std::uint32_t in24In32;
        std::uint32_t in16In32;
        std::uint16_t in16In16;
    } cases[] = {{0xF123456A, 0x12345600, 0x12340000, 0x1234}, {0x08000000, 0x80000000, 0x80000000, 0x8000}};
    for (const auto& c : cases) {
        Bytes word(4);
        models::SetWord(word.data(), c.word);
        std::uint32_t output = 0;
        EXPECT_EQ(converter_.ConvertDataTypeMMFToPCM24In32bitMono(1, word.data(), &output), 0);
        EXPECT_EQ(output, c.in24In32);
        EXPECT_EQ(converter_.ConvertDataTypeMMFToPCM16bitMono(1, word.data(), &output), 0);
        EXPECT_EQ(output, c.in16In32);
        models::ConvertMultiFormatTo16In16(word.data(), word.data());
        EXPECT_EQ(word[0] + 256 * word[1], c.in16In16) << "the model of the tests below";
    }
}

TEST_F(ConvertDataType, ConvertsEveryMultiFormatLayoutAndSetsNoLength)
{
    const struct {
        SZtaWaveFormatInfo input;
        SZtaWaveFormatInfo output;
        Model model;
    } layouts[] = {{MultiFormat(16, 1), Pcm(16, 1), models::ConvertMultiFormatTo16},
                   {MultiFormat(16, 2), Pcm(16, 2), models::ConvertMultiFormatTo16},
                   {MultiFormat(24, 1), Pcm(24, 1), models::ConvertMultiFormatTo24},
                   {MultiFormat(24, 2), Pcm(24, 2), models::ConvertMultiFormatTo24},
                   {MultiFormat(24, 4), Pcm(24, 4), models::ConvertMultiFormatTo24},
                   {MultiFormat(24, 8), Pcm(24, 8), models::ConvertMultiFormatTo24},
                   {MultiFormat(24, 16), Pcm(24, 16), models::ConvertMultiFormatTo24},
                   {Pcm(24, 2), MultiFormat(24, 2), models::ConvertMultiFormatTo24}}; // not a multi-format input
    for (const auto& layout : layouts) {
        FakeAudioSamples input = RandomSamples(layout.input, 11, 12);
        FakeAudioSamples output(layout.output, 2, 11);
        const unsigned long lengthBefore = output.length;
        EXPECT_EQ(converter_.ConvertDataType(&input, &output), 0);
        EXPECT_EQ(output.data, Expected(layout.model, input.data, 11ul * layout.input.ulChannels));
        EXPECT_EQ(output.length, lengthBefore);
        EXPECT_TRUE(output.lengthsSet.empty());
        EXPECT_EQ(input.descriptionSizes, kDescriptionSize);
        EXPECT_EQ(output.descriptionSizes, kDescriptionSize);
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

TEST_F(ConvertDataType, RejectsBuffersThatDifferThenPropertiesWithoutATableEntry)
{
    const SZtaWaveFormatInfo mono44100 = WaveFormat(1, 32, 24, 44100, 1);
    const struct {
        const char* name;
        SZtaWaveFormatInfo input;
        SZtaWaveFormatInfo output;
    } different[] = {
        {"properties", MultiFormat(24, 1), MultiFormat(16, 1)},
        {"frame sizes", MultiFormat(16, 1), WaveFormat(1, 16, 16, 48000, 1)},
        {"channel counts with properties", MultiFormat(24, 4), MultiFormat(24, 8)},
        // All other channel counts share one property, which has no table entry.
        {"channel counts of one property", MultiFormat(24, 3), Pcm(24, 5)},
        // Times four bytes, the count is four, modulo 2^32.
        {"channel counts with equal frame sizes", mono44100, WaveFormat(1, 32, 24, 44100, 0x40000001)},
    };
    for (const auto& c : different) {
        FakeAudioSamples input(c.input, 1, 1);
        FakeAudioSamples output(c.input, 0, 2);
        output.format = c.output;
        EXPECT_EQ(converter_.ConvertDataType(&input, &output), ZT_E_BUFFER_FORMAT_MISMATCH) << c.name;
    }
    const auto Convert = [this](const SZtaWaveFormatInfo& format, unsigned long frames) {
        FakeAudioSamples input(format, frames, 1);
        FakeAudioSamples output(format, 0, 1);
        return converter_.ConvertDataType(&input, &output);
    };
    for (const SZtaWaveFormatInfo& format :
         {WaveFormat(1, 16, 16, 48000, 32), WaveFormat(1, 16, 16, 48000, 64), MultiFormat(24, 32), MultiFormat(24, 64),
          MultiFormat(24, 3), WaveFormat(2, 32, 32, 48000, 1), WaveFormat(2, 32, 32, 48000, 2), mono44100,
          WaveFormat(1, 16, 16, 44100, 1), WaveFormat(1, 16, 16, 44100, 2), WaveFormat(1, 24, 24, 48000, 1),
          WaveFormat(1, 24, 24, 48000, 64)}) {
        EXPECT_EQ(Convert(format, 1), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    }
    for (std::uint32_t channels : {4u, 8u, 16u}) { // of 16 bits, in 16-in-16 only
        EXPECT_EQ(Convert(MultiFormat(16, channels), 0), ZT_E_FORMAT_NOT_SUPPORTED);
        EXPECT_EQ(Convert(WaveFormat(1, 16, 16, 48000, channels), 0), 0);
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
        for (const unsigned long frames : {0ul, 5ul}) {
            Narrowing narrowing(channels);
            narrowing.input.lengthInFrames = narrowing.output.lengthInFrames = frames;
            EXPECT_EQ(narrowing.Run(), 0);
            Bytes expected = Expected(models::ConvertMultiFormatTo16In16, narrowing.input.data, frames * channels, 2);
            expected.resize(narrowing.output.data.size());
            EXPECT_EQ(narrowing.output.data, expected);
            EXPECT_TRUE(narrowing.output.lengthsSet.empty());
            const Calls calls = {"GetBufferAndLength", "GetLengthInSampleFrames"};
            EXPECT_EQ(narrowing.input.calls, calls);
            EXPECT_EQ(narrowing.output.calls, calls);
        }
    }
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

TEST(ConvertMultiFormatTo16In16, ReturnsTheStatusOfTheFirstFailedQueryOrOfTheLastOne)
{
    Narrowing all(2);
    int* const statuses[] = {&all.input.bufferStatus, &all.output.bufferStatus, &all.input.framesStatus,
                             &all.output.framesStatus};
    for (const int status : {-1, -2, -3, -4}) {
        *statuses[-status - 1] = status;
    }
    for (const int status : {-1, -2, -3, -4}) {
        EXPECT_EQ(all.Run(), status);
        EXPECT_EQ(all.output.data, Bytes(all.output.data.size()));
        *statuses[-status - 1] = 10 - status; // a success
    }
    EXPECT_EQ(all.Run(), 14);
    EXPECT_EQ(all.output.data, Expected(models::ConvertMultiFormatTo16In16, all.input.data, 10, 2));
}

} // namespace
} // namespace zta::test
