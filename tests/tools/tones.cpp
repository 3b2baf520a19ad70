#include "tests/tools/tones.h"

#include "tests/tools/run_tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <regex>

Sound Tone(double hertz, double decibels, long frames, int rate)
{
    Sound sound{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, rate, {}};
    const double amplitude = 32768 * std::pow(10, decibels / 20);
    for (long i = 0; i < frames; ++i) {
        const double turns = std::fmod(hertz * static_cast<double>(i) / rate, 1.0);
        const long sample = std::lround(amplitude * std::sin(2 * std::numbers::pi * turns));
        sound.samples.push_back(static_cast<std::int32_t>(std::min(sample, 32767L)));
    }
    return sound;
}

std::map<std::string, double> Analysed(const std::string& path, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = {"analyse", path, "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const RunResult run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    std::map<std::string, double> figures;
    std::string prefix;
    static const std::regex member(R"#("(\w+)": ([-\d.]+|null|\{))#");
    for (std::sregex_iterator match(run.output.begin(), run.output.end(), member), end; match != end; ++match) {
        const std::string name = (*match)[1];
        const std::string value = (*match)[2];
        if (value == "{") {
            prefix = name + "_";
        } else if (value != "null") {
            const bool ambiguous = name == "level_dbfs" || name == "peak_dbfs";
            figures[(ambiguous ? prefix : "") + name] = std::stod(value);
        }
    }
    return figures;
}
