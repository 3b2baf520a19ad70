// The resampling function: positions, counts and times, rounding and saturation, and its memory accesses.

#include "testing/filter_signals.h"
#include "testing/filter_spec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace zta::test {
namespace {

using models::FilterPlan;
using models::TapKind;

constexpr std::int16_t kUnwritten = 0x5A5A;

struct Output {
    IppStatus status;
    std::vector<std::int16_t> samples;
    double time;
};

/// A copy at an odd address.
template <class T>
class OddCopy {
public:
    explicit OddCopy(const std::vector<T>& values) : bytes_(values.size() * sizeof(T) + 1)
    {
        std::memcpy(bytes_.data() + 1, values.data(), bytes_.size() - 1);
    }

    const T* Get() const { return reinterpret_cast<const T*>(bytes_.data() + 1); }

private:
    std::vector<std::uint8_t> bytes_;
};

class ResampleFunction : public testing::TestWithParam<SignalVariant> {
protected:
    Output Run(const std::int16_t* source, int len, double time, const IppsResamplingPolyphaseFixed_16s* filter,
               float norm = 1.0f, std::size_t capacity = 20000) const
    {
        std::vector<std::int16_t> samples(capacity, kUnwritten);
        int count = -1;
        const IppStatus status =
            GetParam().ippsResamplePolyphaseFixed_16s(source, len, samples.data(), norm, &time, &count, filter);
        for (std::size_t i = static_cast<std::size_t>(std::max(count, 0)); i < capacity; ++i) {
            EXPECT_EQ(samples[i], kUnwritten);
        }
        samples.resize(static_cast<std::size_t>(std::max(count, 0)));
        return {status, samples, time};
    }

    /// Expects the samples and the time of the reference model.
    void ExpectModel(const std::int16_t* source, int len, double time, const FilterBlock& filter,
                     float norm = 1.0f) const
    {
        SCOPED_TRACE(testing::Message() << "len " << len << ", time " << time << ", norm " << norm);
        const Output output = Run(source, len, time, filter.Get(), norm);
        const models::ResampleResult model = models::Run(source, len, norm, time, filter.Get(), false);
        EXPECT_EQ(output.samples, model.samples);
        EXPECT_EQ(output.time, model.time);
    }
};

INSTANTIATE_TEST_SUITE_P(Variants, ResampleFunction, testing::ValuesIn(SupportedSignalVariants()), SignalVariantName());

TEST_P(ResampleFunction, RejectsInThisOrderAndWritesNothing)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source(100);
    std::int16_t output = 11;
    double time = 17.5;
    int count = 13;
    const auto run = GetParam().ippsResamplePolyphaseFixed_16s;
    EXPECT_EQ(run(source.data(), 0, &output, 1.0f, &time, &count, nullptr), ippStsNullPtrErr);
    EXPECT_EQ(run(nullptr, 0, &output, 1.0f, &time, &count, filter.Get()), ippStsNullPtrErr);
    EXPECT_EQ(run(source.data(), 0, nullptr, 1.0f, &time, &count, filter.Get()), ippStsNullPtrErr);
    EXPECT_EQ(run(source.data(), 0, &output, 1.0f, nullptr, &count, filter.Get()), ippStsNullPtrErr);
    EXPECT_EQ(run(source.data(), 0, &output, 1.0f, &time, nullptr, filter.Get()), ippStsNullPtrErr);
    for (const int len : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(run(source.data(), len, &output, 1.0f, &time, &count, filter.Get()), ippStsSizeErr);
    }
    EXPECT_EQ(output, 11);
    EXPECT_EQ(time, 17.5);
    EXPECT_EQ(count, 13);
}

TEST_P(ResampleFunction, ReturnsTheSourceSampleAtAWholePosition)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(100, 3);
    const Output output = Run(source.data(), 1, 20.0, filter.Get());
    EXPECT_EQ(output.status, ippStsNoErr);
    ASSERT_EQ(output.samples.size(), 2u); // 20 and 20 + 147 / 160
    EXPECT_EQ(output.samples[0], source[20]);
    EXPECT_EQ(output.time, 20.0 + 2 * 147.0 / 160.0);
}

