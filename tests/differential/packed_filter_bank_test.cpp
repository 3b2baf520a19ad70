// The packed path, with a packed bank and with long calls that pack their own, against variant m7: the same samples,
// count and time, and no access outside the samples of the outputs.

#include "signal/packed_filter_bank.h"
#include "testing/filter_signals.h"
#include "testing/filter_spec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>

#include <immintrin.h>

namespace zta::test {
namespace {

using models::FilterPlan;
using models::TapKind;

struct PackedVariant {
    const char* prefix;
    std::uint64_t features;
    decltype(&k0_ownPackFilterBank_16s) pack;
    decltype(&k0_ippsResamplePolyphaseFixed_16s) run;
};

constexpr PackedVariant kVariants[] = {
#define ZTA_TEST_VARIANT(argument, prefix, features)                                                                   \
    {#prefix, (features), &prefix##_ownPackFilterBank_16s, &prefix##_ippsResamplePolyphaseFixed_16s},
    ZTA_IPP_VARIANT_LIST(ZTA_TEST_VARIANT, )
#undef ZTA_TEST_VARIANT
};

std::vector<PackedVariant> SupportedVariants()
{
    std::vector<PackedVariant> supported(std::begin(kVariants), std::end(kVariants));
    std::erase_if(supported, [features = ZtaDetectCpuFeatures(ZtaReadCpuid())](const PackedVariant& variant) {
        return (features & variant.features) != variant.features;
    });
    return supported;
}

FilterBlock MakeM7Filter(const FilterPlan& plan, float rollOff = 1.0f)
{
    return MakeFilter(kSignalVariants[0], plan, rollOff);
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

/// Computed by variant m7.
Output Expected(const std::int16_t* source, int len, double time, const IppsResamplingPolyphaseFixed_16s* filter,
                float norm)
{
    constexpr std::size_t capacity = 4000;
    Output output{ippStsNoErr, std::vector<std::int16_t>(capacity), time};
    int count = 0;
    output.status =
        m7_ippsResamplePolyphaseFixed_16s(source, len, output.samples.data(), norm, &output.time, &count, filter);
    output.samples.resize(static_cast<std::size_t>(count));
    return output;
}

class PackedFilterBank : public testing::TestWithParam<PackedVariant> {
protected:
    /// Runs twice: the samples of the outputs end at an inaccessible page, and so do the outputs; then both begin
    /// behind one.
    void ExpectSameOutputs(const FilterBlock& filter, SZtaPackedFilterBank* bank,
                           const std::vector<std::int16_t>& signal, int len, double time, float norm = 1.0f)
    {
        if (bank != nullptr) {
            SetPackedFilterBank(*filter.Get(), bank);
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
        const std::int64_t begin = first + (phase == 0 ? 0 : 1) - head.halfLen;
        const std::int64_t end = last + head.halfLen + 1;
        const auto bytes = static_cast<std::size_t>(end - begin) * 2;
        for (const bool atEnd : {true, false}) {
            std::uint8_t* const samples = atEnd ? source_.End() - bytes : source_.Begin();
            std::memcpy(samples, signal.data() + begin, bytes);
            std::uint8_t* const outputs = atEnd ? destination_.End() - count * 2 : destination_.Begin();
            std::memset(destination_.Begin(), kUntouched, destination_.Size());
            auto* const destination = reinterpret_cast<std::int16_t*>(outputs);
            double timeAfter = time;
            int written = 0;
            const IppStatus status = GetParam().run(reinterpret_cast<std::int16_t*>(samples) - begin, len, destination,
                                                    norm, &timeAfter, &written, filter.Get());
            ASSERT_EQ((Output{status, {destination, destination + written}, timeAfter}), expected)
                << "len " << len << ", time " << time << ", norm " << norm << ", at the end " << atEnd;
            const auto isUntouched = [](std::uint8_t byte) { return byte == kUntouched; };
            ASSERT_TRUE(std::all_of(destination_.Begin(), outputs, isUntouched));
            ASSERT_TRUE(std::all_of(outputs + count * 2, destination_.End(), isUntouched));
        }
    }

    /// Initializes a filter and packs its bank.
    FilterBlock MakePackedFilter(const FilterPlan& plan)
    {
        FilterBlock filter = MakeM7Filter(plan);
        GetParam().pack(filter.Get(), &bank_);
        return filter;
    }

    static constexpr std::uint8_t kUntouched = 0x5A;

    /// AVX2 and later.
    static bool HasPackedPath() { return (GetParam().features & keZtaFeatureAvx2) != 0; }

    SZtaPackedFilterBank bank_;
    GuardedBuffer source_{8000};
    GuardedBuffer destination_{8000};
};

INSTANTIATE_TEST_SUITE_P(Variants, PackedFilterBank, testing::ValuesIn(SupportedVariants()), SignalVariantName());

TEST_P(PackedFilterBank, GivesTheSameOutputsForEveryPhaseAndLength)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakePackedFilter(plan);
        const std::vector<std::int16_t> noise = Noise(600, 1);
        const int phases = filter.Head().outRate;
        for (int phase = 0; phase < phases; ++phase) {
            for (const int len : {1, 2, 15, 16, 17, 31, 33, 64, 147, 160, 300}) {
                ExpectSameOutputs(filter, &bank_, noise, len, 17 + static_cast<double>(phase) / phases);
            }
        }
        for (int len = 1; len <= 330; ++len) {
            ExpectSameOutputs(filter, &bank_, noise, len, 17 + static_cast<double>(len * 7 % phases) / phases);
        }
    }
}

/// Odd addresses included.
TEST_P(PackedFilterBank, GivesTheSameOutputsAtEveryAddress)
{
    constexpr int kLen = 300;
    constexpr double kTime = 17.25;
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakeM7Filter(plan);
        GetParam().pack(filter.Get(), &bank_);
        SetPackedFilterBank(*filter.Get(), &bank_);
        const std::vector<std::int16_t> noise = Noise(400, 8);
        const Output expected = Expected(noise.data(), kLen, kTime, filter.Get(), 1.0f);
        for (std::size_t offset = 0; offset < 64; ++offset) {
            std::uint8_t* const source = source_.Begin() + offset;
            std::uint8_t* const destination = destination_.Begin() + offset * 23 % 64;
            std::memcpy(source, noise.data(), noise.size() * 2);
            double time = kTime;
            int count = 0;
            const IppStatus status =
                GetParam().run(reinterpret_cast<const std::int16_t*>(source), kLen,
                               reinterpret_cast<std::int16_t*>(destination), 1.0f, &time, &count, filter.Get());
            std::vector<std::int16_t> outputs(static_cast<std::size_t>(count));
            std::memcpy(outputs.data(), destination, outputs.size() * 2);
            EXPECT_EQ((Output{status, outputs, time}), expected) << offset;
        }
    }
}

/// Each output has its taps where its samples lie in the blocks of the group, and zeros elsewhere.
TEST_P(PackedFilterBank, HasTheTapsOfEachOutputAtItsSamples)
{
    using Bank = SZtaPackedFilterBank;
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakeM7Filter(plan);
        std::memset(static_cast<void*>(&bank_), kUntouched, sizeof(bank_));
        GetParam().pack(filter.Get(), &bank_);
        if (!HasPackedPath()) {
            EXPECT_EQ(bank_.lGroups, 0);
            continue;
        }
        const models::BlockHead head = filter.Head();
        const int periods = head.outRate % Bank::kOutputs == 0 ? 1 : Bank::kMaxPeriods;
        const auto firstSample = [&](int output) {
            return output * head.inRate / head.outRate + (output % head.outRate == 0 ? 0 : 1);
        };
        const int base0 = -bank_.asGroups[0].aucOffsets[0];
        int base = base0;
        int output = 0;
        for (int g = 0; g < bank_.lGroups; ++g) {
            const Bank::SGroup& group = bank_.asGroups[g];
            if (g + 1 < bank_.lGroups) {
                EXPECT_GE(group.lOutputs, Bank::kMinGroupOutputs);
            }
            ASSERT_LE(group.lOutputs, Bank::kOutputs);
            for (int i = 0; i < Bank::kOutputs; ++i) {
                const int half = i / Bank::kHalfOutputs;
                const bool exists = i < group.lOutputs;
                const int phase = output % head.outRate * head.inRate % head.outRate;
                if (exists) {
                    EXPECT_EQ(base + group.aucOffsets[i], firstSample(output)) << output;
                    if (output < head.outRate) {
                        EXPECT_EQ(bank_.asPhasePositions[phase].ucGroup, g);
                        EXPECT_EQ(bank_.asPhasePositions[phase].ucOutput, i);
                    }
                }
                for (int sample = 0; sample < Bank::kHalfBlocks * Bank::kBlockSamples; ++sample) {
                    const int tap = sample + half * Bank::kHalfFirstBlock * Bank::kBlockSamples - group.aucOffsets[i];
                    const bool isTap = exists && tap >= 0 && tap < Bank::kTaps;
                    ASSERT_EQ(group.asTaps[half][sample / Bank::kBlockSamples][i % Bank::kHalfOutputs]
                                          [sample % Bank::kBlockSamples],
                              isTap ? filter.PhaseTaps<std::int16_t>(phase)[tap] : 0)
                        << "output " << output << ", sample " << sample;
                }
                output += exists ? 1 : 0;
            }
            base += group.lAdvance;
        }
        EXPECT_EQ(output, periods * head.outRate);
        EXPECT_EQ(base - base0, periods * head.inRate);
    }
}

TEST_P(PackedFilterBank, GivesTheSameOutputsWithANonzeroOuterTap)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakeM7Filter(plan, 0.83f);
        const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(0))[32] = -77;
        GetParam().pack(filter.Get(), &bank_);
        const std::vector<std::int16_t> noise = Noise(600, 2);
        const int phases = filter.Head().outRate;
        for (int phase = 0; phase < phases; ++phase) {
            for (const int len : {1, 40, 171}) {
                ExpectSameOutputs(filter, &bank_, noise, len, 17 + static_cast<double>(phase) / phases);
            }
        }
    }
}

