#include "kernels/mono_to_stereo.h"
#include "kernels/stereo_to_mono.h"
#include "testing/guarded_buffer.h"
#include "tests/unit/kernel_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>

namespace zta::test {
namespace {

using Interleave = int (CZtaConvertMonoToStereo::*)(unsigned long, void*, void*, void*);
using Deinterleave = int (CZtaConvertStereoToMono::*)(unsigned long, void*, void*, void*);

/// One table entry of both classes.
struct Case {
    int mono;
    int stereo;
    Interleave interleave;
    Deinterleave deinterleave;
    std::size_t bytes; ///< of a sample

    SZtaWaveFormatInfo MonoFormat() const { return FormatOfProperty(mono); }
    SZtaWaveFormatInfo StereoFormat() const { return FormatOfProperty(stereo); }
};

using M = CZtaConvertMonoToStereo;
using S = CZtaConvertStereoToMono;
// clang-format off
const Case kCases[] = {
    { 1,  2, &M::ConvertMonoToStereo16,     &S::ConvertStereoToMono16,     2},
    {18, 19, &M::ConvertMonoToStereo16,     &S::ConvertStereoToMono16,     2},
    { 8,  9, &M::ConvertMonoToStereo24in32, &S::ConvertStereoToMono24in32, 4},
    {20, 21, &M::ConvertMonoToStereo24in24, &S::ConvertStereoToMono24in24, 3},
};
// clang-format on
const Case& k16 = kCases[0];
const Case& k24In32 = kCases[2];
const Case& k24In24 = kCases[3];

/// Returns the offset of byte k of a sample of one channel in the stereo buffer.
std::size_t StereoOffset(std::size_t sample, std::size_t channel, std::size_t k, std::size_t bytes)
{
    return (2 * sample + channel) * bytes + k;
}

/// An empty channel reads as silence.
Bytes Interleaved(const Bytes& left, const Bytes& right, std::size_t frames, std::size_t bytes)
{
    Bytes stereo(frames * 2 * bytes);
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t k = 0; k < bytes; ++k) {
            stereo[StereoOffset(i, 0, k, bytes)] = left.empty() ? std::uint8_t{0} : left[i * bytes + k];
            stereo[StereoOffset(i, 1, k, bytes)] = right.empty() ? std::uint8_t{0} : right[i * bytes + k];
        }
    }
    return stereo;
}

Bytes ChannelOf(const Bytes& stereo, std::size_t channel, std::size_t frames, std::size_t bytes)
{
    Bytes mono(frames * bytes);
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t k = 0; k < bytes; ++k) {
            mono[i * bytes + k] = stereo[StereoOffset(i, channel, k, bytes)];
        }
    }
    return mono;
}

class MonoStereoTest : public testing::Test {
protected:
    CZtaConvertMonoToStereo interleaver_;
    CZtaConvertStereoToMono deinterleaver_;
};

using MonoStereoTables = MonoStereoTest;
using MonoToStereoKernels = MonoStereoTest;
using StereoToMonoKernels = MonoStereoTest;
using ConvertMonoToStereo = MonoStereoTest;
using ConvertStereoToMono = MonoStereoTest;
using MonoStereoOperations = MonoStereoTest;

// --- Tables ----------------------------------------------------------------------------------------------------------

TEST_F(MonoStereoTables, HaveTheirTableEntriesInOrder)
{
    ASSERT_EQ(std::size(kCases), 4u);
    ExpectTableEntries<CZtaConvertMonoToStereo>(kCases, &Case::mono, &Case::stereo);
    ExpectTableEntries<CZtaConvertStereoToMono>(kCases, &Case::stereo, &Case::mono);
}

