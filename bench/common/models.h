/// The reference models of testing/models on the memory layouts of the benchmarks. The library's results are compared
/// with them bit for bit, those of other libraries with the exact value: see WithinTolerance.
#pragma once

#include "bench/common/test_signal.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

/// The samples of `in` in the format of `out`.
std::vector<std::byte> Converted(const BufferLayout& in, const BufferLayout& out);

/// The samples of `in` in the order of the planes of `out`.
std::vector<std::byte> Moved(const BufferLayout& in, const BufferLayout& out);

/// 24-in-32 samples with the same gain ramp on each channel, from `start` towards `end`.
std::vector<std::byte> Scaled(const BufferLayout& in, double start, double end);

} // namespace bench
