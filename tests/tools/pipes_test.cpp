// Standard input and output, raw samples, and headers that do not contain the length.
#include "tests/tools/command_test.h"

#include <bit>
#include <cmath>

namespace {

class Pipes : public CommandTest {
protected:
    /// Runs a line of the shell in the folder, in which $Z is the tool without notes.
    RunResult Shell(const std::string& line, const RunOptions& options = {})
    {
        RunOptions shell = options;
        shell.program = "/bin/sh";
        const std::string text =
            "set -e; cd " + folder_.Path().string() + "; Z='" + ZTA_TOOL_PATH + " --quiet'; " + line;
        return RunTool({"-c", text}, shell);
    }

    void Succeeds(const std::string& line, const RunOptions& options = {})
    {
        const RunResult run = Shell(line, options);
        EXPECT_EQ(run.exitCode, 0) << line << ": " << run.errors;
        EXPECT_EQ(run.errors, "") << line;
    }

    /// Runs a line of the shell, which must write the sound to out.wav.
    void ExpectGives(const std::string& line, const Sound& expected, const RunOptions& options = {})
    {
        Succeeds(line, options);
        ExpectSame(ReadSound(File("out.wav")), expected);
    }

    /// Runs a line of the shell, in which $Z prints notes too. Returns what it prints on standard error.
    std::string Notes(const std::string& line)
    {
        const RunResult run = Shell(std::string("Z='") + ZTA_TOOL_PATH + "'; " + line);
        EXPECT_EQ(run.exitCode, 0) << line << ": " << run.errors;
        return run.errors;
    }

    /// Gives the data chunk of a WAV this size.
    void SetDataSize(const std::string& name, std::uint32_t size) const
    {
        std::string bytes = ReadTextFile(File(name));
        bytes.replace(bytes.find("data") + 4, 4, reinterpret_cast<const char*>(&size), 4);
        WriteTextFile(File(name), bytes);
    }
};

TEST_F(Pipes, CarryEveryFormatAndWidth)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        for (const int channels : {1, 2, 3, 64}) {
            for (const std::string container : {"wav", "au"}) {
                SCOPED_TRACE(container + " " + std::to_string(channels));
                const Sound sound = Noise(subtype, channels, 5001, 44100);
                Write("in.wav", sound);
                ExpectGives("cat in.wav | $Z convert - - --output-format " + container + " | $Z convert - out.wav",
                            sound);
                Succeeds("$Z convert in.wav - --output-format " + container + " | cat > piped." + container);
                ExpectSame(ReadSound(File("piped." + container)), sound);
            }
        }
    }
}

TEST_F(Pipes, GiveTheLengthOfAFileAndNoneOfAPipe)
{
    Write("in.wav", Noise(SF_FORMAT_PCM_16, 2, 1000));
    Succeeds("$Z convert in.wav - --format 24 > known.wav; cat in.wav | $Z convert - - > open.wav");
    const std::string known = ReadTextFile(File("known.wav"));
    EXPECT_EQ(known.size(), 44U + 6000U);
    EXPECT_EQ(known.substr(40, 4), std::string("\x70\x17\0\0", 4));
    const std::string open = ReadTextFile(File("open.wav"));
    EXPECT_EQ(open.substr(4, 4), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(open.substr(40, 4), "\xFF\xFF\xFF\xFF");
}

TEST_F(Pipes, CarryTheSameBytesWhereAnOverloadWouldBeAFailure)
{
    Write("in.wav", Noise(SF_FORMAT_FLOAT, 2, 100000));
    for (const std::string container : {"wav", "au", "raw", "flac"}) {
        SCOPED_TRACE(container);
        const std::string options = " --format 24 --output-format " + container;
        Succeeds("$Z convert in.wav - --overload fail" + options + " > a; $Z convert in.wav - " + options + " > b");
        Succeeds("cat in.wav | $Z convert - - --overload fail" + options + " > c; cat in.wav | $Z convert - - " +
                 options + " > d");
        if (container == "flac") { // whose header is completed at the end, except in a pipe
            Succeeds("for i in a b c d; do cat $i | $Z convert - $i.wav; done");
            for (const std::string name : {"b.wav", "c.wav", "d.wav"}) {
                ExpectSame(ReadSound(File(name)), ReadSound(File("a.wav")));
            }
        } else {
            EXPECT_TRUE(ReadTextFile(File("a")) == ReadTextFile(File("b")));
            EXPECT_TRUE(ReadTextFile(File("c")) == ReadTextFile(File("d")));
        }
    }
}

const RunOptions kWithoutTemporaryFiles = {.environment = {{"TMPDIR", "/nonexistent"}}};

// libsndfile reads these in order.
TEST_F(Pipes, CarryCompressedSoundWithoutATemporaryFile)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 50001);
    Write("in.wav", sound);
    ExpectGives("$Z convert in.wav - --output-format flac | cat | $Z convert - out.wav", sound, kWithoutTemporaryFiles);
    for (const std::string container : {"flac", "ogg", "opus", "mp3"}) {
        SCOPED_TRACE(container);
        Succeeds("$Z convert in.wav in." + container + "; $Z convert in." + container + " file.wav");
        Succeeds("cat in." + container + " | $Z convert - pipe.wav", kWithoutTemporaryFiles);
        ExpectSame(ReadSound(File("pipe.wav")), ReadSound(File("file.wav")));
    }
}

