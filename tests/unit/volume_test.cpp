#include "kernels/volume.h"
#include "testing/fake_audio_samples.h"
#include "testing/models/gain_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

/// The tests' view of the block that a call leaves.
struct SZtLayoutProbe {
    static const std::int32_t* Settings(const CZtaApplyVolume& volume) { return volume.m_plVolumeSettings; }
};

namespace {

using Words = std::vector<std::uint32_t>;
using Records = std::vector<SZtAudioMonoVolumeInfo>;

constexpr int kInputFormatNotSupported = static_cast<int>(0x8999803B);
constexpr int kOutputFormatNotSupported = static_cast<int>(0x8999803C);
constexpr int kProcessingFormatNotSupported = static_cast<int>(0x8999803D);
constexpr int kDestinationTooSmall = static_cast<int>(0x8999803E);
constexpr int kSizeMismatch = static_cast<int>(0x8999803F);
constexpr int kFormatMismatch = static_cast<int>(0x89998040);
constexpr int kInvalidParameter = static_cast<int>(0x89998044);
constexpr int kInvalidPointer = static_cast<int>(0x89998045);
constexpr int kArrayTooSmall = static_cast<int>(0x89998071);

constexpr std::uint32_t kPoison = 0xA5A5A5A5;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct OpenApplyVolume : CZtaApplyVolume {
    using CZtaAudioProcessingUtil::m_psProcessingFormats;
};

using Kernel = int (CZtaApplyVolume::*)(void*, void*, SZtAudioMonoVolumeInfo*, unsigned long, unsigned long);
using K = CZtaApplyVolume;

struct Row {
    int property;
    unsigned long channels;
    Kernel kernel;
};

const Row kRows[] = {
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

const Row& RowOf(unsigned long channels)
{
    return *std::find_if(std::begin(kRows), std::end(kRows), [=](const Row& row) { return row.channels == channels; });
}

bool IsLeftAlone(unsigned long channels, std::size_t frames)
{
    return channels <= 4 && frames * channels / 4 % 65536 == 0;
}

/// What the kernel makes of the words.
Words Result(const Words& input, Records records)
{
    CZtaApplyVolume volume;
    Words in = input;
    Words output(input.size(), kPoison);
    EXPECT_EQ((volume.*RowOf(records.size()).kernel)(in.data(), output.data(), records.data(), records.size(),
                                                     input.size() / records.size()),
              0);
    EXPECT_EQ(in, input);
    return output;
}

// --- The samples -----------------------------------------------------------------------------------------------------

TEST(VolumeKernels, GiveEveryFrameItsGainAndTouchNoOtherWord)
{
    CZtaApplyVolume volume;
    for (const Row& row : kRows) {
        for (std::size_t frames = 0; frames <= 300; ++frames) {
            Records records = RandomRecords(row.channels);
            Words input = RandomWords(frames * row.channels);
            Words expected =
                IsLeftAlone(row.channels, frames) ? Words(input.size(), kPoison) : Expected(input, records);
            expected.resize(expected.size() + 9, kPoison);
            Words output(expected.size(), kPoison);
            ASSERT_EQ((volume.*row.kernel)(input.data(), output.data(), records.data(), row.channels, frames), 0);
            ASSERT_EQ(output, expected) << row.channels << " channels, " << frames << " frames";
        }
    }
}

TEST(VolumeKernels, WorkInPlace)
{
    CZtaApplyVolume volume;
    for (const Row& row : kRows) {
        for (std::size_t frames = 4; frames <= 100; ++frames) {
            Records records = RandomRecords(row.channels);
            Words samples = RandomWords(frames * row.channels);
            const Words expected = Expected(samples, records);
            ASSERT_EQ((volume.*row.kernel)(samples.data(), samples.data(), records.data(), row.channels, frames), 0);
            ASSERT_EQ(samples, expected) << row.channels << " channels, " << frames << " frames";
        }
    }
}

TEST(VolumeKernels, KeepTheChannelsOfManyFramesSeparate)
{
    for (const Row& row : kRows) {
        for (std::size_t frames : {4096ul, 8191ul, 40000ul}) {
            const Records records = RandomRecords(row.channels);
            const Words input = RandomWords(frames * row.channels);
            ASSERT_EQ(Result(input, records), Expected(input, records)) << row.channels << " channels";
        }
    }
}

TEST(VolumeKernels, KeepAllButTheLowByteAtUnity)
{
    for (const Row& row : kRows) {
        Words input = RandomWords(64 * row.channels);
        Words expected = input;
        for (std::uint32_t& word : expected) {
            word &= 0xFFFFFF00;
        }
        input[5] = expected[5] = 0x12345600;
        EXPECT_EQ(Result(input, Flat(row.channels, 1.0f)), expected);
    }
}

TEST(VolumeKernels, IgnoreTheLowestFiveBits)
{
    const Words input = RandomWords(256);
    Words other = input;
    for (std::uint32_t& word : other) {
        word ^= static_cast<std::uint32_t>(Random()()) & 0x1F;
    }
    EXPECT_EQ(Result(input, Flat(4, 7.3f)), Result(other, Flat(4, 7.3f)));
    EXPECT_NE(Result({0x40, 0, 0, 0x40}, Flat(1, 7.9f)), Result({0x60, 0, 0, 0x60}, Flat(1, 7.9f)));
}

TEST(VolumeKernels, SilenceAllWordsAtAGainOfZero)
{
    Words input = RandomWords(256);
    input[0] = 0x80000000;
    input[1] = 0x7FFFFFFF;
    input[2] = 0xFFFFFFFF;
    for (float zero : {0.0f, -0.0f, std::numeric_limits<float>::denorm_min(), 0.000244f}) {
        EXPECT_EQ(Result(input, Flat(2, zero)), Words(256));
    }
}

TEST(VolumeKernels, ReachJustBelowEightWithoutSaturation)
{
    for (const Row& row : kRows) {
        const Words input(4 * row.channels, 0x01000000);
        EXPECT_EQ(Result(input, Flat(row.channels, 8.0f)), Words(input.size(), 0x07FFF000));
    }
}

TEST(VolumeKernels, SaturateAtBothEnds)
{
    for (const Row& row : kRows) {
        Words input;
        Words expected;
        for (unsigned long i = 0; i < row.channels; ++i) {
            input.insert(input.end(), {0x7FFFFF00, 0x80000000, 0x10004000, 0xF0000000});
            expected.insert(expected.end(), {0x7FFFFF00, 0x80000000, 0x7FFFFF00, 0x80010000});
        }
        EXPECT_EQ(Result(input, Flat(row.channels, 8.0f)), expected) << row.channels << " channels";
    }
    // The largest products that need no limit, and the first that do.
    for (std::uint32_t word : {0x3FFFFFFFu, 0x40000000u, 0xC0000000u, 0xBFFFFFFFu, 0x3FFFFF00u, 0x40000040u}) {
        const std::uint32_t result = Result(Words(4, word), Flat(4, 2.0f)).front();
        EXPECT_EQ(result, models::Scaled(word, 8192));
        EXPECT_EQ(result >> 31, word >> 31);
    }
    EXPECT_EQ(Result(Words(4, 0x40000000), Flat(4, 2.0f)).front(), 0x7FFFFF00u);
    EXPECT_EQ(Result(Words(4, 0xC0000000), Flat(4, 2.0f)).front(), 0x80000000u);
}

TEST(VolumeKernels, LoseAStepBelowOnePart)
{
    const Words input = RandomWords(8192);
    EXPECT_EQ(Result(input, {{0, 0.0f, 1.0f}}), Words(8192));
    // One frame less, and the step is one part.
    const Words shorter(input.begin(), input.begin() + 4096);
    EXPECT_EQ(Result(shorter, {{0, 0.0f, 1.0f}}).back(), models::Scaled(shorter.back(), 4095));
}

TEST(VolumeKernels, ReachTheEndGainInNoFrame)
{
    Words input(1024, 0x40000000);
    const Words output = Result(input, {{0, 1.0f, 0.0f}});
    EXPECT_EQ(output.front(), 0x40000000u);
    EXPECT_EQ(output[1], models::Scaled(0x40000000, 4092));
    EXPECT_EQ(output.back(), models::Scaled(0x40000000, 4));
    EXPECT_EQ(output.back(), 0x40000000u / 1024);
}

TEST(VolumeKernels, ComputeStepsInSinglePrecision)
{
    // 7.9 - 0.6771 rounds down to a single; the exact difference would give a step of 5917.
    const Words output = Result(Words(4 * 5, 0x10000000), Records(4, {0, 0.6771f, 7.9f}));
    EXPECT_EQ(output[0], models::Scaled(0x10000000, 2773));
    EXPECT_EQ(output[16], models::Scaled(0x10000000, 2773 + 4 * 5916));
}

TEST(VolumeKernels, StayWithinTheirMultiplierAtTheSteepestRamps)
{
    for (const Row& row : kRows) {
        for (std::size_t frames : {4ul, 5ul, 7ul, 8ul, 511ul, 32767ul, 32768ul}) {
            Records records(row.channels);
            for (unsigned long i = 0; i < row.channels; ++i) {
                records[i] = i % 2 == 0 ? SZtAudioMonoVolumeInfo{0, 0.0f, 8.0f} : SZtAudioMonoVolumeInfo{0, 8.0f, 0.0f};
            }
            const Words input = RandomWords(frames * row.channels);
            for (std::size_t frame : {std::size_t{0}, frames - 1}) {
                for (const SZtAudioMonoVolumeInfo& record : records) {
                    ASSERT_GE(models::RampGain(record, frame, frames), 0);
                    ASSERT_LE(models::RampGain(record, frame, frames), 32767);
                }
            }
            ASSERT_EQ(Result(input, records), Expected(input, records)) << row.channels << ", " << frames;
        }
    }
}

TEST(VolumeKernels, AcceptEveryGainBelowEight)
{
    const float below = std::nextafter(8.0f, 0.0f);
    const Words input = RandomWords(64);
    Words expected;
    for (std::uint32_t word : input) {
        expected.push_back(models::Scaled(word, 32767));
    }
    EXPECT_EQ(Result(input, Flat(4, below)), expected);
}

TEST(VolumeKernels, UseTheLowBitsOfANan)
{
    const Words input = RandomWords(64);
    EXPECT_EQ(Result(input, {{0, kNan, 1.0f}}), Words(64));
    EXPECT_EQ(Result(input, {{0, kNan, kNan}}), Words(64));
    EXPECT_EQ(Result(input, {{0, 2.0f, kNan}}), Expected(input, Flat(1, 2.0f)));
    Records records = Flat(8, 3.0f);
    records[6].fEndVolume = kNan;
    EXPECT_EQ(Result(input, records), Expected(input, Flat(8, 3.0f)));
}

TEST(VolumeKernels, DoTheRestOfAStepWithTheGainsOfItsFrames)
{
    const Words input(10, 0x40000000);
    const Words output = Result(input, {{0, 1.0f, 2.0f}, {0, 2.0f, 1.0f}});
    EXPECT_EQ(output[8], models::Scaled(0x40000000, 4096 + 4 * 819));
    EXPECT_EQ(output[9], models::Scaled(0x40000000, 8192 - 4 * 819));
}

TEST(VolumeKernels, LeaveABufferOfLessThanOneStepAlone)
{
    for (std::size_t frames : {1ul, 2ul, 3ul}) {
        EXPECT_EQ(Result(RandomWords(frames), Flat(1, 1.0f)), Words(frames, kPoison));
    }
    EXPECT_EQ(Result(RandomWords(2), Flat(2, 1.0f)), Words(2, kPoison));
    EXPECT_NE(Result(RandomWords(4), Flat(1, 1.0f)), Words(4, kPoison));
    EXPECT_NE(Result(RandomWords(4), Flat(2, 1.0f)), Words(4, kPoison));
    EXPECT_NE(Result(RandomWords(4), Flat(4, 1.0f)), Words(4, kPoison));
}

TEST(VolumeKernels, LeaveABufferAloneWhoseStepsAreAMultipleOf65536)
{
    CZtaApplyVolume volume;
    Words samples = RandomWords((2 * 65536 + 2) * 4);
    for (unsigned long channels : {1ul, 2ul, 4ul}) {
        const std::size_t framesPerStep = 4 / channels;
        for (std::size_t steps : {65536ul, 2 * 65536ul}) {
            for (std::size_t rest = 0; rest < framesPerStep; ++rest) {
                const Words input(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(
                                                                         (steps * framesPerStep + rest) * channels));
                EXPECT_EQ(Result(input, Flat(channels, 0.5f)), Words(input.size(), kPoison));
            }
            const Words input(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>((steps + 1) * 4));
            EXPECT_EQ(Result(input, Flat(channels, 0.5f)), Expected(input, Flat(channels, 0.5f)));
        }
    }
    const Words input(samples.begin(), samples.begin() + 65536 * 8); // no other kernel counts like that
    EXPECT_EQ(Result(input, Flat(8, 0.5f)), Expected(input, Flat(8, 0.5f)));
    EXPECT_EQ(Result(input, Flat(16, 0.5f)), Expected(input, Flat(16, 0.5f)));
}

// --- The kernels' checks ---------------------------------------------------------------------------------------------

TEST(VolumeKernels, ValidateNothingWithoutFrames)
{
    CZtaApplyVolume volume;
    for (Kernel kernel : kKernels) {
        EXPECT_EQ((volume.*kernel)(nullptr, nullptr, nullptr, 3, 0), 0);
    }
}

TEST(VolumeKernels, AcceptTheChannelCountsInTheirNamesOnly)
{
    CZtaApplyVolume volume;
    for (Kernel kernel : kKernels) {
        for (unsigned long channels = 0; channels <= 130; ++channels) {
            const bool isRow = std::any_of(std::begin(kRows), std::end(kRows), [=](const Row& row) {
                return row.kernel == kernel && row.channels == channels;
            });
            Records records = Flat(std::max(channels, 1ul), 1.0f);
            Words input = RandomWords(4 * std::max(channels, 1ul));
            Words output(input.size(), kPoison);
            EXPECT_EQ((volume.*kernel)(input.data(), output.data(), records.data(), channels, 4),
                      isRow ? 0 : kInvalidParameter)
                << channels;
            EXPECT_EQ(output == Words(input.size(), kPoison), !isRow) << channels;
        }
        // Before the pointers.
        EXPECT_EQ((volume.*kernel)(nullptr, nullptr, nullptr, 3, 4), kInvalidParameter);
    }
}

TEST(VolumeKernels, RejectNullSamplesThenNullRecords)
{
    CZtaApplyVolume volume;
    Words words(256, kPoison);
    for (const Row& row : kRows) {
        Records bad = Flat(row.channels, 9.0f);
        EXPECT_EQ((volume.*row.kernel)(nullptr, words.data(), bad.data(), row.channels, 4), kInvalidPointer);
        EXPECT_EQ((volume.*row.kernel)(words.data(), nullptr, bad.data(), row.channels, 4), kInvalidPointer);
        EXPECT_EQ((volume.*row.kernel)(words.data(), words.data(), nullptr, row.channels, 4), kInvalidPointer);
    }
    EXPECT_EQ(words, Words(256, kPoison));
}

TEST(VolumeKernels, RejectAGainOutOfRangeAndWriteNothing)
{
    CZtaApplyVolume volume;
    for (const Row& row : kRows) {
        for (std::size_t frames : {1ul, 4ul}) { // also where the samples would be left alone
            Words input = RandomWords(frames * row.channels);
            Words output(input.size(), kPoison);
            Records records = Flat(row.channels, 1.0f);
            records.back().fEndVolume = 8.5f;
            EXPECT_EQ((volume.*row.kernel)(input.data(), output.data(), records.data(), row.channels, frames),
                      kInvalidParameter);
            EXPECT_EQ(output, Words(output.size(), kPoison));
        }
    }
}

// --- The settings ----------------------------------------------------------------------------------------------------

TEST(VolumeSettings, NeedRecordsThenChannels)
{
    CZtaApplyVolume volume;
    Records records = Flat(1, 1.0f);
    EXPECT_EQ(volume.SetVolumeSettings(nullptr, 1, 10), kInvalidPointer);
    EXPECT_EQ(volume.SetVolumeSettings(nullptr, 0, 10), kInvalidPointer);
    EXPECT_EQ(volume.SetVolumeSettings(records.data(), 0, 10), kArrayTooSmall);
}

TEST(VolumeSettings, AcceptGainsFromZeroToEight)
{
    CZtaApplyVolume volume;
    const float above = std::nextafter(8.0f, 9.0f);
    const float below = -std::numeric_limits<float>::denorm_min();
    const float infinity = std::numeric_limits<float>::infinity();
    for (float SZtAudioMonoVolumeInfo::*field :
         {&SZtAudioMonoVolumeInfo::fStartVolume, &SZtAudioMonoVolumeInfo::fEndVolume}) {
        for (float bad : {above, 8.5f, below, -1.0f, infinity, -infinity}) {
            for (std::size_t at : {0ul, 63ul}) {
                Records records = Flat(64, 1.0f);
                records[at].*field = bad;
                EXPECT_EQ(volume.SetVolumeSettings(records.data(), 64, 10), kInvalidParameter) << bad;
                EXPECT_EQ(records[at].*field, bad);
            }
        }
        for (float good : {0.0f, -0.0f, 8.0f, 1.0f, kNan}) {
            Records records = Flat(1, 1.0f);
            records[0].*field = good;
            EXPECT_EQ(volume.SetVolumeSettings(records.data(), 1, 10), 0) << good;
        }
    }
}

TEST(VolumeSettings, ReplaceEightInTheCallersRecords)
{
    CZtaApplyVolume volume;
    Records records = {{7, 8.0f, 1.0f}, {8, 1.0f, 8.0f}, {9, 8.0f, 8.0f}, {10, 7.5f, std::nextafter(8.0f, 0.0f)}};
    EXPECT_EQ(volume.SetVolumeSettings(records.data(), 4, 10), 0);
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

TEST(VolumeSettings, KeepTheReplacementsBeforeARecordThatFails)
{
    CZtaApplyVolume volume;
    Records records = Flat(4, 8.0f);
    records[2].fEndVolume = 9.0f;
    EXPECT_EQ(volume.SetVolumeSettings(records.data(), 4, 10), kInvalidParameter);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(records[i].fStartVolume, i < 2 ? models::LargestGainBelow8(8.0f) : 8.0f) << i;
    }
    EXPECT_EQ(records[1].fEndVolume, models::LargestGainBelow8(8.0f));
}

TEST(VolumeSettings, ReadAllRecordsBeforeTheCountCheck)
{
    CZtaApplyVolume volume;
    for (unsigned long channels = 1; channels <= 130; ++channels) {
        Records records = Flat(channels, 8.0f);
        const bool isRow =
            std::any_of(std::begin(kRows), std::end(kRows), [=](const Row& row) { return row.channels == channels; });
        EXPECT_EQ(volume.SetVolumeSettings(records.data(), channels, 10), isRow ? 0 : kInvalidParameter) << channels;
        EXPECT_EQ(records.back().fEndVolume, models::LargestGainBelow8(8.0f));
    }
}

// --- The operation ---------------------------------------------------------------------------------------------------

FakeAudioSamples Filled(const SZtaWaveFormatInfo& format, unsigned long valid, unsigned long capacity)
{
    FakeAudioSamples samples(format, valid, capacity);
    std::generate(samples.data.begin(), samples.data.end(), [] { return static_cast<std::uint8_t>(Random()()); });
    return samples;
}

Words WordsOf(const FakeAudioSamples& samples)
{
    Words words(samples.data.size() / 4);
    std::memcpy(words.data(), samples.data.data(), words.size() * 4);
    return words;
}

using Calls = std::vector<std::string>;
const Calls kDigest = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"};
const Calls kDigestAndLength = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity", "SetLength"};

using Status = int FakeAudioSamples::*;
constexpr Status kDigestCalls[] = {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                   &FakeAudioSamples::capacityStatus};

TEST(ApplyVolume, HasItsTableEntriesInOrder)
{
    OpenApplyVolume volume;
    ASSERT_EQ(volume.m_psProcessingFormats->iFormatCount, 7);
    for (int i = 0; i < 7; ++i) {
        const SZtAProcessingFormatAndFunctionIndex& row = volume.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(row.eInputFormat), kRows[i].property);
        EXPECT_EQ(static_cast<int>(row.eOutputFormat), kRows[i].property);
        EXPECT_EQ(row.iFunctionIndex, i);
    }
}

TEST(ApplyVolume, ScalesEachFormatOfItsTableAndSetsTheOutputsLength)
{
    CZtaApplyVolume volume;
    for (const Row& row : kRows) {
        FakeAudioSamples input = Filled(Format24In32(row.channels), 11, 11);
        FakeAudioSamples output(Format24In32(row.channels), 11, 20);
        output.length += row.channels; // less than a frame
        Records records = RandomRecords(row.channels);
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), row.channels), 0);
        Words expected = Expected(WordsOf(input), records);
        expected.resize(20 * row.channels);
        EXPECT_EQ(WordsOf(output), expected) << row.channels;
        EXPECT_EQ(output.lengthsSet, std::vector<unsigned long>{11 * 4 * row.channels});
        EXPECT_EQ(input.calls, kDigest);
        EXPECT_EQ(output.calls, kDigestAndLength);
        EXPECT_EQ(input.descriptionSizes, std::vector<std::uint32_t>{40});
        EXPECT_EQ(output.descriptionSizes, std::vector<std::uint32_t>{40});
    }
}

