/// Replaces malloc and similar functions of the C library, and through them `new`, in a whole test program and the
/// libraries that it loads.
///
/// A program that links replaced_allocator.cpp defines the functions below. They must not allocate. Do not link it
/// together with a sanitizer, which replaces the same functions.
#pragma once

namespace zta::test {

/// Called by each allocation, with the name of the function. If it returns false, the allocation fails.
bool OnAllocation(const char* function) noexcept;

/// Called with 1 after a new block was allocated, and with -1 before a block is freed.
void OnBlocksChanged(int change) noexcept;

} // namespace zta::test
