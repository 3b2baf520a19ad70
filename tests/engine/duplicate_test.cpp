#include "testing/engine_fixture.h"

#include <limits>

namespace zta::test {
namespace {

using host::Opaque;
using host::Pcm16;
using host::Pcm20In32;
using host::Pcm24In32;

class Duplicate : public EngineTest {
protected:
    int Run(RecordingBuffer* source, unsigned long from, RecordingBuffer* destination, unsigned long to,
            unsigned long length)
    {
        if (source != nullptr) {
            source->AnnounceRead();
        }
        if (destination != nullptr) {
            destination->AnnounceWrite();
        }
        callLog_.Clear();
        return engine_->DuplicateAudioSamples(source, from, destination, to, length);
    }

    static Calls Entry()
    {
        return {"destination.QueryInterface",
                "source.QueryInterface",
                "source.GetErrorCode",
                "source.GetAudioSamplesDescription",
                "destination.GetAudioSamplesDescription",
                "destination.MarkWriteStartTime",
                "source.GetAudioSamplesDescription",
                "destination.GetAudioSamplesDescription",
                "source.GetErrorCode"};
    }

    static Calls HandOn(int polarity, int fadeIn, int fadeOut)
    {
        return {"destination.SetPolarity(" + std::to_string(polarity) + ")",
                "destination.SetFadeIn(" + std::to_string(fadeIn) + ")",
                "destination.SetFadeOut(" + std::to_string(fadeOut) + ")",
                "source.GetBufferAndLength",
                "destination.GetBufferCapacity",
                "destination.GetBufferAndLength"};
    }

    static Calls End()
    {
        return {"source.SignalReadCompletion", "destination.MarkWriteStopTime", "destination.SignalWriteCompletion"};
    }

    void ExpectRefusedInTheWork(int code, RecordingBuffer& source, unsigned long from, RecordingBuffer& destination,
                                unsigned long to, unsigned long length)
    {
        const auto before = Samples<std::uint8_t>(destination, destination.Capacity());
        destination.ClearErrorCode();
        EXPECT_EQ(Run(&source, from, &destination, to, length), 0) << "the caller receives the status of the signal";
        EXPECT_EQ(callLog_.Calls(), Entry() + HandOn(0, 0, 0) + Calls{ErrorCall("destination", code)} + End());
        EXPECT_EQ(destination.ErrorCode(), code);
        EXPECT_EQ(Samples<std::uint8_t>(destination, destination.Capacity()), before);
        ExpectAtRest({&source, &destination});
    }
};

TEST_F(Duplicate, CopiesASpanOfBytesAndKeepsTheRestAndTheLength)
{
    auto source = Make("source", Pcm16(1), 0, 8);
    auto destination = Make("destination", Pcm16(1), 2, 8);
    Fill<std::int16_t>(*source, {1, 2, 3, 4, 5, 6});
    Fill<std::int16_t>(*destination, {9, 9, 9, 9, 9, 9, 9, 9});
    destination->SetValidLength(4);

    EXPECT_EQ(Run(source.Get(), 2, destination.Get(), 6, 6), 0);

    EXPECT_EQ(callLog_.Calls(), Entry() + HandOn(0, 0, 0) + End());
    EXPECT_EQ(Samples<std::int16_t>(*destination, 8), (std::vector<std::int16_t>{9, 9, 9, 2, 3, 4, 9, 9}));
    EXPECT_EQ(destination->Length(), 4U);
    EXPECT_EQ(source->ReadCount() + destination->WriteCount(), 0);
    ExpectAtRest({source.Get(), destination.Get()});
}

TEST_F(Duplicate, PropagatesPolarityAndFadeFlagsWithoutFading)
{
    auto source = Make("source", Pcm16(1), 0, 300);
    auto destination = Make("destination", Pcm16(1), 0, 300);
    Fill<std::int16_t>(*source, std::vector<std::int16_t>(300, 1000));
    source->SetPolarity(3);
    source->SetFades(true, true);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 600), 0);
    EXPECT_EQ(callLog_.Calls(), Entry() + HandOn(3, 1, 1) + End());
    EXPECT_EQ(destination->Polarity(), 3U);
    EXPECT_TRUE(destination->Description().bFadeIn && destination->Description().bFadeOut);
    EXPECT_EQ(Samples<std::int16_t>(*destination, 300), std::vector<std::int16_t>(300, 1000));
}

TEST_F(Duplicate, AcceptsEverySpanInsideTheSourceLengthAndTheDestinationCapacity)
{
    auto source = Make("source", Pcm16(1), 10, 20);
    auto destination = Make("destination", Pcm16(1), 0, 10);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 20), 0);
    EXPECT_EQ(destination->ErrorCode(), 0) << "a span that ends at both ends";
    EXPECT_EQ(Run(source.Get(), 19, destination.Get(), 19, 1), 0);
    EXPECT_EQ(destination->ErrorCode(), 0);
    EXPECT_EQ(Run(source.Get(), 19, destination.Get(), 19, 0), 0);
    EXPECT_EQ(destination->ErrorCode(), 0) << "a length of 0 inside both copies nothing";
}