TEST(ApplyVolume, ScalesABufferInPlace)
{
    CZtaApplyVolume volume;
    for (const Row& row : kRows) {
        FakeAudioSamples samples = Filled(Format24In32(row.channels), 50, 50);
        Records records = RandomRecords(row.channels);
        const Words expected = Expected(WordsOf(samples), records);
        EXPECT_EQ(volume.ApplyVolume(&samples, &samples, records.data(), row.channels), 0);
        EXPECT_EQ(WordsOf(samples), expected);
        EXPECT_EQ(samples.lengthsSet, std::vector<unsigned long>{200 * row.channels});
    }
}

TEST(ApplyVolume, KeepsNoStateBetweenCalls)
{
    CZtaApplyVolume volume;
    for (unsigned long channels : {64ul, 1ul, 16ul, 8ul, 2ul, 32ul, 4ul, 64ul, 64ul}) {
        FakeAudioSamples input = Filled(Format24In32(channels), 12, 12);
        FakeAudioSamples output(Format24In32(channels), 12, 12);
        Records records = RandomRecords(channels);
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), channels), 0);
        EXPECT_EQ(WordsOf(output), Expected(WordsOf(input), records));
    }
}

TEST(ApplyVolume, RejectsChannelCountsBeforeTheBuffers)
{
    CZtaApplyVolume volume;
    Records records = Flat(65, 1.0f);
    for (unsigned long channels : {0ul, 65ul, 1000ul}) {
        EXPECT_EQ(volume.ApplyVolume(nullptr, nullptr, records.data(), channels), kInvalidParameter);
    }
}

