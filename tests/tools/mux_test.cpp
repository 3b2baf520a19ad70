// ztaudio mux and split on good input: every sample of every file that they write.
#include "tests/tools/command_test.h"

#include <algorithm>
#include <filesystem>

namespace {

const std::vector<int> kWidths = {4, 8, 16, 32, 64};
const std::vector<std::string> kContainers = {"16", "24in32", "24in24"};

// Lengths around whole fours of frames and around the blocks in which files are read.
const std::vector<long> kLengths = {1, 2, 3, 4, 5, 7, 11, 301, 4099};

constexpr const char* kScaledNote = "ztaudio: note: gains are applied to 24in32 samples, so the output is 24in32\n";

class Mux : public CommandTest {
protected:
    /// Runs mux on the sounds, with or without errors to tell of, and gives the mux.
    Sound Assembled(const std::vector<Sound>& sounds, const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments = Write(sounds);
        arguments.insert(arguments.begin(), "mux");
        arguments.insert(arguments.end(), {"-o", File("mux.wav")});
        Run(arguments, options);
        return last_.exitCode == 0 ? ReadSound(File("mux.wav")) : Sound{};
    }
};

/// `count` sounds with samples of their own.
std::vector<Sound> Sounds(int subtype, int count, int channels, long frames)
{
    const Sound all = Noise(subtype, count * channels, frames);
    std::vector<Sound> sounds;
    for (int i = 0; i < count; ++i) {
        sounds.push_back(Channels(all, i * channels, channels));
    }
    return sounds;
}

std::vector<Sound> AllConverted(std::vector<Sound> sounds, const std::string& format)
{
    std::ranges::transform(sounds, sounds.begin(), [&](const Sound& sound) { return Converted(sound, format); });
    return sounds;
}

TEST_F(Mux, AcceptsEveryWidthFromMonoAndFromStereoFiles)
{
    for (const int width : kWidths) {
        for (const int channels : {1, 2}) {
            for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
                SCOPED_TRACE(width * 1000 + channels);
                const auto sounds = Sounds(subtype, width / channels, channels, 301);
                ExpectSame(Assembled(sounds), Interleaved(sounds));
                EXPECT_EQ(last_.errors, "");
            }
        }
    }
}

TEST_F(Mux, BringsEveryInputToEveryContainer)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        for (const std::string& format : kContainers) {
            for (const int channels : {1, 2}) {
                SCOPED_TRACE(format);
                const auto sounds = Sounds(subtype, 4, channels, 1001);
                ExpectSame(Assembled(sounds, {"--format", format}), Interleaved(AllConverted(sounds, format)));
            }
        }
    }
}

TEST_F(Mux, ConvertsFilesOfDifferentFormatsTo24Bits)
{
    const std::vector<Sound> sounds = {Noise(SF_FORMAT_PCM_16, 1, 500), Noise(SF_FORMAT_PCM_24, 1, 500),
                                       Noise(SF_FORMAT_FLOAT, 1, 500), Noise(SF_FORMAT_PCM_16, 1, 500)};
    ExpectSame(Assembled(sounds), Interleaved(AllConverted(sounds, "24in32")));
}

TEST_F(Mux, DeinterleavesStereoFilesAmongMonoFiles)
{
    for (const std::string& format : kContainers) {
        for (const long frames : kLengths) {
            SCOPED_TRACE(frames);
            const std::vector<Sound> sounds = {Noise(SF_FORMAT_PCM_16, 1, frames), Noise(SF_FORMAT_PCM_16, 2, frames),
                                               Noise(SF_FORMAT_PCM_16, 1, frames)};
            ExpectSame(Assembled(sounds, {"--format", format}), Interleaved(AllConverted(sounds, format)));
        }
    }
}

