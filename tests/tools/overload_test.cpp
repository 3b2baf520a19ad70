// Floats beyond full scale on their way to integers.
#include "tests/tools/command_test.h"

#include <algorithm>
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
        return Output({"convert", Write("in.wav", sound), File("out.wav")}, options);
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
    EXPECT_EQ(Converts(sound, {"--format", "24in32"}).samples, (std::vector<std::int32_t>{0x7FFFFF00, INT32_MIN}));
    EXPECT_EQ(last_.errors, "");
    EXPECT_EQ(Converts(sound, {"--format", "16"}).samples, (std::vector<std::int32_t>{32767, -32767}));
    EXPECT_EQ(last_.errors, "");
}

TEST_F(Overload, IsLeftToTheEngineIfTheUserWants)
{
    const Sound sound = Floats({1.0F, -1.0F, 1.5F, -1.5F, 0.5F, kNan});
    ExpectSame(Converts(sound, {"--format", "24in32", "--overload", "wrap"}), Converted(sound, "24in32"));
    EXPECT_EQ(last_.errors, OverloadLine(File("in.wav"), 4, "wrapped around"));
    EXPECT_EQ(ReadSound(File("out.wav")).samples[0], INT32_MIN);
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
    for (const std::int32_t sample : sound.samples) {
        values.push_back(1.4F * std::bit_cast<float>(sample));
    }
    sound = Floats(values, 3);
    const Sound out = Converts(sound, {"--format", "16", "--guard", "--quiet"});
    EXPECT_EQ(last_.errors, "ztaudio: " + File("in.wav") + ": level lowered by 2.92 dB\n");
    ASSERT_EQ(out.samples.size(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_NEAR(out.samples[i], std::trunc(values[i] / 1.4 * 32767), 1) << i;
    }
}

TEST_F(Overload, IsAvoidedByAGainBeforeTheConversion)
{
    const Sound sound = Floats({1.5F, -1.5F, 0.5F, 1.0F, 1.9F, 2.0F}, 2);
    EXPECT_EQ(Converts(sound, {"--format", "24in32", "--gain", "0.5"}).samples,
              Converted(Limited(Floats({0.75F, -0.75F, 0.25F, 0.5F, 0.95F, 1.0F}, 2), "24in32"), "24in32").samples);
    EXPECT_EQ(last_.errors, "");
    ExpectSame(Converts(sound, {"--gain", "2=1:0"}), Floats({1.5F, -1.5F, 0.5F, 0.5F, 1.9F, 0.0F}, 2));
}

/// A sound of floats with peaks of 2, which keeps its level between them.
Sound Hot(int channels, long frames)
{
    const Sound sound = Noise(SF_FORMAT_FLOAT, channels, frames);
    std::vector<float> values;
    for (const std::int32_t sample : sound.samples) {
        values.push_back(0.5F * std::bit_cast<float>(sample));
    }
    values[values.size() / 2] = -2.0F;
    return Floats(values, channels);
}

/// Each sample of the output must be half of the float in the same position, with 24 bits.
void ExpectLowered(const Sound& out, const std::vector<Sound>& channels)
{
    const std::size_t count = channels.size();
    ASSERT_EQ(out.samples.size(), count * channels[0].samples.size());
    for (std::size_t i = 0; i < out.samples.size(); ++i) {
        const auto sample = static_cast<double>(std::bit_cast<float>(channels[i % count].samples[i / count]));
        ASSERT_NEAR(out.samples[i] * 0x1p-31, sample / 2, 0x1p-22) << i;
    }
}

TEST_F(Overload, IsAvoidedByGuardWhereFilesAreInterleaved)
{
    const std::vector<Sound> mono = {Hot(1, 9000), Noise(SF_FORMAT_FLOAT, 1, 9000), Hot(1, 9000),
                                     Noise(SF_FORMAT_FLOAT, 1, 9000)};
    const auto in = Write(mono);
    const std::string line = "ztaudio: " + File("out.wav") + ": level lowered by 6.0";
    Run({"stereo", in[0], in[1], File("out.wav"), "--guard", "--quiet"});
    EXPECT_TRUE(last_.errors.starts_with(line) && last_.errors.find("beyond") == std::string::npos) << last_.errors;
    ExpectLowered(ReadSound(File("out.wav")), {mono[0], mono[1]});
    Run({"mux", in[0], in[1], in[2], in[3], "-o", File("out.wav"), "--guard", "--quiet"});
    EXPECT_TRUE(last_.errors.starts_with(line) && last_.errors.find("beyond") == std::string::npos) << last_.errors;
    ExpectLowered(ReadSound(File("out.wav")), mono);
}

TEST_F(Overload, IsAvoidedByGuardWhereGainsAreApplied)
{
    const Sound mux = Noise(SF_FORMAT_PCM_24, 4, 9000);
    for (const std::vector<std::string>& gains : {std::vector<std::string>{"--gain", "2=4"}, {"--gain", "0.5:3"}}) {
        Run({"split", Write("in.wav", mux), "-o", File("channel-{}.wav"), "--guard", "--quiet"}, gains);
        EXPECT_NE(last_.errors.find(": level lowered by "), std::string::npos) << last_.errors;
        EXPECT_EQ(last_.errors.find("beyond"), std::string::npos) << last_.errors;
        std::vector<std::string> planes;
        std::vector<Sound> split;
        for (int i = 1; i <= 4; ++i) {
            planes.push_back(Write("plane-" + std::to_string(i) + ".wav", Channels(mux, i - 1, 1)));
            split.push_back(ReadSound(File("channel-" + std::to_string(i) + ".wav")));
        }
        planes.insert(planes.begin(), "mux");
        planes.insert(planes.end(), {"-o", File("out.wav"), "--guard", "--quiet"});
        Run(planes, gains);
        EXPECT_EQ(last_.errors.find("beyond"), std::string::npos) << last_.errors;
        const Sound out = ReadSound(File("out.wav"));
        ExpectSame(out, Interleaved(split));
        const auto [lowest, highest] = std::ranges::minmax(out.samples);
        EXPECT_GT(std::max(-static_cast<double>(lowest), static_cast<double>(highest)), 0x7F000000);
    }
}

TEST_F(Overload, GuardChangesNothingThatStaysBelowFullScale)
{
    const auto in = Write({Noise(SF_FORMAT_PCM_16, 1, 5000), Noise(SF_FORMAT_PCM_16, 1, 4000)});
    for (const std::string guard : {"--overload=clip", "--guard"}) {
        Run({"stereo", in[0], in[1], File(guard + "stereo.wav"), guard, "-q"});
        Run({"mux", in[0], in[1], in[0], "-o", File(guard + "mux.wav"), guard, "-q"});
        Run({"split", File(guard + "mux.wav"), "-o", File(guard + "{}.wav"), guard, "-q"});
        EXPECT_EQ(last_.errors, "");
    }
    for (const std::string name : {"stereo.wav", "mux.wav", "1.wav", "3.wav"}) {
        EXPECT_TRUE(ReadTextFile(File("--overload=clip" + name)) == ReadTextFile(File("--guard" + name))) << name;
    }
}

} // namespace
