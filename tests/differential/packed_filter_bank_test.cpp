// Runs on rows that were prepared for them, and long runs that prepare their own, against the m7 build's run, one
// output after the other: the same samples, count and time, and no read or write beside what belongs to the outputs.

#include "signal/packed_filter_bank.h"
#include "testing/filter_spec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>

#include <immintrin.h>

namespace {

using models::FilterPlan;
using models::TapKind;
using zta::test::FilterBlock;
using zta::test::MakeFilter;

struct PreparingBuild {
    const char* prefix;
    std::uint64_t features;
    decltype(&k0_ownPackFilterBank_16s) prepare;
    decltype(&k0_ippsResamplePolyphaseFixed_16s) run;
};

constexpr PreparingBuild kBuilds[] = {
#define ZTA_TEST_VARIANT(argument, prefix, features)                                                                   \
    {#prefix, (features), &prefix##_ownPackFilterBank_16s, &prefix##_ippsResamplePolyphaseFixed_16s},
    ZTA_IPP_VARIANT_LIST(ZTA_TEST_VARIANT, )
#undef ZTA_TEST_VARIANT
};

std::vector<PreparingBuild> Executable()
{
    const std::uint64_t features = ZtaDetectCpuFeatures(ZtaReadCpuid());
    std::vector<PreparingBuild> executable;
    std::copy_if(std::begin(kBuilds), std::end(kBuilds), std::back_inserter(executable),
                 [features](const PreparingBuild& build) { return (features & build.features) == build.features; });
    return executable;
}

FilterBlock FilterOf(const FilterPlan& plan, float rollOff = 1.0f)
{
    return MakeFilter(zta::test::signalBuilds[0], plan, rollOff);
}

std::vector<std::int16_t> Noise(std::size_t count, unsigned seed)
{
    std::minstd_rand random(seed);
    std::uniform_int_distribution<int> values(-32768, 32767);
    std::vector<std::int16_t> noise(count);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::int16_t>(values(random)); });
    return noise;
}

std::vector<std::int16_t> FullScaleSquare(std::size_t count, std::size_t half)
{
    std::vector<std::int16_t> square(count);
    for (std::size_t i = 0; i < count; ++i) {
        square[i] = i / half % 2 == 0 ? 32767 : -32768;
    }
    return square;
}

struct Output {
    IppStatus status;
    std::vector<std::int16_t> samples;
    double time;

    bool operator==(const Output&) const = default;
};

/// By the m7 build, one output at a time.
Output Expected(const std::int16_t* source, int len, double time, const IppsResamplingPolyphaseFixed_16s* filter,
                float norm)
{
    constexpr std::size_t room = 4000;
    Output output{ippStsNoErr, std::vector<std::int16_t>(room), time};
    int count = 0;
    output.status =
        m7_ippsResamplePolyphaseFixed_16s(source, len, output.samples.data(), norm, &output.time, &count, filter);
    output.samples.resize(static_cast<std::size_t>(count));
    return output;
}

