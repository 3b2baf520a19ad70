// The filter bank: sizes, layout, known taps, the two limits, and a comparison with the reference model.

#include "testing/filter_signals.h"
#include "testing/filter_spec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace zta::test {
namespace {

using models::BlockLayout;
using models::FilterPlan;
using models::TapKind;

class FilterBank : public testing::TestWithParam<SignalVariant> {
protected:
    struct Sizes {
        IppStatus status;
        int size = -1;
        int length = -1;
        int height = -1;
    };

    Sizes SizesOf(int inRate, int outRate, int length, IppHintAlgorithm hint = ippAlgHintFast) const
    {
        Sizes sizes;
        sizes.status = GetParam().ippsResamplePolyphaseFixedGetSize_16s(inRate, outRate, length, &sizes.size,
                                                                        &sizes.length, &sizes.height, hint);
        return sizes;
    }

    IppStatus Init(const FilterPlan& plan, float rollOff, float alpha, const FilterBlock& block) const
    {
        return GetParam().ippsResamplePolyphaseFixedInit_16s(plan.inRate, plan.outRate, plan.length, rollOff, alpha,
                                                             block.Get(), HintOf(plan.kind));
    }

    /// Compares each byte of a filter with the model.
    template <class Tap>
    void ExpectModel(const FilterPlan& plan, float rollOff, float alpha) const;
};

INSTANTIATE_TEST_SUITE_P(Variants, FilterBank, testing::ValuesIn(SupportedSignalVariants()), SignalVariantName());

template <class Tap>
Tap TapAt(const std::uint8_t* bytes, std::int64_t offset)
{
    Tap tap;
    std::memcpy(&tap, bytes + offset, sizeof(tap));
    return tap;
}

template <class Tap>
void FilterBank::ExpectModel(const FilterPlan& plan, float rollOff, float alpha) const
{
    const BlockLayout layout(plan);
    const FilterBlock block = MakeFilter(GetParam(), plan, rollOff, alpha);
    const models::BlockHead head = block.Head();
    const bool words = plan.kind == TapKind::Int16;
    ASSERT_EQ(static_cast<std::int64_t>(block.Size()), layout.size);
    EXPECT_EQ(head.inRate, layout.inRate);
    EXPECT_EQ(head.outRate, layout.outRate);
    EXPECT_EQ(head.tapScale, words ? 0x1p-14f : 1.0f);
    EXPECT_EQ(head.halfLen, layout.halfLen);
    EXPECT_EQ(head.tapKind, words ? 2 : 1);
    EXPECT_EQ(head.reserved, words ? 0u : 0xA5A5A5A5u);
    const std::uint8_t* bytes = block.Bytes();
    ASSERT_EQ(static_cast<const void*>(head.steps), bytes + 48);
    ASSERT_EQ(static_cast<const void*>(head.rows), bytes + layout.rowPointers);

    const std::vector<std::int16_t> steps = models::Steps(layout);
    EXPECT_EQ(std::vector<std::int16_t>(head.steps, head.steps + layout.outRate), steps);

    // The phases. The first tap of a phase may overwrite the last one of the phase before.
    const std::vector<double> prototype = models::Prototype(layout, rollOff, alpha);
    for (std::int64_t p = 0; p < layout.outRate; ++p) {
        const std::int64_t offset = layout.rows + p * layout.stride * layout.tapSize;
        ASSERT_EQ(head.rows[p], bytes + offset);
        const std::vector<double> taps = models::PhaseTaps(layout, prototype, p);
        for (std::size_t i = 0; i < taps.size(); ++i) {
            const bool shared = static_cast<std::int64_t>(i) == layout.stride && layout.outRate > 1;
            const Tap tap = TapAt<Tap>(bytes, offset + static_cast<std::int64_t>(i) * layout.tapSize);
            const double expected = shared ? models::PhaseTaps(layout, prototype, 1)[0] : taps[i];
            ASSERT_TRUE(models::IsRoundedTap(tap, expected))
                << "phase " << p << " tap " << i << " is " << tap << ", not " << expected;
        }
        // The rest of the phase is unused, except the 8 bytes shared with the prototype.
        const bool shared = !words && p == layout.outRate - 1;
        for (std::int64_t i = offset + static_cast<std::int64_t>(taps.size()) * layout.tapSize;
             i < offset + layout.stride * layout.tapSize - (shared ? 8 : 0); ++i) {
            ASSERT_EQ(bytes[i], FilterBlock::kPoison) << "phase " << p << " padding " << i;
        }
    }
    for (std::int64_t i = 48 + layout.outRate * 2; i < layout.rowPointers; ++i) {
        ASSERT_EQ(bytes[i], FilterBlock::kPoison) << "padding of the steps " << i;
    }
    for (std::int64_t i = layout.rowPointers + layout.outRate * 8; i < layout.rows; ++i) {
        ASSERT_EQ(bytes[i], FilterBlock::kPoison) << "padding of the pointers " << i;
    }

    // The prototype remains, in the order of the phases, followed by its copy in 16 bits. The last phase may overwrite
    // its first element and, with single-precision taps, parts of the second.
    std::int64_t element = 0;
    const auto expectElement = [&](std::int64_t distance) {
        const double value = prototype[static_cast<std::size_t>(distance)];
        if (element > 1 && element < layout.coefficients) {
            const double kept = TapAt<double>(bytes, layout.prototype + element * 8);
            ASSERT_NEAR(kept, words ? value * 16384.0 : value, 1e-14 * std::abs(kept)) << "element " << element;
        }
        if (words) {
            const std::int64_t offset = layout.prototype + layout.coefficients * 8 + element * 2;
            ASSERT_TRUE(models::IsRoundedTap(TapAt<std::int16_t>(bytes, offset), value)) << "element " << element;
        }
        ++element;
    };
    for (std::int64_t p = 0; p < layout.outRate; ++p) {
        for (std::int64_t q = 0; q < layout.halfLen; ++q) {
            expectElement(p + q * layout.outRate);
        }
    }
    element = layout.coefficients - 1;
    expectElement(layout.coefficients - 1);
    if (words) {
        expectElement(layout.coefficients - 1);
    }
    EXPECT_TRUE(block.IsUntouchedFrom(static_cast<std::size_t>(words ? layout.size - 8 : layout.size)));
}

TEST_P(FilterBank, HasTheSizesOfTheUsualRatesAndRoundsTheLengthUp)
{
    for (const auto& [in, out, words, singles] :
         {std::tuple{44100, 48000, 40100, 45208}, std::tuple{48000, 44100, 36836, 41528}}) {
        const Sizes fast = SizesOf(in, out, 32);
        EXPECT_EQ(fast.status, ippStsNoErr);
        EXPECT_EQ(fast.size, words);
        EXPECT_EQ(fast.length, 32);
        EXPECT_EQ(fast.height, out == 48000 ? 160 : 147);
        EXPECT_EQ(SizesOf(in, out, 32, ippAlgHintAccurate).size, singles);
    }
    for (const auto& [length, rounded] : {std::pair{1, 4}, std::pair{29, 32}, std::pair{33, 36}}) {
        EXPECT_EQ(SizesOf(3, 2, length).length, rounded);
    }
}

TEST_P(FilterBank, TreatsAnyOtherHintAs16Bit)
{
    for (const std::uint32_t hint : {0u, 3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(SizesOf(44100, 48000, 32, static_cast<IppHintAlgorithm>(hint)).size, 40100);
        const FilterBlock block(40100);
        EXPECT_EQ(GetParam().ippsResamplePolyphaseFixedInit_16s(44100, 48000, 32, 1.0f, 9.0f, block.Get(),
                                                                static_cast<IppHintAlgorithm>(hint)),
                  ippStsNoErr);
        EXPECT_EQ(block.Head().tapKind, 2);
    }
}

/// Expects the largest step first, then steps of this size or one less, and their sum.
void ExpectSteps(const FilterBlock& block, int largest, int sum)
{
    const models::BlockHead head = block.Head();
    EXPECT_EQ(head.steps[0], largest);
    for (int p = 1; p < head.outRate; ++p) {
        EXPECT_TRUE(head.steps[p] == largest || head.steps[p] == largest - 1) << p;
    }
    EXPECT_EQ(std::accumulate(head.steps, head.steps + head.outRate, 0), sum);
}

TEST_P(FilterBank, HasTheKnownTapsFor44100To48000)
{
    const FilterBlock block = MakeFilter(GetParam(), kUp);
    const auto* phase0 = block.PhaseTaps<std::int16_t>(0);
    for (int i = 0; i <= 32; ++i) {
        EXPECT_EQ(phase0[i], i == 16 ? 16384 : 0);
    }
    const std::vector<std::int16_t> phase1{0,   0,   0,  1,   -1, 2,  -3, 4,  -6, 9,  -13, 20, -29, 48, -100, 16383,
                                           101, -48, 29, -20, 13, -9, 6,  -4, 3,  -2, 1,   -1, 0,   0,  0,    0};
    EXPECT_EQ(std::vector<std::int16_t>(block.PhaseTaps<std::int16_t>(1), block.PhaseTaps<std::int16_t>(1) + 32),
              phase1);
    const auto* phase80 = block.PhaseTaps<std::int16_t>(80);
    EXPECT_EQ(phase80[15], 10387);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(phase80[i], phase80[31 - i]);
    }
    for (int p = 0; p < 160; ++p) {
        const auto* taps = block.PhaseTaps<std::int16_t>(p);
        const int sum = std::accumulate(taps, taps + (p == 0 ? 33 : 32), 0);
        EXPECT_GE(sum, 16381) << p;
        EXPECT_LE(sum, 16388) << p;
    }
    ExpectSteps(block, 1, 147);
}

TEST_P(FilterBank, HasTheKnownTapsFor48000To44100)
{
    const FilterBlock block = MakeFilter(GetParam(), kDown);
    const auto* phase0 = block.PhaseTaps<std::int16_t>(0);
    EXPECT_EQ(phase0[15], 1410);
    EXPECT_EQ(phase0[16], 16384);
    EXPECT_EQ(phase0[17], 1410);
    EXPECT_EQ(std::accumulate(phase0, phase0 + 33, 0), 17832);
    ExpectSteps(block, 2, 160);
}

TEST_P(FilterBank, HasOnePhaseForEqualRates)
{
    for (const int rate : {1, 48000, std::numeric_limits<int>::max()}) {
        const FilterBlock block = MakeFilter(GetParam(), {rate, rate, 8, TapKind::Int16});
        EXPECT_EQ(block.Head().inRate, 1);
        EXPECT_EQ(block.Head().outRate, 1);
        EXPECT_EQ(block.Head().steps[0], 1);
        const auto* taps = block.PhaseTaps<std::int16_t>(0);
        EXPECT_EQ(std::vector<std::int16_t>(taps, taps + 9),
                  (std::vector<std::int16_t>{0, 0, 0, 0, 16384, 0, 0, 0, 0}));
    }
}

TEST_P(FilterBank, EqualsTheModel)
{
    const std::pair<int, int> rates[] = {{44100, 48000}, {48000, 44100}, {1, 1}, {1, 2}, {2, 1},
                                         {3, 2},         {7, 8},         {8, 7}, {5, 1}, {160, 441}};
    for (const auto& [in, out] : rates) {
        for (const int length : {1, 4, 7, 8, 12, 32, 37, 38, 39, 40}) {
            for (const auto& [rollOff, alpha] : {std::pair{1.0f, 9.0f}, std::pair{0.5f, 1.0f}, std::pair{0.9f, 6.5f}}) {
                SCOPED_TRACE(testing::Message() << in << " to " << out << " length " << length << " at " << rollOff);
                ExpectModel<std::int16_t>({in, out, length, TapKind::Int16}, rollOff, alpha);
                ExpectModel<float>({in, out, length, TapKind::Floats}, rollOff, alpha);
            }
        }
    }
}

TEST_P(FilterBank, OmitsTheOuterTapOfALongFilterDueToRounding)
{
    // The outermost tap is then the last of its phase as well; in the second filter it also counts for the gain.
    for (const auto& [in, out, length] : {std::tuple{7, 3, 624}, std::tuple{11, 9, 1264}}) {
        const FilterPlan plan{in, out, length, TapKind::Int16};
        ASSERT_EQ(BlockLayout(plan).coefficients, out * length / 2);
        ExpectModel<std::int16_t>(plan, 0.95f, 1.0f);
        ExpectModel<float>({in, out, length, TapKind::Floats}, 0.95f, 1.0f);
    }
}

TEST_P(FilterBank, HasMoreCoefficientsThanTapsAtHighRates)
{
    const FilterPlan plan{3, 200003, 4, TapKind::Int16};
    ASSERT_GT(BlockLayout(plan).coefficients, 200003 * 2 + 1);
    ExpectModel<std::int16_t>(plan, 1.0f, 9.0f);
}

TEST_P(FilterBank, SharesTheOuterTapOfPhase0WithPhase1)
{
    for (const int length : {29, 30, 31, 32, 28}) {
        const bool shared = length % 8 >= 5;
        const FilterBlock block = MakeFilter(GetParam(), {2, 3, length, TapKind::Int16}, 0.6f, 1.0f);
        const auto* phase0 = block.PhaseTaps<std::int16_t>(0);
        const auto* phase1 = block.PhaseTaps<std::int16_t>(1);
        const int last = 2 * block.Head().halfLen;
        EXPECT_EQ(phase0 + last == phase1, shared) << length;
        EXPECT_EQ(phase0[last] == phase0[0], !shared) << length;
    }
    for (const int length : {29, 30, 31, 32}) {
        const FilterBlock block = MakeFilter(GetParam(), {2, 3, length, TapKind::Floats}, 0.6f, 1.0f);
        EXPECT_EQ(block.PhaseTaps<float>(0) + 32 == block.PhaseTaps<float>(1), length != 32) << length;
    }
}

TEST_P(FilterBank, RejectsSizeArgumentsInThisOrder)
{
    const auto getSize = GetParam().ippsResamplePolyphaseFixedGetSize_16s;
    int a = 7;
    int b = 8;
    int c = 9;
    EXPECT_EQ(getSize(0, 0, 0, nullptr, &b, &c, ippAlgHintFast), ippStsNullPtrErr);
    EXPECT_EQ(getSize(0, 0, 0, &a, nullptr, &c, ippAlgHintFast), ippStsNullPtrErr);
    EXPECT_EQ(getSize(0, 0, 0, &a, &b, nullptr, ippAlgHintFast), ippStsNullPtrErr);
    const int huge = std::numeric_limits<int>::max();
    EXPECT_EQ(getSize(0, huge, huge, &a, &b, &c, ippAlgHintFast), ippStsSizeErr);
    EXPECT_EQ(getSize(huge, -1, huge, &a, &b, &c, ippAlgHintFast), ippStsSizeErr);
    EXPECT_EQ(getSize(1, huge, 0, &a, &b, &c, ippAlgHintFast), ippStsSizeErr);
    for (const IppHintAlgorithm hint : {ippAlgHintFast, ippAlgHintAccurate}) {
        EXPECT_EQ(getSize(1, huge, huge, &a, &b, &c, hint), ippStsBadArgErr);
        EXPECT_EQ(getSize(1, huge - 1, 32, &a, &b, &c, hint), ippStsBadArgErr);
        EXPECT_EQ(getSize(huge - 1, huge, 1, &a, &b, &c, hint), ippStsBadArgErr);
        EXPECT_EQ(getSize(huge, huge - 1, 32, &a, &b, &c, hint), ippStsBadArgErr);
    }
    EXPECT_EQ(a, 7);
    EXPECT_EQ(b, 8);
    EXPECT_EQ(c, 9);
    EXPECT_EQ(getSize(1, 1, 1, &a, &b, &c, ippAlgHintFast), ippStsNoErr);
}

TEST_P(FilterBank, RejectsInitArgumentsInThisOrder)
{
    const FilterBlock block(40100);
    const auto init = GetParam().ippsResamplePolyphaseFixedInit_16s;
    const int huge = std::numeric_limits<int>::max();
    EXPECT_EQ(init(0, 0, 0, 0.0f, 0.0f, nullptr, ippAlgHintFast), ippStsNullPtrErr);
    EXPECT_EQ(init(0, 48000, 32, 0.0f, 0.0f, block.Get(), ippAlgHintFast), ippStsSizeErr);
    EXPECT_EQ(init(44100, 0, 32, 0.0f, 0.0f, block.Get(), ippAlgHintFast), ippStsSizeErr);
    EXPECT_EQ(init(44100, 48000, -1, 0.0f, 0.0f, block.Get(), ippAlgHintFast), ippStsSizeErr);
    for (const float rollOff : {0.0f, -0.5f, 1.0001f, std::nextafter(1.0f, 2.0f)}) {
        EXPECT_EQ(Init(kUp, rollOff, 9.0f, block), ippStsBadArgErr) << rollOff;
    }
    for (const float alpha : {0.999f, 0.0f, -9.0f}) {
        EXPECT_EQ(Init(kUp, 1.0f, alpha, block), ippStsBadArgErr) << alpha;
    }
    for (const IppHintAlgorithm hint : {ippAlgHintFast, ippAlgHintAccurate}) {
        EXPECT_EQ(init(1, huge, huge, 1.0f, 9.0f, block.Get(), hint), ippStsBadArgErr);
        EXPECT_EQ(init(huge - 1, huge, 1, 1.0f, 9.0f, block.Get(), hint), ippStsBadArgErr);
        EXPECT_EQ(init(1, 1 << 28, 4, 1.0f, 9.0f, block.Get(), hint), ippStsBadArgErr);
    }
    EXPECT_TRUE(block.IsUntouchedFrom(0));
    EXPECT_EQ(Init(kUp, 1.0f, 1.0f, block), ippStsNoErr);
}

/// Returns plans of filters with sizes from `from` to `to`, both near the limits.
std::vector<FilterPlan> PlansOfSize(TapKind kind, std::int64_t from, std::int64_t to)
{
    std::vector<FilterPlan> plans;
    for (int outRate = 1; outRate < 100000 && plans.size() < 3; ++outRate) {
        const auto size = [&](int length) { return BlockLayout({1, outRate, length, kind}).size; };
        int shorter = 1;
        for (int longer = 1 << 29; longer - shorter > 1;) {
            const int middle = shorter + (longer - shorter) / 2;
            (size(middle) < from ? shorter : longer) = middle;
        }
        if (size(shorter + 1) >= from && size(shorter + 1) <= to) {
            plans.push_back({1, outRate, shorter + 1, kind});
        }
    }
    return plans;
}

TEST_P(FilterBank, ReturnsSizesUpToTheLimit)
{
    for (const TapKind kind : {TapKind::Int16, TapKind::Floats}) {
        const std::vector<FilterPlan> passing = PlansOfSize(kind, 0x7FFFFFEF, 0x7FFFFFFE);
        ASSERT_FALSE(passing.empty());
        for (const FilterPlan& plan : passing) {
            const Sizes sizes = SizesOf(plan.inRate, plan.outRate, plan.length, HintOf(kind));
            EXPECT_EQ(sizes.status, ippStsNoErr);
            EXPECT_EQ(sizes.size, BlockLayout(plan).size);
        }
        const std::vector<FilterPlan> failing = PlansOfSize(kind, 0x7FFFFFFF, 0x8000000E);
        ASSERT_FALSE(failing.empty());
        for (const FilterPlan& plan : failing) {
            EXPECT_EQ(SizesOf(plan.inRate, plan.outRate, plan.length, HintOf(kind)).status, ippStsBadArgErr);
        }
    }
}

TEST_P(FilterBank, WrapsTheProductOfRateAndStride)
{
    // The size is then meaningless, and the initialization fails.
    const FilterPlan plan{1, 1 << 28, 4, TapKind::Floats};
    const Sizes sizes = SizesOf(plan.inRate, plan.outRate, plan.length, ippAlgHintAccurate);
    EXPECT_EQ(sizes.status, ippStsNoErr);
    EXPECT_EQ(sizes.size, static_cast<int>(BlockLayout(plan).size - (std::int64_t{1} << 34)));
    EXPECT_EQ(sizes.height, 1 << 28);
    const FilterBlock block(48);
    EXPECT_EQ(Init(plan, 1.0f, 9.0f, block), ippStsBadArgErr);
}

TEST_P(FilterBank, InitializesUpToItsOwnLimit)
{
    // It would succeed up to 0x80000008 bytes, or 0x80000006 with single-precision taps, which is too much for a test.
    const FilterBlock block(48);
    for (const TapKind kind : {TapKind::Int16, TapKind::Floats}) {
        const std::int64_t limit = kind == TapKind::Int16 ? 0x80000008 : 0x80000006;
        const std::vector<FilterPlan> failing = PlansOfSize(kind, limit + 1, limit + 16);
        ASSERT_FALSE(failing.empty());
        for (const FilterPlan& plan : failing) {
            EXPECT_EQ(Init(plan, 1.0f, 9.0f, block), ippStsBadArgErr);
        }
    }
    EXPECT_TRUE(block.IsUntouchedFrom(0));
}

TEST_P(FilterBank, ReturnsForEveryAlpha)
{
    // For alpha far above 1000 the window exceeds the range of a double.
    constexpr FilterPlan plan{2, 3, 8, TapKind::Int16};
    EXPECT_EQ(MakeFilter(GetParam(), plan, 1.0f, 700.0f).PhaseTaps<std::int16_t>(0)[4], 16384);
    using Limits = std::numeric_limits<float>;
    for (const float alpha : {1500.0f, Limits::max(), Limits::infinity(), Limits::quiet_NaN()}) {
        const FilterBlock block(static_cast<std::size_t>(BlockLayout(plan).size));
        EXPECT_EQ(Init(plan, 1.0f, alpha, block), ippStsNoErr) << alpha;
    }
}

// The public functions reject such a cut-off; the internal ones accept it.
TEST_P(FilterBank, MirrorsThePrototypeForANegativeCutOff)
{
    constexpr int kRate = 10;
    constexpr int kHalf = 8;
    constexpr int kCount = kRate * kHalf + 1;
    for (const auto prototype : {GetParam().ownsKaiserPrototypeUp, GetParam().ownsKaiserPrototypeDown}) {
        double above[kCount];
        double below[kCount];
        prototype(kRate, kRate, kHalf, kCount, above, 0.75, 9.0);
        prototype(kRate, kRate, kHalf, kCount, below, -0.75, 9.0);
        EXPECT_GT(above[0], 0.0);
        for (int i = 0; i < kCount; ++i) {
            EXPECT_EQ(below[i], -above[i]) << i;
        }
    }
}

} // namespace
} // namespace zta::test
