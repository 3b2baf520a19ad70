#include "kernels/volume.h"
#include "testing/models/gain_model.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
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
    for (const Case& c : kCases) {
        for (std::size_t frames = 0; frames <= 300; ++frames) {
            Records records = RandomRecords(c.channels);
            Words input = RandomWords(frames * c.channels);
            Words expected =
                SkipsBuffer(c.channels, frames) ? Words(input.size(), kPoisonWord) : Expected(input, records);
            expected.resize(expected.size() + 9, kPoisonWord);
            Words output(expected.size(), kPoisonWord);
            ASSERT_EQ((volume_.*c.kernel)(input.data(), output.data(), records.data(), c.channels, frames), 0);
            ASSERT_EQ(output, expected) << c.channels << " channels, " << frames << " frames";
        }
    }
}

TEST_F(VolumeKernels, WorkInPlace)
{
    for (const Case& c : kCases) {
        for (std::size_t frames = 4; frames <= 100; ++frames) {
            Records records = RandomRecords(c.channels);
            Words samples = RandomWords(frames * c.channels);
            const Words expected = Expected(samples, records);
            ASSERT_EQ((volume_.*c.kernel)(samples.data(), samples.data(), records.data(), c.channels, frames), 0);
            ASSERT_EQ(samples, expected) << c.channels << " channels, " << frames << " frames";
        }
    }
}

