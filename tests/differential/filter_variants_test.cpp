// The variants of the filter bank and of the resampling function, compared with the reference model and with each other
// on random filters and signals.

#include "testing/filter_spec.h"
#include "testing/random_seed.h"

#include <gtest/gtest.h>

#include <random>

namespace zta::test {
namespace {

using models::BlockLayout;
using models::FilterPlan;
using models::TapKind;

std::mt19937 Random()
{
    return std::mt19937(RandomSeed());
}

int Between(std::mt19937& random, int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random);
}

FilterPlan RandomPlan(std::mt19937& random)
{
    const int most = Between(random, 0, 3) == 0 ? 2000 : 60;
    const FilterPlan plan{Between(random, 1, most), Between(random, 1, most), Between(random, 1, 90),
                          Between(random, 0, 2) == 0 ? TapKind::Floats : TapKind::Int16};
    return Between(random, 0, 3) == 0 ? FilterPlan{plan.inRate, plan.outRate, 32, TapKind::Int16} : plan;
}

/// Noise, a square wave of full scale, impulses, or a constant.
std::vector<std::int16_t> RandomSignal(std::mt19937& random, std::size_t count)
{
    const int shape = Between(random, 0, 3);
    const int period = Between(random, 2, 50);
    const int level = Between(random, 0, 1) == 0 ? 32767 : -32768;
    std::vector<std::int16_t> signal(count);
    for (std::size_t i = 0; i < count; ++i) {
        const bool first = static_cast<int>(i) % period < period / 2;
        const int value = shape == 0   ? Between(random, -32768, 32767)
                          : shape == 1 ? (first ? 32767 : -32768)
                          : shape == 2 ? (static_cast<int>(i) % period == 0 ? level : 0)
                                       : level;
        signal[i] = static_cast<std::int16_t>(value);
    }
    return signal;
}

struct Output {
    IppStatus status;
    std::vector<std::int16_t> samples;
    double time;
};

Output RunBy(decltype(&ippsResamplePolyphaseFixed_16s) run, const std::vector<std::int16_t>& source, int len,
             float norm, double time, const FilterBlock& filter, std::size_t capacity)
{
    std::vector<std::int16_t> samples(capacity, 0x5A5A);
    int count = -1;
    const IppStatus status = run(source.data(), len, samples.data(), norm, &time, &count, filter.Get());
    samples.resize(static_cast<std::size_t>(std::max(count, 0)));
    return {status, samples, time};
}

TEST(FilterVariants, InitializeTheSameFilter)
{
    std::mt19937 random = Random();
    const std::vector<SignalVariant> variants = SupportedSignalVariants();
    for (int round = 0; round < 60; ++round) {
        const FilterPlan plan = RandomPlan(random);
        const BlockLayout layout(plan);
        const float rollOff = std::uniform_real_distribution<float>(0.05f, 1.0f)(random);
        const float alpha = std::uniform_real_distribution<float>(1.0f, 20.0f)(random);
        SCOPED_TRACE(testing::Message() << plan.inRate << " to " << plan.outRate << ", length " << plan.length);
        const FilterBlock block(static_cast<std::size_t>(layout.size));
        std::vector<std::uint8_t> first;
        for (const SignalVariant& variant : variants) {
            std::memset(block.Bytes(), FilterBlock::kPoison, block.Size());
            ASSERT_EQ(variant.ippsResamplePolyphaseFixedInit_16s(plan.inRate, plan.outRate, plan.length, rollOff, alpha,
                                                                 block.Get(), HintOf(plan.kind)),
                      ippStsNoErr);
            const std::vector<std::uint8_t> bytes(block.Bytes(), block.Bytes() + block.Size());
            first = first.empty() ? bytes : first;
            ASSERT_EQ(bytes, first) << variant.prefix;
            ASSERT_TRUE(block.IsUntouchedFrom(block.Size()));
        }
        const std::vector<double> prototype = models::Prototype(layout, rollOff, alpha);
        const bool shares = layout.stride == 2 * layout.halfLen && layout.outRate > 1;
        for (std::int64_t p = 0; p < layout.outRate; ++p) {
            const std::vector<double> taps = models::PhaseTaps(layout, prototype, p);
            for (std::size_t i = 0; i < taps.size() - (shares && p == 0 ? 1 : 0); ++i) {
                ASSERT_TRUE(plan.kind == TapKind::Int16
                                ? models::IsRoundedTap(block.PhaseTaps<std::int16_t>(p)[i], taps[i])
                                : models::IsRoundedTap(block.PhaseTaps<float>(p)[i], taps[i]))
                    << "phase " << p << " tap " << i;
            }
        }
        const std::vector<std::int16_t> steps = models::Steps(layout);
        ASSERT_TRUE(std::equal(steps.begin(), steps.end(), block.Head().steps));
    }
}

TEST(FilterVariants, ReturnTheSameOutputs)
{
    std::mt19937 random = Random();
    const std::vector<SignalVariant> variants = SupportedSignalVariants();
    for (int round = 0; round < 400; ++round) {
        const FilterPlan plan = RandomPlan(random);
        const bool words = plan.kind == TapKind::Int16;
        const float rollOff = std::uniform_real_distribution<float>(0.3f, 1.0f)(random);
        const FilterBlock filter = MakeFilter(variants.front(), plan, rollOff, 9.0f);
        const int half = filter.Head().halfLen;
        const int len = Between(random, 0, 2) == 0 ? Between(random, 1, 4) : Between(random, 1, 1500);
        const double time =
            half + Between(random, 0, 9) +
            (Between(random, 0, 3) == 0 ? Between(random, 0, 999) / 1000.0
                                        : Between(random, 0, plan.outRate - 1) / static_cast<double>(plan.outRate));
        const float norm =
            Between(random, 0, 1) == 0 ? 1.0f : std::uniform_real_distribution<float>(-2.0f, 2.0f)(random);
        SCOPED_TRACE(testing::Message() << plan.inRate << " to " << plan.outRate << ", length " << plan.length
                                        << ", len " << len << ", time " << time << ", norm " << norm);
        if (static_cast<std::int64_t>(len) * plan.outRate / plan.inRate > 100000) {
            continue;
        }
        const std::vector<std::int16_t> source =
            RandomSignal(random, static_cast<std::size_t>(len + 3 * half + plan.inRate / plan.outRate + 20));
        for (const SignalVariant& variant : variants) {
            const bool early = std::string(variant.prefix) == "m7" || std::string(variant.prefix) == "n8";
            const models::ResampleResult model = models::Run(source.data(), len, norm, time, filter.Get(), early);
            const Output output = RunBy(variant.ippsResamplePolyphaseFixed_16s, source, len, norm, time, filter,
                                        model.samples.size() + 2);
            ASSERT_EQ(output.status, ippStsNoErr);
            ASSERT_EQ(output.samples.size(), model.samples.size()) << variant.prefix;
            ASSERT_EQ(output.time, model.time) << variant.prefix;
            if (words) {
                ASSERT_EQ(output.samples, model.samples) << variant.prefix;
            }
            for (std::size_t i = 0; i < model.samples.size(); ++i) {
                ASSERT_TRUE(output.samples[i] == model.samples[i] || model.unsure[i]) << variant.prefix << " at " << i;
                ASSERT_NEAR(output.samples[i], model.samples[i], 1) << variant.prefix << " at " << i;
            }
        }
    }
}

} // namespace
} // namespace zta::test