TEST_F(MonoStereoTables, SuggestTheOtherFormatOfATableEntry)
{
    SZtaWaveFormatInfo mono16 = k16.MonoFormat();
    SZtaWaveFormatInfo stereo24 = k24In32.StereoFormat();
    SZtaWaveFormatInfo in{};
    SZtaWaveFormatInfo out{};
    EXPECT_EQ(interleaver_.SuggestFormat(&mono16, &stereo24, &in, &out), 0); // keeps the output
    EXPECT_EQ(in.ulBitsPerSample, 32u);
    EXPECT_EQ(in.ulChannels, 1u);
    EXPECT_EQ(out.ulBitsPerSample, 32u);
    EXPECT_EQ(out.ulChannels, 2u);
    EXPECT_EQ(deinterleaver_.SuggestFormat(&stereo24, &mono16, &in, &out), 0);
    EXPECT_EQ(in.ulBitsPerSample, 16u);
    EXPECT_EQ(in.ulChannels, 2u);
    EXPECT_EQ(out.ulBitsPerSample, 16u);
    EXPECT_EQ(out.ulChannels, 1u);
}

// --- The kernels that interleave -------------------------------------------------------------------------------------

TEST_F(MonoToStereoKernels, InterleaveAnyCountOfFramesAndWriteNothingElse)
{
    for (const Case& c : kCases) {
        for (std::size_t frames = c.bytes == 3 ? 1 : 0; frames <= 300; ++frames) {
            Bytes left = RandomBytes(frames * c.bytes + 1);
            Bytes right = RandomBytes(frames * c.bytes + 1);
            Bytes stereo((frames + 9) * 2 * c.bytes, kPoison);
            ASSERT_EQ((interleaver_.*c.interleave)(frames, left.data(), right.data(), stereo.data()), 0);
            ASSERT_EQ(stereo, PadWithPoison(Interleaved(left, right, frames, c.bytes), stereo.size()))
                << c.mono << ": " << frames;
        }
    }
}

TEST_F(MonoToStereoKernels, ReadANullInputAsSilence)
{
    for (const Case& c : kCases) {
        for (std::size_t frames : {std::size_t{1}, std::size_t{7}, std::size_t{100}}) {
            Bytes mono = RandomBytes(frames * c.bytes);
            Bytes stereo(frames * 2 * c.bytes, kPoison);
            EXPECT_EQ((interleaver_.*c.interleave)(frames, mono.data(), nullptr, stereo.data()), 0);
            EXPECT_EQ(stereo, Interleaved(mono, {}, frames, c.bytes));
            EXPECT_EQ((interleaver_.*c.interleave)(frames, nullptr, mono.data(), stereo.data()), 0);
            EXPECT_EQ(stereo, Interleaved({}, mono, frames, c.bytes));
            EXPECT_EQ((interleaver_.*c.interleave)(frames, nullptr, nullptr, stereo.data()), 0);
            EXPECT_EQ(stereo, Bytes(stereo.size()));
        }
    }
}

TEST_F(MonoToStereoKernels, KeepTheByteOrderOf24In24)
{
    Bytes left = {1, 2, 3};
    Bytes stereo(6, kPoison);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in24(1, left.data(), nullptr, stereo.data()), 0);
    EXPECT_EQ(stereo, (Bytes{1, 2, 3, 0, 0, 0}));
}

TEST_F(MonoToStereoKernels, DoNothingWithoutFramesExceptFor24In24)
{
    Bytes mono(8);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo16(0, mono.data(), mono.data(), nullptr), 0);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in32(0, mono.data(), mono.data(), nullptr), 0);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in24(0, mono.data(), mono.data(), nullptr), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in24(2, mono.data(), mono.data(), nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in24(2, nullptr, nullptr, nullptr), ZT_E_INVALID_POINTER);
}

// --- The kernels that deinterleave -----------------------------------------------------------------------------------

TEST_F(StereoToMonoKernels, DeinterleaveAnyCountOfFramesAndWriteNothingElse)
{
    for (const Case& c : kCases) {
        for (std::size_t frames = c.bytes == 3 ? 1 : 0; frames <= 300; ++frames) {
            Bytes stereo = RandomBytes(frames * 2 * c.bytes + 1);
            Bytes left((frames + 17) * c.bytes, kPoison);
            Bytes right((frames + 17) * c.bytes, kPoison);
            ASSERT_EQ((deinterleaver_.*c.deinterleave)(frames, stereo.data(), left.data(), right.data()), 0);
            ASSERT_EQ(left, PadWithPoison(ChannelOf(stereo, 0, frames, c.bytes), left.size()))
                << c.mono << ": " << frames;
            ASSERT_EQ(right, PadWithPoison(ChannelOf(stereo, 1, frames, c.bytes), right.size()))
                << c.mono << ": " << frames;
        }
    }
}

