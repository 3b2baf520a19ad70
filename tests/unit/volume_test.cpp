#include "kernels/volume.h"
#include "testing/models/gain_model.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>

/// Access to the settings of the last call.
struct SZtLayoutProbe {
    static const std::int32_t* Settings(const CZtaApplyVolume& volume) { return volume.m_plVolumeSettings; }
};

namespace zta::test {
namespace {

using Words = std::vector<std::uint32_t>;
using Records = std::vector<SZtAudioMonoVolumeInfo>;

constexpr std::uint32_t kPoisonWord = 0xA5A5A5A5;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Kernel = int (CZtaApplyVolume::*)(void*, void*, SZtAudioMonoVolumeInfo*, unsigned long, unsigned long);
using K = CZtaApplyVolume;

struct Case {
    int property;
    unsigned long channels;
    Kernel kernel;
};

const Case kCases[] = {
    {8, 1, &K::ApplyVolume24bitIn32Mux4_2_1},      {9, 2, &K::ApplyVolume24bitIn32Mux4_2_1},
    {10, 4, &K::ApplyVolume24bitIn32Mux4_2_1},     {11, 8, &K::ApplyVolume24bitIn32Mux8},
    {12, 16, &K::ApplyVolume24bitIn32Mux64_32_16}, {13, 32, &K::ApplyVolume24bitIn32Mux64_32_16},
    {14, 64, &K::ApplyVolume24bitIn32Mux64_32_16},
};
constexpr Kernel kKernels[] = {&K::ApplyVolume24bitIn32Mux4_2_1, &K::ApplyVolume24bitIn32Mux8,
                               &K::ApplyVolume24bitIn32Mux64_32_16};

SZtaWaveFormatInfo Format24In32(unsigned long channels)
{
    return WaveFormat(1, 32, 24, 48000, static_cast<std::uint32_t>(channels));
}

std::mt19937& Random()
{
    static std::mt19937 random(25);
    return random;
}

Words RandomWords(std::size_t count)
{
    Words words(count);
    std::generate(words.begin(), words.end(), Random());
    return words;
}

float RandomGain()
{
    return std::uniform_real_distribution<float>(0.0f, 8.0f)(Random());
}

Records RandomRecords(unsigned long channels)
{
    Records records(channels);
    for (SZtAudioMonoVolumeInfo& record : records) {
        record = {static_cast<std::uint32_t>(Random()()), RandomGain(), RandomGain()};
    }
    return records;
}

Records Flat(unsigned long channels, float gain)
{
    return Records(channels, {0, gain, gain});
}

Words Expected(const Words& input, const Records& records)
{
    const std::size_t channels = records.size();
    const std::size_t frames = input.size() / channels;
    Words output(input.size());
    for (std::size_t i = 0; i < frames * channels; ++i) {
        output[i] = models::Scaled(input[i], models::RampGain(records[i % channels], i / channels, frames));
    }
    return output;
}

const Case& CaseOf(unsigned long channels)
{
    return *std::find_if(std::begin(kCases), std::end(kCases), [=](const Case& c) { return c.channels == channels; });
}

bool SkipsBuffer(unsigned long channels, std::size_t frames)
{
    return channels <= 4 && frames * channels / 4 % 65536 == 0;
}

/// Runs the kernel.
Words Result(const Words& input, Records records)
{
    CZtaApplyVolume volume;
    Words in = input;
    Words output(input.size(), kPoisonWord);
    EXPECT_EQ((volume.*CaseOf(records.size()).kernel)(in.data(), output.data(), records.data(), records.size(),
                                                      input.size() / records.size()),
              0);
    EXPECT_EQ(in, input);
    return output;
}

class ApplyVolume : public testing::Test {
protected:
    CZtaApplyVolume volume_;
};

using VolumeKernels = ApplyVolume;
using VolumeSettings = ApplyVolume;

// --- The samples -----------------------------------------------------------------------------------------------------

TEST_F(VolumeKernels, GiveEveryFrameItsGainAndWriteNothingElse)
{
    std::vector<std::size_t> counts(301);
    std::iota(counts.begin(), counts.end(), 0);
    counts.insert(counts.end(), {4096, 8191, 40000});
    for (const Case& c : kCases) {
        for (const std::size_t frames : counts) {
            Records records = RandomRecords(c.channels);
            Words input = RandomWords(frames * c.channels);
            const bool skips = SkipsBuffer(c.channels, frames);
            Words expected = skips ? Words(input.size(), kPoisonWord) : Expected(input, records);
            expected.resize(expected.size() + 9, kPoisonWord);
            Words output(expected.size(), kPoisonWord);
            ASSERT_EQ((volume_.*c.kernel)(input.data(), output.data(), records.data(), c.channels, frames), 0);
            ASSERT_EQ(output, expected) << c.channels << " channels, " << frames << " frames";

            expected.resize(input.size());
            expected = skips ? input : expected;
            ASSERT_EQ((volume_.*c.kernel)(input.data(), input.data(), records.data(), c.channels, frames), 0);
            ASSERT_EQ(input, expected) << c.channels << " channels, " << frames << " frames in place";
        }
    }
}

TEST_F(VolumeKernels, KeepAllButTheLowByteAtUnity)
{
    for (const Case& c : kCases) {
        Words input = RandomWords(64 * c.channels);
        Words expected = input;
        for (std::uint32_t& word : expected) {
            word &= 0xFFFFFF00;
        }
        input[5] = expected[5] = 0x12345600;
        EXPECT_EQ(Result(input, Flat(c.channels, 1.0f)), expected);
    }
}

TEST_F(VolumeKernels, IgnoreTheLowestFiveBits)
{
    const Words input = RandomWords(256);
    Words other = input;
    for (std::uint32_t& word : other) {
        word ^= static_cast<std::uint32_t>(Random()()) & 0x1F;
    }
    EXPECT_EQ(Result(input, Flat(4, 7.3f)), Result(other, Flat(4, 7.3f)));
    EXPECT_NE(Result({0x40, 0, 0, 0x40}, Flat(1, 7.9f)), Result({0x60, 0, 0, 0x60}, Flat(1, 7.9f)));
}

TEST_F(VolumeKernels, SilenceAllWordsAtAGainOfZero)
{
    Words input = RandomWords(256);
    input[0] = 0x80000000;
    input[1] = 0x7FFFFFFF;
    input[2] = 0xFFFFFFFF;
    for (float zero : {0.0f, -0.0f, std::numeric_limits<float>::denorm_min(), 0.000244f}) {
        EXPECT_EQ(Result(input, Flat(2, zero)), Words(256));
    }
}

TEST_F(VolumeKernels, HaveTheirKnownResultsAndSaturateAtBothEnds)
{
    const struct {
        std::uint32_t word;
        float gain;
        std::uint32_t result;
    } known[] = {
        {0x01000000, 8.0f, 0x07FFF000}, // just below eight
        {0x7FFFFF00, 8.0f, 0x7FFFFF00},
        {0x80000000, 8.0f, 0x80000000},
        {0x10004000, 8.0f, 0x7FFFFF00},
        {0xF0000000, 8.0f, 0x80010000},
        // The largest products in range, and the first out of range.
        {0x3FFFFF00, 2.0f, 0x7FFFFE00},
        {0x3FFFFFFF, 2.0f, 0x7FFFFF00},
        {0x40000000, 2.0f, 0x7FFFFF00},
        {0x40000040, 2.0f, 0x7FFFFF00},
        {0xC0000000, 2.0f, 0x80000000},
        {0xBFFFFFFF, 2.0f, 0x80000000},
    };
    for (const Case& c : kCases) {
        for (const auto& k : known) {
            EXPECT_EQ(Result(Words(4 * c.channels, k.word), Flat(c.channels, k.gain)), Words(4 * c.channels, k.result))
                << c.channels << " channels, " << std::hex << k.word;
        }
    }
}

TEST_F(VolumeKernels, HaveTheKnownMultipliersOfARamp)
{
    const struct {
        float start;
        float end;
        std::size_t frames;
        std::size_t frame;
        std::int64_t multiplier;
    } known[] = {
        // No frame has the end gain.
        {1.0f, 0.0f, 1024, 0, 4096},
        {1.0f, 0.0f, 1024, 1, 4092},
        {1.0f, 0.0f, 1024, 1023, 4},
        // A step of one fraction bit, and a smaller one, which is rounded to zero.
        {0.0f, 1.0f, 4096, 4095, 4095},
        {0.0f, 1.0f, 8192, 8191, 0},
        // The difference rounds down in single precision; the exact one would give a step of 5917.
        {0.6771f, 7.9f, 5, 0, 2773},
        {0.6771f, 7.9f, 5, 4, 2773 + 4 * 5916},
        // Frames behind the last whole step.
        {1.0f, 2.0f, 5, 4, 4096 + 4 * 819},
        {2.0f, 1.0f, 5, 4, 8192 - 4 * 819},
    };
    for (const Case& c : kCases) {
        for (const auto& k : known) {
            const Words input = RandomWords(k.frames * c.channels);
            const Words output = Result(input, Records(c.channels, {0, k.start, k.end}));
            for (std::size_t i = k.frame * c.channels; i < (k.frame + 1) * c.channels; ++i) {
                EXPECT_EQ(output[i], models::Scaled(input[i], k.multiplier)) << c.channels << " channels, " << k.frame;
            }
        }
    }
}

TEST_F(VolumeKernels, StayWithin16BitMultipliersOnTheSteepestRamps)
{
    for (const Case& c : kCases) {
        for (std::size_t frames : {4ul, 5ul, 7ul, 8ul, 511ul, 32767ul, 32768ul}) {
            Records records(c.channels);
            for (unsigned long i = 0; i < c.channels; ++i) {
                records[i] = i % 2 == 0 ? SZtAudioMonoVolumeInfo{0, 0.0f, 8.0f} : SZtAudioMonoVolumeInfo{0, 8.0f, 0.0f};
            }
            const Words input = RandomWords(frames * c.channels);
            for (std::size_t frame : {std::size_t{0}, frames - 1}) {
                for (const SZtAudioMonoVolumeInfo& record : records) {
                    ASSERT_GE(models::RampGain(record, frame, frames), 0);
                    ASSERT_LE(models::RampGain(record, frame, frames), 32767);
                }
            }
            ASSERT_EQ(Result(input, records), Expected(input, records)) << c.channels << ", " << frames;
        }
    }
}

TEST_F(VolumeKernels, AcceptEveryGainBelowEight)
{
    const float below = std::nextafter(8.0f, 0.0f);
    const Words input = RandomWords(64);
    Words expected;
    for (std::uint32_t word : input) {
        expected.push_back(models::Scaled(word, 32767));
    }
    EXPECT_EQ(Result(input, Flat(4, below)), expected);
}

TEST_F(VolumeKernels, UseTheLowBitsOfANan)
{
    const Words input = RandomWords(64);
    EXPECT_EQ(Result(input, {{0, kNan, 1.0f}}), Words(64));
    EXPECT_EQ(Result(input, {{0, kNan, kNan}}), Words(64));
    EXPECT_EQ(Result(input, {{0, 2.0f, kNan}}), Expected(input, Flat(1, 2.0f)));
    Records records = Flat(8, 3.0f);
    records[6].fEndVolume = kNan;
    EXPECT_EQ(Result(input, records), Expected(input, Flat(8, 3.0f)));
}

TEST_F(VolumeKernels, ApplyTheGainsOfTheirFramesToTheRemainder)
{
    const Words input(10, 0x40000000);
    const Words output = Result(input, {{0, 1.0f, 2.0f}, {0, 2.0f, 1.0f}});
    EXPECT_EQ(output[8], models::Scaled(0x40000000, 4096 + 4 * 819));
    EXPECT_EQ(output[9], models::Scaled(0x40000000, 8192 - 4 * 819));
}

TEST_F(VolumeKernels, SkipABufferWhoseStepsAreAMultipleOf65536)
{
    Words samples = RandomWords((2 * 65536 + 2) * 4);
    for (unsigned long channels : {1ul, 2ul, 4ul}) {
        const std::size_t framesPerStep = 4 / channels;
        for (std::size_t steps : {65536ul, 2 * 65536ul}) {
            for (std::size_t rest = 0; rest < framesPerStep; ++rest) {
                const Words input(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(
                                                                         (steps * framesPerStep + rest) * channels));
                EXPECT_EQ(Result(input, Flat(channels, 0.5f)), Words(input.size(), kPoisonWord));
            }
            const Words input(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>((steps + 1) * 4));
            EXPECT_EQ(Result(input, Flat(channels, 0.5f)), Expected(input, Flat(channels, 0.5f)));
        }
    }
    const Words input(samples.begin(), samples.begin() + 65536 * 8); // the other kernels have no such limit
    EXPECT_EQ(Result(input, Flat(8, 0.5f)), Expected(input, Flat(8, 0.5f)));
    EXPECT_EQ(Result(input, Flat(16, 0.5f)), Expected(input, Flat(16, 0.5f)));
}

// --- Validation ------------------------------------------------------------------------------------------------------

TEST_F(VolumeKernels, ValidateNothingWithoutFrames)
{
    for (Kernel kernel : kKernels) {
        EXPECT_EQ((volume_.*kernel)(nullptr, nullptr, nullptr, 3, 0), 0);
    }
}

TEST_F(VolumeKernels, AcceptTheChannelCountsInTheirNamesOnly)
{
    for (Kernel kernel : kKernels) {
        for (unsigned long channels = 0; channels <= 130; ++channels) {
            const bool isAccepted = std::any_of(std::begin(kCases), std::end(kCases), [=](const Case& c) {
                return c.kernel == kernel && c.channels == channels;
            });
            Records records = Flat(std::max(channels, 1ul), 1.0f);
            Words input = RandomWords(4 * std::max(channels, 1ul));
            Words output(input.size(), kPoisonWord);
            EXPECT_EQ((volume_.*kernel)(input.data(), output.data(), records.data(), channels, 4),
                      isAccepted ? 0 : ZT_E_INVALID_PARAMETER)
                << channels;
            EXPECT_EQ(output == Words(input.size(), kPoisonWord), !isAccepted) << channels;
        }
        // Before the pointers.
        EXPECT_EQ((volume_.*kernel)(nullptr, nullptr, nullptr, 3, 4), ZT_E_INVALID_PARAMETER);
    }
}

TEST_F(VolumeKernels, RejectNullSamplesThenNullRecords)
{
    Words words(256, kPoisonWord);
    for (const Case& c : kCases) {
        Records bad = Flat(c.channels, 9.0f);
        EXPECT_EQ((volume_.*c.kernel)(nullptr, words.data(), bad.data(), c.channels, 4), ZT_E_INVALID_POINTER);
        EXPECT_EQ((volume_.*c.kernel)(words.data(), nullptr, bad.data(), c.channels, 4), ZT_E_INVALID_POINTER);
        EXPECT_EQ((volume_.*c.kernel)(words.data(), words.data(), nullptr, c.channels, 4), ZT_E_INVALID_POINTER);
    }
    EXPECT_EQ(words, Words(256, kPoisonWord));
}

TEST_F(VolumeKernels, RejectAGainOutOfRangeAndWriteNothing)
{
    for (const Case& c : kCases) {
        for (std::size_t frames : {1ul, 4ul}) { // also where the samples would be skipped
            Words input = RandomWords(frames * c.channels);
            Words output(input.size(), kPoisonWord);
            Records records = Flat(c.channels, 1.0f);
            records.back().fEndVolume = 8.5f;
            EXPECT_EQ((volume_.*c.kernel)(input.data(), output.data(), records.data(), c.channels, frames),
                      ZT_E_INVALID_PARAMETER);
            EXPECT_EQ(output, Words(output.size(), kPoisonWord));
        }
    }
}

// --- The settings ----------------------------------------------------------------------------------------------------

TEST_F(VolumeSettings, NeedRecordsThenChannels)
{
    Records records = Flat(1, 1.0f);
    EXPECT_EQ(volume_.SetVolumeSettings(nullptr, 1, 10), ZT_E_INVALID_POINTER);
    EXPECT_EQ(volume_.SetVolumeSettings(nullptr, 0, 10), ZT_E_INVALID_POINTER);
    EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 0, 10), ZT_E_ARRAY_TOO_SMALL);
}

