/// Test tones, and what `ztaudio analyze` prints for them.
#pragma once

#include "tests/tools/sounds.h"

#include <map>

/// A 16-bit mono sine; `decibels` of a full-scale one.
Sound Tone(double hertz, double decibels, long frames, int rate = 48000);

/// The figures of a mono file by their names in the JSON output, the tone's own level under "tone_level_dbfs". What is
/// null is missing.
std::map<std::string, double> Analysed(const std::string& path, const std::vector<std::string>& options = {});
