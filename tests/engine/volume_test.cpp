// ApplyVolume. What it has in common with other operations is in operations_test.cpp and one_to_one_test.cpp.

#include "testing/log_recorder.h"
#include "testing/models/gain_model.h"
#include "tests/engine/one_to_one_fixture.h"

#include <random>

namespace zta::test {
namespace {

using Volumes = std::vector<SZtAudioMonoVolumeInfo>;

class Volume : public OneToOneTest {
protected:
    using OneToOneTest::Run;

    int Call(IZtAudioSamples* input, IZtAudioSamples* output) override
    {
        return engine_->ApplyVolume(input, output, volumes_.data(), volumes_.size());
    }

    int Run(const Volumes& volumes)
    {
        volumes_ = volumes;
        return Run();
    }

    [[nodiscard]] Calls Start() const override { return Entry() + Calls{"input.GetAudioSamplesDescription"}; }

    static Calls Propagated(unsigned int polarity, int fadeIn, int fadeOut)
    {
        return Polarity("output", polarity) + Flags("output", fadeIn, fadeOut);
    }

    static Calls Kernel(std::size_t bytes)
    {
        return BufferQuery("output") + BufferQuery("input") + SetLength("output", bytes);
    }

    [[nodiscard]] Calls End(int status) const override
    {
        return Calls{"input.QueryInterface", "input.SignalReadCompletion", "output.QueryInterface"} +
               (status < 0 ? Calls{ErrorCall("output", status)} : Calls{}) +
               Calls{"output.MarkWriteStopTime", "output.SignalWriteCompletion"};
    }

