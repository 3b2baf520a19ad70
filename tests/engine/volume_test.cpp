#include "testing/engine_fixture.h"
#include "testing/log_recorder.h"

#include <algorithm>
#include <random>

namespace zta::test {
namespace {

using host::Float32;
using host::Multi24;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

using Volumes = std::vector<SZtAudioMonoVolumeInfo>;

class Volume : public EngineTest {
protected:
    int Run(RecordingBuffer* input, RecordingBuffer* output, Volumes volumes)
    {
        if (input != nullptr) {
            input->AnnounceRead();
        }
        if (output != nullptr) {
            output->AnnounceWrite();
        }
        callLog_.Clear();
        return engine_->ApplyVolume(input, output, volumes.data(), volumes.size());
    }

    static Calls Entry()
    {
        return {"output.QueryInterface", "input.QueryInterface", "input.GetErrorCode",
                "input.GetAudioSamplesDescription", "output.GetAudioSamplesDescription"};
    }

    static Calls ToWork() { return Entry() + (Calls{"output.MarkWriteStartTime", "input.GetAudioSamplesDescription"}); }

    static Calls Flags(int fadeIn, int fadeOut)
    {
        return {"output.SetFadeIn(" + std::to_string(fadeIn) + ")",
                "output.SetFadeOut(" + std::to_string(fadeOut) + ")"};
    }

    static Calls HandOn(int polarity, int fadeIn, int fadeOut)
    {
        return Calls{"output.SetPolarity(" + std::to_string(polarity) + ")"} + Flags(fadeIn, fadeOut);
    }

    static Calls Kernel(std::size_t bytes)
    {
        return Digest("output") + Digest("input") + Calls{"output.SetLength(" + std::to_string(bytes) + ")"};
    }

    static Calls End()
    {
        return {"input.QueryInterface", "input.SignalReadCompletion", "output.QueryInterface",
                "output.MarkWriteStopTime", "output.SignalWriteCompletion"};
    }

    static Calls FailedEnd(int code)
    {
        return {"input.QueryInterface",    "input.SignalReadCompletion", "output.QueryInterface",
                ErrorCall("output", code), "output.MarkWriteStopTime",   "output.SignalWriteCompletion"};
    }

    static Calls Ending(int code)
    {
        return {"input.SignalReadCompletion", ErrorCall("output", code), "output.SignalWriteCompletion"};
    }
};

TEST_F(Volume, ScalesFromInputToOutput)
{
    auto input = Make("input", Pcm24In32(2), 4);
    auto output = Make("output", Pcm24In32(2), 4);
    Fill<std::uint32_t>(*input,
                        {0x10000000, 0x20000000, 0x30000000, 0x40000000, 0x12345600, 0x7FFFFF00, 0x80000000, 0});
    input->SetPolarity(6);

    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 0.5F, 0.5F}, {1, 2.0F, 2.0F}}), 0);

    EXPECT_EQ(callLog_.Calls(), ToWork() + HandOn(6, 0, 0) + Kernel(32) + HandOn(6, 0, 0) + End());
    EXPECT_EQ(Samples<std::uint32_t>(*output, 8),
              (std::vector<std::uint32_t>{0x08000000, 0x40000000, 0x18000000, 0x7FFFFF00, 0x091A2B00, 0x7FFFFF00,
                                          0xC0000000, 0}));
    EXPECT_EQ(output->Polarity(), 6U);
    EXPECT_EQ(input->ReadCount() + output->WriteCount(), 0);
    ExpectAtRest({input.Get(), output.Get()});
}

TEST_F(Volume, InPlaceSignalsBothAccesses)
{
    auto both = Make("both", Pcm24In32(1), 4);
    Fill<std::uint32_t>(*both, {0x10000000, 0x20000000, 0x30000000, 0x40000000});
    both->AnnounceRead();
    both->AnnounceWrite();
    SZtAudioMonoVolumeInfo volume = {0, 0.5F, 0.5F};
    EXPECT_EQ(engine_->ApplyVolume(both.Get(), both.Get(), &volume, 1), 0);
    EXPECT_EQ(Samples<std::uint32_t>(*both, 4),
              (std::vector<std::uint32_t>{0x08000000, 0x10000000, 0x18000000, 0x20000000}));
    EXPECT_EQ(both->ReadCount() + both->WriteCount() + both->PairingViolations(), 0);
    ExpectAtRest({both.Get()});
}

