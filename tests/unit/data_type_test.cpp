#include "kernels/data_type.h"
#include "testing/fake_audio_samples.h"
#include "testing/models/conversion_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kFormatNotSupported = static_cast<int>(0x8999803A);
constexpr int kProcessingFormatNotSupported = static_cast<int>(0x8999803D);
constexpr int kDestinationTooSmall = static_cast<int>(0x8999803E);
constexpr int kSizeMismatch = static_cast<int>(0x8999803F);
constexpr int kFormatMismatch = static_cast<int>(0x89998040);

struct OpenConvertDataType : CZtaConvertDataType {
    using CZtaAudioProcessingUtil::m_psProcessingFormats;
};

using Kernel = int (CZtaConvertDataType::*)(unsigned long, void*, void*);
using Model = void (*)(const std::uint8_t*, std::uint8_t*);
using K = CZtaConvertDataType;

struct Row {
    int property;
    Kernel kernel;
    unsigned long samplesPerFrame;
    Model model;
};

// clang-format off
const Row kRows[] = {
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

Bytes RandomBytes(std::size_t count)
{
    static std::mt19937 random(21);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

Bytes Expected(Model model, const Bytes& input, unsigned long samples, unsigned long outputBytes = 4)
{
    Bytes output(samples * outputBytes);
    for (unsigned long i = 0; i < samples; ++i) {
        model(&input[i * 4], &output[i * outputBytes]);
    }
    return output;
}

TEST(ConvertDataType, HasItsTableEntriesInOrder)
{
    OpenConvertDataType converter;
    ASSERT_EQ(converter.m_psProcessingFormats->iFormatCount, 10);
    ASSERT_EQ(std::size(kRows), 10u);
    for (int i = 0; i < 10; ++i) {
        const SZtAProcessingFormatAndFunctionIndex& row = converter.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(row.eInputFormat), kRows[i].property) << i;
        EXPECT_EQ(static_cast<int>(row.eOutputFormat), kRows[i].property) << i;
        EXPECT_EQ(row.iFunctionIndex, i);
    }
}

TEST(ConvertDataType, RunsEachKernelOverItsSamplesAndNoMore)
{
    CZtaConvertDataType converter;
    for (const Row& row : kRows) {
        for (unsigned long frames : {0ul, 1ul, 3ul, 37ul}) {
            const std::size_t size = (frames + 1) * row.samplesPerFrame * 4;
            Bytes input = RandomBytes(size);
            Bytes output(size, 0xA5);
            Bytes expected = Expected(row.model, input, frames * row.samplesPerFrame);
            expected.resize(size, 0xA5);
            EXPECT_EQ((converter.*row.kernel)(frames, input.data(), output.data()), 0);
            EXPECT_EQ(output, expected) << "row " << &row - kRows << ", " << frames << " frames";

            expected = Expected(row.model, input, frames * row.samplesPerFrame);
            EXPECT_EQ((converter.*row.kernel)(frames, input.data(), input.data()), 0);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), input.begin())) << "in place";
        }
    }
}

TEST(ConvertDataType, DropsTheBitsBesideTheAudioField)
{
    CZtaConvertDataType converter;
    const auto Convert = [&](Kernel kernel, std::uint32_t word) {
        std::uint32_t output = 0;
        EXPECT_EQ((converter.*kernel)(1, &word, &output), 0);
        return output;
    };
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM24In32bitMono, 0xF123456A), 0x12345600u);
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM16bitMono, 0xF123456A), 0x12340000u);
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM24In32bitMono, 0x08000000), 0x80000000u);
    EXPECT_EQ(Convert(&K::ConvertDataTypeMMFToPCM16bitMono, 0x08000000), 0x80000000u);
}

