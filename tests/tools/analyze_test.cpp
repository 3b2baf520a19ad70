// ztaudio analyze on files with known properties.
#include "tests/tools/command_test.h"
#include "tests/tools/tones.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <random>
#include <regex>
#include <set>

namespace {

using Figures = std::map<std::string, double>;

constexpr double kSineLevel = -3.0103; // of its peak

class Analyze : public CommandTest {
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
        sound.samples.push_back(std::bit_cast<std::int32_t>(static_cast<float>(sample)));
    }
    return sound;
}

void AddSine(std::vector<double>& samples, double hertz, double amplitude, int rate = 48000)
{
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] += amplitude * std::sin(2 * M_PI * std::fmod(hertz * static_cast<double>(i) / rate, 1.0));
    }
}

TEST_F(Analyze, FindsTheFrequencyAndTheLevelOfATone)
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

TEST_F(Analyze, MeasuresNoiseOfAKnownLevel)
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
            EXPECT_NEAR(figures.at("signal_to_noise_db"), ratio, 0.05);
            EXPECT_NEAR(figures.at("thd_n_db"), -ratio, 0.05);
            EXPECT_NEAR(figures.at("frequency_hz"), 997, 0.1);
        }
    }
}

TEST_F(Analyze, CountsHarmonicsAsDistortionOnly)
{
    for (const int harmonic : {2, 3, 10}) {
        for (const double hertz : {997.0, 9000.0}) { // harmonics of the second one are aliased
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

TEST_F(Analyze, ReportsLevelAndPeak)
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

TEST_F(Analyze, ExcludesTheOffsetFromTheNoise)
{
    std::vector<double> samples(100000, 0.25);
    AddSine(samples, 997, 0.5);
    EXPECT_LT(Of(Floats(samples)).at("thd_n_db"), -140);
}

TEST_F(Analyze, FindsNoToneInNoiseAndSilence)
{
    for (const Sound& sound : {Noise(SF_FORMAT_PCM_16, 1, 100000), Sound{.samples = std::vector<std::int32_t>(100000)},
                               Noise(SF_FORMAT_PCM_16, 1, 0), Noise(SF_FORMAT_PCM_16, 1, 1), Tone(1000, -1, 31)}) {
        EXPECT_FALSE(Of(sound).contains("frequency_hz"));
    }
    for (const long frames : {100, 511, 512, 5000}) {
        EXPECT_NEAR(Of(Tone(1000, -1, frames)).at("frequency_hz"), 1000, 0.1);
    }
    EXPECT_TRUE(Of(Noise(SF_FORMAT_PCM_16, 1, 0)).at("frames") == 0);
}

TEST_F(Analyze, ReportsEveryChannel)
{
    const std::string in = Write("in.wav", Interleaved({Tone(997, -1, 70000), Noise(SF_FORMAT_PCM_16, 1, 70000)}));
    const RunResult run = RunTool({"analyze", in});
    EXPECT_EQ(run.errors, "");
    EXPECT_TRUE(run.output.starts_with(
        in + ": 70000 sample frames at 48000 Hz\n"
             "  channel 1   level -4.01 dBFS, peak -1.00 dBFS, true peak -1.00 dBFS, DC offset 0.000005\n"
             "    tone      997.000 Hz at -1.00 dBFS, signal to noise 97."))
        << run.output;
    EXPECT_NE(run.output.find("\n  channel 2   level -4.7"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("\n    tone      none\n  loudness    "), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(" LUFS, loudest 400 ms "), std::string::npos) << run.output;
}

TEST_F(Analyze, ReportsTheDifferenceFromAReference)
{
    Sound sound = Tone(997, -1, 10000);
    const std::string reference = Write("reference.wav", sound);
    EXPECT_FALSE(Of(sound, {"--reference", reference}).contains("difference_level_dbfs")); // of equal sounds: no level
    for (std::int32_t& sample : sound.samples) {
        sample += 2;
    }
    const Figures figures = Of(sound, {"--reference", reference});
    EXPECT_NEAR(figures.at("difference_level_dbfs"), -84.288, 0.001);
    EXPECT_NEAR(figures.at("difference_peak_dbfs"), -84.288, 0.001);
}

TEST_F(Analyze, ComparesWhatBothFilesHave)
{
    const Sound sound = Tone(997, -1, 10000);
    Sound longer = Tone(997, -1, 15000);
    const std::string in = Write("in.wav", sound);
    const std::string reference = Write("reference.wav", longer);
    RunResult run = RunTool({"analyze", in, "--reference", reference});
    EXPECT_EQ(run.errors, "ztaudio: note: " + reference +
                              ": has 15000 sample frames; the difference is that of the frames that both have\n");
    EXPECT_NE(run.output.find("    difference level -inf dBFS, peak -inf dBFS\n"), std::string::npos) << run.output;
    run = RunTool({"analyze", reference, "--reference", in, "--quiet"});
    EXPECT_EQ(run.errors, "");
    EXPECT_NE(run.output.find("    difference level -inf dBFS, peak -inf dBFS\n"), std::string::npos) << run.output;
}

// A burst of noise has the same effect everywhere. THD+N is -33.70 dB by construction.
TEST_F(Analyze, IncludesANoiseBurstAnywhere)
{
    constexpr std::size_t kFrames = 480000;
    constexpr std::size_t kBurst = 2400;
    std::mt19937 random(5);
    std::normal_distribution<double> noise;
    std::vector<double> burst(kBurst);
    double squares = 0;
    for (double& sample : burst) {
        sample = noise(random);
        squares += sample * sample;
    }
    const double gain = std::sqrt(0.125 * kFrames * std::pow(10, -3.370) / squares);
    for (const std::size_t first : {std::size_t{0}, std::size_t{32768} - kBurst / 2, std::size_t{65536} - kBurst / 2,
                                    kFrames / 2, kFrames - kBurst}) {
        SCOPED_TRACE(first);
        std::vector<double> samples(kFrames);
        AddSine(samples, 997, 0.5);
        for (std::size_t i = 0; i < kBurst; ++i) {
            samples[first + i] += gain * burst[i];
        }
        const Figures figures = Of(Floats(samples));
        EXPECT_NEAR(figures.at("thd_n_db"), -33.70, 0.05);
        EXPECT_NEAR(figures.at("signal_to_noise_db"), 33.70, 0.05);
    }
}

TEST_F(Analyze, FindsAToneBeforeAndAfterSilence)
{
    for (const std::size_t first : {0, 240000}) {
        std::vector<double> tone(9600);
        AddSine(tone, 1000, 0.5);
        std::vector<double> samples(249600);
        std::ranges::copy(tone, samples.begin() + static_cast<std::ptrdiff_t>(first));
        EXPECT_NEAR(Of(Floats(samples)).at("frequency_hz"), 1000, 0.1);
    }
}

TEST_F(Analyze, ReportsTwoTonesInTurnAsNotSteady)
{
    std::vector<double> samples(48000);
    AddSine(samples, 1000, 0.5);
    std::vector<double> second(43200);
    AddSine(second, 5000, 0.5);
    samples.insert(samples.end(), second.begin(), second.end());
    const RunResult run = RunTool({"analyze", Write("in.wav", Floats(samples)), "--json"});
    EXPECT_NE(run.output.find("\"steady\": false"), std::string::npos) << run.output;
    EXPECT_GT(Of(Floats(samples)).at("thd_n_db"), 0);
}

TEST_F(Analyze, ReportsTheLimitOfTheSampleFormat)
{
    // A quarter of the rate: the samples are exactly those of a sine.
    const std::string in = Write("in.wav", Tone(12000, -6.0206, 48000));
    const Figures figures = Analysed(in);
    EXPECT_NEAR(figures.at("signal_to_noise_db"), 98.09 - 6.02, 0.01);
    EXPECT_NEAR(figures.at("thd_n_db"), -98.09 + 6.02, 0.01);
    const RunResult run = RunTool({"analyze", in});
    EXPECT_NE(run.output.find("signal to noise 92.07 dB (limit of the sample format)"), std::string::npos)
        << run.output;
}

TEST_F(Analyze, ReportsTruePeakAndLoudness)
{
    std::vector<double> samples(48000 * 5);
    AddSine(samples, 997, std::pow(10, -23.0 / 20));
    const Sound mono = Floats(samples);
    const Figures figures = Of({mono.format, 2, 48000, Interleaved({mono, mono}).samples});
    EXPECT_NEAR(figures.at("integrated_lufs"), -23, 0.05);
    EXPECT_NEAR(figures.at("range_lu"), 0, 0.05);
    EXPECT_NEAR(figures.at("true_peak_dbfs"), -23, 0.05);
    EXPECT_NEAR(figures.at("dc_offset"), 0, 1e-6);
}

TEST_F(Analyze, DrawsTheSpectrum)
{
    const std::string in = Write("in <&>.wav", Interleaved({Tone(997, -1, 70000), Tone(5000, -1, 70000)}));
    WriteTextFile(File("out.svg"), "an older picture");
    const RunResult run = RunTool({"analyze", in, "--plot", File("out.svg")});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    const std::string picture = ReadTextFile(File("out.svg"));
    EXPECT_TRUE(picture.starts_with("<svg ")) << picture.substr(0, 100);
    EXPECT_TRUE(picture.ends_with("</svg>\n"));
    EXPECT_LT(picture.size(), 100000U);
    for (const char* text : {">in &lt;&amp;>.wav<", ">channel 1<", ">channel 2<", ">frequency in kHz<", ">24<"}) {
        EXPECT_NE(picture.find(text), std::string::npos) << text;
    }
}

TEST_F(Analyze, DrawsTheSpectrogramAndTheWaveform)
{
    const std::string in = Write("in.wav", Interleaved({Tone(997, -1, 70000), Tone(5000, -1, 70000)}));
    const RunResult run = RunTool({"analyze", in, "--spectrogram", File("time.SVG"), "--waveform", File("wave.svg"),
                                   "--plot", File("spectrum.svg"), "--axis", "log"});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    const auto expectTexts = [this](const std::string& file, const std::vector<std::string>& texts) {
        const std::string picture = ReadTextFile(File(file));
        EXPECT_TRUE(picture.starts_with("<svg ") && picture.ends_with("</svg>\n")) << file;
        for (const std::string& text : texts) {
            EXPECT_NE(picture.find(">" + text + "<"), std::string::npos) << file << ": " << text;
        }
    };
    expectTexts("time.SVG", {"time in s", "frequency in Hz", "20", "20000", "1.4", "&gt; -10"});
    expectTexts("wave.svg", {"time in s", "channel", "channel 1", "channel 2", "1.4"});
    expectTexts("spectrum.svg", {"frequency in Hz", "20", "50", "20000", "level in dBFS"});
}

TEST_F(Analyze, MeasuresStandardInput)
{
    const std::string in = Write("in.wav", Tone(997, -1, 70000));
    RunOptions options;
    options.program = "/bin/sh";
    const auto run = RunTool({"-c", "cat '" + in + "' | '" ZTA_TOOL_PATH "' analyze -"}, options);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    const std::string report = RunTool({"analyze", in}).output;
    EXPECT_EQ(run.output, "-" + report.substr(in.size()));
}

TEST_F(Analyze, NamesEachOfManyChannelsInTheLegend)
{
    std::vector<Sound> sounds;
    for (int c = 0; c < 64; ++c) {
        sounds.push_back(Tone(500 + 100 * c, -1, 2000));
    }
    const RunResult run = RunTool({"analyze", Write("in.wav", Interleaved(sounds)), "--plot", File("out.svg")});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    const std::string picture = ReadTextFile(File("out.svg"));
    static const std::regex entry(R"#(stroke="([^"]+)" stroke-width="3" d="M([\d.]+) ([-\d.]+)h18"/>)#");
    std::set<std::string> colors;
    std::set<std::pair<std::string, std::string>> positions;
    for (std::sregex_iterator match(picture.begin(), picture.end(), entry), end; match != end; ++match) {
        colors.insert((*match)[1]);
        positions.emplace((*match)[2], (*match)[3]);
        EXPECT_LT(std::stod((*match)[2]), 820 - 18);
    }
    EXPECT_EQ(colors.size(), 64U);
    EXPECT_EQ(positions.size(), 64U);
}

TEST_F(Analyze, RejectsPicturesThatAreNotSvg)
{
    const std::string in = Write("in.wav", Tone(997, -1, 1000));
    for (const char* option : {"--plot", "--spectrogram", "--waveform"}) {
        const RunResult run = RunTool({"analyze", in, option, File("out.png")});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_NE(run.errors.find("out.png: a picture is an SVG file: use the extension .svg"), std::string::npos)
            << run.errors;
        EXPECT_FALSE(std::filesystem::exists(File("out.png")));
    }
}

TEST_F(Analyze, EscapesTheFilesNameInJson)
{
    const std::string in = Write("a\"\\\n.wav", Tone(997, -1, 1000));
    const RunResult run = RunTool({"analyze", in, "--json"});
    EXPECT_TRUE(run.output.starts_with("{\"file\": \"" + File("a\\\"\\\\\\u000a.wav") + "\", \"rate\": 48000"))
        << run.output;
}

} // namespace
