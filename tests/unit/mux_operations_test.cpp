// ConvertMonoToMux, ConvertStereoToMux, ConvertMuxToMono and ConvertMuxToStereo on fake buffers.

#include "testing/log_recorder.h"
#include "tests/unit/mux_cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <ostream>

namespace zta::test {
namespace {

using Volumes = std::vector<SZtAudioMonoVolumeInfo>;

/// The calls of `queries` queries of a buffer and of `lengths` settings of its length.
Calls QueriesAndLengths(int queries, int lengths)
{
    Calls calls;
    for (int i = 0; i < queries; ++i) {
        calls.insert(calls.end(), kQueryCalls.begin(), kQueryCalls.end());
    }
    calls.insert(calls.end(), static_cast<std::size_t>(lengths), "SetLength");
    return calls;
}

/// One of the four operations.
struct Operation {
    const char* name;
    bool interleaves;
    unsigned long channels; ///< of one buffer
    unsigned long maxBuffers;
    const std::vector<MuxCase>* kernels;

    int Run(IZtAudioSamples** buffers, unsigned long count, IZtAudioSamples* mux, SZtAudioMonoVolumeInfo* volumes,
            unsigned long volumeCount) const
    {
        if (interleaves) {
            return channels == 1
                       ? CZtaConvertMonoToMux().ConvertMonoToMux(buffers, count, mux, volumes, volumeCount)
                       : CZtaConvertStereoToMux().ConvertStereoToMux(buffers, count, mux, volumes, volumeCount);
        }
        return channels == 1 ? CZtaConvertMuxToMono().ConvertMuxToMono(mux, buffers, count, volumes, volumeCount)
                             : CZtaConvertMuxToStereo().ConvertMuxToStereo(mux, buffers, count, volumes, volumeCount);
    }
};

void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

const Operation kMonoToMux = {"MonoToMux", true, 1, 64, &kMonoToMuxCases};
const Operation kStereoToMux = {"StereoToMux", true, 2, 32, &kStereoToMuxCases};
const Operation kMuxToMono = {"MuxToMono", false, 1, 64, &kMuxToMonoCases};
const Operation kMuxToStereo = {"MuxToStereo", false, 2, 64, &kMuxToStereoCases};

/// The buffers of one call, with random samples everywhere.
struct Call {
    Call(const Operation& op, int property, unsigned long count, unsigned long frames, int muxProperty,
         unsigned long muxFrames)
        : operation(op), mux(RandomSamples(FormatOfProperty(muxProperty), muxFrames, muxFrames))
    {
        for (unsigned long i = 0; i < count; ++i) {
            buffers.push_back(RandomSamples(FormatOfProperty(property), frames, frames));
        }
    }

    /// The buffers of a named kernel.
    Call(const Operation& op, const MuxCase& kernel, unsigned long frames, unsigned long muxFrames)
        : Call(op, kernel.PlaneProperty(), kernel.buffers, frames, kernel.MuxProperty(), muxFrames)
    {
    }

    Call(const Operation& op, const MuxCase& kernel, unsigned long frames) : Call(op, kernel, frames, frames) {}

    int Run(Volumes volumes = {}) { return Run(volumes.data(), volumes.size()); }
    int Run(SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount)
    {
        std::vector<IZtAudioSamples*> pointers;
        for (FakeAudioSamples& buffer : buffers) {
            pointers.push_back(&buffer);
        }
        return operation.Run(pointers.data(), pointers.size(), &mux, volumes, volumeCount);
    }

    void SetLengths(unsigned long bytes)
    {
        for (FakeAudioSamples& buffer : buffers) {
            buffer.length = bytes;
        }
    }

    std::vector<Bytes> Samples() const
    {
        std::vector<Bytes> samples;
        for (const FakeAudioSamples& buffer : buffers) {
            samples.push_back(buffer.data);
        }
        return samples;
    }

    /// Returns true if no length was set and no byte differs.
    bool IsUntouched(const Call& before) const
    {
        return mux.data == before.mux.data && Samples() == before.Samples() && mux.lengthsSet.empty() &&
               std::all_of(buffers.begin(), buffers.end(),
                           [](const auto& buffer) { return buffer.lengthsSet.empty(); });
    }

    /// Returns true if the mux holds `frames` frames of the buffers. `muxed` is the mux before the call.
    bool HasMoved(const Bytes& muxed, unsigned long elementBytes, unsigned long frames) const
    {
        return Interleaved(Samples(), elementBytes, frames) == (operation.interleaves ? mux.data : muxed);
    }

    /// The mux, with its first frames replaced by those of the buffers.
    Bytes MuxWith(unsigned long elementBytes, unsigned long frames) const
    {
        Bytes bytes = mux.data;
        const Bytes muxed = Interleaved(Samples(), elementBytes, frames);
        std::copy(muxed.begin(), muxed.end(), bytes.begin());
        return bytes;
    }