TEST(ConvertDataType, ConvertsEveryMultiFormatLayoutAndLeavesTheOutputsLengthToItsCaller)
{
    struct Layout {
        std::uint32_t valid;
        std::uint32_t channels;
        Model model;
    };
    const Layout layouts[] = {{16, 1, models::ConvertMultiFormatTo16}, {16, 2, models::ConvertMultiFormatTo16},
                              {24, 1, models::ConvertMultiFormatTo24}, {24, 2, models::ConvertMultiFormatTo24},
                              {24, 4, models::ConvertMultiFormatTo24}, {24, 8, models::ConvertMultiFormatTo24},
                              {24, 16, models::ConvertMultiFormatTo24}};
    CZtaConvertDataType converter;
    for (const Layout& layout : layouts) {
        FakeAudioSamples input(MultiFormat(layout.valid, layout.channels), 11, 12);
        FakeAudioSamples output(Pcm(layout.valid, layout.channels), 2, 11);
        input.data = RandomBytes(input.data.size());
        const unsigned long lengthBefore = output.length;
        EXPECT_EQ(converter.ConvertDataType(&input, &output), 0);
        EXPECT_EQ(output.data, Expected(layout.model, input.data, 11ul * layout.channels));
        EXPECT_EQ(output.length, lengthBefore);
        EXPECT_TRUE(output.lengthsSet.empty());
        EXPECT_EQ(input.descriptionSizes, std::vector<std::uint32_t>{40});
        EXPECT_EQ(output.descriptionSizes, std::vector<std::uint32_t>{40});
    }
}

TEST(ConvertDataType, DoesNotAskWhetherTheInputIsMultiFormat)
{
    CZtaConvertDataType converter;
    FakeAudioSamples input(Pcm(24, 2), 3, 3);
    FakeAudioSamples output(MultiFormat(24, 2), 0, 3);
    input.data = RandomBytes(input.data.size());
    EXPECT_EQ(converter.ConvertDataType(&input, &output), 0);
    EXPECT_EQ(output.data, Expected(models::ConvertMultiFormatTo24, input.data, 6));
}

TEST(ConvertDataType, TakesFourToSixteenChannelsOf16BitsFromPlainBuffersOnly)
{
    CZtaConvertDataType converter;
    for (std::uint32_t channels : {4u, 8u, 16u}) {
        FakeAudioSamples input(MultiFormat(16, channels), 0, 1);
        FakeAudioSamples output(MultiFormat(16, channels), 0, 1);
        EXPECT_EQ(converter.ConvertDataType(&input, &output), kFormatNotSupported);
        input.format = output.format = WaveFormat(1, 16, 16, 48000, channels);
        EXPECT_EQ(converter.ConvertDataType(&input, &output), 0);
    }
}

TEST(ConvertDataType, LeavesTheOutputOfAnEmptyInputAsItWas)
{
    CZtaConvertDataType converter;
    FakeAudioSamples input(MultiFormat(24, 1), 0, 4);
    FakeAudioSamples output(Pcm(24, 1), 3, 4);
    output.data = RandomBytes(16);
    const Bytes before = output.data;
    EXPECT_EQ(converter.ConvertDataType(&input, &output), 0);
    EXPECT_EQ(output.data, before);
    EXPECT_EQ(output.length, 12u);
    EXPECT_TRUE(output.lengthsSet.empty());
}

TEST(ConvertDataType, PassesOnWhatTheBuffersReport)
{
    using Status = int FakeAudioSamples::*;
    for (Status call :
         {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus, &FakeAudioSamples::capacityStatus}) {
        for (bool ofInput : {true, false}) {
            CZtaConvertDataType converter;
            FakeAudioSamples input(MultiFormat(24, 1), 4, 4);
            FakeAudioSamples output(Pcm(24, 1), 0, 4);
            input.data = RandomBytes(16);
            (ofInput ? input : output).*call = -77;
            EXPECT_EQ(converter.ConvertDataType(&input, &output), -77);
            EXPECT_EQ(output.calls.empty(), ofInput);
            EXPECT_EQ(output.data, Bytes(16));

            (ofInput ? input : output).*call = 5;
            EXPECT_EQ(converter.ConvertDataType(&input, &output), 0);
        }
    }
}

TEST(ConvertDataType, RejectsFormatsThatCannotBeClassified)
{
    CZtaConvertDataType converter;
    for (bool badInput : {true, false}) {
        FakeAudioSamples input(MultiFormat(24, 1), 4, 4);
        FakeAudioSamples output(Pcm(24, 1), 0, 4);
        (badInput ? input : output).format.ulValidBitsPerSample = 8;
        EXPECT_EQ(converter.ConvertDataType(&input, &output), kFormatNotSupported);
        EXPECT_EQ(output.calls.empty(), badInput);
    }
}