TEST_P(PackedFilterBank, GivesTheSameOutputsForFullScaleSquaresAndImpulses)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakePackedFilter(plan);
        for (const std::size_t half : {1U, 2U, 3U, 5U, 16U, 100U}) {
            ExpectSameOutputs(filter, &bank_, FullScaleSquare(1200, half), 1000, 17.0);
        }
        for (const std::int16_t peak : {std::int16_t{32767}, std::int16_t{-32768}}) {
            std::vector<std::int16_t> impulse(1200);
            impulse[300] = peak;
            ExpectSameOutputs(filter, &bank_, impulse, 1000, 17.5);
        }
    }
}

TEST_P(PackedFilterBank, GivesTheSameOutputsForOtherRates)
{
    const std::pair<int, int> rates[] = {{1, 1},     {3, 2},     {2, 3},     {5, 33},  {33, 47},   {159, 160},
                                         {3, 160},   {239, 160}, {253, 160}, {51, 32}, {320, 159}, {160, 161},
                                         {147, 480}, {101, 100}, {97, 89},   {89, 97}};
    for (const auto& [in, out] : rates) {
        const FilterBlock filter = MakePackedFilter({in, out, 32, TapKind::Int16});
        const std::vector<std::int16_t> noise = Noise(1000, 3);
        const int phases = filter.Head().outRate;
        for (int phase = 0; phase < phases; ++phase) {
            const int len = std::max(1, 300 * in / std::max(in, out));
            ExpectSameOutputs(filter, &bank_, noise, len, 17 + (phase + 0.01) / phases);
        }
    }
}

