#include "tests/faults/failing_allocator.h"

#include "host/fault_counter.h"
#include "testing/allocator/replaced_allocator.h"

namespace zta::test {
namespace {

// Constant-initialized, in the program itself: access allocates nothing.
constinit thread_local host::FaultCounter faults;
constinit thread_local long balance = 0;

} // namespace

FailingAllocator::FailingAllocator(int n, bool persistent)
{
    faults = {n, persistent};
    balance = 0;
}

FailingAllocator::~FailingAllocator()
{
    Stop();
}

bool FailingAllocator::Stop()
{
    faults.Stop();
    return faults.HasFailed();
}

long FailingAllocator::Balance()
{
    return balance;
}

bool FailingAllocator::IsAvailable()
{
#ifdef ZTA_SANITIZED
    return false;
#else
    return true;
#endif
}

bool OnAllocation(const char* /*function*/) noexcept
{
    return !faults.CountCall();
}

void OnBlocksChanged(int change) noexcept
{
    balance += change;
}

} // namespace zta::test
