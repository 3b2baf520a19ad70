// What CopyAudioSamplesMonoToMux, CopyAudioSamplesStereoToMux, CopyAudioSamplesMuxToMono and
// CopyAudioSamplesMuxToStereo have in common.

#include "testing/log_recorder.h"
#include "tests/engine/mux_operation_fixture.h"

#include <algorithm>

namespace zta::test {
namespace {

class Mux : public MuxOperationTest, public ::testing::WithParamInterface<OperationKind> {
protected:
    Mux() : MuxOperationTest(GetParam()) {}

    /// The status of a mux with another number of channels than the buffers of the array.
    [[nodiscard]] int WidthStatus() const
    {
        return Interleaves() ? ZT_E_BUFFER_FORMAT_MISMATCH : ZT_E_INVALID_PARAMETER;
    }
};

INSTANTIATE_TEST_SUITE_P(Operations, Mux,
                         ::testing::Values(OperationKind::MonoToMux, OperationKind::StereoToMux,
                                           OperationKind::MuxToMono, OperationKind::MuxToStereo),
                         ::testing::PrintToStringParamName());

TEST_P(Mux, ConvertsBetween16And24BitsByTheUpperBits)
{
    Build(Pcm16(Channels()), Four(), Pcm24In32(4), 1);
    EXPECT_EQ(Run(), 0);
    for (std::size_t i = 0; i < 4; ++i) {
        const auto narrow = SamplesOf(*array_[i / ChannelsPerBuffer()], ChannelsPerBuffer())[i % ChannelsPerBuffer()];
        const auto wide = SamplesOf(*mux_, 4)[i];
        EXPECT_EQ(Interleaves() ? wide : narrow, Interleaves() ? narrow << 16 : wide >> 16) << i;
    }
}

TEST_P(Mux, OfNoFramesEmptiesItsOutputs)
{
    BuildFour(0);
    if (Interleaves()) {
        ReplaceMux(Pcm24In32(4), 7, 7);
    }
    for (const bool volumes : {false, true}) {
        if (volumes) {
            UseVolumes(4);
        }
        ExpectRun(0);
        for (const RecordingBuffer* output : Outputs()) {
            EXPECT_EQ(output->Length(), 0U);
        }
    }
}

// ---- Failures of the entry point ----

TEST_P(Mux, WithVolumesThatDoNotFitChecksNoBufferOfTheArray)
{
    struct Case {
        unsigned long count;
        unsigned long volumeCount;
        bool hasVolumes;
        int status;
    };
    const unsigned long four = Four();
    const std::vector<Case> cases = {
        {four, 1, true, ZT_E_INVALID_PARAMETER},
        {four, 3, true, ZT_E_INVALID_PARAMETER},
        {four, 5, true, ZT_E_INVALID_PARAMETER},
        {four, 6, true, ZT_E_INVALID_PARAMETER},
        {four, 1, false, ZT_E_INVALID_POINTER},
        {four, 4, false, ZT_E_INVALID_POINTER},
        {1, ChannelsPerBuffer(), true, ZT_E_INVALID_PARAMETER},
        {1, ChannelsPerBuffer(), false, ZT_E_INVALID_POINTER},
        {0, 1, true, ZT_E_INVALID_PARAMETER},
    };
    for (const Case& test : cases) {
        // Stereo buffers accept one volume too many: the worker rejects it.
        if (Interleaves() && ChannelsPerBuffer() == 2 && test.volumeCount == 5) {
            continue;
        }
        SCOPED_TRACE(std::to_string(test.count) + " buffers, " + std::to_string(test.volumeCount) + " volumes");
        BuildFour(1);
        pointers_.resize(test.count);
        call_.count = test.count;
        UseVolumes(test.volumeCount);
        call_.volumes = test.hasVolumes ? volumes_.data() : nullptr;
        ExpectRejected(test.status, BeforeVolumes());
    }
}

TEST_P(Mux, WithoutAVolumeCountDoesNotReadTheVolumes)
{
    BuildFour(1);
    UseVolumes({{0, 9.0F, -1.0F}});
    call_.volumeCount = 0;
    EXPECT_EQ(Run(), 0);
}

TEST_P(Mux, OfAMuxThatCannotBeDescribedIsAnInvalidParameter)
{
    BuildFour(1);
    if (!Interleaves()) {
        RemoveBuffer(1); // checked later
    }
    callLog_.FailCallsTo("mux.GetAudioSamplesDescription");
    ExpectRejected(ZT_E_INVALID_PARAMETER, BeforeCount(Four()));
}

TEST_P(Mux, OfAMuxThatCannotBeRelabeledReturnsTheHostsCodeAlsoForAnUnsupportedCount)
{
    for (const std::size_t count : {Four(), std::size_t{3}}) {
        Build(Pcm24In32(Channels()), count, Pcm20In32(4), 1);
        callLog_.FailCallsTo("mux.SetWaveFormat");
        ExpectRejected(kInjectedFailure, BeforeCount(count) + Calls{"mux.SetWaveFormat"});
        callLog_.ClearFaults();
    }
}

TEST_P(Mux, OfAnUnsupportedCountIsAnInvalidParameter)
{
    std::vector<std::size_t> counts = {0, 1, 3, 5, 6, 7, 12, 33, 63, 65};
    if (ChannelsPerBuffer() == 2) {
        counts.push_back(64);
    } else if (!Interleaves()) {
        counts.push_back(2);
    }
    for (const std::size_t count : counts) {
        SCOPED_TRACE(count);
        Build(Pcm24In32(Channels()), count, Pcm24In32(static_cast<std::uint32_t>(count * ChannelsPerBuffer())), 1);
        ExpectRejected(ZT_E_INVALID_PARAMETER, BeforeCount(count));
    }
    Build(Pcm24In32(Channels()), 3, Pcm24In32(4), 1);
    ExpectRejected(ZT_E_INVALID_PARAMETER, BeforeCount(3));
}

TEST_P(Mux, OfAnotherWidthThanItsBuffersIsRejected)
{
    for (const std::size_t count : {2UL, 4UL, 8UL, 16UL, 32UL, 64UL}) {
        const std::size_t channels = count * ChannelsPerBuffer();
        if (channels > 64 || (!Interleaves() && channels < 4)) {
            continue;
        }
        for (const std::size_t width : {channels / 2, channels * 2, channels + 1, std::size_t{0}}) {
            SCOPED_TRACE(std::to_string(count) + " and " + std::to_string(width));
            Build(Pcm24In32(Channels()), count, Pcm24In32(4), 1);
            mux_->SetFormat(Pcm24In32(static_cast<std::uint32_t>(width)));
            ExpectRejected(WidthStatus(), BeforeCount(count));
        }
    }
}

TEST_P(Mux, OfOpaqueDataIsRejectedAfterItsWidth)
{
    BuildFour(1);
    if (!Interleaves()) {
        RemoveBuffer(0); // checked later
    }
    mux_->SetFormat(Opaque(4));
    ExpectRejected(ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE, BeforeCount(Four()));
    mux_->SetFormat(Opaque(8));
    ExpectRejected(WidthStatus(), BeforeCount(Four()));
}

TEST_P(Mux, StopsAtAMissingBufferAndSignalsTheOthers)
{
    for (const std::size_t missing : {0U, 1U}) {
        BuildFour(1);
        RemoveBuffer(missing);
        ExpectRejected(Interleaves() ? ZT_E_INVALID_POINTER : ZT_E_INVALID_PARAMETER,
                       BeforeArray() + ArrayChecks(missing));
    }
}

TEST_P(Mux, StopsAtABufferWithoutAContent)
{
    BuildFour(1);
    callLog_.FailCallsTo("b1.QueryInterface", E_NOINTERFACE);
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    Calls checks = BeforeArray() + ArrayChecks(2);
    checks.pop_back(); // after the query
    Calls ending = Ending(ZT_E_INVALID_PARAMETER);
    const auto query = std::find(ending.begin(), ending.end(), "b1.QueryInterface");
    ending.erase(query + 1, query + (Interleaves() ? 2 : 3));
    EXPECT_EQ(callLog_.Calls(), checks + ending);
    EXPECT_EQ(array_[1]->ReadCount() + array_[1]->WriteCount(), 1) << "there is nothing to signal";
    ExpectAtRest({array_[0].Get(), array_[1].Get(), mux_.Get()});
}

// ---- Relabeling ----

TEST_P(Mux, RelabelsABufferAsSoonAsItIsDescribed)
{
    Build(Pcm20In32(Channels()), Four(), Pcm20In32(4), 1);
    ExpectRun(0);
    const Calls expected =
        BeforeArray() +
        (Interleaves()
             ? Calls{"b0.GetAudioSamplesDescription", "b0.SetWaveFormat", "b0.QueryInterface", "b0.GetErrorCode"}
             : Calls{"mux.SetWaveFormat", "b0.QueryInterface", "b0.GetAudioSamplesDescription", "b0.SetWaveFormat"});
    ASSERT_GE(callLog_.Calls().size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), callLog_.Calls().begin()));
}