TEST(ApplyVolume, TurnsFailuresOfTheQueriesIntoOneCode)
{
    CZtaApplyVolume volume;
    for (Status call : kDigestCalls) {
        for (bool ofInput : {true, false}) {
            FakeAudioSamples input = Filled(Format24In32(2), 6, 6);
            FakeAudioSamples output(Format24In32(2), 6, 6);
            Records records = Flat(2, 1.0f);
            (ofInput ? input : output).*call = -77;
            EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 2), kInvalidParameter);
            EXPECT_EQ(input.calls.empty(), !ofInput); // the output comes first
            EXPECT_EQ(WordsOf(output), Words(12));
            EXPECT_TRUE(output.lengthsSet.empty());

            (ofInput ? input : output).*call = 5; // any status from 0 up is success
            EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 2), 0);
        }
    }
}

TEST(ApplyVolume, TurnsFormatsThatCannotBeClassifiedIntoTheSameCode)
{
    CZtaApplyVolume volume;
    for (bool badInput : {true, false}) {
        FakeAudioSamples input = Filled(Format24In32(2), 6, 6);
        FakeAudioSamples output(Format24In32(2), 6, 6);
        Records records = Flat(2, 1.0f);
        (badInput ? input : output).format.ulValidBitsPerSample = 23;
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 2), kInvalidParameter);
        EXPECT_EQ(input.calls.empty(), !badInput);
    }
}

