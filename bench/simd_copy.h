#pragma once

#include <cstddef>

/// Copies with the widest registers of this CPU: the upper bound of loops without arithmetic. The buffers are aligned
/// to 64 bytes, and at least as large as the next multiple of 256 bytes.
void SimdCopy(void* output, const void* input, std::size_t bytes);
