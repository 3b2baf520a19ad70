#include "kernels/mono_to_stereo.h"
#include "kernels/stereo_to_mono.h"
#include "testing/fake_audio_samples.h"
#include "testing/guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <thread>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kFormatNotSupported = static_cast<int>(0x8999803A);
constexpr int kProcessingFormatNotSupported = static_cast<int>(0x8999803D);
constexpr int kDestinationTooSmall = static_cast<int>(0x8999803E);
constexpr int kSizeMismatch = static_cast<int>(0x8999803F);
constexpr int kFormatMismatch = static_cast<int>(0x89998040);
constexpr int kInvalidParameter = static_cast<int>(0x89998044);
constexpr int kInvalidPointer = static_cast<int>(0x89998045);
constexpr std::uint8_t kPoison = 0xA5;

struct OpenMonoToStereo : CZtaConvertMonoToStereo {
    using CZtaAudioProcessingUtil::m_psProcessingFormats;
};
struct OpenStereoToMono : CZtaConvertStereoToMono {
    using CZtaAudioProcessingUtil::m_psProcessingFormats;
};

using Interleave = int (CZtaConvertMonoToStereo::*)(unsigned long, void*, void*, void*);
using Split = int (CZtaConvertStereoToMono::*)(unsigned long, void*, void*, void*);

/// One row of both classes.
struct Row {
    int mono;
    int stereo;
    SZtaWaveFormatInfo monoFormat;
    SZtaWaveFormatInfo stereoFormat;
    Interleave interleave;
    Split split;
    std::size_t bytes; ///< of a sample
};

using M = CZtaConvertMonoToStereo;
using S = CZtaConvertStereoToMono;
// clang-format off
const Row kRows[] = {
    { 1,  2, WaveFormat(1, 16, 16, 48000, 1), WaveFormat(1, 16, 16, 48000, 2), &M::ConvertMonoToStereo16,     &S::ConvertStereoToMono16,     2},
    {18, 19, WaveFormat(1, 16, 16, 44100, 1), WaveFormat(1, 16, 16, 44100, 2), &M::ConvertMonoToStereo16,     &S::ConvertStereoToMono16,     2},
    { 8,  9, WaveFormat(1, 32, 24, 48000, 1), WaveFormat(1, 32, 24, 48000, 2), &M::ConvertMonoToStereo24in32, &S::ConvertStereoToMono24in32, 4},
    {20, 21, WaveFormat(1, 24, 24, 48000, 1), WaveFormat(1, 24, 24, 48000, 2), &M::ConvertMonoToStereo24in24, &S::ConvertStereoToMono24in24, 3},
};
// clang-format on
const Row& k16 = kRows[0];
const Row& k24In32 = kRows[2];
const Row& k24In24 = kRows[3];

Bytes RandomBytes(std::size_t count)
{
    static std::mt19937 random(26);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

/// Byte k of a sample of one side lies at this place of the stereo buffer.
std::size_t StereoPlace(std::size_t sample, std::size_t side, std::size_t k, std::size_t bytes)
{
    return (2 * sample + side) * bytes + k;
}

/// An empty side reads as silence.
Bytes Interleaved(const Bytes& left, const Bytes& right, std::size_t frames, std::size_t bytes)
{
    Bytes stereo(frames * 2 * bytes);
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t k = 0; k < bytes; ++k) {
            stereo[StereoPlace(i, 0, k, bytes)] = left.empty() ? std::uint8_t{0} : left[i * bytes + k];
            stereo[StereoPlace(i, 1, k, bytes)] = right.empty() ? std::uint8_t{0} : right[i * bytes + k];
        }
    }
    return stereo;
}

Bytes SideOf(const Bytes& stereo, std::size_t side, std::size_t frames, std::size_t bytes)
{
    Bytes mono(frames * bytes);
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t k = 0; k < bytes; ++k) {
            mono[i * bytes + k] = stereo[StereoPlace(i, side, k, bytes)];
        }
    }
    return mono;
}

/// What should lie in a buffer of which only the first bytes are written.
Bytes InPoison(Bytes bytes, std::size_t size)
{
    bytes.resize(size, kPoison);
    return bytes;
}

FakeAudioSamples Filled(const SZtaWaveFormatInfo& format, unsigned long valid, unsigned long capacity)
{
    FakeAudioSamples samples(format, valid, capacity);
    samples.data = RandomBytes(samples.data.size());
    return samples;
}

using Calls = std::vector<std::string>;
const Calls kDigest = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"};
const Calls kDigestAndLength = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity", "SetLength"};

using Status = int FakeAudioSamples::*;
constexpr Status kDigestCalls[] = {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                   &FakeAudioSamples::capacityStatus};