// These it reads in any order.
TEST_F(Pipes, CarryOtherContainersThroughATemporaryFile)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 5001);
    Write("in.wav", sound);
    for (const std::string container : {"aiff", "w64"}) {
        SCOPED_TRACE(container);
        ExpectGives("mkdir -p temporary; $Z convert in.wav in." + container + "; cat in." + container +
                        " | TMPDIR=temporary $Z convert - out.wav",
                    sound);
        EXPECT_TRUE(std::filesystem::is_empty(File("temporary")));
        const RunResult run = Shell("cat in." + container + " | $Z convert - out.wav", kWithoutTemporaryFiles);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.errors, "ztaudio: standard input: cannot make a temporary file: No such file or directory\n");
    }
}

TEST_F(Pipes, AreReadToTheirEndSoThatTheWriterSucceeds)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 1000);
    Write("in.wav", sound);
    Succeeds("$Z convert in.wav in.flac; head -c 1000000 /dev/zero > more");
    for (const std::string container : {"wav", "flac"}) {
        Succeeds("{ cat in." + container + " more; echo $? > code; } | $Z convert - out.wav");
        EXPECT_EQ(ReadTextFile(File("code")), "0\n");
        ExpectSame(ReadSound(File("out.wav")), sound);
    }
}

TEST_F(Pipes, CanHaveNames)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 100000);
    Write("in.wav", sound);
    ExpectGives("cat in.wav | $Z convert /dev/stdin out.wav", sound);
    ExpectGives("mkfifo left right; cat in.wav > left & cat in.wav > right & $Z stereo left right out.wav; wait",
                Interleaved({sound, sound}));
    Succeeds("cat in.wav > left & $Z analyze left > pipe.txt; $Z analyze in.wav > file.txt");
    EXPECT_EQ(ReadTextFile(File("pipe.txt")).substr(File("left").size()),
              ReadTextFile(File("file.txt")).substr(File("in.wav").size()));
    const RunResult guarded = Shell("$Z convert left out.wav --guard");
    EXPECT_EQ(guarded.exitCode, 2);
    EXPECT_EQ(guarded.errors, "ztaudio: --guard reads the input twice, so it needs a file (see ztaudio --help)\n");
}

TEST_F(Pipes, CanHaveNamesAsOutputs)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 50000);
    Write("in.wav", sound);
    Succeeds("mkfifo pipe pipe.flac left right");
    ExpectGives("cat pipe > out.wav & $Z convert in.wav pipe; wait", sound);
    Succeeds("cat pipe.flac > out.flac & $Z convert in.wav pipe.flac --no-clobber --overload fail; wait");
    ExpectSame(ReadSound(File("out.flac")), sound);
    ExpectGives("cat left > left.wav & cat right > right.wav & ln -s left 1; ln -s right 2; "
                "$Z split in.wav -o '{}'; $Z stereo left.wav right.wav out.wav; wait",
                sound);
    EXPECT_TRUE(std::filesystem::is_fifo(File("pipe"))) << "it was replaced by a file";

    const RunResult left = Shell("head -c 10 < pipe > head & $Z convert in.wav pipe");
    EXPECT_EQ(left.exitCode, 1);
    EXPECT_EQ(left.errors, "");
    // As soon as the tool handles SIGTERM.
    const RunResult interrupted = Shell("$Z convert in.wav pipe & until grep -q 'SigCgt.*[4-7c-f]...$' "
                                        "/proc/$!/status; do sleep 0.01; done; kill -TERM $!; wait $!");
    EXPECT_EQ(interrupted.exitCode, 128 + 15);
    EXPECT_TRUE(interrupted.errors.starts_with("ztaudio: interrupted\n"))
        << interrupted.errors; // the shell adds a line
}

