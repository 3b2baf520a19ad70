#pragma once

#include "signal/filter_spec.h"

/// The run over 16-bit taps as one would write it down: a division and a loop over the taps for each output, compiled
/// without vectors. What the builds of the library are measured against. Returns the number of outputs.
int ReferenceResample(const std::int16_t* source, int len, std::int16_t* destination, double* time,
                      const IppsResamplingPolyphaseFixed_16s& filter);