TEST_F(StereoToMonoKernels, DropANullOutput)
{
    for (const Case& c : {k16, k24In32}) {
        for (std::size_t frames : {std::size_t{1}, std::size_t{7}, std::size_t{100}}) {
            Bytes stereo = RandomBytes(frames * 2 * c.bytes);
            Bytes mono(frames * c.bytes, kPoison);
            EXPECT_EQ((deinterleaver_.*c.deinterleave)(frames, stereo.data(), nullptr, mono.data()), 0);
            EXPECT_EQ(mono, ChannelOf(stereo, 1, frames, c.bytes));
            EXPECT_EQ((deinterleaver_.*c.deinterleave)(frames, stereo.data(), mono.data(), nullptr), 0);
            EXPECT_EQ(mono, ChannelOf(stereo, 0, frames, c.bytes));
            EXPECT_EQ((deinterleaver_.*c.deinterleave)(frames, stereo.data(), nullptr, nullptr), 0);
        }
    }
}

TEST_F(StereoToMonoKernels, ReadNothingWithoutAnOutput)
{
    const GuardedBuffer buffer(1);
    for (const Case& c : {k16, k24In32}) {
        for (const unsigned long frames : {1UL, 7UL, 100UL, 1UL << 40}) {
            EXPECT_EQ((deinterleaver_.*c.deinterleave)(frames, buffer.End(), nullptr, nullptr), 0);
        }
    }
}

TEST_F(StereoToMonoKernels, DeinterleaveIntoTheirOwnMemory)
{
    for (const Case& c : kCases) {
        for (std::size_t frames = 1; frames <= 400; ++frames) {
            for (const std::size_t shared : {0U, 1U}) {
                const Bytes stereo = RandomBytes(frames * 2 * c.bytes);
                Bytes memory = stereo;
                Bytes other(frames * c.bytes);
                void* outputs[] = {other.data(), other.data()};
                outputs[shared] = memory.data();
                ASSERT_EQ((deinterleaver_.*c.deinterleave)(frames, memory.data(), outputs[0], outputs[1]), 0);
                memory.resize(frames * c.bytes);
                ASSERT_EQ(memory, ChannelOf(stereo, shared, frames, c.bytes)) << c.mono << ": " << frames;
                ASSERT_EQ(other, ChannelOf(stereo, 1 - shared, frames, c.bytes)) << c.mono << ": " << frames;
            }
        }
    }
}

TEST_F(StereoToMonoKernels, WriteNothingWithoutAnInputExceptIn24In24)
{
    for (const Case& c : kCases) {
        for (unsigned long frames : {1ul, 31ul, 64ul}) {
            Bytes left((frames + 1) * c.bytes, kPoison);
            Bytes right = left;
            EXPECT_EQ((deinterleaver_.*c.deinterleave)(frames, nullptr, left.data(), right.data()), 0);
            const std::uint8_t written = c.bytes == 3 ? std::uint8_t{0} : kPoison;
            EXPECT_EQ(left, PadWithPoison(Bytes(frames * c.bytes, written), left.size()));
            EXPECT_EQ(right, left);
        }
    }
}

TEST_F(StereoToMonoKernels, DoNothingWithoutFramesExceptFor24In24)
{
    Bytes stereo(8, 1);
    Bytes left(8, kPoison);
    Bytes right(8, kPoison);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono16(0, stereo.data(), left.data(), right.data()), 0);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in32(0, stereo.data(), left.data(), right.data()), 0);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(0, stereo.data(), left.data(), right.data()),
              ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(left, Bytes(8, kPoison));
    EXPECT_EQ(right, Bytes(8, kPoison));
}

