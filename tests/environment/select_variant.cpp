// The environment variable ZTA_TEST_LOOPS selects the variant of the sample loops for a test program, for example under
// Valgrind.

#include <zta/sample_loops.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class ChosenLoops : public testing::Environment {
public:
    void SetUp() override
    {
        if (const char* name = std::getenv("ZTA_TEST_LOOPS")) {
            ASSERT_EQ(ztSelectSampleLoops(name), 0) << "no such loops, or not for this processor: " << name;
        }
    }
};

[[maybe_unused]] const auto* const chosenLoops = testing::AddGlobalTestEnvironment(new ChosenLoops);

} // namespace
