#include "tests/support/engine_fixture.h"

#include "resampler/polyphase_resampler.h"

#include <cmath>
#include <numeric>
#include <random>

namespace zta::test {
namespace {

using host::Pcm16;
using host::Pcm24In32;

using Samples16 = std::vector<std::int16_t>;

constexpr EZtAudioResamplerMode kRestart = keZtAudioResamplerModeRestart;
constexpr EZtAudioResamplerMode kContinue = keZtAudioResamplerModeContinue;

Samples16 Noise(std::size_t count, unsigned int seed)
{
    std::mt19937 random(seed);
    Samples16 noise(count);
    for (std::int16_t& sample : noise) {
        sample = static_cast<std::int16_t>(random());
    }
    return noise;
}

class Resampling : public EngineTest {
protected:
    host::Ref<IUnknown> Stream(std::uint32_t channels, std::uint32_t from, std::uint32_t to)
    {
        SZtaWaveFormatInfo in = Pcm16(channels, from);
        SZtaWaveFormatInfo out = Pcm16(channels, to);
        IUnknown* stream = nullptr;
        EXPECT_EQ(engine_->CreateAudioResampler(&in, &out, &stream), 0);
        return host::Ref<IUnknown>::Adopt(stream);
    }

    static CPolyphaseResampler& State(const host::Ref<IUnknown>& stream)
    {
        return dynamic_cast<CPolyphaseResampler&>(*stream);
    }

    int Run(RecordingBuffer* input, RecordingBuffer* output, EZtAudioResamplerMode mode, IUnknown* stream)
    {
        if (input != nullptr) {
            input->AnnounceRead();
        }
        if (output != nullptr) {
            output->AnnounceWrite();
        }
        journal_.Clear();
        return engine_->ProcessAudioResampler(input, output, mode, stream);
    }

    /// Sends one buffer of a stream through the engine and gives what came out.
    Samples16 Resample(const Samples16& samples, std::uint32_t channels, std::uint32_t from, std::uint32_t to,
                       EZtAudioResamplerMode mode, const host::Ref<IUnknown>& stream)
    {
        const std::size_t frames = samples.size() / channels;
        auto input = Make("input", Pcm16(channels, from), 0, frames);
        auto output = Make("output", Pcm16(channels, to), 0, frames * to / from + frames + 2);
        Fill(*input, samples);
        EXPECT_EQ(Run(input.Get(), output.Get(), mode, stream.Get()), 0);
        return Samples<std::int16_t>(*output, output->Length() / 2);
    }

    static Calls Entry()
    {
        return {"output.QueryInterface", "input.QueryInterface", "input.GetErrorCode",
                "input.GetAudioSamplesDescription", "output.GetAudioSamplesDescription"};
    }

    static Calls ToWork()
    {
        return Entry() + Calls{"output.MarkWriteStartTime", "input.GetAudioSamplesDescription"} +
               Calls{"output.GetAudioSamplesDescription", "input.GetErrorCode"};
    }

    static Calls End()
    {
        return {"input.SignalReadCompletion", "output.MarkWriteStopTime", "output.SignalWriteCompletion"};
    }

    static Calls Ending(int code)
    {
        return {"input.SignalReadCompletion", ErrorCall("output", code), "output.SignalWriteCompletion"};
    }
};

// ---- Creation ----

TEST_F(Resampling, StreamsComeWithTheirFieldsAndLeaveWithTheirReference)
{
    const int objectsBefore = g_i32Objects;
    for (const bool up : {true, false}) {
        const std::uint32_t from = up ? 44100 : 48000;
        const std::uint32_t to = up ? 48000 : 44100;
        auto stream = Stream(2, from, to);
        const CPolyphaseResampler& state = State(stream);
        EXPECT_EQ(state.m_eHint, ippAlgHintFast);
        EXPECT_NE(state.m_pSpec, nullptr);
        EXPECT_EQ(state.m_ulInputRate, from);
        EXPECT_EQ(state.m_ulOutputRate, to);
        EXPECT_EQ(state.m_ulFilterLength, 32U);
        EXPECT_EQ(state.m_ulWorkSamples, 8192U);
        EXPECT_EQ(state.m_ulChannels, 2U);
        EXPECT_EQ(state.m_ulHistoryStride, 48U);
        EXPECT_EQ(state.m_ulPrimeSamples, 17U);
        for (int channel = 0; channel < 16; ++channel) {
            EXPECT_EQ(state.m_aulHistoryCount[channel], 17U);
            EXPECT_EQ(state.m_adTime[channel], 17.0);
        }
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(state.m_psWorkBuffer) % 16, 0U);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(state.m_psHistory) % 16, 0U);
        EXPECT_EQ(std::accumulate(state.m_psHistory, state.m_psHistory + 96, 0), 0);
        EXPECT_EQ(state.m_fRollOff, 1.0F);
        EXPECT_EQ(state.m_fAlpha, 9.0F);
        EXPECT_EQ(state.m_lRefCount, 1);
        EXPECT_EQ(g_i32Objects, objectsBefore + 1);
    }
    EXPECT_EQ(g_i32Objects, objectsBefore);
}

