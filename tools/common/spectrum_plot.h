/// The picture of a spectrum.
#pragma once

#include "tools/common/spectrum.h"
#include "tools/common/svg_plot.h"

/// A plot from 0 hertz to half the rate, for levels of tones from `lowest` to 0 decibels of full scale.
SvgPlot SpectrumPlot(std::string_view title, double rate, double lowest);

/// Adds the spectrum, in which a tone's peak has the tone's level, a full-scale sine being 0.
void AddSpectrum(SvgPlot& plot, std::string_view name, const Spectrum& spectrum, double rate);