TEST_F(StereoToMonoKernels, Of24In24ValidateFramesThenOutputs)
{
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(0, nullptr, nullptr, nullptr), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(1, nullptr, nullptr, nullptr), ZT_E_INVALID_POINTER);
    Bytes stereo = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(1, stereo.data(), nullptr, nullptr), ZT_E_INVALID_POINTER);
    Bytes mono(3); // one missing output is not reported
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(1, stereo.data(), mono.data(), nullptr), 0);
    EXPECT_EQ(mono, (Bytes{1, 2, 3}));
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(1, stereo.data(), nullptr, mono.data()), 0);
    EXPECT_EQ(mono, (Bytes{4, 5, 6}));
}

// --- The operation that interleaves ----------------------------------------------------------------------------------

TEST_F(ConvertMonoToStereo, InterleavesEachPairOfItsTableAndSetsTheOutputsLength)
{
    for (const Case& c : kCases) {
        FakeAudioSamples left = RandomSamples(c.MonoFormat(), 11, 12);
        FakeAudioSamples right = RandomSamples(c.MonoFormat(), 11, 20);
        FakeAudioSamples stereo(c.StereoFormat(), 2, 11);
        EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &stereo), 0);
        EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, 11, c.bytes)) << c.mono;
        EXPECT_EQ(stereo.lengthsSet, Lengths{11 * 2 * c.bytes});
    }
}

TEST_F(ConvertMonoToStereo, RejectsInputsThatDifferBeforeTheOutput)
{
    FakeAudioSamples left = RandomSamples(kCases[0].MonoFormat(), 4, 4);
    FakeAudioSamples slower = RandomSamples(kCases[1].MonoFormat(), 5, 5);
    FakeAudioSamples longer = RandomSamples(kCases[0].MonoFormat(), 5, 5);
    FakeAudioSamples stereo(k16.StereoFormat(), 0, 2);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &slower, &stereo),
              ZT_E_BUFFER_FORMAT_MISMATCH); // the lengths differ, too
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &longer, &stereo), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&longer, &left, &stereo), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_TRUE(stereo.calls.empty());
}

TEST_F(ConvertMonoToStereo, ValidatesTheCapacityBeforeThePair)
{
    FakeAudioSamples left = RandomSamples(k16.MonoFormat(), 4, 4);
    FakeAudioSamples right = RandomSamples(k16.MonoFormat(), 4, 4);
    FakeAudioSamples tooSmall(k16.StereoFormat(), 0, 3);
    FakeAudioSamples tooSmallAndOther(k24In32.StereoFormat(), 0, 3);
    FakeAudioSamples other(k24In32.StereoFormat(), 0, 4);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &tooSmall), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &tooSmallAndOther), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &other), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    for (const FakeAudioSamples* stereo : {&tooSmall, &tooSmallAndOther, &other}) {
        EXPECT_EQ(stereo->data, Bytes(stereo->data.size()));
        EXPECT_TRUE(stereo->lengthsSet.empty());
    }
}

TEST_F(ConvertMonoToStereo, ReturnsTheFailureOfAKernelWithoutSettingTheLength)
{
    FakeAudioSamples left = RandomSamples(k24In24.MonoFormat(), 4, 4);
    FakeAudioSamples right = RandomSamples(k24In24.MonoFormat(), 4, 4);
    FakeAudioSamples stereo(k24In24.StereoFormat(), 0, 4);
    stereo.data = Bytes(); // the host's buffer has no memory
    EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &stereo), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(stereo.lengthsSet.empty());
}

// --- The operation that deinterleaves --------------------------------------------------------------------------------

TEST_F(ConvertStereoToMono, DeinterleavesEachPairOfItsTableAndSetsTheOutputsLengths)
{
    for (const Case& c : kCases) {
        FakeAudioSamples stereo = RandomSamples(c.StereoFormat(), 11, 12);
        FakeAudioSamples left(c.MonoFormat(), 2, 11);
        FakeAudioSamples right(c.MonoFormat(), 0, 11);
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), 0);
        EXPECT_EQ(left.data, ChannelOf(stereo.data, 0, 11, c.bytes)) << c.mono;
        EXPECT_EQ(right.data, ChannelOf(stereo.data, 1, 11, c.bytes)) << c.mono;
        EXPECT_EQ(left.lengthsSet, Lengths{11 * c.bytes});
        EXPECT_EQ(right.lengthsSet, Lengths{11 * c.bytes});
    }
}