TEST_F(Pipes, CarryEveryContainerWithItsLength)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 50000);
    Write("in.wav", sound);
    for (const std::string container : {"wav", "w64", "rf64", "aiff", "flac", "au", "caf"}) {
        SCOPED_TRACE(container);
        Succeeds("$Z convert in.wav - --output-format " + container + " | cat > streamed");
        ExpectGives("$Z convert streamed out.wav", sound);
        if (container != "flac") { // whose length the header lacks
            ExpectSame(ReadSound(File("streamed")), sound);
        }
    }
    const RunResult run = Shell("$Z convert in.wav - --output-format w64 > streamed", kWithoutTemporaryFiles);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.errors, "ztaudio: standard output: cannot write a temporary file: No such file or directory\n");
}

TEST_F(Pipes, FailIfTheyAreClosed)
{
    Write("in.wav", Noise(SF_FORMAT_PCM_16, 1, 100));
    const RunResult input = Shell("$Z convert - out.wav <&-");
    EXPECT_EQ(input.exitCode, 1);
    EXPECT_EQ(input.errors, "ztaudio: standard input: cannot read: Bad file descriptor\n");
    for (const std::string arguments : {"convert in.wav -", "info in.wav"}) {
        const RunResult output = Shell("$Z " + arguments + " >&-");
        EXPECT_EQ(output.exitCode, 1);
        EXPECT_EQ(output.errors, "ztaudio: standard output: cannot write: Bad file descriptor\n");
    }
    ExpectGives("$Z convert in.wav out.wav <&- >&-", ReadSound(File("in.wav")));
}

TEST_F(Pipes, CarryRawSamples)
{
    for (const auto& [subtype, formats] :
         {std::pair(SF_FORMAT_PCM_16, std::vector<std::string>{"16"}),
          std::pair(SF_FORMAT_PCM_24, std::vector<std::string>{"24in32", "24in24", "24"}),
          std::pair(SF_FORMAT_FLOAT, std::vector<std::string>{"float"})}) {
        for (const std::string& format : formats) {
            SCOPED_TRACE(format);
            const Sound sound = Noise(subtype, 3, 777, 22050);
            Write("in.wav", sound);
            Succeeds("$Z convert in.wav - --output-format raw --format " + format + " > samples.raw");
            const std::size_t sampleBytes = format == "16" ? 2 : format.starts_with("24") && format != "24in32" ? 3 : 4;
            EXPECT_EQ(std::filesystem::file_size(File("samples.raw")), 777U * 3 * sampleBytes);
            Succeeds("$Z convert - a.wav --raw " + format + ",22050,3 < samples.raw");
            Succeeds("$Z convert samples.raw b.wav --input-format raw --raw " + format + ",22050,3");
            ExpectSame(ReadSound(File("a.wav")), sound);
            ExpectSame(ReadSound(File("b.wav")), sound);
        }
    }
}

TEST_F(Pipes, WorkInEveryCommandWithOneInputAndOneOutput)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 2, 9000);
    Write("in.wav", sound);
    Succeeds("cat in.wav | $Z trim - - --from 100s --to 200s | $Z convert - trim.wav; $Z trim in.wav trim2.wav --from "
             "100s --to 200s");
    ExpectSame(ReadSound(File("trim.wav")), ReadSound(File("trim2.wav")));
    Succeeds(
        "cat in.wav | $Z volume - - --gain 0.5 | $Z convert - volume.wav; $Z volume in.wav volume2.wav --gain 0.5");
    ExpectSame(ReadSound(File("volume.wav")), ReadSound(File("volume2.wav")));
    Succeeds("cat in.wav | $Z resample - - --rate 44100 | $Z convert - rate.wav; $Z resample in.wav rate2.wav --rate "
             "44100");
    ExpectSame(ReadSound(File("rate.wav")), ReadSound(File("rate2.wav")));
    const RunResult ramp = Shell("cat in.wav | $Z volume - - --gain 0:1");
    EXPECT_EQ(ramp.exitCode, 1);
    EXPECT_EQ(
        ramp.errors,
        "ztaudio: --gain 0:1: a ramp needs the length of the sound, which is not known before the end of a pipe\n");
}

