// DuplicateAudioSamples. What it has in common with other operations is in operations_test.cpp and one_to_one_test.cpp.

#include "tests/engine/one_to_one_fixture.h"

#include <array>
#include <limits>

namespace zta::test {
namespace {

class Duplicate : public OneToOneTest {
protected:
    using OneToOneTest::Run;

    int Call(IZtAudioSamples* input, IZtAudioSamples* output) override
    {
        return engine_->DuplicateAudioSamples(input, inputOffset_, output, outputOffset_, length_);
    }

    /// Duplicates `length` bytes.
    int Run(unsigned long inputOffset, unsigned long outputOffset, unsigned long length)
    {
        inputOffset_ = inputOffset;
        outputOffset_ = outputOffset;
        length_ = length;
        return Run();
    }

    static Calls Propagation(int polarity, int fadeIn, int fadeOut)
    {
        return Polarity("output", static_cast<unsigned int>(polarity)) + Flags("output", fadeIn, fadeOut) +
               ByteCopy("input", "output");
    }

    void ExpectRejectedByTheWorker(int status, unsigned long inputOffset, unsigned long outputOffset,
                                   unsigned long length)
    {
        const auto before = Bytes(*output_);
        output_->ClearErrorCode();
        EXPECT_EQ(Run(inputOffset, outputOffset, length), 0) << "the caller receives the status of the signal";
        EXPECT_EQ(callLog_.Calls(), Processed(Propagation(0, 0, 0), status));
        EXPECT_EQ(output_->ErrorCode(), status);
        EXPECT_EQ(Bytes(*output_), before);
        ExpectBothAtRest();
    }

private:
    unsigned long inputOffset_ = 0;
    unsigned long outputOffset_ = 0;
    unsigned long length_ = 1;
};

TEST_F(Duplicate, CopiesARangeOfBytesAndKeepsTheOthersAndTheLength)
{
    Build(Pcm16(1), Pcm16(1), 8);
    Fill<std::int16_t>(*input_, {1, 2, 3, 4, 5, 6});
    Fill<std::int16_t>(*output_, {9, 9, 9, 9, 9, 9, 9, 9});
    output_->SetValidLength(4);
    EXPECT_EQ(Run(2, 6, 6), 0);
    EXPECT_EQ(callLog_.Calls(), Processed(Propagation(0, 0, 0)));
    EXPECT_EQ(Samples<std::int16_t>(*output_, 8), (std::vector<std::int16_t>{9, 9, 9, 2, 3, 4, 9, 9}));
    EXPECT_EQ(output_->Length(), 4U);
    ExpectSignaledOnce();
    ExpectBothAtRest();
}

TEST_F(Duplicate, PropagatesPolarityAndFadeFlagsWithoutFading)
{
    Build(Pcm16(1), Pcm16(1), 300);
    Fill<std::int16_t>(*input_, std::vector<std::int16_t>(300, 1000));
    input_->SetPolarity(3);
    input_->SetFades(true, true);
    EXPECT_EQ(Run(0, 0, 600), 0);
    EXPECT_EQ(callLog_.Calls(), Processed(Propagation(3, 1, 1)));
    EXPECT_EQ(output_->Polarity(), 3U);
    EXPECT_TRUE(output_->Description().bFadeIn && output_->Description().bFadeOut);
    EXPECT_EQ(Samples<std::int16_t>(*output_, 300), std::vector<std::int16_t>(300, 1000));
}

TEST_F(Duplicate, AcceptsEveryRangeInsideTheSourceLengthAndTheDestinationCapacity)
{
    Build(Pcm16(1), Pcm16(1), 10);
    output_->SetValidLength(0);
    EXPECT_EQ(Run(0, 0, 20), 0);
    EXPECT_EQ(output_->ErrorCode(), 0) << "a range from the first to the last byte";
    EXPECT_EQ(Run(19, 19, 1), 0);
    EXPECT_EQ(output_->ErrorCode(), 0);
    EXPECT_EQ(Run(19, 19, 0), 0);
    EXPECT_EQ(output_->ErrorCode(), 0) << "a length of 0 inside both copies nothing";
}

TEST_F(Duplicate, RejectsEveryRangeOutsideInTheWorkerAndRecordsTheCodeOnTheDestination)
{
    constexpr unsigned long kTop = std::numeric_limits<unsigned long>::max();
    input_ = Make("input", Pcm16(1), 10, 20);
    output_ = Make("output", Pcm16(1), 0, 10);
    for (const auto& [inputOffset, outputOffset, length] : std::vector<std::array<unsigned long, 3>>{
             {0, 0, 21}, {1, 0, 20}, {20, 0, 0}, {30, 0, 0}, {kTop, 0, 2}, {1, 0, kTop}, {20, 20, 1}}) {
        ExpectRejectedByTheWorker(ZT_E_SOURCE_BUFFER_TOO_SMALL, inputOffset, outputOffset, length);
    }
    ExpectRejectedByTheWorker(ZT_E_DESTINATION_BUFFER_TOO_SMALL, 0, 1, 20);
    ExpectRejectedByTheWorker(ZT_E_DESTINATION_BUFFER_TOO_SMALL, 0, 20, 0);
    ExpectRejectedByTheWorker(ZT_E_DESTINATION_BUFFER_TOO_SMALL, 0, kTop - 1, 4);
    input_->SetValidLength(0);
    ExpectRejectedByTheWorker(ZT_E_SOURCE_BUFFER_TOO_SMALL, 0, 0, 0);
}

TEST_F(Duplicate, ReadsBuffersWithoutAddressesAsEmpty)
{
    Build(Pcm16(1), Pcm16(1), 10);
    for (const char* call : {"input.GetBufferAndLength", "output.GetBufferCapacity", "output.GetBufferAndLength"}) {
        callLog_.FailCallsTo(call);
        ExpectRejectedByTheWorker(call[0] == 'i' ? ZT_E_SOURCE_BUFFER_TOO_SMALL : ZT_E_DESTINATION_BUFFER_TOO_SMALL, 0,
                                  0, 4);
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

TEST_F(Duplicate, RequiresFormatsThatAreEqualInEveryField)
{
    const SZtaWaveFormatInfo format = Pcm24In32(2);
    for (std::size_t field = 0; field < sizeof(format) / sizeof(std::uint32_t); ++field) {
        SZtaWaveFormatInfo other = format;
        reinterpret_cast<std::uint32_t*>(&other)[field] ^= 0x40;
        Build(format, format, 10);
        output_->SetFormat(other);
        EXPECT_EQ(Run(0, 0, 8), ZT_E_AUDIO_FORMAT_MISMATCH) << field;
        EXPECT_EQ(callLog_.Calls(), Checks() + Ending(ZT_E_AUDIO_FORMAT_MISMATCH));
        ExpectBothAtRest();
    }
}

TEST_F(Duplicate, OfOpaqueDataIgnoresTheirWidth)
{
    Build(Opaque(2, 32, 32), Opaque(2, 16, 8), 10, 20);
    EXPECT_EQ(Run(0, 0, 80), 0);
    EXPECT_EQ(output_->ErrorCode(), 0);
    for (const SZtaWaveFormatInfo& other : {Opaque(1, 32, 32), Opaque(2, 32, 32, 44100), Float32(2)}) {
        output_ = Make("output", other, 20);
        EXPECT_EQ(Run(0, 0, 8), ZT_E_AUDIO_FORMAT_MISMATCH);
    }
}

TEST_F(Duplicate, ComparesFormatsAfterTheRelabeling)
{
    Build(Pcm20In32(1), Pcm24In32(1), 10);
    EXPECT_EQ(Run(0, 0, 40), 0);
    EXPECT_EQ(input_->Description().sWaveFormat.ulValidBitsPerSample, 24U);
    EXPECT_EQ(callLog_.Count("input.SetWaveFormat"), 1);
}

TEST_F(Duplicate, WhoseDescriptionOrSourceFailsInTheWorkerIsRecordedOnTheDestinationOnly)
{
    for (const int call : {7, 8}) {
        Build(Pcm16(1), Pcm16(1), 1);
        callLog_.FailCall(call);
        EXPECT_EQ(Run(), 0);
        callLog_.ClearFaults();
        EXPECT_EQ(output_->ErrorCode(), kInjectedFailure);
        EXPECT_EQ(callLog_.Count("output.SetPolarity(0)"), 0);
    }
    Build(Pcm16(1), Pcm16(1), 1);
    OnCall("output.MarkWriteStartTime", [&] { input_->host::AudioBuffer::SetErrorCode(ZT_E_FAIL); });
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(output_->ErrorCode(), ZT_E_FAIL);
    EXPECT_EQ(callLog_.Calls(), Processed({}, ZT_E_FAIL));
}

TEST_F(Duplicate, ReturnsTheStatusOfTheWriteSignal)
{
    Build(Pcm16(1), Pcm16(1), 1);
    callLog_.FailCallsTo("output.SignalWriteCompletion", ZT_E_FAIL);
    EXPECT_EQ(Run(), ZT_E_FAIL);
}

} // namespace
} // namespace zta::test
