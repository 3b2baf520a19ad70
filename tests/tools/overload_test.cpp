// Floats beyond full scale on their way to integers.
#include "tests/tools/command_test.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class Overload : public CommandTest {
protected:
    Sound Converts(const Sound& sound, const std::vector<std::string>& options)
    {
        Run({"convert", Write("in.wav", sound), File("out.wav")}, options);
        return last_.exitCode == 0 ? ReadSound(File("out.wav")) : Sound{};
    }

    const Sound hot_ = Floats({1.0F, -1.0F, 1.5F, -1.5F, 0.5F, kNan, kInfinity, -kInfinity, 0x1.000002p0F});
};

TEST_F(Overload, IsClippedAndCounted)
{
    for (const std::string format : {"16", "24in32", "24in24"}) {
        SCOPED_TRACE(format);
        ExpectSame(Converts(hot_, {"--format", format}), Converted(Limited(hot_, format), format));
        EXPECT_EQ(last_.errors, OverloadLine(File("in.wav"), 6));
        Converts(hot_, {"--format", format, "--quiet"});
        EXPECT_EQ(last_.errors, OverloadLine(File("in.wav"), 6));
    }
}

TEST_F(Overload, BringsFullScaleToTheLargestSample)
{
    const Sound sound = Floats({1.0F, -1.0F});
    EXPECT_EQ(Converts(sound, {"--format", "24in32"}).words, (std::vector<std::int32_t>{0x7FFFFF00, INT32_MIN}));
    EXPECT_EQ(last_.errors, "");
    EXPECT_EQ(Converts(sound, {"--format", "16"}).words, (std::vector<std::int32_t>{32767, -32767}));
    EXPECT_EQ(last_.errors, "");
}

TEST_F(Overload, IsLeftToTheEngineIfTheUserWants)
{
    const Sound sound = Floats({1.0F, -1.0F, 1.5F, -1.5F, 0.5F, kNan});
    ExpectSame(Converts(sound, {"--format", "24in32", "--overload", "wrap"}), Converted(sound, "24in32"));
    EXPECT_EQ(last_.errors, OverloadLine(File("in.wav"), 4, "wrapped around"));
    EXPECT_EQ(ReadSound(File("out.wav")).words[0], INT32_MIN);
    // 1.0 is the highest 16-bit sample; the NaN and the two beyond full scale wrap.
    ExpectSame(Converts(sound, {"--format", "16", "--overload", "wrap"}), Converted(sound, "16"));
    EXPECT_EQ(last_.errors, OverloadLine(File("in.wav"), 3, "wrapped around"));
}

TEST_F(Overload, IsNoneWhereFloatsStayFloats)
{
    ExpectSame(Converts(hot_, {}), hot_);
    EXPECT_EQ(last_.errors, "");
    ExpectSame(Converts(hot_, {"--guard"}), hot_);
    EXPECT_EQ(last_.errors, "");
}

TEST_F(Overload, IsAvoidedByGuard)
{
    Sound sound = Noise(SF_FORMAT_FLOAT, 3, 5000);
    std::vector<float> values;
    for (const std::int32_t word : sound.words) {
        values.push_back(1.4F * std::bit_cast<float>(word));
    }
    sound = Floats(values, 3);
    const Sound out = Converts(sound, {"--format", "16", "--guard", "--quiet"});
    EXPECT_EQ(last_.errors, "ztaudio: " + File("in.wav") + ": level lowered by 2.92 dB\n");
    ASSERT_EQ(out.words.size(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_NEAR(out.words[i], std::trunc(values[i] / 1.4 * 32767), 1) << i;
    }
}

TEST_F(Overload, IsAvoidedByAGainBeforeTheConversion)
{
    const Sound sound = Floats({1.5F, -1.5F, 0.5F, 1.0F, 1.9F, 2.0F}, 2);
    EXPECT_EQ(Converts(sound, {"--format", "24in32", "--gain", "0.5"}).words,
              Converted(Limited(Floats({0.75F, -0.75F, 0.25F, 0.5F, 0.95F, 1.0F}, 2), "24in32"), "24in32").words);
    EXPECT_EQ(last_.errors, "");
    ExpectSame(Converts(sound, {"--gain", "2=1:0"}), Floats({1.5F, -1.5F, 0.5F, 0.5F, 1.9F, 0.0F}, 2));
}

} // namespace