class PreparedRows : public testing::TestWithParam<PreparingBuild> {
protected:
    /// With the samples that belong to the outputs between two pages that must not be touched, and the outputs right
    /// before one.
    void ExpectTheSame(const FilterBlock& filter, SZtaPackedFilterBank* rows, const std::vector<std::int16_t>& signal,
                       int len, double time, float norm = 1.0f)
    {
        if (rows != nullptr) {
            SetPackedFilterBank(*filter.Get(), rows);
        } else {
            filter.Get()->ulPackedBankKey = 0;
        }
        const Output expected = Expected(signal.data(), len, time, filter.Get(), norm);
        const auto count = static_cast<std::int64_t>(expected.samples.size());
        const models::BlockHead head = filter.Head();
        // In units of 1 / outRate sample, from the first output's whole position on.
        const auto first = static_cast<std::int64_t>(time);
        const auto phase = static_cast<std::int64_t>((time - static_cast<double>(first)) * head.outRate + 0.5);
        const std::int64_t last = first + (phase + (count > 0 ? count - 1 : 0) * head.inRate) / head.outRate;
        const auto samples = static_cast<std::size_t>(last + head.halfLen + 1);

        std::memcpy(source_.End() - samples * 2, signal.data(), samples * 2);
        std::int16_t* const destination = reinterpret_cast<std::int16_t*>(destination_.End()) - count;
        std::memset(destination_.Begin(), 0x5A, destination_.Size());
        double timeAfter = time;
        int written = 0;
        const IppStatus status = GetParam().run(reinterpret_cast<std::int16_t*>(source_.End()) - samples, len,
                                                destination, norm, &timeAfter, &written, filter.Get());
        ASSERT_EQ((Output{status, {destination, destination + written}, timeAfter}), expected)
            << "len " << len << ", time " << time << ", norm " << norm;
        ASSERT_TRUE(std::all_of(destination_.Begin(), reinterpret_cast<std::uint8_t*>(destination),
                                [](std::uint8_t byte) { return byte == 0x5A; }));
    }

    /// The builds for AVX2 and what came after it.
    static bool PreparesRows() { return (GetParam().features & keZtaFeatureAvx2) != 0; }

    SZtaPackedFilterBank rows_;
    GuardedBuffer source_{20000};
    GuardedBuffer destination_{20000};
};

INSTANTIATE_TEST_SUITE_P(Builds, PreparedRows, testing::ValuesIn(Executable()), zta::test::SignalBuildName());

constexpr FilterPlan kUp{44100, 48000, 32, TapKind::Words};
constexpr FilterPlan kDown{48000, 44100, 32, TapKind::Words};

TEST_P(PreparedRows, GiveTheSameFromEveryPhaseForEveryLength)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan);
        GetParam().prepare(filter.Get(), &rows_);
        const std::vector<std::int16_t> noise = Noise(600, 1);
        const int phases = filter.Head().outRate;
        for (int phase = 0; phase < phases; ++phase) {
            for (const int len : {1, 2, 15, 16, 17, 31, 33, 64, 147, 160, 300}) {
                ExpectTheSame(filter, &rows_, noise, len, 17 + static_cast<double>(phase) / phases);
            }
        }
        for (int len = 1; len <= 330; ++len) {
            ExpectTheSame(filter, &rows_, noise, len, 17 + static_cast<double>(len * 7 % phases) / phases);
        }
    }
}

TEST_P(PreparedRows, GiveTheSameWhereTheOutermostTapIsNotZero)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan, 0.83f);
        const_cast<std::int16_t*>(filter.Row<std::int16_t>(0))[32] = -77;
        GetParam().prepare(filter.Get(), &rows_);
        const std::vector<std::int16_t> noise = Noise(600, 2);
        const int phases = filter.Head().outRate;
        for (int phase = 0; phase < phases; ++phase) {
            for (const int len : {1, 40, 171}) {
                ExpectTheSame(filter, &rows_, noise, len, 17 + static_cast<double>(phase) / phases);
            }
        }
    }
}

TEST_P(PreparedRows, GiveTheSameOnFullScaleSquaresAndImpulses)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan);
        GetParam().prepare(filter.Get(), &rows_);
        for (const std::size_t half : {1U, 2U, 3U, 5U, 16U, 100U}) {
            ExpectTheSame(filter, &rows_, FullScaleSquare(1200, half), 1000, 17.0);
        }
        for (const std::int16_t peak : {std::int16_t{32767}, std::int16_t{-32768}}) {
            std::vector<std::int16_t> impulse(1200);
            impulse[300] = peak;
            ExpectTheSame(filter, &rows_, impulse, 1000, 17.5);
        }
    }
}

