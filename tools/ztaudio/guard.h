/// --guard: lowers the level so that no sample passes full scale.
#pragma once

#include "tools/ztaudio/sample_source.h"

#include <filesystem>
#include <string>

/// Throws UsageFailure if the input is a pipe, which cannot be read twice.
void RequireFileForGuard(const std::filesystem::path& in);

/// Reads a sound of floats to its end and returns the largest magnitude.
double FindPeak(SampleSource& source);

/// Returns the factor that brings the peak to full scale: at most 1. Reports it on standard error if it is below 1.
double LowerForGuard(const std::string& name, double peak);
