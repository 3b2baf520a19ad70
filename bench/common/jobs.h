/// Repeatable calls of the engine's operations on fixed buffers. A job throws if the engine returns a failure.
#pragma once

#include "bench/common/host.h"
#include "bench/common/measure.h"
#include "bench/common/test_signal.h"

#include <functional>
#include <memory>

namespace bench {

/// CopyAudioSamples, with both fades or none.
Job CopyJob(const Engine& engine, const BufferLayout& in, const BufferLayout& out, bool fades = false);

/// ApplyVolume, with the same ramp on all channels; in place if both layouts are the same.
Job VolumeJob(const Engine& engine, const BufferLayout& in, const BufferLayout& out, float start, float end);

/// The mux operation between planes of one or two channels and a mux: to the mux if it interleaves, else from it.
/// Returns the engine's status.
using MuxCall = std::function<int(IZtaAudioSamplesEngine& engine, IZtAudioSamples** planes, unsigned long count,
                                  IZtAudioSamples* mux)>;
MuxCall MuxCallOf(std::uint32_t channelsOfPlane, bool interleaves);

/// One of the four mux operations: from planes of one or two channels to the mux if it interleaves, else from it.
Job MuxJob(const Engine& engine, const BufferLayout& planes, const BufferLayout& mux, bool interleaves);

/// CopyAudioSamplesMonoToStereo, or CopyAudioSamplesStereoToMono.
Job StereoJob(const Engine& engine, const BufferLayout& monos, const BufferLayout& stereo, bool interleaves);

struct Rates {
    std::uint32_t from;
    std::uint32_t to;
    std::uint32_t channels;
};

/// A stream of the engine's resampler over buffers of its own.
class ResamplerStream {
public:
    ResamplerStream(const Engine& engine, const Rates& rates, std::size_t frames, Content content = Content::Noise);

    /// Continues with the samples in the input buffer.
    void Call() { Call(keZtAudioResamplerModeContinue); }

    /// Continues with these samples, one buffer of frames. Returns the number of output frames.
    std::size_t Process(const std::int16_t* in, std::int16_t* out);

    const BufferLayout& In() const { return in_; }

private:
    void Call(EZtAudioResamplerMode mode);

    const Engine& engine_;
    std::uint32_t channels_;
    std::shared_ptr<Memory> memory_;
    BufferLayout in_;
    BufferLayout out_;
    BufferSet source_;
    BufferSet target_;
    zta::host::Ref<IUnknown> stream_;
};

} // namespace bench