TEST_F(Volume, FadesTheScaledSamplesAndClearsTheFlags)
{
    auto input = Make("input", Pcm24In32(1), 0, 400);
    auto output = Make("output", Pcm24In32(1), 400);
    Fill<std::int32_t>(*input, std::vector<std::int32_t>(400, 0x40000000));
    input->SetFades(true, false);
    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 0.5F, 0.5F}}), 0);
    EXPECT_EQ(callLog_.Calls(), ToWork() + HandOn(0, 1, 0) + Kernel(1600) + HandOn(0, 1, 0) + Flags(1, 0) +
                                    Digest("output") + Flags(0, 0) + End());
    const auto samples = Samples<std::int32_t>(*output, 400);
    EXPECT_EQ(samples[0], static_cast<std::int32_t>((std::int64_t{0x20000000} * 21421149 >> 32) * 2));
    EXPECT_EQ(samples[200], 0x20000000);
    EXPECT_FALSE(output->Description().bFadeIn);
}

TEST_F(Volume, LeavesTheInputsFlagsOnTheOutputWhereTheVolumeStepFails)
{
    auto input = Make("input", Pcm24In32(1), 300);
    auto output = Make("output", Pcm24In32(1), 300);
    input->SetFades(true, true);
    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 8.5F, 1.0F}}), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), ToWork() + HandOn(0, 1, 1) + Digest("output") + Digest("input") + HandOn(0, 1, 1) +
                                    FailedEnd(ZT_E_INVALID_PARAMETER));
    EXPECT_TRUE(output->Description().bFadeIn && output->Description().bFadeOut);
    EXPECT_EQ(output->ErrorCode(), ZT_E_INVALID_PARAMETER);
}