// --- Tables ----------------------------------------------------------------------------------------------------------

TEST(MonoStereoTables, HaveTheirTableEntriesInOrder)
{
    OpenMonoToStereo interleaver;
    OpenStereoToMono splitter;
    ASSERT_EQ(interleaver.m_psProcessingFormats->iFormatCount, 4);
    ASSERT_EQ(splitter.m_psProcessingFormats->iFormatCount, 4);
    for (int i = 0; i < 4; ++i) {
        const SZtAProcessingFormatAndFunctionIndex& in = interleaver.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(in.eInputFormat), kRows[i].mono);
        EXPECT_EQ(static_cast<int>(in.eOutputFormat), kRows[i].stereo);
        EXPECT_EQ(in.iFunctionIndex, i);
        const SZtAProcessingFormatAndFunctionIndex& out = splitter.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(out.eInputFormat), kRows[i].stereo);
        EXPECT_EQ(static_cast<int>(out.eOutputFormat), kRows[i].mono);
        EXPECT_EQ(out.iFunctionIndex, i);
    }
}

TEST(MonoStereoTables, ReportWhichPairsTheySupport)
{
    CZtaConvertMonoToStereo interleaver;
    CZtaConvertStereoToMono splitter;
    for (Row row : kRows) {
        bool supported = false;
        EXPECT_EQ(interleaver.QueryFormatSupported(&row.monoFormat, &row.stereoFormat, &supported), 0);
        EXPECT_TRUE(supported);
        EXPECT_EQ(interleaver.QueryFormatSupported(&row.stereoFormat, &row.monoFormat, &supported), 0);
        EXPECT_FALSE(supported);
        EXPECT_EQ(splitter.QueryFormatSupported(&row.stereoFormat, &row.monoFormat, &supported), 0);
        EXPECT_TRUE(supported);
        EXPECT_EQ(splitter.QueryFormatSupported(&row.monoFormat, &row.stereoFormat, &supported), 0);
        EXPECT_FALSE(supported);
    }
    SZtaWaveFormatInfo unknown = WaveFormat(1, 8, 8, 48000, 1);
    SZtaWaveFormatInfo stereo = k16.stereoFormat;
    bool supported = true;
    EXPECT_EQ(interleaver.QueryFormatSupported(&unknown, &stereo, &supported), kFormatNotSupported);
    EXPECT_FALSE(supported);
    supported = true;
    EXPECT_EQ(splitter.QueryFormatSupported(&stereo, &unknown, &supported), kFormatNotSupported);
    EXPECT_FALSE(supported);
}

TEST(MonoStereoTables, SuggestTheOtherFormatOfATableEntry)
{
    CZtaConvertMonoToStereo interleaver;
    CZtaConvertStereoToMono splitter;
    SZtaWaveFormatInfo mono16 = k16.monoFormat;
    SZtaWaveFormatInfo stereo24 = k24In32.stereoFormat;
    SZtaWaveFormatInfo in{};
    SZtaWaveFormatInfo out{};
    EXPECT_EQ(interleaver.SuggestFormat(&mono16, &stereo24, &in, &out), 0); // keeps the output
    EXPECT_EQ(in.ulBitsPerSample, 32u);
    EXPECT_EQ(in.ulChannels, 1u);
    EXPECT_EQ(out.ulBitsPerSample, 32u);
    EXPECT_EQ(out.ulChannels, 2u);
    EXPECT_EQ(splitter.SuggestFormat(&stereo24, &mono16, &in, &out), 0);
    EXPECT_EQ(in.ulBitsPerSample, 16u);
    EXPECT_EQ(in.ulChannels, 2u);
    EXPECT_EQ(out.ulBitsPerSample, 16u);
    EXPECT_EQ(out.ulChannels, 1u);
}

// --- The kernels that interleave -------------------------------------------------------------------------------------

TEST(MonoToStereoKernels, InterleaveAnyCountOfFramesAndTouchNoOtherByte)
{
    CZtaConvertMonoToStereo interleaver;
    for (const Row& row : kRows) {
        for (std::size_t frames = row.bytes == 3 ? 1 : 0; frames <= 300; ++frames) {
            Bytes left = RandomBytes(frames * row.bytes + 1);
            Bytes right = RandomBytes(frames * row.bytes + 1);
            Bytes stereo((frames + 9) * 2 * row.bytes, kPoison);
            ASSERT_EQ((interleaver.*row.interleave)(frames, left.data(), right.data(), stereo.data()), 0);
            ASSERT_EQ(stereo, InPoison(Interleaved(left, right, frames, row.bytes), stereo.size()))
                << row.mono << ": " << frames;
        }
    }
}

