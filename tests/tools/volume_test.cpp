// ztaudio volume, stereo and trim on good input: every sample of every file that they write.
#include "tests/tools/command_test.h"

#include <algorithm>
#include <bit>

namespace {

// Lengths below the engine's shortest blocks, and around the blocks in which files are read.
const std::vector<long> kLengths = {0, 1, 2, 3, 4, 5, 301, 4095, 4096, 4097, 8195};

class Volume : public CommandTest {
protected:
    Sound Changed(const Sound& sound, const std::vector<std::string>& options)
    {
        return Output({"volume", Write("in.wav", sound), File("out.wav")}, options);
    }
};

TEST_F(Volume, RampsEveryWidthAndLength)
{
    for (const int channels : {1, 2, 3, 4, 6, 8, 16, 17, 32, 33, 64}) {
        for (const long frames : kLengths) {
            SCOPED_TRACE(std::to_string(channels) + " channels, frames " + std::to_string(frames));
            const Sound sound = Noise(SF_FORMAT_PCM_24, channels, frames);
            std::vector<GainRamp> ramps(static_cast<std::size_t>(channels), {4096, 0});
            ramps[0] = {2048, 10240};
            ExpectSame(Changed(sound, {"--gain", "1:0", "--gain", "1=0.5:2.5", "--quiet"}), Scaled(sound, ramps));
            EXPECT_EQ(last_.errors, OverloadLine(File("in.wav"), CountOverloads(sound, ramps)));
        }
    }
}

TEST_F(Volume, FollowsASlowRampFromBlockToBlock)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 2, 200003);
    ExpectSame(Changed(sound, {"--gain", "1=0:1", "--gain", "2=1:0.999"}), Scaled(sound, {{0, 4096}, {4096, 4092}}));
}

TEST_F(Volume, AcceptsFactorsAndDecibels)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 1, 1000);
    const std::vector<std::pair<std::string, int>> gains = {
        {"0", 0},         {"1", 4096},     {"8", 32768},   {"0.0001220", 0}, {"0.000123", 1},
        {"1.0001", 4096}, {"0dB", 4096},   {"-6dB", 2053}, {"+6dB", 8173},   {"6dB", 8173},
        {"-20dB", 410},   {"18dB", 32536}, {"-100dB", 0},  {"1=1e-1", 410},  {"1=-0.5dB", 3867}};
    for (const auto& [text, gain] : gains) {
        SCOPED_TRACE(text);
        ExpectSame(Changed(sound, {"--gain", text}), Scaled(sound, {{gain, gain}}));
    }
}

TEST_F(Volume, LimitsTo24Bits)
{
    Sound sound{SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1, 48000, {0x7FFFFF00, INT32_MIN, 0x20000000, 0x0FFFFF00, -256}};
    const Sound out = Changed(sound, {"--gain", "4"});
    EXPECT_EQ(out.samples, (std::vector<std::int32_t>{0x7FFFFF00, INT32_MIN, 0x7FFFFF00, 0x3FFFFC00, -1024}));
}

TEST_F(Volume, AppliesTheLastGainOfAChannel)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 2, 100);
    ExpectSame(Changed(sound, {"--gain", "1=2", "--gain", "1=0.5"}), Scaled(sound, {{2048, 2048}, {}}));
    ExpectSame(Changed(sound, {"--gain", "1=2", "--gain", "0.25"}), Scaled(sound, {{1024, 1024}, {1024, 1024}}));
}

TEST_F(Volume, Writes24BitsUnlessAskedForOthers)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 5003);
    const Sound scaled = Scaled(Converted(sound, "24in32"), {{2048, 2048}, {2048, 0}});
    const std::vector<std::string> gains = {"--gain", "0.5", "--gain", "2=0.5:0"};
    ExpectSame(Changed(sound, gains), scaled);
    EXPECT_EQ(last_.errors, "ztaudio: note: gains are applied to 24in32 samples, so the output is 24in32\n");
    for (const std::string format : {"16", "24in32", "24in24", "float"}) {
        std::vector<std::string> options = gains;
        options.insert(options.end(), {"--format", format});
        ExpectSame(Changed(sound, options), Converted(scaled, format));
        EXPECT_EQ(last_.errors, "");
    }
}

// The gain applies to all 32 bits that a float becomes; the file drops the low byte afterwards.
TEST_F(Volume, ConvertsFloatsTo24Bits)
{
    const Sound sound = Noise(SF_FORMAT_FLOAT, 1, 3000);
    Sound integers = sound;
    integers.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    std::ranges::transform(sound.samples, integers.samples.begin(), [](std::int32_t bits) {
        return static_cast<std::int32_t>(std::bit_cast<float>(bits) * 0x1p31F);
    });
    ExpectSame(Changed(sound, {"--gain", "3:0.1"}), Scaled(integers, {{12288, 410}}));
}

// The gain applies to what the file holds, not to what a conversion left of it.
TEST_F(Volume, BringsFloatsBeyondFullScaleBack)
{
    const Sound sound = Floats({1.5F, -1.5F, 0.25F, -0.75F, 1.0F, 3.0F});
    const Sound out = Changed(sound, {"--gain", "0.5"});
    EXPECT_EQ(out.samples,
              (std::vector<std::int32_t>{0x60000000, -0x60000000, 0x10000000, -0x30000000, 0x40000000, 0x7FFFFF00}));
    EXPECT_EQ(last_.errors, "ztaudio: note: gains are applied to 24in32 samples, so the output is 24in32\n" +
                                OverloadLine(File("in.wav"), 1));
    const Sound wrapped = Changed(sound, {"--gain", "0.5", "--overload", "wrap", "--format", "24in32"});
    EXPECT_EQ(wrapped.samples[0], static_cast<std::int32_t>(0xC0000000)); // INT32_MIN / 2
}

