// CreateAudioResampler and ProcessAudioResampler, the resampler's kernel and the state of a stream.

#include "resampler/polyphase_resampler.h"
#include "signal/filter_spec.h"
#include "signal/packed_filter_bank.h"
#include "testing/fake_audio_samples.h"
#include "testing/guarded_buffer.h"
#include "testing/misbehaving_buffer.h"
#include "testing/signal_variants.h"
#include "tests/engine/one_to_one_fixture.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

namespace zta::test {
namespace {

using Samples16 = std::vector<std::int16_t>;

constexpr EZtAudioResamplerMode kRestart = keZtAudioResamplerModeRestart;
constexpr EZtAudioResamplerMode kContinue = keZtAudioResamplerModeContinue;

struct Rates {
    std::uint32_t from;
    std::uint32_t to;
};

/// The supported conversions.
constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}};
constexpr Rates kUp = kRates[0];

Samples16 Noise(std::size_t count, unsigned int seed)
{
    std::mt19937 random(seed);
    Samples16 noise(count);
    for (std::int16_t& sample : noise) {
        sample = static_cast<std::int16_t>(random());
    }
    return noise;
}

/// `count` samples from position `at` on.
Samples16 Piece(const Samples16& samples, std::size_t at, std::size_t count)
{
    const auto first = samples.begin() + static_cast<std::ptrdiff_t>(at);
    return {first, first + static_cast<std::ptrdiff_t>(count)};
}

SZtaWaveFormatInfo Format(std::uint32_t channels, EZtAudioDataType type, std::uint32_t rate, std::uint32_t bits)
{
    return host::MakeFormat(channels, type, rate, bits, bits);
}

constexpr auto kPcm = keZtAudioDataTypePcm;
constexpr auto kFloat = keZtAudioDataTypeFloat;

/// The memory for the history of one channel.
Samples16 History(const CPolyphaseResampler& state, std::size_t channel = 0)
{
    return {state.m_psHistory + 48 * channel, state.m_psHistory + 48 * (channel + 1)};
}

CPolyphaseResampler& State(const host::Ref<IUnknown>& stream)
{
    return dynamic_cast<CPolyphaseResampler&>(*stream);
}

class Resampling : public OneToOneTest {
protected:
    host::Ref<IUnknown> Stream(std::uint32_t channels, const Rates& rates = kUp)
    {
        return MakeStream(Pcm16(channels, rates.from), Pcm16(channels, rates.to));
    }

    int Call(IZtAudioSamples* input, IZtAudioSamples* output) override
    {
        return engine_->ProcessAudioResampler(input, output, mode_, stream_);
    }

    int Run(EZtAudioResamplerMode mode, IUnknown* stream)
    {
        mode_ = mode;
        stream_ = stream;
        return OneToOneTest::Run();
    }

    int Run(const host::Ref<IUnknown>& stream) { return Run(kRestart, stream.Get()); }

    /// Creates buffers of the rates of a stream.
    void Build(std::uint32_t channels, const Rates& rates, std::size_t inputFrames, std::size_t outputFrames)
    {
        OneToOneTest::Build(Pcm16(channels, rates.from), Pcm16(channels, rates.to), inputFrames, outputFrames);
    }

    /// Sends one buffer of a stream through the engine and returns the resampled frames.
    Samples16 Resample(const Samples16& samples, std::uint32_t channels, const Rates& rates, EZtAudioResamplerMode mode,
                       const host::Ref<IUnknown>& stream)
    {
        const std::size_t frames = samples.size() / channels;
        Build(channels, rates, frames, frames * rates.to / rates.from + frames + 2);
        Fill(*input_, samples);
        EXPECT_EQ(Run(mode, stream.Get()), 0);
        return Samples<std::int16_t>(*output_, output_->Length() / 2);
    }

    /// The same for a mono stream from 44100 to 48000 Hz.
    Samples16 Resample(const Samples16& samples, EZtAudioResamplerMode mode, const host::Ref<IUnknown>& stream)
    {
        return Resample(samples, 1, kUp, mode, stream);
    }

private:
    EZtAudioResamplerMode mode_ = kRestart;
    IUnknown* stream_ = nullptr;
};

// ---- Creation ----