TEST(MonoToStereoKernels, ReadANullInputAsSilence)
{
    CZtaConvertMonoToStereo interleaver;
    for (const Row& row : kRows) {
        for (std::size_t frames : {std::size_t{1}, std::size_t{7}, std::size_t{100}}) {
            Bytes mono = RandomBytes(frames * row.bytes);
            Bytes stereo(frames * 2 * row.bytes, kPoison);
            EXPECT_EQ((interleaver.*row.interleave)(frames, mono.data(), nullptr, stereo.data()), 0);
            EXPECT_EQ(stereo, Interleaved(mono, {}, frames, row.bytes));
            EXPECT_EQ((interleaver.*row.interleave)(frames, nullptr, mono.data(), stereo.data()), 0);
            EXPECT_EQ(stereo, Interleaved({}, mono, frames, row.bytes));
            EXPECT_EQ((interleaver.*row.interleave)(frames, nullptr, nullptr, stereo.data()), 0);
            EXPECT_EQ(stereo, Bytes(stereo.size()));
        }
    }
}

TEST(MonoToStereoKernels, MoveTheBytesOf24In24InTheirOrder)
{
    CZtaConvertMonoToStereo interleaver;
    Bytes left = {1, 2, 3};
    Bytes stereo(6, kPoison);
    EXPECT_EQ(interleaver.ConvertMonoToStereo24in24(1, left.data(), nullptr, stereo.data()), 0);
    EXPECT_EQ(stereo, (Bytes{1, 2, 3, 0, 0, 0}));
}

TEST(MonoToStereoKernels, DoNothingWithoutFramesButFor24In24)
{
    CZtaConvertMonoToStereo interleaver;
    Bytes mono(8);
    EXPECT_EQ(interleaver.ConvertMonoToStereo16(0, mono.data(), mono.data(), nullptr), 0);
    EXPECT_EQ(interleaver.ConvertMonoToStereo24in32(0, mono.data(), mono.data(), nullptr), 0);
    EXPECT_EQ(interleaver.ConvertMonoToStereo24in24(0, mono.data(), mono.data(), nullptr), kInvalidParameter);
    EXPECT_EQ(interleaver.ConvertMonoToStereo24in24(2, mono.data(), mono.data(), nullptr), kInvalidPointer);
    EXPECT_EQ(interleaver.ConvertMonoToStereo24in24(2, nullptr, nullptr, nullptr), kInvalidPointer);
}

// --- The kernels that deinterleave
// ------------------------------------------------------------------------------------------

TEST(StereoToMonoKernels, DeinterleaveAnyCountOfFramesAndTouchNoOtherByte)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        for (std::size_t frames = row.bytes == 3 ? 1 : 0; frames <= 300; ++frames) {
            Bytes stereo = RandomBytes(frames * 2 * row.bytes + 1);
            Bytes left((frames + 17) * row.bytes, kPoison);
            Bytes right((frames + 17) * row.bytes, kPoison);
            ASSERT_EQ((splitter.*row.split)(frames, stereo.data(), left.data(), right.data()), 0);
            ASSERT_EQ(left, InPoison(SideOf(stereo, 0, frames, row.bytes), left.size())) << row.mono << ": " << frames;
            ASSERT_EQ(right, InPoison(SideOf(stereo, 1, frames, row.bytes), right.size()))
                << row.mono << ": " << frames;
        }
    }
}

TEST(StereoToMonoKernels, DropANullOutput)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : {k16, k24In32}) {
        for (std::size_t frames : {std::size_t{1}, std::size_t{7}, std::size_t{100}}) {
            Bytes stereo = RandomBytes(frames * 2 * row.bytes);
            Bytes mono(frames * row.bytes, kPoison);
            EXPECT_EQ((splitter.*row.split)(frames, stereo.data(), nullptr, mono.data()), 0);
            EXPECT_EQ(mono, SideOf(stereo, 1, frames, row.bytes));
            EXPECT_EQ((splitter.*row.split)(frames, stereo.data(), mono.data(), nullptr), 0);
            EXPECT_EQ(mono, SideOf(stereo, 0, frames, row.bytes));
            EXPECT_EQ((splitter.*row.split)(frames, stereo.data(), nullptr, nullptr), 0);
        }
    }
}

TEST(StereoToMonoKernels, ReadNothingWithoutAnOutput)
{
    CZtaConvertStereoToMono splitter;
    const GuardedBuffer buffer(1);
    for (const Row& row : {k16, k24In32}) {
        for (const unsigned long frames : {1UL, 7UL, 100UL, 1UL << 40}) {
            EXPECT_EQ((splitter.*row.split)(frames, buffer.End(), nullptr, nullptr), 0);
        }
    }
}

