// ConvertMonoToMux, ConvertStereoToMux, ConvertMuxToMono and ConvertMuxToStereo on buffers whose every answer the test
// sets.

#include "testing/log_recorder.h"
#include "testing/mux_cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Volumes = std::vector<SZtAudioMonoVolumeInfo>;

constexpr int kFormatNotSupported = static_cast<int>(0x8999803A);
constexpr int kInputFormatNotSupported = static_cast<int>(0x8999803B);
constexpr int kOutputFormatNotSupported = static_cast<int>(0x8999803C);
constexpr int kProcessingFormatNotSupported = static_cast<int>(0x8999803D);
constexpr int kDestinationTooSmall = static_cast<int>(0x8999803E);
constexpr int kSizeMismatch = static_cast<int>(0x8999803F);
constexpr int kInvalidParameter = static_cast<int>(0x89998044);
constexpr int kInvalidPointer = static_cast<int>(0x89998045);

const std::vector<std::string> kDigest = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"};

std::vector<std::string> Calls(int digests, int lengths)
{
    std::vector<std::string> calls;
    for (int i = 0; i < digests; ++i) {
        calls.insert(calls.end(), kDigest.begin(), kDigest.end());
    }
    calls.insert(calls.end(), static_cast<std::size_t>(lengths), "SetLength");
    return calls;
}

Bytes RandomBytes(std::size_t count)
{
    static std::mt19937 random(28);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

/// One of the four operations.
struct Operation {
    bool assembles;
    unsigned long channels; ///< of one buffer
    unsigned long most;     ///< buffers taken
    const std::vector<MuxCase>* rows;

    int Run(IZtAudioSamples** buffers, unsigned long count, IZtAudioSamples* mux, SZtAudioMonoVolumeInfo* volumes,
            unsigned long volumeCount) const
    {
        if (assembles) {
            return channels == 1
                       ? CZtaConvertMonoToMux().ConvertMonoToMux(buffers, count, mux, volumes, volumeCount)
                       : CZtaConvertStereoToMux().ConvertStereoToMux(buffers, count, mux, volumes, volumeCount);
        }
        return channels == 1 ? CZtaConvertMuxToMono().ConvertMuxToMono(mux, buffers, count, volumes, volumeCount)
                             : CZtaConvertMuxToStereo().ConvertMuxToStereo(mux, buffers, count, volumes, volumeCount);
    }

    int Layout(const MuxCase& row) const { return assembles ? row.input : row.output; }
    int MuxLayout(const MuxCase& row) const { return assembles ? row.output : row.input; }
};

const Operation kMonoToMux = {true, 1, 64, &kMonoToMuxCases};
const Operation kStereoToMux = {true, 2, 32, &kStereoToMuxRows};
const Operation kMuxToMono = {false, 1, 64, &kMuxToMonoRows};
const Operation kMuxToStereo = {false, 2, 64, &kMuxToStereoRows};
const Operation* const kOperations[] = {&kMonoToMux, &kStereoToMux, &kMuxToMono, &kMuxToStereo};

/// The buffers of one call, with random samples everywhere.
struct Call {
    Call(const Operation& op, int layout, unsigned long count, unsigned long frames, int muxLayout,
         unsigned long muxFrames)
        : operation(op), mux(FormatOfLayout(muxLayout), muxFrames, muxFrames)
    {
        for (unsigned long i = 0; i < count; ++i) {
            buffers.emplace_back(FormatOfLayout(layout), frames, frames);
            buffers.back().data = RandomBytes(buffers.back().data.size());
        }
        mux.data = RandomBytes(mux.data.size());
    }

    /// As many buffers as the row is for.
    Call(const Operation& op, const MuxCase& row, unsigned long frames, unsigned long muxFrames)
        : Call(op, op.Layout(row), row.buffers, frames, op.MuxLayout(row), muxFrames)
    {
    }

    Call(const Operation& op, const MuxCase& row, unsigned long frames) : Call(op, row, frames, frames) {}

    int Run() { return Run(nullptr, 0); }
    int Run(Volumes volumes) { return Run(volumes.data(), volumes.size()); }
    int Run(SZtAudioMonoVolumeInfo* volumes, unsigned long volumeCount)
    {
        std::vector<IZtAudioSamples*> pointers;
        for (FakeAudioSamples& buffer : buffers) {
            pointers.push_back(&buffer);
        }
        return operation.Run(pointers.data(), pointers.size(), &mux, volumes, volumeCount);
    }

    std::vector<Bytes> Samples() const
    {
        std::vector<Bytes> samples;
        for (const FakeAudioSamples& buffer : buffers) {
            samples.push_back(buffer.data);
        }
        return samples;
    }

    /// True if no buffer was called after what digests it, and no byte differs.
    bool IsUntouched(const Call& before) const
    {
        return mux.data == before.mux.data && Samples() == before.Samples() && mux.lengthsSet.empty() &&
               std::all_of(buffers.begin(), buffers.end(),
                           [](const auto& buffer) { return buffer.lengthsSet.empty(); });
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

/// A 24-in-32 sample at half its volume, by 24-bit arithmetic.
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

// ---- What all four share ----

TEST(MuxOperations, MoveTheSamplesOfEachTableEntryAndSetTheLength)
{
    for (const Operation* operation : kOperations) {
        for (const MuxCase& row : *operation->rows) {
            Call call(*operation, row, 13);
            const Bytes muxed = call.mux.data;
            if (operation->assembles) {
                EXPECT_EQ(call.Run(), 0) << row.name;
                EXPECT_EQ(call.mux.data, Muxed(call.Samples(), row.elementBytes, 13)) << row.name;
                EXPECT_EQ(call.mux.lengthsSet, std::vector<unsigned long>{13 * row.buffers * row.elementBytes});
            } else {
                EXPECT_EQ(call.Run(), 0) << row.name;
                EXPECT_EQ(Muxed(call.Samples(), row.elementBytes, 13), muxed) << row.name;
                EXPECT_TRUE(call.mux.lengthsSet.empty());
            }
            for (const FakeAudioSamples& buffer : call.buffers) {
                EXPECT_EQ(buffer.calls, Calls(1, operation->assembles ? 0 : 1)) << row.name;
                EXPECT_EQ(buffer.descriptionSizes, std::vector<std::uint32_t>{40});
                if (!operation->assembles) {
                    EXPECT_EQ(buffer.lengthsSet, std::vector<unsigned long>{13 * row.elementBytes}) << row.name;
                }
            }
            EXPECT_EQ(call.mux.calls, Calls(1, operation->assembles ? 1 : 0)) << row.name;
            EXPECT_EQ(call.mux.descriptionSizes, std::vector<std::uint32_t>{40});
        }
    }
}

TEST(MuxOperations, RejectOtherCountsOfBuffersFirst)
{
    for (const Operation* operation : kOperations) {
        for (const unsigned long count : {0ul, operation->most + 1, 100ul}) {
            FakeAudioSamples mux;
            EXPECT_EQ(operation->Run(nullptr, count, nullptr, nullptr, 0), kInvalidParameter);
            EXPECT_EQ(operation->Run(nullptr, count, &mux, nullptr, count * operation->channels), kInvalidParameter);
            EXPECT_TRUE(mux.calls.empty());
        }
    }
}

TEST(MuxOperations, RejectVolumesThatDoNotFitTheBuffersBeforeTheBuffers)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        const unsigned long fits = row.buffers * operation->channels;
        for (const unsigned long volumes : {1ul, fits - 1, fits + operation->channels, 65ul}) {
            Call call(*operation, row, 4);
            const Call before = call;
            EXPECT_EQ(call.Run(Flat(volumes, 1.0f)), kInvalidParameter) << volumes;
            EXPECT_EQ(call.Run(nullptr, volumes), kInvalidParameter) << volumes;
            EXPECT_TRUE(call.IsUntouched(before));
            EXPECT_TRUE(call.buffers[0].calls.empty());
        }
        Call call(*operation, row, 4);
        EXPECT_EQ(call.Run(nullptr, fits), kInvalidPointer);
        EXPECT_TRUE(call.buffers[0].calls.empty());
    }
}

TEST(MuxOperations, IgnoreVolumesWithoutACount)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        Call call(*operation, row, 4);
        EXPECT_EQ(call.Run(reinterpret_cast<SZtAudioMonoVolumeInfo*>(1), 0), 0);
    }
}

