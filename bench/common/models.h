/// What the library makes of a sample, bit for bit, written without a thought of speed. The checks of the library's own
/// results use it; the other libraries are held against the true value, see WithinTolerance.
#pragma once

#include "bench/common/test_signal.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

std::vector<std::byte> Converted(const BufferLayout& in, const BufferLayout& out);

/// The samples of `in` in the order of the planes of `out`.
std::vector<std::byte> Moved(const BufferLayout& in, const BufferLayout& out);

/// 24-in-32 under one ramp for each channel, from `start` towards `end`.
std::vector<std::byte> Scaled(const BufferLayout& in, double start, double end);

} // namespace bench