TEST_P(ResampleFunction, RoundsAPositionUpFromHalfAPhase)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(100, 4);
    const double time = 20.0 + 159.6 / 160.0;
    const Output two = Run(source.data(), 2, time, filter.Get());
    ASSERT_EQ(two.samples.size(), 2u);
    EXPECT_EQ(two.samples[0], source[21]);
    EXPECT_NEAR(two.time, time + 2 * 147.0 / 160.0, 1e-12);

    const Output none = Run(source.data(), 1, time, filter.Get());
    EXPECT_EQ(none.status, ippStsNoErr);
    EXPECT_TRUE(none.samples.empty());
    EXPECT_NEAR(none.time, time, 1e-14);

    // From half a phase on, a position is rounded up.
    EXPECT_EQ(Run(source.data(), 1, 20.0 + 159.51 / 160.0, filter.Get()).samples.size(), 0u);
    EXPECT_EQ(Run(source.data(), 1, 20.0 + 159.49 / 160.0, filter.Get()).samples.size(), 1u);
}

TEST_P(ResampleFunction, HasTheKnownCountAndTime)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(1041, 5);
    const Output output = Run(source.data(), 1007, 17.0, filter.Get());
    EXPECT_EQ(output.samples.size(), 1097u);
    EXPECT_DOUBLE_EQ(output.time, 1024.86875);
    ExpectModel(source.data(), 1007, 17.0, filter);
}

TEST_P(ResampleFunction, SaturatesAFullScaleConstantAtALowerRate)
{
    const FilterBlock filter = MakeFilter(GetParam(), kDown);
    bool exceedsFullScale = false;
    for (int p = 0; p < 147; ++p) {
        const auto* phaseTaps = filter.PhaseTaps<std::int16_t>(p);
        const int sum = std::accumulate(phaseTaps, phaseTaps + (p == 0 ? 33 : 32), 0);
        exceedsFullScale = exceedsFullScale || sum * 147 > 16384 * 160;
    }
    EXPECT_TRUE(exceedsFullScale);
    for (const int level : {32767, -32768}) {
        const std::vector<std::int16_t> source(2000, static_cast<std::int16_t>(level));
        ExpectModel(source.data(), 1900, 17.0, filter);
        const Output output = Run(source.data(), 1900, 17.0, filter.Get());
        EXPECT_NE(std::find(output.samples.begin(), output.samples.end(), level), output.samples.end());
    }
}

TEST_P(ResampleFunction, RoundsHalvesAwayFromZeroAndSaturates)
{
    const OnePhaseFilter<std::int16_t> one({0, 0, 1, 0, 0}, 1.0f);
    const OnePhaseFilter<std::int16_t> two({1, 0, 2, 0, 0}, 1.0f);
    const OnePhaseFilter<std::int16_t> five({1, 0, 5, 0, 1}, 1.0f);
    const struct {
        const OnePhaseFilter<std::int16_t>& filter;
        std::int16_t first;
        std::int16_t center;
        float norm;
        std::int16_t output;
    } cases[] = {
        {one, 0, 4, -0.1f, 0},
        {one, 0, 1, 0.5f, 1},
        {one, 0, -1, 0.5f, -1},
        {one, 0, 3, 0.5f, 2},
        {one, 0, -3, 0.5f, -2},
        {one, 0, 5, 0.25f, 1},
        {one, 0, -5, 0.25f, -1},
        {one, 0, -7, 0.25f, -2},
        {one, 0, 32767, 1.0f, 32767},
        {one, 0, -32768, 1.0f, -32768},
        {one, 0, 32767, 100.0f, 32767},
        {one, 0, 32767, -100.0f, -32768},
        {one, 0, -32768, 1e30f, -32768},
        {one, 0, -32768, -1e30f, 32767},
        {five, 2, 32767, 0.2f, 32767},    // 32767.4
        {five, -2, -32768, 0.2f, -32768}, // -32768.4
        {two, -1, 32767, 0.5f, 32767},    // 32766.5
        {two, 1, -32768, 0.5f, -32768},   // -32767.5
    };
    for (const auto& c : cases) {
        const std::int16_t source[5] = {c.first, 0, c.center, 0, 0};
        EXPECT_EQ(Run(source, 1, 2.0, c.filter.Get(), c.norm, 4).samples, std::vector<std::int16_t>(1, c.output))
            << &c - cases;
    }
}