    const Operation& operation;
    std::deque<FakeAudioSamples> buffers;
    FakeAudioSamples mux;
};

/// Volumes that do not change from frame to frame.
Volumes Flat(std::size_t count, float gain)
{
    return Volumes(count, SZtAudioMonoVolumeInfo{0, gain, gain});
}

/// A 24-in-32 sample times 0.5, in 24-bit arithmetic.
std::uint32_t Halved(std::uint32_t word)
{
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(word) >> 9) << 8;
}

std::uint32_t Word(const Bytes& bytes, std::size_t index)
{
    std::uint32_t word = 0;
    std::memcpy(&word, &bytes[index * 4], 4);
    return word;
}

void Fill(Bytes& bytes, std::uint32_t word)
{
    for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
        std::memcpy(&bytes[i], &word, 4);
    }
}

bool IsConvert16MonoToMux16(const MuxCase& kernel)
{
    return std::string(kernel.name) == "Convert16MonoToMux16";
}

bool ReadsNullPlanes(const MuxCase& kernel)
{
    return kernel.interleaves && !kernel.HasFixedCount() && kernel.PlaneProperty() < 20;
}

int NullPlaneStatus(const MuxCase& kernel)
{
    return kernel.interleaves && !IsConvert16MonoToMux16(kernel) ? ZT_E_INVALID_PARAMETER : ZT_E_INVALID_POINTER;
}

/// The three formats of the array.
std::vector<int> ArrayProperties(const Operation& operation)
{
    return operation.channels == 1 ? std::vector<int>{8, 20, 1} : std::vector<int>{9, 21, 2};
}

/// The status for a format that is none of the three of the array.
int FormatStatus(const Operation& operation)
{
    return operation.interleaves ? ZT_E_INPUT_FORMAT_NOT_SUPPORTED : ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED;
}

/// Expects the status, and that no length was set and no byte written.
void ExpectRejected(Call& call, int status, Volumes volumes = {})
{
    const Call before = call;
    EXPECT_EQ(call.Run(volumes), status);
    EXPECT_TRUE(call.IsUntouched(before));
}

class MuxOperation : public testing::TestWithParam<Operation> {
protected:
    const Operation& operation_ = GetParam();
    const std::vector<MuxCase>& kernels_ = *operation_.kernels;
    const MuxCase& first_ = kernels_.front();
};

class MuxInterleave : public MuxOperation {};
class MuxDeinterleave : public MuxOperation {};

const auto kOperationName = [](const auto& operation) { return operation.param.name; };
INSTANTIATE_TEST_SUITE_P(All, MuxOperation, testing::Values(kMonoToMux, kStereoToMux, kMuxToMono, kMuxToStereo),
                         kOperationName);
INSTANTIATE_TEST_SUITE_P(All, MuxInterleave, testing::Values(kMonoToMux, kStereoToMux), kOperationName);
INSTANTIATE_TEST_SUITE_P(All, MuxDeinterleave, testing::Values(kMuxToMono, kMuxToStereo), kOperationName);

// ---- All four operations ----

TEST_P(MuxOperation, MovesTheSamplesOfEachTableEntryAndSetTheLength)
{
    for (const MuxCase& kernel : kernels_) {
        for (const unsigned long frames : {0ul, 13ul}) {
            SCOPED_TRACE(testing::Message() << kernel.name << ", " << frames << " frames");
            Call call(operation_, kernel, frames);
            const Bytes muxed = call.mux.data;
            EXPECT_EQ(call.Run(), 0);
            EXPECT_TRUE(call.HasMoved(muxed, kernel.elementBytes, frames));
            const unsigned long muxBytes = frames * kernel.buffers * kernel.elementBytes;
            EXPECT_EQ(call.mux.lengthsSet, operation_.interleaves ? Lengths{muxBytes} : Lengths());
            for (const FakeAudioSamples& buffer : call.buffers) {
                EXPECT_EQ(buffer.lengthsSet,
                          operation_.interleaves ? Lengths() : Lengths{frames * kernel.elementBytes});
            }
        }
    }
}

TEST_P(MuxOperation, RejectsOtherCountsOfBuffersFirst)
{
    for (const unsigned long count : {0ul, operation_.maxBuffers + 1, 100ul}) {
        FakeAudioSamples mux;
        EXPECT_EQ(operation_.Run(nullptr, count, nullptr, nullptr, 0), ZT_E_INVALID_PARAMETER);
        EXPECT_EQ(operation_.Run(nullptr, count, &mux, nullptr, count * operation_.channels), ZT_E_INVALID_PARAMETER);
        EXPECT_TRUE(mux.calls.empty());
    }
}