TEST(MuxOperations, HideTheStatusOfABufferOfTheArray)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        for (int FakeAudioSamples::*status : {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                              &FakeAudioSamples::capacityStatus}) {
            for (unsigned long i = 0; i < row.buffers; ++i) {
                Call call(*operation, row, 4);
                const Call before = call;
                call.buffers[i].*status = -77;
                EXPECT_EQ(call.Run(), kInvalidParameter) << row.name << " " << i;
                EXPECT_TRUE(call.IsUntouched(before));
                EXPECT_TRUE(i + 1 == row.buffers || call.buffers[i + 1].calls.empty());
                EXPECT_TRUE(call.mux.calls.empty());
            }
        }
        Call call(*operation, row, 4);
        call.buffers[1].format = WaveFormat(1, 8, 8, 48000, 1);
        EXPECT_EQ(call.Run(), kInvalidParameter) << row.name;
    }
}

TEST(MuxOperations, ReturnTheStatusOfTheMux)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        for (int FakeAudioSamples::*status : {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                              &FakeAudioSamples::capacityStatus}) {
            Call call(*operation, row, 4);
            const Call before = call;
            call.mux.*status = -77;
            EXPECT_EQ(call.Run(), -77) << row.name;
            EXPECT_TRUE(call.IsUntouched(before));
            EXPECT_EQ(call.buffers.back().calls, kDigest);
            call.mux.*status = 5;
            EXPECT_EQ(call.Run(), 0) << row.name;
        }
        Call call(*operation, row, 4);
        call.mux.format = WaveFormat(1, 8, 8, 48000, 4);
        EXPECT_EQ(call.Run(), kFormatNotSupported) << row.name;
    }
}

TEST(MuxOperations, AcceptThreeFormatsInTheArray)
{
    const SZtaWaveFormatInfo others[] = {WaveFormat(1, 16, 16, 44100, 1), WaveFormat(1, 16, 16, 44100, 2),
                                         WaveFormat(2, 32, 32, 48000, 1), WaveFormat(2, 32, 32, 48000, 2),
                                         WaveFormat(1, 32, 24, 96000, 1)};
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        const auto Refuse = [&](const SZtaWaveFormatInfo& format, unsigned long at) {
            Call call(*operation, row, 4);
            call.buffers[at].format = format;
            const Call before = call;
            EXPECT_EQ(call.Run(), operation->assembles ? kInputFormatNotSupported : kOutputFormatNotSupported)
                << row.name;
            EXPECT_TRUE(call.IsUntouched(before));
            EXPECT_TRUE(call.mux.calls.empty());
        };
        for (int property = 1; property <= 26; ++property) {
            const bool named = property <= 14 || property >= 20;
            const bool mono = property == 8 || property == 20 || property == 1;
            const bool stereo = property == 9 || property == 21 || property == 2;
            if (named && !(operation->channels == 1 ? mono : stereo)) {
                Refuse(FormatOfLayout(property), 0);
                Refuse(FormatOfLayout(property), 1);
            }
        }
        for (const SZtaWaveFormatInfo& format : others) {
            Refuse(format, 0);
        }
    }
}

