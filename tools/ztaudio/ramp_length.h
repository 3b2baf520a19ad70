/// The length over which gain ramps run.
#pragma once

#include "tools/ztaudio/sound_file_reader.h"

#include <string>
#include <vector>

/// Returns the length of the sound for its gains: that of the header or, if the header has none and a gain is a ramp,
/// that which is found by reading the file to its end. Returns kUnknownFrames for other sounds without a length and for
/// pipes.
sf_count_t FindRampFrames(const SoundFileReader& in, const InputOptions& options,
                          const std::vector<std::string>& gains);