TEST(ConvertDataType, RejectsAnOutputOneFrameTooSmallBeforeFormats)
{
    CZtaConvertDataType converter;
    FakeAudioSamples input(MultiFormat(24, 1), 8, 8);
    FakeAudioSamples output(Pcm(24, 2), 0, 7);
    input.data = RandomBytes(input.data.size());
    EXPECT_EQ(converter.ConvertDataType(&input, &output), kDestinationTooSmall);
    output.format = Pcm(24, 1);
    output.capacity = 7 * 4 + 3;
    EXPECT_EQ(converter.ConvertDataType(&input, &output), kDestinationTooSmall);
    EXPECT_EQ(output.data, Bytes(output.data.size()));
}

TEST(ConvertDataType, RejectsBuffersThatDiffer)
{
    CZtaConvertDataType converter;
    const auto Convert = [&](const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out) {
        FakeAudioSamples input(in, 1, 1);
        FakeAudioSamples output(out, 0, 1);
        return converter.ConvertDataType(&input, &output);
    };
    EXPECT_EQ(Convert(MultiFormat(24, 1), MultiFormat(16, 1)), kFormatMismatch);              // layouts
    EXPECT_EQ(Convert(MultiFormat(16, 1), WaveFormat(1, 16, 16, 48000, 1)), kFormatMismatch); // frame sizes
    EXPECT_EQ(Convert(MultiFormat(24, 4), MultiFormat(24, 8)), kFormatMismatch); // channel counts with layouts
    // One layout for all channel counts that have none of their own: refused for the counts before the missing row.
    EXPECT_EQ(Convert(MultiFormat(24, 3), Pcm(24, 5)), kFormatMismatch);
}

TEST(ConvertDataType, RejectsDifferentChannelCountsAlsoWhereLayoutsAndFrameSizesAreEqual)
{
    CZtaConvertDataType converter;
    FakeAudioSamples input(WaveFormat(1, 32, 24, 44100, 1), 1, 1);
    FakeAudioSamples output(WaveFormat(1, 32, 24, 44100, 1), 0, 1);
    EXPECT_EQ(converter.ConvertDataType(&input, &output), kProcessingFormatNotSupported);
    output.format.ulChannels = 0x40000001; // times four bytes is four in 32 bits
    EXPECT_EQ(converter.ConvertDataType(&input, &output), kFormatMismatch);
}

TEST(ConvertDataType, HasNoTableEntryForOtherLayouts)
{
    CZtaConvertDataType converter;
    for (const SZtaWaveFormatInfo& format :
         {WaveFormat(1, 16, 16, 48000, 32), WaveFormat(1, 16, 16, 48000, 64), MultiFormat(24, 32), MultiFormat(24, 64),
          MultiFormat(24, 3), WaveFormat(2, 32, 32, 48000, 1), WaveFormat(2, 32, 32, 48000, 2),
          WaveFormat(1, 16, 16, 44100, 1), WaveFormat(1, 16, 16, 44100, 2), WaveFormat(1, 24, 24, 48000, 1),
          WaveFormat(1, 24, 24, 48000, 64)}) {
        FakeAudioSamples input(format, 1, 1);
        FakeAudioSamples output(format, 0, 1);
        EXPECT_EQ(converter.ConvertDataType(&input, &output), kProcessingFormatNotSupported);
    }
}

TEST(ConvertDataType, ReportsWhichPairsItSupports)
{
    CZtaConvertDataType converter;
    SZtaWaveFormatInfo multi = MultiFormat(24, 2);
    SZtaWaveFormatInfo pcm = Pcm(24, 2);
    SZtaWaveFormatInfo mono = Pcm(24, 1);
    SZtaWaveFormatInfo unknown = MultiFormat(16, 4);
    bool supported = false;
    EXPECT_EQ(converter.QueryFormatSupported(&multi, &pcm, &supported), 0);
    EXPECT_TRUE(supported);
    EXPECT_EQ(converter.QueryFormatSupported(&multi, &mono, &supported), 0);
    EXPECT_FALSE(supported);
    supported = true;
    EXPECT_EQ(converter.QueryFormatSupported(&pcm, &unknown, &supported), kFormatNotSupported);
    EXPECT_FALSE(supported);
}

// 16-bit multi-format words to 16-bit samples.