TEST_F(VolumeKernels, KeepTheChannelsOfManyFramesSeparate)
{
    for (const Case& c : kCases) {
        for (std::size_t frames : {4096ul, 8191ul, 40000ul}) {
            const Records records = RandomRecords(c.channels);
            const Words input = RandomWords(frames * c.channels);
            ASSERT_EQ(Result(input, records), Expected(input, records)) << c.channels << " channels";
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

TEST_F(VolumeKernels, ReachJustBelowEightWithoutSaturation)
{
    for (const Case& c : kCases) {
        const Words input(4 * c.channels, 0x01000000);
        EXPECT_EQ(Result(input, Flat(c.channels, 8.0f)), Words(input.size(), 0x07FFF000));
    }
}

TEST_F(VolumeKernels, SaturateAtBothEnds)
{
    for (const Case& c : kCases) {
        Words input;
        Words expected;
        for (unsigned long i = 0; i < c.channels; ++i) {
            input.insert(input.end(), {0x7FFFFF00, 0x80000000, 0x10004000, 0xF0000000});
            expected.insert(expected.end(), {0x7FFFFF00, 0x80000000, 0x7FFFFF00, 0x80010000});
        }
        EXPECT_EQ(Result(input, Flat(c.channels, 8.0f)), expected) << c.channels << " channels";
    }
    // The largest products in range, and the first out of range.
    for (std::uint32_t word : {0x3FFFFFFFu, 0x40000000u, 0xC0000000u, 0xBFFFFFFFu, 0x3FFFFF00u, 0x40000040u}) {
        const std::uint32_t result = Result(Words(4, word), Flat(4, 2.0f)).front();
        EXPECT_EQ(result, models::Scaled(word, 8192));
        EXPECT_EQ(result >> 31, word >> 31);
    }
    EXPECT_EQ(Result(Words(4, 0x40000000), Flat(4, 2.0f)).front(), 0x7FFFFF00u);
    EXPECT_EQ(Result(Words(4, 0xC0000000), Flat(4, 2.0f)).front(), 0x80000000u);
}

TEST_F(VolumeKernels, RoundAStepBelowOneFractionBitToZero)
{
    const Words input = RandomWords(8192);
    EXPECT_EQ(Result(input, {{0, 0.0f, 1.0f}}), Words(8192));
    // In shorter buffers the step is one fraction bit.
    const Words shorter(input.begin(), input.begin() + 4096);
    EXPECT_EQ(Result(shorter, {{0, 0.0f, 1.0f}}).back(), models::Scaled(shorter.back(), 4095));
}

TEST_F(VolumeKernels, ReachTheEndGainInNoFrame)
{
    Words input(1024, 0x40000000);
    const Words output = Result(input, {{0, 1.0f, 0.0f}});
    EXPECT_EQ(output.front(), 0x40000000u);
    EXPECT_EQ(output[1], models::Scaled(0x40000000, 4092));
    EXPECT_EQ(output.back(), models::Scaled(0x40000000, 4));
    EXPECT_EQ(output.back(), 0x40000000u / 1024);
}

TEST_F(VolumeKernels, ComputeStepsInSinglePrecision)
{
    // 7.9 - 0.6771 rounds down in single precision; the exact difference would give a step of 5917.
    const Words output = Result(Words(4 * 5, 0x10000000), Records(4, {0, 0.6771f, 7.9f}));
    EXPECT_EQ(output[0], models::Scaled(0x10000000, 2773));
    EXPECT_EQ(output[16], models::Scaled(0x10000000, 2773 + 4 * 5916));
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

TEST_F(VolumeKernels, SkipABufferOfLessThanOneStep)
{
    for (std::size_t frames : {1ul, 2ul, 3ul}) {
        EXPECT_EQ(Result(RandomWords(frames), Flat(1, 1.0f)), Words(frames, kPoisonWord));
    }
    EXPECT_EQ(Result(RandomWords(2), Flat(2, 1.0f)), Words(2, kPoisonWord));
    EXPECT_NE(Result(RandomWords(4), Flat(1, 1.0f)), Words(4, kPoisonWord));
    EXPECT_NE(Result(RandomWords(4), Flat(2, 1.0f)), Words(4, kPoisonWord));
    EXPECT_NE(Result(RandomWords(4), Flat(4, 1.0f)), Words(4, kPoisonWord));
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
    Records records = {{7, 8.0f, 1.0f}, {8, 1.0f, 8.0f}, {9, 8.0f, 8.0f}, {10, 7.5f, std::nextafter(8.0f, 0.0f)}};
    EXPECT_EQ(volume_.SetVolumeSettings(records.data(), 4, 10), 0);
    const float replaced = models::LargestGainBelow8(8.0f);
    EXPECT_EQ(replaced, 7.99989986419677734375f);
    EXPECT_EQ(records[0].fStartVolume, replaced);
    EXPECT_EQ(records[0].fEndVolume, 1.0f);
    EXPECT_EQ(records[1].fStartVolume, 1.0f);
    EXPECT_EQ(records[1].fEndVolume, replaced);
    EXPECT_EQ(records[2].fStartVolume, replaced);
    EXPECT_EQ(records[2].fEndVolume, replaced);
    EXPECT_EQ(records[3].fStartVolume, 7.5f);
    EXPECT_EQ(records[3].fEndVolume, std::nextafter(8.0f, 0.0f));
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(records[i].ulChannelRef, 7 + i);
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
    for (const Case& c : kCases) {
        FakeAudioSamples input = RandomSamples(Format24In32(c.channels), 11, 11);
        FakeAudioSamples output(Format24In32(c.channels), 11, 20);
        output.length += c.channels; // less than a frame
        Records records = RandomRecords(c.channels);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), c.channels), 0);
        Words expected = Expected(WordsOf(input), records);
        expected.resize(20 * c.channels);
        EXPECT_EQ(WordsOf(output), expected) << c.channels;
        EXPECT_EQ(output.lengthsSet, Lengths{11 * 4 * c.channels});
        EXPECT_EQ(input.calls, kQueryCalls);
        EXPECT_EQ(output.calls, kQueryAndLengthCalls);
        EXPECT_EQ(input.descriptionSizes, kDescriptionSize);
        EXPECT_EQ(output.descriptionSizes, kDescriptionSize);
    }
}

TEST_F(ApplyVolume, WorksInPlace)
{
    for (const Case& c : kCases) {
        FakeAudioSamples samples = RandomSamples(Format24In32(c.channels), 50, 50);
        Records records = RandomRecords(c.channels);
        const Words expected = Expected(WordsOf(samples), records);
        EXPECT_EQ(volume_.ApplyVolume(&samples, &samples, records.data(), c.channels), 0);
        EXPECT_EQ(WordsOf(samples), expected);
        EXPECT_EQ(samples.lengthsSet, Lengths{200 * c.channels});
    }
}

TEST_F(ApplyVolume, KeepsNoStateBetweenCalls)
{
    for (unsigned long channels : {64ul, 1ul, 16ul, 8ul, 2ul, 32ul, 4ul, 64ul, 64ul}) {
        FakeAudioSamples input = RandomSamples(Format24In32(channels), 12, 12);
        FakeAudioSamples output(Format24In32(channels), 12, 12);
        Records records = RandomRecords(channels);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), channels), 0);
        EXPECT_EQ(WordsOf(output), Expected(WordsOf(input), records));
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