TEST_P(PackedFilterBank, IsEmptyIfSumsExceed32Bits)
{
    const FilterBlock filter = MakeM7Filter(kUp);
    std::int16_t* const taps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(5));
    GetParam().pack(filter.Get(), &bank_);
    const bool hasBank = bank_.lGroups != 0;
    EXPECT_EQ(hasBank, HasPackedPath());

    // Magnitudes of 65535 in total, half of it at even indexes, and then one more.
    std::fill_n(taps, 32, std::int16_t{0});
    taps[0] = 16384;
    taps[2] = -16384;
    taps[9] = 16384;
    taps[31] = -16383;
    GetParam().pack(filter.Get(), &bank_);
    EXPECT_EQ(bank_.lGroups != 0, hasBank);
    const std::vector<std::int16_t> square = FullScaleSquare(1200, 1);
    ExpectSameOutputs(filter, &bank_, square, 1000, 17.0);
    // Some outputs have the signs of all four taps.
    ExpectSameOutputs(filter, &bank_, FullScaleSquare(1200, 2), 1000, 17.0);
    taps[4] = 1;
    GetParam().pack(filter.Get(), &bank_);
    EXPECT_EQ(bank_.lGroups, 0);
    ExpectSameOutputs(filter, &bank_, square, 1000, 17.0);
    taps[0] = -32768;
    taps[2] = -32768;
    GetParam().pack(filter.Get(), &bank_);
    EXPECT_EQ(bank_.lGroups, 0);
    ExpectSameOutputs(filter, &bank_, square, 1000, 17.0);
}

