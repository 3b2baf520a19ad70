/// Gain ramps over a whole sound.
///
/// The engine's gains are whole numbers of 1/4096. A ramp runs from the one nearest to its start, at the first sample
/// frame, to the one nearest to its end, at the last, and takes in each frame the one nearest to the straight line
/// between them. The engine is given runs of frames over which no gain changes, so that nothing depends on blocks.
#pragma once

#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/sample_format.h"

#include <sndfile.h>

#include <string>
#include <vector>

/// Returns whether the text is a gain, "[CH=]START[:END]".
bool IsGain(const std::string& text);

/// The word of an output to which gains were applied: 24-in-32, which is noted where it differs from `word`.
SampleFormat ScaledWord(SampleFormat word, const Context& context);

class Gains {
public:
    /// gains   as given to the option, each "[CH=]START[:END]"; without CH it is for all channels. Of several for a
    ///         channel the last one counts, and a channel without any is left at 1.
    /// frames  of the whole sound
    /// Throws UsageFailure when there is no such channel.
    Gains(const std::vector<std::string>& gains, std::uint32_t channels, sf_count_t frames);

    /// The gains in a frame, one record for each channel; none if no gains were given. Valid until the next call.
    Volumes At(sf_count_t frame);

    /// Calls step(first, run, volumes) for each run of frames over which no gain changes; `first` counts from `frame`,
    /// the place of these `frames` in the sound. Throws Failure when they reach beyond a ramp.
    template <typename Step>
    void ForSteadyRuns(sf_count_t frame, sf_count_t frames, Step step)
    {
        for (sf_count_t first = 0, run = 0; first < frames; first += run) {
            run = ConstantGain(frame + first, frames - first);
            step(first, run, At(frame + first));
        }
    }

private:
    struct Ramp {
        int start; ///< in 1/4096
        int end;
    };

    sf_count_t ConstantGain(sf_count_t frame, sf_count_t most) const;
    int GainOf(const Ramp& ramp, sf_count_t frame) const;

    sf_count_t frames_;
    std::vector<Ramp> ramps_;
    std::vector<SZtAudioMonoVolumeInfo> volumes_;
};