TEST_P(ResampleFunction, AppliesTheNormBeforeItRounds)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(200, 6);
    for (const float norm : {0.5f, 0.123f, -1.0f, 3.0f, 0.0f}) {
        ExpectModel(source.data(), 150, 20.0, filter, norm);
    }
    EXPECT_EQ(Run(source.data(), 1, 20.0, filter.Get(), 0.5f).samples.at(0),
              static_cast<int>(std::lround(source[20] * 0.5)));
}

TEST_P(ResampleFunction, ReturnsTheMostNegativeSampleForANormThatIsNaN)
{
    const OnePhaseFilter<std::int16_t> one({0, 0, 1, 0, 0}, 1.0f);
    const std::vector<std::int16_t> source = Noise(40, 7);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Output output = Run(source.data(), 30, 2.0, one.Get(), nan, 40);
    EXPECT_EQ(output.samples, std::vector<std::int16_t>(30, -32768));
}

TEST_P(ResampleFunction, KeepsPositionsBeyond32Bits)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    // At first only the end of the positions is beyond 2^31 units, then all of them.
    for (const int index : {13421770, 13421772, 13421773, 20000000}) {
        for (const double fraction : {0.0, 0.25, 0.998}) {
            GuardedBuffer memory(static_cast<std::size_t>(index + 600) * 2);
            auto* source = reinterpret_cast<std::int16_t*>(memory.Begin());
            const std::vector<std::int16_t> noise = Noise(600, 8);
            std::copy(noise.begin(), noise.end(), source + index - 20);
            for (const int len : {1, 500}) {
                ExpectModel(source, len, index + fraction, filter);
                EXPECT_EQ(Run(source, len, index + fraction, filter.Get()).samples,
                          Run(noise.data(), len, (index + fraction) - (index - 20), filter.Get()).samples);
            }
        }
    }
}

TEST_P(ResampleFunction, ContinuesFromTheReturnedTime)
{
    for (const FilterPlan& plan : {kUp, kDown, FilterPlan{7, 3, 12, TapKind::Int16}}) {
        const FilterBlock filter = MakeFilter(GetParam(), plan);
        const std::vector<std::int16_t> source = Noise(3000, 9);
        const Output whole = Run(source.data(), 2900, 40.0, filter.Get());
        std::minstd_rand random(10);
        std::vector<std::int16_t> parts;
        double time = 40.0;
        for (int end = 40; end < 2940;) {
            const int next = std::min(2940, end + 1 + static_cast<int>(random() % 90));
            const int len = next - static_cast<int>(time);
            if (len >= 1) {
                const Output part = Run(source.data(), len, time, filter.Get());
                parts.insert(parts.end(), part.samples.begin(), part.samples.end());
                time = part.time;
            }
            end = next;
        }
        EXPECT_EQ(parts, whole.samples);
        EXPECT_NEAR(time, whole.time, 1e-9);
    }
}

TEST_P(ResampleFunction, AcceptsPositionsBeforeTheOrigin)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(200, 11);
    const models::ResampleResult model = models::Run(source.data(), 50, 1.0f, 40.0, filter.Get(), false);
    const Output output = Run(source.data() + 60, 50, -20.0, filter.Get());
    EXPECT_EQ(output.samples, model.samples);
    EXPECT_DOUBLE_EQ(output.time, model.time - 60.0);
    // A whole part of 0 includes positions up to one sample before the origin.
    EXPECT_EQ(Run(source.data() + 60, 50, -0.5, filter.Get()).samples,
              models::Run(source.data(), 51, 1.0f, 59.0 + 81.0 / 160.0, filter.Get(), false).samples);
}