TEST_F(Resampling, CreationChecksChannelsThenWidthThenTypeThenRates)
{
    SZtaWaveFormatInfo in = Pcm16(1, 44100);
    SZtaWaveFormatInfo out = Pcm16(1, 48000);
    IUnknown* stream = nullptr;
    EXPECT_EQ(engine_->CreateAudioResampler(nullptr, &out, &stream), ZT_E_INVALID_POINTER);
    EXPECT_EQ(engine_->CreateAudioResampler(&in, nullptr, &stream), ZT_E_INVALID_POINTER);
    EXPECT_EQ(engine_->CreateAudioResampler(&in, &out, nullptr), ZT_E_INVALID_POINTER);

    const auto create = [&](SZtaWaveFormatInfo from, SZtaWaveFormatInfo to) {
        const int status = engine_->CreateAudioResampler(&from, &to, &stream);
        EXPECT_EQ(stream, nullptr);
        return status;
    };
    const auto other = [](std::uint32_t channels, EZtAudioDataType type, std::uint32_t rate, std::uint32_t bits) {
        return host::MakeFormat(channels, type, rate, bits, bits);
    };
    constexpr auto kPcm = keZtAudioDataTypePcm;
    constexpr auto kFloat = keZtAudioDataTypeFloat;
    EXPECT_EQ(create(Pcm16(1, 44100), Pcm16(2, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(Pcm16(0, 44100), Pcm16(0, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(Pcm16(3, 44100), Pcm16(3, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(other(3, kFloat, 32000, 24), Pcm16(3, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(other(1, kFloat, 32000, 24), Pcm16(1, 48000)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(create(Pcm16(1, 44100), other(1, kPcm, 48000, 24)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(create(other(1, kFloat, 32000, 16), Pcm16(1, 48000)), ZT_E_INVALID_AUDIO_DATA_TYPE);
    EXPECT_EQ(create(Pcm16(1, 44100), other(1, kFloat, 48000, 16)), ZT_E_INVALID_AUDIO_DATA_TYPE);
    EXPECT_EQ(create(Pcm16(1, 48000), Pcm16(1, 48000)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(create(Pcm16(1, 44100), Pcm16(1, 44100)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(create(Pcm16(1, 32000), Pcm16(1, 48000)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
}

TEST_F(Resampling, CreationDoesNotLookAtTheValidBits)
{
    SZtaWaveFormatInfo in = host::MakeFormat(1, keZtAudioDataTypePcm, 44100, 16, 12);
    SZtaWaveFormatInfo out = Pcm16(1, 48000);
    IUnknown* stream = nullptr;
    ASSERT_EQ(engine_->CreateAudioResampler(&in, &out, &stream), 0);
    stream->Release();
}

TEST_F(Resampling, QueryingAStreamResetsItsCount)
{
    auto stream = Stream(1, 44100, 48000);
    stream->AddRef();
    stream->AddRef();
    EXPECT_EQ(State(stream).m_lRefCount, 3);
    void* pv = nullptr;
    EXPECT_EQ(stream->QueryInterface(IID_IZtAVContent, &pv), E_NOINTERFACE);
    EXPECT_EQ(State(stream).m_lRefCount, 0);
    EXPECT_EQ(stream->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(State(stream).m_lRefCount, 0);
    const _GUID copy = IID_IUnknown;
    EXPECT_EQ(stream->QueryInterface(copy, &pv), 0);
    EXPECT_EQ(pv, static_cast<void*>(stream.Get()));
    EXPECT_EQ(State(stream).m_lRefCount, 1) << "the one reference is the query's, which the test's own stands for";
    EXPECT_EQ(stream->AddRef(), 2U);
    EXPECT_EQ(stream->Release(), 1U);
}

// ---- The order of host calls ----

TEST_F(Resampling, OfMonoWorksOnTheCallersBuffers)
{
    auto stream = Stream(1, 44100, 48000);
    auto input = Make("input", Pcm16(1, 44100), 0, 1024);
    auto output = Make("output", Pcm16(1, 48000), 0, 1115);
    Fill(*input, Noise(1024, 1));
    input->SetPolarity(3);
    input->SetFades(true, true);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), 0);
    EXPECT_EQ(journal_.Calls(),
              ToWork() + Digest("input") + Digest("output") + Calls{"output.SetLength(2194)"} + End());
    EXPECT_EQ(output->Polarity(), 0U);
    EXPECT_FALSE(output->Description().bFadeIn);
    EXPECT_EQ(input->ReadCount() + output->WriteCount(), 0);
    EXPECT_EQ(State(stream).m_lRefCount, 1) << "the engine takes no reference on the stream";
    ExpectAtRest({input.Get(), output.Get()});
}

TEST_F(Resampling, OfStereoGoesThroughTheThreeStages)
{
    auto stream = Stream(2, 48000, 44100);
    auto input = Make("input", Pcm16(2, 48000), 1024);
    auto output = Make("output", Pcm16(2, 44100), 0, 1024);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), 0);
    const std::size_t delivered = output->Length() / 4;
    const std::string mono = "SetLength(" + std::to_string(delivered * 2) + ")";
    EXPECT_EQ(journal_.Calls(), ToWork() + Calls{"scratch0.SetWaveFormat"} + Calls{"scratch1.SetWaveFormat"} +
                                    Calls{"scratch2.SetWaveFormat"} + Digest("input") + Digest("scratch0") +
                                    Digest("scratch1") + Calls{"scratch0.SetLength(2048)"} +
                                    Calls{"scratch1.SetLength(2048)"} + Digest("scratch0") + Digest("scratch2") +
                                    Calls{"scratch2." + mono} + Calls{"scratch0.SetWaveFormat"} + Digest("scratch1") +
                                    Digest("scratch0") + Calls{"scratch0." + mono} + Digest("scratch2") +
                                    Digest("scratch0") + Digest("output") +
                                    Calls{"output.SetLength(" + std::to_string(delivered * 4) + ")"} + End());
    ExpectAtRest({input.Get(), output.Get()});
}

// ---- The stream ----

TEST_F(Resampling, DeliversTheFirstBufferAfterARestartInFull)
{
    auto stream = Stream(1, 44100, 48000);
    const Samples16 in = Noise(1024, 2);
    const Samples16 out = Resample(in, 1, 44100, 48000, kRestart, stream);
    EXPECT_EQ(out.size(), 1097U);
    EXPECT_EQ(out[0], in[0]) << "the first output stands at the time of the first input";
    EXPECT_EQ(State(stream).m_aulHistoryCount[0], 34U);
    EXPECT_GE(State(stream).m_adTime[0], 17.0);
    EXPECT_LT(State(stream).m_adTime[0], 18.0);
}

TEST_F(Resampling, HoldsAConstantFromTheFirstSampleOn)
{
    for (const std::int16_t level : {std::int16_t{1000}, std::int16_t{-20000}, std::int16_t{0}}) {
        auto stream = Stream(1, 44100, 48000);
        for (const std::int16_t sample : Resample(Samples16(3000, level), 1, 44100, 48000, kRestart, stream)) {
            EXPECT_NEAR(sample, level, std::abs(level) * 4.0 / 16384 + 1);
        }
    }
}

TEST_F(Resampling, OfAStreamInPiecesGivesTheSamplesOfTheWhole)
{
    std::mt19937 random(3);
    for (const std::uint32_t channels : {1U, 2U}) {
        for (const bool up : {true, false}) {
            const std::uint32_t from = up ? 44100 : 48000;
            const std::uint32_t to = up ? 48000 : 44100;
            const Samples16 in = Noise(30000 * channels, up ? 4 : 5);
            auto whole = Stream(channels, from, to);
            const Samples16 expected = Resample(in, channels, from, to, kRestart, whole);
            for (int cut = 0; cut < 6; ++cut) {
                auto stream = Stream(channels, from, to);
                Samples16 out;
                std::size_t at = 0;
                EZtAudioResamplerMode mode = kRestart;
                while (at < 30000) {
                    // Pieces that the run refuses for being too short deliver nothing and are made up for later.
                    const std::size_t most = cut == 0 ? 3 : cut == 1 ? 40 : 9000;
                    const std::size_t frames = std::min<std::size_t>(1 + random() % most, 30000 - at);
                    const Samples16 piece(in.begin() + static_cast<std::ptrdiff_t>(at * channels),
                                          in.begin() + static_cast<std::ptrdiff_t>((at + frames) * channels));
                    const Samples16 part = Resample(piece, channels, from, to, mode, stream);
                    out.insert(out.end(), part.begin(), part.end());
                    at += frames;
                    mode = kContinue;
                }
                ASSERT_EQ(out, expected) << channels << " channels, " << from << " to " << to << ", cut " << cut;
                for (std::uint32_t channel = 0; channel < channels; ++channel) {
                    EXPECT_EQ(State(stream).m_aulHistoryCount[channel], State(whole).m_aulHistoryCount[channel]);
                    EXPECT_LE(State(stream).m_aulHistoryCount[channel], 35U);
                    EXPECT_NEAR(State(stream).m_adTime[channel], State(whole).m_adTime[channel], 1e-6);
                }
            }
        }
    }
}

TEST_F(Resampling, OfStereoIsThatOfItsChannels)
{
    const Samples16 left = Noise(5000, 6);
    const Samples16 right = Noise(5000, 7);
    Samples16 both;
    for (std::size_t i = 0; i < left.size(); ++i) {
        both.push_back(left[i]);
        both.push_back(right[i]);
    }
    const Samples16 out = Resample(both, 2, 44100, 48000, kRestart, Stream(2, 44100, 48000));
    const Samples16 outLeft = Resample(left, 1, 44100, 48000, kRestart, Stream(1, 44100, 48000));
    const Samples16 outRight = Resample(right, 1, 44100, 48000, kRestart, Stream(1, 44100, 48000));
    ASSERT_EQ(out.size(), 2 * outLeft.size());
    for (std::size_t i = 0; i < outLeft.size(); ++i) {
        ASSERT_EQ(out[2 * i], outLeft[i]);
        ASSERT_EQ(out[2 * i + 1], outRight[i]);
    }
}

TEST_F(Resampling, StartsFromSilenceWithoutARestartAndAfreshWithOne)
{
    const Samples16 in(2000, 12345);
    auto stream = Stream(1, 44100, 48000);
    const Samples16 cold = Resample(in, 1, 44100, 48000, kContinue, stream);
    EXPECT_NE(cold[1], 12345) << "the history is silence";
    EXPECT_EQ(Resample(in, 1, 44100, 48000, kRestart, stream),
              Resample(in, 1, 44100, 48000, kRestart, Stream(1, 44100, 48000)));
    for (const std::uint32_t mode : {0U, 1U, 3U, 77U}) {
        auto other = Stream(1, 44100, 48000);
        EXPECT_EQ(Resample(in, 1, 44100, 48000, static_cast<EZtAudioResamplerMode>(mode), other), cold) << mode;
    }
}

TEST_F(Resampling, OfAFirstBufferTooShortForAnyOutputKeepsTheSamples)
{
    for (std::size_t frames = 1; frames <= 18; ++frames) {
        auto stream = Stream(1, 44100, 48000);
        const Samples16 out = Resample(Noise(frames, 8), 1, 44100, 48000, kRestart, stream);
        if (frames <= 17) {
            EXPECT_TRUE(out.empty()) << frames;
            EXPECT_EQ(State(stream).m_aulHistoryCount[0], 17 + frames);
            EXPECT_EQ(State(stream).m_adTime[0], 17.0);
        } else {
            EXPECT_FALSE(out.empty());
        }
    }
}

TEST_F(Resampling, OfAnEmptyInputMarksTheOutputFull)
{
    auto stream = Stream(1, 44100, 48000);
    auto input = Make("input", Pcm16(1, 44100), 0, 10);
    auto output = Make("output", Pcm16(1, 48000), 0, 10);
    Fill(*output, Noise(10, 9));
    output->SetValidLength(0);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), 0);
    EXPECT_EQ(output->Length(), 20U);
    EXPECT_EQ(Samples<std::int16_t>(*output, 10), Noise(10, 9));
    EXPECT_EQ(State(stream).m_aulHistoryCount[0], 17U);
}

TEST_F(Resampling, RunsWithTheRatesOfTheStreamWhateverTheBuffersSay)
{
    auto stream = Stream(1, 48000, 44100);
    auto input = Make("input", Pcm16(1, 44100), 2000);
    auto output = Make("output", Pcm16(1, 48000), 0, 4000);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), 0);
    EXPECT_LT(output->Length() / 2, 2000U) << "downwards, as the stream was made";
}

// ---- Lengths ----

TEST_F(Resampling, WantsRoomForTheInputAndForMoreThanTheLeastOutput)
{
    for (const bool up : {true, false}) {
        const std::uint32_t from = up ? 44100 : 48000;
        const std::uint32_t to = up ? 48000 : 44100;
        constexpr std::size_t kFrames = 1000;
        const std::size_t needed = std::max<std::size_t>(kFrames, kFrames * to / from + 1);
        auto stream = Stream(1, from, to);
        auto input = Make("input", Pcm16(1, from), kFrames);
        auto tight = Make("output", Pcm16(1, to), 0, needed - 1);
        EXPECT_EQ(Run(input.Get(), tight.Get(), kRestart, stream.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(tight->ErrorCode(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(State(stream).m_aulHistoryCount[0], 17U) << "the stream has not moved";
        auto enough = Make("output", Pcm16(1, to), 0, needed);
        EXPECT_EQ(Run(input.Get(), enough.Get(), kRestart, stream.Get()), 0);
    }
}

TEST_F(Resampling, OfARestartThatFindsNoRoomLeavesTheStream)
{
    auto stream = Stream(1, 44100, 48000);
    Resample(Noise(500, 10), 1, 44100, 48000, kRestart, stream);
    const auto count = State(stream).m_aulHistoryCount[0];
    const double time = State(stream).m_adTime[0];
    const Samples16 history(State(stream).m_psHistory, State(stream).m_psHistory + 48);
    auto input = Make("input", Pcm16(1, 44100), 500);
    auto output = Make("output", Pcm16(1, 48000), 0, 500);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(State(stream).m_aulHistoryCount[0], count);
    EXPECT_EQ(State(stream).m_adTime[0], time);
    EXPECT_EQ(Samples16(State(stream).m_psHistory, State(stream).m_psHistory + 48), history);
}

TEST_F(Resampling, OfStereoTakesWhatTheStagesHoldAndNoFrameMore)
{
    for (const std::size_t frames : {88199U, 88200U}) {
        auto stream = Stream(2, 44100, 48000);
        auto input = Make("input", Pcm16(2, 44100), frames);
        auto output = Make("output", Pcm16(2, 48000), 0, 100000);
        const int expected = frames == 88199 ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL;
        EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), expected) << frames;
        EXPECT_EQ(output->ErrorCode(), expected);
    }
    for (const std::size_t frames : {96000U, 96001U}) {
        auto stream = Stream(2, 48000, 44100);
        auto input = Make("input", Pcm16(2, 48000), frames);
        auto output = Make("output", Pcm16(2, 44100), 0, 100000);
        EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()),
                  frames == 96000 ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    }
}

// ---- Refusals ----

TEST_F(Resampling, ChecksInOrderAndSignalsWhatItHasLookedAt)
{
    auto stream = Stream(1, 44100, 48000);
    auto input = Make("input", Pcm16(1, 44100), 100);
    auto output = Make("output", Pcm16(1, 48000), 0, 200);
    const auto expect = [&](RecordingBuffer* in, RecordingBuffer* out, int status, const Calls& calls) {
        EXPECT_EQ(Run(in, out, kRestart, stream.Get()), status);
        EXPECT_EQ(journal_.Calls(), calls);
        journal_.StopFailing();
        ExpectAtRest({input.Get(), output.Get()});
    };
    expect(input.Get(), nullptr, ZT_E_INVALID_POINTER, {});
    journal_.FailEntry("output.QueryInterface");
    expect(input.Get(), output.Get(), ZT_E_INVALID_PARAMETER, {"output.QueryInterface"});
    expect(nullptr, output.Get(), ZT_E_INVALID_POINTER,
           {"output.QueryInterface", ErrorCall("output", ZT_E_INVALID_POINTER), "output.SignalWriteCompletion"});
    journal_.FailEntry("input.QueryInterface");
    expect(input.Get(), output.Get(), kInjectedFailure,
           {"output.QueryInterface", "input.QueryInterface", ErrorCall("output", kInjectedFailure),
            "output.SignalWriteCompletion"});
    input->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
    expect(input.Get(), output.Get(), ZT_E_FAIL,
           Calls{"output.QueryInterface"} + Calls{"input.QueryInterface"} + Calls{"input.GetErrorCode"} +
               Ending(ZT_E_FAIL));
    input->host::AudioBuffer::SetErrorCode(kZtSynchroStatusCancelledLate);
    const Calls entry = Entry();
    for (std::size_t described = 4; described <= 5; ++described) {
        journal_.FailEntry(entry[described - 1]);
        expect(input.Get(), output.Get(), ZT_E_INVALID_PARAMETER,
               Calls(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(described)) +
                   Ending(ZT_E_INVALID_PARAMETER));
    }
    SZtLayoutProbe::SetBusy(Object(), 1);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), ZT_E_MODULE_BUSY);
    EXPECT_EQ(journal_.Calls(), Entry() + Ending(ZT_E_MODULE_BUSY));
    EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 1U);
    SZtLayoutProbe::SetBusy(Object(), 0);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), 0) << "a tolerated code flows";
}

TEST_F(Resampling, ChecksChannelsThenRatesThenWidthThenType)
{
    auto stream = Stream(1, 44100, 48000);
    const auto run = [&](const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to) {
        auto input = Make("input", from, 10);
        auto output = Make("output", to, 20);
        const int status = Run(input.Get(), output.Get(), kRestart, stream.Get());
        EXPECT_EQ(journal_.Calls(), Entry() + Ending(status));
        return status;
    };
    const auto other = [](std::uint32_t channels, EZtAudioDataType type, std::uint32_t rate, std::uint32_t bits) {
        return host::MakeFormat(channels, type, rate, bits, bits);
    };
    EXPECT_EQ(run(Pcm16(3, 44100), Pcm16(3, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(run(Pcm16(1, 44100), Pcm16(2, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(run(other(1, keZtAudioDataTypeFloat, 32000, 24), Pcm16(1)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(run(Pcm16(1), Pcm16(1)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(run(other(1, keZtAudioDataTypeFloat, 44100, 24), Pcm16(1)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(run(Pcm16(1, 44100), other(1, keZtAudioDataTypePcm, 48000, 32)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(run(other(1, keZtAudioDataTypeFloat, 44100, 16), Pcm16(1)), ZT_E_INVALID_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm16(1, 44100), other(1, keZtAudioDataTypeOpaque, 48000, 16)), ZT_E_INVALID_AUDIO_DATA_TYPE);
}

TEST_F(Resampling, ForgetsWhatItFoundBeforeTheFormats)
{
    auto stream = Stream(1, 44100, 48000);
    auto input = Make("input", Pcm16(1, 44100), 100);
    auto output = Make("output", Pcm16(1, 48000), 0, 200);
    journal_.hook = [&](const std::string& entry) {
        if (entry == "output.MarkWriteStartTime") {
            input->host::AudioBuffer::SetErrorCode(ZT_E_FAIL);
        }
    };
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), 0) << "a source that turns bad is not stopped";
    journal_.hook = nullptr;
    input->ClearErrorCode();
    for (const int call : {7, 8}) {
        journal_.Clear();
        journal_.FailCall(call);
        EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), ZT_E_FORMAT_NOT_SUPPORTED)
            << "a format that cannot be read cannot be classified";
        journal_.StopFailing();
        EXPECT_EQ(journal_.Count("output.GetAudioSamplesDescription"), call - 6)
            << "each step only after the one before";
        EXPECT_EQ(journal_.Count("input.GetErrorCode"), 1) << "by the entry alone";
    }
}

TEST_F(Resampling, OfStereoMovesNoSampleBetweenStagesWithoutAFormat)
{
    auto stream = Stream(2, 48000, 44100);
    auto input = Make("input", Pcm16(2, 48000), 1024);
    auto output = Make("output", Pcm16(2, 44100), 0, 1024);
    const Calls formats = Calls{"scratch0.SetWaveFormat"} + Calls{"scratch1.SetWaveFormat"} +
                          Calls{"scratch2.SetWaveFormat"} + Calls{"scratch0.SetWaveFormat"};
    const int before = static_cast<int>(ToWork().size());
    for (const int stage : {1, 2, 3}) {
        journal_.FailCall(before + stage);
        EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), kInjectedFailure);
        journal_.StopFailing();
        EXPECT_EQ(journal_.Calls(), ToWork() + formats + Calls{ErrorCall("output", kInjectedFailure)} + End()) << stage;
        ExpectAtRest({input.Get(), output.Get()});
    }
}

TEST_F(Resampling, RefusesValidBitsThatCannotBePlaced)
{
    auto stream = Stream(1, 44100, 48000);
    auto input = Make("input", host::MakeFormat(1, keZtAudioDataTypePcm, 44100, 16, 12), 10);
    auto output = Make("output", Pcm16(1), 0, 20);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, stream.Get()), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(output->ErrorCode(), ZT_E_FORMAT_NOT_SUPPORTED);
}

TEST_F(Resampling, RefusesAStreamThatIsNoneOrHasNoSuchChannel)
{
    auto input = Make("input", Pcm16(1, 44100), 100);
    auto output = Make("output", Pcm16(1, 48000), 0, 200);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(Run(input.Get(), output.Get(), kRestart, engine_.Get()), ZT_E_INVALID_PARAMETER);

    auto mono = Stream(1, 44100, 48000);
    auto stereo = Make("input", Pcm16(2, 44100), 100);
    auto stereoOut = Make("output", Pcm16(2, 48000), 0, 200);
    EXPECT_EQ(Run(stereo.Get(), stereoOut.Get(), kRestart, mono.Get()), ZT_E_INVALID_PARAMETER)
        << "a mono stream has no store for a right channel";
    ExpectAtRest({input.Get(), output.Get(), stereo.Get(), stereoOut.Get()});
}

TEST(ResamplerKernel, RefusesFormatsOutsideItsRows)
{
    Journal journal;
    CZtaResampleAudio resample;
    auto input = RecordingBuffer::Create(journal, "input", Pcm16(1), 20);
    auto output = RecordingBuffer::Create(journal, "output", Pcm16(1), 20);
    EXPECT_EQ(resample.ResampleAudio(input.Get(), output.Get(), kRestart, 0, nullptr),
              ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);

    bool supported = false;
    SZtaWaveFormatInfo low = Pcm16(1, 44100);
    SZtaWaveFormatInfo high = Pcm16(1, 48000);
    EXPECT_EQ(resample.QueryFormatSupported(&low, &high, &supported), 0);
    EXPECT_TRUE(supported);
    EXPECT_EQ(resample.QueryFormatSupported(&high, &low, &supported), 0);
    EXPECT_TRUE(supported);
    EXPECT_EQ(resample.QueryFormatSupported(&high, &high, &supported), 0);
    EXPECT_FALSE(supported);

    SZtaWaveFormatInfo in = Pcm16(2, 44100);
    SZtaWaveFormatInfo out = Pcm16(2, 48000);
    SZtaWaveFormatInfo suggestedIn = {};
    SZtaWaveFormatInfo suggestedOut = {};
    EXPECT_EQ(resample.SuggestFormat(&in, &out, &suggestedIn, &suggestedOut), 0);
    EXPECT_EQ(std::memcmp(&suggestedIn, &low, sizeof(low)), 0) << "stereo at 44100 Hz is answered with the first row";
    EXPECT_EQ(std::memcmp(&suggestedOut, &high, sizeof(high)), 0);
    EXPECT_EQ(resample.SuggestFormat(&out, &in, &suggestedIn, &suggestedOut), 0);
    EXPECT_EQ(std::memcmp(&suggestedIn, &high, sizeof(high)), 0) << "and anything else with the last";

    SZtaWaveFormatInfo wide = Pcm24In32(1);
    IUnknown* stream = nullptr;
    EXPECT_EQ(resample.CreateAudioResampler(&wide, &high, &stream), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(resample.CreateAudioResampler(&high, &wide, &stream), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(stream, nullptr);
}

TEST(ResamplerKernel, KeepsItsChannelsApart)
{
    CZtaResampleAudio resample;
    IUnknown* made = nullptr;
    ASSERT_EQ(resample.CreateAudioResamplerMono16BitsToMono16Bits(44100, 48000, 2, &made), 0);
    const auto stream = host::Ref<IUnknown>::Adopt(made);
    Samples16 in = Noise(1000, 11);
    Samples16 out(2000);
    for (const unsigned long channel : {0UL, 1UL}) {
        unsigned long room = out.size();
        EXPECT_EQ(resample.Resample16BitMonoTo16BitMono(in.size(), in.data(), room, out.data(), kRestart, channel,
                                                        stream.Get()),
                  0);
    }
    auto& state = dynamic_cast<CPolyphaseResampler&>(*stream);
    const Samples16 right(state.m_psHistory + 48, state.m_psHistory + 48 + 34);
    const double time = state.m_adTime[1];
    unsigned long room = out.size();
    resample.Resample16BitMonoTo16BitMono(300, in.data(), room, out.data(), kRestart, 0, stream.Get());
    EXPECT_EQ(Samples16(state.m_psHistory + 48, state.m_psHistory + 48 + 34), right);
    EXPECT_EQ(state.m_adTime[1], time);
    room = out.size();
    EXPECT_EQ(resample.Resample16BitMonoTo16BitMono(1, in.data(), room, out.data(), kRestart, 2, stream.Get()),
              ZT_E_INVALID_PARAMETER);
}

TEST(ResamplerKernel, TakesSamplesAtOddAddresses)
{
    const Samples16 in = Noise(1000, 12);
    struct Result {
        unsigned long written = 0;
        std::vector<std::byte> bytes;
    };
    const auto resample = [&in](std::size_t offset) {
        CZtaResampleAudio kernel;
        IUnknown* made = nullptr;
        EXPECT_EQ(kernel.CreateAudioResamplerMono16BitsToMono16Bits(44100, 48000, 1, &made), 0);
        const auto stream = host::Ref<IUnknown>::Adopt(made);
        std::vector<std::byte> source(in.size() * 2 + offset);
        std::memcpy(source.data() + offset, in.data(), in.size() * 2);
        std::vector<std::byte> destination(4000 + offset);
        Result result;
        result.written = 2000;
        EXPECT_EQ(kernel.Resample16BitMonoTo16BitMono(in.size(), source.data() + offset, result.written,
                                                      destination.data() + offset, kRestart, 0, stream.Get()),
                  0);
        result.bytes.assign(destination.begin() + static_cast<std::ptrdiff_t>(offset), destination.end());
        return result;
    };
    const Result even = resample(0);
    const Result odd = resample(1);
    EXPECT_GT(even.written, 1000u);
    EXPECT_EQ(odd.written, even.written);
    EXPECT_EQ(odd.bytes, even.bytes);
}

} // namespace
} // namespace zta::test
