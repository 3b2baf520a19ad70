// The loop of the gain ramps of every variant that this CPU supports, compared with a reference model in wide integers.

#include "testing/guarded_buffer.h"
#include "testing/models/gain_model.h"
#include "tests/differential/loop_test.h"

#include <utility>

namespace zta::test {
namespace {

using Words = std::vector<std::uint32_t>;

constexpr std::size_t kGroupCounts[] = {1, 2, 4, 8, 16};
constexpr std::int32_t kUpper[] = {8388607, 8388607, 8388607, 8388607};
constexpr std::int32_t kLower[] = {-8388608, -8388608, -8388608, -8388608};

/// Gains and increments of each lane of each group, in the order of the loop: four gains, then four increments.
class Settings {
public:
    explicit Settings(std::size_t groups) : values(groups * 8) {}

    std::int32_t& Gain(std::size_t lane) { return values[lane / 4 * 8 + lane % 4]; }
    std::int32_t& Increment(std::size_t lane) { return values[lane / 4 * 8 + 4 + lane % 4]; }
    std::size_t Lanes() const { return values.size() / 2; }
    SZtaGainRamp Ramp() { return {values.data(), values.size() / 8, kUpper, kLower}; }

    std::vector<std::int32_t> values;
};

class GainLoop : public LoopTest {
protected:
    Words RandomWords(std::size_t count)
    {
        Words words(count);
        std::generate(words.begin(), words.end(), [this] { return static_cast<std::uint32_t>(random_()); });
        return words;
    }

    static Bytes BytesOf(const Words& words)
    {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(words.data());
        return {bytes, bytes + words.size() * 4};
    }

    std::int64_t Between(std::int64_t first, std::int64_t last)
    {
        return std::uniform_int_distribution<std::int64_t>(first, last)(random_);
    }

    /// Ramps in both directions that stay between 0 and 32767 for `samples` samples.
    Settings RandomSettings(std::size_t samples)
    {
        Settings settings(groups_);
        const auto passes = static_cast<std::int64_t>(samples / settings.Lanes() + 1);
        for (std::size_t lane = 0; lane < settings.Lanes(); ++lane) {
            const std::int64_t first = Between(0, 32767);
            const std::int64_t last = Between(0, 32767);
            settings.Gain(lane) = static_cast<std::int32_t>(first);
            settings.Increment(lane) = static_cast<std::int32_t>((last - first) / passes);
        }
        return settings;
    }

    static Words Expected(const Words& input, Settings settings)
    {
        Words output(input.size());
        for (std::size_t i = 0; i < input.size(); ++i) {
            const std::size_t lane = i % settings.Lanes();
            const auto pass = static_cast<std::int64_t>(i / settings.Lanes());
            output[i] = models::Scaled(input[i], settings.Gain(lane) + pass * settings.Increment(lane));
        }
        return output;
    }

    /// Lengths are whole passes, except for a single group.
    std::size_t Step() const { return groups_ == 1 ? 1 : groups_ * 4; }

    void Run(const void* input, void* output, std::size_t samples, Settings settings) const
    {
        const SZtaGainRamp ramp = settings.Ramp();
        loops_.pfnApplyGainRamp(input, output, samples, &ramp);
    }

    const std::size_t groups_ = kGroupCounts[CaseIndex()];
};

TEST_P(GainLoop, EqualsTheModelAtEveryLengthAndAlignmentAndWritesNothingElse)
{
    for (std::size_t passes = 0; passes <= 300; ++passes) {
        const std::size_t samples = passes * Step();
        const Words input = RandomWords(samples);
        const Settings settings = RandomSettings(samples);
        const Bytes expected = BytesOf(Expected(input, settings));
        for (std::size_t k = 0; k < 4; ++k) {
            Bytes in(random_() % 64);
            const auto offset = static_cast<std::ptrdiff_t>(in.size());
            const Bytes bytes = BytesOf(input);
            in.insert(in.end(), bytes.begin(), bytes.end());
            PoisonedBuffer out(samples * 4, random_() % 64);
            Run(in.data() + offset, out.Data(), samples, settings);
            ASSERT_TRUE(out.Holds(expected)) << samples << " samples";
        }
    }
}

TEST_P(GainLoop, ReadsAndWritesNothingOutsideItsSamplesAndWorksInPlace)
{
    const std::size_t maxSamples = 100 * Step();
    const GuardedBuffer first(maxSamples * 4);
    const GuardedBuffer second(maxSamples * 4);
    for (std::size_t samples = 0; samples <= maxSamples; samples += Step()) {
        const Words input = RandomWords(samples);
        const Settings settings = RandomSettings(samples);
        const Bytes bytes = BytesOf(input);
        const Bytes expected = BytesOf(Expected(input, settings));
        for (bool atEnd : {false, true}) {
            for (bool inPlace : {false, true}) {
                std::uint8_t* in = atEnd ? first.End() - samples * 4 : first.Begin();
                std::uint8_t* out = inPlace ? in : atEnd ? second.End() - samples * 4 : second.Begin();
                std::copy(bytes.begin(), bytes.end(), in);
                Run(in, out, samples, settings);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out)) << samples;
                ASSERT_TRUE(inPlace || std::equal(bytes.begin(), bytes.end(), in)) << samples;
            }
        }
    }
}

