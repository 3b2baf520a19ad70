// Several inputs of one command: what is written, what is rejected before, and what is printed.
#include "tests/tools/command_test.h"

#include <algorithm>
#include <csignal>

#include <sys/stat.h>

namespace {

class Batch : public CommandTest {
protected:
    Batch() { std::filesystem::create_directory(folder_.Path() / "out"); }

    std::vector<std::string> WriteFiles(int count, long frames) const
    {
        std::vector<Sound> sounds;
        for (int i = 0; i < count; ++i) {
            sounds.push_back(Noise(SF_FORMAT_PCM_24, 1 + i % 2, frames + i));
        }
        return Write(sounds);
    }

    const std::string pattern_ = File("out/{}.wav");
};

TEST_F(Batch, WritesWhatEachCommandWritesForOneInput)
{
    const std::vector<std::vector<std::string>> commands = {
        {"convert", "--format", "16", "--fade-in"},
        {"trim", "--from", "10s", "--to", "4000s"},
        {"volume", "--gain", "0.5:0"},
        {"resample", "--rate", "44100"},
    };
    const auto in = WriteFiles(7, 5000);
    for (const auto& command : commands) {
        for (const std::string jobs : {"1", "3", "256"}) {
            SCOPED_TRACE(command[0] + " " + jobs);
            Run(Joined(Joined({"--quiet"}, command), in), {"-o", pattern_, "--jobs", jobs});
            EXPECT_EQ(last_.errors, "");
            for (std::size_t i = 0; i < in.size(); ++i) {
                Run(Joined(Joined({"--quiet"}, command), {in[i], File("one.wav")}));
                const std::string out = File("out/in" + std::to_string(i + 1) + ".wav");
                EXPECT_TRUE(ReadTextFile(out) == ReadTextFile(File("one.wav"))) << out;
                std::filesystem::remove(out);
            }
        }
    }
    EXPECT_TRUE(std::filesystem::is_empty(File("out")));
}

TEST_F(Batch, NamesTheOutputOfOneInput)
{
    const auto in = WriteFiles(1, 100);
    Run({"convert", in[0], "-o", File("{}.au")});
    ExpectSame(ReadSound(File("in1.au")), ReadSound(in[0]));
    Run({"convert", in[0], "-o", File("plain.au")});
    ExpectSame(ReadSound(File("plain.au")), ReadSound(in[0]));
}

TEST_F(Batch, ReportsEachFailureAtTheEndAndWritesTheRest)
{
    auto in = WriteFiles(5, 3000);
    WriteTextFile(in[1], "no sound");
    in.push_back(File("missing.wav"));
    std::filesystem::create_directory(File("out/in4.wav"));
    const RunResult run = RunTool(Joined({"convert", "-j", "2", "-o", pattern_}, in));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.errors, "ztaudio: 3 of 6 files failed:\n"
                          "ztaudio: " +
                              in[1] +
                              ": cannot read this as a sound file: Format not recognised.\n"
                              "ztaudio: " +
                              File("out/in4.wav") +
                              ": cannot write: not a regular file\n"
                              "ztaudio: " +
                              in[5] + ": No such file or directory\n");
    for (const std::string name : {"in1.wav", "in3.wav", "in5.wav"}) {
        ExpectSame(ReadSound(File("out/" + name)), ReadSound(File(name)));
    }
    EXPECT_FALSE(std::filesystem::exists(File("out/in2.wav")));
}

TEST_F(Batch, NamesTheFileOfAFailureThatDoesNot)
{
    const auto in = WriteFiles(2, 100);
    const RunResult run = RunTool(Joined({"volume", "--gain", "2=0.5", "-o", pattern_}, in));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.errors.find("ztaudio: " + in[0] + ": --gain 2=0.5: there is no such channel"), std::string::npos)
        << run.errors;
}

