// CopyAudioSamplesMonoToStereo and CopyAudioSamplesStereoToMono.

#include "testing/engine_fixture.h"
#include "testing/log_recorder.h"
#include "testing/scenarios.h"

namespace zta::test {
namespace {

/// A left, a right and a stereo buffer, and one of the two operations on them.
class StereoTest : public EngineTest {
protected:
    explicit StereoTest(OperationKind kind) : interleaves_(kind == OperationKind::MonoToStereo) {}

    /// Creates the buffers: all samples are valid and zero.
    void Build(const SZtaWaveFormatInfo& left, const SZtaWaveFormatInfo& right, const SZtaWaveFormatInfo& stereo,
               std::size_t frames)
    {
        left_ = Make("left", left, frames);
        right_ = Make("right", right, frames);
        stereo_ = Make("stereo", stereo, frames);
    }

    void Build(const SZtaWaveFormatInfo& mono, const SZtaWaveFormatInfo& stereo, std::size_t frames)
    {
        Build(mono, mono, stereo, frames);
    }

    /// Announces all accesses as a host does, clears the call log and calls the operation.
    int Run(RecordingBuffer* left, RecordingBuffer* right, RecordingBuffer* stereo)
    {
        for (RecordingBuffer* buffer : {left, right, stereo}) {
            if (buffer == nullptr) {
                continue;
            }
            if ((buffer == stereo) == interleaves_) {
                buffer->AnnounceWrite();
            } else {
                buffer->AnnounceRead();
            }
        }
        callLog_.Clear();
        return interleaves_ ? engine_->CopyAudioSamplesMonoToStereo(left, right, stereo)
                            : engine_->CopyAudioSamplesStereoToMono(stereo, left, right);
    }

    int Run() { return Run(left_.Get(), right_.Get(), stereo_.Get()); }

    void ExpectAllAtRest() { ExpectAtRest({left_.Get(), right_.Get(), stereo_.Get()}); }

    /// Runs a call with these results.
    void ExpectRun(RecordingBuffer* left, RecordingBuffer* right, RecordingBuffer* stereo, int status,
                   const Calls& calls)
    {
        EXPECT_EQ(Run(left, right, stereo), status);
        EXPECT_EQ(callLog_.Calls(), calls);
        callLog_.ClearFaults();
        ExpectAllAtRest();
    }

    void ExpectRun(int status, const Calls& calls)
    {
        ExpectRun(left_.Get(), right_.Get(), stereo_.Get(), status, calls);
    }

    /// Runs a call whose worker makes these calls to process samples.
    void ExpectProcessed(const Calls& calls, int status = 0) { ExpectRun(status, Start() + calls + End(status)); }

    // ---- Lists of calls of the entry point ----

    [[nodiscard]] Calls Checks() const
    {
        return interleaves_ ? Calls{"stereo.QueryInterface",
                                    "left.QueryInterface",
                                    "left.GetErrorCode",
                                    "right.QueryInterface",
                                    "right.GetErrorCode",
                                    "left.GetAudioSamplesDescription",
                                    "right.GetAudioSamplesDescription",
                                    "stereo.GetAudioSamplesDescription"}
                            : Calls{"left.QueryInterface",
                                    "right.QueryInterface",
                                    "stereo.QueryInterface",
                                    "stereo.GetErrorCode",
                                    "stereo.GetAudioSamplesDescription",
                                    "left.GetAudioSamplesDescription",
                                    "right.GetAudioSamplesDescription"};
    }

    /// The first `count` of these calls.
    [[nodiscard]] Calls Checks(std::size_t count) const
    {
        Calls checks = Checks();
        checks.resize(count);
        return checks;
    }

    /// The failure ending of one output, and of all buffers.
    static Calls OutputEnding(const std::string& output, int status)
    {
        return {ErrorCall(output, status), output + ".SignalWriteCompletion"};
    }

    [[nodiscard]] Calls Ending(int status) const
    {
        return interleaves_
                   ? Calls{"left.SignalReadCompletion", "right.SignalReadCompletion"} + OutputEnding("stereo", status)
                   : Calls{"stereo.SignalReadCompletion"} + OutputEnding("left", status) +
                         OutputEnding("right", status);
    }