TEST_F(Mux, ContinuesShorterInputsWithSilenceAndSaysSo)
{
    const std::vector<Sound> sounds = {Noise(SF_FORMAT_PCM_16, 1, 8192), Noise(SF_FORMAT_PCM_16, 1, 9000),
                                       Noise(SF_FORMAT_PCM_16, 1, 0), Noise(SF_FORMAT_PCM_16, 1, 8999)};
    ExpectSame(Assembled(sounds), Interleaved(sounds));
    const auto note = [this](int i, const std::string& frames) {
        return "ztaudio: note: " + File("in" + std::to_string(i) + ".wav") + ": continued with " + frames +
               " sample frames of silence to the length of the longest input\n";
    };
    EXPECT_EQ(last_.errors, note(1, "808") + note(3, "9000") + note(4, "1"));
    ExpectSame(Assembled(sounds, {"--quiet"}), Interleaved(sounds));
    EXPECT_EQ(last_.errors, "");
}

TEST_F(Mux, MayTakeAFileTwice)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 5000);
    const std::string in = Write("in.wav", sound);
    Run({"mux", in, in, "-o", File("mux.wav")});
    ExpectSame(ReadSound(File("mux.wav")), Interleaved({sound, sound}));
}

TEST_F(Mux, OfEmptyFilesIsEmpty)
{
    const auto sounds = Sounds(SF_FORMAT_PCM_16, 4, 1, 0);
    ExpectSame(Assembled(sounds, {"--gain", "1:0"}), Converted(Interleaved(sounds), "24in32"));
}

TEST_F(Mux, AppliesGainsToEveryWidthAndLength)
{
    for (const int width : kWidths) {
        for (const int channels : {1, 2}) {
            for (const long frames : kLengths) {
                SCOPED_TRACE(std::to_string(width) + " channels, frames " + std::to_string(frames));
                const auto sounds = Sounds(SF_FORMAT_PCM_24, width / channels, channels, frames);
                std::vector<GainRamp> ramps(static_cast<std::size_t>(width), {2048, 2048});
                ramps[1] = {32768, 0};
                ramps.back() = {0, 4096};
                ExpectSame(
                    Assembled(sounds, {"--gain", "0.5", "--gain", "2=8:0", "--gain", std::to_string(width) + "=0:1"}),
                    Scaled(Interleaved(sounds), ramps));
            }
        }
    }
}

TEST_F(Mux, SpreadsARampOverTheLongestInput)
{
    const std::vector<Sound> sounds = {Noise(SF_FORMAT_PCM_24, 1, 30000), Noise(SF_FORMAT_PCM_24, 1, 1000),
                                       Noise(SF_FORMAT_PCM_24, 1, 29999), Noise(SF_FORMAT_PCM_24, 1, 4096)};
    ExpectSame(Assembled(sounds, {"--gain", "1=1:0", "--gain", "2=0.25:4"}),
               Scaled(Interleaved(sounds), {{4096, 0}, {1024, 16384}, {}, {}}));
}

TEST_F(Mux, Writes24BitsWhereThereAreGainsAndSaysSo)
{
    const auto sounds = Sounds(SF_FORMAT_PCM_16, 4, 1, 100);
    const Sound expected = Scaled(Converted(Interleaved(sounds), "24in32"), {{8192, 8192}, {}, {}, {}});
    const long overloads = CountOverloads(Converted(sounds[0], "24in32"), {{8192, 8192}});
    ASSERT_GT(overloads, 0);
    const std::string line = OverloadLine(File("in1.wav"), overloads);
    ExpectSame(Assembled(sounds, {"--gain", "1=2"}), expected);
    EXPECT_EQ(last_.errors, kScaledNote + line);
    ExpectSame(Assembled(sounds, {"--gain", "1=2", "--format", "24in32"}), expected);
    EXPECT_EQ(last_.errors, line);
    ExpectSame(Assembled(sounds, {"--gain", "1=2", "--format", "16"}), Converted(expected, "16"));
    EXPECT_EQ(last_.errors, line);
}

class Split : public CommandTest {
protected:
    /// Runs split on the mux and compares all outputs with the channels of `expected`.
    void ExpectParts(const Sound& mux, const Sound& expected, int width, std::vector<std::string> options = {})
    {
        if (width == 2) {
            options.emplace_back("--stereo");
        }
        Run({"split", Write("mux.wav", mux), "-o", File("part-{}.wav")}, options);
        for (int i = 0; last_.exitCode == 0 && i < mux.channels / width; ++i) {
            const std::string name = File("part-" + std::to_string(i + 1) + ".wav");
            SCOPED_TRACE(name);
            ExpectSame(ReadSound(name), Channels(expected, i * width, width));
        }
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }
};