TEST(ApplyVolume, RejectsOtherFormatsTheOutputsFirst)
{
    CZtaApplyVolume volume;
    std::vector<SZtaWaveFormatInfo> others;
    for (std::uint32_t channels : {1u, 2u, 4u, 8u, 16u, 32u, 64u}) {
        others.push_back(WaveFormat(1, 16, 16, 48000, channels));
        if (channels > 2) {
            others.push_back(WaveFormat(1, 24, 24, 48000, channels));
        }
    }
    for (std::uint32_t channels : {1u, 2u}) {
        others.push_back(WaveFormat(1, 16, 16, 44100, channels));
        others.push_back(WaveFormat(2, 32, 32, 48000, channels));
        others.push_back(WaveFormat(1, 32, 24, 96000, channels)); // 24-in-32, but of no row
    }
    for (const SZtaWaveFormatInfo& other : others) {
        FakeAudioSamples fitting = Filled(Format24In32(1), 6, 6);
        FakeAudioSamples input = Filled(other, 6, 6);
        FakeAudioSamples output = Filled(other, 6, 6);
        Records records = Flat(64, 1.0f);
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 1), kOutputFormatNotSupported);
        EXPECT_TRUE(input.calls.empty());
        EXPECT_EQ(volume.ApplyVolume(&fitting, &output, records.data(), 1), kOutputFormatNotSupported);
        EXPECT_EQ(volume.ApplyVolume(&input, &fitting, records.data(), 1), kInputFormatNotSupported);
    }
}