    // ---- Lists of calls of the worker ----

    [[nodiscard]] Calls Start() const
    {
        return Checks() + (interleaves_ ? Calls{"stereo.MarkWriteStartTime", "left.GetAudioSamplesDescription",
                                                "right.GetAudioSamplesDescription", "stereo.GetAudioSamplesDescription"}
                                        : Calls{"left.MarkWriteStartTime", "right.MarkWriteStartTime",
                                                "stereo.GetAudioSamplesDescription", "left.GetAudioSamplesDescription",
                                                "right.GetAudioSamplesDescription", "right.MarkWriteStartTime"});
    }

    static Calls SetFormat(int scratch) { return {"scratch" + std::to_string(scratch) + ".SetWaveFormat"}; }

    static Calls Interleave(const std::string& left, const std::string& right, const std::string& stereo,
                            std::size_t bytes)
    {
        return BufferQuery(left) + BufferQuery(right) + BufferQuery(stereo) + SetLength(stereo, bytes);
    }

    static Calls Deinterleave(const std::string& stereo, const std::string& left, const std::string& right,
                              std::size_t bytes)
    {
        return BufferQuery(stereo) + BufferQuery(left) + BufferQuery(right) + SetLength(left, bytes) +
               SetLength(right, bytes);
    }

    [[nodiscard]] Calls End(int status = 0) const
    {
        const Calls errors = interleaves_ ? Calls{ErrorCall("stereo", status)}
                                          : Calls{ErrorCall("left", status), ErrorCall("right", status)};
        const Calls end = interleaves_ ? Calls{"left.SignalReadCompletion", "right.SignalReadCompletion",
                                               "stereo.MarkWriteStopTime", "stereo.SignalWriteCompletion"}
                                       : Calls{"stereo.SignalReadCompletion", "right.MarkWriteStopTime",
                                               "right.SignalWriteCompletion", "left.SignalWriteCompletion"};
        return (status < 0 ? errors : Calls{}) + end;
    }

