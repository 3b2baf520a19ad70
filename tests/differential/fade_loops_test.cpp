// The fade loops of every variant that this CPU supports, compared with reference models in wide integers.

#include "testing/guarded_buffer.h"
#include "testing/models/gain_model.h"
#include "tests/differential/loop_test.h"

#include <cstring>

namespace zta::test {
namespace {

constexpr unsigned long kWordCounts[] = {1, 2, 3, 4, 5, 6, 8, 12, 16, 32, 64, 65};
constexpr std::ptrdiff_t kSteps[] = {1, -1, 0, 2, -3};
constexpr unsigned long kMaxFrames = 130;

// Reference models of one sample. Results wrap to the size of the sample.

struct Int16Model {
    static constexpr std::int64_t kMaxGain = 65535;

    static std::uint16_t Apply(std::uint16_t word, std::uint16_t gain)
    {
        return static_cast<std::uint16_t>(
            models::FloorDivide(static_cast<std::int16_t>(word) * std::int64_t{gain}, 32768));
    }
};

struct StereoInt16Model {
    static constexpr std::int64_t kMaxGain = 32767;

    static std::uint32_t Apply(std::uint32_t word, std::uint16_t gain)
    {
        const auto left = static_cast<std::uint16_t>(word % 65536);
        const auto right = static_cast<std::uint16_t>(word / 65536);
        const bool negative = left >= 32768 && gain != 0;
        return Int16Model::Apply(left, gain) | Int16Model::Apply(right, gain) * 65536u | (negative ? 65536u : 0u);
    }
};

struct Int24In32Model {
    static constexpr std::int64_t kMaxGain = 0xFFFFFFFF;

    static std::uint32_t Apply(std::uint32_t word, std::uint32_t gain)
    {
        const std::int64_t product = std::int64_t{static_cast<std::int32_t>(word)} * static_cast<std::int32_t>(gain);
        return static_cast<std::uint32_t>(2 * models::FloorDivide(product, std::int64_t{1} << 32));
    }
};

struct MuxInt24In32Model {
    static constexpr std::int64_t kMaxGain = 0xFFFFFFFF;

    static std::uint32_t Apply(std::uint32_t word, std::uint32_t gain)
    {
        const auto high = static_cast<std::uint32_t>(models::FloorDivide(static_cast<std::int32_t>(word), 65536));
        const auto low = static_cast<std::int32_t>(word % 65536 / 2 * gain);
        return 2 * (high * gain + static_cast<std::uint32_t>(models::FloorDivide(low, 32768)));
    }
};

template <class Model, class Gain>
class Fade {
public:
    explicit Fade(ZtaFade<Gain> fade) : loop_(fade) {}

    void AtEveryLength()
    {
        for (const unsigned long words : kWordCounts) {
            for (unsigned long frames = 0; frames <= kMaxFrames; ++frames) {
                for (const std::ptrdiff_t step : kSteps) {
                    if (std::abs(step) != 1 && frames % 13 != 0) {
                        continue;
                    }
                    const std::size_t bytes = words * frames * sizeof(Word);
                    ASSERT_NO_FATAL_FAILURE(Check(buffer_.Begin(), words, frames, step, frames % 2 == 0));
                    ASSERT_NO_FATAL_FAILURE(Check(buffer_.End() - bytes, words, frames, step, frames % 2 != 0));
                }
            }
        }
    }

    void AtEveryAlignment()
    {
        constexpr std::size_t kZone = 64;
        for (const unsigned long words : {1UL, 2UL, 4UL, 8UL, 16UL}) {
            for (std::size_t offset = kZone; offset < kZone + 64; ++offset) {
                const unsigned long frames = 30 + random_() % 100;
                const std::size_t end = offset + words * frames * sizeof(Word);
                std::fill(buffer_.Begin(), buffer_.Begin() + end + kZone, kPoison);
                ASSERT_NO_FATAL_FAILURE(Check(buffer_.Begin() + offset, words, frames, offset % 2 == 0 ? 1 : -1, true));
                ASSERT_TRUE(std::all_of(buffer_.Begin(), buffer_.Begin() + offset, IsPoison));
                ASSERT_TRUE(std::all_of(buffer_.Begin() + end, buffer_.Begin() + end + kZone, IsPoison));
            }
        }
    }

private:
    using Word = decltype(Model::Apply(0, 0));