TEST_P(MuxOperation, RejectsVolumesThatDoNotFitTheBuffersBeforeTheBuffers)
{
    const unsigned long fits = first_.buffers * operation_.channels;
    Call call(operation_, first_, 4);
    for (const unsigned long volumes : {1ul, fits - 1, fits + operation_.channels, 65ul}) {
        SCOPED_TRACE(volumes);
        ExpectRejected(call, ZT_E_INVALID_PARAMETER, Flat(volumes, 1.0f));
        EXPECT_EQ(call.Run(nullptr, volumes), ZT_E_INVALID_PARAMETER);
    }
    EXPECT_EQ(call.Run(nullptr, fits), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(call.buffers[0].calls.empty());
}

TEST_P(MuxOperation, IgnoresVolumesWithoutACount)
{
    Call call(operation_, first_, 4);
    EXPECT_EQ(call.Run(reinterpret_cast<SZtAudioMonoVolumeInfo*>(1), 0), 0);
}

TEST_P(MuxOperation, AcceptsThreeFormatsInTheArray)
{
    std::vector<SZtaWaveFormatInfo> others = {WaveFormat(1, 16, 16, 44100, 1), WaveFormat(1, 16, 16, 44100, 2),
                                              WaveFormat(2, 32, 32, 48000, 1), WaveFormat(2, 32, 32, 48000, 2),
                                              WaveFormat(1, 32, 24, 96000, 1)};
    const std::vector<int> accepted = ArrayProperties(operation_);
    for (int property = 1; property <= 26; ++property) {
        const bool named = property <= 14 || property >= 20;
        if (named && std::count(accepted.begin(), accepted.end(), property) == 0) {
            others.push_back(FormatOfProperty(property));
        }
    }
    for (const SZtaWaveFormatInfo& format : others) {
        for (const unsigned long at : {0ul, 1ul}) {
            Call call(operation_, first_, 4);
            call.buffers[at].format = format;
            ExpectRejected(call, FormatStatus(operation_));
            EXPECT_TRUE(call.mux.calls.empty());
        }
    }
}

TEST_P(MuxOperation, ValidatesTheFormatOfABufferBeforeItsLength)
{
    Call call(operation_, first_, 4);
    call.buffers[1].format = WaveFormat(2, 32, 32, 48000, 1);
    call.buffers[1].length = 4;
    EXPECT_EQ(call.Run(), FormatStatus(operation_));
}

TEST_P(MuxOperation, RejectsBuffersOfDifferentLengthsAtTheFirstThatDiffers)
{
    const MuxCase& kernel = kernels_[1];
    for (const unsigned long other : {999ul, 1001ul}) {
        Call call(operation_, kernel, 1000);
        call.buffers[2].length = other * kernel.elementBytes;
        ExpectRejected(call, ZT_E_BUFFER_SIZE_MISMATCH);
        EXPECT_EQ(call.buffers[2].calls, kQueryCalls);
        EXPECT_TRUE(call.buffers[3].calls.empty());
        EXPECT_TRUE(call.mux.calls.empty());
    }
}

TEST_P(MuxOperation, ComparesValidLengthsAndNotCapacities)
{
    for (const MuxCase& kernel : kernels_) {
        SCOPED_TRACE(kernel.name);
        Call call(operation_, kernel, 80);
        if (operation_.interleaves) {
            call.mux.length -= 30;
        } else {
            call.SetLengths(50 * kernel.elementBytes);
        }
        ExpectRejected(call, ZT_E_DESTINATION_BUFFER_TOO_SMALL);

        Call odd(operation_, kernel, 20); // if a host reports no capacity, the lengths are sufficient
        odd.mux.capacity = 0;
        for (FakeAudioSamples& buffer : odd.buffers) {
            buffer.capacity = 0;
        }
        const Bytes muxed = odd.mux.data;
        EXPECT_EQ(odd.Run(), 0);
        EXPECT_TRUE(odd.HasMoved(muxed, kernel.elementBytes, 20));
    }
}

TEST_P(MuxOperation, ValidatesTheLengthsBeforeThePair)
{
    const unsigned long frames = operation_.interleaves ? 9 : 7;
    const unsigned long muxFrames = 16 - frames;
    Call call(operation_, first_, frames, muxFrames);
    call.mux.format = WaveFormat(2, 32, 32, 48000, static_cast<std::uint32_t>(operation_.channels));
    call.mux.length = muxFrames * 4 * operation_.channels;
    EXPECT_EQ(call.Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
}

TEST_P(MuxOperation, HasNoTableEntryForOtherPairs)
{
    int entries = 0;
    for (const int property : ArrayProperties(operation_)) {
        for (int muxProperty = 1; muxProperty <= 26; ++muxProperty) {
            if (muxProperty > 14 && muxProperty < 20) {
                continue;
            }
            const auto kernel = std::find_if(kernels_.begin(), kernels_.end(), [=](const MuxCase& r) {
                return r.PlaneProperty() == property && r.MuxProperty() == muxProperty;
            });
            const bool found = kernel != kernels_.end();
            entries += found;
            Call call(operation_, property, found ? kernel->buffers : 2, 3, muxProperty, 3);
            const Call before = call;
            EXPECT_EQ(call.Run(), found ? 0 : ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED) << property << " " << muxProperty;
            EXPECT_EQ(call.IsUntouched(before), !found);
        }
    }
    EXPECT_EQ(entries, 15);
}

TEST_P(MuxOperation, ReturnsAFailureOfTheKernel)
{
    const unsigned long count = first_.buffers + 1; // the kernel accepts its own count only
    Call call(operation_, first_.PlaneProperty(), count, 5, first_.MuxProperty(), 5);
    ExpectRejected(call, ZT_E_INVALID_PARAMETER);
    ExpectRejected(call, ZT_E_INVALID_PARAMETER, Flat(count * operation_.channels, 1.0f));
}

TEST_P(MuxOperation, ValidatesTheCountOfBuffersEvenIfNoFrameFits)
{
    for (const MuxCase& kernel : kernels_) {
        // One frame of the mux is too small for one element of each.
        const unsigned long count = 2 * kernel.buffers;
        if (count > operation_.maxBuffers) {
            continue;
        }
        Call call(operation_, kernel.PlaneProperty(), count, 1, kernel.MuxProperty(), 1);
        const Call before = call;
        const bool isRejected = kernel.HasFixedCount() || count > (operation_.channels == 1 ? 64 : 32);
        EXPECT_EQ(call.Run(), isRejected ? ZT_E_INVALID_PARAMETER : 0) << kernel.name;
        EXPECT_EQ(call.mux.data, before.mux.data) << kernel.name;
        EXPECT_EQ(call.Samples(), before.Samples()) << kernel.name;
        EXPECT_EQ(call.IsUntouched(before), isRejected) << kernel.name;
    }
}

TEST_P(MuxOperation, ValidatesPointersEvenIfNoFrameFits)
{
    const int narrow = operation_.channels == 1 ? 1 : 2;
    for (const MuxCase& kernel : kernels_) {
        if (kernel.PlaneProperty() == narrow) {
            continue;
        }
        const bool takesAnyCount = kernel.interleaves && !kernel.HasFixedCount();
        const struct {
            bool planeIsNull;
            bool muxIsNull;
            int status;
        } cases[] = {{false, false, 0},
                     {true, false, ReadsNullPlanes(kernel) ? 0 : NullPlaneStatus(kernel)},
                     {false, true, takesAnyCount ? ZT_E_INVALID_POINTER : 0}};
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << kernel.name << c.planeIsNull << c.muxIsNull);
            Call call(operation_, kernel, 1);
            // It cannot hold one element of the first buffer's container.
            call.buffers[1] = FakeAudioSamples(FormatOfProperty(narrow), 1, 1);
            if (c.planeIsNull) {
                call.buffers[0].data = Bytes();
            }
            if (c.muxIsNull) {
                call.mux.data = Bytes();
            }
            const Call before = call;
            EXPECT_EQ(call.Run(), c.status);
            EXPECT_EQ(call.mux.data, before.mux.data);
            EXPECT_EQ(call.Samples(), before.Samples());
            EXPECT_EQ(call.IsUntouched(before), c.status != 0);
        }
    }
}