TEST_F(Volume, NotesAGainThatRoundsToSilence)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 1, 10);
    Changed(sound, {"--gain", "-100dB"});
    EXPECT_EQ(last_.errors, "ztaudio: note: --gain -100dB: rounds to silence, because gains are multiples of 1/4096\n");
    Changed(sound, {"--gain", "0"});
    EXPECT_EQ(last_.errors, "");
}

TEST_F(Volume, LowersTheGainsWithGuard)
{
    for (const int subtype : {SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        const Sound sound = Noise(subtype, 2, 5000);
        for (const std::string gain : {"2", "1=0.5:3", "1.0005"}) {
            SCOPED_TRACE(gain);
            const Sound out = Changed(sound, {"--gain", gain, "--guard", "--format", "24in32"});
            EXPECT_NE(last_.errors.find(": level lowered by "), std::string::npos) << last_.errors;
            EXPECT_EQ(last_.errors.find("beyond full scale"), std::string::npos) << last_.errors;
            const auto [lowest, highest] = std::ranges::minmax(out.samples);
            EXPECT_GT(std::max(-static_cast<double>(lowest), static_cast<double>(highest)), 0x7F000000);
        }
        Changed(sound, {"--gain", "0.5", "--guard", "--format", "24in32"});
        EXPECT_EQ(last_.errors, "");
    }
}

class Stereo : public CommandTest {};

TEST_F(Stereo, InterleavesMonoFilesOfEveryFormatAndLength)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
        for (const long frames : kLengths) {
            SCOPED_TRACE(frames);
            const Sound both = Noise(subtype, 2, frames);
            const auto in = Write({Channels(both, 0, 1), Channels(both, 1, 1)});
            ExpectSame(Output({"stereo", in[0], in[1], File("out.wav")}), both);
            EXPECT_EQ(last_.errors, "");
        }
    }
}

TEST_F(Stereo, ConvertsDifferentFormatsAndFloatsTo24Bits)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        const Sound left = Noise(subtype, 1, 5001);
        const Sound right = Noise(SF_FORMAT_FLOAT, 1, 5001);
        const auto in = Write({left, right});
        ExpectSame(Output({"stereo", in[0], in[1], File("out.wav")}),
                   Interleaved({Converted(left, "24in32"), Converted(right, "24in32")}));
    }
}

TEST_F(Stereo, ContinuesTheShorterInputWithSilence)
{
    const Sound left = Noise(SF_FORMAT_PCM_16, 1, 4096);
    const Sound right = Noise(SF_FORMAT_PCM_16, 1, 9999);
    const auto in = Write({left, right});
    ExpectSame(Output({"stereo", in[0], in[1], File("out.wav")}), Interleaved({left, right}));
    EXPECT_EQ(last_.errors, "ztaudio: note: " + in[0] +
                                ": continued with 5903 sample frames of silence to the length of the longest input\n");
}

class Trim : public CommandTest {
protected:
    /// Trims and compares with frames `from` to `to` of the sound.
    void ExpectPiece(const Sound& sound, const std::vector<std::string>& options, long from, long to)
    {
        SCOPED_TRACE(::testing::PrintToString(options));
        Run({"trim", Write("in.wav", sound), File("out.wav")}, options);
        Sound expected = sound;
        expected.samples.assign(sound.samples.begin() + from * sound.channels,
                                sound.samples.begin() + to * sound.channels);
        if (last_.exitCode == 0) {
            ExpectSame(ReadSound(File("out.wav")), expected);
        }
    }
};

TEST_F(Trim, IsExactToTheSampleFrameAtEveryEdge)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 9000);
    for (const long from : {0L, 1L, 4095L, 4096L, 4097L, 8191L, 8192L, 8999L}) {
        for (const long to : {1L, 4095L, 4096L, 4097L, 8192L, 8193L, 8999L, 9000L}) {
            if (from < to) {
                ExpectPiece(sound, {"--from", std::to_string(from) + "s", "--to", std::to_string(to) + "s"}, from, to);
            }
        }
    }
}

TEST_F(Trim, AcceptsTimesInEveryForm)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 1, 3 * 48000L);
    ExpectPiece(sound, {"--from", "1.5", "--to", "2"}, 72000, 96000);
    ExpectPiece(sound, {"--from", "0:01.500", "--to", "0:00:02.25"}, 72000, 108000);
    ExpectPiece(sound, {"--from", "71999s", "--to", "1.500021"}, 71999, 72001);
}

TEST_F(Trim, CopiesFromTheStartToTheEndByDefault)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 5000);
    ExpectPiece(sound, {}, 0, 5000);
    ExpectPiece(sound, {"--from", "4999s"}, 4999, 5000);
    ExpectPiece(sound, {"--to", "0.1"}, 0, 4800);
}

TEST_F(Trim, SelectsTheNearerOfTwoFrames)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 10, 3);
    ExpectPiece(sound, {"--from", "0.166", "--to", "0.5"}, 0, 2);
    ExpectPiece(sound, {"--from", "0.167", "--to", "1.166"}, 1, 3);
}

TEST_F(Trim, CopiesAnyFormatRateAndChannelCount)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        ExpectPiece(Noise(subtype, 6, 9000, 96000), {"--from", "10s", "--to", "8999s"}, 10, 8999);
    }
}

TEST_F(Trim, CarriesOverTheTitle)
{
    WriteDescribedSound(File("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1,
                        [](SNDFILE* file) { sf_set_string(file, SF_STR_TITLE, "Morning"); });
    Run({"trim", File("in.wav"), File("out.wav"), "--to", "10s"});
    EXPECT_STREQ(sf_get_string(OpenSound(File("out.wav")).get(), SF_STR_TITLE), "Morning");
}

} // namespace