TEST(StereoToMonoKernels, DeinterleaveIntoTheirOwnMemory)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        for (std::size_t frames = 1; frames <= 400; ++frames) {
            for (const std::size_t shared : {0U, 1U}) {
                const Bytes stereo = RandomBytes(frames * 2 * row.bytes);
                Bytes memory = stereo;
                Bytes other(frames * row.bytes);
                void* outputs[] = {other.data(), other.data()};
                outputs[shared] = memory.data();
                ASSERT_EQ((splitter.*row.split)(frames, memory.data(), outputs[0], outputs[1]), 0);
                memory.resize(frames * row.bytes);
                ASSERT_EQ(memory, SideOf(stereo, shared, frames, row.bytes)) << row.mono << ": " << frames;
                ASSERT_EQ(other, SideOf(stereo, 1 - shared, frames, row.bytes)) << row.mono << ": " << frames;
            }
        }
    }
}

TEST(StereoToMonoKernels, LeaveTheOutputsAloneWithoutAnInputButFor24In24)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        for (unsigned long frames : {1ul, 31ul, 64ul}) {
            Bytes left((frames + 1) * row.bytes, kPoison);
            Bytes right = left;
            EXPECT_EQ((splitter.*row.split)(frames, nullptr, left.data(), right.data()), 0);
            const std::uint8_t written = row.bytes == 3 ? std::uint8_t{0} : kPoison;
            EXPECT_EQ(left, InPoison(Bytes(frames * row.bytes, written), left.size()));
            EXPECT_EQ(right, left);
        }
    }
}

TEST(StereoToMonoKernels, DoNothingWithoutFramesButFor24In24)
{
    CZtaConvertStereoToMono splitter;
    Bytes stereo(8, 1);
    Bytes left(8, kPoison);
    Bytes right(8, kPoison);
    EXPECT_EQ(splitter.ConvertStereoToMono16(0, stereo.data(), left.data(), right.data()), 0);
    EXPECT_EQ(splitter.ConvertStereoToMono24in32(0, stereo.data(), left.data(), right.data()), 0);
    EXPECT_EQ(splitter.ConvertStereoToMono24in24(0, stereo.data(), left.data(), right.data()), kInvalidParameter);
    EXPECT_EQ(left, Bytes(8, kPoison));
    EXPECT_EQ(right, Bytes(8, kPoison));
}

TEST(StereoToMonoKernels, Of24In24TestFramesThenOutputsThenTheInput)
{
    CZtaConvertStereoToMono splitter;
    EXPECT_EQ(splitter.ConvertStereoToMono24in24(0, nullptr, nullptr, nullptr), kInvalidParameter);
    EXPECT_EQ(splitter.ConvertStereoToMono24in24(1, nullptr, nullptr, nullptr), kInvalidPointer);
    Bytes stereo = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(splitter.ConvertStereoToMono24in24(1, stereo.data(), nullptr, nullptr), kInvalidPointer);
    Bytes mono(3); // one missing output is not reported
    EXPECT_EQ(splitter.ConvertStereoToMono24in24(1, stereo.data(), mono.data(), nullptr), 0);
    EXPECT_EQ(mono, (Bytes{1, 2, 3}));
    EXPECT_EQ(splitter.ConvertStereoToMono24in24(1, stereo.data(), nullptr, mono.data()), 0);
    EXPECT_EQ(mono, (Bytes{4, 5, 6}));
}

// --- The operation that interleaves ----------------------------------------------------------------------------------

TEST(ConvertMonoToStereo, InterleavesEachPairOfItsTableAndSetsTheOutputsLength)
{
    CZtaConvertMonoToStereo interleaver;
    for (const Row& row : kRows) {
        FakeAudioSamples left = Filled(row.monoFormat, 11, 12);
        FakeAudioSamples right = Filled(row.monoFormat, 11, 20);
        FakeAudioSamples stereo(row.stereoFormat, 2, 11);
        EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &stereo), 0);
        EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, 11, row.bytes)) << row.mono;
        EXPECT_EQ(stereo.lengthsSet, std::vector<unsigned long>{11 * 2 * row.bytes});
        EXPECT_EQ(left.calls, kDigest);
        EXPECT_EQ(right.calls, kDigest);
        EXPECT_EQ(stereo.calls, kDigestAndLength);
        for (const FakeAudioSamples* samples : {&left, &right, &stereo}) {
            EXPECT_EQ(samples->descriptionSizes, std::vector<std::uint32_t>{40});
        }
    }
}

