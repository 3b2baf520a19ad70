#include "testing/engine_fixture.h"
#include "testing/log_recorder.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zta::test {
namespace {

using host::Float32;
using host::Multi16;
using host::Multi24;
using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In24;
using host::Pcm24In32;

class Copy : public EngineTest {
protected:
    /// Announces both accesses as a host does, clears the call log and copies.
    int Run(RecordingBuffer* source, RecordingBuffer* destination)
    {
        if (source != nullptr) {
            source->AnnounceRead();
        }
        if (destination != nullptr) {
            destination->AnnounceWrite();
        }
        callLog_.Clear();
        return engine_->CopyAudioSamples(source, destination);
    }

    /// The calls of the entry point before the worker.
    static Calls Entry()
    {
        return {"destination.QueryInterface",
                "source.QueryInterface",
                "source.GetErrorCode",
                "source.GetAudioSamplesDescription",
                "destination.GetAudioSamplesDescription",
                "destination.MarkWriteStartTime"};
    }

    /// The calls of the worker before it processes the samples.
    static Calls WorkerStart()
    {
        return {"source.GetAudioSamplesDescription", "destination.GetAudioSamplesDescription", "source.GetErrorCode"};
    }

    /// The calls of the worker after it has processed the samples.
    static Calls WorkerEnd()
    {
        return {"source.SignalReadCompletion", "destination.MarkWriteStopTime", "destination.SignalWriteCompletion"};
    }

    static Calls ByteCopy(const std::string& in, const std::string& out)
    {
        return {in + ".GetBufferAndLength", out + ".GetBufferCapacity", out + ".GetBufferAndLength"};
    }

    static Calls Convert(const std::string& in, const std::string& out, std::size_t bytes)
    {
        return Digest(in) + Digest(out) + Calls{out + ".SetLength(" + std::to_string(bytes) + ")"};
    }

    static Calls Flags(const std::string& buffer, int fadeIn, int fadeOut)
    {
        return {buffer + ".SetFadeIn(" + std::to_string(fadeIn) + ")",
                buffer + ".SetFadeOut(" + std::to_string(fadeOut) + ")"};
    }

    void ExpectSignalledOnce(const RecordingBuffer& source, const RecordingBuffer& destination)
    {
        EXPECT_EQ(callLog_.Count("source.SignalReadCompletion"), 1);
        EXPECT_EQ(callLog_.Count("destination.SignalWriteCompletion"), 1);
        EXPECT_EQ(source.ReadCount(), 0);
        EXPECT_EQ(destination.WriteCount(), 0);
        EXPECT_EQ(source.PairingViolations() + destination.PairingViolations(), 0);
    }
};

// ---- The order of host calls on success ----

TEST_F(Copy, OfEqualFormatsCopiesTheBytesAndKeepsTheDestinationsLength)
{
    auto source = Make("source", Pcm16(2), 3, 4);
    auto destination = Make("destination", Pcm16(2), 1, 8);
    Fill<std::int16_t>(*source, {1, -2, 3, -4, 5, -6});

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + ByteCopy("source", "destination") + WorkerEnd());
    EXPECT_EQ(Samples<std::int16_t>(*destination, 8), (std::vector<std::int16_t>{1, -2, 3, -4, 5, -6, 0, 0}));
    EXPECT_EQ(destination->Length(), 4U);
    ExpectSignalledOnce(*source, *destination);
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(Copy, OfAnEmptySourceCopiesNothingAndSignalsBothSides)
{
    auto source = Make("source", Pcm16(1), 0, 4);
    auto destination = Make("destination", Pcm16(1), 2, 4);
    Fill<std::int16_t>(*destination, {7, 8});

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(Samples<std::int16_t>(*destination, 2), (std::vector<std::int16_t>{7, 8}));
    ExpectSignalledOnce(*source, *destination);
}

TEST_F(Copy, ConvertsTheBitDepthAndSetsTheLength)
{
    auto source = Make("source", Pcm16(1), 0, 4);
    auto destination = Make("destination", Pcm24In32(1), 4);
    Fill<std::int16_t>(*source, {1, -1, 32767});

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Convert("source", "destination", 12) + WorkerEnd());
    EXPECT_EQ(Samples<std::uint32_t>(*destination, 3),
              (std::vector<std::uint32_t>{0x00010000, 0xFFFF0000, 0x7FFF0000}));
    EXPECT_EQ(destination->Length(), 12U);
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(Copy, OfMultiFormatWordsOfEqualSizeUsesTheDataTypeKernelAndKeepsTheLength)
{
    auto source = Make("source", Multi24(2), 1);
    auto destination = Make("destination", Pcm24In32(2), 0, 1);
    Fill<std::uint32_t>(*source, {0xF123456A, 0x08000000});

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Digest("source") + Digest("destination") + WorkerEnd());
    EXPECT_EQ(Samples<std::uint32_t>(*destination, 2), (std::vector<std::uint32_t>{0x12345600, 0x80000000}));
    EXPECT_EQ(destination->Length(), 0U);
}