TEST_F(Batch, KeepsTheLinesOfItsFilesWhole)
{
    std::vector<Sound> sounds(6, Floats({1.5F, 0.5F, -2.0F}));
    const auto in = Write(sounds);
    Run(Joined({"convert", "--format", "16", "--jobs", "6", "-o", pattern_}, in));
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < last_.errors.size(); begin = last_.errors.find('\n', begin) + 1) {
        lines.push_back(last_.errors.substr(begin, last_.errors.find('\n', begin) + 1 - begin));
    }
    std::ranges::sort(lines);
    std::vector<std::string> expected;
    std::ranges::transform(in, std::back_inserter(expected),
                           [](const std::string& name) { return OverloadLine(name, 2); });
    EXPECT_EQ(lines, expected);
}

TEST_F(Batch, RejectsOutputsThatCollideBeforeItWritesAny)
{
    const auto in = WriteFiles(2, 100);
    std::filesystem::copy_file(in[0], File("in1.aif"));
    const std::string text = "ztaudio: " + File("out/in1.wav") + ": would be the output of both ";
    EXPECT_EQ(Fails({"convert", in[1], in[0], File("in1.aif"), "-o", pattern_}, 1),
              text + in[0] + " and " + File("in1.aif") + "\n");
    EXPECT_EQ(Fails({"convert", in[0], in[0], "-o", pattern_}, 1), text + in[0] + " and " + in[0] + "\n");
    std::filesystem::create_symlink("new.wav", File("out/in1.wav")); // links to a file that does not exist
    std::filesystem::create_symlink(File("out/new.wav"), File("out/in2.wav"));
    EXPECT_EQ(Fails({"convert", in[0], in[1], "-o", pattern_}, 1),
              "ztaudio: " + File("out/in2.wav") + ": would be the output of both " + in[0] + " and " + in[1] + "\n");
}

TEST_F(Batch, RejectsAnOutputThatIsAnInput)
{
    const auto in = WriteFiles(2, 100);
    EXPECT_EQ(Fails({"convert", in[0], in[1], "-o", File("{}.wav")}, 1),
              "ztaudio: " + in[0] + ": would replace the input " + in[0] + "\n");
    std::filesystem::create_hard_link(in[0], File("out/in2.wav"));
    EXPECT_EQ(Fails({"convert", in[0], in[1], "-o", pattern_}, 1),
              "ztaudio: " + File("out/in2.wav") + ": would replace the input " + in[0] + "\n");
}

TEST_F(Batch, RejectsAWrongCommandLine)
{
    const auto in = WriteFiles(3, 100);
    const std::vector<std::vector<std::string>> lines = {
        in,
        Joined(in, {"-o", File("out/all.wav")}),
        Joined(in, {"-o", File("out/{}.xyz")}),
        Joined(in, {"-", "-o", pattern_}),
        Joined(in, {"-o", pattern_, "--jobs", "0"}),
        Joined(in, {"-o", pattern_, "--jobs", "257"}),
        Joined(in, {"-o", pattern_, "--jobs", "many"}),
        {in[0], "-o", File("out/{}")},
        {in[0], File("out/a.wav"), "--jobs", "2"},
    };
    for (const auto& line : lines) {
        SCOPED_TRACE(::testing::PrintToString(line));
        const std::string errors = Fails(Joined({"convert"}, line), 2);
        EXPECT_TRUE(errors.ends_with(" (see ztaudio --help)\n")) << errors;
    }
    EXPECT_EQ(Fails(Joined({"convert", "-o", File("none/{}.wav")}, in), 1),
              "ztaudio: " + File("none") + ": no such folder\n");
}

TEST_F(Batch, DoesNotReplaceFilesWithNoClobber)
{
    const auto in = WriteFiles(2, 100);
    WriteTextFile(File("out/in1.wav"), "mine");
    const RunResult run = RunTool(Joined({"convert", "--no-clobber", "-o", pattern_}, in));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.errors.find("1 of 2 files failed"), std::string::npos) << run.errors;
    EXPECT_EQ(ReadTextFile(File("out/in1.wav")), "mine");
    ExpectSame(ReadSound(File("out/in2.wav")), ReadSound(in[1]));
}

TEST_F(Batch, PrintsOneObjectOfJsonForEachFile)
{
    const RunResult run = RunTool(Joined({"convert", "--json", "-o", pattern_, "-j", "3"}, WriteFiles(4, 100)));
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(std::ranges::count(run.output, '{'), 4) << run.output;
    for (int i = 1; i <= 4; ++i) {
        const std::string start = "{\"input\": \"" + File("in" + std::to_string(i) + ".wav") + "\", ";
        EXPECT_NE(run.output.find(start), std::string::npos) << run.output;
    }
}