TEST_P(Mux, DoesNotUndoTheRelabelingOfARejectedCall)
{
    for (const std::size_t count : {Four(), std::size_t{3}}) {
        Build(Pcm20In32(Channels()), count, Pcm20In32(count == 3 ? 4 : 8), 1);
        EXPECT_EQ(Run(), count == 3 ? ZT_E_INVALID_PARAMETER : WidthStatus());
        EXPECT_EQ(mux_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
        EXPECT_EQ(array_[0]->Description().sWaveFormat.ulValidBitsPerSample, Interleaves() ? 24U : 20U)
            << "outputs are read later";
    }
}

TEST_P(Mux, OnABusyEngineSignalsAllBuffers)
{
    BuildFour(1);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), AllChecks(Four()) + Ending(ZT_E_MODULE_BUSY));
    SZtLayoutProbe::SetBusy(Object(), 0);
}

// ---- Lengths ----

TEST_P(Mux, IntoLongerOutputsShortensThemToTheInputs)
{
    BuildFour(100);
    for (RecordingBuffer* input : Inputs()) {
        input->SetValidLength(60 * host::BytesPerFrame(input->Description().sWaveFormat));
    }
    const Words before = AllSamplesOf(*mux_);
    ExpectRun(0);
    for (const RecordingBuffer* output : Outputs()) {
        EXPECT_EQ(FramesOf(*output), 60U);
    }
    const Words after = AllSamplesOf(*mux_);
    EXPECT_TRUE(std::equal(after.begin() + 240, after.end(), before.begin() + 240)) << "its tail is not touched";
}