TEST_F(Copy, OfSixteenBitMultiFormatIntoSixteenBitPcmHalvesTheContainers)
{
    auto source = Make("source", Multi16(1), 2);
    auto destination = Make("destination", Pcm16(1), 2);
    Fill<std::uint32_t>(*source, {0xF123456A, 0x08000000});

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() +
                                    (Calls{"source.GetBufferAndLength", "destination.GetBufferAndLength",
                                           "source.GetLengthInSampleFrames", "destination.GetLengthInSampleFrames"}) +
                                    WorkerEnd());
    EXPECT_EQ(Samples<std::uint16_t>(*destination, 2), (std::vector<std::uint16_t>{0x1234, 0x8000}));
}

TEST_F(Copy, FadesOnTheDestinationWhereItsFormatAllows)
{
    auto source = Make("source", Pcm16(1), 0, 300);
    auto destination = Make("destination", Pcm24In32(1), 300);
    Fill<std::int16_t>(*source, std::vector<std::int16_t>(300, 0x4000));
    source->SetFades(true, false);

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Convert("source", "destination", 1200) +
                                    Flags("destination", 1, 0) + Digest("destination") + Flags("destination", 0, 0) +
                                    WorkerEnd());
    EXPECT_FALSE(destination->Description().bFadeIn);
    EXPECT_TRUE(source->Description().bFadeIn) << "the source's own request stays";
    const auto samples = Samples<std::int32_t>(*destination, 300);
    EXPECT_EQ(samples[0], static_cast<std::int32_t>((std::int64_t{0x40000000} * 21421149 >> 32) * 2));
    EXPECT_EQ(samples[200], 0x40000000);
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(Copy, FadesInAScratchBufferIfTheDestinationFormatHasNoFade)
{
    auto source = Make("source", Pcm16(1), 0, 300);
    auto destination = Make("destination", Float32(1), 300);
    Fill<std::int16_t>(*source, std::vector<std::int16_t>(300, 0x4000));
    source->SetFades(false, true);

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Calls{"scratch0.SetWaveFormat"} +
                                    Convert("source", "scratch0", 1200) + Flags("scratch0", 0, 1) + Digest("scratch0") +
                                    Convert("scratch0", "destination", 1200) + Flags("destination", 0, 0) +
                                    WorkerEnd());
    const auto samples = Samples<float>(*destination, 300);
    EXPECT_EQ(samples[0], static_cast<float>(0x40000000) / 2147483392.0F);
    EXPECT_EQ(samples[299], static_cast<float>((std::int64_t{0x40000000} * 21421149 >> 32) * 2) / 2147483392.0F);
    EXPECT_TRUE(host_.Buffer("scratch0").Description().bFadeOut)
        << "the scratch buffer keeps the flags of its last use";
    ExpectAtRest({source.Get(), destination.Get()});
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

    auto source = Make("source", Pcm24In32(1), 0, 250);
    auto destination = Make("destination", Float32(1), 0, 250);
    Fill<std::int32_t>(*source, std::vector<std::int32_t>(250, 0x40000000));
    source->SetFades(true, false);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Calls{"scratch0.SetWaveFormat"} +
                                    ByteCopy("source", "scratch0") + Flags("scratch0", 1, 0) + Digest("scratch0") +
                                    Convert("scratch0", "destination", 400) + Flags("destination", 0, 0) + WorkerEnd());
    EXPECT_EQ(destination->Length(), 400U);
}

