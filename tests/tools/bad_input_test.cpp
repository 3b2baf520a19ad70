// A command that fails prints one line, returns a non-zero exit code, and changes nothing.
#include "tests/tools/command_test.h"

#include <csignal>

#include <unistd.h>

namespace {

class BadInput : public CommandTest {
protected:
    BadInput() { WriteSound(in_, Noise(SF_FORMAT_PCM_16, 2, 48000)); }

    void Truncate(const std::string& path, std::uintmax_t missing)
    {
        std::filesystem::resize_file(path, std::filesystem::file_size(path) - missing);
    }

    std::string in_ = File("in.wav");
    std::string out_ = File("out.wav");
};

TEST_F(BadInput, RejectsAMissingFile)
{
    const std::string missing = File("missing.wav");
    EXPECT_EQ(Fails({"convert", missing, out_}), "ztaudio: " + missing + ": No such file or directory\n");
    EXPECT_EQ(Fails({"info", missing}), "ztaudio: " + missing + ": No such file or directory\n");
}

TEST_F(BadInput, RejectsADirectory)
{
    const std::string folder = folder_.Path().string();
    EXPECT_EQ(Fails({"convert", folder, out_}), "ztaudio: " + folder + ": not a regular file\n");
    EXPECT_EQ(Fails({"info", folder}), "ztaudio: " + folder + ": not a regular file\n");
}

TEST_F(BadInput, RejectsAFileWithoutSound)
{
    const std::string text = File("text.wav");
    for (const std::string& content : {std::string(), std::string("RIFF"), std::string(5000, 'x')}) {
        WriteTextFile(text, content);
        EXPECT_NE(Fails({"convert", text, out_}).find("cannot read this as a sound file"), std::string::npos);
        EXPECT_EQ(Fails({"convert", text, out_}).ends_with(": the file is empty\n"), content.empty());
        Fails({"info", text});
    }
}

struct LengthCase {
    int format;
    int maxChannels = 2;
    long terminatorBytes = 0; ///< after the samples
};

// The containers whose header contains the length, and FLAC, which shows it when it is read.
const std::vector<LengthCase> kContainersWithLength = {
    {SF_FORMAT_WAV | SF_FORMAT_PCM_16},
    {SF_FORMAT_WAVEX | SF_FORMAT_PCM_24},
    {SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
    {SF_FORMAT_W64 | SF_FORMAT_PCM_16},
    {SF_FORMAT_AU | SF_FORMAT_PCM_16},
    {SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
    {SF_FORMAT_CAF | SF_FORMAT_PCM_16},
    {SF_FORMAT_SVX | SF_FORMAT_PCM_16, 1},
    {SF_FORMAT_AVR | SF_FORMAT_PCM_16},
    {SF_FORMAT_AVR | SF_FORMAT_PCM_U8},
    {SF_FORMAT_MAT4 | SF_FORMAT_PCM_16},
    {SF_FORMAT_MAT4 | SF_ENDIAN_BIG | SF_FORMAT_PCM_32},
    {SF_FORMAT_MAT4 | SF_FORMAT_DOUBLE},
    {SF_FORMAT_MAT5 | SF_FORMAT_PCM_16},
    {SF_FORMAT_MAT5 | SF_ENDIAN_BIG | SF_FORMAT_FLOAT},
    {SF_FORMAT_MPC2K | SF_FORMAT_PCM_16},
    {SF_FORMAT_NIST | SF_FORMAT_PCM_16},
    {SF_FORMAT_NIST | SF_FORMAT_ULAW},
    {SF_FORMAT_VOC | SF_FORMAT_PCM_16, 2, 1},
    {SF_FORMAT_WVE | SF_FORMAT_ALAW, 1},
};

TEST_F(BadInput, RejectsATruncatedFileOfEveryContainer)
{
    const std::string path = File("short");
    for (const auto& [format, maxChannels, terminatorBytes] : kContainersWithLength) {
        for (int channels = 1; channels <= maxChannels; ++channels) {
            SCOPED_TRACE(::testing::Message() << std::hex << "format " << format << ", channels " << channels);
            Sound sound = Noise(SF_FORMAT_PCM_24, channels, 4000, 8000);
            sound.format = format;
            WriteSound(path, sound);
            EXPECT_EQ(RunTool({"convert", path, out_, "-q"}).errors, "");
            Truncate(path, 2001 + static_cast<std::uintmax_t>(terminatorBytes));
            EXPECT_EQ(Fails({"convert", path, out_}),
                      "ztaudio: " + path +
                          ": truncated: 2001 bytes of samples are missing that its header promises (--salvage reads "
                          "the others)\n");
            ASSERT_EQ(RunTool({"convert", path, out_, "-q", "--salvage"}).exitCode, 0);
            const long frames = ReadSound(out_).Frames();
            EXPECT_GE(frames, 4000 - 2002);
            EXPECT_LT(frames, 4000);
        }
    }
    WriteSound(path, {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2, 48000, Noise(SF_FORMAT_PCM_16, 2, 20000).samples});
    Truncate(path, 40001);
    EXPECT_NE(Fails({"convert", path, out_}).find("truncated"), std::string::npos);
}

TEST_F(BadInput, RejectsATruncatedFileOfEveryLossyCodec)
{
    for (const std::string extension : {"ogg", "opus", "mp3"}) {
        SCOPED_TRACE(extension);
        const std::string path = File("short." + extension);
        ASSERT_EQ(RunTool({"convert", in_, path}).exitCode, 0);
        const auto size = std::filesystem::file_size(path);
        Truncate(path, size / 2);
        EXPECT_TRUE(Fails({"convert", path, out_}).starts_with("ztaudio: " + path + ": truncated: "));
    }
}

TEST_F(BadInput, RejectsAFileOfAnotherFormatThanInputFormat)
{
    const std::vector<std::pair<std::string, std::string>> names = {
        {"wav", "WAV (Microsoft)"},   {"flac", "FLAC (Free Lossless Audio Codec)"}, {"au", "AU (Sun/NeXT)"},
        {"aiff", "AIFF (Apple/SGI)"}, {"ogg", "OGG (OGG Container format)"},        {"mp3", "MPEG-1/2 Audio"}};
    for (const auto& [extension, name] : names) {
        const std::string path = File("named." + extension);
        ASSERT_EQ(RunTool({"convert", in_, path}).exitCode, 0);
        for (const std::string format : {"wav", "flac", "au"}) {
            SCOPED_TRACE(extension + " as " + format);
            if (format == extension) {
                EXPECT_EQ(RunTool({"analyze", path, "--input-format", format}).exitCode, 0);
                continue;
            }
            EXPECT_EQ(Fails({"convert", path, out_, "--input-format", format}),
                      "ztaudio: " + path + ": --input-format is " + format + ", but this is " + name + "\n");
        }
    }
    EXPECT_EQ(
        Fails({"convert", in_, out_, "--input-format", "au", "--raw", "16,48000,2"}, 2),
        "ztaudio: --raw describes samples without a header, so --input-format cannot be au (see ztaudio --help)\n");
}

TEST_F(BadInput, RejectsAWavThatLacksOneByte)
{
    Truncate(in_, 1);
    EXPECT_EQ(Fails({"convert", in_, out_}),
              "ztaudio: " + in_ +
                  ": truncated: 1 byte of samples is missing that its header promises (--salvage reads the others)\n");
}

TEST_F(BadInput, RejectsAnOutputFolderThatCannotBeWritten)
{
    WriteTextFile(File("file"), "");
    for (const std::string& folder : {File("file"), File("missing"), std::string("/proc")}) {
        EXPECT_NE(Fails({"convert", in_, folder + "/out.wav"}).find("out.wav: cannot write: "), std::string::npos);
    }
}

TEST_F(BadInput, RejectsAnOutputThatIsNoFile)
{
    std::filesystem::create_directory(out_);
    EXPECT_EQ(Fails({"convert", in_, out_}), "ztaudio: " + out_ + ": cannot write: not a regular file\n");
}

// A limit on the size of files fails writes in the same way as a full disk: in the middle, or in the last bytes, which
// an encoder keeps back until the file is closed.
TEST_F(BadInput, ReportsAFullDisk)
{
    for (const char* name : {"out.wav", "out.flac", "out.w64", "out.rf64", "out.aiff"}) {
        SCOPED_TRACE(name);
        const std::string reference = File(std::string("reference_") + name);
        ASSERT_EQ(RunTool({"convert", in_, reference}).exitCode, 0);
        const auto length = static_cast<unsigned long>(std::filesystem::file_size(reference));
        for (const unsigned long limit : {0UL, 10UL, length / 2, length - 1}) {
            EXPECT_EQ(Fails({"convert", in_, File(name)}, 1, {.fileSizeLimit = limit}),
                      "ztaudio: " + File(name) + ": cannot write: File too large\n");
        }
    }
}

TEST_F(BadInput, KeepsTheExistingOutputOnAFullDisk)
{
    WriteTextFile(out_, "precious");
    Fails({"convert", in_, out_}, 1, {.fileSizeLimit = 10000});
    EXPECT_EQ(ReadTextFile(out_), "precious");
}

TEST_F(BadInput, RejectsAnInputThatIsTheOutput)
{
    const std::string text = "input and output are the same file\n";
    EXPECT_TRUE(Fails({"convert", in_, in_}).ends_with(text));
    std::filesystem::create_symlink("in.wav", File("soft.wav"));
    EXPECT_TRUE(Fails({"convert", in_, File("soft.wav")}).ends_with(text));
    std::filesystem::create_hard_link(in_, File("hard.wav"));
    EXPECT_TRUE(Fails({"convert", File("hard.wav"), in_}).ends_with(text));
}

TEST_F(BadInput, KeepsTheExistingOutputIfItRejectsTheInput)
{
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 65, 1000));
    WriteTextFile(out_, "precious");
    Fails({"convert", in_, out_, "--format", "float"});
    EXPECT_EQ(ReadTextFile(out_), "precious");
}

TEST_F(BadInput, RejectsAContainerWithoutTheSampleFormat)
{
    EXPECT_EQ(Fails({"convert", in_, File("out.flac"), "--format", "float"}),
              "ztaudio: " + File("out.flac") +
                  ": FLAC cannot hold float 32 stereo, 48000 Hz: convert with --format 24, or write .wav\n");
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 16, 100));
    EXPECT_EQ(Fails({"convert", in_, File("out.flac")}),
              "ztaudio: " + File("out.flac") + ": FLAC cannot hold 16-in-16 16 channels, 48000 Hz: write .wav\n");
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 2, 100, 44100));
    EXPECT_EQ(Fails({"convert", in_, File("out.opus")}),
              "ztaudio: " + File("out.opus") +
                  ": cannot write 16-in-16 stereo, 44100 Hz: Opus only supports sample rates of 8000, 12000, 16000, "
                  "24000, and 48000.\n");
}