TEST_F(Duplicate, RejectsEverySpanOutsideInTheWorkerAndRecordsTheCodeOnTheDestination)
{
    constexpr unsigned long kTop = std::numeric_limits<unsigned long>::max();
    auto source = Make("source", Pcm16(1), 10, 20);
    auto destination = Make("destination", Pcm16(1), 0, 10);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 0, *destination, 0, 21);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 1, *destination, 0, 20);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 20, *destination, 0, 0);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 30, *destination, 0, 0);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, kTop, *destination, 0, 2);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 1, *destination, 0, kTop);
    ExpectRefusedInTheWork(ZT_E_DESTINATION_BUFFER_TOO_SMALL, *source, 0, *destination, 1, 20);
    ExpectRefusedInTheWork(ZT_E_DESTINATION_BUFFER_TOO_SMALL, *source, 0, *destination, 20, 0);
    ExpectRefusedInTheWork(ZT_E_DESTINATION_BUFFER_TOO_SMALL, *source, 0, *destination, kTop - 1, 4);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 20, *destination, 20, 1);

    auto empty = Make("source", Pcm16(1), 0, 10);
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *empty, 0, *destination, 0, 0);
}

TEST_F(Duplicate, ReadsBuffersWithoutAddressesAsEmpty)
{
    auto source = Make("source", Pcm16(1), 10);
    auto destination = Make("destination", Pcm16(1), 10);
    callLog_.FailCallsTo("source.GetBufferAndLength");
    ExpectRefusedInTheWork(ZT_E_SOURCE_BUFFER_TOO_SMALL, *source, 0, *destination, 0, 4);
    callLog_.ClearFaults();
    for (const char* entry : {"destination.GetBufferCapacity", "destination.GetBufferAndLength"}) {
        callLog_.FailCallsTo(entry);
        ExpectRefusedInTheWork(ZT_E_DESTINATION_BUFFER_TOO_SMALL, *source, 0, *destination, 0, 4);
        callLog_.ClearFaults();
    }
}

TEST_F(Duplicate, WithinOneBufferMovesOverlappingBytes)
{
    auto both = Make("both", Pcm16(1), 0, 4);
    Fill<std::int16_t>(*both, {1, 2, 3, 4});
    both->AnnounceRead();
    both->AnnounceWrite();
    EXPECT_EQ(engine_->DuplicateAudioSamples(both.Get(), 0, both.Get(), 2, 6), 0);
    EXPECT_EQ(Samples<std::int16_t>(*both, 4), (std::vector<std::int16_t>{1, 1, 2, 3}));
}

TEST_F(Duplicate, WantsOneFormatToTheByte)
{
    const SZtaWaveFormatInfo format = Pcm24In32(2);
    auto source = Make("source", format, 10);
    for (std::size_t field = 0; field < sizeof(format) / sizeof(std::uint32_t); ++field) {
        SZtaWaveFormatInfo other = format;
        reinterpret_cast<std::uint32_t*>(&other)[field] ^= 0x40;
        auto destination = Make("destination", Pcm24In32(2), 10);
        destination->SetFormat(other);
        EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 8), ZT_E_AUDIO_FORMAT_MISMATCH) << field;
        EXPECT_EQ(callLog_.Calls(),
                  (Calls{"destination.QueryInterface", "source.QueryInterface", "source.GetErrorCode",
                         "source.GetAudioSamplesDescription", "destination.GetAudioSamplesDescription",
                         "source.SignalReadCompletion", ErrorCall("destination", ZT_E_AUDIO_FORMAT_MISMATCH),
                         "destination.SignalWriteCompletion"}));
        ExpectAtRest({source.Get(), destination.Get()});
    }
}

TEST_F(Duplicate, OfOpaqueDataIgnoresTheirWidth)
{
    auto source = Make("source", Opaque(2, 32, 32), 10);
    auto destination = Make("destination", Opaque(2, 16, 8), 20);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 80), 0);
    EXPECT_EQ(destination->ErrorCode(), 0);
    for (const SZtaWaveFormatInfo& other : {Opaque(1, 32, 32), Opaque(2, 32, 32, 44100), host::Float32(2)}) {
        auto refused = Make("destination", other, 20);
        EXPECT_EQ(Run(source.Get(), 0, refused.Get(), 0, 8), ZT_E_AUDIO_FORMAT_MISMATCH);
    }
}