TEST(MuxOperations, CheckTheFormatOfABufferBeforeItsLength)
{
    for (const Operation* operation : kOperations) {
        Call call(*operation, operation->rows->front(), 4);
        call.buffers[1].format = WaveFormat(2, 32, 32, 48000, 1);
        call.buffers[1].length = 4;
        EXPECT_EQ(call.Run(), operation->assembles ? kInputFormatNotSupported : kOutputFormatNotSupported);
    }
}

TEST(MuxOperations, RejectBuffersOfDifferentLengthsAtTheFirstThatDiffers)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = (*operation->rows)[1];
        for (const unsigned long other : {999ul, 1001ul}) {
            Call call(*operation, row, 1000);
            call.buffers[2].length = other * row.elementBytes;
            const Call before = call;
            EXPECT_EQ(call.Run(), kSizeMismatch) << row.name;
            EXPECT_TRUE(call.IsUntouched(before));
            EXPECT_EQ(call.buffers[2].calls, kDigest);
            EXPECT_TRUE(call.buffers[3].calls.empty());
            EXPECT_TRUE(call.mux.calls.empty());
        }
    }
}

TEST(MuxOperations, CompareValidLengthsAndNotCapacities)
{
    for (const Operation* operation : kOperations) {
        for (const MuxCase& row : *operation->rows) {
            Call call(*operation, row, 80);
            (operation->assembles ? call.mux.length : call.buffers[0].length) -= 30;
            if (!operation->assembles) {
                for (FakeAudioSamples& buffer : call.buffers) {
                    buffer.length = 50 * row.elementBytes;
                }
            }
            const Call before = call;
            EXPECT_EQ(call.Run(), kDestinationTooSmall) << row.name;
            EXPECT_TRUE(call.IsUntouched(before));

            Call odd(*operation, row, 20); // a host that denies its capacity is served by its lengths
            odd.mux.capacity = 0;
            for (FakeAudioSamples& buffer : odd.buffers) {
                buffer.capacity = 0;
            }
            const Bytes muxed = odd.mux.data;
            EXPECT_EQ(odd.Run(), 0) << row.name;
            EXPECT_EQ(Muxed(odd.Samples(), row.elementBytes, 20), operation->assembles ? odd.mux.data : muxed);
        }
    }
}

TEST(MuxOperations, CheckTheLengthsBeforeThePair)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        Call call(*operation, row, operation->assembles ? 9 : 7, operation->assembles ? 7 : 9);
        call.mux.format = operation->channels == 1 ? WaveFormat(2, 32, 32, 48000, 1) : WaveFormat(2, 32, 32, 48000, 2);
        call.mux.length = (operation->assembles ? 7ul : 9ul) * 4 * operation->channels;
        EXPECT_EQ(call.Run(), kDestinationTooSmall);
    }
}

TEST(MuxOperations, HaveNoTableEntryForOtherPairs)
{
    for (const Operation* operation : kOperations) {
        int rows = 0;
        for (const int layout : {8, 9, 20, 21, 1, 2}) {
            if ((layout == 8 || layout == 20 || layout == 1) != (operation->channels == 1)) {
                continue;
            }
            for (int muxLayout = 1; muxLayout <= 26; ++muxLayout) {
                if (muxLayout > 14 && muxLayout < 20) {
                    continue;
                }
                const auto row = std::find_if(operation->rows->begin(), operation->rows->end(), [=](const MuxCase& r) {
                    return operation->Layout(r) == layout && operation->MuxLayout(r) == muxLayout;
                });
                const bool found = row != operation->rows->end();
                rows += found;
                Call call(*operation, layout, found ? row->buffers : 2, 3, muxLayout, 3);
                const Call before = call;
                EXPECT_EQ(call.Run(), found ? 0 : kProcessingFormatNotSupported) << layout << " " << muxLayout;
                EXPECT_EQ(call.IsUntouched(before), !found);
            }
        }
        EXPECT_EQ(rows, 15);
    }
}

TEST(MuxOperations, PassOnAFailureOfTheKernel)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front(); // takes its own count only
        Call call(*operation, operation->Layout(row), row.buffers + 1, 5, operation->MuxLayout(row), 5);
        const Call before = call;
        EXPECT_EQ(call.Run(), kInvalidParameter);
        EXPECT_EQ(call.Run(Flat((row.buffers + 1) * operation->channels, 1.0f)), kInvalidParameter);
        EXPECT_TRUE(call.IsUntouched(before));
    }
}

TEST(MuxOperations, CheckTheCountOfBuffersThoughNoFrameFits)
{
    for (const Operation* operation : kOperations) {
        for (const MuxCase& row : *operation->rows) {
            // One frame of the mux is too small for one element of each.
            const unsigned long count = 2 * row.buffers;
            if (count > operation->most) {
                continue;
            }
            const unsigned long taken = row.blockFrames != 0 ? row.buffers : operation->channels == 1 ? 64 : 32;
            Call call(*operation, operation->Layout(row), count, 1, operation->MuxLayout(row), 1);
            const Call before = call;
            const bool refused = row.blockFrames != 0 || count > taken;
            EXPECT_EQ(call.Run(), refused ? kInvalidParameter : 0) << row.name;
            EXPECT_EQ(call.mux.data, before.mux.data) << row.name;
            EXPECT_EQ(call.Samples(), before.Samples()) << row.name;
            EXPECT_EQ(call.IsUntouched(before), refused) << row.name;
        }
    }
    Call call(kMuxToStereo, 9, 33, 1, 14, 1); // one more than the counted bodies take
    const Call before = call;
    EXPECT_EQ(call.Run(), kInvalidParameter);
    EXPECT_TRUE(call.IsUntouched(before));
}