TEST_F(Resampling, StreamsBeginWithTheirFieldsAndEndWithTheirReference)
{
    const int objectsBefore = g_i32Objects;
    for (const Rates& rates : kRates) {
        auto stream = Stream(2, rates);
        const CPolyphaseResampler& state = State(stream);
        EXPECT_EQ(state.m_eHint, ippAlgHintFast);
        EXPECT_NE(state.m_pSpec, nullptr);
        EXPECT_EQ(state.m_ulInputRate, rates.from);
        EXPECT_EQ(state.m_ulOutputRate, rates.to);
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
    EXPECT_EQ(create(Pcm16(1, 44100), Pcm16(2, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(Pcm16(0, 44100), Pcm16(0, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(Pcm16(3, 44100), Pcm16(3, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(Format(3, kFloat, 32000, 24), Pcm16(3, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(create(Format(1, kFloat, 32000, 24), Pcm16(1, 48000)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(create(Pcm16(1, 44100), Format(1, kPcm, 48000, 24)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(create(Format(1, kFloat, 32000, 16), Pcm16(1, 48000)), ZT_E_INVALID_AUDIO_DATA_TYPE);
    EXPECT_EQ(create(Pcm16(1, 44100), Format(1, kFloat, 48000, 16)), ZT_E_INVALID_AUDIO_DATA_TYPE);
    EXPECT_EQ(create(Pcm16(1, 48000), Pcm16(1, 48000)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(create(Pcm16(1, 44100), Pcm16(1, 44100)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(create(Pcm16(1, 32000), Pcm16(1, 48000)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
}

TEST_F(Resampling, CreationIgnoresTheValidBits)
{
    EXPECT_TRUE(MakeStream(host::MakeFormat(1, kPcm, 44100, 16, 12), Pcm16(1, 48000)));
}

TEST_F(Resampling, QueryingAStreamResetsItsCount)
{
    auto stream = Stream(1);
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
    EXPECT_EQ(State(stream).m_lRefCount, 1) << "the only reference is that of the query";
    EXPECT_EQ(stream->AddRef(), 2U);
    EXPECT_EQ(stream->Release(), 1U);
}

// ---- The order of host calls ----

TEST_F(Resampling, OfMonoWorksOnTheCallersBuffers)
{
    auto stream = Stream(1);
    Build(1, kUp, 1024, 1115);
    Fill(*input_, Noise(1024, 1));
    input_->SetPolarity(3);
    input_->SetFades(true, true);
    EXPECT_EQ(Run(stream), 0);
    EXPECT_EQ(callLog_.Calls(), Processed(Convert("input", "output", 2194)));
    EXPECT_EQ(output_->Polarity(), 0U);
    EXPECT_FALSE(output_->Description().bFadeIn);
    ExpectSignaledOnce();
    EXPECT_EQ(State(stream).m_lRefCount, 1) << "the engine acquires no reference of the stream";
    ExpectBothAtRest();
}

TEST_F(Resampling, OfStereoUsesTheThreeScratchBuffers)
{
    auto stream = Stream(2, kRates[1]);
    Build(2, kRates[1], 1024, 1024);
    EXPECT_EQ(Run(stream), 0);
    const std::size_t delivered = output_->Length() / 4;
    const Calls formats = {"scratch0.SetWaveFormat", "scratch1.SetWaveFormat", "scratch2.SetWaveFormat"};
    EXPECT_EQ(callLog_.Calls(),
              Processed(formats + BufferQuery("input") + BufferQuery("scratch0") + BufferQuery("scratch1") +
                        SetLength("scratch0", 2048) + SetLength("scratch1", 2048) +
                        Convert("scratch0", "scratch2", delivered * 2) + Calls{"scratch0.SetWaveFormat"} +
                        Convert("scratch1", "scratch0", delivered * 2) + BufferQuery("scratch2") +
                        BufferQuery("scratch0") + BufferQuery("output") + SetLength("output", delivered * 4)));
    ExpectBothAtRest();
}

// ---- The stream ----

TEST_F(Resampling, DeliversTheFirstBufferAfterARestartInFull)
{
    auto stream = Stream(1);
    const Samples16 in = Noise(1024, 2);
    const Samples16 out = Resample(in, kRestart, stream);
    EXPECT_EQ(out.size(), 1097U);
    EXPECT_EQ(out[0], in[0]) << "the first output has the time of the first input";
    EXPECT_EQ(State(stream).m_aulHistoryCount[0], 34U);
    EXPECT_GE(State(stream).m_adTime[0], 17.0);
    EXPECT_LT(State(stream).m_adTime[0], 18.0);
}

TEST_F(Resampling, HoldsAConstantFromTheFirstSampleOn)
{
    for (const std::int16_t level : {std::int16_t{1000}, std::int16_t{-20000}, std::int16_t{0}}) {
        auto stream = Stream(1);
        for (const std::int16_t sample : Resample(Samples16(3000, level), kRestart, stream)) {
            EXPECT_NEAR(sample, level, std::abs(level) * 4.0 / 16384 + 1);
        }
    }
}

TEST_F(Resampling, OfAStreamInPiecesReturnsTheSamplesOfTheWhole)
{
    std::mt19937 random(3);
    for (const std::uint32_t channels : {1U, 2U}) {
        for (const Rates& rates : kRates) {
            const Samples16 in = Noise(30000 * channels, rates.from == 44100 ? 4 : 5);
            auto whole = Stream(channels, rates);
            const Samples16 expected = Resample(in, channels, rates, kRestart, whole);
            for (int cut = 0; cut < 6; ++cut) {
                auto stream = Stream(channels, rates);
                Samples16 out;
                std::size_t at = 0;
                EZtAudioResamplerMode mode = kRestart;
                while (at < 30000) {
                    // Pieces that are too short for an output are kept until the next one.
                    const std::size_t most = cut == 0 ? 3 : cut == 1 ? 40 : 9000;
                    const std::size_t frames = std::min<std::size_t>(1 + random() % most, 30000 - at);
                    const Samples16 part =
                        Resample(Piece(in, at * channels, frames * channels), channels, rates, mode, stream);
                    out.insert(out.end(), part.begin(), part.end());
                    at += frames;
                    mode = kContinue;
                }
                ASSERT_EQ(out, expected) << channels << " channels from " << rates.from << " Hz, cut " << cut;
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
    const Samples16 out = Resample(both, 2, kUp, kRestart, Stream(2));
    const Samples16 outLeft = Resample(left, kRestart, Stream(1));
    const Samples16 outRight = Resample(right, kRestart, Stream(1));
    ASSERT_EQ(out.size(), 2 * outLeft.size());
    for (std::size_t i = 0; i < outLeft.size(); ++i) {
        ASSERT_EQ(out[2 * i], outLeft[i]);
        ASSERT_EQ(out[2 * i + 1], outRight[i]);
    }
}

TEST_F(Resampling, StartsFromSilenceWithoutARestartAndPrimesTheHistoryWithOne)
{
    const Samples16 in(2000, 12345);
    auto stream = Stream(1);
    const Samples16 cold = Resample(in, kContinue, stream);
    EXPECT_NE(cold[1], 12345) << "the history is silence";
    EXPECT_EQ(Resample(in, kRestart, stream), Resample(in, kRestart, Stream(1)));
    for (const std::uint32_t mode : {0U, 1U, 3U, 77U}) {
        auto other = Stream(1);
        EXPECT_EQ(Resample(in, static_cast<EZtAudioResamplerMode>(mode), other), cold) << mode;
    }
}

TEST_F(Resampling, OfAFirstBufferTooShortForAnyOutputKeepsTheSamples)
{
    for (std::size_t frames = 1; frames <= 18; ++frames) {
        auto stream = Stream(1);
        const Samples16 out = Resample(Noise(frames, 8), kRestart, stream);
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
    auto stream = Stream(1);
    Build(1, kUp, 10, 10);
    input_->SetValidLength(0);
    Fill(*output_, Noise(10, 9));
    output_->SetValidLength(0);
    EXPECT_EQ(Run(stream), 0);
    EXPECT_EQ(output_->Length(), 20U);
    EXPECT_EQ(Samples<std::int16_t>(*output_, 10), Noise(10, 9));
    EXPECT_EQ(State(stream).m_aulHistoryCount[0], 17U);
}

TEST_F(Resampling, UsesTheRatesOfTheStreamNotThoseOfTheBuffers)
{
    auto stream = Stream(1, kRates[1]);
    Build(1, kUp, 2000, 4000);
    EXPECT_EQ(Run(stream), 0);
    EXPECT_LT(output_->Length() / 2, 2000U) << "downwards, as the stream was created";
}

// ---- Lengths ----

TEST_F(Resampling, RequiresCapacityForTheInputAndForMoreThanTheMinimumOutput)
{
    for (const Rates& rates : kRates) {
        constexpr std::size_t kFrames = 1000;
        const std::size_t needed = std::max<std::size_t>(kFrames, kFrames * rates.to / rates.from + 1);
        auto stream = Stream(1, rates);
        Build(1, rates, kFrames, needed - 1);
        EXPECT_EQ(Run(stream), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(output_->ErrorCode(), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
        EXPECT_EQ(State(stream).m_aulHistoryCount[0], 17U) << "the stream has not moved";
        Build(1, rates, kFrames, needed);
        EXPECT_EQ(Run(stream), 0);
    }
}

TEST_F(Resampling, OfARestartWithoutCapacityKeepsTheStream)
{
    auto stream = Stream(1);
    Resample(Noise(500, 10), kRestart, stream);
    const CPolyphaseResampler& state = State(stream);
    const auto count = state.m_aulHistoryCount[0];
    const double time = state.m_adTime[0];
    const Samples16 history = History(state);
    Build(1, kUp, 500, 500);
    EXPECT_EQ(Run(stream), ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    EXPECT_EQ(state.m_aulHistoryCount[0], count);
    EXPECT_EQ(state.m_adTime[0], time);
    EXPECT_EQ(History(state), history);
}

TEST_F(Resampling, OfStereoAcceptsTheCapacityOfTheScratchBuffersAndNoFrameMore)
{
    for (const Rates& rates : kRates) {
        const std::size_t most = rates.from == 44100 ? 88199 : 96000;
        for (const std::size_t frames : {most, most + 1}) {
            Build(2, rates, frames, 100000);
            const int expected = frames == most ? 0 : ZT_E_DESTINATION_BUFFER_TOO_SMALL;
            EXPECT_EQ(Run(Stream(2, rates)), expected) << frames;
            EXPECT_EQ(output_->ErrorCode(), expected);
        }
    }
}

// ---- Rejections ----

TEST_F(Resampling, ChecksChannelsThenRatesThenWidthThenType)
{
    auto stream = Stream(1);
    const auto run = [&](const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to) {
        OneToOneTest::Build(from, to, 10, 20);
        const int status = Run(stream);
        EXPECT_EQ(callLog_.Calls(), Checks() + Ending(status));
        return status;
    };
    EXPECT_EQ(run(Pcm16(3, 44100), Pcm16(3, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(run(Pcm16(1, 44100), Pcm16(2, 48000)), ZT_E_INVALID_AUDIO_CHANNEL_TYPE);
    EXPECT_EQ(run(Format(1, kFloat, 32000, 24), Pcm16(1)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(run(Pcm16(1), Pcm16(1)), ZT_E_INVALID_AUDIO_SAMPLING_RATE);
    EXPECT_EQ(run(Format(1, kFloat, 44100, 24), Pcm16(1)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(run(Pcm16(1, 44100), Format(1, kPcm, 48000, 32)), ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE);
    EXPECT_EQ(run(Format(1, kFloat, 44100, 16), Pcm16(1)), ZT_E_INVALID_AUDIO_DATA_TYPE);
    EXPECT_EQ(run(Pcm16(1, 44100), Format(1, keZtAudioDataTypeOpaque, 48000, 16)), ZT_E_INVALID_AUDIO_DATA_TYPE);
}

TEST_F(Resampling, CannotClassifyAFormatThatCannotBeRead)
{
    auto stream = Stream(1);
    Build(1, kUp, 100, 200);
    for (const int call : {7, 8}) {
        callLog_.FailCall(call);
        EXPECT_EQ(Run(stream), ZT_E_FORMAT_NOT_SUPPORTED);
        callLog_.ClearFaults();
        EXPECT_EQ(callLog_.Count("output.GetAudioSamplesDescription"), call - 6)
            << "each step only after the one before";
        EXPECT_EQ(callLog_.Count("input.GetErrorCode"), 1) << "by the entry point alone";
    }
}

TEST_F(Resampling, OfStereoProcessesNothingIfAScratchBufferHasNoFormat)
{
    auto stream = Stream(2, kRates[1]);
    Build(2, kRates[1], 1024, 1024);
    const Calls formats = {"scratch0.SetWaveFormat", "scratch1.SetWaveFormat", "scratch2.SetWaveFormat",
                           "scratch0.SetWaveFormat"};
    const int before = static_cast<int>(Start().size());
    for (const int scratch : {1, 2, 3}) {
        callLog_.FailCall(before + scratch);
        EXPECT_EQ(Run(stream), kInjectedFailure);
        callLog_.ClearFaults();
        EXPECT_EQ(callLog_.Calls(), Start() + formats + End(kInjectedFailure)) << scratch;
        ExpectBothAtRest();
    }
}

TEST_F(Resampling, RejectsFewerValidBitsThanTheContainerHas)
{
    OneToOneTest::Build(host::MakeFormat(1, keZtAudioDataTypePcm, 44100, 16, 12), Pcm16(1), 10, 20);
    EXPECT_EQ(Run(Stream(1)), ZT_E_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(output_->ErrorCode(), ZT_E_FORMAT_NOT_SUPPORTED);
}

TEST_F(Resampling, RejectsAMissingOrForeignStreamAndOneWithoutTheChannel)
{
    Build(1, kUp, 100, 200);
    EXPECT_EQ(Run(kRestart, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(Run(kRestart, engine_.Get()), ZT_E_INVALID_PARAMETER);
    ExpectBothAtRest();

    Build(2, kUp, 100, 200);
    EXPECT_EQ(Run(Stream(1)), ZT_E_INVALID_PARAMETER) << "a mono stream has no history for a right channel";
    ExpectBothAtRest();
}

TEST_F(Resampling, RejectsBuffersWithoutAnAddressAndContinuesTheStream)
{
    for (const bool isInput : {true, false}) {
        for (const std::size_t frames : {1000U, 9000U}) {
            const auto stream = Stream(1);
            const auto expected = Stream(1);
            const Samples16 first = Noise(500, 21);
            const Samples16 second = Noise(1000, 22);
            EXPECT_EQ(Resample(first, kRestart, stream), Resample(first, kRestart, expected));

            auto input = MisbehavingBuffer::Create(callLog_, "input", Pcm16(1, 44100), frames * 2);
            auto output = MisbehavingBuffer::Create(callLog_, "output", Pcm16(1, 48000), frames * 3);
            input->SetValidLength(frames * 2);
            (isInput ? input : output)->hasNoAddress = true;
            input_ = host::Ref<RecordingBuffer>::Adopt(input.Detach());
            output_ = host::Ref<RecordingBuffer>::Adopt(output.Detach());
            EXPECT_EQ(Run(kContinue, stream.Get()), ZT_E_INVALID_POINTER);
            EXPECT_EQ(SZtLayoutProbe::Busy(Object()), 0U);
            ExpectSignaledOnce();
            EXPECT_EQ(Resample(second, kContinue, stream), Resample(second, kContinue, expected));
        }
    }
}

// ---- The kernel and the state of a stream ----

class ResamplerKernel : public testing::Test {
protected:
    using Filter = IppsResamplingPolyphaseFixed_16s;

    struct FreeFilter {
        void operator()(Filter* filter) const { ippsFree(filter); }
    };
    using OwnFilter = std::unique_ptr<Filter, FreeFilter>;

    int Create(unsigned long from, unsigned long to, unsigned long channels, IUnknown** stream)
    {
        return kernel_.CreateAudioResamplerMono16BitsToMono16Bits(from, to, channels, stream);
    }

    host::Ref<IUnknown> Make(const Rates& rates = kUp, unsigned long channels = 1)
    {
        host::Ref<IUnknown> stream;
        EXPECT_EQ(Create(rates.from, rates.to, channels, stream.Put()), 0);
        return stream;
    }

    /// Calls the kernel; addresses may be odd. `written` is the capacity, then the number of outputs.
    int Call(IUnknown* stream, const void* in, std::size_t count, void* out, unsigned long& written,
             EZtAudioResamplerMode mode = kRestart, unsigned long channel = 0)
    {
        return kernel_.Resample16BitMonoTo16BitMono(count, const_cast<void*>(in), written, out, mode, channel, stream);
    }

    Samples16 Run(const host::Ref<IUnknown>& stream, const Samples16& in, EZtAudioResamplerMode mode = kRestart,
                  unsigned long channel = 0)
    {
        Samples16 out(2 * in.size() + 2);
        unsigned long written = out.size();
        EXPECT_EQ(Call(stream.Get(), in.data(), in.size(), out.data(), written, mode, channel), 0);
        out.resize(written);
        return out;
    }

    /// A filter of the caller's own, at rates of 44100 and 48000.
    static OwnFilter MakeFilter(float rollOff)
    {
        constexpr int kBytes = 40100;
        unsigned char* const memory = ippsMalloc_8u(kBytes);
        std::memset(memory, 0xA5, kBytes);
        OwnFilter filter(reinterpret_cast<Filter*>(memory));
        Init(filter.get(), rollOff);
        return filter;
    }

    static void Init(Filter* filter, float rollOff)
    {
        EXPECT_EQ(ippsResamplePolyphaseFixedInit_16s(44100, 48000, 32, rollOff, 9.0F, filter, ippAlgHintFast),
                  ippStsNoErr);
    }

    CZtaResampleAudio kernel_;
};

TEST_F(ResamplerKernel, RejectsFormatsOutsideItsTable)
{
    FakeAudioSamples input(Pcm16(1), 10, 10);
    FakeAudioSamples output(Pcm16(1), 0, 10);
    EXPECT_EQ(kernel_.ResampleAudio(&input, &output, kRestart, 0, nullptr), ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED);

    SZtaWaveFormatInfo low = Pcm16(1, 44100);
    SZtaWaveFormatInfo high = Pcm16(1, 48000);
    const auto IsSupported = [&](SZtaWaveFormatInfo& from, SZtaWaveFormatInfo& to) {
        bool supported = false;
        EXPECT_EQ(kernel_.QueryFormatSupported(&from, &to, &supported), 0);
        return supported;
    };
    EXPECT_TRUE(IsSupported(low, high));
    EXPECT_TRUE(IsSupported(high, low));
    EXPECT_FALSE(IsSupported(high, high));

    SZtaWaveFormatInfo in = Pcm16(2, 44100);
    SZtaWaveFormatInfo out = Pcm16(2, 48000);
    SZtaWaveFormatInfo suggestedIn = {};
    SZtaWaveFormatInfo suggestedOut = {};
    EXPECT_EQ(kernel_.SuggestFormat(&in, &out, &suggestedIn, &suggestedOut), 0);
    EXPECT_EQ(std::memcmp(&suggestedIn, &low, sizeof(low)), 0) << "stereo at 44100 Hz leads to the first table entry";
    EXPECT_EQ(std::memcmp(&suggestedOut, &high, sizeof(high)), 0);
    EXPECT_EQ(kernel_.SuggestFormat(&out, &in, &suggestedIn, &suggestedOut), 0);
    EXPECT_EQ(std::memcmp(&suggestedIn, &high, sizeof(high)), 0) << "and anything else to the last";

    SZtaWaveFormatInfo wide = Pcm24In32(1);
    IUnknown* stream = nullptr;
    EXPECT_EQ(kernel_.CreateAudioResampler(&wide, &high, &stream), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(kernel_.CreateAudioResampler(&high, &wide, &stream), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(stream, nullptr);
}

TEST_F(ResamplerKernel, KeepsOneStatePerChannel)
{
    const auto stream = Make(kUp, 2);
    const Samples16 in = Noise(1000, 11);
    Run(stream, in, kRestart, 0);
    Run(stream, in, kRestart, 1);
    const CPolyphaseResampler& state = State(stream);
    const Samples16 right = History(state, 1);
    const double time = state.m_adTime[1];
    Run(stream, Piece(in, 0, 300));
    EXPECT_EQ(History(state, 1), right);
    EXPECT_EQ(state.m_adTime[1], time);
    Samples16 out(2000);
    unsigned long written = out.size();
    EXPECT_EQ(Call(stream.Get(), in.data(), 1, out.data(), written, kRestart, 2), ZT_E_INVALID_PARAMETER);
}

TEST_F(ResamplerKernel, ChecksTheStreamThenTheCapacityThenTheChannel)
{
    const auto stream = Make(kUp, 2);
    const Samples16 in = Noise(1000, 13);
    Samples16 out(2000);
    const auto run = [&](unsigned long capacity, unsigned long channel, IUnknown* to) {
        const unsigned long offered = capacity;
        const int status = Call(to, in.data(), in.size(), out.data(), capacity, kRestart, channel);
        EXPECT_TRUE(status == 0 || capacity == offered);
        return status;
    };
    CPolyphaseResampler bare; // not initialized by a kernel
    for (const unsigned long channel : {1UL, 2UL, 15UL, 16UL, ~0UL}) {
        EXPECT_EQ(run(1000, channel, nullptr), ZT_E_INVALID_POINTER);
        EXPECT_EQ(run(1000, channel, &bare), ZT_E_INVALID_PARAMETER);
        EXPECT_EQ(run(1088, channel, stream.Get()), ZT_E_DESTINATION_BUFFER_TOO_SMALL) << channel;
        EXPECT_EQ(run(1089, channel, stream.Get()), channel < 2 ? 0 : ZT_E_INVALID_PARAMETER) << channel;
    }
}

TEST_F(ResamplerKernel, AcceptsAnyMemoryOfTheSizeOfTheWorkBuffer)
{
    constexpr std::size_t kBytes = 8192 * 2;
    const Samples16 in = Noise(30000, 14);
    for (const Rates& rates : kRates) {
        const auto expected = Make(rates);
        const auto stream = Make(rates);
        std::int16_t* const own = State(stream).m_psWorkBuffer;
        // An access behind the buffer ends the program, and in another call it is another one.
        const GuardedBuffer first(kBytes);
        const GuardedBuffer second(kBytes);
        std::size_t at = 0;
        EZtAudioResamplerMode mode = kRestart;
        for (const std::size_t frames : {1U, 20U, 480U, 9000U, 3U, 441U, 20000U}) {
            const GuardedBuffer& memory = at % 2 == 0 ? first : second;
            std::memset(memory.Begin(), 0x77, memory.Size());
            State(stream).m_psWorkBuffer = reinterpret_cast<std::int16_t*>(memory.End() - kBytes);
            const Samples16 piece = Piece(in, at, frames);
            EXPECT_EQ(Run(stream, piece, mode), Run(expected, piece, mode)) << frames;
            at += frames;
            mode = kContinue;
        }
        State(stream).m_psWorkBuffer = own;
    }
}

TEST_F(ResamplerKernel, TouchesNothingBehindTheValidHistory)
{
    static constexpr std::int16_t kPaint = 0x5B5B;
    for (const Rates& rates : kRates) {
        const auto stream = Make(rates, 2);
        CPolyphaseResampler& state = State(stream);
        const auto paint = [&state](unsigned long channel) {
            std::fill_n(state.m_psWorkBuffer, 8192, kPaint);
            std::int16_t* const history = state.m_psHistory + channel * 48;
            std::fill(history + state.m_aulHistoryCount[channel], history + 48, kPaint);
        };
        const auto isPaint = [=](const std::int16_t* begin, const std::int16_t* end) {
            return std::all_of(begin, end, [=](std::int16_t sample) { return sample == kPaint; });
        };
        for (const std::size_t frames : {1U, 2U, 16U, 17U, 18U, 30U, 480U, 8000U}) {
            for (const EZtAudioResamplerMode mode : {kRestart, kContinue}) {
                for (const unsigned long channel : {0UL, 1UL}) {
                    paint(channel);
                    const std::uint64_t before = mode == kRestart ? 17 : state.m_aulHistoryCount[channel];
                    const Samples16 in = Noise(frames, 15);
                    Run(stream, in, mode, channel);
                    const std::uint64_t count = state.m_aulHistoryCount[channel];
                    const std::int16_t* const history = state.m_psHistory + channel * 48;
                    const auto rest = static_cast<std::ptrdiff_t>(std::min<std::size_t>(count, frames));
                    EXPECT_TRUE(std::equal(in.end() - rest, in.end(), history + count - rest)) << frames;
                    // Beyond what a call may have moved there, whether from the old history or the new.
                    const std::uint64_t touched = mode == kRestart ? std::max<std::uint64_t>(count, 17) : count;
                    EXPECT_TRUE(isPaint(history + std::max(touched, before), history + 48)) << frames;
                    EXPECT_TRUE(std::equal(history, history + count, state.m_psWorkBuffer)) << frames;
                    EXPECT_TRUE(isPaint(state.m_psWorkBuffer + before + frames, state.m_psWorkBuffer + 8192)) << frames;
                }
            }
        }
    }
}

TEST_F(ResamplerKernel, PacksTheBankOfItsOwnFilterOnly)
{
    const Samples16 in = Noise(3000, 16);
    const auto usual = Make();
    const Samples16 full = Run(usual, in, kRestart);
    // With a filter of the caller's own, in other memory.
    const auto other = Make();
    Filter* const own = State(other).m_pSpec;
    const OwnFilter half = MakeFilter(0.5F);
    State(other).m_pSpec = half.get();
    const Samples16 halved = Run(other, in, kRestart);
    EXPECT_NE(halved, full);
    // The public function returns the same samples.
    Samples16 primed(17, in[0]);
    primed.insert(primed.end(), in.begin(), in.end());
    Samples16 expected(4000);
    double time = 17.0;
    int count = 0;
    ASSERT_EQ(ippsResamplePolyphaseFixed_16s(primed.data(), static_cast<int>(in.size()) - 17, expected.data(), 1.0F,
                                             &time, &count, half.get()),
              ippStsNoErr);
    expected.resize(static_cast<std::size_t>(count));
    EXPECT_EQ(halved, expected);
    State(other).m_pSpec = own;
    EXPECT_EQ(Run(other, in, kRestart), full);
    // With another filter in the same memory, which has no packed bank; both are freed with the stream.
    Init(own, 0.5F);
    EXPECT_EQ(own->ulPackedBankKey, 0U);
    EXPECT_EQ(Run(other, in, kRestart), halved);
}

TEST_F(ResamplerKernel, SharesNoBankWithACopyOfItsFilter)
{
    const Samples16 in = Noise(3000, 17);
    auto stream = Make();
    const Samples16 expected = Run(stream, in, kRestart);
    const auto other = Make();
    // A copy that is complete: no pointer of it leads to the original.
    constexpr int kBytes = 40100;
    auto* const copy = reinterpret_cast<Filter*>(ippsMalloc_8u(kBytes));
    const Filter* const filter = State(stream).m_pSpec;
    std::memcpy(static_cast<void*>(copy), filter, kBytes);
    const auto moved = [&](const void* pointer) {
        return reinterpret_cast<std::uint8_t*>(copy) +
               (static_cast<const std::uint8_t*>(pointer) - reinterpret_cast<const std::uint8_t*>(filter));
    };
    copy->pStep = reinterpret_cast<std::int16_t*>(moved(filter->pStep));
    copy->pRows = reinterpret_cast<void**>(moved(filter->pRows));
    for (int phase = 0; phase < 160; ++phase) {
        copy->pRows[phase] = moved(filter->pRows[phase]);
    }
    Filter* const own = State(other).m_pSpec;
    State(other).m_pSpec = copy;
    stream = host::Ref<IUnknown>(); // deletes its filter bank
    EXPECT_EQ(Run(other, in, kRestart), expected);
    State(other).m_pSpec = own;
    ippsFree(copy);
}

TEST_F(ResamplerKernel, HasThePackedBankBehindItsFilterInTheSameAllocation)
{
    for (const SignalVariant& variant : SupportedSignalVariants()) {
        ippSetCpuFeatures(variant.features);
        const auto stream = Make();
        const Filter* const filter = State(stream).m_pSpec;
        const bool packs = (variant.features & keZtaFeatureAvx2) != 0;
        EXPECT_EQ(filter->reserved, 0U);
        const SZtaPackedFilterBank* const bank = GetPackedFilterBank(*filter);
        ASSERT_NE(bank, nullptr);
        EXPECT_EQ(bank->lGroups, packs ? 10 : 0) << variant.prefix;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bank) % 64, 0U);
        // The filter has 40100 bytes.
        EXPECT_GE(reinterpret_cast<const char*>(bank), reinterpret_cast<const char*>(filter) + 40100);
        EXPECT_LT(reinterpret_cast<const char*>(bank), reinterpret_cast<const char*>(filter) + 40100 + 64);
    }
    ippInit();
}

TEST_F(ResamplerKernel, ReturnsTheSameSamplesWithoutAPackedBank)
{
    for (const Rates& rates : kRates) {
        const auto packed = Make(rates);
        const auto unpacked = Make(rates);
        SZtaPackedFilterBank empty{};
        SetPackedFilterBank(*State(unpacked).m_pSpec, &empty);
        const auto missing = Make(rates);
        State(missing).m_pSpec->ulPackedBankKey = 0;
        EZtAudioResamplerMode mode = kRestart;
        for (const std::size_t frames : {480U, 9U, 20000U, 441U}) {
            const Samples16 in = Noise(frames, 18);
            const Samples16 expected = Run(packed, in, mode);
            EXPECT_EQ(Run(unpacked, in, mode), expected) << frames;
            EXPECT_EQ(Run(missing, in, mode), expected) << frames;
            mode = kContinue;
        }
    }
}

TEST_F(ResamplerKernel, FreesThePackedBankWithAFilterThatWasReplaced)
{
    // A program may free the filter of a stream and set one of its own: a leak checker reports any remainder.
    const auto stream = Make();
    ippsFree(State(stream).m_pSpec);
    State(stream).m_pSpec = MakeFilter(1.0F).release();
    const Samples16 in = Noise(3000, 19);
    EXPECT_EQ(Run(stream, in, kRestart), Run(Make(), in, kRestart));
}

/// Buffers whose host reports success but no address.
TEST_F(ResamplerKernel, RejectsSamplesWithoutAnAddressAndKeepsTheChannel)
{
    for (const bool isInput : {true, false}) {
        for (const std::size_t frames : {1000U, 9000U}) {
            for (const EZtAudioResamplerMode mode : {kRestart, kContinue}) {
                const auto stream = Make();
                const auto expected = Make();
                const Samples16 in = Noise(frames, 20);
                Samples16 out(2 * frames);
                unsigned long written = out.size();
                EXPECT_EQ(Call(stream.Get(), isInput ? nullptr : in.data(), frames, isInput ? out.data() : nullptr,
                               written, mode),
                          ZT_E_INVALID_POINTER);
                EXPECT_EQ(written, out.size());
                EXPECT_EQ(State(stream).m_aulHistoryCount[0], 17U);
                EXPECT_EQ(State(stream).m_adTime[0], 17.0);
                EXPECT_EQ(Run(stream, in, kContinue), Run(expected, in, kContinue));
            }
        }
    }
}

TEST_F(ResamplerKernel, RestartsWithoutSamples)
{
    const auto stream = Make();
    CPolyphaseResampler& state = State(stream);
    Samples16 in = Noise(1000, 23);
    Samples16 out(2);
    for (const bool hasInput : {true, false}) {
        Run(stream, in, kRestart);
        ASSERT_NE(state.m_aulHistoryCount[0], 17U);
        unsigned long written = out.size();
        EXPECT_EQ(Call(stream.Get(), hasInput ? in.data() : nullptr, 0, out.data(), written), 0);
        EXPECT_EQ(written, 0U);
        EXPECT_EQ(state.m_aulHistoryCount[0], 17U);
        EXPECT_EQ(state.m_adTime[0], 17.0);
        EXPECT_EQ(Samples16(state.m_psHistory, state.m_psHistory + 17), Samples16(17, hasInput ? in[0] : 0));
    }
}

TEST_F(ResamplerKernel, PrimesByTheFilterLength)
{
    const auto stream = Make();
    State(stream).m_ulFilterLength = 40;
    unsigned long written = 2;
    Samples16 samples(2);
    EXPECT_EQ(Call(stream.Get(), samples.data(), 0, samples.data(), written), 0);
    EXPECT_EQ(State(stream).m_aulHistoryCount[0], 21U);
    EXPECT_EQ(State(stream).m_adTime[0], 21.0);
}

TEST_F(ResamplerKernel, CreationFailsWithoutMemoryForTheChannelsOrAFilterForTheRates)
{
    struct Case {
        unsigned long from;
        unsigned long to;
        unsigned long channels;
    };
    std::vector<Case> cases = {{0, 48000, 1}, {44100, 0, 1}, {0x80000000U, 48000, 1}, {44100, 0xFFFFFFFFU, 1}};
    for (const unsigned long channels : {1UL << 60, 1UL << 59, ~0UL / 96 + 1, ~0UL, 0xFFFFFFFFUL, 1UL << 27}) {
        cases.push_back({44100, 48000, channels});
    }
    for (const auto& [from, to, channels] : cases) {
        SCOPED_TRACE(std::to_string(from) + ", " + std::to_string(to) + ", " + std::to_string(channels));
        const int objects = g_i32Objects;
        IUnknown* const unchanged = reinterpret_cast<IUnknown*>(0x40);
        IUnknown* stream = unchanged;
        EXPECT_EQ(Create(from, to, channels, &stream), ZT_E_INCONSISTENCY_DETECTED);
        EXPECT_EQ(stream, unchanged);
        EXPECT_EQ(g_i32Objects, objects + 1) << "the object stays counted";
    }
}

TEST_F(ResamplerKernel, CreationUsesTheLower32BitsOfRatesForTheFilter)
{
    constexpr unsigned long kHighBit = 1UL << 32;
    host::Ref<IUnknown> stream;
    ASSERT_EQ(Create(kHighBit + 44100, kHighBit + 48000, 1, stream.Put()), 0);
    EXPECT_EQ(State(stream).m_ulInputRate, kHighBit + 44100);
    EXPECT_EQ(State(stream).m_ulOutputRate, kHighBit + 48000);
    EXPECT_EQ(State(stream).m_pSpec->inRate, 147);
    EXPECT_EQ(State(stream).m_pSpec->outRate, 160);
}

TEST_F(ResamplerKernel, CreationUsesTheChannelsOfTheOutput)
{
    SZtaWaveFormatInfo in = Pcm16(2, 44100);
    for (const std::uint32_t channels : {0U, 1U, 16U, 17U, 1000U}) {
        SZtaWaveFormatInfo out = Pcm16(channels, 48000);
        host::Ref<IUnknown> stream;
        ASSERT_EQ(kernel_.CreateAudioResampler(&in, &out, stream.Put()), 0);
        EXPECT_EQ(State(stream).m_ulChannels, channels);
        const std::int16_t* const history = State(stream).m_psHistory;
        EXPECT_TRUE(std::all_of(history, history + 48 * channels, [](std::int16_t sample) { return sample == 0; }));
    }
    // Sign-extended from 32 bits: no memory for that many.
    SZtaWaveFormatInfo out = Pcm16(0xFFFFFFFF, 48000);
    IUnknown* created = nullptr;
    EXPECT_EQ(kernel_.CreateAudioResampler(&in, &out, &created), ZT_E_INCONSISTENCY_DETECTED);
}

TEST_F(ResamplerKernel, ReleaseCountsDownAndDeletesAtZero)
{
    const int objects = g_i32Objects;
    IUnknown* created = nullptr;
    ASSERT_EQ(Create(44100, 48000, 1, &created), 0);
    EXPECT_EQ(created->AddRef(), 2U);
    EXPECT_EQ(created->Release(), 1U);
    EXPECT_EQ(g_i32Objects, objects + 1);
    EXPECT_EQ(created->Release(), 0U);
    EXPECT_EQ(g_i32Objects, objects);
    CPolyphaseResampler bare;
    EXPECT_EQ(bare.Release(), ~0UL) << "sign-extended from 32 bits";
}

TEST_F(ResamplerKernel, ReturnsTheStatusOfItsBuffers)
{
    constexpr int kFailure = static_cast<int>(0x80001234);
    const auto stream = Make();
    const auto resample = [&](FakeAudioSamples& in, FakeAudioSamples& out) {
        return kernel_.ResampleAudio(&in, &out, kRestart, 0, stream.Get());
    };
    const auto input = [] { return FakeAudioSamples(Pcm16(1, 44100), 1000, 1000); };
    const auto output = [] { return FakeAudioSamples(Pcm16(1, 48000), 0, 1200); };
    for (int FakeAudioSamples::*const status :
         {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus, &FakeAudioSamples::capacityStatus}) {
        FakeAudioSamples in = input();
        FakeAudioSamples out = output();
        out.*status = kFailure;
        EXPECT_EQ(resample(in, out), kFailure);
        EXPECT_TRUE(out.lengthsSet.empty());
        in.*status = kFailure + 1; // queried first
        EXPECT_EQ(resample(in, out), kFailure + 1);
    }
    for (const int status : {2, kFailure}) {
        FakeAudioSamples in = input();
        FakeAudioSamples out = output();
        out.setLengthStatus = status;
        EXPECT_EQ(resample(in, out), status);
        EXPECT_EQ(out.lengthsSet, std::vector<unsigned long>{(1000 - 17) * 160 / 147 * 2 + 2});
    }
}

/// The host's samples, and also the work buffer and the history; with each variant.
TEST_F(ResamplerKernel, AcceptsSamplesAtOddAddresses)
{
    const auto expectEqual = [this](const Rates& rates, bool hasOddState, bool hasBank,
                                    const std::vector<std::size_t>& lengths) {
        const auto even = Make(rates);
        const auto odd = Make(rates);
        CPolyphaseResampler& state = State(odd);
        if (!hasBank) {
            state.m_pSpec->ulPackedBankKey = 0;
        }
        std::int16_t* const work = state.m_psWorkBuffer;
        std::int16_t* const history = state.m_psHistory;
        std::vector<std::uint8_t> oddWork(8192 * 2 + 1);
        std::vector<std::uint8_t> oddHistory(48 * 2 + 1);
        if (hasOddState) {
            state.m_psWorkBuffer = reinterpret_cast<std::int16_t*>(oddWork.data() + 1);
            state.m_psHistory = reinterpret_cast<std::int16_t*>(oddHistory.data() + 1);
        }
        EZtAudioResamplerMode mode = hasOddState ? kContinue : kRestart;
        for (const std::size_t frames : lengths) {
            const Samples16 in = Noise(frames, 12);
            const Samples16 expected = Run(even, in, mode);
            std::vector<std::uint8_t> source(in.size() * 2 + 1);
            std::memcpy(source.data() + 1, in.data(), in.size() * 2);
            std::vector<std::uint8_t> destination(in.size() * 4 + 5);
            unsigned long written = in.size() * 2 + 2;
            EXPECT_EQ(Call(odd.Get(), source.data() + 1, in.size(), destination.data() + 1, written, mode), 0);
            ASSERT_EQ(written, expected.size());
            EXPECT_EQ(std::memcmp(destination.data() + 1, expected.data(), written * 2), 0);
            EXPECT_TRUE(std::all_of(destination.begin() + static_cast<std::ptrdiff_t>(1 + written * 2),
                                    destination.end(), [](std::uint8_t byte) { return byte == 0; }));
            mode = frames == 1000 ? kRestart : kContinue;
        }
        state.m_psWorkBuffer = work;
        state.m_psHistory = history;
    };
    for (const SignalVariant& variant : SupportedSignalVariants()) {
        SCOPED_TRACE(variant.prefix);
        ippSetCpuFeatures(variant.features);
        for (const Rates& rates : kRates) {
            for (const bool hasBank : {true, false}) {
                expectEqual(rates, true, hasBank, {1000, 1, 17, 33, 9000, 480});
            }
        }
    }
    ippInit();
    expectEqual(kUp, false, true, {1000});
    EXPECT_GT(Run(Make(), Noise(1000, 12)).size(), 1000U);
}

} // namespace
} // namespace zta::test