TEST_F(VolumeSettings, AcceptGainsFromZeroToEight)
{
    const float above = std::nextafter(8.0f, 9.0f);
    const float below = -std::numeric_limits<float>::denorm_min();
    const float infinity = std::numeric_limits<float>::infinity();
    for (float SZtAudioMonoVolumeInfo::*field :
         {&SZtAudioMonoVolumeInfo::fStartVolume, &SZtAudioMonoVolumeInfo::fEndVolume}) {
        for (float bad : {above, 8.5f, below, -1.0f, infinity, -infinity}) {
            for (std::size_t at : {0ul, 63ul}) {
                Records records = Flat(64, 1.0f);
                records[at].*field = bad;
                EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 64, 10), ZT_E_INVALID_PARAMETER) << bad;
                EXPECT_EQ(records[at].*field, bad);
            }
        }
        for (float good : {0.0f, -0.0f, 8.0f, 1.0f, kNan}) {
            Records records = Flat(1, 1.0f);
            records[0].*field = good;
            EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 1, 10), 0) << good;
        }
    }
}

TEST_F(VolumeSettings, ReplaceEightInTheCallersRecords)
{
    const float below = std::nextafter(8.0f, 0.0f);
    const float replaced = models::LargestGainBelow8(8.0f);
    EXPECT_EQ(replaced, 7.99989986419677734375f);
    Records records = {{7, 8.0f, 1.0f}, {8, 1.0f, 8.0f}, {9, 8.0f, 8.0f}, {10, 7.5f, below}};
    const Records expected = {{7, replaced, 1.0f}, {8, 1.0f, replaced}, {9, replaced, replaced}, {10, 7.5f, below}};
    EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 4, 10), 0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(records[i].ulChannelRef, expected[i].ulChannelRef) << i;
        EXPECT_EQ(records[i].fStartVolume, expected[i].fStartVolume) << i;
        EXPECT_EQ(records[i].fEndVolume, expected[i].fEndVolume) << i;
    }
}

