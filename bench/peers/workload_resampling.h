#pragma once

#include "bench/peers/quality.h"
#include "bench/peers/workload.h"

namespace bench {

/// The engine's resampler, then those of the peers, measured in both directions.
std::vector<Quality> MeasureQualities(const Bench& bench);

} // namespace bench