TEST(ConvertMonoToStereo, PassesOnWhatTheBuffersReport)
{
    CZtaConvertMonoToStereo interleaver;
    for (Status call : kDigestCalls) {
        for (int failing = 0; failing < 3; ++failing) {
            FakeAudioSamples samples[] = {Filled(k16.monoFormat, 4, 4), Filled(k16.monoFormat, 4, 4),
                                          FakeAudioSamples(k16.stereoFormat, 0, 4)};
            samples[failing].*call = -77;
            EXPECT_EQ(interleaver.ConvertMonoToStereo(&samples[0], &samples[1], &samples[2]), -77);
            for (int later = failing + 1; later < 3; ++later) {
                EXPECT_TRUE(samples[later].calls.empty());
            }
            EXPECT_EQ(samples[2].data, Bytes(16));
            EXPECT_TRUE(samples[2].lengthsSet.empty());

            samples[failing].*call = 5; // any status from 0 up is success
            EXPECT_EQ(interleaver.ConvertMonoToStereo(&samples[0], &samples[1], &samples[2]), 0);
            EXPECT_EQ(samples[2].length, 16u);
        }
    }
}

TEST(ConvertMonoToStereo, EndsWithTheStatusOfSettingTheLength)
{
    CZtaConvertMonoToStereo interleaver;
    for (int status : {-5, 3}) {
        FakeAudioSamples left = Filled(k24In32.monoFormat, 4, 4);
        FakeAudioSamples right = Filled(k24In32.monoFormat, 4, 4);
        FakeAudioSamples stereo(k24In32.stereoFormat, 0, 4);
        stereo.setLengthStatus = status;
        EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &stereo), status);
        EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, 4, 4));
    }
}

TEST(ConvertMonoToStereo, RejectsInputsThatDifferBeforeTheOutput)
{
    CZtaConvertMonoToStereo interleaver;
    FakeAudioSamples left = Filled(kRows[0].monoFormat, 4, 4);
    FakeAudioSamples slower = Filled(kRows[1].monoFormat, 5, 5);
    FakeAudioSamples longer = Filled(kRows[0].monoFormat, 5, 5);
    FakeAudioSamples stereo(k16.stereoFormat, 0, 2);
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &slower, &stereo), kFormatMismatch); // though lengths differ, too
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &longer, &stereo), kSizeMismatch);
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&longer, &left, &stereo), kSizeMismatch);
    EXPECT_TRUE(stereo.calls.empty());
}

TEST(ConvertMonoToStereo, ChecksTheCapacityBeforeThePair)
{
    CZtaConvertMonoToStereo interleaver;
    FakeAudioSamples left = Filled(k16.monoFormat, 4, 4);
    FakeAudioSamples right = Filled(k16.monoFormat, 4, 4);
    FakeAudioSamples tooSmall(k16.stereoFormat, 0, 3);
    FakeAudioSamples tooSmallAndOther(k24In32.stereoFormat, 0, 3);
    FakeAudioSamples other(k24In32.stereoFormat, 0, 4);
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &tooSmall), kDestinationTooSmall);
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &tooSmallAndOther), kDestinationTooSmall);
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &other), kProcessingFormatNotSupported);
    for (const FakeAudioSamples* stereo : {&tooSmall, &tooSmallAndOther, &other}) {
        EXPECT_EQ(stereo->data, Bytes(stereo->data.size()));
        EXPECT_TRUE(stereo->lengthsSet.empty());
    }
}

TEST(ConvertMonoToStereo, RejectsFormatsThatCannotBeClassified)
{
    CZtaConvertMonoToStereo interleaver;
    for (int bad = 0; bad < 3; ++bad) {
        FakeAudioSamples samples[] = {Filled(k16.monoFormat, 4, 4), Filled(k16.monoFormat, 4, 4),
                                      FakeAudioSamples(k16.stereoFormat, 0, 4)};
        samples[bad].format.ulSamplesPerSec = 96000;
        EXPECT_EQ(interleaver.ConvertMonoToStereo(&samples[0], &samples[1], &samples[2]), kFormatNotSupported);
    }
}

TEST(ConvertMonoToStereo, MakesAnEmptyOutputOfEmptyInputs)
{
    CZtaConvertMonoToStereo interleaver;
    for (const Row& row : kRows) { // 24-in-24 as well, whose kernel would refuse
        FakeAudioSamples left = Filled(row.monoFormat, 0, 4);
        FakeAudioSamples right = Filled(row.monoFormat, 0, 4);
        FakeAudioSamples stereo = Filled(row.stereoFormat, 4, 4);
        const Bytes before = stereo.data;
        EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &stereo), 0);
        EXPECT_EQ(stereo.lengthsSet, std::vector<unsigned long>{0});
        EXPECT_EQ(stereo.data, before);
    }
}

