/// --guard: lowers the level so that no sample passes full scale.
#pragma once

#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/sample_source.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <filesystem>
#include <string>
#include <vector>

/// Throws UsageFailure if the input is a pipe, which cannot be read twice.
void RequireFileForGuard(const std::filesystem::path& in);

/// Reads a sound of floats to its end and returns the largest magnitude.
double FindPeak(SampleSource& source);

/// Returns the factor that brings the peak to full scale: at most 1. Reports it on standard error if it is below 1.
double LowerForGuard(const std::string& name, double peak);

/// Lowers gains, all by one factor, until no sample of the inputs passes full scale with them. Reads the inputs, whose
/// channels are in the order of the gains, at least once. Returns the factor: at most 1. Reports it if it is below 1.
///
/// name  of the sound, for the report
double LowerGains(const std::string& name, const std::vector<std::filesystem::path>& inputs,
                  const InputOptions& options, Gains& gains);