TEST_P(ResampleFunction, ReadsNothingOutsideItsSamples)
{
    for (const FilterPlan& base : {FilterPlan{147, 160, 0, TapKind::Int16}, FilterPlan{160, 147, 0, TapKind::Int16},
                                   FilterPlan{1, 1, 0, TapKind::Int16}, FilterPlan{1, 3, 0, TapKind::Int16}}) {
        for (const TapKind kind : {TapKind::Int16, TapKind::Floats}) {
            for (const int length : {1, 8, 12, 16, 20, 28, 32, 36, 44, 64, 68}) {
                const FilterBlock filter = MakeFilter(GetParam(), {base.inRate, base.outRate, length, kind});
                const int half = filter.Head().halfLen;
                for (const int len : {1, 2, 3, 5, 9, 17, 700}) {
                    // From half a filter before the first position to half a filter behind the last.
                    const models::BlockHead head = filter.Head();
                    const std::int64_t last =
                        (std::int64_t{len} * head.outRate - 1) / head.inRate * head.inRate / head.outRate;
                    const std::int64_t count = half + last + half + 1;
                    GuardedBuffer memory(static_cast<std::size_t>(count) * 2);
                    auto* atEnd = reinterpret_cast<std::int16_t*>(memory.End()) - count;
                    auto* atBegin = reinterpret_cast<std::int16_t*>(memory.Begin());
                    const Output end = Run(atEnd, len, half, filter.Get(), 1.0f, 3000);
                    const Output begin = Run(atBegin, len, half, filter.Get(), 1.0f, 3000);
                    EXPECT_EQ(end.samples.size(), begin.samples.size());
                }
            }
        }
    }
}

TEST_P(ResampleFunction, WritesNothingOutsideItsOutputs)
{
    const FilterBlock filter = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(300, 12);
    for (int len = 1; len < 40; ++len) {
        const std::size_t count = models::Run(source.data(), len, 1.0f, 20.0, filter.Get(), false).samples.size();
        GuardedBuffer memory(count * 2);
        auto* output = reinterpret_cast<std::int16_t*>(memory.End()) - count;
        double time = 20.0;
        int outputs = 0;
        GetParam().ippsResamplePolyphaseFixed_16s(source.data(), len, output, 1.0f, &time, &outputs, filter.Get());
        EXPECT_EQ(static_cast<std::size_t>(outputs), count);
    }
}

/// Fails only under a sanitizer, if a variant assumes aligned samples.
TEST_P(ResampleFunction, AcceptsSamplesAtOddAddresses)
{
    for (const FilterPlan& plan : {kUp, kDown, FilterPlan{44100, 48000, 32, TapKind::Floats},
                                   FilterPlan{48000, 44100, 30, TapKind::Floats}, FilterPlan{3, 2, 1, TapKind::Int16},
                                   FilterPlan{3, 2, 36, TapKind::Int16}, FilterPlan{1, 2, 65540, TapKind::Int16}}) {
        const FilterBlock filter = MakeFilter(GetParam(), plan);
        const int half = filter.Head().halfLen;
        for (const int len : {1, 2, 3, 5, 16, 17, 40, 200, 700, 4000}) {
            if (plan.length > 1000 && len > 16) {
                continue;
            }
            const std::vector<std::int16_t> source = Noise(static_cast<std::size_t>(2 * half + len + 2), 20);
            const Output expected = Run(source.data(), len, half, filter.Get());
            std::vector<std::uint8_t> output(2 * expected.samples.size() + 2, 0x5A);
            double time = half;
            int count = 0;
            ASSERT_EQ(GetParam().ippsResamplePolyphaseFixed_16s(OddCopy(source).Get(), len,
                                                                reinterpret_cast<std::int16_t*>(output.data() + 1),
                                                                1.0f, &time, &count, filter.Get()),
                      ippStsNoErr);
            ASSERT_EQ(static_cast<std::size_t>(count), expected.samples.size());
            EXPECT_EQ(time, expected.time);
            EXPECT_EQ(std::memcmp(output.data() + 1, expected.samples.data(), 2 * expected.samples.size()), 0) << len;
            EXPECT_EQ(output.front(), 0x5A);
            EXPECT_EQ(output.back(), 0x5A);
        }
    }
}

TEST_P(ResampleFunction, AccumulatesSumsOfMoreThan32Bits)
{
    // The largest taps and samples, of each sign.
    for (const int length : {4, 8, 32, 36, 64, 400}) {
        for (const int tap : {16384, -16384, 32767, -32767}) {
            for (const auto& [in, out] : {std::pair{1, 1}, std::pair{3, 7}, std::pair{7, 3}}) {
                const FilterBlock filter = MakeFilter(GetParam(), {in, out, length, TapKind::Int16});
                for (int p = 0; p < out; ++p) {
                    auto* phaseTaps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(p));
                    std::fill(phaseTaps, phaseTaps + length + (p == 0 ? 1 : 0), static_cast<std::int16_t>(tap));
                }
                for (const int level : {32767, -32768}) {
                    const std::vector<std::int16_t> source(1200, static_cast<std::int16_t>(level));
                    for (const int len : {1, 600}) {
                        const float norm = 1.0f / static_cast<float>(2 * length);
                        SCOPED_TRACE(testing::Message() << length << " taps of " << tap << " at " << level);
                        ExpectModel(source.data(), len, 300.0, filter, norm);
                    }
                }
            }
        }
    }
}

