#include "host/audio_buffer.h"
#include "host/formats.h"
#include "testing/models/gain_model.h"
#include "tests/soak/job.h"

#include <zta/status.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zta::test {
namespace {

using host::AudioBuffer;
using host::Ref;
using Words = std::vector<std::uint32_t>;

constexpr std::size_t kChannels = 64;
constexpr std::size_t kMostFrames = 600;

/// Random samples. The padding byte of 24-in-32 is random as well.
void FillAtRandom(AudioBuffer& buffer, std::size_t frames, Random& random)
{
    buffer.SetValidLength(frames * host::BytesPerFrame(buffer.Description().sWaveFormat));
    for (std::size_t i = 0; i < buffer.Length(); i += 4) {
        const auto word = static_cast<std::uint32_t>(random());
        std::memcpy(buffer.Data() + i, &word, std::min<std::size_t>(4, buffer.Length() - i));
    }
}

Words WordsOf(const AudioBuffer& buffer, std::size_t count)
{
    Words words(count);
    std::memcpy(words.data(), buffer.Data(), count * sizeof(std::uint32_t));
    return words;
}

std::vector<SZtAudioMonoVolumeInfo> RandomVolumes(Random& random)
{
    std::uniform_real_distribution<float> gain(0.0F, 7.99F);
    std::vector<SZtAudioMonoVolumeInfo> volumes(kChannels);
    for (std::size_t c = 0; c < kChannels; ++c) {
        volumes[c] = {};
        volumes[c].fStartVolume = gain(random);
        volumes[c].fEndVolume = gain(random);
    }
    return volumes;
}

/// 64 channels of 24-in-32, as one mux buffer and as the expected samples.
class MuxJob : public Job {
public:
    std::string Run(IZtaAudioSamplesEngine& engine, Random& random, Latencies& latencies) override
    {
        const std::size_t frames = Between(random, 4, kMostFrames);
        const bool scales = Between(random, 0, 1) == 1;
        auto volumes = RandomVolumes(random);
        const std::string wrong = Try(engine, random, frames, volumes, scales ? kChannels : 0, latencies);
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
                            std::vector<SZtAudioMonoVolumeInfo>& volumes, std::size_t volumeCount,
                            Latencies& latencies) = 0;

    Ref<AudioBuffer> Make(const SZtaWaveFormatInfo& format)
    {
        buffers_.push_back(AudioBuffer::Create(format, kMostFrames * host::BytesPerFrame(format)));
        return buffers_.back();
    }

    static void Scale(Words& mux, const std::vector<SZtAudioMonoVolumeInfo>& volumes, std::size_t volumeCount)
    {
        const std::size_t frames = mux.size() / kChannels;
        for (std::size_t i = 0; volumeCount != 0 && i < mux.size(); ++i) {
            mux[i] = models::Scaled(mux[i], models::RampGain(volumes[i % kChannels], i / kChannels, frames));
        }
    }

private:
    std::vector<Ref<AudioBuffer>> buffers_;
};

/// Interleaves an array of mono or stereo buffers, or deinterleaves the mux.
class ArrayJob : public MuxJob {
public:
    ArrayJob(std::size_t side, bool assembles)
        : side_(side), assembles_(assembles), mux_(Make(host::Pcm24In32(kChannels)))
    {
        for (std::size_t i = 0; i < kChannels / side; ++i) {
            parts_.push_back(Make(host::Pcm24In32(static_cast<std::uint32_t>(side))));
            pointers_.push_back(parts_.back().Get());
        }
    }

protected:
    std::string Try(IZtaAudioSamplesEngine& engine, Random& random, std::size_t frames,
                    std::vector<SZtAudioMonoVolumeInfo>& volumes, std::size_t volumeCount,
                    Latencies& latencies) override
    {
        FillAtRandom(*mux_, frames, random);
        for (const auto& part : parts_) {
            FillAtRandom(*part, frames, random);
            assembles_ ? part->AnnounceRead() : part->AnnounceWrite();
        }
        assembles_ ? mux_->AnnounceWrite() : mux_->AnnounceRead();
        Words expected = assembles_ ? Joined(frames) : WordsOf(*mux_, frames * kChannels);
        Scale(expected, volumes, volumeCount);
        const int status = latencies.Time([&] {
            if (assembles_) {
                return (engine.*(side_ == 1 ? &IZtaAudioSamplesEngine::CopyAudioSamplesMonoToMux
                                            : &IZtaAudioSamplesEngine::CopyAudioSamplesStereoToMux))(
                    pointers_.data(), pointers_.size(), mux_.Get(), volumes.data(), volumeCount);
            }
            return (engine.*(side_ == 1 ? &IZtaAudioSamplesEngine::CopyAudioSamplesMuxToMono
                                        : &IZtaAudioSamplesEngine::CopyAudioSamplesMuxToStereo))(
                mux_.Get(), pointers_.data(), pointers_.size(), volumes.data(), volumeCount);
        });
        const std::string name = std::string(assembles_ ? "assembly" : "split") + (side_ == 1 ? ", mono" : ", stereo");
        if (status != ZT_NOERROR) {
            return name + ": status " + std::to_string(status);
        }
        const Words found = assembles_ ? WordsOf(*mux_, frames * kChannels) : Joined(frames);
        return found == expected ? "" : name;
    }

private:
    Words Joined(std::size_t frames) const
    {
        Words words(frames * kChannels);
        for (std::size_t i = 0; i < words.size(); ++i) {
            const std::size_t channel = i % kChannels;
            std::memcpy(&words[i],
                        parts_[channel / side_]->Data() + (i / kChannels * side_ + channel % side_) * sizeof(words[i]),
                        sizeof(words[i]));
        }
        return words;
    }

