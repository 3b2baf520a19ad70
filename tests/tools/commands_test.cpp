// ztaudio's help, versions, info and registration.
#include "testing/temp_directory.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/sounds.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const std::string kModule = std::filesystem::path(ZTA_BUILD_DIR) / "libZtaAudioSamplesEngine.so";

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(Help, ShowsExamplesForTheToolAndForEachCommand)
{
    const RunResult tool = RunTool({"--help"});
    EXPECT_EQ(tool.exitCode, 0);
    EXPECT_EQ(tool.errors, "");
    for (const std::string command : {"info", "convert", "trim", "stereo", "volume", "mux", "split", "resample",
                                      "analyze", "register", "unregister"}) {
        EXPECT_TRUE(Has(tool.output, "  " + command + " ")) << tool.output;
        const RunResult help = RunTool({command, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_TRUE(Has(help.output, "Example")) << help.output;
        EXPECT_TRUE(Has(help.output, "\n  ztaudio " + command + " ")) << help.output;
    }
    EXPECT_TRUE(Has(tool.output, "Exit code: 0"));
}

TEST(Version, NamesToolAndModule)
{
    const RunResult run = RunTool({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.errors, "");
    EXPECT_TRUE(run.output.starts_with("ztaudio " ZTA_VERSION ", revision ")) << run.output;
    EXPECT_TRUE(Has(run.output, "\nmodule  " ZTA_VERSION ", revision ")) << run.output;
    EXPECT_TRUE(run.output.ends_with(", " + kModule + "\n")) << run.output;
}

TEST(ModuleSearch, FindsTheModuleBesideTheToolOrInTheLibFolderNextToIt)
{
    const TempDirectory folder;
    for (const std::string place : {"bin/libZtaAudioSamplesEngine.so", "lib/libZtaAudioSamplesEngine.so.1"}) {
        std::filesystem::create_directories(folder.Path() / "bin");
        std::filesystem::create_directories(folder.Path() / "lib");
        const auto tool = folder.Path() / "bin" / "ztaudio";
        std::filesystem::copy_file(ZTA_TOOL_PATH, tool, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::copy_file(kModule, folder.Path() / place);
        const RunResult run = RunTool({"--version"}, {.program = tool});
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        EXPECT_TRUE(run.output.ends_with(", " + folder.File(place) + "\n")) << run.output;
        std::filesystem::remove(folder.Path() / place);
    }
    const RunResult none = RunTool({"--version"}, {.program = folder.File("bin/ztaudio")});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(Has(none.errors, "libZtaAudioSamplesEngine.so not found")) << none.errors;
}

TEST(ModuleSearch, LoadsTheModuleThatTheUserNames)
{
    const TempDirectory folder;
    const std::string copy = folder.File("other.so");
    std::filesystem::copy_file(kModule, copy);
    EXPECT_TRUE(RunTool({"--version", "--module", copy}).output.ends_with(", " + copy + "\n"));
    EXPECT_TRUE(RunTool({"--version"}, {.environment = {{"ZTAUDIO_MODULE", copy}}}).output.ends_with(copy + "\n"));
}

TEST(Info, ShowsTheFormatsOfFiles)
{
    const TempDirectory folder;
    WriteSound(folder.File("a.wav"), Noise(SF_FORMAT_PCM_16, 1, 72000));
    WriteSound(folder.File("b.wav"), Noise(SF_FORMAT_PCM_32, 8, 100, 96000));
    const RunResult run = RunTool({"info", folder.File("a.wav"), folder.File("b.wav")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.output, folder.File("a.wav") +
                              "\n"
                              "  container  WAV (Microsoft)\n"
                              "  samples    Signed 16 bit PCM, 1 channel, 48000 Hz\n"
                              "  length     72000 sample frames, 1.500 s (0:01)\n"
                              "  engine     16-in-16 mono, 48000 Hz\n"
                              "  commands   convert, trim, volume, stereo, mux, resample, analyze\n" +
                              folder.File("b.wav") +
                              "\n"
                              "  container  WAV (Microsoft)\n"
                              "  samples    Signed 32 bit PCM, 8 channels, 96000 Hz\n"
                              "  length     100 sample frames, 0.001 s (0:00)\n"
                              "  engine     24-in-32 8 channels, 96000 Hz\n"
                              "  commands   convert, trim, volume, split, analyze\n"
                              "  note       32-bit integer samples: the low 8 bits are dropped\n");
}

TEST(StandardOutput, MustBeWritable)
{
    if (!HasFullDevice()) {
        GTEST_SKIP() << "needs /dev/full";
    }
    for (const std::string arguments : {"info", "--help", "--version", "convert --help"}) {
        const RunResult run =
            RunTool({"-c", std::string(ZTA_TOOL_PATH) + " " + arguments + " > /dev/full"}, {.program = "/bin/sh"});
        EXPECT_EQ(run.exitCode, 1) << arguments;
        EXPECT_EQ(run.errors, "ztaudio: standard output: cannot write: No space left on device\n") << arguments;
    }
}

TEST(Info, GoesOnAfterAFileThatItCannotRead)
{
    const TempDirectory folder;
    WriteSound(folder.File("a.wav"), Noise(SF_FORMAT_PCM_16, 1, 10));
    const RunResult run = RunTool({"info", folder.File("x"), folder.File("a.wav"), folder.File("y")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.output.starts_with(folder.File("a.wav") + "\n"));
    EXPECT_EQ(run.errors, "ztaudio: " + folder.File("x") + ": No such file or directory\nztaudio: " + folder.File("y") +
                              ": No such file or directory\n");
}

TEST(Info, ShowsATruncatedFile)
{
    const TempDirectory folder;
    WriteSound(folder.File("a.wav"), Noise(SF_FORMAT_PCM_16, 1, 1000));
    std::filesystem::resize_file(folder.File("a.wav"), 1044);
    const RunResult run = RunTool({"info", folder.File("a.wav")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(Has(run.output, "  truncated  1000 bytes of samples are missing\n")) << run.output;
}

TEST(Info, ShowsTheVariantOfTheSampleLoopsWithoutFiles)
{
    const RunResult selected = RunTool({"info"});
    EXPECT_EQ(selected.exitCode, 0) << selected.errors;
    EXPECT_TRUE(selected.output.starts_with(kModule + "\n  loops      ")) << selected.output;
    const RunResult scalar = RunTool({"info", "--loop-variant", "scalar"});
    EXPECT_EQ(scalar.exitCode, 0) << scalar.errors;
    EXPECT_EQ(scalar.output, kModule + "\n  loops      scalar\n");
}

TEST(LoopVariant, IsTheOneThatTheUserNames)
{
    const TempDirectory folder;
    WriteSound(folder.File("a.wav"), Noise(SF_FORMAT_PCM_16, 2, 4800));
    const auto Convert = [&](const std::string& out, const std::string& variant) {
        return RunTool(
            {"--loop-variant", variant, "convert", folder.File("a.wav"), folder.File(out), "--format", "24in32"});
    };
    EXPECT_EQ(Convert("scalar.wav", "scalar").exitCode, 0);
    EXPECT_EQ(RunTool({"convert", folder.File("a.wav"), folder.File("b.wav"), "--format", "24in32"}).exitCode, 0);
    ExpectSame(ReadSound(folder.File("b.wav")), ReadSound(folder.File("scalar.wav")));

    const RunResult rejected = Convert("c.wav", "avx3");
    EXPECT_EQ(rejected.exitCode, 1);
    EXPECT_EQ(rejected.errors, "ztaudio: --loop-variant avx3: unknown, or not supported by this CPU\n");
    EXPECT_FALSE(std::filesystem::exists(folder.File("c.wav")));
}

// Scripts that use the former names keep working for one release; the help lists the new names only.
TEST(FormerNames, AreAcceptedAndNotListed)
{
    const TempDirectory folder;
    WriteSound(folder.File("a.wav"), Noise(SF_FORMAT_PCM_16, 2, 4800));
    EXPECT_EQ(RunTool({"info", "--loops", "plain"}).output, kModule + "\n  loops      scalar\n");
    EXPECT_EQ(RunTool({"analyse", folder.File("a.wav")}).output, RunTool({"analyze", folder.File("a.wav")}).output);
    EXPECT_EQ(RunTool({"cut", folder.File("a.wav"), folder.File("b.wav"), "--to", "100s"}).exitCode, 0);
    EXPECT_EQ(ReadSound(folder.File("b.wav")).Frames(), 100);
    const std::string help = RunTool({"--help"}).output;
    for (const std::string name : {"--loops", "analyse", "cut "}) {
        EXPECT_FALSE(Has(help, name)) << help;
    }
}

class Registration : public ::testing::Test {
protected:
    std::string Line() const { return " {45F20097-F519-4DCF-80D8CC0D06CBF259}=" + kModule + "\n"; }

    TempDirectory folder_;
    std::string dir_ = folder_.Path().string();
    std::string file_ = folder_.File("CLSIDs");
};

TEST_F(Registration, WritesTheLineOfTheModule)
{
    const RunResult run = RunTool({"register", dir_});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(run.output, "- - Register KelvarVideo AudioSamples Engine\n");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(ReadTextFile(file_), " [CLSID]\n" + Line());
}

TEST_F(Registration, KeepsTheLinesOfOthersAndReplacesItsOwn)
{
    WriteTextFile(file_, " [CLSID]\n {0}=/other.so\n {45F20097-F519-4DCF-80D8CC0D06CBF259}=/old.so\n");
    EXPECT_EQ(RunTool({"register", dir_}).exitCode, 0);
    EXPECT_EQ(ReadTextFile(file_), " [CLSID]\n {0}=/other.so\n" + Line());
    const RunResult run = RunTool({"unregister", dir_});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, "- - Unregister KelvarVideo AudioSamples Engine\n");
    EXPECT_EQ(ReadTextFile(file_), " [CLSID]\n {0}=/other.so\n");
}

TEST_F(Registration, UnregistersWhatWasNeverRegistered)
{
    EXPECT_EQ(RunTool({"unregister", dir_}).exitCode, 0);
}

TEST_F(Registration, UsesTheFolderOfTheCommandLine)
{
    const TempDirectory other;
    EXPECT_EQ(RunTool({"register", dir_}, {.environment = {{"ORBUTILS", other.Path()}}}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(file_));
    EXPECT_FALSE(std::filesystem::exists(other.File("CLSIDs")));
}

TEST_F(Registration, PrintsNothingWithQuiet)
{
    const RunResult run = RunTool({"--quiet", "register", dir_});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output + run.errors, "");
    EXPECT_EQ(ReadTextFile(file_), " [CLSID]\n" + Line());
}

TEST_F(Registration, FailsWithoutAFolder)
{
    const std::string missing = folder_.File("missing");
    for (const char* command : {"register", "unregister"}) {
        const RunResult run = RunTool({command, missing});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.errors, "ztaudio: " + missing + ": not a folder\n");
    }
}

// The module reports a file that it cannot write on standard output only; the tool detects it.
TEST_F(Registration, FailsWhenTheFileCannotBeWritten)
{
    std::filesystem::create_directory(file_);
    const RunResult run = RunTool({"register", dir_});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.errors, "ztaudio: " + file_ + ": could not be brought up to date\n");
}

TEST_F(Registration, RejectsAPathThatTheFileCannotHold)
{
    for (const std::string name : {"m[1].so", "caf\xC3\xA9.so"}) {
        const std::string copy = folder_.File(name);
        std::filesystem::copy_file(kModule, copy);
        const RunResult run = RunTool({"register", dir_, "--module", copy});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(Has(run.errors, "the CLSIDs file cannot hold this path")) << run.errors;
        EXPECT_FALSE(std::filesystem::exists(file_));
    }
}

} // namespace
