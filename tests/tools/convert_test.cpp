// ztaudio convert on good input: every sample of every file that it writes.
#include "tests/tools/command_test.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <tuple>

namespace {

const std::vector<std::string> kFormats = {"16", "24in32", "24in24", "float"};
const std::vector<std::string> kBlocks = {"1", "7", "200", "1024", "4800"};

class Convert : public CommandTest {
protected:
    /// Converts `sound` and gives the file that came out.
    Sound Run(const Sound& sound, const std::vector<std::string>& options, const std::string& name = "out.wav")
    {
        WriteSound(in_, sound);
        last_ = RunTool(Joined({"convert", in_, File(name)}, options));
        EXPECT_EQ(last_.exitCode, 0) << last_.errors;
        return last_.exitCode == 0 ? ReadSound(File(name)) : Sound{};
    }

    const std::string in_ = File("in.wav");
};

class ConvertPairs : public Convert,
                     public ::testing::WithParamInterface<std::tuple<int /*subtype*/, std::string /*to*/>> {};

TEST_P(ConvertPairs, AreExactInMonoAndStereo)
{
    const auto& [subtype, to] = GetParam();
    for (const int channels : {1, 2}) {
        const Sound sound = Noise(subtype, channels, 10007);
        ExpectSame(Run(sound, {"--format", to}), Converted(sound, to));
        EXPECT_EQ(last_.errors, "");
        EXPECT_EQ(last_.output, "");
    }
}

TEST_P(ConvertPairs, FadeTheEndsForEveryBlockSize)
{
    const auto& [subtype, to] = GetParam();
    for (const int channels : {1, 2}) {
        const Sound sound = Noise(subtype, channels, 5000);
        const Sound expected = Converted(sound, to, true, true);
        for (const std::string& block : kBlocks) {
            SCOPED_TRACE("block " + block);
            ExpectSame(Run(sound, {"--format", to, "--fade-in", "--fade-out", "--block", block}), expected);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, ConvertPairs,
                         ::testing::Combine(::testing::Values(SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT),
                                            ::testing::ValuesIn(kFormats)));

TEST_F(Convert, KeepsTheFormatOfTheInput)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        const Sound sound = Noise(subtype, 2, 3000);
        ExpectSame(Run(sound, {}), sound);
    }
}

TEST_F(Convert, GivesTheSameBytesForEveryBlockSize)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 2, 10001);
    std::string bytes;
    for (const std::string& block : kBlocks) {
        Run(sound, {"--format", "float", "--block", block});
        const std::string now = ReadTextFile(File("out.wav"));
        EXPECT_TRUE(bytes.empty() || bytes == now) << "block " << block;
        bytes = now;
    }
}

TEST_F(Convert, ConvertsIntegersOf4To64Channels)
{
    for (const int channels : {4, 8, 16, 32, 64}) {
        SCOPED_TRACE(channels);
        const Sound narrow = Noise(SF_FORMAT_PCM_16, channels, 1500);
        const Sound wide = Noise(SF_FORMAT_PCM_24, channels, 1500);
        for (const char* to : {"16", "24in32", "24in24"}) {
            ExpectSame(Run(narrow, {"--format", to}), Converted(narrow, to));
            ExpectSame(Run(wide, {"--format", to}), Converted(wide, to));
        }
    }
}

TEST_F(Convert, FadesEightChannels)
{
    const Sound narrow = Noise(SF_FORMAT_PCM_16, 8, 1500);
    const Sound wide = Noise(SF_FORMAT_PCM_24, 8, 1500);
    for (const char* to : {"16", "24in32", "24in24"}) {
        ExpectSame(Run(narrow, {"--format", to, "--fade-in", "--fade-out"}), Converted(narrow, to, true, true));
        ExpectSame(Run(wide, {"--format", to, "--fade-in"}), Converted(wide, to, true, false));
        ExpectSame(Run(wide, {"--format", to, "--fade-out"}), Converted(wide, to, false, true));
    }
}