TEST_F(Pipes, EndQuietlyIfTheReaderLeaves)
{
    Write("in.wav", Noise(SF_FORMAT_PCM_16, 2, 480000));
    const RunResult run = Shell("set +e; { $Z convert in.wav -; echo $? > code; } | head -c 10 > head");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(ReadTextFile(File("code")), "1\n");
}

// Ten minutes, of which nothing fits into the memory of the process.
TEST_F(Pipes, NeedConstantMemory)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs memory of its own";
#endif
    const RunResult run = Shell("head -c 115200000 /dev/zero | $Z convert - - --raw 16,48000,2 --format 24 | "
                                "$Z convert - - --output-format raw --format 24 | wc -c",
                                {.memoryLimit = 40UL << 20});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(run.output, "172800000\n");
    const RunResult flac =
        Shell("head -c 115200000 /dev/urandom | $Z convert - - --raw 16,48000,2 --output-format flac | "
              "$Z convert - - --output-format raw | wc -c",
              {.memoryLimit = 40UL << 20, .environment = kWithoutTemporaryFiles.environment});
    EXPECT_EQ(flac.exitCode, 0) << flac.errors;
    EXPECT_EQ(flac.output, "115200000\n");
}

TEST_F(Pipes, AreReadToTheirEndIfTheHeaderSaysMore)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 1000);
    for (const std::uint32_t size : {0U, 0x7FFFF000U, 0xFFFFFFFFU, 4004U}) {
        SCOPED_TRACE(size);
        Write("in.wav", sound);
        SetDataSize("in.wav", size);
        const bool hasLength = size != 0 && size != 0xFFFFFFFF;
        EXPECT_EQ(Notes("cat in.wav | $Z convert - out.wav"),
                  hasLength ? "ztaudio: note: standard input: ends before the length in its header, and is read to its "
                              "end\n"
                            : "ztaudio: note: standard input: the header does not contain the length, so the pipe is "
                              "read to its end\n");
        ExpectSame(ReadSound(File("out.wav")), sound);
    }
}

TEST_F(Pipes, NoteASoundThatLacksItsEnd)
{
    Write("in.wav", Noise(SF_FORMAT_PCM_16, 2, 50000));
    const std::vector<std::pair<std::string, std::string>> containers = {{"aiff", "the length in its header"},
                                                                         {"au", "the length in its header"},
                                                                         {"ogg", "the last page of the sound"}};
    for (const auto& [container, end] : containers) {
        SCOPED_TRACE(container);
        Succeeds("$Z convert in.wav in." + container);
        const auto half = std::to_string(std::filesystem::file_size(File("in." + container)) / 2);
        EXPECT_EQ(Notes("head -c " + half + " in." + container + " | $Z convert - out.wav"),
                  "ztaudio: note: standard input: ends before " + end + ", and is read to its end\n");
        EXPECT_GT(ReadSound(File("out.wav")).Frames(), 10000);
    }
    // A FLAC that was written to a pipe does not contain its length.
    Succeeds("cat in.wav | $Z convert - - --output-format flac > open.flac");
    EXPECT_EQ(Notes("cat open.flac | $Z convert - out.wav"), "");
    ExpectSame(ReadSound(File("out.wav")), ReadSound(File("in.wav")));
    EXPECT_EQ(Notes("head -c 100000 open.flac | $Z convert - out.wav"),
              "ztaudio: note: standard input: ends before the end of a FLAC frame, and is read to its end\n");
    const RunResult flac = Shell("$Z convert in.wav in.flac; head -c 100000 in.flac | $Z convert - out.flac");
    EXPECT_EQ(flac.exitCode, 1);
    EXPECT_NE(flac.errors.find("ztaudio: standard input: damaged or truncated: ends after "), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(File("out.flac")));
}

TEST_F(Pipes, HaveTrailingChunksThatAreNoSamples)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 1000);
    Write("in.wav", sound);
    WriteTextFile(File("in.wav"), ReadTextFile(File("in.wav")) + std::string("LIST\x04\0\0\0INFO", 12));
    ExpectGives("cat in.wav | $Z convert - out.wav", sound);
}

class OpenLength : public Pipes {};