TEST_F(VolumeSettings, KeepTheReplacementsBeforeARecordThatFails)
{
    Records records = Flat(4, 8.0f);
    records[2].fEndVolume = 9.0f;
    EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 4, 10), ZT_E_INVALID_PARAMETER);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(records[i].fStartVolume, i < 2 ? models::LargestGainBelow8(8.0f) : 8.0f) << i;
    }
    EXPECT_EQ(records[1].fEndVolume, models::LargestGainBelow8(8.0f));
}

TEST_F(VolumeSettings, ReadAllRecordsBeforeTheCountCheck)
{
    for (unsigned long channels = 1; channels <= 130; ++channels) {
        Records records = Flat(channels, 8.0f);
        const bool isAccepted =
            std::any_of(std::begin(kCases), std::end(kCases), [=](const Case& c) { return c.channels == channels; });
        EXPECT_EQ(volume_.SetVolumeSettings(records.data(), channels, 10), isAccepted ? 0 : ZT_E_INVALID_PARAMETER)
            << channels;
        EXPECT_EQ(records.back().fEndVolume, models::LargestGainBelow8(8.0f));
    }
}

// --- The operation ---------------------------------------------------------------------------------------------------

Words WordsOf(const FakeAudioSamples& samples)
{
    Words words(samples.data.size() / 4);
    std::memcpy(words.data(), samples.data.data(), words.size() * 4);
    return words;
}