TEST_P(MuxOperation, RejectsASuccessfulQueryWithoutAPointer)
{
    for (const MuxCase& kernel : kernels_) {
        if (ReadsNullPlanes(kernel)) {
            continue; // the sources must not be null
        }
        for (const unsigned long i : {0UL, kernel.buffers - 1}) {
            SCOPED_TRACE(kernel.name);
            Call call(operation_, kernel, 5);
            call.buffers[i].data = Bytes();
            ExpectRejected(call, NullPlaneStatus(kernel));
        }
    }
}

TEST_P(MuxDeinterleave, GivesABufferThatOccursTwiceItsLastChannel)
{
    for (const MuxCase& kernel : kernels_) {
        for (const unsigned long frames : {1UL, 5UL, 64UL, 200UL}) {
            Call call(operation_, kernel, frames);
            Call separate = call;
            std::vector<IZtAudioSamples*> pointers;
            for (FakeAudioSamples& buffer : call.buffers) {
                pointers.push_back(&buffer);
            }
            pointers.front() = pointers.back();
            EXPECT_EQ(operation_.Run(pointers.data(), pointers.size(), &call.mux, nullptr, 0), 0) << kernel.name;
            EXPECT_EQ(separate.Run(), 0) << kernel.name;
            std::vector<Bytes> expected = separate.Samples();
            expected.front() = call.buffers.front().data; // this buffer is not in the array
            EXPECT_EQ(call.Samples(), expected) << kernel.name << " " << frames;
            EXPECT_EQ(call.buffers.back().lengthsSet.size(), 2U) << kernel.name;
        }
    }
}

TEST(MuxToMono, AppliesTheVolumesOfABufferThatOccursTwiceOneAfterTheOther)
{
    const MuxCase& kernel = kMuxToMonoCases[0];
    Call call(kMuxToMono, kernel, 8);
    Fill(call.mux.data, 0x10000000);
    std::vector<IZtAudioSamples*> pointers(4, &call.buffers[3]);
    Volumes volumes = Flat(4, 0.5f);
    EXPECT_EQ(kMuxToMono.Run(pointers.data(), 4, &call.mux, volumes.data(), 4), 0);
    for (std::size_t f = 0; f < 8; ++f) {
        EXPECT_EQ(Word(call.buffers[3].data, f), 0x01000000U);
    }
}