TEST_F(OpenLength, MeansUntilTheEndOfTheFile)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 2, 1000);
    for (const std::uint32_t size : {0U, 0xFFFFFFFFU}) {
        Write("in.wav", sound);
        SetDataSize("in.wav", size);
        ExpectSame(Output({"convert", File("in.wav"), File("out.wav")}), sound);
        EXPECT_EQ(last_.errors, "ztaudio: note: " + File("in.wav") +
                                    ": the header does not contain the length, so the file is read to its end\n");
    }
}

/// Headers as a writer leaves them that cannot seek back.
void LeaveLengthOpen(const std::string& path, const std::string& container)
{
    std::string bytes = ReadTextFile(path);
    const std::string none(8, '\0');
    const std::string largest(8, '\xFF');
    if (container == "au") {
        bytes.replace(8, 4, largest, 0, 4);
    } else if (container == "aiff") {
        bytes.replace(bytes.find("SSND") + 4, 4, none, 0, 4);
    } else if (container == "caf") {
        bytes.replace(bytes.find("data") + 4, 8, largest);
    } else if (container == "w64") {
        bytes.replace(bytes.find("data") + 16, 8, largest.substr(0, 7) + '\x7F');
    } else {
        bytes.replace(bytes.find("ds64") + 8, 8, none);
        bytes.replace(bytes.find("ds64") + 16, 8, none);
    }
    WriteTextFile(path, bytes);
}

TEST_F(OpenLength, IsThatOfEveryContainer)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 1000);
    Write("in.wav", sound);
    for (const std::string container : {"au", "aiff", "caf", "rf64", "w64"}) {
        SCOPED_TRACE(container);
        const std::string path = File("in." + container);
        Succeeds("$Z convert in.wav in." + container);
        LeaveLengthOpen(path, container);
        const std::string note = ": the header does not contain the length, so the ";
        EXPECT_EQ(Notes("$Z convert in." + container + " out.wav"),
                  "ztaudio: note: in." + container + note + "file is read to its end\n");
        ExpectSame(ReadSound(File("out.wav")), sound);
        EXPECT_EQ(Notes("cat in." + container + " | $Z convert - out.wav"),
                  "ztaudio: note: standard input" + note + "pipe is read to its end\n");
        ExpectSame(ReadSound(File("out.wav")), sound);
        EXPECT_NE(RunTool({"info", path}).output.find("  length     1000 sample frames, "), std::string::npos);
    }
}

TEST_F(OpenLength, IsNoneOfAnEmptyFileWithAnotherChunk)
{
    Write("in.wav", Noise(SF_FORMAT_PCM_16, 2, 0));
    WriteTextFile(File("in.wav"), ReadTextFile(File("in.wav")) + std::string("LIST\x04\0\0\0INFO", 12));
    Run({"convert", File("in.wav"), File("out.wav")});
    EXPECT_EQ(ReadSound(File("out.wav")).Frames(), 0);
    EXPECT_EQ(last_.errors, "");
}

TEST_F(OpenLength, IsNotThatOfATruncatedFile)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 2, 1000);
    Write("in.wav", sound);
    SetDataSize("in.wav", 0x7FFFF000);
    const RunResult rejected = RunTool({"convert", File("in.wav"), File("out.wav")});
    EXPECT_EQ(rejected.exitCode, 1);
    EXPECT_NE(rejected.errors.find(": truncated: "), std::string::npos) << rejected.errors;
    ExpectSame(Output({"convert", File("in.wav"), File("out.wav"), "--salvage"}), sound);
    EXPECT_EQ(last_.errors, "ztaudio: note: " + File("in.wav") + ": truncated: the samples that are there are read\n");
}

class Salvage : public Pipes {
protected:
    /// Makes a file that lacks the last 40 % of its bytes, and salvages it into out.wav.
    void Run(const std::string& container)
    {
        Succeeds("$Z convert whole.wav in." + container + "; $Z convert in." + container + " decoded.wav");
        const std::string path = File("in." + container);
        std::filesystem::resize_file(path, std::filesystem::file_size(path) * 6 / 10);
        EXPECT_NE(RunTool({"convert", path, File("out.wav")}).exitCode, 0);
        last_ = RunTool({"convert", path, File("out.wav"), "--salvage"});
        EXPECT_EQ(last_.exitCode, 0) << last_.errors;
        EXPECT_TRUE(last_.errors.starts_with("ztaudio: note: " + path + ": ")) << last_.errors;
        EXPECT_NE(last_.errors.find("truncated: "), std::string::npos) << last_.errors;
        EXPECT_EQ(last_.errors.find('\n'), last_.errors.size() - 1) << last_.errors;
        Sound expected = ReadSound(File("decoded.wav"));
        expected.samples.resize(ReadSound(File("out.wav")).samples.size());
        ExpectSame(ReadSound(File("out.wav")), expected);
    }
};