TEST(ApplyVolume, RejectsBuffersThatDifferFormatsBeforeLengths)
{
    CZtaApplyVolume volume;
    FakeAudioSamples input = Filled(Format24In32(2), 6, 8);
    FakeAudioSamples mono = Filled(Format24In32(1), 7, 8);
    FakeAudioSamples shorter = Filled(Format24In32(2), 5, 8);
    FakeAudioSamples longer = Filled(Format24In32(2), 7, 8);
    Records records = Flat(2, 1.0f);
    EXPECT_EQ(volume.ApplyVolume(&input, &mono, records.data(), 2), kFormatMismatch);
    // Lengths before the channel count of the records.
    EXPECT_EQ(volume.ApplyVolume(&input, &shorter, records.data(), 1), kDestinationTooSmall);
    EXPECT_EQ(volume.ApplyVolume(&input, &longer, records.data(), 1), kSizeMismatch);
    for (const FakeAudioSamples* output : {&mono, &shorter, &longer}) {
        EXPECT_TRUE(output->lengthsSet.empty());
    }
}

TEST(ApplyVolume, RejectsAnotherCountOfRecords)
{
    CZtaApplyVolume volume;
    FakeAudioSamples input = Filled(Format24In32(2), 6, 6);
    FakeAudioSamples output(Format24In32(2), 6, 6);
    Records records = Flat(4, 1.0f);
    EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 1), kInvalidParameter);
    EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 4), kInvalidParameter);
    EXPECT_TRUE(output.lengthsSet.empty());
}