TEST_F(Convert, FadesFilesAboutAsLongAsTheFade)
{
    for (const long frames : {1, 199, 200, 201, 399, 400, 401}) {
        for (const char* to : {"16", "24in24", "float"}) {
            SCOPED_TRACE(std::to_string(frames) + " frames to " + to);
            const Sound sound = Noise(SF_FORMAT_PCM_16, 1, frames);
            for (const char* block : {"1", "200", "4096"}) {
                ExpectSame(Run(sound, {"--format", to, "--block", block, "--fade-in"}),
                           Converted(sound, to, true, false));
                ExpectSame(Run(sound, {"--format", to, "--block", block, "--fade-out"}),
                           Converted(sound, to, false, true));
                ExpectSame(Run(sound, {"--format", to, "--block", block, "--fade-in", "--fade-out"}),
                           Converted(sound, to, true, true));
            }
        }
    }
}

TEST_F(Convert, AcceptsAnEmptyFile)
{
    for (const std::string& to : kFormats) {
        const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 0);
        ExpectSame(Run(sound, {"--format", to, "--fade-in", "--fade-out"}), Converted(sound, to));
    }
}

TEST_F(Convert, AcceptsAFileOfOneFrame)
{
    for (const std::string& to : kFormats) {
        const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 1);
        ExpectSame(Run(sound, {"--format", to}), Converted(sound, to));
    }
}

TEST_F(Convert, CopiesAnyRateAndChannelCountWithinAFormat)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        const Sound sound = Noise(subtype, 6, 2000, 96000);
        ExpectSame(Run(sound, {}), sound);
    }
}

TEST_F(Convert, WritesEveryContainerByItsExtension)
{
    const std::vector<std::pair<std::string, int>> containers = {
        {"wav", SF_FORMAT_WAV},  {"w64", SF_FORMAT_W64},   {"rf64", SF_FORMAT_RF64}, {"aiff", SF_FORMAT_AIFF},
        {"aif", SF_FORMAT_AIFF}, {"flac", SF_FORMAT_FLAC}, {"WAV", SF_FORMAT_WAV}};
    for (const auto& [extension, type] : containers) {
        for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
            SCOPED_TRACE(extension);
            const Sound sound = Noise(subtype, 2, 3000);
            const Sound out = Run(sound, {}, "out." + extension);
            EXPECT_EQ(out.format & SF_FORMAT_TYPEMASK, type);
            ExpectSame(out, sound);
            // And back, so that every container is read too.
            const RunResult back = RunTool({"convert", File("out." + extension), File("back.wav")});
            EXPECT_EQ(back.exitCode, 0) << back.errors;
            ExpectSame(ReadSound(File("back.wav")), sound);
        }
    }
}

TEST_F(Convert, ReadsOggAsFloat)
{
    Sound sound = Noise(SF_FORMAT_FLOAT, 1, 5000);
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        sound.samples[i] = std::bit_cast<std::int32_t>(0.5F * std::sin(static_cast<float>(i) * 0.05F));
    }
    sound.format = SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    WriteSound(File("in.ogg"), sound);
    const RunResult run = RunTool({"convert", File("in.ogg"), File("out.wav")});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    const Sound out = ReadSound(File("out.wav"));
    EXPECT_EQ(out.Subtype(), SF_FORMAT_FLOAT);
    EXPECT_EQ(out.Frames(), 5000);
}

TEST_F(Convert, ReadsEightBitsAsSixteen)
{
    Sound sound = Noise(SF_FORMAT_PCM_24, 1, 1000);
    for (std::int32_t& sample : sound.samples) {
        sample &= ~0xFFFFFF;
    }
    Sound expected = Converted(sound, "16");
    sound.format = SF_FORMAT_WAV | SF_FORMAT_PCM_U8;
    ExpectSame(Run(sound, {}), expected);
}

