#include "testing/allocator/replaced_allocator.h"

#include <cerrno>
#include <cstddef>

// The libraries must find these functions instead of those of the C library.
#pragma GCC visibility push(default)

extern "C" {

// The C library's second names. dlsym may allocate.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}

namespace {

template <class Allocate>
void* Run(const char* function, bool isNewBlock, Allocate allocate)
{
    if (!zta::test::OnAllocation(function)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const memory = allocate();
    if (isNewBlock && memory != nullptr) {
        zta::test::OnBlocksChanged(1);
    }
    return memory;
}

} // namespace

extern "C" {

void* malloc(std::size_t size)
{
    return Run("malloc", true, [=] { return __libc_malloc(size); });
}

void* calloc(std::size_t count, std::size_t size)
{
    return Run("calloc", true, [=] { return __libc_calloc(count, size); });
}

void* realloc(void* memory, std::size_t size)
{
    return Run("realloc", memory == nullptr, [=] { return __libc_realloc(memory, size); });
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return Run("aligned_alloc", true, [=] { return __libc_memalign(alignment, size); });
}

void* memalign(std::size_t alignment, std::size_t size)
{
    return Run("memalign", true, [=] { return __libc_memalign(alignment, size); });
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    void* const block = Run("posix_memalign", true, [=] { return __libc_memalign(alignment, size); });
    if (block == nullptr) {
        return ENOMEM;
    }
    *memory = block;
    return 0;
}

void free(void* memory)
{
    // free(nullptr) does not touch the heap.
    if (memory != nullptr) {
        zta::test::OnBlocksChanged(-1);
    }
    __libc_free(memory);
}

} // extern "C"

#pragma GCC visibility pop