TEST_P(ResampleFunction, AccumulatesExactlyAtTheLimitOf32Bits)
{
    // Sums of magnitudes around the largest for which 32 bits are sufficient.
    for (int excess = -40; excess <= 40; ++excess) {
        const FilterBlock filter = MakeFilter(GetParam(), {1, 1, 32, TapKind::Int16});
        auto* phaseTaps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(0));
        std::fill(phaseTaps, phaseTaps + 33, std::int16_t{1});
        phaseTaps[3] = 32767;
        phaseTaps[20] =
            static_cast<std::int16_t>(65536 - 32767 - 31 + excess > 32767 ? 32767 : 65536 - 32767 - 31 + excess);
        phaseTaps[32] = static_cast<std::int16_t>(excess > 0 ? excess + 1 : 1);
        for (const int level : {32767, -32768}) {
            const std::vector<std::int16_t> source(200, static_cast<std::int16_t>(level));
            ExpectModel(source.data(), 100, 40.0, filter, 0.25f);
        }
    }
}

TEST_P(ResampleFunction, AcceptsFiltersTooLongForPairSumsOf32Bits)
{
    const FilterBlock filter = MakeFilter(GetParam(), {1, 2, 65540, TapKind::Int16});
    for (int p = 0; p < 2; ++p) {
        auto* phaseTaps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(p));
        const std::vector<std::int16_t> taps = Noise(65541, 13);
        std::replace_copy(taps.begin(), taps.end() - (p == 0 ? 0 : 1), phaseTaps, std::int16_t{-32768},
                          std::int16_t{-32767});
    }
    for (const int level : {0, 32767, -32768}) {
        std::vector<std::int16_t> source = Noise(65540 + 40, 14);
        if (level != 0) {
            const auto* phaseTaps =
                filter.PhaseTaps<std::int16_t>(0); // all products of one sign, at the first position
            for (std::size_t i = 0; i < 65541; ++i) {
                source[i] = static_cast<std::int16_t>((phaseTaps[i] < 0) == (level < 0) ? 32767 : -32768);
            }
        }
        for (const float norm : {1.0f, 1e-5f}) {
            ExpectModel(source.data(), 10, 32770.0, filter, norm);
        }
    }
}

TEST_P(ResampleFunction, AccumulatesTheSmallestNegativePairsOfLongFilters)
{
    // Each pair sum is -1, whose lower half is the largest.
    for (const int length : {65528, 65532, 65536, 80000}) {
        const FilterBlock filter = MakeFilter(GetParam(), {1, 1, length, TapKind::Int16});
        auto* phaseTaps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(0));
        std::vector<std::int16_t> source(static_cast<std::size_t>(length + 10));
        for (int i = 0; i <= length; ++i) {
            phaseTaps[i] = static_cast<std::int16_t>(i % 2 == 0 ? -1 : 0);
            source[static_cast<std::size_t>(i)] = 1;
        }
        const Output output = Run(source.data(), 1, length / 2, filter.Get(), 8192.0f, 4);
        const int sum = -(length / 2 + 1);
        EXPECT_EQ(output.samples.at(0), sum / 2 - (sum % 2 == 0 ? 0 : 1)) << length;
    }
}

