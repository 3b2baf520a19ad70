#include "kernels/mono_to_stereo.h"
#include "kernels/stereo_to_mono.h"
#include "testing/guarded_buffer.h"
#include "testing/models/interleave_model.h"
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

/// An empty channel reads as silence.
Bytes Interleaved(const Bytes& left, const Bytes& right, std::size_t frames, std::size_t bytes)
{
    const Bytes silence(frames * bytes);
    return models::Interleaved({left.empty() ? silence : left, right.empty() ? silence : right}, bytes, frames);
}

Bytes ChannelOf(const Bytes& stereo, std::size_t channel, std::size_t frames, std::size_t bytes)
{
    Bytes mono(frames * bytes);
    for (std::size_t i = 0; i < mono.size(); ++i) {
        mono[i] = stereo[(2 * (i / bytes) + channel) * bytes + i % bytes];
    }
    return mono;
}

class MonoStereoTest : public testing::Test {
protected:
    CZtaConvertMonoToStereo interleaver_;
    CZtaConvertStereoToMono deinterleaver_;
};

using MonoStereoTables = MonoStereoTest;
using MonoStereoKernels = MonoStereoTest;
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
    const auto expectSuggested = [&](std::uint32_t bits, std::uint32_t inChannels, std::uint32_t outChannels) {
        EXPECT_EQ(in.ulBitsPerSample, bits);
        EXPECT_EQ(in.ulChannels, inChannels);
        EXPECT_EQ(out.ulBitsPerSample, bits);
        EXPECT_EQ(out.ulChannels, outChannels);
    };
    EXPECT_EQ(interleaver_.SuggestFormat(&mono16, &stereo24, &in, &out), 0);
    expectSuggested(32, 1, 2); // keeps the output
    EXPECT_EQ(deinterleaver_.SuggestFormat(&stereo24, &mono16, &in, &out), 0);
    expectSuggested(16, 2, 1);
}

// --- The kernels -----------------------------------------------------------------------------------------------------

TEST_F(MonoStereoKernels, MoveAnyCountOfFramesAndWriteNothingElse)
{
    for (const Case& c : kCases) {
        for (std::size_t frames = c.bytes == 3 ? 1 : 0; frames <= 300; ++frames) {
            SCOPED_TRACE(testing::Message() << c.mono << ": " << frames);
            Bytes left = RandomBytes(frames * c.bytes + 1);
            Bytes right = RandomBytes(frames * c.bytes + 1);
            Bytes stereo((frames + 9) * 2 * c.bytes, kPoison);
            ASSERT_EQ((interleaver_.*c.interleave)(frames, left.data(), right.data(), stereo.data()), 0);
            ASSERT_EQ(stereo, PadWithPoison(Interleaved(left, right, frames, c.bytes), stereo.size()));

            left.assign((frames + 17) * c.bytes, kPoison);
            right = left;
            ASSERT_EQ((deinterleaver_.*c.deinterleave)(frames, stereo.data(), left.data(), right.data()), 0);
            ASSERT_EQ(left, PadWithPoison(ChannelOf(stereo, 0, frames, c.bytes), left.size()));
            ASSERT_EQ(right, PadWithPoison(ChannelOf(stereo, 1, frames, c.bytes), right.size()));
        }
    }
}

TEST_F(MonoStereoKernels, ReadNothingWithoutAnOutput)
{
    const GuardedBuffer buffer(1);
    for (const Case& c : {k16, k24In32}) {
        for (const unsigned long frames : {1UL, 7UL, 100UL, 1UL << 40}) {
            EXPECT_EQ((deinterleaver_.*c.deinterleave)(frames, buffer.End(), nullptr, nullptr), 0);
        }
    }
}

TEST_F(MonoStereoKernels, DoNothingWithoutFramesExceptFor24In24)
{
    for (const Case& c : kCases) {
        const int status = c.bytes == 3 ? ZT_E_INVALID_PARAMETER : 0;
        Bytes stereo(8, kPoison);
        Bytes left(8, kPoison);
        Bytes right(8, kPoison);
        EXPECT_EQ((interleaver_.*c.interleave)(0, left.data(), right.data(), nullptr), status);
        EXPECT_EQ((interleaver_.*c.interleave)(0, left.data(), right.data(), stereo.data()), status);
        EXPECT_EQ((deinterleaver_.*c.deinterleave)(0, stereo.data(), left.data(), right.data()), status);
        for (const Bytes& bytes : {stereo, left, right}) {
            EXPECT_EQ(bytes, Bytes(8, kPoison));
        }
    }
}