TEST_F(Convert, NotesThat32BitIntegersLoseTheirLowByte)
{
    const Sound sound = Noise(SF_FORMAT_PCM_32, 1, 1000);
    Sound expected = sound;
    expected.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    for (std::int32_t& sample : expected.samples) {
        sample &= ~0xFF;
    }
    ExpectSame(Run(sound, {}), expected);
    EXPECT_EQ(last_.errors, "ztaudio: note: " + in_ + ": 32-bit integer samples: the low 8 bits are dropped\n");
    ExpectSame(Run(sound, {"--format", "float"}), Converted(expected, "float"));
}

TEST_F(Convert, NotesThatDoublesAreRounded)
{
    Sound sound = Noise(SF_FORMAT_FLOAT, 1, 1000);
    const Sound expected = sound;
    sound.format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
    ExpectSame(Run(sound, {}), expected);
    EXPECT_EQ(last_.errors, "ztaudio: note: " + in_ + ": double-precision samples: rounded to single precision\n");
}

TEST_F(Convert, PrintsNothingWithQuiet)
{
    Run(Noise(SF_FORMAT_PCM_32, 1, 1000), {"--quiet"});
    EXPECT_EQ(last_.errors, "");
    EXPECT_EQ(last_.output, "");
}

TEST_F(Convert, CarriesOverTitleAndArtist)
{
    WriteDescribedSound(in_, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, [](SNDFILE* file) {
        sf_set_string(file, SF_STR_TITLE, "Morning");
        sf_set_string(file, SF_STR_ARTIST, "A. Speaker");
    });
    for (const char* name : {"out.wav", "out.flac", "out.aiff", "out.rf64"}) {
        ASSERT_EQ(RunTool({"convert", in_, File(name)}).exitCode, 0);
        const SoundFile file = OpenSound(File(name));
        EXPECT_STREQ(sf_get_string(file.get(), SF_STR_TITLE), "Morning") << name;
        EXPECT_STREQ(sf_get_string(file.get(), SF_STR_ARTIST), "A. Speaker") << name;
    }
}

TEST_F(Convert, KeepsTheChannelMapOfAnExtensibleWav)
{
    const std::vector<int> map = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE};
    const int bytes = static_cast<int>(map.size() * sizeof(int));
    WriteDescribedSound(in_, SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, 4, [&](SNDFILE* file) {
        std::vector<int> copy = map;
        EXPECT_EQ(sf_command(file, SFC_SET_CHANNEL_MAP_INFO, copy.data(), bytes), SF_TRUE);
    });
    ASSERT_EQ(RunTool({"convert", in_, File("out.wav")}).exitCode, 0);
    const SoundFile file = OpenSound(File("out.wav"));
    SF_INFO info{};
    sf_command(file.get(), SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
    EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_WAVEX);
    std::vector<int> copy(map.size());
    EXPECT_EQ(sf_command(file.get(), SFC_GET_CHANNEL_MAP_INFO, copy.data(), bytes), SF_TRUE);
    EXPECT_EQ(copy, map);
}

TEST_F(Convert, CarriesOverTheBroadcastRecord)
{
    WriteDescribedSound(in_, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, [](SNDFILE* file) {
        SF_BROADCAST_INFO broadcast{};
        std::snprintf(broadcast.originator, sizeof broadcast.originator, "Studio 4");
        broadcast.time_reference_low = 123456;
        EXPECT_EQ(sf_command(file, SFC_SET_BROADCAST_INFO, &broadcast, sizeof broadcast), SF_TRUE);
    });
    ASSERT_EQ(RunTool({"convert", in_, File("out.wav")}).exitCode, 0);
    const SoundFile file = OpenSound(File("out.wav"));
    SF_BROADCAST_INFO out{};
    EXPECT_EQ(sf_command(file.get(), SFC_GET_BROADCAST_INFO, &out, sizeof out), SF_TRUE);
    EXPECT_STREQ(out.originator, "Studio 4");
    EXPECT_EQ(out.time_reference_low, 123456U);
}