TEST_P(GainLoop, EqualsTheModelForEdgeCasesAndManyRandomSamplesAtAllGains)
{
    Words words;
    for (int bit = 0; bit < 32; ++bit) {
        for (std::uint32_t near : {0xFFFFFFFFu, 0u, 1u}) {
            words.push_back((1u << bit) + near);
            words.push_back(~((1u << bit) + near));
        }
    }
    const Words random = RandomWords(64 * 40 - words.size());
    words.insert(words.end(), random.begin(), random.end());
    Words output(words.size());
    for (std::int32_t gain = 0; gain <= 32767; gain += gain < 200 || gain > 32600 ? 1 : 97) {
        Settings settings(groups_);
        for (std::size_t lane = 0; lane < settings.Lanes(); ++lane) {
            settings.Gain(lane) = gain;
        }
        Run(words.data(), output.data(), words.size(), settings);
        ASSERT_EQ(output, Expected(words, settings)) << gain;
    }
}

TEST_P(GainLoop, ClampsEachLaneToItsOwnLimits)
{
    const std::int32_t ownUpper[] = {100, 200, 300, 400};
    const std::int32_t ownLower[] = {-1000, -2000, -3000, -4000};
    Words words(3 * groups_ * 4);
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = i / 4 % 2 == 0 ? 0x7FFFFF00 : 0x80000000;
    }
    if (groups_ == 1) {
        words.insert(words.end(), {0x7FFFFF00, 0x80000000, 0x7FFFFF00});
    }
    for (const auto& [upper, lower] :
         {std::pair{ownUpper, ownLower}, std::pair{ownUpper, kLower}, std::pair{kUpper, ownLower}}) {
        Settings settings(groups_);
        for (std::size_t lane = 0; lane < settings.Lanes(); ++lane) {
            settings.Gain(lane) = 4096;
        }
        Words output(words.size());
        const SZtaGainRamp ramp = {settings.values.data(), groups_, upper, lower};
        loops_.pfnApplyGainRamp(words.data(), output.data(), words.size(), &ramp);
        for (std::size_t i = 0; i < words.size(); ++i) {
            const std::int32_t limit = words[i] == 0x80000000 ? lower[i % 4] : upper[i % 4];
            EXPECT_EQ(static_cast<std::int32_t>(output[i]), limit * 256) << i << ", " << upper[0] << ", " << lower[0];
        }
    }
}

/// Up to a gain of 1 no product exceeds the limits, so the loop may omit the clamping. One step above, products can.
TEST_P(GainLoop, ClampsFromTheFirstGainAboveOne)
{
    const Words extremes = {0x7FFFFFFF, 0x80000000, 0x7FFFFF00, 0x80000100, 0xFFFFFFFF, 0x7FFFFFE0, 0x8000001F};
    for (const std::size_t passes : {1UL, 2UL, 3UL, 4UL, 5UL, 17UL, 64UL, 129UL}) {
        Words input(passes * groups_ * 4);
        for (std::size_t i = 0; i < input.size(); ++i) {
            input[i] = extremes[i % extremes.size()];
        }
        const auto last = static_cast<std::int32_t>(passes) - 1;
        for (const std::int32_t increment : {-2, -1, 0, 1, 2}) {
            for (const std::int32_t end : {4094, 4095, 4096, 4097, 4098, 4200}) {
                for (const std::size_t lane : {std::size_t{0}, groups_ * 4 - 2, groups_ * 4 - 1}) {
                    Settings settings(groups_);
                    for (std::size_t i = 0; i < settings.Lanes(); ++i) {
                        settings.Gain(i) = 1000;
                    }
                    settings.Gain(lane) = end - last * increment;
                    settings.Increment(lane) = increment;
                    Words output(input.size());
                    Run(input.data(), output.data(), input.size(), settings);
                    ASSERT_EQ(output, Expected(input, settings)) << passes << " passes to " << end << ", " << lane;
                }
            }
        }
    }
}

TEST_P(GainLoop, MultipliesByTheLowBitsOfAGain)
{
    Settings settings(groups_);
    Settings low(groups_);
    for (std::size_t lane = 0; lane < settings.Lanes(); ++lane) {
        low.Gain(lane) = static_cast<std::int32_t>(lane * 100);
        settings.Gain(lane) = low.Gain(lane) + (lane % 2 == 0 ? -0x7FFFFFFF - 1 : 0x12340000);
        settings.Increment(lane) = -0x7FFFFFFF - 1; // the value of a NaN
    }
    const Words input = RandomWords(settings.Lanes() * 20);
    Words output(input.size());
    Run(input.data(), output.data(), input.size(), settings);
    EXPECT_EQ(output, Expected(input, low));
}

TEST_P(GainLoop, UpdatesTheStoredGainsOfMoreThanTwoGroups)
{
    Settings settings = RandomSettings(1000 * groups_ * 4);
    Settings expected = settings;
    Words words = RandomWords(999 * groups_ * 4);
    if (groups_ > 2) {
        for (std::size_t lane = 0; lane < expected.Lanes(); ++lane) {
            expected.Gain(lane) += 999 * expected.Increment(lane);
        }
    }
    const SZtaGainRamp ramp = settings.Ramp();
    loops_.pfnApplyGainRamp(words.data(), words.data(), words.size(), &ramp);
    EXPECT_EQ(settings.values, expected.values);
}

INSTANTIATE_TEST_SUITE_P(All, GainLoop, AllVariants(std::size(kGroupCounts)),
                         VariantAnd([](std::size_t i) { return std::to_string(kGroupCounts[i]) + "groups"; }));

} // namespace
} // namespace zta::test