TEST_F(ApplyVolume, HasItsTableEntriesInOrder)
{
    ASSERT_EQ(std::size(kCases), 7u);
    ExpectTableEntries<CZtaApplyVolume>(kCases, &Case::property, &Case::property);
}

TEST_F(ApplyVolume, ScalesEachFormatOfItsTableAndSetsTheOutputsLength)
{
    for (unsigned long channels : {64ul, 1ul, 16ul, 8ul, 2ul, 32ul, 4ul, 64ul, 64ul}) { // it has no state between calls
        FakeAudioSamples input = RandomSamples(Format24In32(channels), 11, 11);
        FakeAudioSamples output(Format24In32(channels), 11, 20);
        output.length += channels; // less than a frame
        Records records = RandomRecords(channels);
        Words expected = Expected(WordsOf(input), records);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), channels), 0);
        expected.resize(20 * channels);
        EXPECT_EQ(WordsOf(output), expected) << channels;
        EXPECT_EQ(output.lengthsSet, Lengths{11 * 4 * channels});
        EXPECT_EQ(input.calls, kQueryCalls);
        EXPECT_EQ(output.calls, kQueryAndLengthCalls);
        EXPECT_EQ(input.descriptionSizes, kDescriptionSize);
        EXPECT_EQ(output.descriptionSizes, kDescriptionSize);

        EXPECT_EQ(volume_.ApplyVolume(&input, &input, records.data(), channels), 0);
        expected.resize(11 * channels);
        EXPECT_EQ(WordsOf(input), expected) << channels << " in place";
        EXPECT_EQ(input.lengthsSet, Lengths{11 * 4 * channels});
    }
}