TEST_F(Split, DeinterleavesEveryWidthAndLength)
{
    for (const int channels : kWidths) {
        for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
            for (const long frames : kLengths) {
                for (const int width : {1, 2}) {
                    SCOPED_TRACE(std::to_string(channels) + " channels, frames " + std::to_string(frames));
                    const Sound mux = Noise(subtype, channels, frames);
                    ExpectParts(mux, mux, width);
                    EXPECT_EQ(last_.errors, "");
                }
            }
        }
    }
}

TEST_F(Split, AppliesGainsToEveryWidthAndLength)
{
    for (const int channels : kWidths) {
        for (const long frames : kLengths) {
            for (const int width : {1, 2}) {
                SCOPED_TRACE(std::to_string(channels) + " channels, frames " + std::to_string(frames));
                const Sound mux = Noise(SF_FORMAT_PCM_24, channels, frames);
                std::vector<GainRamp> ramps(static_cast<std::size_t>(channels), {2053, 2053});
                ramps[1] = {0, 32768};
                ramps[3] = {4096, 2053};
                ExpectParts(mux, Scaled(mux, ramps), width,
                            {"--gain", "-6dB", "--gain", "2=0:8", "--gain", "4=0dB:-6dB"});
            }
        }
    }
}

TEST_F(Split, Writes24BitsWhereThereAreGainsAndSaysSo)
{
    const Sound mux = Noise(SF_FORMAT_PCM_16, 4, 100);
    ExpectParts(mux, Scaled(Converted(mux, "24in32"), {{}, {}, {6144, 6144}, {}}), 1, {"--gain", "3=1.5"});
    const long overloads = CountOverloads(Converted(Channels(mux, 2, 1), "24in32"), {{6144, 6144}});
    EXPECT_EQ(last_.errors, kScaledNote + OverloadLine(File("mux.wav"), overloads));
}

TEST_F(Split, NumbersTheOutputsAsThePatternAsks)
{
    const std::string mux = Write("mux.wav", Noise(SF_FORMAT_PCM_16, 8, 10));
    Run({"split", mux, "--stereo", "-o", File("a%d.flac")});
    Run({"split", mux, "--stereo", "-o", File("b%03d 100%.wav")});
    Run({"split", mux, "--stereo", "-o", File("{}.aiff")});
    EXPECT_EQ(Names(), (std::vector<std::string>{"1.aiff", "2.aiff", "3.aiff", "4.aiff", "a1.flac", "a2.flac",
                                                 "a3.flac", "a4.flac", "b001 100%.wav", "b002 100%.wav",
                                                 "b003 100%.wav", "b004 100%.wav", "mux.wav"}));
}

TEST_F(Split, ReplacesExistingFilesAndLeavesNothingElse)
{
    for (const char* name : {"part-1.wav", "part-3.wav"}) {
        WriteTextFile(File(name), "old");
    }
    const Sound mux = Noise(SF_FORMAT_PCM_16, 4, 5000);
    ExpectParts(mux, mux, 1);
    EXPECT_EQ(Names(), (std::vector<std::string>{"mux.wav", "part-1.wav", "part-2.wav", "part-3.wav", "part-4.wav"}));
}

TEST_F(Split, UndoesMux)
{
    std::vector<std::string> arguments = {"mux"};
    const auto sounds = Sounds(SF_FORMAT_PCM_16, 16, 1, 8195);
    for (const std::string& name : Write(sounds)) {
        arguments.push_back(name);
    }
    Run(arguments, {"-o", File("mux.wav")});
    Run({"split", File("mux.wav"), "-o", File("out%02d.wav")});
    ExpectSame(ReadSound(File("out01.wav")), sounds.front());
    ExpectSame(ReadSound(File("out16.wav")), sounds.back());
}

} // namespace