TEST(ConvertMonoToStereo, ReturnsTheFailureOfAKernelWithoutSettingTheLength)
{
    CZtaConvertMonoToStereo interleaver;
    FakeAudioSamples left = Filled(k24In24.monoFormat, 4, 4);
    FakeAudioSamples right = Filled(k24In24.monoFormat, 4, 4);
    FakeAudioSamples stereo(k24In24.stereoFormat, 0, 4);
    stereo.data = Bytes(); // the host's buffer has no memory
    EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &stereo), kInvalidPointer);
    EXPECT_TRUE(stereo.lengthsSet.empty());
}

// --- The operation that splits ---------------------------------------------------------------------------------------

TEST(ConvertStereoToMono, DeinterleavesEachPairOfItsTableAndSetsTheOutputsLengths)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        FakeAudioSamples stereo = Filled(row.stereoFormat, 11, 12);
        FakeAudioSamples left(row.monoFormat, 2, 11);
        FakeAudioSamples right(row.monoFormat, 0, 11);
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), 0);
        EXPECT_EQ(left.data, SideOf(stereo.data, 0, 11, row.bytes)) << row.mono;
        EXPECT_EQ(right.data, SideOf(stereo.data, 1, 11, row.bytes)) << row.mono;
        EXPECT_EQ(left.lengthsSet, std::vector<unsigned long>{11 * row.bytes});
        EXPECT_EQ(right.lengthsSet, std::vector<unsigned long>{11 * row.bytes});
        EXPECT_EQ(stereo.calls, kDigest);
        EXPECT_EQ(left.calls, kDigestAndLength);
        EXPECT_EQ(right.calls, kDigestAndLength);
        for (const FakeAudioSamples* samples : {&left, &right, &stereo}) {
            EXPECT_EQ(samples->descriptionSizes, std::vector<std::uint32_t>{40});
        }
    }
}

TEST(ConvertStereoToMono, PassesOnWhatTheBuffersReport)
{
    CZtaConvertStereoToMono splitter;
    for (Status call : kDigestCalls) {
        for (int failing = 0; failing < 3; ++failing) {
            FakeAudioSamples samples[] = {Filled(k16.stereoFormat, 4, 4), FakeAudioSamples(k16.monoFormat, 0, 4),
                                          FakeAudioSamples(k16.monoFormat, 0, 4)};
            samples[failing].*call = -77;
            EXPECT_EQ(splitter.ConvertStereoToMono(&samples[0], &samples[1], &samples[2]), -77);
            for (int later = failing + 1; later < 3; ++later) {
                EXPECT_TRUE(samples[later].calls.empty());
            }
            EXPECT_EQ(samples[1].data, Bytes(8));
            EXPECT_TRUE(samples[1].lengthsSet.empty());
            EXPECT_TRUE(samples[2].lengthsSet.empty());

            samples[failing].*call = 5; // any status from 0 up is success
            EXPECT_EQ(splitter.ConvertStereoToMono(&samples[0], &samples[1], &samples[2]), 0);
            EXPECT_EQ(samples[1].length, 8u);
            EXPECT_EQ(samples[2].length, 8u);
        }
    }
}

TEST(ConvertStereoToMono, SetsTheRightLengthOnlyIfTheLeftOneCouldBeSet)
{
    CZtaConvertStereoToMono splitter;
    FakeAudioSamples stereo = Filled(k16.stereoFormat, 4, 4);
    FakeAudioSamples left(k16.monoFormat, 0, 4);
    FakeAudioSamples right(k16.monoFormat, 0, 4);
    left.setLengthStatus = -5;
    EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), -5);
    EXPECT_EQ(right.data, SideOf(stereo.data, 1, 4, 2));
    EXPECT_TRUE(right.lengthsSet.empty());
    left.setLengthStatus = 3;
    EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), 0);
    EXPECT_EQ(right.lengthsSet, std::vector<unsigned long>{8});
    for (int status : {-6, 4}) {
        right.setLengthStatus = status;
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), status);
    }
}

TEST(ConvertStereoToMono, RejectsOutputsThatDifferBeforeCapacities)
{
    CZtaConvertStereoToMono splitter;
    FakeAudioSamples stereo = Filled(k16.stereoFormat, 4, 4);
    FakeAudioSamples left(kRows[0].monoFormat, 0, 1);
    FakeAudioSamples right(kRows[1].monoFormat, 0, 1);
    EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), kFormatMismatch);
    EXPECT_EQ(right.calls, kDigest);
}

