#include "testing/engine_fixture.h"
#include "testing/log_recorder.h"

namespace zta::test {
namespace {

using host::Float32;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

class PairTest : public EngineTest {
protected:
    static Calls Convert(const std::string& in, const std::string& out, std::size_t bytes)
    {
        return Digest(in) + Digest(out) + Calls{out + ".SetLength(" + std::to_string(bytes) + ")"};
    }

    static Calls Flags(const std::string& buffer, int fadeIn, int fadeOut)
    {
        return {buffer + ".SetFadeIn(" + std::to_string(fadeIn) + ")",
                buffer + ".SetFadeOut(" + std::to_string(fadeOut) + ")"};
    }
};

// ---- Mono to stereo ----

class MonoToStereo : public PairTest {
protected:
    int Run(RecordingBuffer* left, RecordingBuffer* right, RecordingBuffer* stereo)
    {
        for (RecordingBuffer* input : {left, right}) {
            if (input != nullptr) {
                input->AnnounceRead();
            }
        }
        if (stereo != nullptr) {
            stereo->AnnounceWrite();
        }
        callLog_.Clear();
        return engine_->CopyAudioSamplesMonoToStereo(left, right, stereo);
    }

    static Calls Entry()
    {
        return {"stereo.QueryInterface",
                "left.QueryInterface",
                "left.GetErrorCode",
                "right.QueryInterface",
                "right.GetErrorCode",
                "left.GetAudioSamplesDescription",
                "right.GetAudioSamplesDescription",
                "stereo.GetAudioSamplesDescription"};
    }

    static Calls ToWork()
    {
        return Entry() + (Calls{"stereo.MarkWriteStartTime", "left.GetAudioSamplesDescription",
                                "right.GetAudioSamplesDescription", "stereo.GetAudioSamplesDescription"});
    }

    static Calls Interleave(const std::string& left, const std::string& right, const std::string& stereo,
                            std::size_t bytes)
    {
        return Digest(left) + Digest(right) + Digest(stereo) +
               Calls{stereo + ".SetLength(" + std::to_string(bytes) + ")"};
    }

    static Calls End()
    {
        return {"left.SignalReadCompletion", "right.SignalReadCompletion", "stereo.MarkWriteStopTime",
                "stereo.SignalWriteCompletion"};
    }

    static Calls Ending(int code)
    {
        return {"left.SignalReadCompletion", "right.SignalReadCompletion", ErrorCall("stereo", code),
                "stereo.SignalWriteCompletion"};
    }
};

TEST_F(MonoToStereo, OfSupportedFormatsUsesNoScratchBuffer)
{
    auto left = Make("left", Pcm16(1), 0, 3);
    auto right = Make("right", Pcm16(1), 0, 3);
    auto stereo = Make("stereo", Pcm16(2), 0, 3);
    Fill<std::int16_t>(*left, {1, 2, 3});
    Fill<std::int16_t>(*right, {-1, -2, -3});

    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), ToWork() + Interleave("left", "right", "stereo", 12) + Flags("stereo", 0, 0) + End());
    EXPECT_EQ(Samples<std::int16_t>(*stereo, 6), (std::vector<std::int16_t>{1, -1, 2, -2, 3, -3}));
    EXPECT_EQ(stereo->Length(), 12U);
    EXPECT_EQ(left->ReadCount() + right->ReadCount() + stereo->WriteCount(), 0);
    ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
}

TEST_F(MonoToStereo, StagesEachInputThatDiffersFromTheOneSuggestion)
{
    // The stereo format decides: 24-in-32 mono is suggested, so only the 16-bit left input is staged.
    auto left = Make("left", Pcm16(1), 0, 2);
    auto right = Make("right", Pcm24In32(1), 0, 2);
    auto stereo = Make("stereo", Pcm24In32(2), 0, 2);
    Fill<std::int16_t>(*left, {1, 2});
    Fill<std::int32_t>(*right, {0x300, 0x400});
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch0.SetWaveFormat"} + Convert("left", "scratch0", 8) +
                                    Interleave("scratch0", "right", "stereo", 16) + Flags("stereo", 0, 0) + End());
    EXPECT_EQ(Samples<std::int32_t>(*stereo, 4), (std::vector<std::int32_t>{0x10000, 0x300, 0x20000, 0x400}));

    auto left24 = Make("left", Pcm24In32(1), 2);
    auto right16 = Make("right", Pcm16(1), 2);
    EXPECT_EQ(Run(left24.Get(), right16.Get(), stereo.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch1.SetWaveFormat"} + Convert("right", "scratch1", 8) +
                                    Interleave("left", "scratch1", "stereo", 16) + Flags("stereo", 0, 0) + End());
    ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
}