TEST_P(MuxOperation, CountsWholeFrames)
{
    const MuxCase& kernel = first_;
    Call call(operation_, kernel, 5);
    for (FakeAudioSamples& buffer : call.buffers) {
        buffer.length = 4 * kernel.elementBytes + 3;
    }
    call.mux.length = 4 * kernel.elementBytes * kernel.buffers + 1;
    const Lengths set = {4 * kernel.elementBytes * (operation_.interleaves ? kernel.buffers : 1)};
    EXPECT_EQ(call.Run(), 0);
    EXPECT_EQ((operation_.interleaves ? call.mux : call.buffers[1]).lengthsSet, set);
}

TEST_P(MuxOperation, AppliesEachVolumeToItsChannel)
{
    const MuxCase& kernel = kernels_[1]; // 8 channels
    for (const unsigned long frames : {9UL, 12UL}) {
        Call call(operation_, kernel, frames);
        const Bytes input =
            operation_.interleaves ? Interleaved(call.Samples(), kernel.elementBytes, frames) : call.mux.data;
        Volumes volumes = Flat(8, 1.0f);
        volumes[3] = {0, 0.5f, 0.5f};
        volumes[6] = {0, 0.0f, 0.0f};
        EXPECT_EQ(call.Run(volumes), 0);
        const Bytes result =
            operation_.interleaves ? call.mux.data : Interleaved(call.Samples(), kernel.elementBytes, frames);
        for (std::size_t i = 0; i < 8 * frames; ++i) {
            const std::uint32_t word = Word(input, i) & 0xFFFFFF00;
            const std::uint32_t expected = i % 8 == 3 ? Halved(word) : i % 8 == 6 ? 0 : word;
            EXPECT_EQ(Word(result, i), expected) << i;
        }
        for (const FakeAudioSamples& buffer : call.buffers) {
            // The volume step queries a deinterleaved buffer as its output and as its input.
            EXPECT_EQ(buffer.calls, operation_.interleaves ? kQueryCalls : QueriesAndLengths(3, 1));
        }
    }
}

TEST_P(MuxOperation, RejectsVolumesForOtherFormatsAfterTheMove)
{
    for (const MuxCase& kernel : kernels_) {
        if (kernel.PlaneProperty() == 8 || kernel.PlaneProperty() == 9) {
            continue;
        }
        for (const unsigned long frames : {11UL, 12UL}) {
            Call call(operation_, kernel, frames);
            const Bytes muxed = call.mux.data;
            const bool is24In24 = !operation_.interleaves && kernel.output >= 20;
            EXPECT_EQ(call.Run(Flat(kernel.buffers * operation_.channels, 1.0f)),
                      is24In24 ? ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED : ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED)
                << kernel.name;
            EXPECT_TRUE(call.HasMoved(muxed, kernel.elementBytes, frames)) << kernel.name;
            EXPECT_TRUE(call.mux.lengthsSet.empty()) << kernel.name;
            for (const FakeAudioSamples& buffer : call.buffers) {
                EXPECT_TRUE(buffer.lengthsSet.empty()) << kernel.name;
            }
        }
    }
}

// ---- Interleaving ----

TEST_P(MuxInterleave, ShortensALongerMux)
{
    for (const MuxCase& kernel : kernels_) {
        Call call(operation_, kernel, 60, 100);
        const Bytes expected = call.MuxWith(kernel.elementBytes, 60);
        EXPECT_EQ(call.Run(), 0) << kernel.name;
        EXPECT_EQ(call.mux.data, expected) << kernel.name;
        EXPECT_EQ(call.mux.length, 60 * kernel.buffers * kernel.elementBytes) << kernel.name;
    }
}

TEST(StereoToMux, RejectsAnOddVolumeAfterTheInterleaving)
{
    for (const MuxCase& kernel : kStereoToMuxCases) {
        if (kernel.input != 9) {
            continue;
        }
        Call call(kStereoToMux, kernel, 5);
        EXPECT_EQ(call.Run(Flat(kernel.buffers * 2 + 1, 1.0f)), ZT_E_INVALID_PARAMETER) << kernel.name;
        EXPECT_EQ(call.mux.data, Interleaved(call.Samples(), kernel.elementBytes, 5)) << kernel.name;
        EXPECT_TRUE(call.mux.lengthsSet.empty()) << kernel.name;
    }
}

TEST(MonoToMux, UsesTheContainerOfTheFirstBufferAndReadsNothingBehindABuffer)
{
    // Narrow buffers have memory for 6 elements of the first buffer's container. One that differs from the previous one
    // only in its capacity is validated separately.
    const MuxCase& kernel = kMonoToMuxCases[0];
    const std::vector<std::pair<std::size_t, unsigned long>> narrow[] = {{{2, 12}}, {{1, 24}, {2, 12}}};
    for (const auto& capacities : narrow) {
        Call call(kMonoToMux, kernel, 12);
        for (const auto& [i, capacity] : capacities) {
            call.buffers[i] = RandomSamples(FormatOfProperty(1), 12, capacity);
        }
        const Bytes expected = call.MuxWith(kernel.elementBytes, 6);
        EXPECT_EQ(call.Run(), 0);
        EXPECT_EQ(call.mux.data, expected);
        EXPECT_EQ(call.mux.lengthsSet, Lengths{12 * 16});
    }

    // A wider container has enough elements, but other ones.
    Call wide(kMonoToMux, 1, 4, 12, 3, 12);
    wide.buffers[2] = RandomSamples(FormatOfProperty(8), 12, 12);
    EXPECT_EQ(wide.Run(), 0);
    EXPECT_EQ(wide.mux.data, Interleaved(wide.Samples(), 2, 12));
}