// An input of 5 GB, nearly all of it a hole in the file.
TEST_F(BadInput, RejectsASoundTooLongForItsContainer)
{
    Sound sound = Noise(SF_FORMAT_PCM_16, 1, 100);
    sound.format = SF_FORMAT_W64 | SF_FORMAT_PCM_16;
    TempDirectory elsewhere;
    const std::string path = elsewhere.File("long.w64");
    WriteSound(path, sound);
    std::string bytes = ReadTextFile(path);
    const std::size_t header = bytes.find("data") + 16;
    const std::uint64_t samples = 5000000000;
    const std::uint64_t size = samples + 24;
    bytes.replace(header, 8, reinterpret_cast<const char*>(&size), 8);
    WriteTextFile(path, bytes.substr(0, header + 8));
    std::filesystem::resize_file(path, header + 8 + samples);
    for (const char* name : {"out.wav", "out.aiff"}) {
        EXPECT_EQ(Fails({"convert", path, File(name)}),
                  "ztaudio: " + File(name) + ": longer than the 4 GiB of its container: use .w64, .rf64 or .flac\n");
    }
}

TEST_F(BadInput, RejectsAWrongCommandLine)
{
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"bogus"},
        {"convert"},
        {"convert", in_},
        {"convert", in_, out_, "--format", "32"},
        {"convert", in_, out_, "--format", ""},
        {"convert", in_, out_, "--block", "0"},
        {"convert", in_, out_, "--block", "-1"},
        {"convert", in_, out_, "--block", "1000000000000"},
        {"convert", in_, out_, "--block", "many"},
        {"convert", in_, out_, "--bogus"},
        {"convert", in_, ""},
        {"convert", "", out_},
        {"convert", in_, File("out.xyz")},
        {"convert", in_, File("out")},
        {"register"},
        {"unregister"},
        {"mux"},
        {"mux", in_, in_},
        {"mux", in_, in_, "-o", File("out.xyz")},
        {"mux", in_, in_, "-o", out_, "--format", "float"},
        {"split", in_},
        {"split", in_, "-o", out_},
        {"split", in_, "-o", File("{}-{}.wav")},
        {"split", in_, "-o", File("{}-%d.wav")},
        {"split", in_, "-o", File("%s.wav")},
        {"split", in_, "-o", File("%2d.wav")},
        {"volume", in_, out_},
        {"resample", in_, out_},
        {"resample", in_, "--rate", "44100"},
        {"resample", in_, out_, "--rate", "0"},
        {"resample", in_, out_, "--rate", "-44100"},
        {"resample", in_, out_, "--rate", "fast"},
        {"resample", in_, out_, "--rate", "44100", "--block", "0"},
        {"resample", in_, File("out.xyz"), "--rate", "44100"},
        {"analyze"},
        {"analyze", in_, in_},
        {"volume", in_, "--gain", "1"},
        {"stereo", in_, in_},
        {"trim", in_},
    };
    for (const auto& line : lines) {
        SCOPED_TRACE(::testing::PrintToString(line));
        EXPECT_TRUE(Fails(line, 2).ends_with(" (see ztaudio --help)\n"));
    }
}

