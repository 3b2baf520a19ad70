// What cannot be done ends in one line, a non-zero exit code, and nothing changed.
#include "tests/support/temp_directory.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/sounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>

namespace {

class BadInput : public ::testing::Test {
protected:
    BadInput() { WriteSound(in_, Noise(SF_FORMAT_PCM_16, 2, 48000)); }

    std::map<std::string, std::string> Content() const
    {
        std::map<std::string, std::string> content;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path())) {
            content[entry.path()] = entry.is_regular_file() ? ReadTextFile(entry.path()) : "";
        }
        return content;
    }

    /// Runs the tool, which must fail and change no file; gives its one line.
    std::string Fails(const std::vector<std::string>& arguments, int exitCode = 1, const RunOptions& options = {})
    {
        const auto before = Content();
        const RunResult run = RunTool(arguments, options);
        EXPECT_EQ(run.exitCode, exitCode) << "signal " << run.signal;
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(std::ranges::count(run.errors, '\n'), 1) << run.errors;
        EXPECT_TRUE(run.errors.starts_with("ztaudio: ") && run.errors.ends_with('\n')) << run.errors;
        EXPECT_TRUE(Content() == before) << "a file has changed, come or gone";
        return run.errors;
    }

    void Truncate(const std::string& path, std::uintmax_t missing)
    {
        std::filesystem::resize_file(path, std::filesystem::file_size(path) - missing);
    }

    TempDirectory folder_;
    std::string in_ = folder_.File("in.wav");
    std::string out_ = folder_.File("out.wav");
};

TEST_F(BadInput, AMissingFile)
{
    const std::string missing = folder_.File("missing.wav");
    EXPECT_EQ(Fails({"convert", missing, out_}), "ztaudio: " + missing + ": No such file or directory\n");
    EXPECT_EQ(Fails({"info", missing}), "ztaudio: " + missing + ": No such file or directory\n");
}

TEST_F(BadInput, ADirectory)
{
    const std::string folder = folder_.Path().string();
    EXPECT_EQ(Fails({"convert", folder, out_}), "ztaudio: " + folder + ": not a regular file\n");
    EXPECT_EQ(Fails({"info", folder}), "ztaudio: " + folder + ": not a regular file\n");
}

TEST_F(BadInput, AFileThatIsNotAudio)
{
    const std::string text = folder_.File("text.wav");
    for (const std::string& content : {std::string(), std::string("RIFF"), std::string(5000, 'x')}) {
        WriteTextFile(text, content);
        EXPECT_NE(Fails({"convert", text, out_}).find("cannot read this as a sound file"), std::string::npos);
        Fails({"info", text});
    }
}

TEST_F(BadInput, ATruncatedFileOfEveryContainer)
{
    const std::vector<std::pair<std::string, int>> containers = {
        {"wav", SF_FORMAT_WAV},   {"rf64", SF_FORMAT_RF64}, {"w64", SF_FORMAT_W64},
        {"aiff", SF_FORMAT_AIFF}, {"flac", SF_FORMAT_FLAC}, {"wavex.wav", SF_FORMAT_WAVEX}};
    for (const auto& [extension, type] : containers) {
        SCOPED_TRACE(extension);
        Sound sound = Noise(SF_FORMAT_PCM_16, 2, 20000);
        sound.format = type | SF_FORMAT_PCM_16;
        const std::string path = folder_.File("short." + extension);
        WriteSound(path, sound);
        Truncate(path, 40001);
        EXPECT_NE(Fails({"convert", path, out_}).find("truncated"), std::string::npos);
    }
}

TEST_F(BadInput, AWavThatLacksOneByte)
{
    Truncate(in_, 1);
    EXPECT_EQ(Fails({"convert", in_, out_}),
              "ztaudio: " + in_ + ": truncated: 1 bytes of samples are missing that its header promises\n");
}

TEST_F(BadInput, AnOutputFolderThatCannotBeWritten)
{
    WriteTextFile(folder_.File("file"), "");
    for (const std::string& folder : {folder_.File("file"), folder_.File("missing"), std::string("/proc")}) {
        EXPECT_NE(Fails({"convert", in_, folder + "/out.wav"}).find("out.wav: cannot write: "), std::string::npos);
    }
}

TEST_F(BadInput, AnOutputThatIsNoFile)
{
    std::filesystem::create_directory(out_);
    EXPECT_EQ(Fails({"convert", in_, out_}), "ztaudio: " + out_ + ": cannot write: not a regular file\n");
}