TEST(MuxOperations, CheckPointersThoughNoFrameFits)
{
    for (const Operation* operation : kOperations) {
        const int narrow = operation->channels == 1 ? 1 : 2;
        for (const MuxCase& row : *operation->rows) {
            if (operation->Layout(row) == narrow) {
                continue;
            }
            // The second buffer cannot hold one element of the first's container.
            const auto run = [&](bool entryIsNull, bool muxIsNull) {
                Call call(*operation, row, 1);
                call.buffers[1] = FakeAudioSamples(FormatOfLayout(narrow), 1, 1);
                if (entryIsNull) {
                    call.buffers[0].data = Bytes();
                }
                if (muxIsNull) {
                    call.mux.data = Bytes();
                }
                const Call before = call;
                const int status = call.Run();
                EXPECT_EQ(call.mux.data, before.mux.data) << row.name;
                EXPECT_EQ(call.Samples(), before.Samples()) << row.name;
                EXPECT_EQ(call.IsUntouched(before), status != 0) << row.name;
                return status;
            };
            const bool counted = row.blockFrames == 0;
            const bool packed = operation->Layout(row) >= 20;
            int nullEntry = kInvalidPointer;
            if (operation->assembles) {
                nullEntry = counted && !packed ? 0 : kInvalidParameter;
                if (std::string(row.name) == "Convert16MonoToMux16") {
                    nullEntry = kInvalidPointer;
                }
            }
            EXPECT_EQ(run(false, false), 0) << row.name;
            EXPECT_EQ(run(true, false), nullEntry) << row.name;
            EXPECT_EQ(run(false, true), operation->assembles && counted ? kInvalidPointer : 0) << row.name;
        }
    }
}

TEST(MuxOperations, RejectASuccessfulQueryWithoutAPointer)
{
    for (const Operation* operation : kOperations) {
        for (const MuxCase& row : *operation->rows) {
            const bool anyCount = row.blockFrames == 0;
            const bool packed = operation->Layout(row) >= 20;
            if (operation->assembles && anyCount && !packed) {
                continue; // the sources must not be null
            }
            int nullPlane = kInvalidPointer;
            if (operation->assembles && std::string(row.name) != "Convert16MonoToMux16") {
                nullPlane = kInvalidParameter;
            }
            for (const unsigned long i : {0UL, row.buffers - 1}) {
                Call call(*operation, row, 5);
                call.buffers[i].data = Bytes();
                const Call before = call;
                EXPECT_EQ(call.Run(), nullPlane) << row.name;
                EXPECT_TRUE(call.IsUntouched(before)) << row.name;
            }
        }
    }
}

TEST(MuxOperations, AcceptPositiveStatusesOfTheArray)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        for (int FakeAudioSamples::*status : {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                              &FakeAudioSamples::capacityStatus}) {
            for (unsigned long i = 0; i < row.buffers; ++i) {
                Call call(*operation, row, 4);
                const Bytes muxed = call.mux.data;
                call.buffers[i].*status = 7;
                EXPECT_EQ(call.Run(), 0) << row.name << " " << i;
                EXPECT_EQ(Muxed(call.Samples(), row.elementBytes, 4), operation->assembles ? call.mux.data : muxed);
            }
        }
    }
}

TEST(MuxDeinterleave, GivesABufferThatOccursTwiceItsLastChannel)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            for (const unsigned long frames : {1UL, 5UL, 64UL, 200UL}) {
                Call call(*operation, row, frames);
                Call separate = call;
                std::vector<IZtAudioSamples*> pointers;
                for (FakeAudioSamples& buffer : call.buffers) {
                    pointers.push_back(&buffer);
                }
                pointers.front() = pointers.back();
                EXPECT_EQ(operation->Run(pointers.data(), pointers.size(), &call.mux, nullptr, 0), 0) << row.name;
                EXPECT_EQ(separate.Run(), 0) << row.name;
                std::vector<Bytes> expected = separate.Samples();
                expected.front() = call.buffers.front().data; // of a buffer that the call does not have
                EXPECT_EQ(call.Samples(), expected) << row.name << " " << frames;
                EXPECT_EQ(call.buffers.back().lengthsSet.size(), 2U) << row.name;
            }
        }
    }
}

TEST(MuxDeinterleave, AppliesTheVolumesOfABufferThatOccursTwiceOneAfterTheOther)
{
    const MuxCase& row = kMuxToMonoRows[0];
    Call call(kMuxToMono, row, 8);
    Fill(call.mux.data, 0x10000000);
    std::vector<IZtAudioSamples*> pointers(4, &call.buffers[3]);
    Volumes volumes = Flat(4, 0.5f);
    EXPECT_EQ(kMuxToMono.Run(pointers.data(), 4, &call.mux, volumes.data(), 4), 0);
    for (std::size_t f = 0; f < 8; ++f) {
        EXPECT_EQ(Word(call.buffers[3].data, f), 0x01000000U);
    }
}

TEST(MuxOperations, CountWholeFrames)
{
    for (const Operation* operation : kOperations) {
        const MuxCase& row = operation->rows->front();
        Call call(*operation, row, 5);
        for (FakeAudioSamples& buffer : call.buffers) {
            buffer.length = 4 * row.elementBytes + 3;
        }
        call.mux.length = 4 * row.elementBytes * row.buffers + 1;
        const std::vector<unsigned long> set = {4 * row.elementBytes * (operation->assembles ? row.buffers : 1)};
        EXPECT_EQ(call.Run(), 0);
        EXPECT_EQ((operation->assembles ? call.mux : call.buffers[1]).lengthsSet, set);
    }
}

// ---- Interleaving ----

TEST(MuxInterleave, EndsWithTheStatusOfSettingTheLength)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        for (const int status : {-5, 3}) {
            const MuxCase& row = operation->rows->front();
            Call call(*operation, row, 6);
            call.mux.setLengthStatus = status;
            EXPECT_EQ(call.Run(), status);
            EXPECT_EQ(call.mux.data, Muxed(call.Samples(), row.elementBytes, 6));
        }
    }
}