TEST_F(ConvertStereoToMono, SetsTheRightLengthOnlyIfSettingTheLeftOneSucceeds)
{
    FakeAudioSamples stereo = RandomSamples(k16.StereoFormat(), 4, 4);
    FakeAudioSamples left(k16.MonoFormat(), 0, 4);
    FakeAudioSamples right(k16.MonoFormat(), 0, 4);
    left.setLengthStatus = -5;
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), -5);
    EXPECT_EQ(right.data, ChannelOf(stereo.data, 1, 4, 2));
    EXPECT_TRUE(right.lengthsSet.empty());
    left.setLengthStatus = 3;
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), 0);
    EXPECT_EQ(right.lengthsSet, Lengths{8});
    for (int status : {-6, 4}) {
        right.setLengthStatus = status;
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), status);
    }
}

TEST_F(ConvertStereoToMono, RejectsOutputsThatDifferBeforeCapacities)
{
    FakeAudioSamples stereo = RandomSamples(k16.StereoFormat(), 4, 4);
    FakeAudioSamples left(kCases[0].MonoFormat(), 0, 1);
    FakeAudioSamples right(kCases[1].MonoFormat(), 0, 1);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), ZT_E_BUFFER_FORMAT_MISMATCH);
    EXPECT_EQ(right.calls, kQueryCalls);
}

TEST_F(ConvertStereoToMono, RejectsCapacitiesOnlyIfBothAreTooSmall)
{
    for (const Case& c : kCases) {
        FakeAudioSamples stereo = RandomSamples(c.StereoFormat(), 100, 100);
        FakeAudioSamples small(c.MonoFormat(), 0, 100);
        small.capacity = 10 * c.bytes; // the memory is larger
        FakeAudioSamples large(c.MonoFormat(), 0, 1000);
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &small, &large), 0);
        EXPECT_EQ(small.data, ChannelOf(stereo.data, 0, 100, c.bytes));
        EXPECT_EQ(small.length, 100 * c.bytes);
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &large, &small), 0);
        EXPECT_EQ(small.data, ChannelOf(stereo.data, 1, 100, c.bytes));

        FakeAudioSamples smaller(c.MonoFormat(), 0, 99);
        small.lengthsSet.clear();
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &smaller, &small), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &small, &smaller), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(smaller.data, Bytes(99 * c.bytes));
        EXPECT_TRUE(smaller.lengthsSet.empty());
        EXPECT_TRUE(small.lengthsSet.empty());
    }
}

TEST_F(ConvertStereoToMono, ValidatesTheCapacitiesBeforeThePair)
{
    FakeAudioSamples stereo = RandomSamples(k16.StereoFormat(), 4, 4);
    FakeAudioSamples left(k24In32.MonoFormat(), 0, 3);
    FakeAudioSamples right(k24In32.MonoFormat(), 0, 3);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    left.capacity = 16;
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_TRUE(left.lengthsSet.empty());
}

TEST_F(ConvertStereoToMono, ReturnsTheFailureOfAKernelWithoutSettingLengths)
{
    FakeAudioSamples stereo = RandomSamples(k24In24.StereoFormat(), 4, 4);
    FakeAudioSamples left(k24In24.MonoFormat(), 0, 4);
    FakeAudioSamples right(k24In24.MonoFormat(), 0, 4);
    left.data = Bytes();
    right.data = Bytes();
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(left.lengthsSet.empty());
    EXPECT_TRUE(right.lengthsSet.empty());
}

TEST_F(ConvertMonoToStereo, ReadsAnInputWithoutAPointerAsSilence)
{
    for (const Case& c : kCases) {
        for (const bool leftIsNull : {true, false}) {
            FakeAudioSamples left = RandomSamples(c.MonoFormat(), 11, 11);
            FakeAudioSamples right = RandomSamples(c.MonoFormat(), 11, 11);
            FakeAudioSamples stereo = RandomSamples(c.StereoFormat(), 11, 11);
            (leftIsNull ? left : right).data = Bytes();
            EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &stereo), 0) << c.mono;
            EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, 11, c.bytes)) << c.mono;
        }
    }
}

