#include "host/audio_buffer.h"
#include "host/formats.h"
#include "testing/models/gain_model.h"
#include "testing/models/interleave_model.h"
#include "testing/operations.h"
#include "tests/soak/job.h"

#include <zta/status.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zta::test {
namespace {

using host::AudioBuffer;
using host::Ref;
using Samples = std::vector<std::uint32_t>;

constexpr std::uint32_t kChannels = 64;
constexpr std::size_t kMaxFrames = 600;

/// Fills a buffer with random samples. The padding byte of 24-in-32 is random as well.
void FillAtRandom(AudioBuffer& buffer, std::size_t frames, Random& random)
{
    buffer.SetValidLength(frames * host::BytesPerFrame(buffer.Description().sWaveFormat));
    for (std::size_t i = 0; i < buffer.Length(); i += 4) {
        const auto sample = static_cast<std::uint32_t>(random());
        std::memcpy(buffer.Data() + i, &sample, std::min<std::size_t>(4, buffer.Length() - i));
    }
}

/// Returns the 64 channels of the buffers as one mux.
Samples MuxSamples(const std::vector<Ref<AudioBuffer>>& buffers, std::size_t frames)
{
    std::vector<models::Bytes> planes;
    for (const auto& buffer : buffers) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer->Data());
        planes.emplace_back(bytes, bytes + buffer->Capacity());
    }
    const std::size_t elementBytes = host::BytesPerFrame(buffers.front()->Description().sWaveFormat);
    const models::Bytes mux = models::Interleaved(planes, elementBytes, frames);
    Samples samples(frames * kChannels);
    std::memcpy(samples.data(), mux.data(), mux.size());
    return samples;
}

std::vector<SZtAudioMonoVolumeInfo> RandomVolumes(Random& random)
{
    std::uniform_real_distribution<float> gain(0.0F, 7.99F);
    std::vector<SZtAudioMonoVolumeInfo> volumes(kChannels);
    for (SZtAudioMonoVolumeInfo& volume : volumes) {
        volume = {};
        volume.fStartVolume = gain(random);
        volume.fEndVolume = gain(random);
    }
    return volumes;
}

/// Calls on buffers with 64 channels in total, whose expected samples the models give.
class MuxJob : public Job {
public:
    std::string Run(IZtaAudioSamplesEngine& engine, Random& random, Latencies& latencies) override
    {
        const std::size_t frames = Between(random, 4, kMaxFrames);
        const std::string wrong = Try(engine, random, frames, latencies);
        for (const auto& buffer : buffers_) {
            if (buffer->ReadCount() != 0 || buffer->WriteCount() != 0 || buffer->PairingViolations() != 0 ||
                buffer->ErrorCode() != 0) {
                return "64 channels: a buffer is not at rest";
            }
        }
        return wrong.empty() ? "" : wrong + " of 64 channels, " + std::to_string(frames) + " frames";
    }

protected:
    virtual std::string Try(IZtaAudioSamplesEngine& engine, Random& random, std::size_t frames,
                            Latencies& latencies) = 0;

    Ref<AudioBuffer> Make(const SZtaWaveFormatInfo& format)
    {
        buffers_.push_back(AudioBuffer::Create(format, kMaxFrames * host::BytesPerFrame(format)));
        return buffers_.back();
    }

private:
    std::vector<Ref<AudioBuffer>> buffers_;
};