TEST(ApplyVolume, HasNoTableEntryFor24In24)
{
    CZtaApplyVolume volume;
    for (std::uint32_t channels : {1u, 2u}) {
        FakeAudioSamples input = Filled(WaveFormat(1, 24, 24, 48000, channels), 6, 6);
        FakeAudioSamples output(WaveFormat(1, 24, 24, 48000, channels), 6, 6);
        FakeAudioSamples wider = Filled(Format24In32(channels), 6, 6);
        Records records = Flat(2, 1.0f);
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), channels), kProcessingFormatNotSupported);
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 3 - channels), kInvalidParameter);
        EXPECT_EQ(volume.ApplyVolume(&input, &wider, records.data(), channels), kFormatMismatch);
        EXPECT_TRUE(output.lengthsSet.empty());
    }
}

TEST(ApplyVolume, PassesOnTheFailuresOfAKernelWithoutSettingTheLength)
{
    CZtaApplyVolume volume;
    FakeAudioSamples input = Filled(Format24In32(2), 6, 6);
    FakeAudioSamples output(Format24In32(2), 6, 6);
    EXPECT_EQ(volume.ApplyVolume(&input, &output, nullptr, 2), kInvalidPointer);
    Records records = Flat(2, 8.0f);
    records[1].fStartVolume = 8.5f;
    EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 2), kInvalidParameter);
    EXPECT_EQ(records[0].fStartVolume, models::LargestGainBelow8(8.0f));
    EXPECT_EQ(WordsOf(output), Words(12));
    EXPECT_TRUE(output.lengthsSet.empty());
}

