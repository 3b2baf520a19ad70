/// Sound files for the tests of ztaudio, and a reference model of the conversions, one sample at a time.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A sound in memory. A 16-bit sample is a number, a 24-bit sample is MSB-aligned, a float is stored as its bits.
struct Sound {
    int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    int channels = 1;
    int rate = 48000;
    std::vector<std::int32_t> samples;

    int Subtype() const { return format & SF_FORMAT_SUBMASK; }
    long Frames() const { return static_cast<long>(samples.size()) / channels; }
};

/// The same subtype, shape and samples; the container may differ.
void ExpectSame(const Sound& actual, const Sound& expected);

void WriteSound(const std::string& path, const Sound& sound);
Sound ReadSound(const std::string& path);

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

/// Opens a file for reading.
SoundFile OpenSound(const std::string& path);

/// Writes 1000 frames at 48000 Hz into a file to which `describe` adds texts or records.
void WriteDescribedSound(const std::string& path, int format, int channels,
                         const std::function<void(SNDFILE*)>& describe);

/// Full-scale noise that begins with the largest magnitudes. Floats are in the range from -1 to just below 1.
Sound Noise(int subtype, int channels, long frames, int rate = 48000);

/// The file that the conversion of `sound` to the tool's format of that name must give.
Sound Converted(const Sound& sound, const std::string& format, bool fadeIn = false, bool fadeOut = false);

/// One channel of a gain ramp, in 1/4096: from its start in the first frame to its end in the last.
struct GainRamp {
    int start = 4096;
    int end = 4096;
};

/// What a mux of the sounds must hold: their channels in turn, the shorter sounds continued with silence.
Sound Interleaved(const std::vector<Sound>& sounds);

/// Channels `first` to `first + count - 1` of a mux.
Sound Channels(const Sound& mux, int first, int count);

/// A 24-bit sound with gains, one ramp for each channel, as a file keeps it.
Sound Scaled(const Sound& sound, const std::vector<GainRamp>& ramps);

/// The samples of a 24-bit sound that pass full scale with these gains.
long CountOverloads(const Sound& sound, const std::vector<GainRamp>& ramps);

/// A sound of these floats.
Sound Floats(const std::vector<float>& values, int channels = 1, int rate = 48000);

/// Floats limited to what the conversion to the format brings to the largest and smallest sample; a NaN becomes 0.
Sound Limited(const Sound& floats, const std::string& format);

/// The line with which the tool counts samples beyond full scale; none for 0.
std::string OverloadLine(const std::string& path, long count, const std::string& what = "clipped");