TEST_F(BadInput, NamesAWordThatIsNoCommand)
{
    for (const std::vector<std::string>& line :
         {std::vector<std::string>{"convrt", in_, out_, "-q"}, {"-q", "convrt"}}) {
        EXPECT_EQ(Fails(line, 2), "ztaudio: convrt is no command (see ztaudio --help)\n");
    }
}

TEST_F(BadInput, RejectsAnInvalidGain)
{
    for (const std::string gain :
         {"",      "x",   "8.5",  "8.0001", "-1",  "-0.1", "1:",    ":1",    "1:8.5",
          "1:2:3", "0=1", "-1=1", "=1",     "x=1", "1=",   "1=2=3", "1.5=1", "6db",
          "6 dB",  "dB",  "19dB", "nan",    "inf", "1x",   " 1",    "++1",   "99999999999=1"}) {
        SCOPED_TRACE(gain);
        const std::string text = " is no gain: [CH=]START[:END], each from 0 to 8 or in dB up to +18dB";
        for (const auto& line : std::vector<std::vector<std::string>>{
                 {"mux", in_, in_, "-o", out_}, {"split", in_, "-o", File("{}.wav")}, {"volume", in_, out_}}) {
            const std::string errors = Fails(Joined(line, {"--gain=" + gain}), 2);
            EXPECT_TRUE(gain.empty() || errors.find(gain + text) != std::string::npos) << errors;
        }
    }
}

