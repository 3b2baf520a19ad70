// CopyAudioSamples under the real-time trap, on every path.

#include "tests/realtime/realtime_test_support.h"

#include "kernels/bit_depth_list.h"
#include "kernels/sample_format.h"

#include <zta/status.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace zta::host;
using zta::test::MakeClockless;
using zta::test::RealtimeTrap;
using zta::test::RunRealtimeSafe;

constexpr std::size_t kFrames = 480;

class CopyRealtime : public zta::test::RealtimeEngine {
protected:
    /// Copies between two new buffers under the trap. The source requests the given fades.
    void Copy(const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to, bool fade_in = false, bool fade_out = false,
              int expected = ZT_NOERROR)
    {
        SCOPED_TRACE(FormatName(from) + " to " + FormatName(to) + (fade_in ? ", fade in" : "") +
                     (fade_out ? ", fade out" : ""));
        const auto source = MakeClockless(from, kFrames);
        const auto destination = MakeClockless(to, kFrames);
        source->SetFades(fade_in, fade_out);
        ExpectCopied(source, destination, expected);
    }

    void ExpectCopied(const Ref<AudioBuffer>& source, const Ref<AudioBuffer>& destination, int expected)
    {
        const int status = RealtimeEngine::Copy(*source, *destination);
        EXPECT_EQ(status, expected) << module_.ErrorText(status);
        EXPECT_EQ(destination->ErrorCode(), expected);
        EXPECT_EQ(source->ReadCount() + destination->WriteCount(), 0);
        EXPECT_EQ(source->PairingViolations() + destination->PairingViolations(), 0);
    }
};

TEST_F(CopyRealtime, TheTrapReachesIntoTheModule)
{
    if (!RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer watches the allocator itself";
    }
    // Creating a class factory is not a real-time operation: the module allocates and frees it.
    const auto get_class_object = module_.Symbol<decltype(&DllGetClassObject)>("DllGetClassObject");
    void* factory = nullptr;
    RealtimeTrap trap;
    get_class_object(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &factory);
    static_cast<IClassFactory*>(factory)->Release();
    EXPECT_EQ(trap.Violations(), 2);
    EXPECT_STREQ(trap.First(), "malloc");
}

TEST_F(CopyRealtime, ByteCopies)
{
    for (const auto& format : {Pcm16(1), Pcm16(2, 44100), Pcm24In24(64), Pcm24In32(8), Float32(2), Multi24(4),
                               Opaque(16), SZtaWaveFormatInfo{24, 3, keZtAudioDataTypePcm, 96000, 8, 8}}) {
        Copy(format, format);
    }
    Copy(Opaque(2, 32, 24), Opaque(2, 32, 32));
}

TEST_F(CopyRealtime, EveryConversionOfBitDepth)
{
#define ZTA_PAIR(in, out, name, arithmetic, samples)                                                                   \
    Copy(g_asFormatOfProperty[keZtAudioSampleFormat##in], g_asFormatOfProperty[keZtAudioSampleFormat##out]);
    ZTA_BIT_DEPTH_LIST(ZTA_PAIR)
#undef ZTA_PAIR
}

TEST_F(CopyRealtime, EveryConversionOfDataType)
{
    for (const std::uint32_t channels : {1U, 2U}) {
        SZtaWaveFormatInfo pcm16_in_32 = Multi16(channels);
        pcm16_in_32.eDataType = keZtAudioDataTypePcm;
        Copy(Multi16(channels), pcm16_in_32);
        Copy(Multi16(channels), Pcm16(channels));
    }
    for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U}) {
        Copy(Multi24(channels), Pcm24In32(channels));
    }
}

TEST_F(CopyRealtime, TheLabelFix)
{
    Copy(Pcm20In32(2), Pcm24In32(2));
    Copy(Pcm20In32(2), Pcm20In32(2));
}

TEST_F(CopyRealtime, FadesInPlaceOnTheDestination)
{
    for (const std::uint32_t channels : {1U, 2U, 4U, 8U, 16U}) {
        Copy(Pcm16(channels), Pcm16(channels), true, true);
        Copy(Pcm24In32(channels), Pcm24In32(channels), true, true);
        Copy(Pcm16(channels), Pcm24In32(channels), true, false);
        Copy(Pcm24In32(channels), Pcm16(channels), false, true);
    }
}

TEST_F(CopyRealtime, FadesOnTheScratchBuffer)
{
    // Faded as 16-in-16 or 24-in-32, then converted to a format that cannot be faded.
    for (const std::uint32_t channels : {1U, 2U}) {
        Copy(Pcm24In32(channels), Pcm24In24(channels), true, true);
        Copy(Pcm24In24(channels), Pcm24In24(channels), true, true);
        Copy(Pcm16(channels), Float32(channels), true, true);
        Copy(Float32(channels), Float32(channels), true, true);
    }
}

TEST_F(CopyRealtime, FailuresOfTheEntryPoint)
{
    const auto source = MakeClockless(Pcm16(2), kFrames);
    const auto destination = MakeClockless(Pcm16(2), kFrames);

    EXPECT_EQ(RunRealtimeSafe([&] { return engine_->CopyAudioSamples(source.Get(), nullptr); }), ZT_E_INVALID_POINTER);

    destination->AnnounceWrite();
    EXPECT_EQ(RunRealtimeSafe([&] { return engine_->CopyAudioSamples(nullptr, destination.Get()); }),
              ZT_E_INVALID_POINTER);
    EXPECT_EQ(destination->WriteCount(), 0);

    Copy(Pcm16(2), Pcm16(1), false, false, ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH);

    source->SetErrorCode(ZT_E_FAIL);
    ExpectCopied(source, destination, ZT_E_FAIL);
}

TEST_F(CopyRealtime, FailuresOfTheWorker)
{
    // CZtHResult logs these failures; this host has no log.
    Copy(Float32(2), Float32(2, 44100), false, false, ZT_E_FORMAT_NOT_SUPPORTED);
    Copy(Pcm16(32), Pcm16(32), true, false, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);
}

TEST_F(CopyRealtime, ACallOnABusyEngine)
{
    // A nested call of the host finds the busy flag set, as another thread would.
    const auto source = MakeClockless(Pcm16(2), kFrames);
    const auto inner_source = MakeClockless(Pcm16(2), kFrames);
    const auto inner_destination = MakeClockless(Pcm16(2), kFrames);
    int inner_status = 0;
    const auto destination =
        MakeClockless<InstrumentedBuffer<zta::test::Misbehavior, zta::test::ClocklessBuffer>>(Pcm16(2), kFrames);
    destination->onCall = [&](BufferOperation operation) {
        if (operation == BufferOperation::MarkWriteStartTime) {
            inner_status = engine_->CopyAudioSamples(inner_source.Get(), inner_destination.Get());
        }
    };
    inner_source->AnnounceRead();
    inner_destination->AnnounceWrite();
    ExpectCopied(source, destination, ZT_NOERROR);
    EXPECT_EQ(inner_status, ZT_E_MODULE_BUSY);
    EXPECT_EQ(inner_destination->ErrorCode(), ZT_E_MODULE_BUSY);
    EXPECT_EQ(inner_destination->WriteCount(), 0);
}

} // namespace