TEST_F(MonoToStereo, StagesAnOutputThatNoKernelSupports)
{
    // No kernel interleaves floats: the format of the left input is kept if the table has it, and the output is staged.
    auto left = Make("left", Pcm24In32(1), 0, 1);
    auto right = Make("right", Pcm24In32(1), 0, 1);
    auto stereo = Make("stereo", Float32(2), 0, 1);
    Fill<std::int32_t>(*left, {0x7FFFFF00});
    Fill<std::int32_t>(*right, {-0x7FFFFF00});
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch2.SetWaveFormat"} +
                                    Interleave("left", "right", "scratch2", 8) + Convert("scratch2", "stereo", 8) +
                                    Flags("stereo", 0, 0) + End());
    EXPECT_EQ(Samples<float>(*stereo, 2), (std::vector<float>{1.0F, -1.0F}));
}

TEST_F(MonoToStereo, OfFloatsIntoFloatsStagesAllThree)
{
    // No table entry has floats: the last entry, packed 24 bits, is suggested, and floats cannot be converted to it.
    auto left = Make("left", Float32(1), 1);
    auto right = Make("right", Float32(1), 1);
    auto stereo = Make("stereo", Float32(2), 1);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch0.SetWaveFormat"} + Digest("left") + Digest("scratch0") +
                                    (Calls{ErrorCall("stereo", ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED)}) + End());
    ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
}

TEST_F(MonoToStereo, AtOtherRatesInterleavesWithoutAScratchBuffer)
{
    auto left = Make("left", Pcm16(1, 44100), 2);
    auto right = Make("right", Pcm16(1, 44100), 2);
    auto stereo = Make("stereo", Pcm16(2, 44100), 0, 2);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);
    EXPECT_EQ(stereo->Length(), 8U);
}

TEST_F(MonoToStereo, FadesWhatBothSidesAskFor)
{
    auto left = Make("left", Pcm16(1), 0, 300);
    auto right = Make("right", Pcm16(1), 0, 300);
    auto stereo = Make("stereo", Pcm16(2), 0, 300);
    Fill<std::int16_t>(*left, std::vector<std::int16_t>(300, 1000));
    Fill<std::int16_t>(*right, std::vector<std::int16_t>(300, 2000));
    left->SetFades(false, true);
    right->SetFades(false, true);
    stereo->SetFades(true, true);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Interleave("left", "right", "stereo", 1200) + Flags("stereo", 0, 1) +
                                    Digest("stereo") + Flags("stereo", 0, 0) + End());
    const auto samples = Samples<std::int16_t>(*stereo, 600);
    EXPECT_EQ(samples[198], 1000);
    EXPECT_EQ(samples[598], 1000 * 327 >> 15);
    EXPECT_EQ(samples[599], 2000 * 327 >> 15);
    EXPECT_FALSE(stereo->Description().bFadeIn || stereo->Description().bFadeOut);
}

TEST_F(MonoToStereo, LeavesTheFlagsWhereTheSidesDisagree)
{
    for (const bool fadeIn : {false, true}) {
        auto left = Make("left", Pcm16(1), 300);
        auto right = Make("right", Pcm16(1), 300);
        auto stereo = Make("stereo", Pcm16(2), 300);
        (fadeIn ? left : right)->SetFades(fadeIn, !fadeIn);
        stereo->SetFades(true, false);
        EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);
        EXPECT_EQ(callLog_.Calls(), ToWork() + Interleave("left", "right", "stereo", 1200) + End());
        EXPECT_TRUE(stereo->Description().bFadeIn);
        EXPECT_FALSE(stereo->Description().bFadeOut);
    }
}