TEST_F(BadInput, RejectsAGainForAMissingChannel)
{
    WriteTextFile(out_, "precious");
    EXPECT_EQ(Fails({"volume", in_, out_, "--gain", "3=1", "--format", "16"}, 2),
              "ztaudio: --gain 3=1: there is no such channel: there are 2 (see ztaudio --help)\n");
    Fails({"mux", in_, in_, "-o", out_, "--gain", "5=1", "--format", "24in32"}, 2);
    WriteSound(File("mux.wav"), Noise(SF_FORMAT_PCM_24, 4, 100));
    Fails({"split", File("mux.wav"), "-o", File("{}.wav"), "--gain", "5=1"}, 2);
}

TEST_F(BadInput, RejectsAnInvalidTime)
{
    for (const std::string time : {"", "x", "1.", ".5", "-1", "1:60", "0:60:00", "1:00:60", "1:2:3:4", "1,5", "5S",
                                   "1.5s", "s", "0.1234567890", "1e3", "1 "}) {
        SCOPED_TRACE(time);
        Fails({"trim", in_, out_, "--from=" + time}, 2);
        const std::string errors = Fails({"trim", in_, out_, "--to=" + time}, 2);
        EXPECT_TRUE(time.empty() || errors.find(time + " is no time: 1.5, 0:01.500 or") != std::string::npos) << errors;
    }
}

TEST_F(BadInput, RejectsARangeOutsideTheSound)
{
    WriteTextFile(out_, "precious");
    EXPECT_EQ(Fails({"trim", in_, out_, "--to", "48001s"}),
              "ztaudio: " + in_ + ": ends after 48000 sample frames, before the end of the range at 48001\n");
    EXPECT_EQ(Fails({"trim", in_, out_, "--from", "1"}),
              "ztaudio: " + in_ + ": has 48000 sample frames: nothing to copy from sample frame 48000 on\n");
    Fails({"trim", in_, out_, "--from", "0.5", "--to", "0.5"});
    Fails({"trim", in_, out_, "--from", "0.75", "--to", "0.5"});
    Fails({"trim", in_, out_, "--from", "10:00:00", "--to", "10:00:01"});
}