TEST_F(Volume, FailsWithTheFadeWhereItsFormatCannotBeFaded)
{
    auto input = Make("input", Pcm24In32(32), 300);
    auto output = Make("output", Pcm24In32(32), 300);
    input->SetFades(true, false);
    EXPECT_EQ(Run(input.Get(), output.Get(), Volumes(32, {0, 1.0F, 1.0F})), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_FALSE(output->Description().bFadeIn) << "cleared whatever became of the fade";
    EXPECT_EQ(output->ErrorCode(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(Volume, OfAMonoBufferOfThreeFramesWritesNothingButSetsTheLength)
{
    auto input = Make("input", Pcm24In32(1), 3);
    auto output = Make("output", Pcm24In32(1), 3);
    Fill<std::uint32_t>(*input, {0x10000000, 0x10000000, 0x10000000});
    Fill<std::uint32_t>(*output, {1, 2, 3});
    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 0.5F, 0.5F}}), 0);
    EXPECT_EQ(callLog_.Count("output.SetLength(12)"), 1);
    EXPECT_EQ(Samples<std::uint32_t>(*output, 3), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST_F(Volume, KeepsTheCallersRecords)
{
    auto input = Make("input", Pcm24In32(1), 4);
    auto output = Make("output", Pcm24In32(1), 4);
    input->AnnounceRead();
    output->AnnounceWrite();
    SZtAudioMonoVolumeInfo volume = {7, 8.0F, 8.0F};
    EXPECT_EQ(engine_->ApplyVolume(input.Get(), output.Get(), &volume, 1), 0);
    EXPECT_EQ(volume.fStartVolume, 8.0F) << "the kernel's replacement is made in the engine's copy";
    EXPECT_EQ(volume.fEndVolume, 8.0F);
}

TEST_F(Volume, ChecksInOrderAndSignalsWhatItHasLookedAt)
{
    auto input = Make("input", Pcm24In32(1), 4);
    auto output = Make("output", Pcm24In32(1), 4);
    const Volumes one = {{0, 1.0F, 1.0F}};
    const auto expect = [&](int status, const Calls& calls) {
        EXPECT_EQ(Run(input.Get(), output.Get(), one), status);
        EXPECT_EQ(callLog_.Calls(), calls);
        callLog_.ClearFaults();
        ExpectAtRest({input.Get(), output.Get()});
    };
    EXPECT_EQ(Run(input.Get(), nullptr, one), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
    callLog_.FailCallsTo("output.QueryInterface");
    expect(ZT_E_INVALID_PARAMETER, {"output.QueryInterface"});

    const auto early = [](int code) {
        return Calls{"output.QueryInterface", ErrorCall("output", code), "output.SignalWriteCompletion"};
    };
    EXPECT_EQ(Run(nullptr, output.Get(), {}), ZT_E_INVALID_POINTER) << "a missing input counts before its volumes";
    EXPECT_EQ(callLog_.Calls(), early(ZT_E_INVALID_POINTER));
    EXPECT_EQ(Run(input.Get(), output.Get(), {}), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), early(ZT_E_INVALID_PARAMETER)) << "the input has not been queried: no read signal";
    callLog_.Clear();
    EXPECT_EQ(engine_->ApplyVolume(input.Get(), output.Get(), nullptr, 1), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), early(ZT_E_INVALID_PARAMETER));

    callLog_.FailCallsTo("input.QueryInterface");
    expect(kInjectedFailure, {"output.QueryInterface", "input.QueryInterface", ErrorCall("output", kInjectedFailure),
                              "output.SignalWriteCompletion"});
    input->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    expect(ZT_E_FAIL,
           (Calls{"output.QueryInterface", "input.QueryInterface", "input.GetErrorCode"}) + Ending(ZT_E_FAIL));
    input->host::AudioBuffer::SetErrorCode(kZtSynchroStatusPlayedLate);
    const Calls entry = Entry();
    for (std::size_t described = 4; described <= 5; ++described) {
        callLog_.FailCallsTo(entry[described - 1]);
        expect(kInjectedFailure,
               Calls(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(described)) + Ending(kInjectedFailure));
    }
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(input.Get(), output.Get(), one), ZT_E_MODULE_BUSY);
    EXPECT_EQ(callLog_.Calls(), Entry() + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    SZtLayoutProbe::SetBusy(Object(), 0);
    EXPECT_EQ(Run(input.Get(), output.Get(), one), 0);
}

TEST_F(Volume, ChecksTheFormatsInOrder)
{
    const auto run = [&](const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out, std::size_t volumes) {
        auto input = Make("input", in, 4);
        auto output = Make("output", out, 4);
        const int status = Run(input.Get(), output.Get(), Volumes(volumes, {0, 1.0F, 1.0F}));
        EXPECT_EQ(callLog_.Calls(), Entry() + Ending(status));
        ExpectAtRest({input.Get(), output.Get()});
        return status;
    };
    EXPECT_EQ(run(Pcm24In32(2), Pcm24In32(1), 1), ZT_E_BUFFER_FORMAT_MISMATCH);
    EXPECT_EQ(run(Pcm24In32(2), Pcm24In32(2), 1), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(run(Opaque(2), Pcm24In32(2), 3), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(run(Multi24(2), Pcm24In32(2), 2), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Opaque(2), Pcm24In32(2), 2), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm24In32(65), Pcm24In32(65), 65), ZT_E_PARAMETER_ARRAY_TOO_BIG);
    EXPECT_EQ(run(Opaque(65), Opaque(65), 65), ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE);
}

TEST_F(Volume, LeavesOtherFormatsToTheKernelWhichRejects)
{
    const auto run = [&](const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out, std::size_t outFrames = 4) {
        auto input = Make("input", in, 4);
        auto output = Make("output", out, outFrames);
        const int status = Run(input.Get(), output.Get(), {{0, 1.0F, 1.0F}});
        EXPECT_EQ(output->ErrorCode(), status);
        EXPECT_EQ(output->WriteStartMarks(), 1);
        ExpectAtRest({input.Get(), output.Get()});
        return status;
    };
    EXPECT_EQ(run(Pcm16(1), Pcm16(1)), ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm16(1), Pcm24In32(1)), ZT_E_INPUT_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm24In24(1), Pcm24In32(1)), ZT_E_BUFFER_FORMAT_MISMATCH);
    EXPECT_EQ(run(Pcm24In24(1), Pcm24In24(1)), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(run(Pcm24In32(1), Pcm24In32(1), 3), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(run(Pcm24In32(1), Pcm24In32(1), 5), ZT_E_BUFFER_SIZE_MISMATCH);
    EXPECT_EQ(run(Pcm24In32(1), Opaque(1)), ZT_E_INVALID_PARAMETER);
}

TEST_F(Volume, DoesNotRelabelTwentyBits)
{
    auto input = Make("input", Pcm20In32(1), 4);
    auto output = Make("output", Pcm20In32(1), 4);
    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 1.0F, 1.0F}}), 0);
    EXPECT_EQ(input->Description().sWaveFormat.ulValidBitsPerSample, 20U);
    EXPECT_EQ(output->Description().sWaveFormat.ulValidBitsPerSample, 20U);
}

TEST_F(Volume, WhoseDescriptionFailsInTheWorkerGivesTheHostsCode)
{
    auto input = Make("input", Pcm24In32(1), 4);
    auto output = Make("output", Pcm24In32(1), 4);
    callLog_.FailCall(7);
    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 1.0F, 1.0F}}), kInjectedFailure);
    EXPECT_EQ(callLog_.Calls(), ToWork() + FailedEnd(kInjectedFailure));
}

TEST_F(Volume, SignalsABufferThatNoLongerAnswersTheQuery)
{
    auto input = Make("input", Pcm24In32(1), 4);
    auto output = Make("output", Pcm24In32(1), 4);
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "output.SetLength(16)") {
            callLog_.FailCallsTo("input.QueryInterface");
            callLog_.FailCallsTo("output.QueryInterface");
        }
    };
    EXPECT_EQ(Run(input.Get(), output.Get(), {{0, 1.0F, 1.0F}}), 0);
    callLog_.hook = nullptr;
    callLog_.ClearFaults();
    EXPECT_EQ(input->ReadCount() + output->WriteCount(), 0);
    ExpectAtRest({input.Get(), output.Get()});
}

