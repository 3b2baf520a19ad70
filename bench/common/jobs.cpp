#include "bench/common/jobs.h"

#include <cstring>
#include <vector>

namespace bench {

namespace {

using Set = std::shared_ptr<BufferSet>;

Set MakeSet(const BufferLayout& layout)
{
    return std::make_shared<BufferSet>(layout);
}

} // namespace

Job CopyJob(const Engine& engine, const BufferLayout& in, const BufferLayout& out, bool fades)
{
    const Set source = MakeSet(in);
    source->RequestFades(fades, fades);
    return [&engine, source, target = MakeSet(out)] {
        engine.Require(engine->CopyAudioSamples(source->One(), target->One()));
    };
}

Job VolumeJob(const Engine& engine, const BufferLayout& in, const BufferLayout& out, float start, float end)
{
    const Set source = MakeSet(in);
    const Set target = in.planes == out.planes ? source : MakeSet(out);
    std::vector<SZtAudioMonoVolumeInfo> ramps(in.Channels(), {0, start, end});
    return [&engine, source, target, ramps]() mutable {
        engine.Require(engine->ApplyVolume(source->One(), target->One(), ramps.data(), ramps.size()));
    };
}

MuxCall MuxCallOf(std::uint32_t channelsOfPlane, bool interleaves)
{
    const bool mono = channelsOfPlane == 1;
    if (interleaves) {
        const auto interleave = mono ? &IZtaAudioSamplesEngine::CopyAudioSamplesMonoToMux
                                     : &IZtaAudioSamplesEngine::CopyAudioSamplesStereoToMux;
        return [interleave](IZtaAudioSamplesEngine& engine, IZtAudioSamples** planes, unsigned long count,
                            IZtAudioSamples* mux) { return (engine.*interleave)(planes, count, mux, nullptr, 0); };
    }
    const auto deinterleave = mono ? &IZtaAudioSamplesEngine::CopyAudioSamplesMuxToMono
                                   : &IZtaAudioSamplesEngine::CopyAudioSamplesMuxToStereo;
    return [deinterleave](IZtaAudioSamplesEngine& engine, IZtAudioSamples** planes, unsigned long count,
                          IZtAudioSamples* mux) { return (engine.*deinterleave)(mux, planes, count, nullptr, 0); };
}

Job MuxJob(const Engine& engine, const BufferLayout& planes, const BufferLayout& mux, bool interleaves)
{
    const Set many = MakeSet(planes);
    const Set one = MakeSet(mux);
    const MuxCall call = MuxCallOf(planes.channelsOfPlane, interleaves);
    return [&engine, many, one, call] { engine.Require(call(engine.Get(), many->Array(), many->Count(), one->One())); };
}

Job StereoJob(const Engine& engine, const BufferLayout& monos, const BufferLayout& stereo, bool interleaves)
{
    const Set many = MakeSet(monos);
    const Set one = MakeSet(stereo);
    if (interleaves) {
        return [&engine, many, one] {
            engine.Require(engine->CopyAudioSamplesMonoToStereo(many->Array()[0], many->Array()[1], one->One()));
        };
    }
    return [&engine, many, one] {
        engine.Require(engine->CopyAudioSamplesStereoToMono(one->One(), many->Array()[0], many->Array()[1]));
    };
}

ResamplerStream::ResamplerStream(const Engine& engine, const Rates& rates, std::size_t frames, Content content)
    : engine_(engine), channels_(rates.channels),
      memory_(
          std::make_shared<Memory>(4 * Memory::RequiredBytes(2 * (2 * frames + 2) * channels_, Placement::Staggered))),
      in_(MakeLayout(memory_, Sample::Int16, channels_, 1, frames, Placement::Staggered)),
      out_(MakeLayout(memory_, Sample::Int16, channels_, 1, 2 * frames + 2, Placement::Staggered)),
      source_(in_, rates.from), target_(out_, rates.to)
{
    SZtaWaveFormatInfo from = FormatOf(Sample::Int16, channels_, rates.from);
    SZtaWaveFormatInfo to = FormatOf(Sample::Int16, channels_, rates.to);
    engine_.Require(engine_->CreateAudioResampler(&from, &to, stream_.Put()));
    Fill(in_, Content::Silence);
    Call(keZtAudioResamplerModeRestart);
    Fill(in_, content);
}

void ResamplerStream::Call(EZtAudioResamplerMode mode)
{
    engine_.Require(engine_->ProcessAudioResampler(source_.One(), target_.One(), mode, stream_.Get()));
}

std::size_t ResamplerStream::Process(const std::int16_t* in, std::int16_t* out)
{
    std::memcpy(in_.planes.front(), in, in_.Bytes());
    Call();
    const std::size_t bytes = target_.First().Length();
    std::memcpy(out, out_.planes.front(), bytes);
    return bytes / 2 / channels_;
}

} // namespace bench