    const bool interleaves_;
    host::Ref<RecordingBuffer> left_;
    host::Ref<RecordingBuffer> right_;
    host::Ref<RecordingBuffer> stereo_;
};

// ---- Both operations ----

class MonoStereo : public StereoTest, public ::testing::WithParamInterface<OperationKind> {
protected:
    MonoStereo() : StereoTest(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(Operations, MonoStereo,
                         ::testing::Values(OperationKind::MonoToStereo, OperationKind::StereoToMono),
                         ::testing::PrintToStringParamName());

TEST_P(MonoStereo, WithABufferThatCannotBeDescribedIsAnInvalidParameter)
{
    Build(Pcm16(1), Pcm16(2), 1);
    for (std::size_t calls = Checks().size() - 2; calls <= Checks().size(); ++calls) {
        callLog_.FailCallsTo(Checks(calls).back());
        ExpectRun(ZT_E_INVALID_PARAMETER, Checks(calls) + Ending(ZT_E_INVALID_PARAMETER));
    }
}

TEST_P(MonoStereo, OnABusyEngineSignalsAllBuffers)
{
    Build(Pcm16(1), Pcm16(2), 1);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), Checks() + Ending(ZT_E_MODULE_BUSY));
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_P(MonoStereo, RejectsOtherChannelCountsBeforeOpaqueData)
{
    const auto expect = [&](const SZtaWaveFormatInfo& left, const SZtaWaveFormatInfo& right,
                            const SZtaWaveFormatInfo& stereo, int status) {
        Build(left, right, stereo, 1);
        ExpectRun(status, Checks() + Ending(status));
        for (const auto& output : interleaves_ ? std::vector{stereo_} : std::vector{left_, right_}) {
            EXPECT_EQ(output->ErrorCode(), status);
        }
    };
    expect(Pcm16(2), Pcm16(1), Pcm16(2), ZT_E_FORMAT_NOT_SUPPORTED);
    expect(Pcm16(1), Pcm16(2), Pcm16(2), ZT_E_FORMAT_NOT_SUPPORTED);
    expect(Pcm16(1), Pcm16(1), Pcm16(1), ZT_E_FORMAT_NOT_SUPPORTED);
    expect(Opaque(1), Pcm16(1), Pcm16(1), ZT_E_FORMAT_NOT_SUPPORTED);
    expect(Opaque(1), Pcm16(1), Pcm16(2), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    expect(Pcm16(1), Opaque(1), Pcm16(2), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    expect(Pcm16(1), Pcm16(1), Opaque(2), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
}

TEST_P(MonoStereo, LogsEverySignalThatFails)
{
    Build(Pcm16(1), Pcm16(2), 2);
    for (const char* buffer : {"left", "right", "stereo"}) {
        const bool isInput = (buffer == std::string("stereo")) != interleaves_;
        callLog_.FailCallsTo(buffer + std::string(isInput ? ".SignalReadCompletion" : ".SignalWriteCompletion"));
        LogRecorder::Clear();
        EXPECT_EQ(Run(), 0) << "the status of a signal is not returned";
        EXPECT_EQ(LogRecorder::Count(), 1U) << buffer;
        callLog_.ClearFaults();
    }
}

// ---- Mono to stereo ----

class MonoToStereo : public StereoTest {
protected:
    MonoToStereo() : StereoTest(OperationKind::MonoToStereo) {}
};

TEST_F(MonoToStereo, OfSupportedFormatsUsesNoScratchBuffer)
{
    Build(Pcm16(1), Pcm16(2), 3);
    Fill<std::int16_t>(*left_, {1, 2, 3});
    Fill<std::int16_t>(*right_, {-1, -2, -3});

    ExpectProcessed(Interleave("left", "right", "stereo", 12) + Flags("stereo", 0, 0));
    EXPECT_EQ(Samples<std::int16_t>(*stereo_, 6), (std::vector<std::int16_t>{1, -1, 2, -2, 3, -3}));
    EXPECT_EQ(stereo_->Length(), 12U);
    EXPECT_EQ(left_->ReadCount() + right_->ReadCount() + stereo_->WriteCount(), 0);
}

TEST_F(MonoToStereo, StagesEachInputThatDiffersFromTheOneSuggestion)
{
    // The stereo format decides: 24-in-32 mono is suggested, so only the 16-bit left input is staged.
    Build(Pcm16(1), Pcm24In32(1), Pcm24In32(2), 2);
    Fill<std::int16_t>(*left_, {1, 2});
    Fill<std::int32_t>(*right_, {0x300, 0x400});
    ExpectProcessed(SetFormat(0) + Convert("left", "scratch0", 8) + Interleave("scratch0", "right", "stereo", 16) +
                    Flags("stereo", 0, 0));
    EXPECT_EQ(Samples<std::int32_t>(*stereo_, 4), (std::vector<std::int32_t>{0x10000, 0x300, 0x20000, 0x400}));

    Build(Pcm24In32(1), Pcm16(1), Pcm24In32(2), 2);
    ExpectProcessed(SetFormat(1) + Convert("right", "scratch1", 8) + Interleave("left", "scratch1", "stereo", 16) +
                    Flags("stereo", 0, 0));
    ExpectAllAtRest();
}

TEST_F(MonoToStereo, StagesAnOutputThatNoKernelSupports)
{
    // No kernel interleaves floats: the format of the left input is kept if the table has it, and the output is staged.
    Build(Pcm24In32(1), Float32(2), 1);
    Fill<std::int32_t>(*left_, {0x7FFFFF00});
    Fill<std::int32_t>(*right_, {-0x7FFFFF00});
    ExpectProcessed(SetFormat(2) + Interleave("left", "right", "scratch2", 8) + Convert("scratch2", "stereo", 8) +
                    Flags("stereo", 0, 0));
    EXPECT_EQ(Samples<float>(*stereo_, 2), (std::vector<float>{1.0F, -1.0F}));
}

TEST_F(MonoToStereo, OfFloatsIntoFloatsStagesAllThree)
{
    // No table entry has floats: the last entry, packed 24 bits, is suggested, and floats cannot be converted to it.
    Build(Float32(1), Float32(2), 1);
    ExpectProcessed(SetFormat(0) + BufferQuery("left") + BufferQuery("scratch0"), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(MonoToStereo, AtOtherRatesInterleavesWithoutAScratchBuffer)
{
    Build(Pcm16(1, 44100), Pcm16(2, 44100), 2);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(stereo_->Length(), 8U);
}

TEST_F(MonoToStereo, AppliesTheFadesThatBothInputsRequest)
{
    Build(Pcm16(1), Pcm16(2), 300);
    Fill<std::int16_t>(*left_, std::vector<std::int16_t>(300, 1000));
    Fill<std::int16_t>(*right_, std::vector<std::int16_t>(300, 2000));
    left_->SetFades(false, true);
    right_->SetFades(false, true);
    stereo_->SetFades(true, true);
    ExpectProcessed(Interleave("left", "right", "stereo", 1200) + Flags("stereo", 0, 1) + BufferQuery("stereo") +
                    Flags("stereo", 0, 0));
    const auto samples = Samples<std::int16_t>(*stereo_, 600);
    EXPECT_EQ(samples[198], 1000);
    EXPECT_EQ(samples[598], 1000 * 327 >> 15);
    EXPECT_EQ(samples[599], 2000 * 327 >> 15);
    EXPECT_FALSE(stereo_->Description().bFadeIn || stereo_->Description().bFadeOut);
}

TEST_F(MonoToStereo, KeepsTheFlagsIfThoseOfTheInputsDiffer)
{
    for (const bool fadeIn : {false, true}) {
        Build(Pcm16(1), Pcm16(2), 300);
        (fadeIn ? left_ : right_)->SetFades(fadeIn, !fadeIn);
        stereo_->SetFades(true, false);
        ExpectProcessed(Interleave("left", "right", "stereo", 1200));
        EXPECT_TRUE(stereo_->Description().bFadeIn);
        EXPECT_FALSE(stereo_->Description().bFadeOut);
    }
}

TEST_F(MonoToStereo, RejectsAFadeOfAnOutputWithoutAFadeKernelAndClearsItsFlags)
{
    Build(Pcm24In24(1), Pcm24In24(2), 300);
    left_->SetFades(true, false);
    right_->SetFades(true, false);
    ExpectProcessed(Interleave("left", "right", "stereo", 1800) + Flags("stereo", 1, 0) + BufferQuery("stereo") +
                        Flags("stereo", 0, 0),
                    ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(MonoToStereo, ChecksInOrderAndSignalsTheBuffersThatItHasQueried)
{
    Build(Pcm16(1), Pcm16(2), 1);
    ExpectRun(left_.Get(), right_.Get(), nullptr, ZT_E_INVALID_POINTER, {});
    callLog_.FailCallsTo("stereo.QueryInterface");
    ExpectRun(ZT_E_INVALID_PARAMETER, Checks(1));

    // The other input gets no signal either.
    const Calls missing = Checks(1) + OutputEnding("stereo", ZT_E_INVALID_POINTER);
    ExpectRun(nullptr, right_.Get(), stereo_.Get(), ZT_E_INVALID_POINTER, missing);
    ExpectRun(left_.Get(), nullptr, stereo_.Get(), ZT_E_INVALID_POINTER, missing);
    callLog_.FailCallsTo("left.QueryInterface");
    ExpectRun(kInjectedFailure, Checks(2) + OutputEnding("stereo", kInjectedFailure));
    callLog_.FailCallsTo("right.QueryInterface");
    ExpectRun(kInjectedFailure,
              Checks(4) + Calls{"left.SignalReadCompletion"} + OutputEnding("stereo", kInjectedFailure));

    left_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRun(ZT_E_FAIL, Checks(3) + Calls{"left.SignalReadCompletion"} + OutputEnding("stereo", ZT_E_FAIL));
    left_->host::AudioBuffer::SetErrorCode(kZtSynchroStatusPlayedLate);
    right_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRun(ZT_E_FAIL, Checks(5) + Ending(ZT_E_FAIL));
    right_->host::AudioBuffer::SetErrorCode(kZtSynchroStatusDeviceNotReady);
    EXPECT_EQ(Run(), 0);
}

TEST_F(MonoToStereo, OfDifferentLengthsIsRejectedAndNotLogged)
{
    Build(Pcm16(1), Pcm16(2), 3);
    left_->SetValidLength(4);
    LogRecorder::Clear();
    EXPECT_EQ(Run(), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(stereo_->ErrorCode(), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(stereo_->WriteStartMarks(), 1);
    EXPECT_EQ(stereo_->WriteStopMarks(), 1);
    EXPECT_EQ(LogRecorder::Count(), 0U);
}

TEST_F(MonoToStereo, AcceptsTheCapacityOfAScratchBufferAndNoFrameMore)
{
    for (const std::size_t frames : {48000U, 48001U}) {
        Build(Pcm16(1), Pcm24In32(2), frames);
        EXPECT_EQ(Run(), frames == 48000 ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        ExpectAllAtRest();
    }
}

// ---- Stereo to mono ----

class StereoToMono : public StereoTest {
protected:
    StereoToMono() : StereoTest(OperationKind::StereoToMono) {}
};

TEST_F(StereoToMono, OfSupportedFormatsUsesNoScratchBufferAndMarksUnevenly)
{
    Build(Pcm16(1), Pcm16(2), 3);
    Fill<std::int16_t>(*stereo_, {1, -1, 2, -2, 3, -3});

    ExpectProcessed(Deinterleave("stereo", "left", "right", 6));
    EXPECT_EQ(Samples<std::int16_t>(*left_, 3), (std::vector<std::int16_t>{1, 2, 3}));
    EXPECT_EQ(Samples<std::int16_t>(*right_, 3), (std::vector<std::int16_t>{-1, -2, -3}));
    EXPECT_EQ(left_->WriteStartMarks(), 1);
    EXPECT_EQ(left_->WriteStopMarks(), 0) << "the left output gets no stop mark";
    EXPECT_EQ(right_->WriteStartMarks(), 2) << "the right output is marked twice";
    EXPECT_EQ(right_->WriteStopMarks(), 1);
    EXPECT_EQ(stereo_->ReadCount() + left_->WriteCount() + right_->WriteCount(), 0);
}

TEST_F(StereoToMono, StagesTheInput)
{
    Build(Pcm24In32(1), Pcm16(2), 1);
    Fill<std::int16_t>(*stereo_, {5, 6});
    ExpectProcessed(SetFormat(0) + Convert("stereo", "scratch0", 8) + Deinterleave("scratch0", "left", "right", 4));
    EXPECT_EQ(Samples<std::int32_t>(*left_, 1), std::vector<std::int32_t>{5 << 16});
    EXPECT_EQ(Samples<std::int32_t>(*right_, 1), std::vector<std::int32_t>{6 << 16});
}

TEST_F(StereoToMono, StagesEachOutputThatNeedsIt)
{
    Build(Float32(1), Pcm24In32(2), 1);
    Fill<std::int32_t>(*stereo_, {0x7FFFFF00, 0x40000000});
    ExpectProcessed(SetFormat(1) + SetFormat(2) + Deinterleave("stereo", "scratch1", "scratch2", 4) +
                    Convert("scratch1", "left", 4) + Convert("scratch2", "right", 4));
    EXPECT_EQ(Samples<float>(*left_, 1), std::vector<float>{1.0F});

    Build(Pcm24In32(1), Pcm16(1), Pcm24In32(2), 1);
    Fill<std::int32_t>(*stereo_, {0x7FFFFF00, 0x40000000});
    ExpectProcessed(SetFormat(2) + Deinterleave("stereo", "left", "scratch2", 4) + Convert("scratch2", "right", 2));
    EXPECT_EQ(Samples<std::int16_t>(*right_, 1), std::vector<std::int16_t>{0x4000});
}

TEST_F(StereoToMono, WithOneStagedOutputAcceptsTheCapacityOfItsScratchBufferAndNoFrameMore)
{
    for (const bool leftStaged : {true, false}) {
        for (const std::size_t frames : {48000U, 48001U}) {
            // The suggestion follows the left output: a float left is staged, and so is a 16-bit right.
            Build(leftStaged ? Float32(1) : Pcm24In32(1), leftStaged ? Pcm24In32(1) : Pcm16(1), Pcm24In32(2), frames);
            EXPECT_EQ(Run(), frames == 48000 ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL) << leftStaged << " " << frames;
            ExpectAllAtRest();
        }
    }
}

TEST_F(StereoToMono, KeepsTheFirstOutputIfTheSecondOneFails)
{
    Build(Float32(1), Float32(1, 44100), Pcm24In32(2), 1);
    Fill<std::int32_t>(*stereo_, {0x7FFFFF00, 0x40000000});
    EXPECT_EQ(Run(), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(Samples<float>(*left_, 1), std::vector<float>{1.0F});
    EXPECT_EQ(left_->ErrorCode(), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(right_->ErrorCode(), ZT_E_FORMAT_NOT_SUPPORTED);
}

TEST_F(StereoToMono, SetsTheScratchFormatsOfTheOutputsEvenIfTheInputCannotBeStaged)
{
    // A float left output leads to the last table entry for the stereo buffer; floats cannot be converted to packed 24
    // bits.
    Build(Float32(1), Float32(2), 1);
    LogRecorder::Clear();
    ExpectProcessed(SetFormat(0) + BufferQuery("stereo") + BufferQuery("scratch0") + SetFormat(1) + SetFormat(2),
                    ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1U);
}

TEST_F(StereoToMono, NeitherFadesNorPropagatesFlagsOrPolarity)
{
    Build(Pcm16(1), Pcm16(2), 300);
    stereo_->SetFades(true, true);
    stereo_->SetPolarity(4);
    ExpectProcessed(Deinterleave("stereo", "left", "right", 600));
    EXPECT_FALSE(left_->Description().bFadeIn || right_->Description().bFadeOut);
    EXPECT_EQ(left_->Polarity() + right_->Polarity(), 0U);
}

TEST_F(StereoToMono, ChecksInOrderAndSignalsTheBuffersThatItHasQueried)
{
    Build(Pcm16(1), Pcm16(2), 1);
    const auto bothEndings = [](int status) { return OutputEnding("left", status) + OutputEnding("right", status); };
    ExpectRun(nullptr, nullptr, stereo_.Get(), ZT_E_INVALID_POINTER, {});
    ExpectRun(left_.Get(), nullptr, stereo_.Get(), ZT_E_INVALID_POINTER,
              Checks(1) + OutputEnding("left", ZT_E_INVALID_POINTER));
    EXPECT_EQ(left_->ErrorCode(), ZT_E_INVALID_POINTER);
    callLog_.FailCallsTo("right.QueryInterface");
    ExpectRun(kInjectedFailure, Checks(2) + OutputEnding("left", kInjectedFailure));
    ExpectRun(left_.Get(), right_.Get(), nullptr, ZT_E_INVALID_POINTER, Checks(2) + bothEndings(ZT_E_INVALID_POINTER));
    callLog_.FailCallsTo("stereo.QueryInterface");
    ExpectRun(kInjectedFailure, Checks(3) + bothEndings(kInjectedFailure));
    stereo_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    ExpectRun(ZT_E_FAIL, Checks(4) + Ending(ZT_E_FAIL));
    stereo_->host::AudioBuffer::SetErrorCode(kZtSynchroStatusRepeatedFrame);
    EXPECT_EQ(Run(), 0);

    // Only the description of a missing left output is missed.
    ExpectRun(nullptr, right_.Get(), stereo_.Get(), ZT_E_INVALID_POINTER,
              Calls{"right.QueryInterface", "stereo.QueryInterface", "stereo.GetErrorCode",
                    "stereo.GetAudioSamplesDescription", "stereo.SignalReadCompletion"} +
                  OutputEnding("right", ZT_E_INVALID_POINTER));
}

TEST_F(StereoToMono, WithALeftOutputWithoutAContentThrowsWhenItMarksTheStart)
{
    Build(Pcm16(1), Pcm16(2), 1);
    callLog_.FailCallsTo("left.QueryInterface");
    EXPECT_THROW(Run(), CZtSmartPointerException);
    callLog_.ClearFaults();
    EXPECT_EQ(callLog_.Calls(), Checks());
    ExpectAllAtRest();
    EXPECT_EQ(Run(), 0);
    ExpectAllAtRest();
}

} // namespace
} // namespace zta::test