TEST(ConvertStereoToMono, RejectsCapacitiesOnlyIfBothAreTooSmall)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        FakeAudioSamples stereo = Filled(row.stereoFormat, 100, 100);
        FakeAudioSamples small(row.monoFormat, 0, 100);
        small.capacity = 10 * row.bytes; // with memory behind it
        FakeAudioSamples large(row.monoFormat, 0, 1000);
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &small, &large), 0);
        EXPECT_EQ(small.data, SideOf(stereo.data, 0, 100, row.bytes));
        EXPECT_EQ(small.length, 100 * row.bytes);
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &large, &small), 0);
        EXPECT_EQ(small.data, SideOf(stereo.data, 1, 100, row.bytes));

        FakeAudioSamples smaller(row.monoFormat, 0, 99);
        small.lengthsSet.clear();
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &smaller, &small), kDestinationTooSmall);
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &small, &smaller), kDestinationTooSmall);
        EXPECT_EQ(smaller.data, Bytes(99 * row.bytes));
        EXPECT_TRUE(smaller.lengthsSet.empty());
        EXPECT_TRUE(small.lengthsSet.empty());
    }
}

TEST(ConvertStereoToMono, ChecksTheCapacitiesBeforeThePair)
{
    CZtaConvertStereoToMono splitter;
    FakeAudioSamples stereo = Filled(k16.stereoFormat, 4, 4);
    FakeAudioSamples left(k24In32.monoFormat, 0, 3);
    FakeAudioSamples right(k24In32.monoFormat, 0, 3);
    EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), kDestinationTooSmall);
    left.capacity = 16;
    EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), kProcessingFormatNotSupported);
    EXPECT_TRUE(left.lengthsSet.empty());
}

TEST(ConvertStereoToMono, RejectsFormatsThatCannotBeClassified)
{
    CZtaConvertStereoToMono splitter;
    for (int bad = 0; bad < 3; ++bad) {
        FakeAudioSamples samples[] = {Filled(k16.stereoFormat, 4, 4), FakeAudioSamples(k16.monoFormat, 0, 4),
                                      FakeAudioSamples(k16.monoFormat, 0, 4)};
        samples[bad].format.ulSamplesPerSec = 96000;
        EXPECT_EQ(splitter.ConvertStereoToMono(&samples[0], &samples[1], &samples[2]), kFormatNotSupported);
    }
}

TEST(ConvertStereoToMono, MakesEmptyOutputsOfAnEmptyInput)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        FakeAudioSamples stereo = Filled(row.stereoFormat, 0, 4);
        FakeAudioSamples left = Filled(row.monoFormat, 4, 4);
        FakeAudioSamples right = Filled(row.monoFormat, 4, 4);
        const Bytes before = left.data;
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), 0);
        EXPECT_EQ(left.lengthsSet, std::vector<unsigned long>{0});
        EXPECT_EQ(right.lengthsSet, std::vector<unsigned long>{0});
        EXPECT_EQ(left.data, before);
    }
}

TEST(ConvertStereoToMono, ReturnsTheFailureOfAKernelWithoutSettingLengths)
{
    CZtaConvertStereoToMono splitter;
    FakeAudioSamples stereo = Filled(k24In24.stereoFormat, 4, 4);
    FakeAudioSamples left(k24In24.monoFormat, 0, 4);
    FakeAudioSamples right(k24In24.monoFormat, 0, 4);
    left.data = Bytes();
    right.data = Bytes();
    EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), kInvalidPointer);
    EXPECT_TRUE(left.lengthsSet.empty());
    EXPECT_TRUE(right.lengthsSet.empty());
}

/// All known formats in all combinations: only the rows' pairs pass.
TEST(ConvertMonoToStereo, ReadsAnInputWithoutAPointerAsSilence)
{
    CZtaConvertMonoToStereo interleaver;
    for (const Row& row : kRows) {
        for (const bool leftIsNull : {true, false}) {
            FakeAudioSamples left = Filled(row.monoFormat, 11, 11);
            FakeAudioSamples right = Filled(row.monoFormat, 11, 11);
            FakeAudioSamples stereo = Filled(row.stereoFormat, 11, 11);
            (leftIsNull ? left : right).data = Bytes();
            EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &stereo), 0) << row.mono;
            EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, 11, row.bytes)) << row.mono;
        }
    }
}

TEST(ConvertStereoToMono, DropsAnOutputWithoutAPointer)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        for (const std::size_t dropped : {0U, 1U}) {
            FakeAudioSamples stereo = Filled(row.stereoFormat, 11, 11);
            FakeAudioSamples outputs[] = {Filled(row.monoFormat, 11, 11), Filled(row.monoFormat, 11, 11)};
            outputs[dropped].data = Bytes();
            EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &outputs[0], &outputs[1]), 0) << row.stereo;
            EXPECT_EQ(outputs[1 - dropped].data, SideOf(stereo.data, 1 - dropped, 11, row.bytes)) << row.stereo;
            EXPECT_EQ(outputs[dropped].lengthsSet, std::vector<unsigned long>{11 * row.bytes}) << row.stereo;
        }
    }
}