TEST_F(BadInput, RejectsAMuxOfTooFewOrTooManyChannels)
{
    WriteTextFile(out_, "precious");
    const std::string mono = File("mono.wav");
    WriteSound(mono, Noise(SF_FORMAT_PCM_16, 1, 100));
    EXPECT_EQ(Fails({"mux", mono, "-o", out_}),
              "ztaudio: the inputs have 1 channel in all: a multichannel file has 2 to 64\n");
    std::vector<std::string> arguments(65, mono);
    arguments.insert(arguments.begin(), {"mux", "-o", out_});
    EXPECT_EQ(Fails(arguments), "ztaudio: the inputs have 65 channels in all: a multichannel file has 2 to 64\n");
}

TEST_F(BadInput, RejectsAMuxOfMultichannelFiles)
{
    WriteSound(File("four.wav"), Noise(SF_FORMAT_PCM_16, 4, 100));
    EXPECT_EQ(Fails({"mux", File("four.wav"), in_, in_, "-o", out_}),
              "ztaudio: " + File("four.wav") +
                  ": has 4 channels: a multichannel file is interleaved from mono and stereo files; split this file "
                  "first\n");
}

TEST_F(BadInput, RejectsFilesOfDifferentRates)
{
    WriteTextFile(out_, "precious");
    const std::string slow = File("slow.wav");
    WriteSound(slow, Noise(SF_FORMAT_PCM_16, 2, 100, 44100));
    const std::string text = "ztaudio: " + slow + ": has 44100 Hz, and " + in_ + " has 48000 Hz\n";
    EXPECT_EQ(Fails({"mux", in_, slow, "-o", out_}), text);
    EXPECT_EQ(Fails({"stereo", in_, slow, out_}), text);
}

TEST_F(BadInput, RejectsMoreThan64Channels)
{
    const std::string x = File("x.wav");
    WriteSound(x, Noise(SF_FORMAT_PCM_16, 65, 10));
    const std::string text = "ztaudio: " + x +
                             ": has 65 channels, and at most 64 are processed: select some of them "
                             "with another program\n";
    EXPECT_EQ(Fails({"convert", x, out_}), text);
    EXPECT_EQ(Fails({"trim", x, out_}), text);
    EXPECT_EQ(Fails({"volume", x, out_, "--gain", "1"}), text);
    EXPECT_EQ(Fails({"split", x, "-o", File("{}.wav")}), text);
    EXPECT_EQ(Fails({"resample", x, out_, "--rate", "44100"}), text);
}

TEST_F(BadInput, RejectsTheWrongNumberOfChannels)
{
    const std::string x = File("x.wav");
    WriteSound(x, Noise(SF_FORMAT_PCM_16, 1, 10));
    EXPECT_EQ(Fails({"split", x, "-o", File("{}.wav")}),
              "ztaudio: " + x + ": has 1 channel: there is nothing to deinterleave\n");
    const std::string text = "ztaudio: " + in_ +
                             ": has 2 channels: a stereo file is interleaved from two mono files; split this file "
                             "first\n";
    EXPECT_EQ(Fails({"stereo", x, in_, out_}), text);
    EXPECT_EQ(Fails({"stereo", in_, x, out_}), text);
    WriteSound(x, Noise(SF_FORMAT_PCM_16, 3, 10));
    EXPECT_EQ(Fails({"split", x, "-o", File("{}.wav"), "--stereo"}),
              "ztaudio: " + x + ": has 3 channels, which are no pairs: omit --stereo for mono files\n");
}

TEST_F(BadInput, RejectsAnInputThatIsOneOfTheOutputs)
{
    const std::string text = "input and output are the same file\n";
    WriteSound(File("mono.wav"), Noise(SF_FORMAT_PCM_16, 1, 100));
    WriteSound(File("3.wav"), Noise(SF_FORMAT_PCM_16, 4, 100));
    EXPECT_TRUE(Fails({"mux", File("mono.wav"), in_, "-o", in_}).ends_with(text));
    EXPECT_TRUE(Fails({"split", File("3.wav"), "-o", File("{}.wav")}).ends_with(text));
    EXPECT_TRUE(Fails({"volume", in_, in_, "--gain", "1", "--format", "16"}).ends_with(text));
    EXPECT_TRUE(Fails({"stereo", File("mono.wav"), in_, in_}).ends_with(text));
    EXPECT_TRUE(Fails({"trim", in_, in_}).ends_with(text));
}

