/// Yardsticks that the processor itself sets: copies, and multiply-adds out of registers.
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

/// std::memcpy, in a place where the compiler cannot see through it.
void CopyByLibrary(std::byte* to, const std::byte* from, std::size_t bytes);

/// Copies in registers of the widest kind that this processor has. None without AVX2.
std::vector<SimdCopy> WideCopies();

/// `outputs` times 32 multiply-adds of 16-bit samples, in registers of 64 or 32 bytes. Empty if the processor has none.
Job MultiplyAdds(std::size_t outputs, std::size_t registerBytes);

} // namespace bench