TEST_F(ApplyVolume, RejectsChannelCountsBeforeTheBuffers)
{
    Records records = Flat(65, 1.0f);
    for (unsigned long channels : {0ul, 65ul, 1000ul}) {
        EXPECT_EQ(volume_.ApplyVolume(nullptr, nullptr, records.data(), channels), ZT_E_INVALID_PARAMETER);
    }
}

TEST_F(ApplyVolume, RejectsOtherFormatsTheOutputsFirst)
{
    std::vector<SZtaWaveFormatInfo> others;
    for (int property = 1; property <= 26; ++property) {
        if ((property < 8 || property > 14) && property != 20 && property != 21) { // 24-in-24 passes the format checks
            others.push_back(FormatOfProperty(property));
        }
    }
    others.push_back(WaveFormat(1, 32, 24, 96000, 1));
    for (const SZtaWaveFormatInfo& other : others) {
        FakeAudioSamples fitting = RandomSamples(Format24In32(1), 6, 6);
        FakeAudioSamples input = RandomSamples(other, 6, 6);
        FakeAudioSamples output = RandomSamples(other, 6, 6);
        Records records = Flat(64, 1.0f);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), 1), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
        EXPECT_TRUE(input.calls.empty());
        EXPECT_EQ(volume_.ApplyVolume(&fitting, &output, records.data(), 1), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
        EXPECT_EQ(volume_.ApplyVolume(&input, &fitting, records.data(), 1), ZT_E_INPUT_FORMAT_NOT_SUPPORTED);
    }
}

