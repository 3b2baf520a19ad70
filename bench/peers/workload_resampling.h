#pragma once

#include "bench/peers/quality.h"
#include "bench/peers/workload.h"

namespace bench {

/// Measures the engine's resampler and those of the peers, in both directions.
std::vector<Quality> MeasureQualities(const Bench& bench);

} // namespace bench
