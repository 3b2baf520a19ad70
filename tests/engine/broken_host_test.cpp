// Hosts that break the contract of their own interfaces, and arguments that no operation passes.

#include "testing/engine_fixture.h"
#include "testing/misbehaving_buffer.h"

namespace zta::test {
namespace {

using host::Pcm16;
using host::Pcm20In32;

class BrokenHost : public EngineTest {};

TEST_F(BrokenHost, ReceivesItsReferenceBackFromAFailedQueryOfACopy)
{
    auto liar = MisbehavingBuffer::Create(callLog_, "liar", Pcm16(1), 200U);
    liar->queryStatus = E_NOINTERFACE;
    auto other = Make("other", Pcm16(1), 100);
    EXPECT_EQ(engine_->CopyAudioSamples(liar.Get(), other.Get()), E_NOINTERFACE);
    EXPECT_EQ(other->ErrorCode(), E_NOINTERFACE);
    ExpectAtRest({liar.Get(), other.Get()});
    EXPECT_EQ(engine_->CopyAudioSamples(other.Get(), liar.Get()), ZT_E_INVALID_PARAMETER);
    ExpectAtRest({liar.Get(), other.Get()});
}

TEST_F(BrokenHost, KeepsItsFormatWithoutABufferOrWithAnotherFormat)
{
    SZtAudioSamplesDescription description = {};
    description.sWaveFormat = Pcm20In32(1);
    EXPECT_EQ(Object().Convert32BitAudioSampleFrom20To24(nullptr, &description), 0);
    EXPECT_EQ(description.sWaveFormat.ulValidBitsPerSample, 20U);
    auto buffer = Make("buffer", Pcm20In32(1), 10);
    for (const auto& [container, valid] : {std::pair{24U, 20U}, {32U, 19U}, {32U, 24U}}) {
        description.sWaveFormat.ulBitsPerSample = container;
        description.sWaveFormat.ulValidBitsPerSample = valid;
        EXPECT_EQ(Object().Convert32BitAudioSampleFrom20To24(buffer.Get(), &description), 0);
        EXPECT_EQ(description.sWaveFormat.ulValidBitsPerSample, valid);
    }
    EXPECT_TRUE(callLog_.Calls().empty());
}

// The entry point rejects such a count; a direct call of the worker still signals its buffers.
TEST_F(BrokenHost, ReceivesItsSignalsFromADeinterleaveWorkerWithTooManyVolumes)
{
    auto mux = Make("mux", Pcm16(2), 10);
    auto left = Make("left", Pcm16(1), 10);
    auto right = Make("right", Pcm16(1), 10);
    IZtAudioSamples* outputs[] = {left.Get(), right.Get()};
    std::vector<SZtAudioMonoVolumeInfo> volumes(65);
    ASSERT_EQ(Object().SaveInfoMux(mux.Get(), nullptr, outputs, 2, volumes.data(), volumes.size()), 0);
    callLog_.Clear();
    EXPECT_EQ(Object().ProcessMuxToMono(), ZT_E_ARRAY_TOO_SMALL);
    Calls expected = {"mux.SignalReadCompletion"};
    for (const char* output : {"left", "right"}) {
        expected = expected + Calls{ErrorCall(output, ZT_E_ARRAY_TOO_SMALL), std::string(output) + ".MarkWriteStopTime",
                                    std::string(output) + ".SignalWriteCompletion"};
    }
    EXPECT_EQ(callLog_.Calls(), expected);
    ExpectAtRest({mux.Get(), left.Get(), right.Get()});
}

TEST_F(BrokenHost, ReceivesAnErrorForVolumesWithoutACount)
{
    auto input = Make("input", host::Pcm24In32(1), 10);
    auto output = Make("output", host::Pcm24In32(1), 10);
    SZtAudioMonoVolumeInfo volume = {0, 1.0F, 1.0F};
    EXPECT_EQ(engine_->ApplyVolume(input.Get(), output.Get(), &volume, 0), ZT_E_INVALID_PARAMETER);
    ExpectAtRest({input.Get(), output.Get()});
}

} // namespace
} // namespace zta::test
