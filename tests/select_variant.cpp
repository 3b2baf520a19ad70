// The environment variable ZTA_TEST_LOOPS selects the variant of the sample loops for a test program, for example under
// Valgrind.

#include <zta/sample_loops.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class LoopSelection : public testing::Environment {
public:
    void SetUp() override
    {
        if (const char* name = std::getenv("ZTA_TEST_LOOPS")) {
            ASSERT_EQ(ztSelectSampleLoops(name), 0) << "unknown variant, or not supported by this CPU: " << name;
        }
    }
};

[[maybe_unused]] const auto* const loopSelection = testing::AddGlobalTestEnvironment(new LoopSelection);

} // namespace
