// The size from which conversions use streaming stores, and the cache that it is computed from.

#include "kernels/loops/loops.h"
#include "support/cpu_features.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace {

enum CacheType : std::uint32_t { kData = 1, kInstructions = 2, kUnified = 3 };

/// A sub-leaf that describes a cache with lines of 64 bytes.
constexpr SZtaCpuidLeaf Cache(CacheType type, std::uint32_t level, std::uint32_t ways, std::uint32_t sets)
{
    return {type | level << 5, (ways - 1) << 22 | 63, sets - 1, 0};
}

/// The CPU that ReadFakeLeaf reads: registers by leaf and sub-leaf, 0 for all others.
std::map<std::pair<std::uint32_t, std::uint32_t>, SZtaCpuidLeaf> g_fakeLeaves;

SZtaCpuidLeaf ReadFakeLeaf(std::uint32_t leaf, std::uint32_t subLeaf) noexcept
{
    const auto found = g_fakeLeaves.find({leaf, subLeaf});
    return found == g_fakeLeaves.end() ? SZtaCpuidLeaf{} : found->second;
}

constexpr std::uint64_t kKiB = 1024;
constexpr std::uint64_t kMiB = 1024 * kKiB;
constexpr std::uint32_t kTopologyExtensions = 1U << 22; ///< ECX of leaf 80000001: leaf 8000001D exists

class LastLevelCache : public testing::Test {
protected:
    void SetUp() override { g_fakeLeaves = {{{0, 0}, {0x1F, 0, 0, 0}}, {{0x80000000, 0}, {0x80000008, 0, 0, 0}}}; }

    static void AddCaches(std::uint32_t leaf, const SZtaCpuidLeaf& lastLevel)
    {
        g_fakeLeaves[{leaf, 0}] = Cache(kData, 1, 12, 64);
        g_fakeLeaves[{leaf, 1}] = Cache(kInstructions, 1, 8, 64);
        g_fakeLeaves[{leaf, 2}] = Cache(kUnified, 2, 16, 2048);
        g_fakeLeaves[{leaf, 3}] = lastLevel;
    }
};

TEST_F(LastLevelCache, IsReadFromLeaf4IfTheCpuHasIt)
{
    AddCaches(4, Cache(kUnified, 3, 12, 49152));
    EXPECT_EQ(ZtaDetectLastLevelCache(ReadFakeLeaf), 36 * kMiB);
    g_fakeLeaves[{0, 0}].ulEax = 3;
    EXPECT_EQ(ZtaDetectLastLevelCache(ReadFakeLeaf), 0U);
}

TEST_F(LastLevelCache, IsReadFromLeaf8000001DIfLeaf4DescribesNone)
{
    g_fakeLeaves[{0x80000000, 0}].ulEax = 0x80000021;
    g_fakeLeaves[{0x80000001, 0}].ulEcx = kTopologyExtensions;
    AddCaches(0x8000001D, Cache(kUnified, 3, 16, 32768));
    EXPECT_EQ(ZtaDetectLastLevelCache(ReadFakeLeaf), 32 * kMiB);

    g_fakeLeaves[{0x80000001, 0}].ulEcx = ~kTopologyExtensions;
    EXPECT_EQ(ZtaDetectLastLevelCache(ReadFakeLeaf), 0U);
    g_fakeLeaves[{0x80000001, 0}].ulEcx = kTopologyExtensions;
    g_fakeLeaves[{0x80000000, 0}].ulEax = 0x8000001C;
    EXPECT_EQ(ZtaDetectLastLevelCache(ReadFakeLeaf), 0U);
}

TEST_F(LastLevelCache, IsTheOneOfTheHighestLevel)
{
    const struct {
        const char* name;
        std::vector<SZtaCpuidLeaf> caches;
        std::uint64_t size;
    } cases[] = {
        {"a smaller one of a higher level", {Cache(kUnified, 3, 16, 8192), Cache(kUnified, 2, 16, 16384)}, 8 * kMiB},
        {"data", {Cache(kData, 1, 8, 64), Cache(kUnified, 2, 16, 4096)}, 4 * kMiB},
        {"instructions",
         {Cache(kData, 1, 8, 64), Cache(kUnified, 2, 16, 4096), Cache(kInstructions, 3, 16, 8192)},
         4 * kMiB},
        {"sub-leaves without an end", std::vector<SZtaCpuidLeaf>(100, Cache(kUnified, 3, 16, 8192)), 8 * kMiB},
        // Ways, partitions, bytes of a line and sets.
        {"a product", {{kUnified | 3U << 5, 9U << 22 | 2U << 12 | 127U, 999, 0}}, 10U * 3 * 128 * 1000},
        {"a product of 40 bits", {{kUnified | 3U << 5, 0xFFFFFFFF, 0xFF, 0}}, std::uint64_t{1} << 40},
    };
    for (const auto& c : cases) {
        SetUp();
        for (std::uint32_t i = 0; i < c.caches.size(); ++i) {
            g_fakeLeaves[{4, i}] = c.caches[i];
        }
        EXPECT_EQ(ZtaDetectLastLevelCache(ReadFakeLeaf), c.size) << c.name;
    }
}

TEST(StreamingThreshold, IsTheLastLevelCacheWithinLimits)
{
    for (const std::uint64_t size : {1 * kMiB, 4 * kMiB, 12 * kMiB, 36 * kMiB, 64 * kMiB}) {
        EXPECT_EQ(ZtaComputeMinStreamedBytes(size), size);
    }
    EXPECT_EQ(ZtaComputeMinStreamedBytes(96 * kMiB), 64 * kMiB);
    EXPECT_EQ(ZtaComputeMinStreamedBytes(480 * kMiB), 64 * kMiB);
    EXPECT_EQ(ZtaComputeMinStreamedBytes(256 * kKiB), 1 * kMiB);
    EXPECT_EQ(ZtaComputeMinStreamedBytes(0), 64 * kMiB) << "the cache is unknown";
}

TEST(StreamingThreshold, FollowsTheCacheOfThisCpu)
{
    EXPECT_EQ(ZtaMinStreamedBytes(), ZtaComputeMinStreamedBytes(ZtaDetectLastLevelCache(ZtaReadCpuidLeaf)));
    EXPECT_EQ(g_ulMinStreamedBytes, ZtaMinStreamedBytes());
}

} // namespace
