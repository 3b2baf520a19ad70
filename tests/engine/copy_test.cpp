// CopyAudioSamples. What it has in common with other operations is in operations_test.cpp and one_to_one_test.cpp.

#include "testing/log_recorder.h"
#include "tests/engine/one_to_one_fixture.h"

namespace zta::test {
namespace {

class Copy : public OneToOneTest {
protected:
    int Call(IZtAudioSamples* input, IZtAudioSamples* output) override
    {
        return engine_->CopyAudioSamples(input, output);
    }
};

// ---- The order of host calls on success ----

TEST_F(Copy, OfEqualFormatsCopiesTheBytesAndKeepsTheDestinationsLengthAndPolarity)
{
    Build(Pcm16(2), Pcm16(2), 4, 8);
    output_->SetValidLength(4);
    input_->SetPolarity(5);
    Fill<std::int16_t>(*input_, {1, -2, 3, -4, 5, -6});
    ExpectProcessed(ByteCopy("input", "output"));
    EXPECT_EQ(Samples<std::int16_t>(*output_, 8), (std::vector<std::int16_t>{1, -2, 3, -4, 5, -6, 0, 0}));
    EXPECT_EQ(output_->Length(), 4U);
    EXPECT_EQ(output_->Polarity(), 0U);
}

TEST_F(Copy, OfAnEmptySourceCopiesNothingAndSignalsBothBuffers)
{
    Build(Pcm16(1), Pcm16(1), 4);
    input_->SetValidLength(0);
    Fill<std::int16_t>(*output_, {7, 8});
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Samples<std::int16_t>(*output_, 2), (std::vector<std::int16_t>{7, 8}));
    ExpectSignaledOnce();
}

TEST_F(Copy, ConvertsTheBitDepthAndSetsTheLength)
{
    Build(Pcm16(1), Pcm24In32(1), 4);
    Fill<std::int16_t>(*input_, {1, -1, 32767});
    ExpectProcessed(Convert("input", "output", 12));
    EXPECT_EQ(Samples<std::uint32_t>(*output_, 3), (std::vector<std::uint32_t>{0x00010000, 0xFFFF0000, 0x7FFF0000}));
    EXPECT_EQ(output_->Length(), 12U);
}

TEST_F(Copy, OfMultiFormatWordsOfEqualSizeUsesTheDataTypeKernelAndKeepsTheLength)
{
    Build(Multi24(2), Pcm24In32(2), 1);
    output_->SetValidLength(0);
    Fill<std::uint32_t>(*input_, {0xF123456A, 0x08000000});
    ExpectProcessed(BufferQuery("input") + BufferQuery("output"));
    EXPECT_EQ(Samples<std::uint32_t>(*output_, 2), (std::vector<std::uint32_t>{0x12345600, 0x80000000}));
    EXPECT_EQ(output_->Length(), 0U);
}

TEST_F(Copy, OfSixteenBitMultiFormatIntoSixteenBitPcmHalvesTheContainers)
{
    Build(Multi16(1), Pcm16(1), 2);
    Fill<std::uint32_t>(*input_, {0xF123456A, 0x08000000});
    ExpectProcessed((Calls{"input.GetBufferAndLength", "output.GetBufferAndLength", "input.GetLengthInSampleFrames",
                           "output.GetLengthInSampleFrames"}));
    EXPECT_EQ(Samples<std::uint16_t>(*output_, 2), (std::vector<std::uint16_t>{0x1234, 0x8000}));
}

TEST_F(Copy, FadesOnTheDestinationWhereItsFormatAllows)
{
    Build(Pcm16(1), Pcm24In32(1), 300);
    Fill<std::int16_t>(*input_, std::vector<std::int16_t>(300, 0x4000));
    input_->SetFades(true, false);
    ExpectProcessed(Convert("input", "output", 1200) + Flags("output", 1, 0) + BufferQuery("output") +
                    Flags("output", 0, 0));
    EXPECT_FALSE(output_->Description().bFadeIn);
    EXPECT_TRUE(input_->Description().bFadeIn) << "the source's own flag stays";
    const auto samples = Samples<std::int32_t>(*output_, 300);
    EXPECT_EQ(samples[0], static_cast<std::int32_t>((std::int64_t{0x40000000} * 21421149 >> 32) * 2));
    EXPECT_EQ(samples[200], 0x40000000);
}

TEST_F(Copy, FadesInAScratchBufferIfTheDestinationFormatHasNoFade)
{
    Build(Pcm16(1), Float32(1), 300);
    Fill<std::int16_t>(*input_, std::vector<std::int16_t>(300, 0x4000));
    input_->SetFades(false, true);
    ExpectProcessed(Calls{"scratch0.SetWaveFormat"} + Convert("input", "scratch0", 1200) + Flags("scratch0", 0, 1) +
                    BufferQuery("scratch0") + Convert("scratch0", "output", 1200) + Flags("output", 0, 0));
    const auto samples = Samples<float>(*output_, 300);
    EXPECT_EQ(samples[0], static_cast<float>(0x40000000) / 2147483392.0F);
    EXPECT_EQ(samples[299], static_cast<float>((std::int64_t{0x40000000} * 21421149 >> 32) * 2) / 2147483392.0F);
    EXPECT_TRUE(host_.Buffer("scratch0").Description().bFadeOut)
        << "the scratch buffer keeps the flags of its last use";
}

TEST_F(Copy, ThroughTheScratchBufferWithoutAConversionUsesItsLastLength)
{
    // The source has the format of the scratch buffer already, so its bytes are copied and the scratch buffer keeps the
    // length of its last use: 100 frames of an earlier fade.
    auto earlier = Make("earlier", Pcm16(1), 100);
    earlier->SetFades(true, false);
    auto other = Make("other", Float32(1), 100);
    earlier->AnnounceRead();
    other->AnnounceWrite();
    ASSERT_EQ(engine_->CopyAudioSamples(earlier.Get(), other.Get()), 0);

    Build(Pcm24In32(1), Float32(1), 250);
    Fill<std::int32_t>(*input_, std::vector<std::int32_t>(250, 0x40000000));
    input_->SetFades(true, false);
    ExpectProcessed(Calls{"scratch0.SetWaveFormat"} + ByteCopy("input", "scratch0") + Flags("scratch0", 1, 0) +
                    BufferQuery("scratch0") + Convert("scratch0", "output", 400) + Flags("output", 0, 0));
    EXPECT_EQ(output_->Length(), 400U);
}

TEST_F(Copy, ClearsTheDestinationsFlagsAfterAFadeAndLeavesThemWithoutOne)
{
    Build(Pcm16(1), Pcm16(1), 300);
    output_->SetFades(true, true);
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(output_->Description().bFadeIn && output_->Description().bFadeOut);

    input_->SetFades(true, true);
    EXPECT_EQ(Run(), 0);
    EXPECT_FALSE(output_->Description().bFadeIn || output_->Description().bFadeOut);
}

TEST_F(Copy, OntoItselfFitsAndKeepsTheSamples)
{
    auto both = Make("both", Pcm16(1), 4);
    Fill<std::int16_t>(*both, {1, 2, 3, 4});
    both->AnnounceRead();
    both->AnnounceWrite();
    EXPECT_EQ(engine_->CopyAudioSamples(both.Get(), both.Get()), 0);
    EXPECT_EQ(Samples<std::int16_t>(*both, 4), (std::vector<std::int16_t>{1, 2, 3, 4}));
    EXPECT_EQ(both->ReadCount() + both->WriteCount() + both->PairingViolations(), 0);
    ExpectAtRest({both.Get()});
}

// ---- The choice of a path ----

TEST_F(Copy, OfOpaqueDataIgnoresTheValidBits)
{
    Build(Opaque(3, 32, 24), Opaque(3, 32, 32), 1);
    Fill<std::uint32_t>(*input_, {1, 2, 3});
    ExpectProcessed(ByteCopy("input", "output"));
    EXPECT_EQ(Samples<std::uint32_t>(*output_, 3), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST_F(Copy, OfPcmWithOtherValidBitsIsNoByteCopy)
{
    Build(host::MakeFormat(1, keZtAudioDataTypePcm, 48000, 32, 16), Pcm24In32(1), 1);
    ExpectProcessed(Convert("input", "output", 4));
}

TEST_F(Copy, OfTwentyValidBitsIntoTwentyFourRelabelsTheSourceAndCopiesTheBytes)
{
    Build(Pcm20In32(2), Pcm24In32(2), 1);
    Fill<std::uint32_t>(*input_, {0x12345678, 0x9ABCDEF0});
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(callLog_.Calls(), (Calls{"output.QueryInterface", "input.QueryInterface", "input.GetErrorCode",
                                       "input.GetAudioSamplesDescription", "input.SetWaveFormat",
                                       "output.GetAudioSamplesDescription", "output.MarkWriteStartTime"}) +
                                    WorkerStart() + ByteCopy("input", "output") + End(0));
    EXPECT_EQ(input_->Description().sWaveFormat.ulValidBitsPerSample, 24U) << "the caller's own buffer is relabeled";
    EXPECT_EQ(Samples<std::uint32_t>(*output_, 2), (std::vector<std::uint32_t>{0x12345678, 0x9ABCDEF0}));
}

TEST_F(Copy, RelabelsADestinationOfTwentyValidBits)
{
    Build(Pcm24In32(1), Pcm20In32(1), 1);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(output_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    EXPECT_EQ(callLog_.Count("output.SetWaveFormat"), 1);
}

TEST_F(Copy, BetweenRatesIsLeftToTheBitDepthKernelWhichRejectsIt)
{
    Build(Pcm16(1, 44100), Pcm16(1, 48000), 1);
    ExpectProcessed(BufferQuery("input") + BufferQuery("output"), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(Copy, Recognizes16In32MultiFormat)
{
    const SZtaWaveFormatInfo in = Multi16(2);
    const SZtaWaveFormatInfo out = Pcm16(2);
    EXPECT_TRUE(Object().is16In32MultiFormatTo16In16Pcm(in, out));

    const auto rejects = [&](auto change) {
        SZtaWaveFormatInfo changedIn = in;
        SZtaWaveFormatInfo changedOut = out;
        change(changedIn, changedOut);
        return !Object().is16In32MultiFormatTo16In16Pcm(changedIn, changedOut);
    };
    using Format = SZtaWaveFormatInfo;
    EXPECT_TRUE(rejects([](Format& i, Format&) { i.eDataType = keZtAudioDataTypePcm; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.eDataType = keZtAudioDataTypeMultiFormat; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulSamplesPerSec = 44100; }));
    EXPECT_TRUE(rejects([](Format& i, Format&) { i.ulBitsPerSample = 16; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulBitsPerSample = 32; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulValidBitsPerSample = 15; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulChannels = 1; }));
    EXPECT_FALSE(rejects([](Format& i, Format&) { i.ulSize = 0; })) << "the size field does not matter";
}

// ---- Failures of the entry point, in the order of its checks ----

TEST_F(Copy, BetweenChannelCountsIsRejected)
{
    Build(Pcm20In32(1), Pcm16(2), 1);
    EXPECT_EQ(Run(), ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH);
    EXPECT_EQ(input_->Description().sWaveFormat.ulValidBitsPerSample, 24U) << "the relabeling is not undone";
    EXPECT_EQ(output_->WriteStartMarks() + output_->WriteStopMarks(), 0);
    ExpectSignaledOnce();
}

// ---- Failures of the worker ----

TEST_F(Copy, ThatDoesNotFitTouchesNothingAndLeavesOneMoreReference)
{
    Build(Pcm16(1), Pcm16(1), 3, 2);
    Fill<std::int16_t>(*input_, {1, 2, 3});
    EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(callLog_.Calls(),
              Processed(ByteCopy("input", "output") +
                        (Calls{"output.QueryInterface", ErrorCall("output", ZT_E_DESTINATION_BUFFER_TOO_SMALL),
                               ErrorCall("output", ZT_E_DESTINATION_BUFFER_TOO_SMALL)})));
    EXPECT_EQ(Samples<std::int16_t>(*output_, 2), (std::vector<std::int16_t>{0, 0}));
    EXPECT_EQ(output_->References(), 2) << "the byte copy does not release the reference of its query";
    output_->Release();
    ExpectBothAtRest();
}

TEST_F(Copy, ThatDoesNotFitTheScratchBufferLeavesTheDestinationUntouched)
{
    // 192000 bytes hold 48000 frames of 24-in-32 mono.
    Build(Pcm24In32(1), Float32(1), 48001);
    input_->SetFades(true, false);
    EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(callLog_.Calls(), Processed(Calls{"scratch0.SetWaveFormat"} + ByteCopy("input", "scratch0") +
                                              (Calls{"scratch0.QueryInterface",
                                                     ErrorCall("scratch0", ZT_E_DESTINATION_BUFFER_TOO_SMALL)}) +
                                              Flags("scratch0", 1, 0),
                                          ZT_E_DESTINATION_BUFFER_TOO_SMALL));
    EXPECT_EQ(host_.Buffer("scratch0").References(), 2);
    host_.Buffer("scratch0").Release();

    auto sixteen = Make("input", Pcm16(1), 48001);
    sixteen->SetFades(true, false);
    EXPECT_EQ(Run(sixteen.Get(), output_.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL) << "the kernel's own check";
    auto fits = Make("input", Pcm16(1), 48000);
    fits->SetFades(true, false);
    EXPECT_EQ(Run(fits.Get(), output_.Get()), 0);
}

TEST_F(Copy, WithoutAFormatForItsFadeUsesNoScratchBuffer)
{
    // A 16-channel float destination cannot be classified, so no format is suggested and no scratch buffer is used.
    Build(Pcm16(16), Float32(16), 300);
    input_->SetFades(true, true);
    ExpectProcessed({}, ZT_E_FORMAT_NOT_SUPPORTED);
}

TEST_F(Copy, IntoAMuxTooShortForAFadeClearsTheFlagsNevertheless)
{
    Build(Pcm16(4), Pcm24In32(4), 199);
    input_->SetFades(true, false);
    ExpectProcessed(Convert("input", "output", 199 * 16) + Flags("output", 1, 0) + BufferQuery("output") +
                        Flags("output", 0, 0),
                    ZT_E_DESTINATION_BUFFER_TOO_SMALL);
}

TEST_F(Copy, WhoseConversionFailsBeforeAFadeInPlaceSetsNoFlags)
{
    Build(Pcm24In24(1), Pcm16(1), 300);
    input_->SetFades(true, false);
    ExpectProcessed(BufferQuery("input") + BufferQuery("output"), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(Copy, WhoseSourceFailsAfterTheEntryPointPropagatesTheCode)
{
    Build(Pcm16(1), Pcm16(1), 1);
    OnCall("output.MarkWriteStartTime", [&] { input_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL); });
    ExpectProcessed({}, ZT_E_FAIL);
}

TEST_F(Copy, WhoseDescriptionFailsInTheWorkerReturnsTheHostsCode)
{
    for (const int call : {7, 8}) {
        Build(Pcm16(1), Pcm16(1), 1);
        callLog_.FailCall(call);
        EXPECT_EQ(Run(), kInjectedFailure);
        EXPECT_EQ(output_->ErrorCode(), kInjectedFailure);
        EXPECT_EQ(callLog_.Calls()[static_cast<std::size_t>(call)], ErrorCall("output", kInjectedFailure));
        ExpectSignaledOnce();
    }
}

TEST_F(Copy, OfBuffersWithoutAddressesReadsThemAsEmptyOrTooSmall)
{
    Build(Pcm16(1), Pcm16(1), 1);
    callLog_.FailCallsTo("input.GetBufferAndLength");
    EXPECT_EQ(Run(), 0);
    callLog_.ClearFaults();
    for (const char* entry : {"output.GetBufferAndLength", "output.GetBufferCapacity"}) {
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL) << entry;
        callLog_.ClearFaults();
        output_->Release();
    }
    ExpectBothAtRest();
}

// ---- The log ----

TEST_F(Copy, LogsAFailureOfItsWorkerOnceAndNoFailureOfItsEntryPoint)
{
    Build(Pcm16(1, 44100), Pcm16(1), 1);
    LogRecorder::Clear();
    EXPECT_EQ(Run(), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1U);
    EXPECT_EQ(Run(nullptr, output_.Get()), ZT_E_INVALID_POINTER);
    EXPECT_EQ(LogRecorder::Count(), 1U) << "an entry point does not log";
    OnCall("output.MarkWriteStartTime", [&] { input_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL); });
    EXPECT_EQ(Run(), ZT_E_FAIL);
    EXPECT_EQ(LogRecorder::Count(), 1U) << "an error code of the source is not logged";
}

} // namespace
} // namespace zta::test