TEST(MuxInterleave, OfEmptyBuffersEmptiesTheMux)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        for (const MuxCase& row : *operation->rows) {
            Call call(*operation, row, 0, 5);
            const Bytes before = call.mux.data;
            EXPECT_EQ(call.Run(), 0) << row.name;
            EXPECT_EQ(call.mux.lengthsSet, std::vector<unsigned long>{0});
            EXPECT_EQ(call.mux.data, before);
            call.mux.setLengthStatus = -8;
            EXPECT_EQ(call.Run(), -8) << row.name;
        }
    }
}

TEST(MuxInterleave, ShortensALongerMux)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        for (const MuxCase& row : *operation->rows) {
            Call call(*operation, row, 60, 100);
            Bytes expected = call.mux.data;
            const Bytes muxed = Muxed(call.Samples(), row.elementBytes, 60);
            std::copy(muxed.begin(), muxed.end(), expected.begin());
            EXPECT_EQ(call.Run(), 0) << row.name;
            EXPECT_EQ(call.mux.data, expected) << row.name;
            EXPECT_EQ(call.mux.length, muxed.size()) << row.name;
        }
    }
}

TEST(MuxInterleave, WithVolumesScalesTheWholeMuxAndLeavesItsLength)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        for (const MuxCase& row : *operation->rows) {
            if (row.input != 8 && row.input != 9) {
                continue;
            }
            const unsigned long channels = row.buffers * operation->channels;
            Call call(*operation, row, 60, 100);
            for (FakeAudioSamples& buffer : call.buffers) {
                Fill(buffer.data, 0x10000000);
            }
            Fill(call.mux.data, 0x10000000);
            EXPECT_EQ(call.Run(Volumes(channels, SZtAudioMonoVolumeInfo{0, 0.0f, 1.0f})), 0) << row.name;
            // A step is 4096 / 100 = 40 parts of 4096, and the sample is 4096 times 256.
            for (std::size_t i = 0; i < 100 * channels; ++i) {
                ASSERT_EQ(Word(call.mux.data, i), i / channels * 40 * 256 * 256) << row.name << " " << i;
            }
            EXPECT_EQ(call.mux.lengthsSet, std::vector<unsigned long>{400 * channels}) << row.name;
        }
    }
}

TEST(MuxInterleave, GivesEachChannelItsOwnVolume)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        const MuxCase& row = (*operation->rows)[1]; // 8 channels
        Call call(*operation, row, 9);
        const Bytes muxed = Muxed(call.Samples(), row.elementBytes, 9);
        Volumes volumes = Flat(8, 1.0f);
        volumes[3] = {0, 0.5f, 0.5f};
        volumes[6] = {0, 0.0f, 0.0f};
        EXPECT_EQ(call.Run(volumes), 0);
        for (std::size_t i = 0; i < 72; ++i) {
            const std::uint32_t word = Word(muxed, i) & 0xFFFFFF00;
            const std::uint32_t expected = i % 8 == 3 ? Halved(word) : i % 8 == 6 ? 0 : word;
            EXPECT_EQ(Word(call.mux.data, i), expected) << i;
        }
    }
}

TEST(MuxInterleave, RejectsVolumesOnOtherMuxesAfterTheInterleaving)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        for (const MuxCase& row : *operation->rows) {
            if (row.input == 8 || row.input == 9) {
                continue;
            }
            Call call(*operation, row, 11);
            EXPECT_EQ(call.Run(Flat(row.buffers * operation->channels, 1.0f)), kOutputFormatNotSupported) << row.name;
            EXPECT_EQ(call.mux.data, Muxed(call.Samples(), row.elementBytes, 11)) << row.name;
            EXPECT_TRUE(call.mux.lengthsSet.empty()) << row.name;
        }
    }
}

TEST(MuxInterleave, RejectsAnOddVolumeAfterTheInterleaving)
{
    for (const MuxCase& row : kStereoToMuxRows) {
        if (row.input != 9) {
            continue;
        }
        Call call(kStereoToMux, row, 5);
        EXPECT_EQ(call.Run(Flat(row.buffers * 2 + 1, 1.0f)), kInvalidParameter) << row.name;
        EXPECT_EQ(call.mux.data, Muxed(call.Samples(), row.elementBytes, 5)) << row.name;
        EXPECT_TRUE(call.mux.lengthsSet.empty()) << row.name;
    }
}

TEST(MuxInterleave, UsesTheContainerOfTheFirstBufferAndReadsNoBufferTooFar)
{
    const MuxCase& row = kMonoToMuxCases[0];
    Call call(kMonoToMux, row, 12);
    FakeAudioSamples& narrow = call.buffers[2];
    narrow = FakeAudioSamples(FormatOfLayout(1), 12, 12); // has memory for 6 elements of the first buffer's
    narrow.data = RandomBytes(narrow.data.size());
    Bytes expected = call.mux.data;
    const Bytes muxed = Muxed(call.Samples(), row.elementBytes, 6);
    std::copy(muxed.begin(), muxed.end(), expected.begin());
    EXPECT_EQ(call.Run(), 0);
    EXPECT_EQ(call.mux.data, expected);
    EXPECT_EQ(call.mux.lengthsSet, std::vector<unsigned long>{12 * 16});

    // A buffer that differs from the previous one only in its capacity is validated separately.
    Call roomy(kMonoToMux, row, 12);
    for (const std::size_t i : {1U, 2U}) {
        roomy.buffers[i] = FakeAudioSamples(FormatOfLayout(1), 12, i == 1 ? 24 : 12);
        roomy.buffers[i].data = RandomBytes(roomy.buffers[i].data.size());
    }
    expected = roomy.mux.data;
    const Bytes six = Muxed(roomy.Samples(), row.elementBytes, 6);
    std::copy(six.begin(), six.end(), expected.begin());
    EXPECT_EQ(roomy.Run(), 0);
    EXPECT_EQ(roomy.mux.data, expected);

    Call wide(kMonoToMux, 1, 4, 12, 3, 12); // the other way round all elements are there, though not the right ones
    wide.buffers[2] = FakeAudioSamples(FormatOfLayout(8), 12, 12);
    wide.buffers[2].data = RandomBytes(48);
    EXPECT_EQ(wide.Run(), 0);
    EXPECT_EQ(wide.mux.data, Muxed(wide.Samples(), 2, 12));
}

