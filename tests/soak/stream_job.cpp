#include "host/audio_buffer.h"
#include "host/formats.h"
#include "testing/recording_host.h"
#include "tests/soak/job.h"

#include <cstdint>
#include <cstring>
#include <deque>
#include <stdexcept>

namespace zta::test {
namespace {

constexpr std::size_t kMaxFrames = 2000;

struct Frame {
    std::int16_t left;
    std::int16_t right;
    bool operator==(const Frame&) const = default;
};

/// One stereo stream and its buffers.
class Stream {
public:
    explicit Stream(IZtaAudioSamplesEngine& engine)
    {
        SZtaWaveFormatInfo from = host::Pcm16(2, 44100);
        SZtaWaveFormatInfo to = host::Pcm16(2, 48000);
        if (engine.CreateAudioResampler(&from, &to, stream_.Put()) < 0) {
            throw std::runtime_error("no stream");
        }
        input_ = host::AudioBuffer::Create(from, kMaxFrames * sizeof(Frame));
        output_ = host::AudioBuffer::Create(to, (kMaxFrames * 2 + 64) * sizeof(Frame));
    }

    /// Resamples the first frames of `waiting` and appends the output.
    int Push(IZtaAudioSamplesEngine& engine, std::deque<Frame>& waiting, std::size_t frames, std::deque<Frame>& result,
             Latencies& latencies)
    {
        for (std::size_t i = 0; i < frames; ++i) {
            std::memcpy(input_->Data() + i * sizeof(Frame), &waiting.front(), sizeof(Frame));
            waiting.pop_front();
        }
        input_->SetValidLength(frames * sizeof(Frame));
        input_->AnnounceRead();
        output_->AnnounceWrite();
        const auto mode = hasBegun_ ? keZtAudioResamplerModeContinue : keZtAudioResamplerModeRestart;
        hasBegun_ = true;
        const int status = latencies.Time(
            [&] { return engine.ProcessAudioResampler(input_.Get(), output_.Get(), mode, stream_.Get()); });
        for (std::size_t i = 0; i < output_->Length() / sizeof(Frame); ++i) {
            Frame frame;
            std::memcpy(&frame, output_->Data() + i * sizeof(Frame), sizeof(Frame));
            result.push_back(frame);
        }
        return input_->ReadCount() != 0 || output_->WriteCount() != 0 ? -1 : status;
    }

private:
    host::Ref<IUnknown> stream_;
    host::Ref<host::AudioBuffer> input_;
    host::Ref<host::AudioBuffer> output_;
    bool hasBegun_ = false;
};

class StreamJob : public Job {
public:
    explicit StreamJob(IZtQuonEnginePrivate& host)
        : otherEngine_(CreateEngine(host)), stream_(*otherEngine_), other_(*otherEngine_)
    {
    }

    std::string Run(IZtaAudioSamplesEngine& engine, Random& random, Latencies& latencies) override
    {
        const std::size_t frames = Between(random, 18, kMaxFrames);
        std::uniform_int_distribution<int> sample(-32768, 32767);
        for (std::size_t i = 0; i < frames; ++i) {
            const Frame frame = {static_cast<std::int16_t>(sample(random)), static_cast<std::int16_t>(sample(random))};
            waiting_.push_back(frame);
            waitingOther_.push_back(frame);
        }
        if (stream_.Push(engine, waiting_, frames, result_, latencies) != 0) {
            return "Stream: a failure";
        }
        // The other stream processes buffers of other lengths.
        while (waitingOther_.size() >= nextOther_) {
            if (other_.Push(*otherEngine_, waitingOther_, nextOther_, resultOther_, unused_) != 0) {
                return "Stream: a failure of the other stream";
            }
            nextOther_ = Between(random, 18, kMaxFrames);
        }
        while (!result_.empty() && !resultOther_.empty()) {
            if (result_.front() != resultOther_.front()) {
                return "Stream: frame " + std::to_string(compared_) + " depends on the buffer lengths";
            }
            result_.pop_front();
            resultOther_.pop_front();
            ++compared_;
        }
        return result_.size() + resultOther_.size() < 3 * kMaxFrames ? "" : "Stream: one of the two falls behind";
    }

private:
    host::Ref<IZtaAudioSamplesEngine> otherEngine_;
    Stream stream_;
    Stream other_;
    Latencies unused_;
    std::deque<Frame> waiting_;
    std::deque<Frame> waitingOther_;
    std::deque<Frame> result_;
    std::deque<Frame> resultOther_;
    std::size_t nextOther_ = 500;
    std::uint64_t compared_ = 0;
};

} // namespace

void AddStreamJob(Jobs& jobs, IZtQuonEnginePrivate& host)
{
    jobs.push_back(std::make_unique<StreamJob>(host));
}

} // namespace zta::test