    /// Three quarters of the gains are at most 32767.
    Gain RandomGain()
    {
        const std::int64_t max = random_() % 4 == 0 ? Model::kMaxGain : 32767;
        constexpr std::int64_t kEdgeCases[] = {0, 1, 16383, 16384, 16385, 32767, 32768, 49151, 49152, 65535};
        const std::int64_t value = random_() % 4 == 0 ? kEdgeCases[random_() % std::size(kEdgeCases)]
                                                      : std::uniform_int_distribution<std::int64_t>(0, max)(random_);
        return static_cast<Gain>(std::min(value, Model::kMaxGain));
    }

    Word RandomWord()
    {
        constexpr std::uint32_t kEdgeCases[] = {0,          1,          0xFFFF,     0x7FFF,     0x8000,     0x10000,
                                                0xFFFFFFFF, 0x7FFFFFFF, 0x80000000, 0x80008000, 0x7FFF8000, 0x00018000};
        return static_cast<Word>(random_() % 3 == 0 ? kEdgeCases[random_() % std::size(kEdgeCases)] : random_());
    }

    /// Fades random frames at the given address, with the gains next to a guard page.
    void Check(std::uint8_t* at, unsigned long words, unsigned long frames, std::ptrdiff_t step, bool gainsAtEnd)
    {
        const std::size_t reach =
            step == 0 ? 1 : (frames == 0 ? 0 : (frames - 1) * static_cast<std::size_t>(std::abs(step)) + 1);
        const std::size_t gainBytes = reach * sizeof(Gain);
        std::uint8_t* const gainsAt = gainsAtEnd ? gains_.End() - gainBytes : gains_.Begin();
        std::vector<Gain> gains(reach);
        std::generate(gains.begin(), gains.end(), [this] { return RandomGain(); });
        if (reach != 0) {
            std::memcpy(gainsAt, gains.data(), gainBytes);
        }
        std::vector<Word> input(words * frames);
        std::generate(input.begin(), input.end(), [this] { return RandomWord(); });
        if (!input.empty()) {
            std::memcpy(at, input.data(), input.size() * sizeof(Word));
        }
        const auto* first = reinterpret_cast<const Gain*>(gainsAt) + (step < 0 && reach != 0 ? reach - 1 : 0);
        loop_(at, words, frames, first, step);
        for (std::size_t i = 0; i < input.size(); ++i) {
            Word actual;
            std::memcpy(&actual, at + i * sizeof(Word), sizeof(Word));
            const Gain gain = first[static_cast<std::ptrdiff_t>(i / words) * step];
            ASSERT_EQ(actual, Model::Apply(input[i], gain))
                << "word " << i << " (" << input[i] << " by " << gain << ") of " << frames << " frames of " << words
                << ", step " << step;
        }
        ASSERT_TRUE(reach == 0 || std::memcmp(gainsAt, gains.data(), gainBytes) == 0) << "the gains were changed";
    }

    ZtaFade<Gain> loop_;
    std::mt19937 random_{77};
    GuardedBuffer buffer_{65 * kMaxFrames * sizeof(Word) + 256};
    GuardedBuffer gains_{3 * kMaxFrames * sizeof(Gain)};
};

struct Op {
    const char* name;
    void (*atEveryLength)(const SZtaSampleLoops& loops);
    void (*atEveryAlignment)(const SZtaSampleLoops& loops);
};

#define ZTA_TEST_ENTRY(op, bytes, gains)                                                                               \
    {#op,                                                                                                              \
     [](const SZtaSampleLoops& l) { Fade<op##Model, decltype(gains)::value_type>(l.pfnFade##op).AtEveryLength(); },    \
     [](const SZtaSampleLoops& l) {                                                                                    \
         Fade<op##Model, decltype(gains)::value_type>(l.pfnFade##op).AtEveryAlignment();                               \
     }},
constexpr Op kOps[] = {ZTA_FADE_LOOP_LIST(ZTA_TEST_ENTRY)};
#undef ZTA_TEST_ENTRY

class FadeLoop : public LoopTest {};

TEST_P(FadeLoop, EqualsTheModelAtEveryLengthAndReadsNoOtherGain)
{
    kOps[CaseIndex()].atEveryLength(loops_);
}

TEST_P(FadeLoop, EqualsTheModelAtEveryAlignmentAndWritesNothingElse)
{
    kOps[CaseIndex()].atEveryAlignment(loops_);
}

INSTANTIATE_TEST_SUITE_P(All, FadeLoop, AllVariants(std::size(kOps)),
                         VariantAnd([](std::size_t i) { return kOps[i].name; }));

} // namespace
} // namespace zta::test