TEST_F(MonoStereoKernels, Of24In24ValidateFramesThenOutputs)
{
    Bytes mono(6);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in24(2, mono.data(), mono.data(), nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(interleaver_.ConvertMonoToStereo24in24(2, nullptr, nullptr, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(0, nullptr, nullptr, nullptr), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(1, nullptr, nullptr, nullptr), ZT_E_INVALID_POINTER);
    Bytes stereo = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(deinterleaver_.ConvertStereoToMono24in24(1, stereo.data(), nullptr, nullptr), ZT_E_INVALID_POINTER);
}

// --- The operations --------------------------------------------------------------------------------------------------

TEST_F(MonoStereoOperations, MoveEachPairOfTheirTableAndSetTheOutputsLengths)
{
    for (const Case& c : kCases) {
        FakeAudioSamples left = RandomSamples(c.MonoFormat(), 11, 12);
        FakeAudioSamples right = RandomSamples(c.MonoFormat(), 11, 20);
        FakeAudioSamples stereo(c.StereoFormat(), 2, 11);
        EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &stereo), 0);
        EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, 11, c.bytes)) << c.mono;
        EXPECT_EQ(stereo.lengthsSet, Lengths{11 * 2 * c.bytes});

        FakeAudioSamples outputs[] = {FakeAudioSamples(c.MonoFormat(), 2, 11), FakeAudioSamples(c.MonoFormat(), 0, 11)};
        EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &outputs[0], &outputs[1]), 0);
        for (const std::size_t i : {0U, 1U}) {
            EXPECT_EQ(outputs[i].data, ChannelOf(stereo.data, i, 11, c.bytes)) << c.mono;
            EXPECT_EQ(outputs[i].lengthsSet, Lengths{11 * c.bytes});
        }
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

TEST_F(ConvertMonoToStereo, ReadsAnInputWithoutAPointerAsSilence)
{
    for (const Case& c : kCases) {
        for (const unsigned long frames : {1UL, 7UL, 11UL, 100UL}) {
            for (const auto& [leftIsNull, rightIsNull] : {std::pair{true, false}, {false, true}, {true, true}}) {
                const auto input = [&](bool isNull) {
                    FakeAudioSamples samples = RandomSamples(c.MonoFormat(), frames, frames);
                    samples.data = isNull ? Bytes() : samples.data;
                    return samples;
                };
                FakeAudioSamples left = input(leftIsNull);
                FakeAudioSamples right = input(rightIsNull);
                FakeAudioSamples stereo = RandomSamples(c.StereoFormat(), frames, frames);
                EXPECT_EQ(interleaver_.ConvertMonoToStereo(&left, &right, &stereo), 0) << c.mono;
                EXPECT_EQ(stereo.data, Interleaved(left.data, right.data, frames, c.bytes)) << c.mono;
            }
        }
    }
}

TEST_F(ConvertStereoToMono, DropsAnOutputWithoutAPointer)
{
    for (const Case& c : kCases) {
        for (const unsigned long frames : {1UL, 7UL, 11UL, 100UL}) {
            for (const std::size_t dropped : {0U, 1U}) {
                FakeAudioSamples stereo = RandomSamples(c.StereoFormat(), frames, frames);
                FakeAudioSamples outputs[] = {FakeAudioSamples(c.MonoFormat(), frames, frames),
                                              FakeAudioSamples(c.MonoFormat(), frames, frames)};
                outputs[dropped].data = Bytes();
                EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &outputs[0], &outputs[1]), 0) << c.stereo;
                EXPECT_EQ(outputs[1 - dropped].data, ChannelOf(stereo.data, 1 - dropped, frames, c.bytes)) << c.stereo;
                EXPECT_EQ(outputs[dropped].lengthsSet, Lengths{frames * c.bytes}) << c.stereo;
            }
        }
    }
}