TEST_F(MonoToStereo, FailsWhereTheOutputsFormatCannotBeFadedAndClearsItsFlags)
{
    auto left = Make("left", Pcm24In24(1), 300);
    auto right = Make("right", Pcm24In24(1), 300);
    auto stereo = Make("stereo", Pcm24In24(2), 300);
    left->SetFades(true, false);
    right->SetFades(true, false);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Interleave("left", "right", "stereo", 1800) + Flags("stereo", 1, 0) +
                                    Digest("stereo") + Flags("stereo", 0, 0) +
                                    (Calls{ErrorCall("stereo", ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED)}) + End());
}

TEST_F(MonoToStereo, ChecksInOrderAndSignalsWhatItHasLookedAt)
{
    auto left = Make("left", Pcm16(1), 1);
    auto right = Make("right", Pcm16(1), 1);
    auto stereo = Make("stereo", Pcm16(2), 1);
    const auto expect = [&](int status, const Calls& calls) {
        EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), status);
        EXPECT_EQ(callLog_.Calls(), calls);
        callLog_.ClearFaults();
        ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
    };
    EXPECT_EQ(Run(left.Get(), right.Get(), nullptr), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
    callLog_.FailCallsTo("stereo.QueryInterface");
    expect(ZT_E_INVALID_PARAMETER, Calls{"stereo.QueryInterface"});

    for (const bool leftMissing : {false, true}) {
        EXPECT_EQ(Run(leftMissing ? nullptr : left.Get(), leftMissing ? right.Get() : nullptr, stereo.Get()),
                  ZT_E_INVALID_POINTER);
        EXPECT_EQ(callLog_.Calls(), (Calls{"stereo.QueryInterface", ErrorCall("stereo", ZT_E_INVALID_POINTER),
                                           "stereo.SignalWriteCompletion"}))
            << "the other input gets no signal either";
    }

    callLog_.FailCallsTo("left.QueryInterface");
    expect(kInjectedFailure, (Calls{"stereo.QueryInterface", "left.QueryInterface",
                                    ErrorCall("stereo", kInjectedFailure), "stereo.SignalWriteCompletion"}));
    callLog_.FailCallsTo("right.QueryInterface");
    expect(kInjectedFailure,
           (Calls{"stereo.QueryInterface", "left.QueryInterface", "left.GetErrorCode", "right.QueryInterface",
                  "left.SignalReadCompletion", ErrorCall("stereo", kInjectedFailure), "stereo.SignalWriteCompletion"}));

    left->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    expect(ZT_E_FAIL,
           (Calls{"stereo.QueryInterface", "left.QueryInterface", "left.GetErrorCode", "left.SignalReadCompletion",
                  ErrorCall("stereo", ZT_E_FAIL), "stereo.SignalWriteCompletion"}));
    left->host::AudioBuffer::SetErrorCode(kZtSynchroStatusPlayedLate);
    right->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    expect(ZT_E_FAIL, (Calls{"stereo.QueryInterface", "left.QueryInterface", "left.GetErrorCode",
                             "right.QueryInterface", "right.GetErrorCode"}) +
                          Ending(ZT_E_FAIL));
    right->host::AudioBuffer::SetErrorCode(kZtSynchroStatusDeviceNotReady);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);

    const Calls entry = Entry();
    for (std::size_t described = 6; described <= 8; ++described) {
        callLog_.FailCallsTo(entry[described - 1]);
        expect(ZT_E_INVALID_PARAMETER, Calls(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(described)) +
                                           Ending(ZT_E_INVALID_PARAMETER));
    }
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), Entry() + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_F(MonoToStereo, RejectsOtherChannelCountsBeforeOpaqueData)
{
    const auto run = [&](const SZtaWaveFormatInfo& l, const SZtaWaveFormatInfo& r, const SZtaWaveFormatInfo& s) {
        auto left = Make("left", l, 1);
        auto right = Make("right", r, 1);
        auto stereo = Make("stereo", s, 1);
        const int status = Run(left.Get(), right.Get(), stereo.Get());
        EXPECT_EQ(callLog_.Calls(), Entry() + Ending(status));
        EXPECT_EQ(stereo->ErrorCode(), status);
        return status;
    };
    EXPECT_EQ(run(Pcm16(2), Pcm16(1), Pcm16(2)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm16(1), Pcm16(2), Pcm16(2)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm16(1), Pcm16(1), Pcm16(1)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Opaque(1), Pcm16(1), Pcm16(1)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Opaque(1), Pcm16(1), Pcm16(2)), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm16(1), Opaque(1), Pcm16(2)), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm16(1), Pcm16(1), Opaque(2)), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
}