    Volumes volumes_ = {{0, 1.0F, 1.0F}};
};

TEST_F(Volume, ScalesFromInputToOutput)
{
    Build(Pcm24In32(2), Pcm24In32(2), 4);
    Fill<std::uint32_t>(*input_,
                        {0x10000000, 0x20000000, 0x30000000, 0x40000000, 0x12345600, 0x7FFFFF00, 0x80000000, 0});
    input_->SetPolarity(6);

    EXPECT_EQ(Run({{0, 0.5F, 0.5F}, {1, 2.0F, 2.0F}}), 0);

    EXPECT_EQ(callLog_.Calls(), Processed(Propagated(6, 0, 0) + Kernel(32) + Propagated(6, 0, 0)));
    EXPECT_EQ(Samples<std::uint32_t>(*output_, 8),
              (std::vector<std::uint32_t>{0x08000000, 0x40000000, 0x18000000, 0x7FFFFF00, 0x091A2B00, 0x7FFFFF00,
                                          0xC0000000, 0}));
    EXPECT_EQ(output_->Polarity(), 6U);
    EXPECT_EQ(input_->ReadCount() + output_->WriteCount(), 0);
    ExpectBothAtRest();
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
    Build(Pcm24In32(1), Pcm24In32(1), 400);
    Fill<std::int32_t>(*input_, std::vector<std::int32_t>(400, 0x40000000));
    input_->SetFades(true, false);
    volumes_ = {{0, 0.5F, 0.5F}};
    ExpectProcessed(Propagated(0, 1, 0) + Kernel(1600) + Propagated(0, 1, 0) + Flags("output", 1, 0) +
                    BufferQuery("output") + Flags("output", 0, 0));
    const auto samples = Samples<std::int32_t>(*output_, 400);
    EXPECT_EQ(samples[0], static_cast<std::int32_t>((std::int64_t{0x20000000} * 21421149 >> 32) * 2));
    EXPECT_EQ(samples[200], 0x20000000);
    EXPECT_FALSE(output_->Description().bFadeIn);
}

TEST_F(Volume, KeepsTheInputsFlagsOnTheOutputIfTheVolumeKernelFails)
{
    Build(Pcm24In32(1), Pcm24In32(1), 300);
    input_->SetFades(true, true);
    volumes_ = {{0, 8.5F, 1.0F}};
    ExpectProcessed(Propagated(0, 1, 1) + BufferQuery("output") + BufferQuery("input") + Propagated(0, 1, 1),
                    ZT_E_INVALID_PARAMETER);
    EXPECT_TRUE(output_->Description().bFadeIn && output_->Description().bFadeOut);
    EXPECT_EQ(output_->ErrorCode(), ZT_E_INVALID_PARAMETER);
}

TEST_F(Volume, FailsWithTheFadeWhereItsFormatCannotBeFaded)
{
    Build(Pcm24In32(32), Pcm24In32(32), 300);
    input_->SetFades(true, false);
    EXPECT_EQ(Run(Volumes(32, {0, 1.0F, 1.0F})), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_FALSE(output_->Description().bFadeIn) << "cleared although the fade failed";
    EXPECT_EQ(output_->ErrorCode(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(Volume, OfAMonoBufferOfThreeFramesWritesNothingButSetsTheLength)
{
    Build(Pcm24In32(1), Pcm24In32(1), 3);
    Fill<std::uint32_t>(*input_, {0x10000000, 0x10000000, 0x10000000});
    Fill<std::uint32_t>(*output_, {1, 2, 3});
    EXPECT_EQ(Run({{0, 0.5F, 0.5F}}), 0);
    EXPECT_EQ(callLog_.Count("output.SetLength(12)"), 1);
    EXPECT_EQ(Samples<std::uint32_t>(*output_, 3), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST_F(Volume, KeepsTheCallersRecords)
{
    Build(Pcm24In32(1), Pcm24In32(1), 4);
    input_->AnnounceRead();
    output_->AnnounceWrite();
    SZtAudioMonoVolumeInfo volume = {7, 8.0F, 8.0F};
    EXPECT_EQ(engine_->ApplyVolume(input_.Get(), output_.Get(), &volume, 1), 0);
    EXPECT_EQ(volume.fStartVolume, 8.0F) << "the kernel replaces the gain in the copy of the engine only";
    EXPECT_EQ(volume.fEndVolume, 8.0F);
}

TEST_F(Volume, ChecksItsVolumesAfterTheAddressOfTheInputAndBeforeItsContent)
{
    Build(Pcm24In32(1), Pcm24In32(1), 4);
    volumes_.clear();
    EXPECT_EQ(Run(nullptr, output_.Get()), ZT_E_INVALID_POINTER);
    EXPECT_EQ(callLog_.Calls(), Checks(1) + OutputEnding(ZT_E_INVALID_POINTER));
    EXPECT_EQ(Run(), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), Checks(1) + OutputEnding(ZT_E_INVALID_PARAMETER))
        << "the input has not been queried: no read signal";
    SZtAudioMonoVolumeInfo volume = {0, 1.0F, 1.0F};
    for (const auto& [volumes, count] :
         {std::pair{static_cast<SZtAudioMonoVolumeInfo*>(nullptr), 1UL}, {&volume, 0UL}}) {
        callLog_.Clear();
        EXPECT_EQ(engine_->ApplyVolume(input_.Get(), output_.Get(), volumes, count), ZT_E_INVALID_PARAMETER);
        EXPECT_EQ(callLog_.Calls(), Checks(1) + OutputEnding(ZT_E_INVALID_PARAMETER));
    }
    ExpectBothAtRest();
}

TEST_F(Volume, ChecksTheFormatsInOrder)
{
    const auto run = [&](const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out, std::size_t volumes) {
        Build(in, out, 4);
        const int status = Run(Volumes(volumes, {0, 1.0F, 1.0F}));
        EXPECT_EQ(callLog_.Calls(), Checks() + Ending(status));
        ExpectBothAtRest();
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

TEST_F(Volume, LeavesOtherFormatsToTheKernelWhichRejectsThem)
{
    const auto run = [&](const SZtaWaveFormatInfo& in, const SZtaWaveFormatInfo& out, std::size_t outFrames = 4) {
        Build(in, out, 4, outFrames);
        const int status = Run();
        EXPECT_EQ(output_->ErrorCode(), status);
        EXPECT_EQ(output_->WriteStartMarks(), 1);
        ExpectBothAtRest();
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
    Build(Pcm20In32(1), Pcm20In32(1), 4);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(input_->Description().sWaveFormat.ulValidBitsPerSample, 20U);
    EXPECT_EQ(output_->Description().sWaveFormat.ulValidBitsPerSample, 20U);
}

TEST_F(Volume, WhoseDescriptionFailsInTheWorkerReturnsTheHostsCode)
{
    Build(Pcm24In32(1), Pcm24In32(1), 4);
    callLog_.FailCall(7);
    ExpectProcessed({}, kInjectedFailure);
}

TEST_F(Volume, SignalsABufferWhoseLaterQueryFails)
{
    Build(Pcm24In32(1), Pcm24In32(1), 4);
    OnCall("output.SetLength(16)", [this] {
        callLog_.FailCallsTo("input.QueryInterface");
        callLog_.FailCallsTo("output.QueryInterface");
    });
    EXPECT_EQ(Run(), 0);
    callLog_.ClearFaults();
    EXPECT_EQ(input_->ReadCount() + output_->WriteCount(), 0);
    ExpectBothAtRest();
}

TEST_F(Volume, AppliesTheGainOfEachFrame)
{
    std::mt19937 random(20240917);
    for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U, 32U, 64U}) {
        for (const std::size_t frames : {4U, 5U, 100U, 1023U, 1024U}) {
            Build(Pcm24In32(channels), Pcm24In32(channels), frames);
            std::vector<std::uint32_t> samples(frames * channels);
            for (std::uint32_t& sample : samples) {
                sample = static_cast<std::uint32_t>(random());
            }
            Fill(*input_, samples);
            Volumes volumes(channels);
            for (SZtAudioMonoVolumeInfo& volume : volumes) {
                volume.fStartVolume = static_cast<float>(random() % 801) / 100.0F;
                volume.fEndVolume = static_cast<float>(random() % 801) / 100.0F;
            }
            ASSERT_EQ(Run(volumes), 0);
            const auto scaled = Samples<std::uint32_t>(*output_, samples.size());
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const std::int64_t gain = models::RampGain(volumes[i % channels], i / channels, frames);
                ASSERT_EQ(scaled[i], models::Scaled(samples[i], gain))
                    << channels << " channels, sample " << i << " of " << frames << " frames";
            }
        }
    }
}

TEST_F(Volume, LogsNothingOfItsOwn)
{
    Build(Pcm16(1), Pcm16(1), 4);
    LogRecorder::Clear();
    EXPECT_LT(Run(), 0);
    EXPECT_EQ(LogRecorder::Count(), 0U);
}

TEST_F(Volume, SavesUpTo64Volumes)
{
    auto buffer = Make("buffer", Pcm24In32(1), 4);
    Volumes volumes(65, {3, 0.25F, 0.75F});
    Volumes loaded(64, {9, 0, 0});
    IZtAudioSamples* input = nullptr;
    IZtAudioSamples* output = nullptr;

    ASSERT_EQ(Object().SaveInfoApplyVolume(buffer.Get(), buffer.Get(), volumes.data(), 2), 0);
    EXPECT_EQ(buffer->References(), 3);
    unsigned long capacity = 1;
    EXPECT_EQ(Object().GetInfoApplyVolume(&input, &output, loaded.data(), &capacity), ZT_E_ARRAY_TOO_SMALL);
    EXPECT_EQ(input, buffer.Get()) << "the buffers are written nevertheless";
    EXPECT_EQ(loaded[0].ulChannelRef, 9U);
    capacity = 64;
    EXPECT_EQ(Object().GetInfoApplyVolume(&input, &output, loaded.data(), &capacity), 0);
    EXPECT_EQ(capacity, 2U);
    EXPECT_EQ(loaded[1].ulChannelRef, 3U);
    EXPECT_EQ(loaded[1].fEndVolume, 0.75F);
    EXPECT_EQ(loaded[2].ulChannelRef, 9U);

    EXPECT_EQ(Object().SaveInfoApplyVolume(buffer.Get(), buffer.Get(), volumes.data(), 65),
              ZT_E_PARAMETER_ARRAY_TOO_BIG);
    EXPECT_EQ(buffer->References(), 1) << "the old buffers are released, the new ones not saved";
    EXPECT_EQ(Object().SaveInfoApplyVolume(nullptr, buffer.Get(), volumes.data(), 1), ZT_E_INVALID_POINTER);
    EXPECT_EQ(Object().ReleaseAllSavedInfo(), 0);
    EXPECT_EQ(buffer->References(), 1);
}

} // namespace
} // namespace zta::test
