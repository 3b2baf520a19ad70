// The environment variable ZTA_TEST_LOOPS names the sample loops that a program's tests run with, for runs where the
// widest are not wanted: under Valgrind, or to look for a difference.

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
