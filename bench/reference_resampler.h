#pragma once

#include "signal/filter_spec.h"

/// The scalar reference of the filter with 16-bit coefficients: a division and a loop over the taps for each output,
/// compiled without vectors. The baseline of the library's variants. Returns the number of outputs.
int ReferenceResample(const std::int16_t* source, int len, std::int16_t* destination, double* time,
                      const IppsResamplingPolyphaseFixed_16s& filter);
