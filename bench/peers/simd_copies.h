/// Baselines of the machine: copies, and multiply-adds out of registers.
#pragma once

#include "bench/common/measure.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

using Copy = void (*)(std::byte* to, const std::byte* from, std::size_t bytes);

struct SimdCopy {
    const char* name;
    Copy copy;
};

/// std::memcpy, in a source of its own so that the compiler cannot inline it.
void CopyByLibrary(std::byte* to, const std::byte* from, std::size_t bytes);

/// Copies with the widest registers of this CPU. None without AVX2.
std::vector<SimdCopy> AllSimdCopies();

/// Samples that a conversion reads and writes. The number of samples is a multiple of 64.
struct SampleBytes {
    std::byte* to;
    const std::byte* from;
    std::size_t samples;
    std::size_t inBytes; ///< of a sample
    std::size_t outBytes;
};

/// Reads and writes the cache lines of a conversion with registers of 64 or 32 bytes, and does nothing between:
/// widening stores registers twice, narrowing drops some. Empty if the CPU has no such registers.
Job CopyOfSameLines(const SampleBytes& bytes, std::size_t registerBytes);

/// `outputs` times 32 multiply-adds of 16-bit samples, in registers of 64 or 32 bytes. Empty if the CPU has none.
Job MultiplyAdds(std::size_t outputs, std::size_t registerBytes);

} // namespace bench