TEST_F(Copy, ClearsTheDestinationsFlagsAfterAFadeAndLeavesThemWithoutOne)
{
    auto source = Make("source", Pcm16(1), 300);
    auto destination = Make("destination", Pcm16(1), 300);
    destination->SetFades(true, true);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_TRUE(destination->Description().bFadeIn && destination->Description().bFadeOut);

    source->SetFades(true, true);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_FALSE(destination->Description().bFadeIn || destination->Description().bFadeOut);
}

TEST_F(Copy, PassesNoPolarityOn)
{
    auto source = Make("source", Pcm16(1), 4);
    auto destination = Make("destination", Pcm16(1), 4);
    source->SetPolarity(5);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_EQ(destination->Polarity(), 0U);
    EXPECT_EQ(std::count_if(callLog_.Calls().begin(), callLog_.Calls().end(),
                            [](const std::string& call) { return call.find("SetPolarity") != std::string::npos; }),
              0);
}

TEST_F(Copy, OntoItselfIsHarmless)
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
    auto source = Make("source", Opaque(3, 32, 24), 1);
    auto destination = Make("destination", Opaque(3, 32, 32), 1);
    Fill<std::uint32_t>(*source, {1, 2, 3});
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + ByteCopy("source", "destination") + WorkerEnd());
    EXPECT_EQ(Samples<std::uint32_t>(*destination, 3), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST_F(Copy, OfPcmWithOtherValidBitsIsNoByteCopy)
{
    auto source = Make("source", host::MakeFormat(1, keZtAudioDataTypePcm, 48000, 32, 16), 1);
    auto destination = Make("destination", Pcm24In32(1), 1);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Convert("source", "destination", 4) + WorkerEnd());
}

TEST_F(Copy, OfTwentyValidBitsIntoTwentyFourRelabelsTheSourceAndCopiesTheBytes)
{
    auto source = Make("source", Pcm20In32(2), 1);
    auto destination = Make("destination", Pcm24In32(2), 1);
    Fill<std::uint32_t>(*source, {0x12345678, 0x9ABCDEF0});

    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);

    EXPECT_EQ(callLog_.Calls(), (Calls{"destination.QueryInterface", "source.QueryInterface", "source.GetErrorCode",
                                       "source.GetAudioSamplesDescription", "source.SetWaveFormat",
                                       "destination.GetAudioSamplesDescription", "destination.MarkWriteStartTime"}) +
                                    WorkerStart() + ByteCopy("source", "destination") + WorkerEnd());
    EXPECT_EQ(source->Description().sWaveFormat.ulValidBitsPerSample, 24U) << "the caller's own buffer is relabeled";
    EXPECT_EQ(Samples<std::uint32_t>(*destination, 2), (std::vector<std::uint32_t>{0x12345678, 0x9ABCDEF0}));
}

TEST_F(Copy, RelabelsADestinationOfTwentyValidBits)
{
    auto source = Make("source", Pcm24In32(1), 1);
    auto destination = Make("destination", Pcm20In32(1), 1);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_EQ(destination->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    EXPECT_EQ(callLog_.Count("destination.SetWaveFormat"), 1);
}

TEST_F(Copy, BetweenRatesIsLeftToTheBitDepthKernelWhichRejectsIt)
{
    auto source = Make("source", Pcm16(1, 44100), 1);
    auto destination = Make("destination", Pcm16(1, 48000), 1);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Digest("source") + Digest("destination") +
                                    (Calls{ErrorCall("destination", ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED)}) +
                                    WorkerEnd());
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST(SixteenInThirtyTwoMultiFormat, IsRecognized)
{
    CallLog journal;
    RecordingHost host(journal);
    auto engine = CreateEngine(host);
    auto& object = static_cast<CZtaAudioSamplesEngine&>(*engine);
    const SZtaWaveFormatInfo in = Multi16(2);
    const SZtaWaveFormatInfo out = Pcm16(2);
    EXPECT_TRUE(object.is16In32MultiFormatTo16In16Pcm(in, out));

    const auto rejects = [&](auto change) {
        SZtaWaveFormatInfo changedIn = in;
        SZtaWaveFormatInfo changedOut = out;
        change(changedIn, changedOut);
        return !object.is16In32MultiFormatTo16In16Pcm(changedIn, changedOut);
    };
    using Format = SZtaWaveFormatInfo;
    EXPECT_TRUE(rejects([](Format& i, Format&) { i.eDataType = keZtAudioDataTypePcm; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.eDataType = keZtAudioDataTypeMultiFormat; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulSamplesPerSec = 44100; }));
    EXPECT_TRUE(rejects([](Format& i, Format&) { i.ulBitsPerSample = 16; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulBitsPerSample = 32; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulValidBitsPerSample = 15; }));
    EXPECT_TRUE(rejects([](Format&, Format& o) { o.ulChannels = 1; }));
    EXPECT_FALSE(rejects([](Format& i, Format&) { i.ulSize = 0; })) << "the size field takes no part";
}

// ---- Failures of the entry point, in the order of its checks ----

TEST_F(Copy, WithoutADestinationSignalsNothing)
{
    auto source = Make("source", Pcm16(1), 1);
    EXPECT_EQ(Run(source.Get(), nullptr), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());
    EXPECT_EQ(engine_->CopyAudioSamples(nullptr, nullptr), ZT_E_INVALID_POINTER);
}

TEST_F(Copy, IntoADestinationWithoutAContentSignalsNothing)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    callLog_.FailCallsTo("destination.QueryInterface");
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), Calls{"destination.QueryInterface"});
    EXPECT_EQ(Run(nullptr, destination.Get()), ZT_E_INVALID_PARAMETER) << "the destination is checked first";
    EXPECT_EQ(destination->References(), 1);
}