TEST_P(Mux, WithVolumesIntoLongerOutputsKeepsTheirLengthsAndSpansThem)
{
    BuildFour(100);
    for (const auto& buffers : {Inputs(), Outputs()}) {
        for (RecordingBuffer* buffer : buffers) {
            Fill(*buffer, std::vector<std::uint32_t>(buffer->Capacity() / 4, 0x40000000));
        }
    }
    for (RecordingBuffer* input : Inputs()) {
        input->SetValidLength(60 * host::BytesPerFrame(input->Description().sWaveFormat));
    }
    UseVolumes(4);
    EXPECT_EQ(Run(), 0);
    for (const RecordingBuffer* output : Outputs()) {
        EXPECT_EQ(FramesOf(*output), 100U);
        // The ramp spans the output: 40 parts of 4096 less with each of its frames, also beyond the inputs.
        const Words samples = AllSamplesOf(*output);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const auto frame = static_cast<std::uint32_t>(i / (samples.size() / 100));
            ASSERT_EQ(samples[i], 0x40000000U / 4096 * (4096 - frame * 40)) << output->Name() << ", sample " << i;
        }
    }
}

TEST_P(Mux, IntoShorterOutputsIsRejectedForAnyCapacity)
{
    for (const bool volumes : {false, true}) {
        BuildFour(80);
        for (RecordingBuffer* output : Outputs()) {
            output->SetValidLength(79 * host::BytesPerFrame(output->Description().sWaveFormat));
        }
        if (volumes) {
            UseVolumes(4);
        }
        const Words untouched = OutputSamples();
        ExpectRun(ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(OutputSamples(), untouched);
        for (const RecordingBuffer* output : Outputs()) {
            EXPECT_EQ(FramesOf(*output), 79U);
        }
    }
}

TEST_P(Mux, OfBuffersOfDifferentLengthsIsRejected)
{
    for (const std::size_t frames : {59U, 61U}) {
        BuildFour(60);
        ReplaceBuffer(1, Pcm24In32(Channels()), frames);
        ReplaceMux(Pcm24In32(4), Interleaves() ? 100 : 1, 100);
        ExpectRun(ZT_E_BUFFER_SIZE_MISMATCH);
    }
}

// ---- Rejections in the worker ----

TEST_P(Mux, BetweenContainersWithoutAConversionIsRejected)
{
    for (const bool packsArray : {true, false}) {
        Build(packsArray ? Pcm24In24(Channels()) : Pcm16(Channels()), Four(), packsArray ? Pcm16(4) : Pcm24In24(4), 3);
        ExpectRun(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
        const std::string scratch = Interleaves() ? "convert0" : "scratch0";
        EXPECT_EQ(callLog_.Calls(), Entry(Four()) + WorkerStart() +
                                        (Interleaves() ? Calls{"b0.GetAudioSamplesDescription"} : Calls{}) +
                                        Calls{scratch + ".SetWaveFormat"} + BufferQuery(InputName()) +
                                        BufferQuery(scratch) + WorkerEnd(Four(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED));
    }
}

TEST_P(Mux, ReturnsTheHostsFailuresInTheWorker)
{
    // All host calls between the start mark and the ending whose status counts, once. They are counted from the start
    // of the operation.
    struct Case {
        std::string call;
        int status;
    };
    const std::vector<Case> interleaveCases = {
        {"convert0.SetWaveFormat", kInjectedFailure},
        {SetLength("convert1", 12 * ChannelsPerBuffer())[0], kInjectedFailure},
        {"mux.SetLength(48)", kInjectedFailure},
        {"mux.GetBufferAndLength", kInjectedFailure},
        {"mux.GetBufferCapacity", kInjectedFailure},
        {"convert0.GetAudioSamplesDescription", ZT_E_INVALID_PARAMETER},
        {"b0.GetBufferAndLength", kInjectedFailure},
    };
    const std::vector<Case> deinterleaveCases = {
        {"scratch0.SetWaveFormat", kInjectedFailure},
        {"scratch0.SetLength(24)", kInjectedFailure},
        {"mux.GetBufferAndLength", kInjectedFailure},
        {SetLength("b0", 6 * ChannelsPerBuffer())[0], kInjectedFailure},
        {"b1.GetBufferCapacity", ZT_E_INVALID_PARAMETER},
    };
    for (const Case& test : Interleaves() ? interleaveCases : deinterleaveCases) {
        SCOPED_TRACE(test.call);
        Build(Interleaves() ? Pcm24In32(Channels()) : Pcm16(Channels()), Four(), Pcm24In32(4), 3);
        callLog_.FailCallsTo(test.call);
        EXPECT_EQ(Run(), test.status);
        callLog_.ClearFaults();
        ExpectRecorded(test.status);
        for (const RecordingBuffer* output : Outputs()) {
            EXPECT_EQ(output->WriteStopMarks(), 1);
        }
        ExpectSettled();
    }
}

TEST_P(Mux, WhoseBuffersCannotBeDescribedToTheWorkerReturnsTheHostsCode)
{
    const Calls start = WorkerStart();
    for (std::size_t calls = 1; calls <= start.size(); ++calls) {
        BuildFour(1);
        OnCall(LastOutputName() + ".MarkWriteStartTime", [&] { callLog_.FailCall(static_cast<int>(calls)); });
        ExpectRun(kInjectedFailure, Entry(Four()) +
                                        Calls(start.begin(), start.begin() + static_cast<std::ptrdiff_t>(calls)) +
                                        WorkerEnd(Four(), kInjectedFailure));
    }
}

// ---- The log ----

TEST_P(Mux, LogsAFormatWithoutASuggestionAndNoFailureOfItsEntryPoint)
{
    BuildFour(1);
    LogRecorder::Clear();
    RemoveBuffer(1);
    EXPECT_EQ(Run(), Interleaves() ? ZT_E_INVALID_POINTER : ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(LogRecorder::Count(), 0U) << "an entry point does not log";
    Build(Interleaves() ? Opaque(Channels(), 32, 32) : Pcm24In32(Channels()), Four(),
          Interleaves() ? Pcm24In32(4) : Float32(4), 1);
    EXPECT_EQ(Run(), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1U);
}

} // namespace
} // namespace zta::test