TEST_F(Salvage, ReadsTheSamplesThatAreThere)
{
    Write("whole.wav", Noise(SF_FORMAT_PCM_16, 2, 50000));
    for (const std::string container : {"wav", "rf64", "w64", "aiff", "au", "caf", "flac"}) {
        SCOPED_TRACE(container);
        Run(container);
        const Sound out = ReadSound(File("out.wav"));
        EXPECT_GT(out.Frames(), container == "flac" ? 24000 : 29500);
        EXPECT_LE(out.Frames(), 30000);
    }
}

TEST_F(Salvage, DecodesTheBlocksThatAreThere)
{
    Write("whole.wav", Noise(SF_FORMAT_PCM_16, 2, 200000));
    for (const std::string container : {"ogg", "opus", "mp3"}) {
        SCOPED_TRACE(container);
        Run(container);
        const Sound out = ReadSound(File("out.wav"));
        EXPECT_GT(out.Frames(), 80000);
        EXPECT_LT(out.Frames(), 130000);
    }
}

class Files : public CommandTest {};

/// A mono or stereo sound of tones, another one in each channel.
Sound Tones(int subtype, int channels)
{
    std::vector<float> values;
    for (int frame = 0; frame < 48000; ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            values.push_back(0.4F * std::sin(static_cast<float>(frame % 4800) * (channel == 0 ? 0x1p-4F : 0x1p-3F)));
        }
    }
    return Converted(Floats(values, channels), subtype == SF_FORMAT_PCM_16   ? "16"
                                               : subtype == SF_FORMAT_PCM_24 ? "24in32"
                                                                             : "float");
}

/// The power of the difference of two sounds of floats as a part of the first one's.
double RelativeError(const Sound& expected, const Sound& actual)
{
    double power = 0;
    double error = 0;
    for (std::size_t i = 0; i < expected.samples.size(); ++i) {
        const auto value = static_cast<double>(std::bit_cast<float>(expected.samples[i]));
        const double difference = static_cast<double>(std::bit_cast<float>(actual.samples[i])) - value;
        power += value * value;
        error += difference * difference;
    }
    return error / power;
}

TEST_F(Files, OfLossyContainersHaveTheSoundOfEveryFormat)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        for (const int channels : {1, 2}) {
            const Sound sound = Tones(subtype, channels);
            const std::string in = Write("in.wav", sound);
            for (const std::string extension : {"ogg", "opus", "mp3"}) {
                SCOPED_TRACE(extension + " of " + std::to_string(channels) + ", subtype " + std::to_string(subtype));
                Run({"convert", in, File("out." + extension)});
                Run({"convert", File("out." + extension), File("back.wav")});
                const Sound back = ReadSound(File("back.wav"));
                EXPECT_EQ(back.Subtype(), SF_FORMAT_FLOAT);
                EXPECT_EQ(back.rate, 48000);
                ASSERT_EQ(back.Frames(), 48000);
                EXPECT_LT(RelativeError(Converted(sound, "float"), back), 0.01);
            }
        }
    }
}