// A limit on the size of files fails writes in the same way as a full disk: in the middle, or in the last bytes, which
// an encoder keeps back until the file is closed.
TEST_F(BadInput, AFullDisk)
{
    for (const char* name : {"out.wav", "out.flac", "out.w64", "out.rf64", "out.aiff"}) {
        SCOPED_TRACE(name);
        const std::string reference = folder_.File(std::string("reference_") + name);
        ASSERT_EQ(RunTool({"convert", in_, reference}).exitCode, 0);
        const auto length = static_cast<unsigned long>(std::filesystem::file_size(reference));
        for (const unsigned long limit : {0UL, 10UL, length / 2, length - 1}) {
            EXPECT_EQ(Fails({"convert", in_, folder_.File(name)}, 1, {.fileSizeLimit = limit}),
                      "ztaudio: " + folder_.File(name) + ": cannot write: File too large\n");
        }
    }
}

TEST_F(BadInput, AFullDiskKeepsTheExistingOutput)
{
    WriteTextFile(out_, "precious");
    Fails({"convert", in_, out_}, 1, {.fileSizeLimit = 10000});
    EXPECT_EQ(ReadTextFile(out_), "precious");
}

TEST_F(BadInput, AnInputThatIsTheOutput)
{
    const std::string text = "input and output are the same file\n";
    EXPECT_TRUE(Fails({"convert", in_, in_}).ends_with(text));
    std::filesystem::create_symlink("in.wav", folder_.File("soft.wav"));
    EXPECT_TRUE(Fails({"convert", in_, folder_.File("soft.wav")}).ends_with(text));
    std::filesystem::create_hard_link(in_, folder_.File("hard.wav"));
    EXPECT_TRUE(Fails({"convert", folder_.File("hard.wav"), in_}).ends_with(text));
}

TEST_F(BadInput, ARefusalKeepsTheExistingOutput)
{
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 1, 1000, 44100));
    WriteTextFile(out_, "precious");
    Fails({"convert", in_, out_, "--format", "float"});
    EXPECT_EQ(ReadTextFile(out_), "precious");
}

TEST_F(BadInput, AContainerThatDoesNotHoldTheSamples)
{
    EXPECT_EQ(Fails({"convert", in_, folder_.File("out.flac"), "--format", "float"}),
              "ztaudio: " + folder_.File("out.flac") + ": FLAC cannot hold float 32 stereo, 48000 Hz\n");
    WriteSound(in_, Noise(SF_FORMAT_PCM_16, 16, 100));
    Fails({"convert", in_, folder_.File("out.flac")});
}

// An input of 5 GB, nearly all of it a hole in the file.
TEST_F(BadInput, ASoundTooLongForItsContainer)
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
        EXPECT_EQ(Fails({"convert", path, folder_.File(name)}),
                  "ztaudio: " + folder_.File(name) +
                      ": longer than the 4 GiB of its container: use .w64, .rf64 or .flac\n");
    }
}

TEST_F(BadInput, AWrongCommandLine)
{
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"bogus"},
        {"info"},
        {"convert"},
        {"convert", in_},
        {"convert", in_, out_, "--format", "32"},
        {"convert", in_, out_, "--format", ""},
        {"convert", in_, out_, "--block", "0"},
        {"convert", in_, out_, "--block", "-1"},
        {"convert", in_, out_, "--block", "1000000000000"},
        {"convert", in_, out_, "--block", "many"},
        {"convert", in_, out_, "--bogus"},
        {"convert", in_, folder_.File("out.ogg")},
        {"convert", in_, folder_.File("out")},
        {"register"},
        {"unregister"},
    };
    for (const auto& line : lines) {
        SCOPED_TRACE(::testing::PrintToString(line));
        EXPECT_TRUE(Fails(line, 2).ends_with(" (see ztaudio --help)\n"));
    }
}

TEST_F(BadInput, AModuleThatIsNotThere)
{
    EXPECT_NE(Fails({"convert", in_, out_, "--module", "/nonexistent.so"}).find("/nonexistent.so"), std::string::npos);
    EXPECT_NE(Fails({"convert", in_, out_, "--module", in_}).find(in_), std::string::npos);
    EXPECT_NE(
        Fails({"convert", in_, out_}, 1, {.environment = {{"ZTAUDIO_MODULE", "/elsewhere.so"}}}).find("/elsewhere.so"),
        std::string::npos);
}

class Interruption : public BadInput, public ::testing::WithParamInterface<int> {};

TEST_P(Interruption, RemovesTheHalfWrittenFileAndDiesByTheSignal)
{
    WriteTextFile(out_, "precious");
    const auto before = Content();
    const RunResult run = RunTool({"convert", in_, out_, "--block", "1"},
                                  {.signalAtFirstTemporary = GetParam(), .watchedFolder = folder_.Path().string()});
    EXPECT_EQ(run.signal, GetParam());
    EXPECT_EQ(run.errors, "ztaudio: interrupted\n");
    EXPECT_TRUE(Content() == before);
}

INSTANTIATE_TEST_SUITE_P(Signals, Interruption, ::testing::Values(SIGINT, SIGTERM, SIGHUP));

} // namespace