    std::size_t side_;
    bool assembles_;
    Ref<AudioBuffer> mux_;
    std::vector<Ref<AudioBuffer>> parts_;
    std::vector<IZtAudioSamples*> pointers_;
};

class VolumeJob : public MuxJob {
protected:
    std::string Try(IZtaAudioSamplesEngine& engine, Random& random, std::size_t frames,
                    std::vector<SZtAudioMonoVolumeInfo>& volumes, std::size_t /*volumeCount*/,
                    Latencies& latencies) override
    {
        FillAtRandom(*input_, frames, random);
        FillAtRandom(*output_, frames, random);
        Words expected = WordsOf(*input_, frames * kChannels);
        Scale(expected, volumes, kChannels);
        input_->AnnounceRead();
        output_->AnnounceWrite();
        const int status =
            latencies.Time([&] { return engine.ApplyVolume(input_.Get(), output_.Get(), volumes.data(), kChannels); });
        return status == ZT_NOERROR && WordsOf(*output_, frames * kChannels) == expected ? "" : "volume";
    }

private:
    Ref<AudioBuffer> input_ = Make(host::Pcm24In32(kChannels));
    Ref<AudioBuffer> output_ = Make(host::Pcm24In32(kChannels));
};

/// Converts to 24-in-24 and back, which clears the padding byte, and duplicates a range of the result.
class CopyJob : public MuxJob {
protected:
    std::string Try(IZtaAudioSamplesEngine& engine, Random& random, std::size_t frames,
                    std::vector<SZtAudioMonoVolumeInfo>& /*volumes*/, std::size_t /*volumeCount*/,
                    Latencies& latencies) override
    {
        FillAtRandom(*words_, frames, random);
        const auto Copy = [&](AudioBuffer& from, AudioBuffer& to) {
            from.AnnounceRead();
            to.AnnounceWrite();
            return latencies.Time([&] { return engine.CopyAudioSamples(&from, &to); });
        };
        if (Copy(*words_, *packed_) != ZT_NOERROR || Copy(*packed_, *back_) != ZT_NOERROR) {
            return "copy";
        }
        Words expected = WordsOf(*words_, frames * kChannels);
        for (std::uint32_t& word : expected) {
            word &= 0xFFFFFF00;
        }
        if (WordsOf(*back_, frames * kChannels) != expected) {
            return "copy to 24-in-24 and back";
        }
        const std::size_t length = Between(random, 1, back_->Length());
        const std::size_t from = Between(random, 0, back_->Length() - length);
        const std::size_t to = Between(random, 0, words_->Capacity() - length);
        std::vector<std::byte> run(words_->Data(), words_->Data() + words_->Capacity());
        std::memcpy(run.data() + to, back_->Data() + from, length);
        back_->AnnounceRead();
        words_->AnnounceWrite();
        const int status =
            latencies.Time([&] { return engine.DuplicateAudioSamples(back_.Get(), from, words_.Get(), to, length); });
        return status == ZT_NOERROR && std::memcmp(run.data(), words_->Data(), run.size()) == 0 ? "" : "duplicate";
    }

private:
    Ref<AudioBuffer> words_ = Make(host::Pcm24In32(kChannels));
    Ref<AudioBuffer> packed_ = Make(host::Pcm24In24(kChannels));
    Ref<AudioBuffer> back_ = Make(host::Pcm24In32(kChannels));
};

} // namespace

void AddMuxJobs(Jobs& jobs)
{
    for (const std::size_t side : {std::size_t{1}, std::size_t{2}}) {
        jobs.push_back(std::make_unique<ArrayJob>(side, true));
        jobs.push_back(std::make_unique<ArrayJob>(side, false));
    }
    jobs.push_back(std::make_unique<VolumeJob>());
    jobs.push_back(std::make_unique<CopyJob>());
}

} // namespace zta::test