TEST_F(MonoToStereo, RelabelsTwentyBitsOnAllThree)
{
    auto left = Make("left", Pcm20In32(1), 1);
    auto right = Make("right", Pcm20In32(1), 1);
    auto stereo = Make("stereo", Pcm20In32(2), 0, 1);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0);
    for (const auto& buffer : {left, right, stereo}) {
        EXPECT_EQ(buffer->Description().sWaveFormat.ulValidBitsPerSample, 24U);
        EXPECT_EQ(callLog_.Count(buffer->Name() + ".SetWaveFormat"), 1);
    }
    for (const char* name : {"left.SetWaveFormat", "right.SetWaveFormat", "stereo.SetWaveFormat"}) {
        for (const auto& buffer : {left, right}) {
            buffer->SetFormat(Pcm20In32(1));
        }
        stereo->SetFormat(Pcm20In32(2));
        callLog_.FailCallsTo(name);
        EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), kInjectedFailure) << name;
        callLog_.ClearFaults();
    }
}

TEST_F(MonoToStereo, OfUnequalLengthsIsRejected)
{
    auto left = Make("left", Pcm16(1), 2);
    auto right = Make("right", Pcm16(1), 3);
    auto stereo = Make("stereo", Pcm16(2), 3);
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(stereo->ErrorCode(), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(stereo->WriteStartMarks(), 1);
    EXPECT_EQ(stereo->WriteStopMarks(), 1);
}

TEST_F(MonoToStereo, AcceptsTheCapacityOfAScratchBufferAndNoFrameMore)
{
    for (const std::size_t frames : {48000U, 48001U}) {
        auto left = Make("left", Pcm16(1), frames);
        auto right = Make("right", Pcm16(1), frames);
        auto stereo = Make("stereo", Pcm24In32(2), 0, frames);
        EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), frames == 48000 ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        ExpectAtRest({left.Get(), right.Get(), stereo.Get()});
    }
}

TEST_F(MonoToStereo, LogsTheSignalsButNotTheStatus)
{
    auto left = Make("left", Pcm16(1), 2);
    auto right = Make("right", Pcm16(1), 3);
    auto stereo = Make("stereo", Pcm16(2), 3);
    LogRecorder::Clear();
    EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(LogRecorder::Count(), 0U);
    for (const char* name :
         {"left.SignalReadCompletion", "right.SignalReadCompletion", "stereo.SignalWriteCompletion"}) {
        right->SetValidLength(4);
        callLog_.FailCallsTo(name);
        LogRecorder::Clear();
        EXPECT_EQ(Run(left.Get(), right.Get(), stereo.Get()), 0) << "a signal's status is not the operation's";
        EXPECT_EQ(LogRecorder::Count(), 1U) << name;
        callLog_.ClearFaults();
    }
}

// ---- Stereo to mono ----

class StereoToMono : public PairTest {
protected:
    int Run(RecordingBuffer* stereo, RecordingBuffer* left, RecordingBuffer* right)
    {
        if (stereo != nullptr) {
            stereo->AnnounceRead();
        }
        for (RecordingBuffer* output : {left, right}) {
            if (output != nullptr) {
                output->AnnounceWrite();
            }
        }
        callLog_.Clear();
        return engine_->CopyAudioSamplesStereoToMono(stereo, left, right);
    }

    static Calls Entry()
    {
        return {"left.QueryInterface",
                "right.QueryInterface",
                "stereo.QueryInterface",
                "stereo.GetErrorCode",
                "stereo.GetAudioSamplesDescription",
                "left.GetAudioSamplesDescription",
                "right.GetAudioSamplesDescription"};
    }

    static Calls ToWork()
    {
        return Entry() + (Calls{"left.MarkWriteStartTime", "right.MarkWriteStartTime",
                                "stereo.GetAudioSamplesDescription", "left.GetAudioSamplesDescription",
                                "right.GetAudioSamplesDescription", "right.MarkWriteStartTime"});
    }

    static Calls Split(const std::string& stereo, const std::string& left, const std::string& right, std::size_t bytes)
    {
        return Digest(stereo) + Digest(left) + Digest(right) +
               (Calls{left + ".SetLength(" + std::to_string(bytes) + ")",
                      right + ".SetLength(" + std::to_string(bytes) + ")"});
    }