TEST(MonoToMux, WritesNothingBehindTheMuxWithMoreBuffersThanItHasChannels)
{
    Call call(kMonoToMux, 8, 64, 10, 13, 10); // 32 channels
    const Bytes expected = call.MuxWith(4, 5);
    EXPECT_EQ(call.Run(), 0);
    EXPECT_EQ(call.mux.data, expected);
}

// ---- Deinterleaving ----

TEST_P(MuxDeinterleave, SetsAllLengthsAndReturnsTheLastFailure)
{
    const MuxCase& kernel = kernels_[1];
    Call call(operation_, kernel, 6);
    const Bytes muxed = call.mux.data;
    call.buffers[1].setLengthStatus = -5;
    EXPECT_EQ(call.Run(), -5);
    for (const FakeAudioSamples& buffer : call.buffers) {
        EXPECT_EQ(buffer.lengthsSet, Lengths{6 * kernel.elementBytes});
    }
    EXPECT_EQ(Interleaved(call.Samples(), kernel.elementBytes, 6), muxed);

    call.buffers[2].setLengthStatus = -9;
    EXPECT_EQ(call.Run(), -9);
    call.buffers[1].setLengthStatus = 0;
    call.buffers[2].setLengthStatus = 0;
    call.buffers[3].setLengthStatus = 4; // a success is not returned
    EXPECT_EQ(call.Run(), 0);
}