TEST_P(PackedFilterBank, IsEmptyWithANonzeroOuterTapAndForSinglePrecision)
{
    const FilterBlock filter = MakeM7Filter(kUp);
    GetParam().pack(filter.Get(), &bank_);
    EXPECT_EQ(bank_.lGroups != 0, HasPackedPath());
    const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(0))[32] = 1;
    GetParam().pack(filter.Get(), &bank_);
    EXPECT_EQ(bank_.lGroups, 0);

    bank_.lGroups = 1;
    GetParam().pack(MakeM7Filter({44100, 48000, 32, TapKind::Floats}).Get(), &bank_);
    EXPECT_EQ(bank_.lGroups, 0);
}

/// Phases with one large tap each, for chosen sums: halves, limits, and their neighbors.
TEST_P(PackedFilterBank, RoundsEverySumLikeTheScalarPath)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        for (const int tap : {1, -1, 3, 128, 8192, -8192, 16384, -16384}) {
            const FilterBlock filter = MakeM7Filter(plan);
            const int phases = filter.Head().outRate;
            for (int phase = 0; phase < phases; ++phase) {
                std::int16_t* const taps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(phase));
                std::fill_n(taps, phase == 0 ? 33 : 32, std::int16_t{0});
                taps[16] = static_cast<std::int16_t>(tap);
                // The second tap moves sums next to the halves.
                taps[20] = static_cast<std::int16_t>(phase % 3 - 1);
            }
            GetParam().pack(filter.Get(), &bank_);
            std::vector<std::int16_t> steps(1300);
            for (std::size_t i = 0; i < steps.size(); ++i) {
                const int step = static_cast<int>(i) * 51 - 32768;
                steps[i] = static_cast<std::int16_t>(i % 7 == 0 ? step / 1024 * 1024 : std::min(step, 32767));
            }
            ExpectSameOutputs(filter, &bank_, steps, 1200, 17.0);
        }
    }
}

/// One output at a time, for chosen sums: those at which the output changes, their neighbors, and the largest.
TEST_P(PackedFilterBank, RoundsSumsAroundEveryHalfLikeTheScalarPath)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakeM7Filter(plan);
        const models::BlockHead head = filter.Head();
        for (int phase = 0; phase < head.outRate; ++phase) {
            std::int16_t* const taps = const_cast<std::int16_t*>(filter.PhaseTaps<std::int16_t>(phase));
            std::fill_n(taps, phase == 0 ? 33 : 32, std::int16_t{0});
            std::fill_n(taps, 3, std::int16_t{16384});
            taps[3] = 1;
        }
        GetParam().pack(filter.Get(), &bank_);
        const double gain = 0x1p-14 * std::min(1.0, static_cast<double>(head.outRate) / head.inRate);
        std::vector<std::int16_t> samples(40);
        int phase = 0;
        const auto ExpectSameOutputsFor = [&](std::int64_t sum) {
            phase = (phase + 1) % head.outRate;
            const std::size_t first = phase == 0 ? 1 : 2;
            std::int64_t steps = sum >> 14;
            for (std::size_t i = first; i < first + 3; ++i) {
                samples[i] = static_cast<std::int16_t>(std::clamp<std::int64_t>(steps, -32768, 32767));
                steps -= samples[i];
            }
            ASSERT_EQ(steps, 0) << sum;
            samples[first + 3] = static_cast<std::int16_t>(sum & 0x3FFF);
            ExpectSameOutputs(filter, &bank_, samples, 1, 17 + static_cast<double>(phase) / head.outRate);
        };
        for (int half = -33000; half < 33000 && !HasFatalFailure(); ++half) {
            const auto sum = static_cast<std::int64_t>(std::floor((half + 0.5) / gain));
            for (std::int64_t near = sum - 1; near <= sum + 1; ++near) {
                ExpectSameOutputsFor(near);
            }
        }
        for (const std::int64_t sum : {-98304LL * 16384, -98304LL * 16384 + 1, 98301LL * 16384 + 16383}) {
            ExpectSameOutputsFor(sum);
        }
    }
}