TEST(ApplyVolume, RejectsASuccessfulQueryWithoutAPointer)
{
    for (const bool inputIsNull : {true, false}) {
        FakeAudioSamples input(WaveFormat(1, 32, 24, 48000, 8), 5, 5);
        FakeAudioSamples output = input;
        (inputIsNull ? input : output).data.clear();
        (inputIsNull ? input : output).data.shrink_to_fit();
        SZtAudioMonoVolumeInfo volumes[8] = {};
        EXPECT_EQ(CZtaApplyVolume().ApplyVolume(&input, &output, volumes, 8), static_cast<int>(0x89998045));
        EXPECT_TRUE(output.lengthsSet.empty());
    }
}

TEST(ApplyVolume, ReadsNoRecordsWithoutFrames)
{
    CZtaApplyVolume volume;
    FakeAudioSamples input = Filled(Format24In32(2), 0, 6);
    FakeAudioSamples output(Format24In32(2), 0, 6);
    output.length = 7;
    EXPECT_EQ(volume.ApplyVolume(&input, &output, nullptr, 2), 0);
    EXPECT_EQ(output.lengthsSet, std::vector<unsigned long>{0});
    EXPECT_EQ(WordsOf(output), Words(12));
}

TEST(ApplyVolume, SetsTheLengthThoughTheKernelLeftThreeFramesAlone)
{
    CZtaApplyVolume volume;
    FakeAudioSamples input = Filled(Format24In32(1), 3, 3);
    FakeAudioSamples output(Format24In32(1), 3, 3);
    Records records = Flat(1, 1.0f);
    EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 1), 0);
    EXPECT_EQ(WordsOf(output), Words(3));
    EXPECT_EQ(output.lengthsSet, std::vector<unsigned long>{12});
}