TEST_F(ApplyVolume, ValidatesFormatsThenLengthsThenTheCountOfRecordsThenTheTable)
{
    const auto Format24In24 = [](std::uint32_t channels) { return WaveFormat(1, 24, 24, 48000, channels); };
    const struct {
        SZtaWaveFormatInfo input;
        SZtaWaveFormatInfo output;
        unsigned long outputFrames; ///< the input has six
        unsigned long records;
        int status;
    } cases[] = {
        {Format24In32(2), Format24In32(1), 7, 1, ZT_E_BUFFER_FORMAT_MISMATCH},
        {Format24In32(2), Format24In32(1), 7, 2, ZT_E_BUFFER_FORMAT_MISMATCH},
        {Format24In32(2), Format24In32(2), 5, 1, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
        {Format24In32(2), Format24In32(2), 7, 1, ZT_E_BUFFER_SIZE_MISMATCH},
        {Format24In32(2), Format24In32(2), 6, 1, ZT_E_INVALID_PARAMETER},
        {Format24In32(2), Format24In32(2), 6, 4, ZT_E_INVALID_PARAMETER},
        {Format24In24(1), Format24In24(1), 6, 1, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED},
        {Format24In24(2), Format24In24(2), 6, 2, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED},
        {Format24In24(1), Format24In24(1), 6, 2, ZT_E_INVALID_PARAMETER},
        {Format24In24(2), Format24In24(2), 6, 1, ZT_E_INVALID_PARAMETER},
        {Format24In24(1), Format24In32(1), 6, 1, ZT_E_BUFFER_FORMAT_MISMATCH},
        {Format24In24(2), Format24In32(2), 6, 2, ZT_E_BUFFER_FORMAT_MISMATCH},
    };
    for (const auto& c : cases) {
        FakeAudioSamples input = RandomSamples(c.input, 6, 8);
        FakeAudioSamples output = RandomSamples(c.output, c.outputFrames, 8);
        const Bytes before = output.data;
        Records records = Flat(4, 1.0f);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), c.records), c.status) << &c - cases;
        EXPECT_EQ(output.data, before);
        EXPECT_TRUE(output.lengthsSet.empty());
    }
}

