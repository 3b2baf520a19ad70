/// An allocator that fails on request.
#pragma once

namespace zta::test {

/// Makes allocations of the calling thread fail, from construction to destruction.
class FailingAllocator {
public:
    /// Makes allocation number `n` from now on fail, counted from 1; if `persistent`, also every later one.
    FailingAllocator(int n, bool persistent);
    ~FailingAllocator();

    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    /// Ends the fault injection. Returns true if an allocation has failed.
    static bool Stop();

    /// Allocations less deallocations of the calling thread since the last construction.
    static long Balance();

    /// Returns false in builds whose sanitizer replaces the allocator.
    static bool IsAvailable();
};

} // namespace zta::test