TEST_F(ApplyVolume, RejectsBuffersThatDifferFormatsBeforeLengths)
{
    FakeAudioSamples input = RandomSamples(Format24In32(2), 6, 8);
    FakeAudioSamples mono = RandomSamples(Format24In32(1), 7, 8);
    FakeAudioSamples shorter = RandomSamples(Format24In32(2), 5, 8);
    FakeAudioSamples longer = RandomSamples(Format24In32(2), 7, 8);
    Records records = Flat(2, 1.0f);
    EXPECT_EQ(volume_.ApplyVolume(&input, &mono, records.data(), 2), ZT_E_BUFFER_FORMAT_MISMATCH);
    // Lengths before the channel count of the records.
    EXPECT_EQ(volume_.ApplyVolume(&input, &shorter, records.data(), 1), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(volume_.ApplyVolume(&input, &longer, records.data(), 1), ZT_E_BUFFER_SIZE_MISMATCH);
    for (const FakeAudioSamples* output : {&mono, &shorter, &longer}) {
        EXPECT_TRUE(output->lengthsSet.empty());
    }
}

TEST_F(ApplyVolume, RejectsAnotherCountOfRecords)
{
    FakeAudioSamples input = RandomSamples(Format24In32(2), 6, 6);
    FakeAudioSamples output(Format24In32(2), 6, 6);
    Records records = Flat(4, 1.0f);
    EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), 1), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), 4), ZT_E_INVALID_PARAMETER);
    EXPECT_TRUE(output.lengthsSet.empty());
}

TEST_F(ApplyVolume, HasNoTableEntryFor24In24)
{
    for (std::uint32_t channels : {1u, 2u}) {
        FakeAudioSamples input = RandomSamples(WaveFormat(1, 24, 24, 48000, channels), 6, 6);
        FakeAudioSamples output(WaveFormat(1, 24, 24, 48000, channels), 6, 6);
        FakeAudioSamples wider = RandomSamples(Format24In32(channels), 6, 6);
        Records records = Flat(2, 1.0f);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), channels), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
        EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), 3 - channels), ZT_E_INVALID_PARAMETER);
        EXPECT_EQ(volume_.ApplyVolume(&input, &wider, records.data(), channels), ZT_E_BUFFER_FORMAT_MISMATCH);
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
}

TEST_F(ApplyVolume, RejectsASuccessfulQueryWithoutAPointer)
{
    for (const bool inputIsNull : {true, false}) {
        FakeAudioSamples input(WaveFormat(1, 32, 24, 48000, 8), 5, 5);
        FakeAudioSamples output = input;
        (inputIsNull ? input : output).data.clear();
        (inputIsNull ? input : output).data.shrink_to_fit();
        SZtAudioMonoVolumeInfo volumes[8] = {};
        EXPECT_EQ(CZtaApplyVolume().ApplyVolume(&input, &output, volumes, 8), ZT_E_INVALID_POINTER);
        EXPECT_TRUE(output.lengthsSet.empty());
    }
}

TEST_F(ApplyVolume, ReadsNoRecordsWithoutFrames)
{
    FakeAudioSamples input = RandomSamples(Format24In32(2), 0, 6);
    FakeAudioSamples output(Format24In32(2), 0, 6);
    output.length = 7;
    EXPECT_EQ(volume_.ApplyVolume(&input, &output, nullptr, 2), 0);
    EXPECT_EQ(output.lengthsSet, Lengths{0});
    EXPECT_EQ(WordsOf(output), Words(12));
}

TEST_F(ApplyVolume, SetsTheLengthEvenIfTheKernelSkipsTheFrames)
{
    FakeAudioSamples input = RandomSamples(Format24In32(1), 3, 3);
    FakeAudioSamples output(Format24In32(1), 3, 3);
    Records records = Flat(1, 1.0f);
    EXPECT_EQ(volume_.ApplyVolume(&input, &output, records.data(), 1), 0);
    EXPECT_EQ(WordsOf(output), Words(3));
    EXPECT_EQ(output.lengthsSet, Lengths{12});
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