TEST_F(ConvertStereoToMono, WritesSilenceWithoutAnInputPointerOnlyIn24In24)
{
    for (const Case& c : kCases) {
        for (const unsigned long frames : {1UL, 11UL, 31UL, 64UL}) {
            FakeAudioSamples stereo(c.StereoFormat(), frames, frames);
            stereo.data = Bytes();
            FakeAudioSamples outputs[] = {RandomSamples(c.MonoFormat(), frames, frames + 1),
                                          RandomSamples(c.MonoFormat(), frames, frames + 1)};
            const Bytes before[] = {outputs[0].data, outputs[1].data};
            EXPECT_EQ(deinterleaver_.ConvertStereoToMono(&stereo, &outputs[0], &outputs[1]), 0) << c.stereo;
            for (const std::size_t i : {0U, 1U}) {
                Bytes expected = before[i];
                std::fill_n(expected.begin(), c.bytes == 3 ? 3 * frames : 0, std::uint8_t{0});
                EXPECT_EQ(outputs[i].data, expected) << c.stereo;
                EXPECT_EQ(outputs[i].lengthsSet, Lengths{frames * c.bytes}) << c.stereo;
            }
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

TEST_F(MonoStereoOperations, ValidateTheMonoBuffersThenTheCapacityThenThePair)
{
    const SZtaWaveFormatInfo mono = k16.MonoFormat();
    const SZtaWaveFormatInfo mono44100 = kCases[1].MonoFormat();
    const SZtaWaveFormatInfo stereo = k16.StereoFormat();
    struct Buffer {
        SZtaWaveFormatInfo format;
        unsigned long frames; ///< valid ones of an input, the capacity of an output
        bool isNull = false;
    };
    const struct {
        bool interleaves;
        Buffer left;
        Buffer right;
        Buffer stereo;
        int status;
    } cases[] = {
        // The lengths differ, too.
        {true, {mono, 4}, {mono44100, 5}, {stereo, 2}, ZT_E_BUFFER_FORMAT_MISMATCH},
        {true, {mono, 4}, {mono, 5}, {stereo, 2}, ZT_E_BUFFER_SIZE_MISMATCH},
        {true, {mono, 5}, {mono, 4}, {stereo, 2}, ZT_E_BUFFER_SIZE_MISMATCH},
        {true, {mono, 4}, {mono, 4}, {stereo, 3}, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
        {true, {mono, 4}, {mono, 4}, {k24In32.StereoFormat(), 3}, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
        {true, {mono, 4}, {mono, 4}, {k24In32.StereoFormat(), 4}, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED},
        {false, {mono, 1}, {mono44100, 1}, {stereo, 4}, ZT_E_BUFFER_FORMAT_MISMATCH},
        {false, {k24In32.MonoFormat(), 3}, {k24In32.MonoFormat(), 3}, {stereo, 4}, ZT_E_DESTINATION_BUFFER_TOO_SMALL},
        {false,
         {k24In32.MonoFormat(), 4},
         {k24In32.MonoFormat(), 3},
         {stereo, 4},
         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED},
        // The kernels of 24-in-24 fail without an output.
        {true,
         {k24In24.MonoFormat(), 4},
         {k24In24.MonoFormat(), 4},
         {k24In24.StereoFormat(), 4, true},
         ZT_E_INVALID_POINTER},
        {false,
         {k24In24.MonoFormat(), 4, true},
         {k24In24.MonoFormat(), 4, true},
         {k24In24.StereoFormat(), 4},
         ZT_E_INVALID_POINTER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<FakeAudioSamples> buffers;
        for (const Buffer* buffer : {&c.left, &c.right, &c.stereo}) {
            const bool isInput = c.interleaves == (buffer != &c.stereo);
            buffers.push_back(RandomSamples(buffer->format, isInput ? buffer->frames : 0, buffer->frames));
            if (buffer->isNull) {
                buffers.back().data = Bytes();
            }
        }
        const std::vector<FakeAudioSamples> before = buffers;
        EXPECT_EQ(c.interleaves ? interleaver_.ConvertMonoToStereo(&buffers[0], &buffers[1], &buffers[2])
                                : deinterleaver_.ConvertStereoToMono(&buffers[2], &buffers[0], &buffers[1]),
                  c.status);
        // Inputs that differ are rejected before the output is queried.
        const bool inputsDiffer = c.interleaves && c.stereo.frames == 2;
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(buffers[i].data, before[i].data);
            EXPECT_TRUE(buffers[i].lengthsSet.empty());
            EXPECT_EQ(buffers[i].calls, i == 2 && inputsDiffer ? Calls() : kQueryCalls);
        }
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