TEST(ConvertStereoToMono, WritesSilenceWithoutAnInputPointerOnlyIn24In24)
{
    CZtaConvertStereoToMono splitter;
    for (const Row& row : kRows) {
        FakeAudioSamples stereo(row.stereoFormat, 11, 11);
        stereo.data = Bytes();
        FakeAudioSamples left = Filled(row.monoFormat, 11, 11);
        FakeAudioSamples right = Filled(row.monoFormat, 11, 11);
        const Bytes leftBefore = left.data;
        const Bytes rightBefore = right.data;
        EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), 0) << row.stereo;
        EXPECT_EQ(left.data, row.bytes == 3 ? Bytes(33) : leftBefore) << row.stereo;
        EXPECT_EQ(right.data, row.bytes == 3 ? Bytes(33) : rightBefore) << row.stereo;
        for (const FakeAudioSamples* output : {&left, &right}) {
            EXPECT_EQ(output->lengthsSet, std::vector<unsigned long>{11 * row.bytes}) << row.stereo;
        }
    }
}

TEST(MonoStereoOperations, ServeSeveralThreadsWithOneObject)
{
    CZtaConvertMonoToStereo interleaver;
    CZtaConvertStereoToMono splitter;
    const auto work = [&](const Row& row, const Bytes& input, bool& isRight) {
        Bytes left(input.size() / 2);
        Bytes right(input.size() / 2);
        Bytes stereo(input.size());
        const unsigned long frames = left.size() / row.bytes;
        for (int i = 0; i < 300; ++i) {
            Bytes source = input;
            isRight = isRight && (splitter.*row.split)(frames, source.data(), left.data(), right.data()) == 0 &&
                      (interleaver.*row.interleave)(frames, left.data(), right.data(), stereo.data()) == 0 &&
                      stereo == input && left == SideOf(input, 0, frames, row.bytes);
        }
    };
    bool isRight[std::size(kRows)];
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        isRight[i] = true;
        threads.emplace_back(work, std::cref(kRows[i]), RandomBytes(2 * 333 * kRows[i].bytes), std::ref(isRight[i]));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const bool right : isRight) {
        EXPECT_TRUE(right);
    }
}

TEST(MonoStereoOperations, HaveNoTableEntryForOtherPairs)
{
    CZtaConvertMonoToStereo interleaver;
    CZtaConvertStereoToMono splitter;
    std::vector<SZtaWaveFormatInfo> formats;
    for (std::uint32_t channels : {1u, 2u, 4u, 8u, 16u, 32u, 64u}) {
        formats.push_back(WaveFormat(1, 16, 16, 48000, channels));
        formats.push_back(WaveFormat(1, 32, 24, 48000, channels));
        formats.push_back(WaveFormat(1, 24, 24, 48000, channels));
    }
    for (std::uint32_t channels : {1u, 2u}) {
        formats.push_back(WaveFormat(1, 16, 16, 44100, channels));
        formats.push_back(WaveFormat(2, 32, 32, 48000, channels));
        formats.push_back(WaveFormat(1, 32, 24, 96000, channels));
    }
    const auto IsSame = [](const SZtaWaveFormatInfo& a, const SZtaWaveFormatInfo& b) {
        return a.ulChannels == b.ulChannels && a.eDataType == b.eDataType && a.ulSamplesPerSec == b.ulSamplesPerSec &&
               a.ulBitsPerSample == b.ulBitsPerSample && a.ulValidBitsPerSample == b.ulValidBitsPerSample;
    };
    int passed = 0;
    for (const SZtaWaveFormatInfo& one : formats) {
        for (const SZtaWaveFormatInfo& other : formats) {
            const bool hasRow = std::any_of(std::begin(kRows), std::end(kRows), [&](const Row& row) {
                return IsSame(row.monoFormat, one) && IsSame(row.stereoFormat, other);
            });
            passed += hasRow;
            const int expected = hasRow ? 0 : kProcessingFormatNotSupported;
            FakeAudioSamples left = Filled(one, 3, 3);
            FakeAudioSamples right = Filled(one, 3, 3);
            FakeAudioSamples stereo = Filled(other, 3, 3);
            EXPECT_EQ(interleaver.ConvertMonoToStereo(&left, &right, &stereo), expected);
            EXPECT_EQ(splitter.ConvertStereoToMono(&stereo, &left, &right), expected);
        }
    }
    EXPECT_EQ(passed, 4);
}

} // namespace