TEST_P(PreparedRows, GiveTheSameForOtherRates)
{
    struct Rates {
        int in;
        int out;
    };
    for (const Rates rates : {Rates{1, 1},
                              {3, 2},
                              {2, 3},
                              {5, 33},
                              {33, 47},
                              {159, 160},
                              {3, 160},
                              {239, 160},
                              {253, 160},
                              {51, 32},
                              {320, 159},
                              {160, 161},
                              {147, 480}}) {
        const FilterBlock filter = FilterOf({rates.in, rates.out, 32, TapKind::Words});
        GetParam().prepare(filter.Get(), &rows_);
        const std::vector<std::int16_t> noise = Noise(1000, 3);
        const int phases = filter.Head().outRate;
        for (int phase = 0; phase < phases; ++phase) {
            const int len = std::max(1, 300 * rates.in / std::max(rates.in, rates.out));
            ExpectTheSame(filter, &rows_, noise, len, 17 + (phase + 0.01) / phases);
        }
    }
}

TEST_P(PreparedRows, AreLeftEmptyWhereSumsPass32Bits)
{
    const FilterBlock filter = FilterOf(kUp);
    std::int16_t* const row = const_cast<std::int16_t*>(filter.Row<std::int16_t>(5));
    GetParam().prepare(filter.Get(), &rows_);
    const bool prepares = rows_.lGroups != 0;
    EXPECT_EQ(prepares, PreparesRows());

    // 65535 together, half of it in the even places, and then one more.
    std::fill_n(row, 32, std::int16_t{0});
    row[0] = 16384;
    row[2] = -16384;
    row[9] = 16384;
    row[31] = -16383;
    GetParam().prepare(filter.Get(), &rows_);
    EXPECT_EQ(rows_.lGroups != 0, prepares);
    const std::vector<std::int16_t> square = FullScaleSquare(1200, 1);
    ExpectTheSame(filter, &rows_, square, 1000, 17.0);
    // Somewhere this has the signs of all four taps.
    ExpectTheSame(filter, &rows_, FullScaleSquare(1200, 2), 1000, 17.0);
    row[4] = 1;
    GetParam().prepare(filter.Get(), &rows_);
    EXPECT_EQ(rows_.lGroups, 0);
    ExpectTheSame(filter, &rows_, square, 1000, 17.0);
    row[0] = -32768;
    row[2] = -32768;
    GetParam().prepare(filter.Get(), &rows_);
    EXPECT_EQ(rows_.lGroups, 0);
    ExpectTheSame(filter, &rows_, square, 1000, 17.0);
}

TEST_P(PreparedRows, AreLeftEmptyWhereTheOutermostTapIsNotZero)
{
    const FilterBlock filter = FilterOf(kUp);
    std::int16_t* const row = const_cast<std::int16_t*>(filter.Row<std::int16_t>(0));
    GetParam().prepare(filter.Get(), &rows_);
    EXPECT_EQ(rows_.lGroups != 0, PreparesRows());
    row[32] = 1;
    GetParam().prepare(filter.Get(), &rows_);
    EXPECT_EQ(rows_.lGroups, 0);
}

/// Rows with one tap each, so that sums are as chosen: halves, limits, and what lies next to them.
TEST_P(PreparedRows, RoundEverySumLikeTheRunWithoutThem)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        for (const int tap : {1, -1, 3, 128, 8192, -8192, 16384, -16384}) {
            const FilterBlock filter = FilterOf(plan);
            const int phases = filter.Head().outRate;
            for (int phase = 0; phase < phases; ++phase) {
                std::int16_t* const row = const_cast<std::int16_t*>(filter.Row<std::int16_t>(phase));
                std::fill_n(row, phase == 0 ? 33 : 32, std::int16_t{0});
                row[16] = static_cast<std::int16_t>(tap);
                // The second tap brings the sums beside the halves.
                row[20] = static_cast<std::int16_t>(phase % 3 - 1);
            }
            GetParam().prepare(filter.Get(), &rows_);
            std::vector<std::int16_t> steps(1300);
            for (std::size_t i = 0; i < steps.size(); ++i) {
                const int step = static_cast<int>(i) * 51 - 32768;
                steps[i] = static_cast<std::int16_t>(i % 7 == 0 ? step / 1024 * 1024 : std::min(step, 32767));
            }
            ExpectTheSame(filter, &rows_, steps, 1200, 17.0);
        }
    }
}