TEST_F(Batch, ShowsOneProgressLineOnATerminal)
{
    if (!HasTerminals()) {
        GTEST_SKIP() << "needs a pseudo-terminal";
    }
    auto in = WriteFiles(3, 480000);
    const std::vector<std::string> arguments = Joined({"convert", "--jobs", "2", "-o", pattern_}, in);
    const RunResult wide = RunTool(arguments, {.terminal = true});
    EXPECT_EQ(wide.exitCode, 0);
    EXPECT_NE(wide.errors.find("/3 files ["), std::string::npos) << wide.errors;
    EXPECT_NE(wide.errors.find("3 files: 0:30 of sound in "), std::string::npos) << wide.errors;
    EXPECT_EQ(wide.errors.find(".wav"), std::string::npos) << wide.errors;
    const RunResult narrow = RunTool(arguments, {.terminal = true, .columns = 40});
    EXPECT_NE(narrow.errors.find("3 files: 0:30 of sound in "), std::string::npos) << narrow.errors;
    std::string shown = narrow.errors;
    for (std::size_t code; (code = shown.find("\x1B[K")) != std::string::npos;) {
        shown.erase(code, 3);
    }
    std::size_t length = 0;
    for (const char letter : shown) { // of each line as it is drawn
        length = letter == '\r' || letter == '\n' ? 0 : length + 1;
        EXPECT_LE(length, 40U) << shown;
    }
    const RunResult quiet = RunTool(Joined({"--quiet"}, arguments), {.terminal = true});
    EXPECT_EQ(quiet.errors, "");
}

TEST_F(Batch, LosesOnlyTheFileOfAProcessThatIsKilled)
{
    auto in = WriteFiles(5, 3000);
    in[2] = File("pipe.wav"); // nothing writes to it, so that its process waits
    ASSERT_EQ(mkfifo(in[2].c_str(), 0600), 0);
    for (const std::string jobs : {"1", "2", "5"}) {
        SCOPED_TRACE(jobs);
        const RunResult run = RunTool(Joined({"convert", "--jobs", jobs, "-o", pattern_}, in), {.killedReader = in[2]});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.errors, "ztaudio: 1 of 5 files failed:\nztaudio: " + in[2] + ": ended by signal 9\n");
        for (const std::string name : {"in1.wav", "in2.wav", "in4.wav", "in5.wav"}) {
            ExpectSame(ReadSound(File("out/" + name)), ReadSound(File(name)));
            std::filesystem::remove(File("out/" + name));
        }
        EXPECT_TRUE(std::filesystem::is_empty(File("out")));
    }
}

// A process that writes when it is killed leaves nothing of its output.
TEST_F(Batch, LeavesNothingOfAProcessThatIsKilled)
{
    const auto in = WriteFiles(2, 48000 * 60L);
    const RunResult run =
        RunTool(Joined({"convert", "--jobs", "2", "-o", pattern_, "--block", "1"}, in), {.killedReader = in[0]});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.errors, "ztaudio: 1 of 2 files failed:\nztaudio: " + in[0] + ": ended by signal 9\n");
    std::filesystem::remove(File("out/in2.wav"));
    EXPECT_TRUE(std::filesystem::is_empty(File("out")));
}

TEST_F(Batch, LeavesNothingUnfinishedIfItIsInterrupted)
{
    const auto in = WriteFiles(4, 48000 * 60L);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const RunResult run = RunTool(Joined({"convert", "--jobs", "3", "-o", pattern_}, in),
                                      {.signalAtFirstTemporary = signal, .watchedFolder = File("out")});
        EXPECT_EQ(run.signal, signal);
        EXPECT_EQ(run.errors, "ztaudio: interrupted\n");
        for (const auto& entry : std::filesystem::directory_iterator(File("out"))) {
            EXPECT_EQ(entry.path().extension(), ".wav") << entry.path();
            ExpectSame(ReadSound(entry.path()), ReadSound(File(entry.path().filename())));
            std::filesystem::remove(entry.path());
        }
    }
}

} // namespace