TEST(ApplyVolume, EndsWithTheStatusOfSettingTheLength)
{
    CZtaApplyVolume volume;
    for (int status : {-5, 3}) {
        FakeAudioSamples input = Filled(Format24In32(8), 4, 4);
        FakeAudioSamples output(Format24In32(8), 4, 4);
        output.setLengthStatus = status;
        Records records = Flat(8, 0.25f);
        EXPECT_EQ(volume.ApplyVolume(&input, &output, records.data(), 8), status);
        EXPECT_EQ(WordsOf(output), Expected(WordsOf(input), records));
    }
}

TEST(VolumeSettings, OfNoFramesHaveStepsThatNoLaneHolds)
{
    // Rises by infinity, falls by infinity, and NaN: all three become the value for "does not fit".
    for (const auto& [start, end] : {std::pair{1.0f, 2.0f}, {2.0f, 1.0f}, {1.0f, 1.0f}}) {
        CZtaApplyVolume volume;
        Records records(4, {0, start, end});
        EXPECT_EQ(volume.SetVolumeSettings(records.data(), 4, 0), 0);
        const std::int32_t* const lanes = SZtLayoutProbe::Settings(volume);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(lanes[i], static_cast<std::int32_t>(start * 4096.0f));
            EXPECT_EQ(lanes[4 + i], std::numeric_limits<std::int32_t>::min());
        }
    }
}

} // namespace