TEST(MuxInterleave, WritesNoFurtherThanTheMuxWithMoreBuffersThanItHasChannels)
{
    Call call(kMonoToMux, 8, 64, 10, 13, 10); // 32 channels
    Bytes expected = call.mux.data;
    const Bytes muxed = Muxed(call.Samples(), 4, 5);
    std::copy(muxed.begin(), muxed.end(), expected.begin());
    EXPECT_EQ(call.Run(), 0);
    EXPECT_EQ(call.mux.data, expected);
}

// ---- Deinterleaving ----

TEST(MuxDeinterleave, EndsWithTheLastFailureOfSettingALengthAndStopsAtNone)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        const MuxCase& row = (*operation->rows)[1];
        Call call(*operation, row, 6);
        const Bytes muxed = call.mux.data;
        call.buffers[1].setLengthStatus = -5;
        EXPECT_EQ(call.Run(), -5);
        for (const FakeAudioSamples& buffer : call.buffers) {
            EXPECT_EQ(buffer.lengthsSet, std::vector<unsigned long>{6 * row.elementBytes});
        }
        EXPECT_EQ(Muxed(call.Samples(), row.elementBytes, 6), muxed);

        call.buffers[2].setLengthStatus = -9;
        EXPECT_EQ(call.Run(), -9);
        call.buffers[1].setLengthStatus = 0;
        call.buffers[2].setLengthStatus = 0;
        call.buffers[3].setLengthStatus = 4; // a success is not handed on
        EXPECT_EQ(call.Run(), 0);
    }
}

TEST(MuxDeinterleave, OfAnEmptyMuxIntoEmptyBuffersSetsTheirLengths)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            Call call(*operation, row, 0);
            EXPECT_EQ(call.Run(), 0) << row.name;
            for (const FakeAudioSamples& buffer : call.buffers) {
                EXPECT_EQ(buffer.lengthsSet, std::vector<unsigned long>{0});
            }
        }
    }
}

TEST(MuxDeinterleave, RejectsEmptyBuffersForAMuxWithData)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        Call call(*operation, operation->rows->front(), 0, 3);
        EXPECT_EQ(call.Run(), kDestinationTooSmall);
    }
}

TEST(MuxDeinterleave, FillsLongerOutputsFromBehindTheMuxsData)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            Call call(*operation, row, 80);
            call.mux.length = 50 * row.buffers * row.elementBytes;
            EXPECT_EQ(call.Run(), 0) << row.name;
            EXPECT_EQ(Muxed(call.Samples(), row.elementBytes, 80), call.mux.data) << row.name;
            for (const FakeAudioSamples& buffer : call.buffers) {
                EXPECT_EQ(buffer.lengthsSet, std::vector<unsigned long>{50 * row.elementBytes}) << row.name;
            }
        }
    }
}

TEST(MuxDeinterleave, ReadsNoFurtherThanTheMuxsMemory)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            for (const unsigned long muxFrames : {0ul, 50ul, 60ul}) {
                Call call(*operation, row, 80, muxFrames);
                call.mux.length = std::min(muxFrames, 50ul) * row.buffers * row.elementBytes;
                const std::vector<Bytes> before = call.Samples();
                EXPECT_EQ(call.Run(), 0) << row.name;
                EXPECT_EQ(Muxed(call.Samples(), row.elementBytes, muxFrames), call.mux.data) << row.name;
                for (std::size_t i = 0; i < row.buffers; ++i) {
                    const auto moved = static_cast<std::ptrdiff_t>(muxFrames * row.elementBytes);
                    EXPECT_TRUE(
                        std::equal(before[i].begin() + moved, before[i].end(), call.buffers[i].data.begin() + moved));
                    EXPECT_EQ(call.buffers[i].lengthsSet,
                              std::vector<unsigned long>{std::min(muxFrames, 50ul) * row.elementBytes});
                }
            }
        }
    }
}

TEST(MuxDeinterleave, DecidesTheTailByTheFramesOfTheOutputs)
{
    const MuxCase& row = kMuxToMonoRows[2]; // 16 channels: the third frame of a tail repeats channels 8 to 11
    for (const unsigned long frames : {7UL, 8UL, 9UL, 11UL, 12UL, 52UL}) {
        for (const unsigned long muxFrames : {3UL, 6UL, 7UL, 8UL, 11UL, 51UL}) {
            Call call(kMuxToMono, row, frames, std::min(frames, muxFrames));
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

TEST(MuxDeinterleave, DecidesTheCountOfBlocksByTheFramesOfTheOutputs)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            if (row.blockFrames == 0) {
                continue;
            }
            const unsigned long frames = row.blockFrames << 16; // the low 16 bits of the count of blocks are 0
            Call none(*operation, row, frames, frames - 1);
            const std::vector<Bytes> before = none.Samples();
            EXPECT_EQ(none.Run(), 0) << row.name;
            EXPECT_TRUE(none.Samples() == before) << row.name;

            Call all(*operation, row, frames + row.blockFrames, frames);
            EXPECT_EQ(all.Run(), 0) << row.name;
            EXPECT_TRUE(Muxed(all.Samples(), row.elementBytes, frames) == all.mux.data) << row.name;
        }
    }
}