TEST_F(BadInput, RejectsATruncatedOrMissingFileAmongSeveral)
{
    WriteSound(File("short.wav"), Noise(SF_FORMAT_PCM_16, 2, 48000));
    Truncate(File("short.wav"), 1000);
    for (const char* name : {"short.wav", "missing.wav"}) {
        Fails({"mux", in_, File(name), "-o", out_});
        Fails({"stereo", in_, File(name), out_});
        Fails({"split", File(name), "-o", File("{}.wav")});
        Fails({"volume", File(name), out_, "--gain", "1"});
        Fails({"trim", File(name), out_});
    }
}

// All outputs of a split stay what they were, also those that were complete when another one failed.
TEST_F(BadInput, KeepsEveryOutputOfASplitOnAFullDisk)
{
    const std::string mux = File("mux.wav");
    WriteSound(mux, Noise(SF_FORMAT_PCM_16, 4, 20000));
    WriteTextFile(File("2.wav"), "precious");
    Fails({"split", mux, "-o", File("{}.wav")}, 1, {.fileSizeLimit = 30000});
    Fails({"mux", in_, in_, "-o", File("2.wav")}, 1, {.fileSizeLimit = 30000});
    std::filesystem::create_directory(File("4.wav"));
    Fails({"split", mux, "-o", File("{}.wav")});
}

/// Returns false if a folder above the tool is private, such as the home directory of root.
bool CanOtherUsersRunTool()
{
    for (std::filesystem::path folder = ZTA_TOOL_PATH; folder != folder.root_path();) {
        folder = folder.parent_path();
        if ((std::filesystem::status(folder).permissions() & std::filesystem::perms::others_exec) ==
            std::filesystem::perms::none) {
            return false;
        }
    }
    return true;
}

// In a folder like /tmp a user cannot rename a file to the name of another user's file. That shows when the first two
// outputs have their names already; they lose them again.
TEST_F(BadInput, RestoresTheOutputsOfASplitIfOneCannotGetItsName)
{
    if (geteuid() != 0 || !CanOtherUsersRunTool()) {
        GTEST_SKIP() << "needs a second user who can run the tool";
    }
    const std::string mux = File("mux.wav");
    WriteSound(mux, Noise(SF_FORMAT_PCM_16, 4, 100));
    const std::string shared = File("shared");
    std::filesystem::create_directory(shared);
    std::filesystem::permissions(shared, std::filesystem::perms(01777));
    std::filesystem::permissions(folder_.Path(), std::filesystem::perms(0755));
    for (const char* name : {"/1.wav", "/3.wav"}) {
        WriteTextFile(shared + name, "precious");
    }
    constexpr unsigned kNobody = 65534;
    std::filesystem::permissions(shared + "/3.wav", std::filesystem::perms(0666));
    ASSERT_EQ(chown((shared + "/1.wav").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(Fails({"split", mux, "-o", shared + "/{}.wav"}, 1, {.user = kNobody}),
              "ztaudio: " + shared + "/3.wav: cannot write: Operation not permitted\n");
}

TEST_F(BadInput, RejectsAnOutputThatItsUserMayNotWrite)
{
    if (geteuid() != 0 || !CanOtherUsersRunTool()) {
        GTEST_SKIP() << "needs a second user who can run the tool";
    }
    constexpr unsigned kNobody = 65534;
    std::filesystem::permissions(folder_.Path(), std::filesystem::perms(0777));
    WriteTextFile(out_, "precious");
    std::filesystem::permissions(out_, std::filesystem::perms(0644));
    EXPECT_EQ(Fails({"convert", in_, out_}, 1, {.user = kNobody}),
              "ztaudio: " + out_ + ": cannot write: Permission denied\n");
}

TEST_F(BadInput, RejectsAnExistingOutputWithNoClobber)
{
    WriteTextFile(out_, "precious");
    EXPECT_EQ(Fails({"convert", in_, out_, "--no-clobber"}),
              "ztaudio: " + out_ + ": exists already, and --no-clobber was given\n");
    WriteTextFile(File("2.wav"), "precious");
    Fails({"split", in_, "-o", File("{}.wav"), "--no-clobber"});
}

TEST_F(BadInput, RejectsGuardOfAPipe)
{
    EXPECT_EQ(Fails({"convert", "-", out_, "--guard"}, 2),
              "ztaudio: --guard reads the input twice, so it needs a file (see ztaudio --help)\n");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"mux", in_, "-", "-o", out_},
                                                      {"stereo", in_, "-", out_},
                                                      {"split", "-", "-o", "{}"}}) {
        EXPECT_EQ(Fails(Joined(arguments, {"--guard"}), 2),
                  "ztaudio: --guard reads the input twice, so it needs a file (see ztaudio --help)\n");
    }
}

