// ztaudio analyse on sounds whose figures are known.
#include "tests/tools/command_test.h"
#include "tests/tools/tones.h"

#include <bit>
#include <cmath>
#include <random>

namespace {

using Figures = std::map<std::string, double>;

constexpr double kSineLevel = -3.0103; // of its peak

class Analyse : public CommandTest {
protected:
    Figures Of(const Sound& sound, const std::vector<std::string>& options = {})
    {
        return Analysed(Write("in.wav", sound), options);
    }
};

/// A sound of floats.
Sound Floats(const std::vector<double>& samples, int rate = 48000)
{
    Sound sound{SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, rate, {}};
    for (const double sample : samples) {
        sound.words.push_back(std::bit_cast<std::int32_t>(static_cast<float>(sample)));
    }
    return sound;
}

void AddSine(std::vector<double>& samples, double hertz, double amplitude, int rate = 48000)
{
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] += amplitude * std::sin(2 * M_PI * std::fmod(hertz * static_cast<double>(i) / rate, 1.0));
    }
}

TEST_F(Analyse, FindsTheFrequencyAndTheLevelOfATone)
{
    for (const int rate : {8000, 44100, 48000, 192000}) {
        for (const double part : {0.001, 0.0207083, 0.123456, 0.3125, 0.499}) {
            SCOPED_TRACE(part * rate);
            std::vector<double> samples(200000);
            AddSine(samples, part * rate, 0.5, rate);
            const Figures figures = Of(Floats(samples, rate));
            EXPECT_NEAR(figures.at("frequency_hz"), part * rate, 1e-7 * rate);
            EXPECT_NEAR(figures.at("tone_level_dbfs"), -6.0206, 0.001);
            EXPECT_GT(figures.at("signal_to_noise_db"), 140);
            EXPECT_LT(figures.at("thd_n_db"), -140);
        }
    }
}

// The lobes of the tone, of 0 hertz and of nine harmonics take 0.6 % of the noise with them.
TEST_F(Analyse, MeasuresNoiseOfAKnownLevel)
{
    for (const double ratio : {10.0, 40.0, 80.0, 110.0}) {
        for (const std::size_t frames : {65536U, 300000U}) {
            SCOPED_TRACE(ratio);
            std::mt19937 random(7);
            std::normal_distribution<double> noise(0, 0.5 * std::sqrt(0.5) * std::pow(10, -ratio / 20));
            std::vector<double> samples(frames);
            AddSine(samples, 997, 0.5);
            for (double& sample : samples) {
                sample += noise(random);
            }
            const Figures figures = Of(Floats(samples));
            EXPECT_NEAR(figures.at("signal_to_noise_db"), ratio, 0.1);
            EXPECT_NEAR(figures.at("thd_n_db"), -ratio, 0.1);
            EXPECT_NEAR(figures.at("frequency_hz"), 997, 0.1);
        }
    }
}

TEST_F(Analyse, CountsHarmonicsAsDistortionOnly)
{
    for (const int harmonic : {2, 3, 10}) {
        for (const double hertz : {997.0, 9000.0}) { // the second one's are mirrored at half the rate
            SCOPED_TRACE(harmonic * hertz);
            std::vector<double> samples(100000);
            AddSine(samples, hertz, 0.5);
            AddSine(samples, harmonic * hertz, 0.0005);
            const Figures figures = Of(Floats(samples));
            EXPECT_NEAR(figures.at("thd_n_db"), -60, 0.01);
            EXPECT_GT(figures.at("signal_to_noise_db"), 120);
        }
    }
    std::vector<double> samples(100000);
    AddSine(samples, 997, 0.5);
    AddSine(samples, 997 * 2.5, 0.0005);
    EXPECT_NEAR(Of(Floats(samples)).at("signal_to_noise_db"), 60, 0.01);
}

TEST_F(Analyse, TellsLevelAndPeak)
{
    const Figures sine = Of(Tone(1000, 0, 48000));
    EXPECT_NEAR(sine.at("level_dbfs"), kSineLevel, 0.001);
    EXPECT_NEAR(sine.at("peak_dbfs"), 0, 0.001);
    const Figures constant = Of({SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 48000, std::vector<std::int32_t>(20000, -16384)});
    EXPECT_NEAR(constant.at("level_dbfs"), -6.0206, 0.001);
    EXPECT_NEAR(constant.at("peak_dbfs"), -6.0206, 0.001);
    EXPECT_FALSE(constant.contains("frequency_hz"));
    for (const std::string format : {"16", "24in32", "float"}) {
        const Figures figures = Of(Converted(Tone(1000, -20, 48000), format));
        EXPECT_NEAR(figures.at("level_dbfs"), kSineLevel - 20, 0.001);
        EXPECT_NEAR(figures.at("tone_level_dbfs"), -20, 0.001);
    }
}

