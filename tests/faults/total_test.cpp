// The number of failures that one run of the whole program injected, printed in its last line. CTest runs each test by
// itself, and also the whole program once (see CMakeLists.txt).

#include "tests/faults/failing_allocator.h"
#include "tests/faults/injections.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace zta::test {
namespace {

class Total : public ::testing::Environment {
public:
    void TearDown() override
    {
        if (::testing::GTEST_FLAG(filter) != "*") {
            return;
        }
        std::printf("%d failures of the host's calls, %d exceptions of them and %d failures of allocations injected in "
                    "all\n",
                    hostFailuresInjected.load(), hostExceptionsInjected.load(), allocationFailuresInjected.load());
        EXPECT_GE(hostFailuresInjected, 9200);
        EXPECT_GE(hostExceptionsInjected, 5000);
        if (FailingAllocator::IsAvailable()) {
            EXPECT_GE(allocationFailuresInjected, 600);
        }
    }
};

[[maybe_unused]] const ::testing::Environment* const total = ::testing::AddGlobalTestEnvironment(new Total);

} // namespace
} // namespace zta::test