// A FLAC from a pipe and an MPEG file without its first frame do not contain their length.
TEST_F(Files, WithoutALengthCanHaveRamps)
{
    const Sound sound = Tones(SF_FORMAT_PCM_24, 2);
    const std::string in = Write("in.wav", sound);
    const std::string shell = std::string(ZTA_TOOL_PATH) + " convert '" + in + "' - -q --output-format ";
    for (const std::string container : {"flac", "mp3"}) {
        SCOPED_TRACE(container);
        const std::string open = File("open." + container);
        ASSERT_EQ(RunTool({"-c", shell + container + " | cat > '" + open + "'"}, {.program = "/bin/sh"}).exitCode, 0);
        EXPECT_NE(RunTool({"info", open}).output.find("not known before the end"), std::string::npos);
        Run({"convert", open, File("known.wav")});
        const std::string known = File("known.wav");
        const std::vector<std::vector<std::string>> commands = {
            {"volume", "IN", "OUT.wav", "--gain", "1:0", "-q"},
            {"convert", "IN", "OUT.wav", "--gain", "2=0:1", "-q"},
            {"split", "IN", "-o", "OUT{}.wav", "--gain", "0:1", "--gain", "1=1:0", "-q"},
            {"mux", "IN", "IN", "-o", "OUT.wav", "--gain", "3=1:0", "-q"},
        };
        for (const auto& command : commands) {
            if (command[0] == "convert" && container == "flac") { // of integers, which have no gains there
                continue;
            }
            for (const auto& [input, output] : {std::pair(open, "a"), std::pair(known, "b")}) {
                std::vector<std::string> arguments = command;
                std::ranges::replace(arguments, "IN", input);
                for (std::string& argument : arguments) {
                    if (argument.starts_with("OUT")) {
                        argument = File(output + argument.substr(3));
                    }
                }
                Run(arguments);
            }
            for (const std::string name : {".wav", "1.wav", "2.wav"}) {
                EXPECT_TRUE(!std::filesystem::exists(File("b" + name)) ||
                            ReadTextFile(File("a" + name)) == ReadTextFile(File("b" + name)))
                    << command[0];
            }
        }
    }
}

TEST_F(Files, OfMp3DependOnTheirInputOnly)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        const std::string in = Write("in.wav", Tones(subtype, 2));
        Run({"convert", in, File("first.mp3")});
        Run({"convert", in, File("second.mp3")});
        EXPECT_TRUE(ReadTextFile(File("first.mp3")) == ReadTextFile(File("second.mp3"))) << subtype;
    }
}

TEST_F(Files, Of24BitsAreReadInEitherByteOrderAndInBlocks)
{
    const Sound sound = Noise(SF_FORMAT_PCM_24, 2, 9000); // whole blocks of the last one
    for (const int format :
         {SF_FORMAT_WAV | SF_ENDIAN_BIG, SF_FORMAT_AIFF | SF_ENDIAN_LITTLE, SF_FORMAT_CAF | SF_ENDIAN_LITTLE,
          SF_FORMAT_CAF | SF_ENDIAN_BIG, SF_FORMAT_AU | SF_ENDIAN_LITTLE, SF_FORMAT_AU | SF_ENDIAN_BIG,
          SF_FORMAT_PAF | SF_ENDIAN_FILE}) {
        SCOPED_TRACE(format);
        Sound written = sound;
        written.format = format | SF_FORMAT_PCM_24;
        ExpectSame(Output({"convert", Write("in", written), File("out.wav")}), sound);
    }
}

TEST_F(Files, OfAuAndCafAreExact)
{
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        const Sound sound = Noise(subtype, 2, 1000, 32000);
        const std::string in = Write("in.wav", sound);
        for (const std::string extension : {"au", "caf"}) {
            Run({"convert", in, File("out." + extension)});
            ExpectSame(ReadSound(File("out." + extension)), sound);
            Run({"convert", File("out." + extension), File("back.wav")});
            ExpectSame(ReadSound(File("back.wav")), sound);
        }
    }
}

TEST_F(Files, OfManyChannelsAreExtensible)
{
    for (const int channels : {1, 2, 3, 8}) {
        Run({"convert", Write("in.wav", Noise(SF_FORMAT_PCM_16, channels, 100)), File("out.wav")});
        EXPECT_EQ(ReadSound(File("out.wav")).format & SF_FORMAT_TYPEMASK,
                  channels > 2 ? SF_FORMAT_WAVEX : SF_FORMAT_WAV);
    }
}

TEST_F(Files, StayWhereALinkLeadsAlsoIfThereIsNone)
{
    const Sound sound = Noise(SF_FORMAT_PCM_16, 1, 100);
    const std::string in = Write("in.wav", sound);
    std::filesystem::create_directory(File("folder"));
    std::filesystem::create_symlink("folder/second.wav", File("first.wav"));
    std::filesystem::create_symlink("third.wav", File("folder/second.wav"));
    Run({"convert", in, File("first.wav")});
    EXPECT_TRUE(std::filesystem::is_symlink(File("first.wav")));
    EXPECT_TRUE(std::filesystem::is_symlink(File("folder/second.wav")));
    ExpectSame(ReadSound(File("folder/third.wav")), sound);
}

} // namespace