TEST(MuxInterleave, DecidesTheCountOfBlocksByTheFramesOfTheInputs)
{
    for (const Operation* operation : {&kMonoToMux, &kStereoToMux}) {
        for (const MuxCase& row : *operation->rows) {
            if (row.blockFrames == 0 || std::string(row.name) == "Convert16MonoToMux16") {
                continue;
            }
            const unsigned long frames = row.blockFrames << 16;
            Call call(*operation, row, frames);
            // Has memory for half of the frames.
            call.buffers[1] = FakeAudioSamples(FormatOfLayout(operation->channels == 1 ? 1 : 2), frames, frames);
            const Bytes before = call.mux.data;
            EXPECT_EQ(call.Run(), 0) << row.name;
            EXPECT_TRUE(call.mux.data == before) << row.name;
        }
    }
}

TEST(MuxDeinterleave, WritesNoOutputTooFarThoughItUsesTheContainerOfTheFirst)
{
    const MuxCase& row = kMuxToMonoRows[0];
    Call call(kMuxToMono, row, 12);
    FakeAudioSamples& narrow = call.buffers[2];
    narrow = FakeAudioSamples(FormatOfLayout(1), 12, 12); // has memory for 6 elements of the mux's
    const Bytes muxed = call.mux.data;
    EXPECT_EQ(call.Run(), 0);
    EXPECT_EQ(Muxed(call.Samples(), 4, 6), Bytes(muxed.begin(), muxed.begin() + 6 * 16));
    EXPECT_EQ(narrow.lengthsSet, std::vector<unsigned long>{48}); // by the frames of the first
}

TEST(MuxDeinterleave, RepeatsChannelsInTheTailOf16Channels)
{
    for (const unsigned long frames : {7ul, 8ul}) {
        Call call(kMuxToMono, kMuxToMonoRows[2], frames);
        EXPECT_EQ(call.Run(), 0);
        for (std::size_t c = 12; c < 16; ++c) {
            const std::size_t from = frames == 7 ? c - 4 : c;
            EXPECT_EQ(Word(call.buffers[c].data, frames - 1), Word(call.mux.data, (frames - 1) * 16 + from));
        }
    }
}

TEST(MuxDeinterleave, WithVolumesScalesEachOutputOverItsOwnLength)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            if (row.output != 8 && row.output != 9) {
                continue;
            }
            Call call(*operation, row, 80);
            call.mux.length = 48 * row.buffers * row.elementBytes;
            Fill(call.mux.data, 0x10000000);
            const unsigned long channels = operation->channels;
            EXPECT_EQ(call.Run(Volumes(row.buffers * channels, SZtAudioMonoVolumeInfo{0, 0.0f, 1.0f})), 0) << row.name;
            for (const FakeAudioSamples& buffer : call.buffers) {
                for (std::size_t i = 0; i < 80 * channels; ++i) { // a step is 4096 / 80 = 51 parts
                    ASSERT_EQ(Word(buffer.data, i), i / channels * 51 * 256 * 256) << row.name << " " << i;
                }
                EXPECT_EQ(buffer.lengthsSet, std::vector<unsigned long>{80 * row.elementBytes}) << row.name;
            }
        }
    }
}

TEST(MuxDeinterleave, GivesEachOutputItsOwnVolumes)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        const MuxCase& row = (*operation->rows)[1]; // 8 channels
        Call call(*operation, row, 12);
        Volumes volumes = Flat(8, 1.0f);
        volumes[3] = {0, 0.5f, 0.5f};
        volumes[6] = {0, 0.0f, 0.0f};
        EXPECT_EQ(call.Run(volumes), 0);
        const Bytes result = Muxed(call.Samples(), row.elementBytes, 12);
        for (std::size_t i = 0; i < 96; ++i) {
            const std::uint32_t word = Word(call.mux.data, i) & 0xFFFFFF00;
            const std::uint32_t expected = i % 8 == 3 ? Halved(word) : i % 8 == 6 ? 0 : word;
            EXPECT_EQ(Word(result, i), expected) << i;
        }
        for (const FakeAudioSamples& buffer : call.buffers) {
            // The volume step digests the buffer as its output and as its input.
            EXPECT_EQ(buffer.calls, Calls(3, 1)) << row.name;
        }
    }
}

TEST(MuxDeinterleave, RejectsVolumesOnOtherOutputsAfterTheDeinterleaving)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        for (const MuxCase& row : *operation->rows) {
            if (row.output == 8 || row.output == 9) {
                continue;
            }
            Call call(*operation, row, 12);
            EXPECT_EQ(call.Run(Flat(row.buffers * operation->channels, 1.0f)),
                      row.output >= 20 ? kProcessingFormatNotSupported : kOutputFormatNotSupported)
                << row.name;
            EXPECT_EQ(Muxed(call.Samples(), row.elementBytes, 12), call.mux.data) << row.name;
            for (const FakeAudioSamples& buffer : call.buffers) {
                EXPECT_TRUE(buffer.lengthsSet.empty()) << row.name;
            }
        }
    }
}

TEST(MuxDeinterleave, WithVolumesEndsWithTheLastFailureAndStopsAtNone)
{
    for (const Operation* operation : {&kMuxToMono, &kMuxToStereo}) {
        const MuxCase& row = (*operation->rows)[1];
        Call call(*operation, row, 8);
        call.buffers[1].setLengthStatus = -5;
        Volumes volumes = Flat(8, 1.0f);
        EXPECT_EQ(call.Run(volumes), -5);
        volumes[2 * operation->channels] = {0, 9.0f, 9.0f}; // of the third output
        EXPECT_EQ(call.Run(volumes), kInvalidParameter);
        for (std::size_t i = 0; i < row.buffers; ++i) {
            EXPECT_EQ(call.buffers[i].lengthsSet.size(), i == 2 ? 1u : 2u);
        }
    }
}

