/// The picture of a spectrum.
#pragma once

#include "tools/common/spectrum.h"
#include "tools/common/svg_plot.h"

enum class FrequencyScale { Linear, Logarithmic };

/// The axis from 0 Hz, or from 20 Hz on a logarithmic scale, to half the rate: in kHz, or in Hz on a logarithmic scale.
Axis FrequencyAxis(double rate, FrequencyScale scale);

/// A plot of levels from `lowest` to 0 dBFS by frequency.
SvgPlot SpectrumPlot(std::string_view title, double rate, double lowest, FrequencyScale scale = FrequencyScale::Linear);

/// Adds a spectrum, in which the peak of a tone has the level of the tone; that of a full-scale sine is 0 dBFS.
void AddSpectrum(SvgPlot& plot, std::string_view name, const Spectrum& spectrum, double rate,
                 FrequencyScale scale = FrequencyScale::Linear);