TEST_F(ApplyVolume, ReturnsTheFailuresOfAKernelWithoutSettingTheLength)
{
    FakeAudioSamples input = RandomSamples(Format24In32(2), 6, 6);
    FakeAudioSamples output(Format24In32(2), 6, 6);
    EXPECT_EQ(volume_.ApplyVolume(&input, &output, nullptr, 2), ZT_E_INVALID_POINTER);
    Records records = Flat(2, 8.0f);
    records[1].fStartVolume = 8.5f;
    EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), 2), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(records[0].fStartVolume, models::LargestGainBelow8(8.0f));
    EXPECT_EQ(WordsOf(output), Words(12));
    EXPECT_TRUE(output.lengthsSet.empty());

    for (const unsigned long channels : {2ul, 8ul}) { // a successful query without a pointer
        for (const bool inputIsNull : {true, false}) {
            FakeAudioSamples first(Format24In32(channels), 5, 5);
            FakeAudioSamples second = first;
            (inputIsNull ? first : second).data = Bytes();
            Records flat = Flat(channels, 0.0f);
            EXPECT_EQ(volume_.ApplyVolume(&first, &second, flat.data(), channels), ZT_E_INVALID_POINTER);
            EXPECT_TRUE(second.lengthsSet.empty());
        }
    }
}

TEST_F(ApplyVolume, SetsTheLengthEvenIfNoFrameIsScaled)
{
    FakeAudioSamples empty = RandomSamples(Format24In32(2), 0, 6);
    FakeAudioSamples output(Format24In32(2), 0, 6);
    output.length = 7;
    EXPECT_EQ(volume_.ApplyVolume(&empty, &output, nullptr, 2), 0); // reads no records
    EXPECT_EQ(output.lengthsSet, Lengths{0});
    EXPECT_EQ(WordsOf(output), Words(12));

    FakeAudioSamples three = RandomSamples(Format24In32(1), 3, 3); // too few for the kernel
    FakeAudioSamples skipped(Format24In32(1), 3, 3);
    Records records = Flat(1, 1.0f);
    EXPECT_EQ(volume_.ApplyVolume(&three, &skipped, records.data(), 1), 0);
    EXPECT_EQ(skipped.lengthsSet, Lengths{12});
    EXPECT_EQ(WordsOf(skipped), Words(3));
}

TEST_F(VolumeSettings, OfNoFramesHaveStepsOutOfRange)
{
    // Steps of infinity, minus infinity and NaN: all three become the value for "out of range".
    for (const auto& [start, end] : {std::pair{1.0f, 2.0f}, {2.0f, 1.0f}, {1.0f, 1.0f}}) {
        Records records(4, {0, start, end});
        EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 4, 0), 0);
        const std::int32_t* const lanes = SZtLayoutProbe::Settings(volume_);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(lanes[i], static_cast<std::int32_t>(start * 4096.0f));
            EXPECT_EQ(lanes[4 + i], std::numeric_limits<std::int32_t>::min());
        }
    }
}

} // namespace
} // namespace zta::test