TEST_F(Convert, ReplacesAnExistingFileAndKeepsItsRights)
{
    WriteTextFile(File("out.wav"), "old");
    std::filesystem::permissions(File("out.wav"), std::filesystem::perms(0640));
    const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 100);
    ExpectSame(Run(sound, {}), sound);
    EXPECT_EQ(std::filesystem::status(File("out.wav")).permissions(), std::filesystem::perms(0640));
}

TEST_F(Convert, WritesThroughALink)
{
    WriteTextFile(File("real.wav"), "old");
    std::filesystem::create_symlink("real.wav", File("out.wav"));
    const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 100);
    ExpectSame(Run(sound, {}), sound);
    EXPECT_TRUE(std::filesystem::is_symlink(File("out.wav")));
    ExpectSame(ReadSound(File("real.wav")), sound);
}

TEST_F(Convert, LeavesNothingButItsOutput)
{
    Run(Noise(SF_FORMAT_PCM_16, 1, 100), {});
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"in.wav", "out.wav"}));
}

TEST_F(Convert, RejectsAnEmptySoundWhereAContainerCannotHoldIt)
{
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 1, 0));
    for (const auto& [extension, name] :
         {std::pair("flac", "FLAC"), std::pair("opus", "Opus"), std::pair("mp3", "MP3")}) {
        const std::string out = File(std::string("out.") + extension);
        const RunResult run = RunTool({"convert", in_, out});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.errors, "ztaudio: " + out + ": " + name + " cannot hold a sound without sample frames\n");
        EXPECT_FALSE(std::filesystem::exists(out));
    }
    for (const std::string extension : {"wav", "w64", "rf64", "aiff", "au", "caf", "ogg"}) {
        const std::string out = File("out." + extension);
        EXPECT_EQ(RunTool({"convert", in_, out}).exitCode, 0);
        EXPECT_NE(RunTool({"info", out}).output.find("  length     "), std::string::npos);
    }
}

// The engine's pool takes 25 MB; the samples of the file take 23 MB as they come in and 46 MB as they go out.
TEST_F(Convert, NeedsNoMoreMemoryForALongFile)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs memory of its own";
#endif
    const Sound twoMinutes = Noise(SF_FORMAT_PCM_16, 2, 120 * 48000L);
    WriteSound(in_, twoMinutes);
    const RunResult run = RunTool({"convert", in_, File("out.wav"), "--format", "24in32", "--fade-in", "--fade-out"},
                                  {.memoryLimit = 32UL << 20});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    ExpectSame(ReadSound(File("out.wav")), Converted(twoMinutes, "24in32", true, true));
}

TEST_F(Convert, ShowsProgressOnATerminal)
{
    if (!HasTerminals()) {
        GTEST_SKIP() << "needs a pseudo-terminal";
    }
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 2, 480000));
    const RunResult run = RunTool({"convert", in_, File("out.wav")}, {.terminal = true});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.errors.find("x real time, "), std::string::npos) << run.errors;
    EXPECT_NE(run.errors.find("out.wav: 0:10 of sound in "), std::string::npos) << run.errors;
    const RunResult narrow = RunTool({"convert", in_, File("out.wav")}, {.terminal = true, .columns = 40});
    EXPECT_NE(narrow.errors.find("0:10 of sound in "), std::string::npos) << narrow.errors;
    std::size_t length = 0;
    for (const char letter : narrow.errors) { // of each line as it is drawn
        length = letter == '\r' || letter == '\n' ? 0 : length + 1;
        EXPECT_LE(length, 40U) << narrow.errors;
    }
    const RunResult quiet = RunTool({"--quiet", "convert", in_, File("out.wav")}, {.terminal = true});
    EXPECT_EQ(quiet.errors, "");
}

} // namespace