TEST_F(Copy, WithoutASourceSignalsTheDestination)
{
    auto destination = Make("destination", Pcm16(1), 1);
    EXPECT_EQ(Run(nullptr, destination.Get()), ZT_E_INVALID_POINTER);
    EXPECT_EQ(callLog_.Calls(), (Calls{"destination.QueryInterface", ErrorCall("destination", ZT_E_INVALID_POINTER),
                                       "destination.SignalWriteCompletion"}));
    EXPECT_EQ(destination->ErrorCode(), ZT_E_INVALID_POINTER);
    EXPECT_EQ(destination->WriteStartMarks() + destination->WriteStopMarks(), 0) << "a failed check makes no mark";
    ExpectAtRest({destination.Get()});
}

TEST_F(Copy, OfASourceWithoutAContentGivesTheQuerysCodeAndNoReadSignal)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    callLog_.FailCallsTo("source.QueryInterface", E_NOINTERFACE);
    EXPECT_EQ(Run(source.Get(), destination.Get()), E_NOINTERFACE);
    EXPECT_EQ(callLog_.Calls(), (Calls{"destination.QueryInterface", "source.QueryInterface",
                                       ErrorCall("destination", E_NOINTERFACE), "destination.SignalWriteCompletion"}));
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(Copy, PropagatesTheErrorCodeOfTheSource)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    Fill<std::int16_t>(*source, {5});
    static_cast<IZtAVContent&>(*source).SetErrorCode(ZT_E_FAIL);

    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_FAIL);

    EXPECT_EQ(callLog_.Calls(), (Calls{"destination.QueryInterface", "source.QueryInterface", "source.GetErrorCode",
                                       "source.SignalReadCompletion", ErrorCall("destination", ZT_E_FAIL),
                                       "destination.SignalWriteCompletion"}));
    EXPECT_EQ(destination->ErrorCode(), ZT_E_FAIL);
    EXPECT_EQ(Samples<std::int16_t>(*destination, 1), std::vector<std::int16_t>{0}) << "the data is not touched";
    ExpectSignalledOnce(*source, *destination);
}

TEST_F(Copy, OfALateOrDroppedSourceIsACopyLikeAnyOther)
{
    for (const unsigned int code : {0xA306F002U, 0xA306F003U, 0xA306F004U, 0xA306F00CU, 0xA306F00DU, 0xE306F000U}) {
        auto source = Make("source", Pcm16(1), 1);
        auto destination = Make("destination", Pcm16(1), 1);
        Fill<std::int16_t>(*source, {5});
        static_cast<IZtAVContent&>(*source).SetErrorCode(static_cast<int>(code));
        EXPECT_EQ(Run(source.Get(), destination.Get()), 0) << std::hex << code;
        EXPECT_EQ(Samples<std::int16_t>(*destination, 1), std::vector<std::int16_t>{5});
        EXPECT_EQ(destination->ErrorCode(), 0);
    }
    for (const unsigned int code : {0xA306F001U, 0xA306F005U, 0xA306F00BU, 0xA306F00EU, 0xE306F001U, 0xA306F000U}) {
        auto source = Make("source", Pcm16(1), 1);
        auto destination = Make("destination", Pcm16(1), 1);
        static_cast<IZtAVContent&>(*source).SetErrorCode(static_cast<int>(code));
        EXPECT_EQ(Run(source.Get(), destination.Get()), static_cast<int>(code)) << std::hex << code;
    }
}

