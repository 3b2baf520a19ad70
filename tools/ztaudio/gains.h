/// Gain ramps over a whole sound.
///
/// The engine's gains are multiples of 1/4096. A ramp runs from the one nearest to its start, at the first sample
/// frame, to the one nearest to its end, at the last, and each frame has the one nearest to the straight line between
/// them. The engine processes spans of frames over which no gain changes, so that the result does not depend on blocks.
#pragma once

#include "tools/ztaudio/context.h"
#include "tools/ztaudio/sample_format.h"

#include <sndfile.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The gain 1, in the units of the engine.
inline constexpr int kUnityGain = 4096;
inline constexpr int kMaxGain = 8 * kUnityGain;

/// The length of a sound that is not known before its end.
inline constexpr sf_count_t kUnknownFrames = -1;

/// Returns whether the text is a gain, "[CH=]START[:END]".
bool IsGain(const std::string& text);

/// Returns whether any of the gains is a ramp.
bool HasRamp(const std::vector<std::string>& gains);

/// Notes that an output to which gains are applied is 24-in-32, if the input has another format.
void NoteScaledFormat(SampleFormat format, const Context& context);

class Gains {
public:
    /// gains   as given to the option, each "[CH=]START[:END]"; without CH for all channels. The last of several for a
    ///         channel applies, and a channel without any has gain 1.
    /// frames  of the whole sound, or kUnknownFrames
    /// Throws UsageFailure if there is no such channel, Failure if there is a ramp and the length is not known.
    Gains(const std::vector<std::string>& gains, std::uint32_t channels, sf_count_t frames);

    /// Returns whether any gains were given.
    bool HasAny() const { return !ramps_.empty(); }

    /// The gains in a frame, one for each channel; none if no gains were given. Valid until the next call.
    std::span<const int> At(sf_count_t frame);

    /// Lowers all gains by a factor from 0 to 1. Gains are rounded down.
    void Lower(double factor);

    /// Notes the gains that are rounded to silence.
    void NoteSilence(const Context& context) const;

    /// Calls step(first, span, gains) for each span of frames over which no gain changes; `first` counts from `frame`,
    /// the position of these `frames` in the sound. Throws Failure if they reach beyond a ramp.
    template <typename Step>
    void ForConstantGains(sf_count_t frame, sf_count_t frames, Step step)
    {
        for (sf_count_t first = 0, span = 0; first < frames; first += span) {
            span = CountConstantGains(frame + first, frames - first);
            step(first, span, At(frame + first));
        }
    }

private:
    struct Ramp {
        int start; ///< in 1/4096
        int end;
    };

    sf_count_t CountConstantGains(sf_count_t frame, sf_count_t maxFrames) const;
    int GainAt(const Ramp& ramp, sf_count_t frame) const;

    sf_count_t frames_;
    std::vector<std::string> silent_; ///< the options that are not 0 and round to silence
    std::vector<Ramp> ramps_;
    std::vector<int> current_;
};