/// Interleaves, deinterleaves, or applies gain ramps. The 64 channels of the outputs are those of the inputs, each
/// under its ramp.
class GainJob : public MuxJob {
public:
    explicit GainJob(OperationKind kind)
    {
        const BufferCounts counts = CountBuffers(kind, kChannels);
        call_.kind = kind;
        for (std::uint32_t i = 0; i < counts.inputs; ++i) {
            inputs_.push_back(Make(host::Pcm24In32(counts.inputChannels)));
            call_.inputs.push_back(inputs_.back().Get());
        }
        for (std::uint32_t i = 0; i < counts.outputs; ++i) {
            outputs_.push_back(Make(host::Pcm24In32(counts.outputChannels)));
            call_.outputs.push_back(outputs_.back().Get());
        }
    }

protected:
    std::string Try(IZtaAudioSamplesEngine& engine, Random& random, std::size_t frames, Latencies& latencies) override
    {
        for (const auto& input : inputs_) {
            FillAtRandom(*input, frames, random);
            input->AnnounceRead();
        }
        for (const auto& output : outputs_) {
            FillAtRandom(*output, frames, random);
            output->AnnounceWrite();
        }
        Samples expected = MuxSamples(inputs_, frames);
        call_.volumes.clear();
        if (call_.kind == OperationKind::Volume || Between(random, 0, 1) == 1) {
            call_.volumes = RandomVolumes(random);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                const std::int64_t gain = models::RampGain(call_.volumes[i % kChannels], i / kChannels, frames);
                expected[i] = models::Scaled(expected[i], gain);
            }
        }
        const int status = latencies.Time([&] { return call_.Run(engine); });
        const std::string name = OperationName(call_.kind);
        if (status != ZT_NOERROR) {
            return name + ": status " + std::to_string(status);
        }
        return MuxSamples(outputs_, frames) == expected ? "" : name;
    }

private:
    std::vector<Ref<AudioBuffer>> inputs_;
    std::vector<Ref<AudioBuffer>> outputs_;
    OperationCall call_;
};

/// Converts to 24-in-24 and back, which clears the padding byte, and duplicates a range of the result.
class CopyJob : public MuxJob {
protected:
    std::string Try(IZtaAudioSamplesEngine& engine, Random& random, std::size_t frames, Latencies& latencies) override
    {
        FillAtRandom(*unpacked_, frames, random);
        const auto copy = [&](AudioBuffer& from, AudioBuffer& to) {
            from.AnnounceRead();
            to.AnnounceWrite();
            return latencies.Time([&] { return engine.CopyAudioSamples(&from, &to); });
        };
        if (copy(*unpacked_, *packed_) != ZT_NOERROR || copy(*packed_, *back_) != ZT_NOERROR) {
            return "copy";
        }
        Samples expected = MuxSamples({unpacked_}, frames);
        for (std::uint32_t& sample : expected) {
            sample &= 0xFFFFFF00;
        }
        if (MuxSamples({back_}, frames) != expected) {
            return "copy to 24-in-24 and back";
        }
        const std::size_t length = Between(random, 1, back_->Length());
        const std::size_t from = Between(random, 0, back_->Length() - length);
        const std::size_t to = Between(random, 0, unpacked_->Capacity() - length);
        std::vector<std::byte> destination(unpacked_->Data(), unpacked_->Data() + unpacked_->Capacity());
        std::memcpy(destination.data() + to, back_->Data() + from, length);
        back_->AnnounceRead();
        unpacked_->AnnounceWrite();
        const int status = latencies.Time(
            [&] { return engine.DuplicateAudioSamples(back_.Get(), from, unpacked_.Get(), to, length); });
        return status == ZT_NOERROR && std::memcmp(destination.data(), unpacked_->Data(), destination.size()) == 0
                   ? ""
                   : "duplicate";
    }

private:
    Ref<AudioBuffer> unpacked_ = Make(host::Pcm24In32(kChannels));
    Ref<AudioBuffer> packed_ = Make(host::Pcm24In24(kChannels));
    Ref<AudioBuffer> back_ = Make(host::Pcm24In32(kChannels));
};

} // namespace

void AddMuxJobs(Jobs& jobs)
{
    for (const OperationKind kind : {OperationKind::MonoToMux, OperationKind::StereoToMux, OperationKind::MuxToMono,
                                     OperationKind::MuxToStereo, OperationKind::Volume}) {
        jobs.push_back(std::make_unique<GainJob>(kind));
    }
    jobs.push_back(std::make_unique<CopyJob>());
}

} // namespace zta::test
