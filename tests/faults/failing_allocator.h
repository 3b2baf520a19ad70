/// An allocator that fails on request: malloc and its like, and through them `new` and the aligned allocations.
#pragma once

namespace zta::test {

/// Lets allocations of the calling thread fail, from construction to destruction.
class FailingAllocator {
public:
    /// Lets allocation number `n` from now on fail, counted from 1; with `lasting` every one after it, too.
    FailingAllocator(int n, bool persistent);
    ~FailingAllocator();

    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    /// Ends the failing. Returns true if an allocation has failed.
    static bool Stop();

    /// Allocations less deallocations of the calling thread since the last construction.
    static long Balance();

    /// False in builds whose sanitizer has the allocator for itself.
    static bool IsAvailable();
};

} // namespace zta::test