    static Calls Errors(int code) { return {ErrorCall("left", code), ErrorCall("right", code)}; }

    static Calls End()
    {
        return {"stereo.SignalReadCompletion", "right.MarkWriteStopTime", "right.SignalWriteCompletion",
                "left.SignalWriteCompletion"};
    }

    static Calls OutputsEnding(int code)
    {
        return {ErrorCall("left", code), "left.SignalWriteCompletion", ErrorCall("right", code),
                "right.SignalWriteCompletion"};
    }

    static Calls Ending(int code) { return Calls{"stereo.SignalReadCompletion"} + OutputsEnding(code); }
};

TEST_F(StereoToMono, OfSupportedFormatsUsesNoScratchBufferAndMarksUnevenly)
{
    auto stereo = Make("stereo", Pcm16(2), 0, 3);
    auto left = Make("left", Pcm16(1), 0, 3);
    auto right = Make("right", Pcm16(1), 0, 3);
    Fill<std::int16_t>(*stereo, {1, -1, 2, -2, 3, -3});

    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), ToWork() + Split("stereo", "left", "right", 6) + End());
    EXPECT_EQ(Samples<std::int16_t>(*left, 3), (std::vector<std::int16_t>{1, 2, 3}));
    EXPECT_EQ(Samples<std::int16_t>(*right, 3), (std::vector<std::int16_t>{-1, -2, -3}));
    EXPECT_EQ(left->WriteStartMarks(), 1);
    EXPECT_EQ(left->WriteStopMarks(), 0) << "the left output gets no stop mark";
    EXPECT_EQ(right->WriteStartMarks(), 2) << "the right output is marked twice";
    EXPECT_EQ(right->WriteStopMarks(), 1);
    EXPECT_EQ(stereo->ReadCount() + left->WriteCount() + right->WriteCount(), 0);
    ExpectAtRest({stereo.Get(), left.Get(), right.Get()});
}

TEST_F(StereoToMono, StagesTheInput)
{
    auto stereo = Make("stereo", Pcm16(2), 0, 1);
    auto left = Make("left", Pcm24In32(1), 0, 1);
    auto right = Make("right", Pcm24In32(1), 0, 1);
    Fill<std::int16_t>(*stereo, {5, 6});
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch0.SetWaveFormat"} + Convert("stereo", "scratch0", 8) +
                                    Split("scratch0", "left", "right", 4) + End());
    EXPECT_EQ(Samples<std::int32_t>(*left, 1), std::vector<std::int32_t>{5 << 16});
    EXPECT_EQ(Samples<std::int32_t>(*right, 1), std::vector<std::int32_t>{6 << 16});
}

TEST_F(StereoToMono, StagesOutputsOneByOne)
{
    auto stereo = Make("stereo", Pcm24In32(2), 0, 1);
    Fill<std::int32_t>(*stereo, {0x7FFFFF00, 0x40000000});
    auto left = Make("left", Float32(1), 0, 1);
    auto right = Make("right", Float32(1), 0, 1);
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + (Calls{"scratch1.SetWaveFormat", "scratch2.SetWaveFormat"}) +
                                    Split("stereo", "scratch1", "scratch2", 4) + Convert("scratch1", "left", 4) +
                                    Convert("scratch2", "right", 4) + End());
    EXPECT_EQ(Samples<float>(*left, 1), std::vector<float>{1.0F});

    auto right16 = Make("right", Pcm16(1), 0, 1);
    auto left32 = Make("left", Pcm24In32(1), 0, 1);
    EXPECT_EQ(Run(stereo.Get(), left32.Get(), right16.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch2.SetWaveFormat"} + Split("stereo", "left", "scratch2", 4) +
                                    Convert("scratch2", "right", 2) + End());
    EXPECT_EQ(Samples<std::int16_t>(*right16, 1), std::vector<std::int16_t>{0x4000});
}

TEST_F(StereoToMono, WithOneStagedOutputAcceptsTheCapacityOfItsScratchBufferAndNoFrameMore)
{
    for (const bool leftStaged : {true, false}) {
        for (const std::size_t frames : {48000U, 48001U}) {
            auto stereo = Make("stereo", Pcm24In32(2), frames);
            // The suggestion follows the left output: a float left is staged, and so is a 16-bit right.
            auto left = Make("left", leftStaged ? Float32(1) : Pcm24In32(1), 0, frames);
            auto right = Make("right", leftStaged ? Pcm24In32(1) : Pcm16(1), 0, frames);
            EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()),
                      frames == 48000 ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL)
                << leftStaged << " " << frames;
            ExpectAtRest({stereo.Get(), left.Get(), right.Get()});
        }
    }
}