struct Narrowing {
    explicit Narrowing(std::uint32_t channels, unsigned long frames = 5)
        : input(MultiFormat(16, channels), frames, frames + 1),
          output(WaveFormat(1, 16, 16, 48000, channels), frames, frames)
    {
        input.data = RandomBytes(input.data.size());
        description.ulSize = 40;
        description.sWaveFormat = input.format;
    }

    int Run() { return converter.ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(&input, &description, &output); }

    CZtaConvertDataType converter;
    FakeAudioSamples input;
    FakeAudioSamples output;
    SZtAudioSamplesDescription description{};
};

TEST(ConvertMultiFormatTo16In16, TakesTheUpper16BitsOfTheAudioField)
{
    Narrowing narrowing(1, 2);
    models::SetWord(&narrowing.input.data[0], 0xF123456A);
    models::SetWord(&narrowing.input.data[4], 0x08000000);
    EXPECT_EQ(narrowing.Run(), 0);
    EXPECT_EQ(narrowing.output.data, (Bytes{0x34, 0x12, 0x00, 0x80}));
}

/// Two buffers on one memory.
TEST(ConvertMultiFormatTo16In16, ConvertsInPlace)
{
    class SharedBuffer final : public IZtAudioSamples {
    public:
        SharedBuffer(Bytes& memory, unsigned long words) : memory_(memory), words_(words) {}
        int QueryInterface(const _GUID&, void**) override { return E_NOINTERFACE; }
        unsigned long AddRef() override { return 2; }
        unsigned long Release() override { return 1; }
        int MarkWriteStartTime() override { return 0; }
        int MarkWriteStopTime() override { return 0; }
        int SignalReadCompletion() override { return 0; }
        int SignalWriteCompletion() override { return 0; }
        int SetErrorCode(int) override { return 0; }
        int GetErrorCode(int*) override { return 0; }
        int SetPolarity(std::uint32_t) override { return 0; }
        int SetWaveFormat(SZtaWaveFormatInfo*) override { return 0; }
        int GetAudioSamplesDescription(SZtAudioSamplesDescription*) override { return 0; }
        int GetBufferAndLength(void** buffer, unsigned long* bytes) override
        {
            *buffer = memory_.data();
            *bytes = memory_.size();
            return 0;
        }
        int GetBufferCapacity(unsigned long*) override { return 0; }
        int GetLengthInSampleFrames(unsigned long* frames) override
        {
            *frames = words_;
            return 0;
        }
        int SetFadeIn(bool) override { return 0; }
        int SetFadeOut(bool) override { return 0; }
        int SetLength(unsigned long) override { return 0; }

    private:
        Bytes& memory_;
        unsigned long words_;
    };

    SZtAudioSamplesDescription description{};
    description.sWaveFormat.ulChannels = 1;
    for (unsigned long words = 0; words < 500; ++words) {
        Bytes memory(words * 4);
        for (std::size_t i = 0; i < memory.size(); ++i) {
            memory[i] = static_cast<std::uint8_t>(i * 151 + i / 256);
        }
        const Bytes expected = Expected(models::ConvertMultiFormatTo16In16, memory, words, 2);
        SharedBuffer input(memory, words);
        SharedBuffer output(memory, words);
        EXPECT_EQ(CZtaConvertDataType().ConvertBitDepthFrom16In32MultiFormatTo16In16Pcm(&input, &description, &output),
                  0);
        memory.resize(expected.size());
        ASSERT_EQ(memory, expected) << words;
    }
}

TEST(ConvertMultiFormatTo16In16, ConvertsAllChannelsOfTheDescriptionAndLeavesTheLengthAlone)
{
    for (std::uint32_t channels : {1u, 2u, 7u}) {
        Narrowing narrowing(channels);
        EXPECT_EQ(narrowing.Run(), 0);
        EXPECT_EQ(narrowing.output.data,
                  Expected(models::ConvertMultiFormatTo16In16, narrowing.input.data, 5ul * channels, 2));
        EXPECT_TRUE(narrowing.output.lengthsSet.empty());
        const std::vector<std::string> calls = {"GetBufferAndLength", "GetLengthInSampleFrames"};
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
        EXPECT_EQ(narrowing.Run(), kSizeMismatch);
        EXPECT_EQ(narrowing.output.data, Bytes(narrowing.output.data.size()));
    }
}

TEST(ConvertMultiFormatTo16In16, PassesOnWhatTheBuffersReportInTheOrderOfItsQuestions)
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