TEST_F(BadInput, RejectsRawSamplesWithoutAFormat)
{
    EXPECT_EQ(Fails({"convert", in_, out_, "--input-format", "raw"}, 2),
              "ztaudio: --input-format raw needs --raw to describe the samples (see ztaudio --help)\n");
    for (const std::string raw :
         {"16", "16,48000", "16,48000,0", "16,0,1", "17,48000,1", "16,48000,1,", "16,48000,x"}) {
        SCOPED_TRACE(raw);
        EXPECT_NE(Fails({"convert", in_, out_, "--raw", raw}, 2).find(raw + " describes no raw samples"),
                  std::string::npos);
    }
}

TEST_F(BadInput, RejectsAMissingModule)
{
    EXPECT_NE(Fails({"convert", in_, out_, "--module", "/nonexistent.so"}).find("/nonexistent.so"), std::string::npos);
    EXPECT_NE(Fails({"convert", in_, out_, "--module", in_}).find(in_), std::string::npos);
    EXPECT_NE(
        Fails({"convert", in_, out_}, 1, {.environment = {{"ZTAUDIO_MODULE", "/elsewhere.so"}}}).find("/elsewhere.so"),
        std::string::npos);
}

class Interruption : public BadInput, public ::testing::WithParamInterface<int> {};

TEST_P(Interruption, LeavesNoUnfinishedFileAndEndsByTheSignal)
{
    WriteTextFile(out_, "precious");
    const auto before = Content();
    const RunResult run = RunTool({"convert", in_, out_, "--block", "1"},
                                  {.signalAtFirstTemporary = GetParam(), .watchedFolder = folder_.Path().string()});
    EXPECT_EQ(run.signal, GetParam());
    EXPECT_EQ(run.errors, "ztaudio: interrupted\n");
    EXPECT_TRUE(Content() == before);
}

TEST_P(Interruption, LeavesNoUnfinishedFileOfASplit)
{
    const std::string mux = File("mux.wav");
    WriteSound(mux, Noise(SF_FORMAT_PCM_24, 64, 48000));
    WriteTextFile(File("2.wav"), "precious");
    const auto before = Content();
    const RunResult run = RunTool({"split", mux, "-o", File("{}.wav"), "--gain", "0:8"},
                                  {.signalAtFirstTemporary = GetParam(), .watchedFolder = folder_.Path().string()});
    EXPECT_EQ(run.signal, GetParam());
    EXPECT_EQ(run.errors, "ztaudio: interrupted\n");
    EXPECT_TRUE(Content() == before);
}