TEST_P(ResampleFunction, RoundsTheLastProductOfSinglePrecisionByVariant)
{
    const bool early = std::string(GetParam().prefix) == "m7" || std::string(GetParam().prefix) == "n8";
    // 13 * tap is a little below a half, and rounds to a half as a float.
    float tap = 0.0f;
    int factor = 3;
    for (; factor < 1000; ++factor) {
        tap = 0.5f / static_cast<float>(factor);
        const double product = static_cast<double>(tap) * factor;
        if (product < 0.5 && static_cast<float>(product) == 0.5f) {
            break;
        }
    }
    ASSERT_LT(factor, 1000);
    const auto sample = static_cast<std::int16_t>(factor);
    const std::int16_t first[5] = {sample, 0, 0, 0, 0};
    const std::int16_t last[5] = {0, 0, 0, 0, sample};
    const OnePhaseFilter<float> filter({tap, 0.0f, 0.0f, 0.0f, tap}, 1.0f);
    EXPECT_EQ(Run(first, 1, 2.0, filter.Get(), 1.0f, 4).samples.at(0), 1);
    EXPECT_EQ(Run(last, 1, 2.0, filter.Get(), 1.0f, 4).samples.at(0), early ? 1 : 0);

    // 1 / 2 - 2^-30 is a half once it is a float.
    const OnePhaseFilter<float> near({0.5f, -0x1p-30f, 0.0f, 0.0f, 0.0f}, 1.0f);
    const std::int16_t ones[5] = {1, 1, 1, 1, 1};
    EXPECT_EQ(Run(ones, 1, 2.0, near.Get(), 1.0f, 4).samples.at(0), early ? 1 : 0);
}

TEST_P(ResampleFunction, UsesOnlyTheLowestBitOfTheTapKind)
{
    const FilterBlock words = MakeFilter(GetParam(), kUp);
    const std::vector<std::int16_t> source = Noise(200, 15);
    const Output expected = Run(source.data(), 100, 40.0, words.Get());
    for (const std::int32_t kind : {0, 4, -2}) {
        std::memcpy(words.Bytes() + 16, &kind, 4);
        EXPECT_EQ(Run(source.data(), 100, 40.0, words.Get()).samples, expected.samples);
    }
    const FilterBlock floats = MakeFilter(GetParam(), {44100, 48000, 32, TapKind::Floats});
    const Output expectedFloats = Run(source.data(), 100, 40.0, floats.Get());
    const std::int32_t three = 3;
    std::memcpy(floats.Bytes() + 16, &three, 4);
    EXPECT_EQ(Run(source.data(), 100, 40.0, floats.Get()).samples, expectedFloats.samples);
}

/// A dot product of one variant.
template <class Function>
struct NamedDotProduct {
    std::string prefix;
    Function function;
};

/// Those of `products` that this CPU supports.
template <class Function>
std::vector<NamedDotProduct<Function>> Supported(std::vector<NamedDotProduct<Function>> products)
{
    const std::vector<SignalVariant> variants = SupportedSignalVariants();
    std::erase_if(products, [&](const auto& product) {
        return std::none_of(variants.begin(), variants.end(),
                            [&](const SignalVariant& variant) { return variant.prefix == product.prefix; });
    });
    return products;
}

using WordDotProduct = void (*)(const std::int16_t*, const std::int16_t*, std::int64_t*, int) noexcept;
using FloatDotProduct = void (*)(const std::int16_t*, const float*, int, double*) noexcept;

std::vector<NamedDotProduct<WordDotProduct>> WordDotProducts()
{
    auto products = Supported<WordDotProduct>({{"m7", m7_ownDotProd16_16s64s_M7},
                                               {"n8", n8_ownDotProd16_16s64s_M7},
                                               {"y8", y8_ownDotProd16_16s64s},
                                               {"e9", e9_ownDotProd16_16s64s},
                                               {"l9", l9_ownDotProd16_16s64s},
                                               {"n0", n0_ownDotProd16_16s64s},
                                               {"k0", k0_ownDotProd16_16s64s}});
    EXPECT_EQ(products.size(), SupportedSignalVariants().size());
    return products;
}

std::vector<NamedDotProduct<FloatDotProduct>> FloatDotProducts()
{
    return Supported<FloatDotProduct>({{"y8", y8_ownsDotProd_16s32f64f},
                                       {"e9", e9_ownsDotProd_16s32f64f},
                                       {"l9", l9_ownsDotProd_16s32f64f},
                                       {"n0", n0_ownsDotProd_16s32f64f},
                                       {"k0", k0_ownsDotProd_16s32f64f}});
}

/// Noise without -32768, which taps do not have.
std::vector<std::int16_t> RandomTaps(std::size_t count, unsigned seed)
{
    std::vector<std::int16_t> taps = Noise(count, seed);
    std::replace(taps.begin(), taps.end(), std::int16_t{-32768}, std::int16_t{-32767});
    return taps;
}