TEST_F(Copy, OfASourceWithAPositiveCodeGoesOn)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    Fill<std::int16_t>(*source, {5});
    static_cast<IZtAVContent&>(*source).SetErrorCode(7);
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0) << "the result is that of the byte copy";
    EXPECT_EQ(Samples<std::int16_t>(*destination, 1), std::vector<std::int16_t>{5});
}

TEST_F(Copy, WithAnUnreadableDescriptionIsAnInvalidParameter)
{
    for (const char* entry : {"source.GetAudioSamplesDescription", "destination.GetAudioSamplesDescription"}) {
        auto source = Make("source", Pcm16(1), 1);
        auto destination = Make("destination", Pcm16(1), 1);
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_INVALID_PARAMETER) << entry;
        callLog_.ClearFaults();
        EXPECT_EQ(destination->ErrorCode(), ZT_E_INVALID_PARAMETER);
        ExpectSignalledOnce(*source, *destination);
        ExpectAtRest({source.Get(), destination.Get()});
    }
}

TEST_F(Copy, WhoseRelabelingFailsGivesTheHostsCode)
{
    for (const char* entry : {"source.SetWaveFormat", "destination.SetWaveFormat"}) {
        auto source = Make("source", Pcm20In32(1), 1);
        auto destination = Make("destination", Pcm20In32(1), 1);
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(source.Get(), destination.Get()), kInjectedFailure) << entry;
        callLog_.ClearFaults();
        ExpectSignalledOnce(*source, *destination);
    }
}

TEST_F(Copy, BetweenChannelCountsIsRejected)
{
    auto source = Make("source", Pcm20In32(1), 1);
    auto destination = Make("destination", Pcm16(2), 1);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH);
    EXPECT_EQ(source->Description().sWaveFormat.ulValidBitsPerSample, 24U) << "the relabeling is not undone";
    EXPECT_EQ(destination->WriteStartMarks() + destination->WriteStopMarks(), 0);
    ExpectSignalledOnce(*source, *destination);
}

// ---- The busy flag ----

TEST_F(Copy, WhileTheEngineIsBusyFailsAndLeavesTheBusyFlag)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    EXPECT_EQ(destination->ErrorCode(), ZT_E_MODULE_BUSY);
    ExpectSignalledOnce(*source, *destination);
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_F(Copy, FromInsideAHostCallOfAnotherIsBusy)
{
    auto source = Make("source", Pcm16(1), 0, 1);
    auto destination = Make("destination", Pcm24In32(1), 1);
    Fill<std::int16_t>(*source, {5});
    auto source2 = Make("source2", Pcm16(1), 1);
    auto destination2 = Make("destination2", Pcm16(1), 1);
    int inner = 0;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.SetLength(4)") {
            inner = engine_->CopyAudioSamples(source2.Get(), destination2.Get());
        }
    };
    source2->AnnounceRead();
    destination2->AnnounceWrite();
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    callLog_.hook = nullptr;

    EXPECT_EQ(inner, ZT_E_MODULE_BUSY);
    EXPECT_EQ(destination2->ErrorCode(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(destination2->WriteCount() + source2->ReadCount(), 0) << "a rejected call signals its buffers";
    EXPECT_EQ(Samples<std::uint32_t>(*destination, 1), std::vector<std::uint32_t>{0x00050000});
    ExpectAtRest({source.Get(), destination.Get(), source2.Get(), destination2.Get()});
}

TEST_F(Copy, ThatFailsItsChecksClearsTheBusyFlagOfARunningOne)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm24In32(1), 1);
    auto bad = Make("bad", Pcm16(1), 1);
    std::uint32_t during = 1;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.SetLength(4)") {
            bad->AnnounceWrite();
            EXPECT_EQ(engine_->CopyAudioSamples(nullptr, bad.Get()), ZT_E_INVALID_POINTER);
            during = SZtLayoutProbe::Busy(Object());
        }
    };
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    callLog_.hook = nullptr;
    EXPECT_EQ(during, 0U);
}

