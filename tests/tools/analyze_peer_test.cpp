// ztaudio analyze beside an independent program.
#include "tests/tools/command_test.h"
#include "tests/tools/tones.h"

#include <algorithm>
#include <filesystem>
#include <regex>

namespace {

constexpr const char* kSox = "/usr/bin/sox";

class AnalyzePeer : public CommandTest {
protected:
    /// A value of `sox FILE -n EFFECTS stats`.
    static double SoxValue(const std::string& file, const std::vector<std::string>& effects, const std::string& name)
    {
        std::vector<std::string> arguments = {file, "-n"};
        arguments.insert(arguments.end(), effects.begin(), effects.end());
        arguments.emplace_back("stats");
        RunOptions options;
        options.program = kSox;
        const auto run = RunTool(arguments, options);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        std::smatch match;
        EXPECT_TRUE(std::regex_search(run.errors, match, std::regex(name + "\\s+([-\\d.]+)"))) << run.errors;
        return match.empty() ? 0 : std::stod(match[1]);
    }
};

TEST_F(AnalyzePeer, AgreesWithSoxOnLevelsPeaksAndOffset)
{
    if (!std::filesystem::exists(kSox)) {
        GTEST_SKIP() << "sox is not installed";
    }
    // No component near half the rate, where the interpolation filters of programs differ.
    const Sound noise = Noise(SF_FORMAT_PCM_16, 1, 50001);
    Sound quiet = noise;
    std::fill_n(quiet.samples.begin(), 3, 1000);
    for (std::size_t i = 3; i < quiet.samples.size(); ++i) {
        const auto sample = [&](std::size_t distance) { return noise.samples[i - distance]; };
        quiet.samples[i] = (sample(0) + 3 * sample(1) + 3 * sample(2) + sample(3)) / 32 + 1000;
    }
    for (const Sound& sound : {quiet, Tone(997, -6, 30000), Tone(15000, -3, 30001)}) {
        const std::string in = Write("in.wav", sound);
        const auto figures = Analysed(in);
        EXPECT_NEAR(figures.at("level_dbfs"), SoxValue(in, {}, "RMS lev dB"), 0.006);
        EXPECT_NEAR(figures.at("peak_dbfs"), SoxValue(in, {}, "Pk lev dB"), 0.006);
        EXPECT_NEAR(figures.at("dc_offset"), SoxValue(in, {}, "DC offset"), 1e-6);
        // Half the level, because sox clips what it interpolates.
        const double truePeak = SoxValue(in, {"gain", "-6.0206", "rate", "-v", "768000"}, "Pk lev dB") + 6.0206;
        EXPECT_NEAR(figures.at("true_peak_dbfs"), truePeak, 0.1);
    }
}

} // namespace