TEST_F(StereoToMono, KeepsWhatWasDoneWhenTheSecondOutputFails)
{
    auto stereo = Make("stereo", Pcm24In32(2), 0, 1);
    Fill<std::int32_t>(*stereo, {0x7FFFFF00, 0x40000000});
    auto left = Make("left", Float32(1), 0, 1);
    auto right = Make("right", Float32(1, 44100), 0, 1);
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(Samples<float>(*left, 1), std::vector<float>{1.0F});
    EXPECT_EQ(left->ErrorCode(), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(right->ErrorCode(), ZT_E_FORMAT_NOT_SUPPORTED);
}

TEST_F(StereoToMono, SetsTheScratchFormatsOfTheOutputsEvenIfTheInputCannotBeStaged)
{
    // A float left output leads to the last table entry for the stereo buffer; floats cannot be converted to packed 24
    // bits.
    auto stereo = Make("stereo", Float32(2), 1);
    auto left = Make("left", Float32(1), 1);
    auto right = Make("right", Float32(1), 1);
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Calls{"scratch0.SetWaveFormat"} + Digest("stereo") + Digest("scratch0") +
                                    (Calls{"scratch1.SetWaveFormat", "scratch2.SetWaveFormat"}) +
                                    Errors(ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED) + End());
}

TEST_F(StereoToMono, NeitherFadesNorPropagatesFlagsOrPolarity)
{
    auto stereo = Make("stereo", Pcm16(2), 300);
    stereo->SetFades(true, true);
    stereo->SetPolarity(4);
    auto left = Make("left", Pcm16(1), 300);
    auto right = Make("right", Pcm16(1), 300);
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + Split("stereo", "left", "right", 600) + End());
    EXPECT_FALSE(left->Description().bFadeIn || right->Description().bFadeOut);
    EXPECT_EQ(left->Polarity() + right->Polarity(), 0U);
}

TEST_F(StereoToMono, ChecksInOrderAndSignalsWhatItHasLookedAt)
{
    auto stereo = Make("stereo", Pcm16(2), 1);
    auto left = Make("left", Pcm16(1), 1);
    auto right = Make("right", Pcm16(1), 1);
    const auto expect = [&](RecordingBuffer* s, RecordingBuffer* l, RecordingBuffer* r, int status,
                            const Calls& calls) {
        EXPECT_EQ(Run(s, l, r), status);
        EXPECT_EQ(callLog_.Calls(), calls);
        callLog_.ClearFaults();
        ExpectAtRest({stereo.Get(), left.Get(), right.Get()});
    };
    expect(stereo.Get(), nullptr, nullptr, ZT_E_INVALID_POINTER, {});
    expect(stereo.Get(), left.Get(), nullptr, ZT_E_INVALID_POINTER,
           {"left.QueryInterface", ErrorCall("left", ZT_E_INVALID_POINTER), "left.SignalWriteCompletion"});
    EXPECT_EQ(left->ErrorCode(), ZT_E_INVALID_POINTER);
    callLog_.FailCallsTo("right.QueryInterface");
    expect(stereo.Get(), left.Get(), right.Get(), kInjectedFailure,
           {"left.QueryInterface", "right.QueryInterface", ErrorCall("left", kInjectedFailure),
            "left.SignalWriteCompletion"});
    expect(nullptr, left.Get(), right.Get(), ZT_E_INVALID_POINTER,
           (Calls{"left.QueryInterface", "right.QueryInterface"}) + OutputsEnding(ZT_E_INVALID_POINTER));
    callLog_.FailCallsTo("stereo.QueryInterface");
    expect(stereo.Get(), left.Get(), right.Get(), kInjectedFailure,
           (Calls{"left.QueryInterface", "right.QueryInterface", "stereo.QueryInterface"}) +
               OutputsEnding(kInjectedFailure));
    stereo->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    expect(stereo.Get(), left.Get(), right.Get(), ZT_E_FAIL,
           (Calls{"left.QueryInterface", "right.QueryInterface", "stereo.QueryInterface", "stereo.GetErrorCode"}) +
               Ending(ZT_E_FAIL));
    stereo->host::AudioBuffer::SetErrorCode(kZtSynchroStatusRepeatedFrame);
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), 0);

    const Calls entry = Entry();
    for (std::size_t described = 5; described <= 7; ++described) {
        callLog_.FailCallsTo(entry[described - 1]);
        expect(stereo.Get(), left.Get(), right.Get(), ZT_E_INVALID_PARAMETER,
               Calls(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(described)) +
                   Ending(ZT_E_INVALID_PARAMETER));
    }
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), Entry() + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_F(StereoToMono, WithoutALeftOutputIsRejectedThroughTheEnding)
{
    auto stereo = Make("stereo", Pcm16(2), 1);
    auto right = Make("right", Pcm16(1), 1);
    EXPECT_EQ(Run(stereo.Get(), nullptr, right.Get()), ZT_E_INVALID_POINTER);
    EXPECT_EQ(callLog_.Calls(), (Calls{"right.QueryInterface", "stereo.QueryInterface", "stereo.GetErrorCode",
                                       "stereo.GetAudioSamplesDescription", "stereo.SignalReadCompletion",
                                       ErrorCall("right", ZT_E_INVALID_POINTER), "right.SignalWriteCompletion"}));
    ExpectAtRest({stereo.Get(), right.Get()});
}

