// The selection of the module's sample loops by its exported functions.

#include "kernels/bit_depth.h"
#include "kernels/loops/loops.h"

#include <zta/sample_loops.h>
#include <zta/status.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The module and this program contain separate copies of the loops, with the same names.
class SampleLoops : public testing::Test {
protected:
    void TearDown() override { ztSelectSampleLoops(nullptr); }

    std::uint64_t features_ = ZtaDetectCpuFeatures(ZtaReadCpuid());
    std::string preferred_ = ZtaBestLoops(features_).pszName;
};

TEST_F(SampleLoops, AreTheBestForTheCpuUnlessOthersAreSelected)
{
    EXPECT_EQ(ztGetSampleLoops(), preferred_);
    EXPECT_EQ(ztSelectSampleLoops("scalar"), ZT_NOERROR);
    EXPECT_STREQ(ztGetSampleLoops(), "scalar");
    EXPECT_EQ(ztSelectSampleLoops(nullptr), ZT_NOERROR);
    EXPECT_EQ(ztGetSampleLoops(), preferred_);
}

TEST_F(SampleLoops, CanBeAnyVariantThatTheCpuSupports)
{
    for (const SZtaLoopVariant& variant : kLoopVariants) {
        ASSERT_EQ(ztSelectSampleLoops("scalar"), ZT_NOERROR);
        const bool isSupported = variant.IsSupported(features_);
        const char* name = variant.psLoops->pszName;
        EXPECT_EQ(ztSelectSampleLoops(name), isSupported ? ZT_NOERROR : ZT_E_INVALID_PARAMETER) << name;
        EXPECT_STREQ(ztGetSampleLoops(), isSupported ? name : "scalar");
    }
}

TEST_F(SampleLoops, AreKeptIfTheNameIsUnknown)
{
    ASSERT_EQ(ztSelectSampleLoops("scalar"), ZT_NOERROR);
    for (const char* name : {"", "avx", "avx5120", "Scalar", "scalar ", "Plain", "plain "}) {
        EXPECT_EQ(ztSelectSampleLoops(name), ZT_E_INVALID_PARAMETER) << name;
        EXPECT_STREQ(ztGetSampleLoops(), "scalar");
    }
}

TEST_F(SampleLoops, AcceptTheFormerNameOfTheScalarVariant)
{
    EXPECT_EQ(ztSelectSampleLoops("plain"), ZT_NOERROR);
    EXPECT_STREQ(ztGetSampleLoops(), "scalar");
}

TEST_F(SampleLoops, ReturnTheSameSamplesAndCanChangeDuringAnOperation)
{
    constexpr unsigned long kFrames = 20'011;
    std::vector<std::int16_t> input(kFrames * 2);
    for (std::size_t i = 0; i < input.size(); ++i) {
        input[i] = static_cast<std::int16_t>(i * 40503);
    }
    std::vector<float> expected(input.size());
    std::vector<float> output(input.size());
    CZtaConvertBitDepth kernel;
    ASSERT_EQ(ztSelectSampleLoops("scalar"), ZT_NOERROR);
    kernel.ConvertBitDepthStereo16To32f(kFrames, input.data(), expected.data());

    std::atomic<bool> done = false;
    std::thread changer([&done] {
        while (!done) {
            for (const SZtaLoopVariant& variant : kLoopVariants) {
                ztSelectSampleLoops(variant.psLoops->pszName);
            }
        }
    });
    int different = 0;
    for (int i = 0; i < 300; ++i) {
        output.assign(output.size(), -2.0f);
        kernel.ConvertBitDepthStereo16To32f(kFrames, input.data(), output.data());
        different += std::memcmp(output.data(), expected.data(), output.size() * sizeof(float)) != 0 ? 1 : 0;
    }
    done = true;
    changer.join();
    EXPECT_EQ(different, 0);
}

} // namespace