/// One output at a time, of a sum as chosen: those between which the outputs change, upwards and downwards, what lies
/// next to them, and the largest.
TEST_P(PreparedRows, RoundTheSumsAroundEveryHalfLikeTheRunWithoutThem)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan);
        const models::BlockHead head = filter.Head();
        for (int phase = 0; phase < head.outRate; ++phase) {
            std::int16_t* const row = const_cast<std::int16_t*>(filter.Row<std::int16_t>(phase));
            std::fill_n(row, phase == 0 ? 33 : 32, std::int16_t{0});
            std::fill_n(row, 3, std::int16_t{16384});
            row[3] = 1;
        }
        GetParam().prepare(filter.Get(), &rows_);
        const double gain = 0x1p-14 * std::min(1.0, static_cast<double>(head.outRate) / head.inRate);
        std::vector<std::int16_t> samples(40);
        int phase = 0;
        const auto ExpectTheSameFor = [&](std::int64_t sum) {
            phase = (phase + 1) % head.outRate;
            const std::size_t first = phase == 0 ? 1 : 2;
            std::int64_t steps = sum >> 14;
            for (std::size_t i = first; i < first + 3; ++i) {
                samples[i] = static_cast<std::int16_t>(std::clamp<std::int64_t>(steps, -32768, 32767));
                steps -= samples[i];
            }
            ASSERT_EQ(steps, 0) << sum;
            samples[first + 3] = static_cast<std::int16_t>(sum & 0x3FFF);
            ExpectTheSame(filter, &rows_, samples, 1, 17 + static_cast<double>(phase) / head.outRate);
        };
        for (int half = -33000; half < 33000 && !HasFatalFailure(); ++half) {
            const auto sum = static_cast<std::int64_t>(std::floor((half + 0.5) / gain));
            for (std::int64_t near = sum - 1; near <= sum + 1; ++near) {
                ExpectTheSameFor(near);
            }
        }
        for (const std::int64_t sum : {-98304LL * 16384, -98304LL * 16384 + 1, 98301LL * 16384 + 16383}) {
            ExpectTheSameFor(sum);
        }
    }
}

/// What follows from rates is nearly even. A filter that says otherwise has no rows.
TEST_P(PreparedRows, AreLeftEmptyWhereStepsAreTooUneven)
{
    struct Change {
        int place; ///< of an output, in the order of the run
        int samples;
    };
    const auto Prepares = [this](std::initializer_list<Change> changes) {
        const FilterBlock filter = FilterOf(kUp);
        for (const Change& change : changes) {
            std::int16_t& step = filter.Get()->pStep[change.place * 147 % 160];
            step = static_cast<std::int16_t>(step + change.samples);
        }
        GetParam().prepare(filter.Get(), &rows_);
        return rows_.lGroups != 0;
    };
    // Between the third group and the fourth; what the others advance by differs by one.
    EXPECT_EQ(Prepares({{47, 6}}), PreparesRows());
    EXPECT_FALSE(Prepares({{47, 8}}));
    // In the third group: from quad to quad, and back before the next group.
    EXPECT_EQ(Prepares({{39, 9}, {47, -9}}), PreparesRows());
    EXPECT_FALSE(Prepares({{39, 12}, {47, -12}}));
    EXPECT_FALSE(Prepares({{35, -12}, {47, 12}}));
    // In a quad.
    EXPECT_EQ(Prepares({{37, 1}, {47, -1}}), PreparesRows());
    EXPECT_FALSE(Prepares({{37, 3}, {47, -3}}));
    EXPECT_FALSE(Prepares({{37, -3}, {47, 3}}));
}