TEST_F(Analyse, LeavesWhatStandsAt0HertzOutOfTheNoise)
{
    std::vector<double> samples(100000, 0.25);
    AddSine(samples, 997, 0.5);
    EXPECT_LT(Of(Floats(samples)).at("thd_n_db"), -140);
}

TEST_F(Analyse, FindsNoToneInNoiseSilenceAndShortSounds)
{
    for (const Sound& sound : {Noise(SF_FORMAT_PCM_16, 1, 100000), Sound{.words = std::vector<std::int32_t>(100000)},
                               Noise(SF_FORMAT_PCM_16, 1, 0), Noise(SF_FORMAT_PCM_16, 1, 1), Tone(1000, -1, 511)}) {
        EXPECT_FALSE(Of(sound).contains("frequency_hz"));
    }
    EXPECT_NEAR(Of(Tone(1000, -1, 512)).at("frequency_hz"), 1000, 1);
    EXPECT_TRUE(Of(Noise(SF_FORMAT_PCM_16, 1, 0)).at("frames") == 0);
}

TEST_F(Analyse, TellsEveryChannelForPeople)
{
    const std::string in = Write("in.wav", Interleaved({Tone(997, -1, 70000), Noise(SF_FORMAT_PCM_16, 1, 70000)}));
    const ResampleResult run = RunTool({"analyse", in});
    EXPECT_EQ(run.errors, "");
    EXPECT_TRUE(run.output.starts_with(in + ": 70000 sample frames at 48000 Hz\n"
                                            "  channel 1   level -4.01 dBFS, peak -1.00 dBFS\n"
                                            "    tone      997.000 Hz at -1.00 dBFS, signal to noise 97."))
        << run.output;
    EXPECT_NE(run.output.find("\n  channel 2   level -4.7"), std::string::npos) << run.output;
    EXPECT_TRUE(run.output.ends_with("    tone      none\n")) << run.output;
}

TEST_F(Analyse, TellsTheDifferenceFromAReference)
{
    Sound sound = Tone(997, -1, 10000);
    const std::string reference = Write("reference.wav", sound);
    EXPECT_FALSE(Of(sound, {"--reference", reference}).contains("difference_level_dbfs")); // of equal sounds: no level
    for (std::int32_t& word : sound.words) {
        word += 2;
    }
    const Figures figures = Of(sound, {"--reference", reference});
    EXPECT_NEAR(figures.at("difference_level_dbfs"), -84.288, 0.001);
    EXPECT_NEAR(figures.at("difference_peak_dbfs"), -84.288, 0.001);
}

TEST_F(Analyse, ComparesWhatBothFilesHave)
{
    const Sound sound = Tone(997, -1, 10000);
    Sound longer = Tone(997, -1, 15000);
    const std::string in = Write("in.wav", sound);
    const std::string reference = Write("reference.wav", longer);
    ResampleResult run = RunTool({"analyse", in, "--reference", reference});
    EXPECT_EQ(run.errors, "ztaudio: note: " + reference +
                              ": has 15000 sample frames; the difference is that of the frames that both have\n");
    EXPECT_TRUE(run.output.ends_with("    difference level -inf dBFS, peak -inf dBFS\n")) << run.output;
    run = RunTool({"analyse", reference, "--reference", in, "--quiet"});
    EXPECT_EQ(run.errors, "");
    EXPECT_TRUE(run.output.ends_with("    difference level -inf dBFS, peak -inf dBFS\n")) << run.output;
}

TEST_F(Analyse, DrawsTheSpectrum)
{
    const std::string in = Write("in <&>.wav", Interleaved({Tone(997, -1, 70000), Tone(5000, -1, 70000)}));
    WriteTextFile(File("out.svg"), "an older picture");
    const ResampleResult run = RunTool({"analyse", in, "--plot", File("out.svg")});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    const std::string picture = ReadTextFile(File("out.svg"));
    EXPECT_TRUE(picture.starts_with("<svg ")) << picture.substr(0, 100);
    EXPECT_TRUE(picture.ends_with("</svg>\n"));
    EXPECT_LT(picture.size(), 100000U);
    for (const char* text : {">in &lt;&amp;>.wav<", ">channel 1<", ">channel 2<", ">frequency in kHz<", ">24<"}) {
        EXPECT_NE(picture.find(text), std::string::npos) << text;
    }
}

TEST_F(Analyse, EscapesTheFilesNameInJson)
{
    const std::string in = Write("a\"\\\n.wav", Tone(997, -1, 1000));
    const ResampleResult run = RunTool({"analyse", in, "--json"});
    EXPECT_TRUE(run.output.starts_with("{\"file\": \"" + File("a\\\"\\\\\\u000a.wav") + "\", \"rate\": 48000"))
        << run.output;
}

} // namespace