TEST_F(Duplicate, ComparesFormatsAfterTheRelabeling)
{
    auto source = Make("source", Pcm20In32(1), 10);
    auto destination = Make("destination", Pcm24In32(1), 10);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 40), 0);
    EXPECT_EQ(source->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    EXPECT_EQ(callLog_.Count("source.SetWaveFormat"), 1);
}

TEST_F(Duplicate, FailsInItsEntryPointLikeACopy)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    EXPECT_EQ(Run(source.Get(), 0, nullptr, 0, 1), ZT_E_INVALID_POINTER);
    EXPECT_TRUE(callLog_.Calls().empty());

    callLog_.FailCallsTo("destination.QueryInterface");
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(callLog_.Calls(), Calls{"destination.QueryInterface"});
    callLog_.ClearFaults();

    EXPECT_EQ(Run(nullptr, 0, destination.Get(), 0, 1), ZT_E_INVALID_POINTER);
    EXPECT_EQ(destination->ErrorCode(), ZT_E_INVALID_POINTER);
    callLog_.FailCallsTo("source.QueryInterface");
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), kInjectedFailure);
    EXPECT_EQ(callLog_.Count("source.SignalReadCompletion"), 0);
    callLog_.ClearFaults();
    for (const char* entry : {"source.GetAudioSamplesDescription", "destination.GetAudioSamplesDescription"}) {
        callLog_.FailCallsTo(entry);
        EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), ZT_E_INVALID_PARAMETER);
        callLog_.ClearFaults();
    }
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), ZT_E_MODULE_BUSY);
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    SZtLayoutProbe::SetBusy(Object(), 0);
    source->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), ZT_E_FAIL);
    source->host::AudioBuffer::SetErrorCode(kZtSynchroStatusCancelled);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), 0);
    EXPECT_EQ(destination->ErrorCode(), ZT_E_FAIL) << "a success does not clear an old code";
}

TEST_F(Duplicate, WhoseDescriptionOrSourceFailsInTheWorkerIsRecordedOnTheDestinationOnly)
{
    for (const int call : {7, 8}) {
        auto source = Make("source", Pcm16(1), 1);
        auto destination = Make("destination", Pcm16(1), 1);
        callLog_.FailCall(call);
        EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), 0);
        callLog_.ClearFaults();
        EXPECT_EQ(destination->ErrorCode(), kInjectedFailure);
        EXPECT_EQ(callLog_.Count("destination.SetPolarity(0)"), 0);
    }
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    callLog_.hook = [&](const std::string& entry) {
        if (entry == "destination.MarkWriteStartTime") {
            source->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
        }
    };
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), 0);
    callLog_.hook = nullptr;
    EXPECT_EQ(destination->ErrorCode(), ZT_E_FAIL);
    EXPECT_EQ(callLog_.Calls(), Entry() + Calls{ErrorCall("destination", ZT_E_FAIL)} + End());
}

TEST_F(Duplicate, ReturnsWhatTheWriteSignalReturns)
{
    auto source = Make("source", Pcm16(1), 1);
    auto destination = Make("destination", Pcm16(1), 1);
    callLog_.FailCallsTo("destination.SignalWriteCompletion", ZT_E_FAIL);
    EXPECT_EQ(Run(source.Get(), 0, destination.Get(), 0, 1), ZT_E_FAIL);
}

TEST(DuplicateOperands, AreKeptAlsoWhereABufferIsNull)
{
    CallLog journal;
    RecordingHost host(journal);
    auto engine = CreateEngine(host);
    auto& object = static_cast<CZtaAudioSamplesEngine&>(*engine);
    auto source = RecordingBuffer::Create(journal, "source", Pcm16(1), 2);

    EXPECT_EQ(object.SaveInfoDuplicate(source.Get(), 1, nullptr, 2, 3), ZT_E_INVALID_PARAMETER);
    IZtAudioSamples* from = nullptr;
    IZtAudioSamples* to = source.Get();
    unsigned long fromOffset = 0;
    unsigned long toOffset = 0;
    unsigned long length = 0;
    EXPECT_EQ(object.GetInfoDuplicate(&from, &fromOffset, &to, &toOffset, &length), 0);
    EXPECT_EQ(from, source.Get());
    EXPECT_EQ(to, nullptr);
    EXPECT_EQ(fromOffset, 1U);
    EXPECT_EQ(toOffset, 2U);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(source->References(), 2);

    EXPECT_EQ(object.SaveInfoDuplicate(source.Get(), 0, source.Get(), 0, 0), 0);
    EXPECT_EQ(source->References(), 3) << "the old operands are released first";
    EXPECT_EQ(object.ReleaseAllSavedInfo(), 0);
    EXPECT_EQ(source->References(), 1);
    EXPECT_FALSE(SZtLayoutProbe::HoldsOperands(object));
}

} // namespace
} // namespace zta::test