TEST_P(PreparedRows, GiveTheSameHoweverTheHostRounds)
{
    const unsigned int mode = _MM_GET_ROUNDING_MODE();
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan);
        GetParam().prepare(filter.Get(), &rows_);
        const std::vector<std::int16_t> noise = Noise(1300, 7);
        for (const unsigned int other : {_MM_ROUND_DOWN, _MM_ROUND_UP, _MM_ROUND_TOWARD_ZERO}) {
            _MM_SET_ROUNDING_MODE(other);
            ExpectTheSame(filter, &rows_, noise, 1000, 17.25);
            _MM_SET_ROUNDING_MODE(mode);
        }
    }
}

/// Each norm times the largest sums, and those that a rounding before the limits would carry beyond 32 bits.
TEST_P(PreparedRows, GiveTheSameForEveryNorm)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan);
        GetParam().prepare(filter.Get(), &rows_);
        const std::vector<std::int16_t> noise = Noise(1300, 6);
        const std::vector<std::int16_t> square = FullScaleSquare(1300, 40);
        for (const float norm : {1.0f, -1.0f, 0.5f, 0.37f, 2.0f, 3.3f, 1000.0f, 8191.0f, 8192.0f, 8193.0f, 9000.0f,
                                 -8192.0f, -9000.0f, 60000.0f, 1e9f, -1e30f, 0.0f,
                                 std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
            for (SZtaPackedFilterBank* const rows : {&rows_, static_cast<SZtaPackedFilterBank*>(nullptr)}) {
                ExpectTheSame(filter, rows, noise, 1000, 17.25, norm);
                ExpectTheSame(filter, rows, square, 1000, 17.25, norm);
            }
        }
    }
}

TEST_P(PreparedRows, AreLeftEmptyForSinglePrecision)
{
    const FilterBlock filter = FilterOf({44100, 48000, 32, TapKind::Floats});
    rows_.lGroups = 1;
    GetParam().prepare(filter.Get(), &rows_);
    EXPECT_EQ(rows_.lGroups, 0);
}

TEST_P(PreparedRows, LongRunsGiveTheSameWithoutAny)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = FilterOf(plan);
        const std::vector<std::int16_t> noise = Noise(3500, 4);
        const int phases = filter.Head().outRate;
        for (int len = 380; len <= 3400; len += len < 1000 ? 31 : 300) {
            ExpectTheSame(filter, nullptr, noise, len, 17 + static_cast<double>(len % phases) / phases);
        }
    }
}

TEST_P(PreparedRows, ServeTheRunsOfEveryBuild)
{
    const FilterBlock filter = FilterOf(kUp);
    const std::vector<std::int16_t> noise = Noise(600, 5);
    for (const PreparingBuild& other : Executable()) {
        other.prepare(filter.Get(), &rows_);
        ExpectTheSame(filter, &rows_, noise, 500, 17.25);
    }
}

TEST_P(PreparedRows, RefuseLikeTheRunWithoutThem)
{
    const FilterBlock filter = FilterOf(kUp);
    GetParam().prepare(filter.Get(), &rows_);
    SetPackedFilterBank(*filter.Get(), &rows_);
    const std::vector<std::int16_t> source(100);
    std::int16_t output = 11;
    double time = 17.5;
    int count = 13;
    EXPECT_EQ(GetParam().run(nullptr, 1, &output, 1.0f, &time, &count, filter.Get()), ippStsNullPtrErr);
    EXPECT_EQ(GetParam().run(source.data(), 0, &output, 1.0f, &time, &count, filter.Get()), ippStsSizeErr);
    // A start that rounds up to the end: nothing to put out.
    EXPECT_EQ(GetParam().run(source.data(), 1, &output, 1.0f, &(time = 20.999), &count, filter.Get()), ippStsNoErr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(output, 11);
}

} // namespace