TEST_F(Volume, RampsByTheLawOfEachFrame)
{
    std::mt19937 random(20240917);
    for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U, 32U, 64U}) {
        for (const std::size_t frames : {4U, 5U, 100U, 1023U, 1024U}) {
            auto input = Make("input", Pcm24In32(channels), frames);
            auto output = Make("output", Pcm24In32(channels), frames);
            std::vector<std::int32_t> samples(frames * channels);
            for (std::int32_t& sample : samples) {
                sample = static_cast<std::int32_t>(random());
            }
            Fill(*input, samples);
            Volumes volumes(channels);
            for (SZtAudioMonoVolumeInfo& volume : volumes) {
                volume.fStartVolume = static_cast<float>(random() % 801) / 100.0F;
                volume.fEndVolume = static_cast<float>(random() % 801) / 100.0F;
            }
            ASSERT_EQ(Run(input.Get(), output.Get(), volumes), 0);
            const auto scaled = Samples<std::int32_t>(*output, samples.size());
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const auto replaced = [](float gain) { return gain == 8.0F ? 7.99989986419677734375F : gain; };
                const float start = replaced(volumes[i % channels].fStartVolume);
                const float end = replaced(volumes[i % channels].fEndVolume);
                const float slope = (end - start) / static_cast<float>(frames);
                const int gain = static_cast<int>(start * 4096.0F) +
                                 static_cast<int>(i / channels) * static_cast<int>(slope * 4096.0F);
                const std::int32_t x = samples[i] >> 4;
                const std::int64_t y = std::int64_t{x >> 16} * gain + ((((x & 0xFFFF) >> 1) * gain) >> 15);
                const auto limited = std::max<std::int64_t>(std::min<std::int64_t>(y, 8388607), -8388608);
                ASSERT_EQ(scaled[i], static_cast<std::int32_t>(limited * 256))
                    << channels << " channels, sample " << i << " of " << frames << " frames";
            }
        }
    }
}

TEST_F(Volume, LogsNothingOfItsOwn)
{
    auto input = Make("input", Pcm16(1), 4);
    auto output = Make("output", Pcm16(1), 4);
    LogRecorder::Clear();
    EXPECT_LT(Run(input.Get(), output.Get(), {{0, 1.0F, 1.0F}}), 0);
    EXPECT_EQ(LogRecorder::Count(), 0U);
}

TEST(VolumeOperands, FollowTheRulesOfTheirRoom)
{
    CallLog journal;
    RecordingHost host(journal);
    auto engine = CreateEngine(host);
    auto& object = static_cast<CZtaAudioSamplesEngine&>(*engine);
    auto buffer = RecordingBuffer::Create(journal, "buffer", Pcm24In32(1), 16);
    Volumes volumes(65, {3, 0.25F, 0.75F});
    Volumes taken(64, {9, 0, 0});
    IZtAudioSamples* input = nullptr;
    IZtAudioSamples* output = nullptr;

    ASSERT_EQ(object.SaveInfoApplyVolume(buffer.Get(), buffer.Get(), volumes.data(), 2), 0);
    EXPECT_EQ(buffer->References(), 3);
    unsigned long capacity = 1;
    EXPECT_EQ(object.GetInfoApplyVolume(&input, &output, taken.data(), &capacity), ZT_E_ARRAY_TOO_SMALL);
    EXPECT_EQ(input, buffer.Get()) << "the buffers are written all the same";
    EXPECT_EQ(taken[0].ulChannelRef, 9U);
    capacity = 64;
    EXPECT_EQ(object.GetInfoApplyVolume(&input, &output, taken.data(), &capacity), 0);
    EXPECT_EQ(capacity, 2U);
    EXPECT_EQ(taken[1].ulChannelRef, 3U);
    EXPECT_EQ(taken[1].fEndVolume, 0.75F);
    EXPECT_EQ(taken[2].ulChannelRef, 9U);

    EXPECT_EQ(object.SaveInfoApplyVolume(buffer.Get(), buffer.Get(), volumes.data(), 65), ZT_E_PARAMETER_ARRAY_TOO_BIG);
    EXPECT_EQ(buffer->References(), 1) << "the old buffers are released, the new ones not saved";
    EXPECT_EQ(object.SaveInfoApplyVolume(nullptr, buffer.Get(), volumes.data(), 1), ZT_E_INVALID_POINTER);
    EXPECT_EQ(object.ReleaseAllSavedInfo(), 0);
    EXPECT_EQ(buffer->References(), 1);
}

} // namespace
} // namespace zta::test
