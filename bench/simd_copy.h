#pragma once

#include <cstddef>

/// Copies by loads and stores as wide as the processor has them and nothing else: what a loop without arithmetic can
/// reach. The buffers are aligned to 64 bytes, and at least as large as the next multiple of 256 bytes.
void SimdCopy(void* output, const void* input, std::size_t bytes);