TEST_F(StereoToMono, WithALeftOutputWithoutAContentThrowsWhenItMarksTheStart)
{
    auto stereo = Make("stereo", Pcm16(2), 1);
    auto left = Make("left", Pcm16(1), 1);
    auto right = Make("right", Pcm16(1), 1);
    callLog_.FailCallsTo("left.QueryInterface");
    EXPECT_THROW(Run(stereo.Get(), left.Get(), right.Get()), CZtSmartPointerException);
    callLog_.ClearFaults();
    EXPECT_EQ(callLog_.Calls(), Entry());
    ExpectAtRest({stereo.Get(), left.Get(), right.Get()});
    EXPECT_EQ(Run(stereo.Get(), left.Get(), right.Get()), 0);
    ExpectAtRest({stereo.Get(), left.Get(), right.Get()});
}

TEST_F(StereoToMono, RejectsOtherChannelCountsBeforeOpaqueData)
{
    const auto run = [&](const SZtaWaveFormatInfo& s, const SZtaWaveFormatInfo& l, const SZtaWaveFormatInfo& r) {
        auto stereo = Make("stereo", s, 1);
        auto left = Make("left", l, 1);
        auto right = Make("right", r, 1);
        const int status = Run(stereo.Get(), left.Get(), right.Get());
        EXPECT_EQ(callLog_.Calls(), Entry() + Ending(status));
        return status;
    };
    EXPECT_EQ(run(Pcm16(1), Pcm16(1), Pcm16(1)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm16(2), Pcm16(2), Pcm16(1)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm16(2), Pcm16(1), Pcm16(2)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Opaque(2), Pcm16(1), Pcm16(1)), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm16(2), Opaque(1), Pcm16(1)), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm16(2), Pcm16(1), Opaque(1)), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
}

TEST_F(StereoToMono, LogsTheStatusAndTheSignals)
{
    auto stereo = Make("stereo", Float32(2), 1);
    auto left = Make("left", Float32(1), 1);
    auto right = Make("right", Float32(1), 1);
    LogRecorder::Clear();
    EXPECT_LT(Run(stereo.Get(), left.Get(), right.Get()), 0);
    EXPECT_EQ(LogRecorder::Count(), 1U);
    auto stereo16 = Make("stereo", Pcm16(2), 1);
    auto left16 = Make("left", Pcm16(1), 1);
    auto right16 = Make("right", Pcm16(1), 1);
    for (const char* name :
         {"stereo.SignalReadCompletion", "right.SignalWriteCompletion", "left.SignalWriteCompletion"}) {
        callLog_.FailCallsTo(name);
        LogRecorder::Clear();
        EXPECT_EQ(Run(stereo16.Get(), left16.Get(), right16.Get()), 0);
        EXPECT_EQ(LogRecorder::Count(), 1U) << name;
        callLog_.ClearFaults();
    }
}

} // namespace
} // namespace zta::test