TEST(DotProduct, IsExactForEveryCountAlsoAtOddAddresses)
{
    const std::vector<std::int16_t> samples = Noise(300, 16);
    const std::vector<std::int16_t> taps = RandomTaps(300, 17);
    const OddCopy oddSamples(samples);
    const OddCopy oddTaps(taps);
    for (const auto& sum : WordDotProducts()) {
        std::int64_t expected = 0;
        for (int n = 0; n <= 300; ++n) {
            GuardedBuffer memory(1200);
            auto* end = reinterpret_cast<std::int16_t*>(memory.End());
            std::copy_n(samples.begin(), n, end - n);
            std::int64_t result = -1;
            sum.function(end - n, taps.data(), &result, n);
            EXPECT_EQ(result, expected) << sum.prefix << " " << n;
            result = -1;
            sum.function(oddSamples.Get(), oddTaps.Get(), &result, n);
            EXPECT_EQ(result, expected) << sum.prefix << " " << n << " at odd addresses";
            if (n < 300) {
                expected += samples[static_cast<std::size_t>(n)] * taps[static_cast<std::size_t>(n)];
            }
        }
    }
}

TEST(DotProduct, IsZeroForNegativeCounts)
{
    const GuardedBuffer samples(64);
    const GuardedBuffer taps(64);
    std::memset(samples.Begin(), 0x11, samples.Size());
    std::memset(taps.Begin(), 0x11, taps.Size());
    for (const auto& sum : WordDotProducts()) {
        for (const int n : {-1, -2, -3, -4, -5, std::numeric_limits<int>::min(), std::numeric_limits<int>::min() + 1}) {
            std::int64_t result = -1;
            sum.function(reinterpret_cast<std::int16_t*>(samples.Begin() + 16),
                         reinterpret_cast<std::int16_t*>(taps.Begin() + 16), &result, n);
            EXPECT_EQ(result, 0) << sum.prefix << " " << n;
        }
    }
}

TEST(DotProduct, IsExactForManyExtremeProducts)
{
    // The largest magnitudes, and the smallest negative pairs.
    const struct {
        std::int16_t sample;
        std::int16_t evenTap;
        std::int16_t oddTap;
    } cases[] = {
        {-32768, 32767, 32767}, {-32768, -32767, -32767}, {-32768, 16384, 16384}, {-32768, -1, -1}, {1, -1, 0}};
    for (const auto& c : cases) {
        const std::vector<std::int16_t> samples(1000003, c.sample);
        std::vector<std::int16_t> taps(samples.size(), c.evenTap);
        for (std::size_t i = 1; i < taps.size(); i += 2) {
            taps[i] = c.oddTap;
        }
        for (const auto& sum : WordDotProducts()) {
            for (const int n : {65504, 65536, 80000, 100000, 131072, 1000003}) {
                std::int64_t result = 0;
                sum.function(samples.data(), taps.data(), &result, n);
                EXPECT_EQ(result,
                          c.sample * (std::int64_t{c.evenTap} * ((n + 1) / 2) + std::int64_t{c.oddTap} * (n / 2)))
                    << sum.prefix << " " << n;
            }
        }
    }
}

TEST(DotProduct, OfSinglePrecisionComputesItsRemainderInDouble)
{
    const std::vector<std::int16_t> samples = Noise(40, 18);
    std::vector<float> taps;
    for (const std::int16_t value : Noise(40, 19)) {
        taps.push_back(static_cast<float>(value) / 77777.0f);
    }
    const OddCopy oddSamples(samples);
    const OddCopy oddTaps(taps);
    for (const auto& sum : FloatDotProducts()) {
        for (int n = 0; n <= 40; ++n) {
            long double expected = 0.0;
            for (int i = 0; i < n; ++i) {
                const auto at = static_cast<std::size_t>(i);
                expected += i < n / 4 * 4 ? static_cast<double>(static_cast<float>(samples[at]) * taps[at])
                                          : static_cast<double>(samples[at]) * static_cast<double>(taps[at]);
            }
            double result = -1.0;
            sum.function(samples.data(), taps.data(), n, &result);
            EXPECT_NEAR(result, static_cast<double>(expected), 1e-10) << sum.prefix << " " << n;
            double odd = -1.0;
            sum.function(oddSamples.Get(), oddTaps.Get(), n, &odd);
            EXPECT_EQ(odd, result) << sum.prefix << " " << n << " at odd addresses";
        }
    }
}

} // namespace
} // namespace zta::test