TEST_F(Copy, OfASourceWhoseCodeIsModuleBusyLeavesTheBusyFlag)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    static_cast<IZtAVContent&>(*source).SetErrorCode(ZT_E_MODULE_BUSY);
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U) << "the failure ending depends on the value of the code only";
    SZtLayoutProbe::SetBusy(Object(), 0);
}

TEST_F(Copy, CanBeStartedFromInsideTheWriteSignalOfAnother)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    auto next = Make("next", Pcm24In32(1), 0, 1);
    Fill<std::int16_t>(*source, {9});
    int inner = -1;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.SignalWriteCompletion") {
            source->AnnounceRead();
            next->AnnounceWrite();
            inner = engine_->CopyAudioSamples(source.Get(), next.Get());
        }
    };
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    callLog_.hook = nullptr;
    EXPECT_EQ(inner, 0);
    EXPECT_EQ(Samples<std::uint32_t>(*next, 1), std::vector<std::uint32_t>{0x00090000});
    ExpectAtRest({source.Get(), destination.Get(), next.Get()});
}

TEST_F(Copy, HoldsTheBuffersWhileItWorksAndNotLonger)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm24In32(1), 1);
    std::vector<long> during;
    bool heldAtSignal = true;
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.SetLength(4)") {
            during = {source->References(), destination->References()};
            EXPECT_TRUE(SZtLayoutProbe::HoldsOperands(Object()));
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
        }
        if (entry == "source.SignalReadCompletion") {
            heldAtSignal = SZtLayoutProbe::HoldsOperands(Object()) || SZtLayoutProbe::Busy(Object()) != 0;
            EXPECT_GE(source->References(), 2) << "the worker's own references outlive the saved ones";
        }
    };
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    callLog_.hook = nullptr;
    EXPECT_GE(during.at(0), 3);
    EXPECT_GE(during.at(1), 3);
    EXPECT_FALSE(heldAtSignal) << "the busy flag is clear and the operands are released before the first signal";
    ExpectAtRest({source.Get(), destination.Get()});
}

// ---- Failures of the worker ----

TEST_F(Copy, ThatDoesNotFitTouchesNothingAndLeavesOneMoreReference)
{
    auto source = Make("source", Pcm16(1), 3);
    auto destination = Make("destination", Pcm16(1), 2);
    Fill<std::int16_t>(*source, {1, 2, 3});

    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);

    EXPECT_EQ(callLog_.Calls(),
              Entry() + WorkerStart() + ByteCopy("source", "destination") +
                  (Calls{"destination.QueryInterface", ErrorCall("destination", ZT_E_DESTINATION_BUFFER_TOO_SMALL),
                         ErrorCall("destination", ZT_E_DESTINATION_BUFFER_TOO_SMALL)}) +
                  WorkerEnd());
    EXPECT_EQ(Samples<std::int16_t>(*destination, 2), (std::vector<std::int16_t>{0, 0}));
    EXPECT_EQ(destination->References(), 2) << "the byte copy does not release the reference of its query";
    destination->Release();
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(Copy, ThatFitsExactlySucceeds)
{
    auto source = Make("source", Pcm16(1), 3);
    auto destination = Make("destination", Pcm16(1), 3);
    Fill<std::int16_t>(*source, {1, 2, 3});
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    EXPECT_EQ(Samples<std::int16_t>(*destination, 3), (std::vector<std::int16_t>{1, 2, 3}));
}

TEST_F(Copy, ThatDoesNotFitTheScratchBufferLeavesTheDestinationUntouched)
{
    // 192000 bytes hold 48000 frames of 24-in-32 mono.
    auto source = Make("source", Pcm24In32(1), 48001);
    auto destination = Make("destination", Float32(1), 0, 48001);
    source->SetFades(true, false);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(callLog_.Calls(),
              Entry() + WorkerStart() + Calls{"scratch0.SetWaveFormat"} + ByteCopy("source", "scratch0") +
                  (Calls{"scratch0.QueryInterface", ErrorCall("scratch0", ZT_E_DESTINATION_BUFFER_TOO_SMALL)}) +
                  Flags("scratch0", 1, 0) + (Calls{ErrorCall("destination", ZT_E_DESTINATION_BUFFER_TOO_SMALL)}) +
                  WorkerEnd());
    EXPECT_EQ(host_.Buffer("scratch0").References(), 2);
    host_.Buffer("scratch0").Release();

    auto sixteen = Make("source", Pcm16(1), 48001);
    sixteen->SetFades(true, false);
    EXPECT_EQ(Run(sixteen.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL) << "the kernel's own check";
    auto fits = Make("source", Pcm16(1), 48000);
    fits->SetFades(true, false);
    EXPECT_EQ(Run(fits.Get(), destination.Get()), 0);
}

TEST_F(Copy, WhoseFadeIsRejectedStillSetsTheFlagsOfTheScratchBuffer)
{
    // A 16-channel float destination cannot be classified, so no format is suggested and no scratch buffer is used.
    auto source = Make("source", Pcm16(16), 300);
    auto destination = Make("destination", Float32(16), 300);
    source->SetFades(true, true);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(),
              Entry() + WorkerStart() + (Calls{ErrorCall("destination", ZT_E_FORMAT_NOT_SUPPORTED)}) + WorkerEnd());
}

