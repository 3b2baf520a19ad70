#include "tests/faults/failing_allocator.h"

#include <cerrno>
#include <cstddef>

namespace zta::test {
namespace {

struct State {
    int failAt; ///< 0 while nothing fails
    int calls;
    bool persistent;
    bool failed;
    long balance;
};

// Constant-initialised, in the program itself: reading it allocates nothing.
constinit thread_local State state{};

} // namespace

FailingAllocator::FailingAllocator(int n, bool persistent)
{
    state = {n, 0, persistent, false, 0};
}

FailingAllocator::~FailingAllocator()
{
    Stop();
}

bool FailingAllocator::Stop()
{
    state.failAt = 0;
    return state.failed;
}

long FailingAllocator::Balance()
{
    return state.balance;
}

bool FailingAllocator::IsAvailable()
{
#ifdef ZTA_SANITIZED
    return false;
#else
    return true;
#endif
}

#ifndef ZTA_SANITIZED

namespace {

bool MayAllocate()
{
    if (state.failAt == 0) {
        return true;
    }
    ++state.calls;
    const bool fails = state.calls == state.failAt || (state.persistent && state.calls > state.failAt);
    if (fails) {
        state.failed = true;
        errno = ENOMEM;
    }
    return !fails;
}

void* Counted(void* memory)
{
    state.balance += memory != nullptr ? 1 : 0;
    return memory;
}

} // namespace

#endif

} // namespace zta::test

#ifndef ZTA_SANITIZED

// The libraries must find these instead of their own.
#pragma GCC visibility push(default)

extern "C" {

// The C library's own second names.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size)
{
    return zta::test::MayAllocate() ? zta::test::Counted(__libc_malloc(size)) : nullptr;
}

void* calloc(std::size_t count, std::size_t size)
{
    return zta::test::MayAllocate() ? zta::test::Counted(__libc_calloc(count, size)) : nullptr;
}

void* realloc(void* memory, std::size_t size)
{
    if (memory == nullptr) {
        return malloc(size);
    }
    return zta::test::MayAllocate() ? __libc_realloc(memory, size) : nullptr;
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return zta::test::MayAllocate() ? zta::test::Counted(__libc_memalign(alignment, size)) : nullptr;
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    void* block = aligned_alloc(alignment, size);
    if (block == nullptr) {
        return ENOMEM;
    }
    *memory = block;
    return 0;
}

void free(void* memory)
{
    zta::test::state.balance -= memory != nullptr ? 1 : 0;
    __libc_free(memory);
}

} // extern "C"

#pragma GCC visibility pop

#endif