TEST(MuxDeinterleave, IntoMoreThan32StereoBuffersFailsInTheKernelOnly)
{
    for (const unsigned long count : {33ul, 64ul}) {
        Call call(kMuxToStereo, 9, count, 4, 14, 4);
        const Call before = call;
        EXPECT_EQ(call.Run(), kInvalidParameter);
        EXPECT_EQ(call.Run(Flat(count * 2 + 1, 1.0f)), kInvalidParameter);
        EXPECT_TRUE(call.IsUntouched(before));
        EXPECT_EQ(call.mux.calls, Calls(2, 0));

        Call empty(kMuxToStereo, 9, count, 0, 14, 0);
        EXPECT_EQ(empty.Run(), 0);
        EXPECT_EQ(empty.buffers.back().lengthsSet, std::vector<unsigned long>{0});
    }
}

TEST(MuxDeinterleave, AcceptsAnOddVolumeForStereoBuffers)
{
    Call call(kMuxToStereo, kMuxToStereoRows[0], 8);
    EXPECT_EQ(call.Run(Flat(5, 0.0f)), 0);
    EXPECT_EQ(call.buffers[0].data, Bytes(64));
    EXPECT_EQ(call.buffers[1].data, Bytes(64));
}

// ---- SuggestFormat ----

template <class Class>
std::pair<int, int> Suggested(int in, int out)
{
    Class kernels;
    SZtaWaveFormatInfo inFormat = in == 16 ? WaveFormat(2, 32, 32, 48000, 1) : FormatOfLayout(in);
    SZtaWaveFormatInfo outFormat = FormatOfLayout(out);
    SZtaWaveFormatInfo suggestedIn{};
    SZtaWaveFormatInfo suggestedOut{};
    EXPECT_EQ(kernels.SuggestFormat(&inFormat, &outFormat, &suggestedIn, &suggestedOut), 0);
    EZtAudioSampleFormatProperty properties[2] = {};
    kernels.GetSampleFormat(&suggestedIn, &properties[0]);
    kernels.GetSampleFormat(&suggestedOut, &properties[1]);
    return {properties[0], properties[1]};
}

TEST(MuxSuggestFormat, KeepsTheFormatsOfATableEntry)
{
    for (const MuxCase& row : kMonoToMuxCases) {
        EXPECT_EQ(Suggested<CZtaConvertMonoToMux>(row.input, row.output), std::pair(row.input, row.output));
    }
    for (const MuxCase& row : kStereoToMuxRows) {
        EXPECT_EQ(Suggested<CZtaConvertStereoToMux>(row.input, row.output), std::pair(row.input, row.output));
    }
    for (const MuxCase& row : kMuxToMonoRows) {
        EXPECT_EQ(Suggested<CZtaConvertMuxToMono>(row.input, row.output), std::pair(row.input, row.output));
    }
    for (const MuxCase& row : kMuxToStereoRows) {
        EXPECT_EQ(Suggested<CZtaConvertMuxToStereo>(row.input, row.output), std::pair(row.input, row.output));
    }
}

TEST(MuxSuggestFormat, ProposesTheMuxsContainerForInterleaving)
{
    EXPECT_EQ(Suggested<CZtaConvertMonoToMux>(1, 11), std::pair(8, 11));
    EXPECT_EQ(Suggested<CZtaConvertMonoToMux>(16, 13), std::pair(8, 13));
    EXPECT_EQ(Suggested<CZtaConvertMonoToMux>(8, 7), std::pair(1, 7));
    EXPECT_EQ(Suggested<CZtaConvertStereoToMux>(2, 26), std::pair(21, 26));
}

TEST(MuxSuggestFormat, ProposesFourChannelsOfTheOutputsContainerForDeinterleaving)
{
    for (const int mux : {11, 14, 23}) {
        EXPECT_EQ(Suggested<CZtaConvertMuxToMono>(mux, 1), std::pair(3, 1));
        EXPECT_EQ(Suggested<CZtaConvertMuxToStereo>(mux, 2), std::pair(3, 2));
    }
    EXPECT_EQ(Suggested<CZtaConvertMuxToMono>(6, 8), std::pair(10, 8));
    EXPECT_EQ(Suggested<CZtaConvertMuxToStereo>(6, 21), std::pair(22, 21));
}

TEST(MuxSuggestFormat, UsesTheLastTableEntryIfNothingMatches)
{
    EXPECT_EQ(Suggested<CZtaConvertMuxToMono>(9, 10), std::pair(7, 1));
    EXPECT_EQ(Suggested<CZtaConvertMuxToStereo>(9, 10), std::pair(7, 2));
}

template <class Class>
void ExpectFailureLogged()
{
    Class kernels;
    SZtaWaveFormatInfo good = FormatOfLayout(8);
    SZtaWaveFormatInfo bad = WaveFormat(1, 8, 8, 48000, 1);
    SZtaWaveFormatInfo in{};
    SZtaWaveFormatInfo out{};
    LogRecorder::Clear();
    EXPECT_EQ(kernels.SuggestFormat(&good, &good, &in, &out), 0);
    EXPECT_EQ(LogRecorder::Count(), 0u);
    in = {};
    EXPECT_EQ(kernels.SuggestFormat(&good, &bad, &in, &out), kFormatNotSupported);
    EXPECT_EQ(LogRecorder::Count(), 1u);
    EXPECT_EQ(LogRecorder::LastText(), "[ASSERT] hr = ZT_E_FORMAT_NOT_SUPPORTED: The format of the surface or audio "
                                       "samples is not supported in the requested processing.");
    EXPECT_EQ(in.ulSize, 0u);
}

TEST(MuxSuggestFormat, LogsAFailure)
{
    ExpectFailureLogged<CZtaConvertMonoToMux>();
    ExpectFailureLogged<CZtaConvertStereoToMux>();
    ExpectFailureLogged<CZtaConvertMuxToMono>();
    ExpectFailureLogged<CZtaConvertMuxToStereo>();
}

} // namespace