TEST_P(MuxDeinterleave, RejectsEmptyBuffersForAMuxWithData)
{
    Call call(operation_, first_, 0, 3);
    EXPECT_EQ(call.Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
}

TEST_P(MuxDeinterleave, FillsLongerOutputsFromBehindTheMuxsValidLength)
{
    for (const MuxCase& kernel : kernels_) {
        Call call(operation_, kernel, 80);
        call.mux.length = 50 * kernel.buffers * kernel.elementBytes;
        EXPECT_EQ(call.Run(), 0) << kernel.name;
        EXPECT_EQ(Interleaved(call.Samples(), kernel.elementBytes, 80), call.mux.data) << kernel.name;
        for (const FakeAudioSamples& buffer : call.buffers) {
            EXPECT_EQ(buffer.lengthsSet, Lengths{50 * kernel.elementBytes}) << kernel.name;
        }
    }
}

TEST_P(MuxDeinterleave, ReadsNothingBehindTheMuxsMemory)
{
    for (const MuxCase& kernel : kernels_) {
        for (const unsigned long muxFrames : {0ul, 50ul, 60ul}) {
            Call call(operation_, kernel, 80, muxFrames);
            call.mux.length = std::min(muxFrames, 50ul) * kernel.buffers * kernel.elementBytes;
            const std::vector<Bytes> before = call.Samples();
            EXPECT_EQ(call.Run(), 0) << kernel.name;
            EXPECT_EQ(Interleaved(call.Samples(), kernel.elementBytes, muxFrames), call.mux.data) << kernel.name;
            for (std::size_t i = 0; i < kernel.buffers; ++i) {
                const auto moved = static_cast<std::ptrdiff_t>(muxFrames * kernel.elementBytes);
                EXPECT_TRUE(
                    std::equal(before[i].begin() + moved, before[i].end(), call.buffers[i].data.begin() + moved));
                EXPECT_EQ(call.buffers[i].lengthsSet, Lengths{std::min(muxFrames, 50ul) * kernel.elementBytes});
            }
        }
    }
}

TEST(MuxToMono, SelectsTheTailByTheFramesOfTheOutputs)
{
    const MuxCase& kernel = kMuxToMonoCases[2]; // 16 channels: the third frame of a tail repeats channels 8 to 11
    for (const unsigned long frames : {7UL, 8UL, 9UL, 11UL, 12UL, 52UL}) {
        for (const unsigned long muxFrames : {3UL, 6UL, 7UL, 8UL, 11UL, 51UL}) {
            Call call(kMuxToMono, kernel, frames, std::min(frames, muxFrames));
            std::vector<Bytes> expected = call.Samples();
            for (std::size_t c = 0; c < 16; ++c) {
                for (unsigned long f = 0; f < std::min(frames, muxFrames); ++f) {
                    const bool isRepeated = frames % 4 == 3 && f == frames - 1 && c >= 12;
                    std::memcpy(&expected[c][f * 4], &call.mux.data[(f * 16 + c - (isRepeated ? 4 : 0)) * 4], 4);
                }
            }
            EXPECT_EQ(call.Run(), 0);
            EXPECT_EQ(call.Samples(), expected) << frames << " " << muxFrames;
        }
    }
}

TEST_P(MuxDeinterleave, CountsBlocksByTheFramesOfTheOutputs)
{
    for (const MuxCase& kernel : kernels_) {
        if (!kernel.HasFixedCount()) {
            continue;
        }
        const unsigned long frames = kernel.blockFrames << 16; // the low 16 bits of the count of blocks are 0
        Call none(operation_, kernel, frames, frames - 1);
        const std::vector<Bytes> before = none.Samples();
        EXPECT_EQ(none.Run(), 0) << kernel.name;
        EXPECT_TRUE(none.Samples() == before) << kernel.name;

        Call all(operation_, kernel, frames + kernel.blockFrames, frames);
        EXPECT_EQ(all.Run(), 0) << kernel.name;
        EXPECT_TRUE(Interleaved(all.Samples(), kernel.elementBytes, frames) == all.mux.data) << kernel.name;
    }
}

TEST_P(MuxInterleave, CountsBlocksByTheFramesOfTheInputs)
{
    for (const MuxCase& kernel : kernels_) {
        if (!kernel.HasFixedCount() || IsConvert16MonoToMux16(kernel)) {
            continue;
        }
        const unsigned long frames = kernel.blockFrames << 16;
        Call call(operation_, kernel, frames);
        // It has memory for half of the frames.
        call.buffers[1] = FakeAudioSamples(FormatOfProperty(operation_.channels == 1 ? 1 : 2), frames, frames);
        const Bytes before = call.mux.data;
        EXPECT_EQ(call.Run(), 0) << kernel.name;
        EXPECT_TRUE(call.mux.data == before) << kernel.name;
    }
}

TEST(MuxToMono, UsesTheContainerOfTheFirstOutputAndWritesNothingBehindAnOutput)
{
    const MuxCase& kernel = kMuxToMonoCases[0];
    Call call(kMuxToMono, kernel, 12);
    FakeAudioSamples& narrow = call.buffers[2];
    narrow = FakeAudioSamples(FormatOfProperty(1), 12, 12); // has memory for 6 elements of the mux's
    const Bytes muxed = call.mux.data;
    EXPECT_EQ(call.Run(), 0);
    EXPECT_EQ(Interleaved(call.Samples(), 4, 6), Bytes(muxed.begin(), muxed.begin() + 6 * 16));
    EXPECT_EQ(narrow.lengthsSet, Lengths{48}); // by the frames of the first
}

TEST_P(MuxOperation, ScalesWholeOutputsAndKeepsTheirLengths)
{
    for (const MuxCase& kernel : kernels_) {
        if (kernel.PlaneProperty() != 8 && kernel.PlaneProperty() != 9) {
            continue;
        }
        // Outputs of 100 frames, of which the input has 60. A step is 4096 / 100 = 40 parts of 4096.
        const unsigned long channels = kernel.buffers * operation_.channels;
        Call call(operation_, kernel, operation_.interleaves ? 60 : 100, 100);
        for (FakeAudioSamples& buffer : call.buffers) {
            Fill(buffer.data, 0x10000000); // 4096 times 256
        }
        Fill(call.mux.data, 0x10000000);
        if (!operation_.interleaves) {
            call.mux.length = 60 * kernel.buffers * kernel.elementBytes;
        }
        EXPECT_EQ(call.Run(Volumes(channels, SZtAudioMonoVolumeInfo{0, 0.0f, 1.0f})), 0) << kernel.name;
        const auto expectScaled = [&](const FakeAudioSamples& output, unsigned long outputChannels) {
            for (std::size_t i = 0; i < 100 * outputChannels; ++i) {
                ASSERT_EQ(Word(output.data, i), i / outputChannels * 40 * 256 * 256) << kernel.name << " " << i;
            }
            EXPECT_EQ(output.lengthsSet, Lengths{400 * outputChannels}) << kernel.name;
        };
        if (operation_.interleaves) {
            expectScaled(call.mux, channels);
            continue;
        }
        for (const FakeAudioSamples& buffer : call.buffers) {
            expectScaled(buffer, operation_.channels);
        }
    }
}

TEST_P(MuxDeinterleave, AppliesAllVolumesAndReturnsTheLastFailure)
{
    const MuxCase& kernel = kernels_[1];
    Call call(operation_, kernel, 8);
    call.buffers[1].setLengthStatus = -5;
    Volumes volumes = Flat(8, 1.0f);
    EXPECT_EQ(call.Run(volumes), -5);
    volumes[2 * operation_.channels] = {0, 9.0f, 9.0f}; // of the third output
    EXPECT_EQ(call.Run(volumes), ZT_E_INVALID_PARAMETER);
    for (std::size_t i = 0; i < kernel.buffers; ++i) {
        EXPECT_EQ(call.buffers[i].lengthsSet.size(), i == 2 ? 1u : 2u);
    }
}

TEST(MuxToStereo, RejectsMoreThan32BuffersInTheKernelOnly)
{
    for (const unsigned long count : {33ul, 64ul}) {
        for (const unsigned long frames : {1ul, 4ul}) { // no frame fits in the mux's first
            Call call(kMuxToStereo, 9, count, frames, 14, frames);
            ExpectRejected(call, ZT_E_INVALID_PARAMETER);
            ExpectRejected(call, ZT_E_INVALID_PARAMETER, Flat(count * 2 + 1, 1.0f));
            EXPECT_EQ(call.mux.calls, QueriesAndLengths(2, 0));
        }
        Call empty(kMuxToStereo, 9, count, 0, 14, 0);
        EXPECT_EQ(empty.Run(), 0);
        EXPECT_EQ(empty.buffers.back().lengthsSet, Lengths{0});
    }
}

TEST(MuxToStereo, AcceptsAnOddVolumeForStereoBuffers)
{
    Call call(kMuxToStereo, kMuxToStereoCases[0], 8);
    EXPECT_EQ(call.Run(Flat(5, 0.0f)), 0);
    EXPECT_EQ(call.buffers[0].data, Bytes(64));
    EXPECT_EQ(call.buffers[1].data, Bytes(64));
}

// ---- SuggestFormat ----

/// Expects the properties of the suggestion for two formats.
template <class Class>
void ExpectSuggestion(std::pair<int, int> given, std::pair<int, int> suggested)
{
    Class kernels;
    SZtaWaveFormatInfo in = FormatOfProperty(given.first);
    SZtaWaveFormatInfo out = FormatOfProperty(given.second);
    SZtaWaveFormatInfo suggestedIn{};
    SZtaWaveFormatInfo suggestedOut{};
    EXPECT_EQ(kernels.SuggestFormat(&in, &out, &suggestedIn, &suggestedOut), 0);
    EZtAudioSampleFormatProperty properties[2] = {};
    kernels.GetSampleFormat(&suggestedIn, &properties[0]);
    kernels.GetSampleFormat(&suggestedOut, &properties[1]);
    EXPECT_EQ((std::pair<int, int>(properties[0], properties[1])), suggested);
}

/// Expects that pairs of the table are kept, and that a failure writes nothing and is logged.
template <class Class>
void ExpectPairsKeptAndFailureLogged(const std::vector<MuxCase>& cases)
{
    LogRecorder::Clear();
    for (const MuxCase& kernel : cases) {
        ExpectSuggestion<Class>({kernel.input, kernel.output}, {kernel.input, kernel.output});
    }
    EXPECT_EQ(LogRecorder::Count(), 0u);
    SZtaWaveFormatInfo good = FormatOfProperty(8);
    SZtaWaveFormatInfo bad = WaveFormat(1, 8, 8, 48000, 1);
    SZtaWaveFormatInfo in{};
    SZtaWaveFormatInfo out{};
    EXPECT_EQ(Class().SuggestFormat(&good, &bad, &in, &out), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1u);
    EXPECT_EQ(LogRecorder::LastText(), "[ASSERT] hr = ZT_E_FORMAT_NOT_SUPPORTED: The format of the surface or audio "
                                       "samples is not supported in the requested processing.");
    EXPECT_EQ(in.ulSize, 0u);
}

TEST(MuxSuggestFormat, KeepsTheFormatsOfATableEntryAndLogsAFailure)
{
    ExpectPairsKeptAndFailureLogged<CZtaConvertMonoToMux>(kMonoToMuxCases);
    ExpectPairsKeptAndFailureLogged<CZtaConvertStereoToMux>(kStereoToMuxCases);
    ExpectPairsKeptAndFailureLogged<CZtaConvertMuxToMono>(kMuxToMonoCases);
    ExpectPairsKeptAndFailureLogged<CZtaConvertMuxToStereo>(kMuxToStereoCases);
}

TEST(MuxSuggestFormat, ProposesTheMuxsContainerForInterleaving)
{
    ExpectSuggestion<CZtaConvertMonoToMux>({1, 11}, {8, 11});
    ExpectSuggestion<CZtaConvertMonoToMux>({16, 13}, {8, 13});
    ExpectSuggestion<CZtaConvertMonoToMux>({8, 7}, {1, 7});
    ExpectSuggestion<CZtaConvertMonoToMux>({8, 8}, {8, 10}); // the first table entry with the input
    ExpectSuggestion<CZtaConvertStereoToMux>({2, 26}, {21, 26});
}

TEST(MuxSuggestFormat, ProposesFourChannelsOfTheOutputsContainerForDeinterleaving)
{
    for (const int mux : {11, 14, 23}) {
        ExpectSuggestion<CZtaConvertMuxToMono>({mux, 1}, {3, 1});
        ExpectSuggestion<CZtaConvertMuxToStereo>({mux, 2}, {3, 2});
    }
    ExpectSuggestion<CZtaConvertMuxToMono>({6, 8}, {10, 8});
    ExpectSuggestion<CZtaConvertMuxToStereo>({6, 21}, {22, 21});
    // Nothing matches: the last table entry.
    ExpectSuggestion<CZtaConvertMuxToMono>({9, 10}, {7, 1});
    ExpectSuggestion<CZtaConvertMuxToStereo>({9, 10}, {7, 2});
}

} // namespace
} // namespace zta::test