TEST_F(ConvertStereoToMono, DropsAnOutputWithoutAPointer)
{
    for (const Case& c : kCases) {
        for (const std::size_t dropped : {0U, 1U}) {
            FakeAudioSamples stereo = RandomSamples(c.StereoFormat(), 11, 11);
            FakeAudioSamples outputs[] = {RandomSamples(c.MonoFormat(), 11, 11), RandomSamples(c.MonoFormat(), 11, 11)};
            outputs[dropped].data = Bytes();
            EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &outputs[0], &outputs[1]), 0) << c.stereo;
            EXPECT_EQ(outputs[1 - dropped].data, ChannelOf(stereo.data, 1 - dropped, 11, c.bytes)) << c.stereo;
            EXPECT_EQ(outputs[dropped].lengthsSet, Lengths{11 * c.bytes}) << c.stereo;
        }
    }
}

TEST_F(ConvertStereoToMono, WritesSilenceWithoutAnInputPointerOnlyIn24In24)
{
    for (const Case& c : kCases) {
        FakeAudioSamples stereo(c.StereoFormat(), 11, 11);
        stereo.data = Bytes();
        FakeAudioSamples left = RandomSamples(c.MonoFormat(), 11, 11);
        FakeAudioSamples right = RandomSamples(c.MonoFormat(), 11, 11);
        const Bytes leftBefore = left.data;
        const Bytes rightBefore = right.data;
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), 0) << c.stereo;
        EXPECT_EQ(left.data, c.bytes == 3 ? Bytes(33) : leftBefore) << c.stereo;
        EXPECT_EQ(right.data, c.bytes == 3 ? Bytes(33) : rightBefore) << c.stereo;
        for (const FakeAudioSamples* output : {&left, &right}) {
            EXPECT_EQ(output->lengthsSet, Lengths{11 * c.bytes}) << c.stereo;
        }
    }
}

TEST_F(MonoStereoOperations, SupportSeveralThreadsOnOneObject)
{
    const auto work = [&](const Case& c, const Bytes& input, bool& isRight) {
        Bytes left(input.size() / 2);
        Bytes right(input.size() / 2);
        Bytes stereo(input.size());
        const unsigned long frames = left.size() / c.bytes;
        for (int i = 0; i < 300; ++i) {
            Bytes source = input;
            isRight = isRight &&
                      (deinterleaver_.*c.deinterleave)(frames, source.data(), left.data(), right.data()) == 0 &&
                      (interleaver_.*c.interleave)(frames, left.data(), right.data(), stereo.data()) == 0 &&
                      stereo == input && left == ChannelOf(input, 0, frames, c.bytes);
        }
    };
    bool isRight[std::size(kCases)];
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::size(kCases); ++i) {
        isRight[i] = true;
        threads.emplace_back(work, std::cref(kCases[i]), RandomBytes(2 * 333 * kCases[i].bytes), std::ref(isRight[i]));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const bool right : isRight) {
        EXPECT_TRUE(right);
    }
}

/// All formats in all combinations: only the pairs of the table are accepted.
TEST_F(MonoStereoOperations, HaveNoTableEntryForOtherPairs)
{
    int accepted = 0;
    for (int one = 1; one <= 26; ++one) {
        for (int other = 1; other <= 26; ++other) {
            const bool hasEntry = std::any_of(std::begin(kCases), std::end(kCases),
                                              [=](const Case& c) { return c.mono == one && c.stereo == other; });
            accepted += hasEntry;
            const int expected = hasEntry ? 0 : ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED;
            FakeAudioSamples left = RandomSamples(FormatOfProperty(one), 3, 3);
            FakeAudioSamples right = RandomSamples(FormatOfProperty(one), 3, 3);
            FakeAudioSamples stereo = RandomSamples(FormatOfProperty(other), 3, 3);
            EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &stereo), expected) << one << " to " << other;
            EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &left, &right), expected) << other << " to " << one;
        }
    }
    EXPECT_EQ(accepted, 4);
}

} // namespace
} // namespace zta::test