INSTANTIATE_TEST_SUITE_P(Signals, Interruption, ::testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(BadInput, RejectsAnUnsupportedRate)
{
    for (const std::string rate : {"32000", "44099", "96000"}) {
        const std::string text =
            "ztaudio: --rate " + rate + ": the engine resamples between 44100 and 48000 Hz only: use one of them\n";
        EXPECT_EQ(Fails({"resample", in_, out_, "--rate", rate}), text);
        EXPECT_EQ(Fails({"convert", in_, out_, "--rate", rate}), text);
    }
    EXPECT_EQ(Fails({"resample", in_, out_, "--rate", "48000"}),
              "ztaudio: " + in_ + ": has 48000 Hz already: use ztaudio convert to copy it\n");
    const std::string other = File("other.wav");
    for (const int rate : {22050, 96000}) {
        WriteSound(other, Noise(SF_FORMAT_PCM_16, 1, 100, rate));
        for (const std::string command : {"resample", "convert"}) {
            EXPECT_EQ(Fails({command, other, out_, "--rate", "44100"}),
                      "ztaudio: " + other + ": has " + std::to_string(rate) +
                          " Hz, and the engine resamples between 44100 and 48000 Hz only: resample it to one of them "
                          "with another program, or omit the rate to keep it\n");
        }
    }
}

TEST_F(BadInput, FailsOnAnOverloadIfTheUserWants)
{
    const std::string hot = File("hot.wav");
    WriteSound(hot, Floats({0.5F, 1.0F, -1.25F}));
    WriteSound(File("mono.wav"), Noise(SF_FORMAT_PCM_16, 1, 48000));
    const std::string text = "ztaudio: " + hot + ": has samples beyond full scale, and --overload fail was given\n";
    EXPECT_EQ(Fails({"convert", hot, out_, "--format", "16", "--overload", "fail"}), text);
    EXPECT_EQ(Fails({"volume", hot, out_, "--gain", "1", "--format", "16", "--overload", "fail"}), text);
    EXPECT_EQ(Fails({"stereo", hot, File("mono.wav"), out_, "--overload", "fail"}), text);
    EXPECT_EQ(Fails({"mux", hot, hot, "-o", out_, "--overload", "fail"}), text);
    EXPECT_EQ(Fails({"resample", hot, out_, "--rate", "44100", "--overload", "fail", "-q"}), text);
    EXPECT_TRUE(Fails({"volume", in_, out_, "--gain", "2", "--format", "24in32", "--overload", "fail"})
                    .ends_with(": has samples beyond full scale, and --overload fail was given\n"));
}

TEST_F(BadInput, WritesNothingToAPipeIfOverloadFails)
{
    std::vector<float> values(2000000, 0.5F);
    values.back() = 1.5F;
    const std::string hot = File("hot.wav");
    const std::string silence = File("mono.wav");
    WriteSound(hot, Floats(values));
    WriteSound(silence, Noise(SF_FORMAT_PCM_16, 1, 48000));
    const std::string text = "ztaudio: " + hot + ": has samples beyond full scale, and --overload fail was given\n";
    for (const std::string container : {"wav", "au", "raw", "flac"}) {
        EXPECT_EQ(
            Fails({"convert", hot, "-", "--format", "16", "--overload", "fail", "--output-format", container, "-q"}),
            text);
    }
    EXPECT_EQ(Fails({"volume", hot, "-", "--gain", "1", "--overload", "fail", "-q"}), text);
    EXPECT_EQ(Fails({"resample", hot, "-", "--rate", "44100", "--overload", "fail", "-q"}), text);
    EXPECT_EQ(Fails({"stereo", hot, silence, "-", "--overload", "fail", "-q"}), text);
    EXPECT_EQ(Fails({"mux", hot, hot, "-o", "-", "--overload", "fail", "-q"}), text);
    const RunOptions noFolder = {.environment = {{"TMPDIR", File("none")}}};
    EXPECT_EQ(Fails({"convert", in_, "-", "--overload", "fail"}, 1, noFolder),
              "ztaudio: standard output: cannot write a temporary file: No such file or directory\n");
}

TEST_F(BadInput, RejectsAGainForIntegersInAConversion)
{
    EXPECT_EQ(Fails({"convert", in_, out_, "--gain", "0.5"}),
              "ztaudio: " + in_ + ": has integer samples: use ztaudio volume to apply a gain to them\n");
}

TEST_F(BadInput, ReportsAFailureWhileResampling)
{
    EXPECT_TRUE(Fails({"resample", in_, in_, "--rate", "44100"}).ends_with("input and output are the same file\n"));
    WriteTextFile(out_, "precious");
    EXPECT_EQ(Fails({"resample", in_, out_, "--rate", "44100"}, 1, {.fileSizeLimit = 10000}),
              "ztaudio: " + out_ + ": cannot write: File too large\n");
    Truncate(in_, 4001);
    EXPECT_NE(Fails({"resample", in_, out_, "--rate", "44100"}).find("truncated"), std::string::npos);
}

TEST_F(BadInput, RejectsAnImpossibleAnalysis)
{
    const std::string missing = File("missing.wav");
    const std::string plot = File("plot.svg");
    Fails({"analyze", missing, "--plot", plot});
    Fails({"analyze", in_, "--reference", missing, "--plot", plot});
    EXPECT_TRUE(Fails({"analyze", in_, "--plot", in_}).ends_with("input and output are the same file\n"));
    EXPECT_EQ(Fails({"analyze", in_, "--plot", File("missing/plot.svg")}),
              "ztaudio: " + File("missing/plot.svg") + ": cannot write: No such file or directory\n");
    WriteTextFile(plot, "precious");
    Fails({"analyze", in_, "--plot", plot}, 1, {.fileSizeLimit = 1000});
    for (const Sound& other : {Noise(SF_FORMAT_PCM_16, 1, 48000), Noise(SF_FORMAT_PCM_16, 2, 48000, 44100)}) {
        WriteSound(File("other.wav"), other);
        EXPECT_EQ(Fails({"analyze", in_, "--reference", File("other.wav")}),
                  "ztaudio: " + File("other.wav") + ": is no reference for " + in_ +
                      ", which has another rate or other channels\n");
    }
    Truncate(in_, 4001);
    EXPECT_NE(Fails({"analyze", in_, "--plot", plot}).find("truncated"), std::string::npos);
}

} // namespace