TEST_F(Copy, IntoAMuxTooShortForAFadeClearsTheFlagsAllTheSame)
{
    auto source = Make("source", Pcm16(4), 199);
    auto destination = Make("destination", Pcm24In32(4), 0, 199);
    source->SetFades(true, false);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Convert("source", "destination", 199 * 16) +
                                    Flags("destination", 1, 0) + Digest("destination") + Flags("destination", 0, 0) +
                                    (Calls{ErrorCall("destination", ZT_E_DESTINATION_BUFFER_TOO_SMALL)}) + WorkerEnd());
}

TEST_F(Copy, WhoseConversionFailsBeforeAFadeInPlaceAsksForNoFade)
{
    auto source = Make("source", Pcm24In24(1), 300);
    auto destination = Make("destination", Pcm16(1), 300);
    source->SetFades(true, false);
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + Digest("source") + Digest("destination") +
                                    (Calls{ErrorCall("destination", ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED)}) +
                                    WorkerEnd());
}

TEST_F(Copy, WhoseSourceFailsAfterTheEntryPointPropagatesTheCode)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.MarkWriteStartTime") {
            source->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
        }
    };
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_FAIL);
    callLog_.hook = nullptr;
    EXPECT_EQ(callLog_.Calls(), Entry() + WorkerStart() + (Calls{ErrorCall("destination", ZT_E_FAIL)}) + WorkerEnd());
}

TEST_F(Copy, WhoseDescriptionFailsInTheWorkerGivesTheHostsCode)
{
    for (const int call : {7, 8}) {
        auto source = Make("source", Pcm16(1), 1);
        auto destination = Make("destination", Pcm16(1), 1);
        callLog_.FailCall(call);
        EXPECT_EQ(Run(source.Get(), destination.Get()), kInjectedFailure);
        EXPECT_EQ(destination->ErrorCode(), kInjectedFailure);
        EXPECT_EQ(callLog_.Calls()[static_cast<std::size_t>(call)], ErrorCall("destination", kInjectedFailure));
        ExpectSignalledOnce(*source, *destination);
    }
}

TEST_F(Copy, OfBuffersWithoutAddressesReadsThemAsEmptyOrTooSmall)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    callLog_.FailCallsTo("source.GetBufferAndLength");
    EXPECT_EQ(Run(source.Get(), destination.Get()), 0);
    callLog_.ClearFaults();
    for (const char* entry : {"destination.GetBufferAndLength", "destination.GetBufferCapacity"}) {
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL) << entry;
        callLog_.ClearFaults();
        destination->Release();
    }
    ExpectAtRest({source.Get(), destination.Get()});
}

// ---- The log ----

TEST_F(Copy, LogsAFailureOfItsWorkerOnceAndNoFailureOfItsEntryPoint)
{
    auto source = Make("source", Pcm16(1, 44100), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    LogRecorder::Clear();
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(LogRecorder::Count(), 1U);
    EXPECT_EQ(Run(nullptr, destination.Get()), ZT_E_INVALID_POINTER);
    EXPECT_EQ(LogRecorder::Count(), 1U) << "an entry point does not log";
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.MarkWriteStartTime") {
            source->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
        }
    };
    EXPECT_EQ(Run(source.Get(), destination.Get()), ZT_E_FAIL);
    callLog_.hook = nullptr;
    EXPECT_EQ(LogRecorder::Count(), 1U) << "an error code of the source is not logged";
}

} // namespace
} // namespace zta::test