/// The steps of any pair of rates are nearly even. A filter with other steps has no packed bank.
TEST_P(PackedFilterBank, IsEmptyIfStepsAreTooUneven)
{
    struct Change {
        int position; ///< index of an output
        int samples;
    };
    const auto HasBank = [this](std::initializer_list<Change> changes) {
        const FilterBlock filter = MakeM7Filter(kUp);
        for (const Change& change : changes) {
            std::int16_t& step = filter.Get()->pStep[change.position * 147 % 160];
            step = static_cast<std::int16_t>(step + change.samples);
        }
        GetParam().pack(filter.Get(), &bank_);
        return bank_.lGroups != 0;
    };
    // Between the third group and the fourth; the advances of the others differ by one.
    EXPECT_EQ(HasBank({{47, 6}}), HasPackedPath());
    EXPECT_FALSE(HasBank({{47, 8}}));
    // In the third group: from quad to quad, and back before the next group.
    EXPECT_EQ(HasBank({{39, 2}, {47, -2}}), HasPackedPath());
    EXPECT_FALSE(HasBank({{39, 3}, {47, -3}}));
    EXPECT_FALSE(HasBank({{39, -1}, {47, 1}}));
    EXPECT_FALSE(HasBank({{35, -12}, {47, 12}}));
    // The last output is left to the next group, but not the last two.
    EXPECT_EQ(HasBank({{46, 3}, {62, -3}}), HasPackedPath());
    EXPECT_FALSE(HasBank({{45, 3}, {61, -3}}));
    // In a quad.
    EXPECT_EQ(HasBank({{37, 1}, {47, -1}}), HasPackedPath());
    EXPECT_FALSE(HasBank({{37, 3}, {47, -3}}));
    EXPECT_FALSE(HasBank({{37, -3}, {47, 3}}));
}

TEST_P(PackedFilterBank, GivesTheSameOutputsInEveryRoundingMode)
{
    const unsigned int mode = _MM_GET_ROUNDING_MODE();
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakePackedFilter(plan);
        const std::vector<std::int16_t> noise = Noise(1300, 7);
        for (const unsigned int other : {_MM_ROUND_DOWN, _MM_ROUND_UP, _MM_ROUND_TOWARD_ZERO}) {
            _MM_SET_ROUNDING_MODE(other);
            ExpectSameOutputs(filter, &bank_, noise, 1000, 17.25);
            _MM_SET_ROUNDING_MODE(mode);
        }
    }
}

/// Each norm with the largest sums, and norms for which rounding before clamping would exceed 32 bits.
TEST_P(PackedFilterBank, GivesTheSameOutputsForEveryNorm)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakePackedFilter(plan);
        const std::vector<std::int16_t> noise = Noise(1300, 6);
        const std::vector<std::int16_t> square = FullScaleSquare(1300, 40);
        for (const float norm : {1.0f, -1.0f, 0.5f, 0.37f, 2.0f, 3.3f, 1000.0f, 8191.0f, 8192.0f, 8193.0f, 9000.0f,
                                 -8192.0f, -9000.0f, 60000.0f, 1e9f, -1e30f, 0.0f,
                                 std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
            for (SZtaPackedFilterBank* const bank : {&bank_, static_cast<SZtaPackedFilterBank*>(nullptr)}) {
                ExpectSameOutputs(filter, bank, noise, 1000, 17.25, norm);
                ExpectSameOutputs(filter, bank, square, 1000, 17.25, norm);
            }
        }
    }
}

TEST_P(PackedFilterBank, IsNotRequiredForLongCalls)
{
    for (const FilterPlan& plan : {kUp, kDown}) {
        const FilterBlock filter = MakeM7Filter(plan);
        const std::vector<std::int16_t> noise = Noise(3500, 4);
        const int phases = filter.Head().outRate;
        for (int len = 380; len <= 3400; len += len < 1000 ? 31 : 300) {
            ExpectSameOutputs(filter, nullptr, noise, len, 17 + static_cast<double>(len % phases) / phases);
        }
    }
}

TEST_P(PackedFilterBank, IsAcceptedByEveryVariant)
{
    const FilterBlock filter = MakeM7Filter(kUp);
    const std::vector<std::int16_t> noise = Noise(600, 5);
    for (const PackedVariant& other : SupportedVariants()) {
        other.pack(filter.Get(), &bank_);
        ExpectSameOutputs(filter, &bank_, noise, 500, 17.25);
    }
}

TEST_P(PackedFilterBank, DoesNotChangeTheErrors)
{
    const FilterBlock filter = MakePackedFilter(kUp);
    SetPackedFilterBank(*filter.Get(), &bank_);
    const std::vector<std::int16_t> source(100);
    std::int16_t output = 11;
    double time = 17.5;
    int count = 13;
    EXPECT_EQ(GetParam().run(nullptr, 1, &output, 1.0f, &time, &count, filter.Get()), ippStsNullPtrErr);
    EXPECT_EQ(GetParam().run(source.data(), 0, &output, 1.0f, &time, &count, filter.Get()), ippStsSizeErr);
    // A start that rounds up to the end: no output.
    EXPECT_EQ(GetParam().run(source.data(), 1, &output, 1.0f, &(time = 20.999), &count, filter.Get()), ippStsNoErr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(output, 11);
}

} // namespace
} // namespace zta::test
